#pragma once

#include "views/compose/ContactsService.h"

#include <QListWidget>

namespace Larkhaven {

/// The suggestions under an address field. It never takes the keyboard; its field drives it.
class SuggestionList : public QListWidget {
    Q_OBJECT

public:
    explicit SuggestionList(QWidget* parent);

    /// `query` is what the matched letters show.
    void setSuggestions(const QList<ContactSuggestion>& suggestions, const QString& query);
    void setHighlighted(int index);

    /// Where the letters of a text are that match the query: at its start or at that of a word; -1 for
    /// nowhere. Pure.
    static qsizetype matchIn(const QString& text, const QString& query);

    QSize sizeHint() const override;

Q_SIGNALS:
    void taken(int index);

private:
    void applyStyle();
};

} // namespace Larkhaven

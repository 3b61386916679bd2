#pragma once

#include "model/UserDefaults.h"
#include "views/compose/ComposeRow.h"
#include "views/compose/ContactsService.h"

#include <QLineEdit>

class QCompleter;

namespace Larkhaven {

class LineGate;
class SuggestionList;
class SuggestionsModel;

/// A row of addresses. While one is typed, the contacts that it may mean stand in a list under the field:
/// arrows choose, Return and Tab take, Escape hides the list until other text is typed. What is highlighted
/// is told to assistive technology as well.
class AddressField : public ComposeRow {
    Q_OBJECT

public:
    /// The most suggestions that are shown.
    static constexpr qsizetype mostSuggestions = 6;

    AddressField(const QString& label, UserDefaults& defaults, ContactsService& contacts,
                 QWidget* parent = nullptr);
    ~AddressField() override;

    QString text() const { return m_line->text(); }
    void setText(const QString& text);
    QLineEdit& line() const { return *m_line; }

    const QList<ContactSuggestion>& suggestions() const;
    SuggestionList& list() const { return *m_list; }
    int highlighted() const { return m_highlighted; }
    /// The token for which the user has hidden the list.
    const QString& dismissedFor() const { return m_dismissedFor; }

Q_SIGNALS:
    void textChanged();
    void focused();
    /// What was pasted is more than the field takes.
    void refused();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    AddressField(const QString& label, QLineEdit* line, UserDefaults& defaults, ContactsService& contacts,
                 QWidget* parent);
    bool handleKey(int key);
    void take(int index);
    void refresh();
    void hideSuggestions();
    void highlight(int index);
    void announce(const QString& text);
    QRect place() const;
    bool suggestsFromContacts() const;

    UserDefaults& m_defaults;
    ContactsService& m_contacts;
    QLineEdit* m_line;
    LineGate* m_gate;
    SuggestionsModel* m_model;
    QCompleter* m_completer;
    SuggestionList* m_list; ///< the completer's own
    int m_highlighted = 0;
    QString m_dismissedFor;
};

} // namespace Larkhaven

#pragma once

#include <QListView>

namespace Larkhaven {

/// The suggestions under an address field: a name in body and its address in secondary, with the letters
/// semibold that match what is typed. It is the popup of a completer, and never takes the keyboard.
class SuggestionList : public QListView {
    Q_OBJECT

public:
    SuggestionList();

    /// A completer brings a look of its own to the list that it is given; this one takes its place.
    void drawRows();
    /// In pixels.
    static int preferredWidth();

    /// Where the letters of a text are that match the query: at its start or at that of a word; -1 for
    /// nowhere. Pure.
    static qsizetype matchIn(const QString& text, const QString& query);
};

} // namespace Larkhaven

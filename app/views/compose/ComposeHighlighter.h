#pragma once

#include "app/platform/Spelling.h"
#include "views/compose/SpellingLanguages.h"
#include "views/richtext/ComposeFormat.h"

#include <QSet>
#include <QSyntaxHighlighter>
#include <QTimer>

#include <functional>

namespace Larkhaven {

/// Marks links, and misspelled words while the text is written. The marks are on screen only, never in the
/// document.
///
/// Only paragraphs that change are looked at, and of those at most so much text in one turn of the event
/// loop; the rest follows in later turns.
class ComposeHighlighter : public QSyntaxHighlighter {
    Q_OBJECT

public:
    /// In characters; the paragraph that passes it is looked at to its end.
    static constexpr qsizetype textPerTurn = 4'000;
    /// Of a longer paragraph only the beginning is checked.
    static constexpr qsizetype longestParagraph = 10'000;

    /// `typingPosition` gives the place of the text cursor, or -1: the word that ends there is still being
    /// typed, and not marked.
    ComposeHighlighter(QTextDocument* document, Spelling& spelling, std::function<int()> typingPosition);

    /// The dictionaries that the text is checked by.
    void setLanguages(const SpellingLanguages& languages);

    /// A place in the text, with the misspelled word that is there.
    struct Word {
        int position = 0;
        QString text;
        QString language; ///< that it was checked by
    };
    /// The misspelled word at the position; its text is empty where there is none.
    Word misspelledAt(int position) const;
    /// Whether no text waits for its turn, or for a word to be looked up.
    bool isDone() const { return !m_turn.isActive() && m_asking.isEmpty(); }

    /// The text cursor is at another place than before.
    void followCursor();
    /// Looks at all anew: dictionary or looks are others than before.
    void restart();
    /// How sizes come onto the screen, at the next look. A run keeps the pixels that it was made with in the
    /// document, where another number would be a change of the text: on screen it gets those of today.
    void setSizes(const ComposeFormat::Sizes& sizes) { m_sizes = sizes; }

protected:
    void highlightBlock(const QString& text) override;

private:
    void markRuns();
    void markSpelling(const QString& text);
    /// Calls `visit` with the start and the length of each word that is to be checked.
    template <typename Visit>
    static void visitWords(const QString& text, Visit visit);
    void takeTurn();

    void followSpelling(const QString& language);

    Spelling& m_spelling;
    SpellingLanguages m_languages;
    QSet<QString> m_asking; ///< languages of words that are being looked up
    QTimer m_turn;
    qsizetype m_budget = textPerTurn;
    int m_firstWaiting = -1; ///< the first paragraph that waits for its turn
    ComposeFormat::Sizes m_sizes;
    std::function<int()> m_typingPosition;
    int m_unmarkedBlock = -1; ///< holds a word that is still being typed
};

} // namespace Larkhaven

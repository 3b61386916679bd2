#pragma once

#include "domain/MailProvider.h"
#include "views/compose/ComposeHighlighter.h"

#include <QObject>
#include <QPointer>

#include <functional>

class QAction;
class QMenu;
class QTextDocument;

namespace Larkhaven {

class Spelling;

/// The spelling of one text that is being written: the language that it is checked by, the marks in it, and
/// what its menu offers. Main thread.
class ComposeSpelling : public QObject {
    Q_OBJECT

public:
    explicit ComposeSpelling(QObject* parent = nullptr);

    /// Marks the words of the document from now on. `typingPosition`: see `ComposeHighlighter`.
    void attach(QTextDocument& document, const ComposeFormat::Sizes& sizes,
                std::function<int()> typingPosition);

    /// The looks are others than before; see `ComposeHighlighter::setSizes`.
    void followLooks(const ComposeFormat::Sizes& sizes);

    /// The language that is written in, named in its own words, where it has no dictionary and nobody was
    /// told so yet: each language is told of once in the life of the program. Empty otherwise.
    QString takeMissing();

    /// Null before there is a document.
    ComposeHighlighter* highlighter() const { return m_highlighter; }
    /// The text cursor is at another place than before.
    void followCursor();
    /// Puts the spelling of the word at the position at the top of the menu; suggestions come in later.
    void addTo(QMenu& menu, int position);

Q_SIGNALS:
    /// Other dictionaries are in use than before.
    void languagesChanged();

private:
    void chooseLanguage();
    void addWord(QMenu& menu, QAction* before, int position);
    void addLanguages(QMenu& menu);
    void replace(int position, const QString& word, const QString& by);
    Task<> addSuggestions(QPointer<QMenu> menu, QPointer<QAction> place, ComposeHighlighter::Word word);

    Spelling& m_spelling;
    QPointer<QTextDocument> m_document;
    QPointer<ComposeHighlighter> m_highlighter;
    SpellingLanguages m_languages;
    QString m_chosen; ///< the dictionary that the user chose for this message; empty for none
};

} // namespace Larkhaven

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
    void attach(QTextDocument& document, std::function<int()> typingPosition);

    /// Null before there is a document.
    ComposeHighlighter* highlighter() const { return m_highlighter; }
    /// The text cursor is at another place than before.
    void followCursor();
    /// Puts the spelling of the word at the position at the top of the menu; suggestions come in later.
    void addTo(QMenu& menu, int position);

private:
    void chooseLanguage();
    void addWord(QMenu& menu, QAction* before, int position);
    void addLanguages(QMenu& menu);
    void replace(int position, const QString& word, const QString& by);
    Task<> addSuggestions(QPointer<QMenu> menu, QPointer<QAction> place, int position, QString word);

    Spelling& m_spelling;
    QPointer<QTextDocument> m_document;
    QPointer<ComposeHighlighter> m_highlighter;
    QString m_language;       ///< of the spelling; empty for none
    QString m_chosenLanguage; ///< what the user chose for this message; empty for none
};

} // namespace Larkhaven

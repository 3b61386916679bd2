#pragma once

#include "domain/MailProvider.h"
#include "platform/Wakeup.h"
#include "views/compose/ComposeFiles.h"
#include "views/compose/ComposeSpelling.h"
#include "views/compose/ComposeTextView.h"
#include "views/richtext/ComposeFormat.h"
#include "views/richtext/ComposeHTML.h"

#include <QColor>
#include <QFont>
#include <QObject>
#include <QTextCursor>
#include <QTextListFormat>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

namespace Larkhaven {

/// The commands of the editor. On a selection a command changes the selected text in one step that can be
/// undone; without one it changes how text is typed on.
///
/// Main thread. Without a text view the commands do nothing.
class ComposeEditorController : public QObject {
    Q_OBJECT

public:
    explicit ComposeEditorController(QObject* parent = nullptr);
    ~ComposeEditorController() override;

    QPointer<ComposeTextView> textView;
    /// What to do with files that are dropped on the text.
    std::function<void(const QList<QUrl>&)> onDropFiles;
    /// What to do with files, or an image, of the clipboard.
    std::function<void(const QList<QUrl>&)> onPasteFiles;
    std::function<void(const ComposeFiles::Image&)> onPasteImage;

    /// The font of text without one of its own, its size in pixels on the screen.
    const QFont& baseFont() const { return m_baseFont; }
    const ComposeFormat::Sizes& sizes() const { return m_sizes; }
    /// `size` in points of the message; an empty family is the system's font.
    void setBaseFont(const QString& family, double size);

    /// Takes over a view: its first text, and what the controller does to it from then on.
    void attach(ComposeTextView& view, const QString& initialText, const std::optional<QString>& initialHTML,
                bool richText);

    bool isRichText() const { return m_isRichText; }
    /// Switching to plain text takes away all formatting; undoing that brings back both.
    void setRichText(bool richText);

    /// The text, for a rich one as it is sent beside its HTML. Empty without a text view.
    QString text() const;
    /// The HTML of a rich text; absent for a plain or an empty one.
    std::optional<QString> html() const;

    /// Whether something that was pasted is on its way into the text.
    bool isPasting() const { return m_pastes > 0; }
    /// Ends when all of that is there. The controller may end before it.
    Task<> pastesEnded();

    /// Whether anything, formatting included, is other than at the start. Undoing all takes it back.
    bool isModified() const;
    /// Another one after each change.
    int revision() const;
    /// In characters, one for each end of a paragraph included.
    int length() const;

    /// What of its first HTML it doesn't hold.
    const ComposeHTML::Losses& losses() const { return m_losses; }

    // --- Commands, in the order of the bar
    void showFonts();
    void makeSmaller();
    void makeDefaultSize();
    void makeBigger();
    void showColors();
    void toggleBold();
    void toggleItalic();
    void toggleUnderline();
    void toggleStrikethrough();
    void align(Qt::Alignment alignment);
    void toggleList(QTextListFormat::Style style);

    void setFont(const QFont& font);
    void setColor(const QColor& color);

    // --- What the selection has
    bool isBold() const;
    bool isItalic() const;
    bool isUnderlined() const;
    bool isStruckOut() const;
    Qt::Alignment alignment() const;
    bool isList(QTextListFormat::Style style) const;

    // --- For the text view
    /// Return in an empty item ends its list; gives whether it did.
    bool leaveEmptyListItem();
    /// Makes a link of the address that ends at the cursor.
    void detectLink();
    /// Adds what the clipboard's HTML shows, without colours that would not be seen here. A long one is read
    /// on a worker and comes in a moment later, at the place where it was pasted.
    void pasteHTML(const QString& html);
    ComposeSpelling& spelling() { return m_spelling; }

Q_SIGNALS:
    void richTextChanged();
    /// The text, or how it looks.
    void textChanged();
    /// What the selection has may be other than before.
    void selectionChanged();

private:
    using Change = std::function<void(QTextCharFormat&)>;
    using Test = std::function<bool(const QTextCharFormat&)>;

    void changeText(const Change& change);
    void changeSize(const std::function<double(double)>& change);
    bool allText(const Test& test) const;
    void toggle(const Test& test, const std::function<void(QTextCharFormat&, bool)>& set);
    QTextCursor paragraphs() const;
    void followDocument();
    void followCursor();
    Task<> readAndInsert(QString html, QTextCursor place);
    void insertHTML(const QString& gated, QTextCursor place);

    QFont m_baseFont;
    ComposeFormat::Sizes m_sizes;
    bool m_isRichText = false;
    ComposeHTML::Losses m_losses;
    ComposeSpelling m_spelling;
    int m_pastes = 0;                                                 ///< on their way into the text
    std::shared_ptr<Wakeup> m_pastesEnd = std::make_shared<Wakeup>(); ///< notified with each end of one
};

} // namespace Larkhaven

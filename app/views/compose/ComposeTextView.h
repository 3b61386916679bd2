#pragma once

#include <QPointer>
#include <QTextEdit>
#include <QTimer>

namespace Larkhaven {

class ComposeEditorController;

/// The text of a message that is being written. It takes text, formatting and links, and never an image; it
/// loads nothing, from wherever it may come.
class ComposeTextView : public QTextEdit {
    Q_OBJECT

public:
    static constexpr int horizontalInset = 12;
    static constexpr int verticalInset = 10;
    /// A longer text comes in pieces, one in a turn of the event loop: it is laid out as it comes. In UTF-16
    /// units.
    static constexpr qsizetype longestPiece = 50'000;
    /// Longer HTML of the clipboard is taken as its text. In UTF-16 units.
    static constexpr qsizetype longestPastedHTML = 5'000'000;

    explicit ComposeTextView(QWidget* parent = nullptr);

    QPointer<ComposeEditorController> controller;

    /// Inserts the text of the clipboard as it would be typed here.
    void pasteWithoutFormatting();
    /// Inserts what is still to come of a long text that was pasted.
    void finishPasting();

protected:
    bool canInsertFromMimeData(const QMimeData* source) const override;
    void insertFromMimeData(const QMimeData* source) override;
    QMimeData* createMimeDataFromSelection() const override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool isRich() const;
    bool handleFormatKey(const QKeyEvent& event);
    void endLinkBeforeTyping();
    bool offer(const QMimeData& source);
    void fillMenu(QMenu& menu);
    void insertPastedText(const QString& text);
    void insertPiece();

    QString m_pasted; ///< what is still to come
    QTextCursor m_pastePlace;
    QTextCharFormat m_pasteFormat;
    QTimer m_pasteTurn;
};

} // namespace Larkhaven

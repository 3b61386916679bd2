#pragma once

#include <QLabel>

namespace Larkhaven {

/// A header of a message, on lines that are laid out here, selectable. It stands at the leading edge,
/// whichever direction it is read in.
///
/// What it shows holds marks of the program: places to break at, isolates around what is read in another
/// direction, an ellipsis. Whatever leaves it, by Copy or as the selection of the mouse, is what the header
/// says instead.
class HeaderLabel : public QLabel {
    Q_OBJECT

public:
    explicit HeaderLabel(QWidget* parent = nullptr);

    /// What is selected of the words; with the ellipsis all that it stands for.
    QString selectedWords() const;

public Q_SLOTS:
    /// Copies what is selected, or all of it.
    void copy();

protected:
    // What the program puts into the text. No untrusted text that has passed `DisplayText` has them.
    static constexpr QChar firstStrongIsolate{0x2068};
    static constexpr QChar popIsolate{0x2069};
    static constexpr QChar leftToRightMark{0x200e};
    static constexpr QChar rightToLeftMark{0x200f};

    /// Shows the text, which is `words` with marks in it. Where only their first `whole` units stand in it,
    /// an ellipsis follows them.
    void showMarked(const QString& text, const QString& words, qsizetype whole);
    /// What Copy takes where nothing is selected.
    virtual QString everything() const { return m_words; }

    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void align();
    void cleanSelection();

    QString m_words;
    qsizetype m_whole = 0;
};

} // namespace Larkhaven

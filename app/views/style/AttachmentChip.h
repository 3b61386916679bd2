#pragma once

#include <QAbstractButton>

namespace Larkhaven {

/// A button for one file: the icon of its type, its name cut before its ending where it is too long, and its
/// size. Its text is "{filename} ({size})".
class AttachmentChip : public QAbstractButton {
    Q_OBJECT

public:
    /// The name is shown as it can be seen (`FileName::shown`); `type` is the MIME type whose icon shows;
    /// `size` in bytes.
    AttachmentChip(const QString& filename, const QString& type, qint64 size, QWidget* parent = nullptr);

    /// A tooltip that says what a click does, and a sentence that warns, if there is one; the latter is told
    /// to assistive technology as well. Neither is formatting.
    void setHelp(const QString& help, const QString& warning);

    /// Keeps room behind the size for what stands within the chip; in pixels.
    void setTrailingRoom(int room);

    /// A name that `FileName::shown` has given, cut in the middle of its stem to a width in pixels. Its
    /// ending stays whole, and stands last in every script where the text goes from left to right.
    static QString fitting(const QString& name, const QFontMetrics& metrics, int width);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int iconSize() const;
    int widthWithoutName() const;

    QString m_filename;
    QString m_size;
    QIcon m_icon;
    int m_trailingRoom = 0;
};

} // namespace Larkhaven

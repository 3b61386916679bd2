#pragma once

#include <QAbstractButton>

namespace Larkhaven {

/// A button for one file: its kind, its name cut in the middle, and its size. Its text is "{filename}
/// ({size})".
class AttachmentChip : public QAbstractButton {
    Q_OBJECT

public:
    /// `size` in bytes.
    AttachmentChip(const QString& filename, const QString& mimeType, qint64 size, QWidget* parent = nullptr);

    /// Keeps room behind the size for what stands within the chip; in pixels.
    void setTrailingRoom(int room);

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

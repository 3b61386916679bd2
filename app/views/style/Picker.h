#pragma once

#include <QComboBox>

namespace Larkhaven {

/// A choice of one among few, drawn like the fields beside it: with a frame, or as text with an arrow.
class Picker : public QComboBox {
    Q_OBJECT

public:
    enum class Frame { field, none };

    explicit Picker(Frame frame = Frame::field, QWidget* parent = nullptr)
        : QComboBox(parent)
        , m_frame(frame)
    {}

    QSize sizeHint() const override;
    /// Narrower than its texts, which are elided then.
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Frame m_frame;
};

} // namespace Larkhaven

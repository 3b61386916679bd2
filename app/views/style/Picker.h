#pragma once

#include "views/style/FocusedWheel.h"

#include <QComboBox>

namespace Larkhaven {

/// A choice of one among few, drawn like the fields beside it: with a frame, or as text with an arrow.
/// Assistive technology is told its accessible name, and the choice as its value.
class Picker : public FocusedWheel<QComboBox> {
    Q_OBJECT

public:
    enum class Frame { field, none };

    explicit Picker(Frame frame = Frame::field, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    /// Narrower than its texts, which are elided then.
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Frame m_frame;
};

} // namespace Larkhaven

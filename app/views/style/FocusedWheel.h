#pragma once

#include <QWheelEvent>

namespace Larkhaven {

/// A control that a wheel passes over without changing it, and without giving it the keyboard: only what has
/// the keyboard is meant. `Control` is a widget that steps with the wheel.
template <typename Control>
class FocusedWheel : public Control {
public:
    explicit FocusedWheel(QWidget* parent = nullptr)
        : Control(parent)
    {
        this->setFocusPolicy(Qt::StrongFocus);
    }

protected:
    void wheelEvent(QWheelEvent* event) override
    {
        if (this->hasFocus())
            Control::wheelEvent(event);
        else
            event->ignore();
    }
};

} // namespace Larkhaven

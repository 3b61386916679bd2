#pragma once

#include <QObject>
#include <QRect>
#include <QSize>
#include <QString>

#include <functional>

class QWidget;

namespace Larkhaven {

/// The size of a window: what the user gave the last one of its kind, and never more than its screen has. It
/// belongs to the window, which is sized at once. Main thread.
class WindowPlace : public QObject {
    Q_OBJECT

public:
    /// Where the size is kept between windows, as text; any text may come back.
    struct Memory {
        std::function<QString()> read;
        std::function<void(const QString&)> write;
    };

    /// The frame that a window manager puts around a window, in pixels at 100%. It isn't known before the
    /// window is on the screen.
    static constexpr QSize frame{4, 40};
    /// No size beyond is taken from a memory.
    static constexpr int largestSide = 16'384;

    /// `standard`: what the window has without a memory. `least`: its minimum, where the screen has room for
    /// it.
    WindowPlace(QWidget& window, QSize standard, QSize least, Memory memory = {});

    /// The size within a place of the screen. Pure.
    static QSize fitted(QSize wanted, const QRect& available);
    /// "680x560"; and back, where a text that is no size gives an invalid one. Pure.
    static QString text(QSize size);
    static QSize size(const QString& text);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void remember();

    QWidget& m_window;
    Memory m_memory;
    QSize m_opened; ///< the size that it got here
};

} // namespace Larkhaven

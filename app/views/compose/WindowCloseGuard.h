#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>

namespace Larkhaven {

/// What a compose window and those who close it share.
struct ComposeCloseState {
    bool finished = false; ///< the window may close without a question
    QPointer<QWidget> window;
};

/// Asks before a window closes. The window's own handling of the event is not asked when the answer is no;
/// all other events go on to it.
class WindowCloseGuard : public QObject {
    Q_OBJECT

public:
    using ShouldClose = std::function<bool(QWidget& window)>;

    /// Guards `state->window`; `shouldClose` is asked each time.
    WindowCloseGuard(std::shared_ptr<ComposeCloseState> state, ShouldClose shouldClose, QObject* parent);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::shared_ptr<ComposeCloseState> m_state;
    ShouldClose m_shouldClose;
};

} // namespace Larkhaven

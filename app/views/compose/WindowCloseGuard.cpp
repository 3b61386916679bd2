#include "views/compose/WindowCloseGuard.h"

#include <QEvent>

namespace Larkhaven {

WindowCloseGuard::WindowCloseGuard(std::shared_ptr<ComposeCloseState> state, ShouldClose shouldClose,
                                   QObject* parent)
    : QObject(parent)
    , m_state(std::move(state))
    , m_shouldClose(std::move(shouldClose))
{
    if (m_state->window)
        m_state->window->installEventFilter(this);
}

bool WindowCloseGuard::eventFilter(QObject* watched, QEvent* event)
{
    const bool isClose = event->type() == QEvent::Close && watched == m_state->window;
    if (!isClose || m_shouldClose(*m_state->window))
        return QObject::eventFilter(watched, event);
    event->ignore();
    return true;
}

} // namespace Larkhaven

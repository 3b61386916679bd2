#include "views/style/WindowPlace.h"

#include <QEvent>
#include <QRegularExpression>
#include <QScreen>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace Larkhaven {

WindowPlace::WindowPlace(QWidget& window, QSize standard, QSize least, Memory memory)
    : QObject(&window)
    , m_window(window)
    , m_memory(std::move(memory))
{
    const QRect available = window.screen()->availableGeometry();
    const QSize kept = m_memory.read ? size(m_memory.read()) : QSize();
    window.setMinimumSize(fitted(least, available));
    window.resize(fitted(kept.isValid() ? kept.expandedTo(least) : standard, available));
    m_opened = window.size();
    window.installEventFilter(this);
}

QSize WindowPlace::fitted(QSize wanted, const QRect& available)
{
    return wanted.boundedTo(available.size() - frame).expandedTo({1, 1});
}

QString WindowPlace::text(QSize size)
{
    return u"%1x%2"_s.arg(size.width()).arg(size.height());
}

QSize WindowPlace::size(const QString& text)
{
    static const QRegularExpression form(u"^([1-9][0-9]{0,4})x([1-9][0-9]{0,4})$"_s);
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return {};
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    return size.width() <= largestSide && size.height() <= largestSide ? size : QSize();
}

/// Only what the user made of it: a size that was cut for a small screen isn't wanted on a larger one.
void WindowPlace::remember()
{
    const bool isPlain = !m_window.isMaximized() && !m_window.isFullScreen() && !m_window.isMinimized();
    if (m_memory.write && isPlain && m_window.size() != m_opened)
        m_memory.write(text(m_window.size()));
}

bool WindowPlace::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Hide && !event->spontaneous())
        remember();
    return QObject::eventFilter(watched, event);
}

} // namespace Larkhaven

#include "views/reader/AddressLabel.h"

#include "views/style/DisplayText.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// In UTF-16 units; there may be many of them.
constexpr qsizetype longestName = 200;
constexpr qsizetype longestNames = ShownAddresses::mostShown * (longestName + 3);

QString joined(const QList<EmailAddress>& addresses, QString (*text)(const EmailAddress&))
{
    QStringList texts;
    for (const EmailAddress& address : addresses.first(std::min(addresses.size(), ShownAddresses::mostShown)))
        texts.append(text(address));
    if (addresses.size() > ShownAddresses::mostShown)
        texts.append(u"…"_s);
    return texts.join(u", "_s);
}

QString mailbox(const EmailAddress& address)
{
    const QString bare = DisplayText::bounded(address.address, longestName);
    return address.name ? u"%1 <%2>"_s.arg(DisplayText::bounded(*address.name, longestName), bare) : bare;
}

} // namespace

ShownAddresses ShownAddresses::of(const QList<EmailAddress>& addresses)
{
    const QString names = joined(addresses, [](const EmailAddress& address) {
        return DisplayText::bounded(address.displayName(), longestName);
    });
    QStringList copied;
    copied.reserve(addresses.size());
    for (const EmailAddress& address : addresses)
        copied.append(address.address);
    return {DisplayText::bounded(names, longestNames), DisplayText::bounded(joined(addresses, mailbox)),
            copied.join(u", "_s), addresses.size()};
}

AddressLabel::AddressLabel(QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
}

void AddressLabel::setAddresses(const ShownAddresses& addresses, const QString& placeholder)
{
    m_copied = addresses.copied;
    setText(addresses.count == 0 ? placeholder : DisplayText::bounded(addresses.names, longestNames));
    setToolTip(DisplayText::toolTip(addresses.mailboxes));
}

void AddressLabel::copy()
{
    const QString own = hasSelectedText() ? selectedText() : text();
    QGuiApplication::clipboard()->setText(m_copied.isEmpty() ? own : m_copied);
}

bool AddressLabel::event(QEvent* event)
{
    // Before a menu of the window takes the keys.
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent*>(event)->matches(QKeySequence::Copy)) {
        event->accept();
        return true;
    }
    return QLabel::event(event);
}

void AddressLabel::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Copy))
        copy();
    else
        QLabel::keyPressEvent(event);
}

void AddressLabel::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu menu;
    menu.addAction(tr("Copy"), this, &AddressLabel::copy);
    menu.exec(event->globalPos());
}

} // namespace Larkhaven

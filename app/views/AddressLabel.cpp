#include "views/AddressLabel.h"

#include "views/DisplayText.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// More than these of a mass mailing would push the message off the pane.
constexpr qsizetype shownAddresses = 60;
/// In UTF-16 units; there may be many of them.
constexpr qsizetype longestName = 200;

QString joined(const QList<EmailAddress>& addresses, QString (*text)(const EmailAddress&))
{
    QStringList texts;
    for (const EmailAddress& address : addresses.first(std::min(addresses.size(), shownAddresses)))
        texts.append(text(address));
    if (addresses.size() > shownAddresses)
        texts.append(u"…"_s);
    return texts.join(u", "_s);
}

QString mailbox(const EmailAddress& address)
{
    const QString bare = DisplayText::bounded(address.address, longestName);
    return address.name ? u"%1 <%2>"_s.arg(DisplayText::bounded(*address.name, longestName), bare) : bare;
}

} // namespace

AddressLabel::AddressLabel(QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
}

void AddressLabel::setAddresses(const QList<EmailAddress>& addresses, const QString& placeholder)
{
    m_addresses = addresses;
    const QString names = joined(addresses, [](const EmailAddress& address) {
        return DisplayText::bounded(address.displayName(), longestName);
    });
    constexpr qsizetype longest = shownAddresses * (longestName + 3);
    setText(addresses.isEmpty() ? placeholder : DisplayText::bounded(names, longest));
    setToolTip(DisplayText::toolTip(joined(addresses, mailbox)));
}

void AddressLabel::copy()
{
    if (m_addresses.isEmpty()) {
        QGuiApplication::clipboard()->setText(hasSelectedText() ? selectedText() : text());
        return;
    }
    QStringList texts;
    for (const EmailAddress& address : m_addresses)
        texts.append(address.address);
    QGuiApplication::clipboard()->setText(texts.join(u", "_s));
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

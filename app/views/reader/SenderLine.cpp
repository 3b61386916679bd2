#include "views/reader/SenderLine.h"

#include "domain/ShownText.h"
#include "format/SenderReader.h"
#include "views/style/DisplayText.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QCoreApplication>
#include <QEvent>
#include <QStyle>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(SenderLine)
};

/// Of an address, in UTF-16 units. Of a longer one the end is shown, which says whose it is.
constexpr qsizetype longestAddress = 80;

QString shortened(const QString& address)
{
    const QString whole = DisplayText::bounded(address, address.size());
    return whole.size() <= longestAddress ? whole : u'…' + whole.last(longestAddress);
}

QString noticeOn(const Sender& sender)
{
    QStringList notices;
    if (sender.names == Sender::Names::lookLikeAnotherAddress)
        notices.append(Texts::tr("The sender’s name looks like another address."));
    else if (sender.names == Sender::Names::holdHiddenCharacters)
        notices.append(Texts::tr("The sender’s name holds hidden characters."));
    if (!sender.isClear)
        notices.append(Texts::tr("This message doesn’t say clearly who sent it."));
    return notices.join(u' ');
}

QString nameOf(const EmailAddress& address, const Sender& sender)
{
    // Half of an address that pretends something is no name.
    const bool isNamed = address.name && ShownText::hasInk(*address.name);
    const bool isOne = SenderReader::distinctAddresses(sender) == 1;
    return isNamed || (sender.isTrusted() && isOne) ? address.displayName() : shortened(address.address);
}

ShownSender shown(const Sender& sender)
{
    ShownSender shown;
    QList<EmailAddress> addresses;
    QList<EmailAddress> named;
    for (const EmailAddress& address : sender.addresses) {
        const QString bare = shortened(address.address);
        named.append(EmailAddress(nameOf(address, sender), address.address));
        addresses.append(EmailAddress(bare, address.address));
    }
    shown.names = ShownAddresses::of(named);
    shown.names.mailboxes = ShownAddresses::of(sender.addresses).mailboxes;
    shown.addresses = ShownAddresses::of(addresses);
    shown.addresses.mailboxes = shown.names.mailboxes;
    if (shown.addresses.names == shown.names.names)
        shown.addresses = {};
    shown.warning = noticeOn(sender);
    return shown;
}

} // namespace

ShownSender ShownSender::read(const MIMEHeaders& headers)
{
    ShownSender sender = shown(SenderReader::read(headers));
    const QString real = shortened(SenderReader::senderOfSeveral(headers));
    // Whoever is named beside it may know nothing of the message.
    if (!real.isEmpty())
        sender.warning = (sender.warning + u' ' + Texts::tr("It was sent by %1.").arg(real)).trimmed();
    return sender;
}

ShownSender ShownSender::of(const MessageSummary& row)
{
    return shown(row.realSender());
}

SenderLine::SenderLine(QWidget* parent)
    : QWidget(parent)
    , m_names(new AddressLabel(this))
    , m_addresses(new AddressLabel(this))
{
    m_addresses->setObjectName("readerFromAddress"_L1);
    setRole(*m_addresses, Role::secondary);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void SenderLine::setSender(const ShownSender& sender)
{
    m_names->setAddresses(sender.names, tr("Unknown"));
    m_addresses->setAddresses(sender.addresses, {});
    m_addresses->setVisible(sender.addresses.count > 0);
    updateGeometry();
    layOut();
}

// --- Geometry

bool SenderLine::isOneLine(int width) const
{
    return m_names->widthOnOneLine() + Style::padding + m_addresses->widthOnOneLine() <= width;
}

int SenderLine::heightForWidth(int width) const
{
    if (m_addresses->isHidden())
        return m_names->heightForWidth(width);
    if (isOneLine(width))
        return std::max(m_names->heightForWidth(width), m_addresses->heightForWidth(width));
    return m_names->heightForWidth(width) + m_addresses->heightForWidth(width);
}

QSize SenderLine::sizeHint() const
{
    const int width = m_names->sizeHint().width();
    return {width, heightForWidth(width)};
}

QSize SenderLine::minimumSizeHint() const
{
    return m_names->minimumSizeHint();
}

void SenderLine::layOut()
{
    const QRect all = rect();
    const auto place = [&](AddressLabel& label, const QRect& where) {
        label.setGeometry(QStyle::visualRect(layoutDirection(), all, where));
    };
    if (m_addresses->isHidden())
        return place(*m_names, all);
    if (isOneLine(width())) {
        const int names = m_names->widthOnOneLine();
        const int behind = names + Style::padding;
        place(*m_names, QRect(0, 0, names, height()));
        return place(*m_addresses, QRect(behind, 0, width() - behind, height()));
    }
    const int names = m_names->heightForWidth(width());
    place(*m_names, QRect(0, 0, width(), names));
    place(*m_addresses, QRect(0, names, width(), std::max(0, height() - names)));
}

bool SenderLine::event(QEvent* event)
{
    // A label that was unfolded, or has another font.
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::LayoutDirectionChange) {
        updateGeometry();
        layOut();
    }
    return QWidget::event(event);
}

void SenderLine::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    layOut();
}

} // namespace Larkhaven

#include "providers/IMAPMessageID.h"

#include <QCoreApplication>
#include <QMap>

#include <limits>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(IMAPMessageID)
};

/// A number in the one form that `QString::number` gives, not below 0.
std::optional<qint64> canonicalNumber(const QString& text)
{
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber);
    return isNumber && number >= 0 && QString::number(number) == text ? std::optional(number) : std::nullopt;
}

} // namespace

std::optional<IMAPMessageID> IMAPMessageID::parse(const QString& text)
{
    const qsizetype colon = text.indexOf(u':');
    const qsizetype dot = text.indexOf(u'.');
    if (dot < 0 || colon < dot || colon + 1 == text.size())
        return std::nullopt;
    const std::optional<qint64> uid = canonicalNumber(text.first(dot));
    const std::optional<qint64> uidValidity = canonicalNumber(text.sliced(dot + 1, colon - dot - 1));
    if (!uid || !IMAPMessageIDs::isUID(*uid) || !uidValidity)
        return std::nullopt;
    return IMAPMessageID{*uid, *uidValidity, text.sliced(colon + 1)};
}

QString IMAPMessageID::text() const
{
    return QString::number(uid) + u'.' + QString::number(uidValidity) + u':' + mailbox;
}

namespace IMAPMessageIDs {

bool isUID(qint64 number)
{
    return number >= 1 && number <= std::numeric_limits<quint32>::max();
}

QList<IMAPMessageGroup> grouped(const QList<QString>& ids)
{
    QMap<QString, IMAPMessageGroup> groups;
    for (const QString& text : ids) {
        const std::optional<IMAPMessageID> id = IMAPMessageID::parse(text);
        if (!id)
            throw unknownMessage();
        IMAPMessageGroup& group = groups[id->mailbox];
        if (group.uids.isEmpty())
            group = {id->mailbox, id->uidValidity, {}};
        if (group.uidValidity != id->uidValidity)
            throw goneFromServer();
        group.uids.append(id->uid);
    }
    return groups.values();
}

MailError unknownMessage()
{
    return MailError::protocolError(Texts::tr("Unknown message."));
}

MailError goneFromServer()
{
    return MailError::unsupported(Texts::tr("This message is no longer on the server."));
}

} // namespace IMAPMessageIDs

} // namespace Larkhaven

#include "domain/Message.h"

#include "domain/Coding.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {

Sender MessageSummary::realSender() const
{
    if (sender)
        return *sender;
    return {from ? QList{*from} : QList<EmailAddress>()};
}

MessageSummary MessageSummary::fromJSON(const QJsonObject& object)
{
    MessageSummary summary;
    summary.id = Coding::string(object, "id"_L1);
    summary.accountID = Coding::uuid(object, "accountID"_L1);
    const QJsonValue sender = object.value("from"_L1);
    if (!sender.isUndefined() && !sender.isNull())
        summary.from = EmailAddress::fromJSON(Coding::object(object, "from"_L1));
    const QJsonArray recipients = Coding::array(object, "to"_L1);
    for (const auto recipient : recipients)
        summary.to.append(EmailAddress::fromJSON(Coding::object(recipient)));
    summary.subject = Coding::string(object, "subject"_L1);
    summary.snippet = Coding::string(object, "snippet"_L1);
    summary.date = Coding::time(object, "date"_L1);
    summary.isRead = Coding::boolean(object, "isRead"_L1);
    summary.isStarred = Coding::boolean(object, "isStarred"_L1);
    summary.hasAttachments = Coding::boolean(object, "hasAttachments"_L1);
    summary.size = Coding::integer(object, "size"_L1);
    summary.mailbox = Coding::string(object, "mailbox"_L1);
    const QJsonArray labels = Coding::array(object, "labelIDs"_L1);
    for (const auto label : labels) {
        if (!label.isString())
            throw Coding::unreadable("labelIDs"_L1);
        summary.labelIDs.append(label.toString());
    }
    if (object.contains("sender"_L1))
        summary.sender = Sender::fromJSON(Coding::object(object, "sender"_L1));
    return summary;
}

QJsonObject MessageSummary::toJSON() const
{
    QJsonArray recipients;
    for (const EmailAddress& recipient : to)
        recipients.append(recipient.toJSON());
    QJsonObject object{{u"id"_s, id},
                       {u"accountID"_s, Coding::fromUuid(accountID)},
                       {u"to"_s, recipients},
                       {u"subject"_s, subject},
                       {u"snippet"_s, snippet},
                       {u"date"_s, Coding::fromTime(date)},
                       {u"isRead"_s, isRead},
                       {u"isStarred"_s, isStarred},
                       {u"hasAttachments"_s, hasAttachments},
                       {u"size"_s, size},
                       {u"mailbox"_s, mailbox},
                       {u"labelIDs"_s, QJsonArray::fromStringList(labelIDs)}};
    if (from)
        object.insert(u"from"_s, from->toJSON());
    if (sender)
        object.insert(u"sender"_s, sender->toJSON());
    return object;
}

size_t qHash(const MessageSummary& summary, size_t seed)
{
    // No QDateTime in it: hashing one converts it to UTC anew each time.
    return qHashMulti(seed, summary.id, summary.accountID, summary.from.value_or(EmailAddress()), summary.to,
                      summary.subject, summary.snippet, summary.date.toMSecsSinceEpoch(), summary.isRead,
                      summary.isStarred, summary.hasAttachments, summary.size, summary.mailbox,
                      summary.labelIDs, summary.sender.value_or(Sender()));
}

size_t qHash(const OutgoingAttachment& attachment, size_t seed)
{
    return qHashMulti(seed, attachment.id, attachment.filename, attachment.mimeType, attachment.data);
}

} // namespace Larkhaven

#include "support/GmailAnswers.h"

#include "support/RawHeaders.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::GmailAnswers {
namespace {

constexpr QByteArray::Base64Options base64url =
    QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;

QString checksum(const QString& listing)
{
    // A sum that is the same in every run.
    quint32 sum = 2166136261;
    for (const char byte : listing.toUtf8())
        sum = (sum ^ static_cast<quint8>(byte)) * 16777619;
    return QString::number(sum, 16);
}

QJsonArray headersOf(const QByteArray& raw, const QStringList& wanted)
{
    QJsonArray headers;
    for (const auto& [name, value] : RawHeaders::read(raw)) {
        if (wanted.isEmpty() || wanted.contains(name, Qt::CaseInsensitive))
            headers.append(QJsonObject{{u"name"_s, name}, {u"value"_s, value}});
    }
    return headers;
}

} // namespace

QJsonArray array(const QSet<QString>& ids)
{
    QStringList sorted = ids.values();
    sorted.sort();
    return QJsonArray::fromStringList(sorted);
}

QJsonObject labelled(const QString& id, const QString& threadId, const QSet<QString>& labelIds)
{
    QJsonObject object{{u"id"_s, id}, {u"threadId"_s, threadId}};
    if (!labelIds.isEmpty())
        object.insert(u"labelIds"_s, array(labelIds));
    return object;
}

QJsonObject reference(const GmailMailbox::Message& message)
{
    return labelled(message.id, message.threadId, {});
}

QJsonObject message(const GmailMailbox::Message& message, const QString& format, const QStringList& headers)
{
    QJsonObject object = labelled(message.id, message.threadId, message.labelIds);
    object.insert(u"snippet"_s, message.snippet.toHtmlEscaped().replace(u'\'', u"&#39;"_s));
    object.insert(u"historyId"_s, QString::number(message.historyId));
    object.insert(u"internalDate"_s, QString::number(message.internalDate));
    object.insert(u"sizeEstimate"_s, message.raw.size());
    if (format == u"metadata"_s)
        object.insert(u"payload"_s, QJsonObject{{u"mimeType"_s, RawHeaders::mimeType(message.raw)},
                                                {u"headers"_s, headersOf(message.raw, headers)}});
    if (format == u"raw"_s)
        object.insert(u"raw"_s, QString::fromLatin1(message.raw.toBase64(base64url)));
    return object;
}

QJsonObject label(const GmailMailbox::Label& label)
{
    QJsonObject object{
        {u"id"_s, label.id}, {u"name"_s, label.name}, {u"type"_s, label.isSystem ? u"system"_s : u"user"_s}};
    // A label that is shown everywhere stands there without its visibility.
    if (!label.labelListVisibility.isEmpty())
        object.insert(u"labelListVisibility"_s, label.labelListVisibility);
    if (!label.messageListVisibility.isEmpty())
        object.insert(u"messageListVisibility"_s, label.messageListVisibility);
    return object;
}

QJsonObject history(const GmailMailbox::HistoryRecord& record)
{
    using Change = GmailMailbox::Change;
    QJsonObject entry{{u"message"_s, labelled(record.messageId, record.threadId, record.after)}};
    if (!record.labelIds.isEmpty())
        entry.insert(u"labelIds"_s, array(record.labelIds));
    const QString name = record.change == Change::messageAdded     ? u"messagesAdded"_s
                         : record.change == Change::messageDeleted ? u"messagesDeleted"_s
                         : record.change == Change::labelAdded     ? u"labelsAdded"_s
                                                                   : u"labelsRemoved"_s;
    return {{u"id"_s, QString::number(record.id)},
            {u"messages"_s, QJsonArray{labelled(record.messageId, record.threadId, {})}},
            {name, QJsonArray{entry}}};
}

QString token(const QString& listing, qint64 date, quint64 number)
{
    return checksum(listing) + u'.' + QString::number(date) + u'.' + QString::number(number);
}

std::optional<GmailMailbox::Place> place(const QString& token, const QString& listing)
{
    const QStringList pieces = token.split(u'.');
    if (pieces.size() != 3 || pieces[0] != checksum(listing))
        return std::nullopt;
    return GmailMailbox::Place{pieces[1].toLongLong(), pieces[2].toULongLong()};
}

} // namespace Larkhaven::GmailAnswers

#include "providers/GmailMessage.h"

#include "domain/Mailbox.h"
#include "domain/Text.h"
#include "format/MailDate.h"
#include "providers/SummaryFields.h"
#include "safety/HTMLSanitizer.h"

#include <QJsonArray>

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Larkhaven::GmailMessage {

namespace {

/// The headers of that name, in whatever case.
QList<QString> allOf(const QJsonArray& headers, QStringView name)
{
    QList<QString> values;
    for (const auto field : headers) {
        if (Text::isSameKeyword(field["name"_L1].toString(), name))
            values.append(field["value"_L1].toString());
    }
    return values;
}

/// The first of them.
QString header(const QJsonArray& headers, QStringView name)
{
    return allOf(headers, name).value(0);
}

std::optional<QDateTime> internalDate(const QJsonValue& value)
{
    // About 270,000 years on both sides: what every calendar can hold.
    constexpr qint64 limit = 8'640'000'000'000'000;
    bool isNumber = false;
    const qint64 milliseconds = value.toString().toLongLong(&isNumber);
    if (!isNumber || milliseconds < -limit || milliseconds > limit)
        return std::nullopt;
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC);
}

} // namespace

QList<QString> strings(const QJsonValue& list)
{
    QList<QString> texts;
    const QJsonArray values = list.toArray();
    for (const auto value : values) {
        if (value.isString() && texts.size() < mostLabels)
            texts.append(value.toString());
    }
    return texts;
}

MessageSummary summary(const QJsonObject& message, const QUuid& accountID)
{
    const QJsonValue payload = message["payload"_L1];
    const QJsonArray headers = payload["headers"_L1].toArray();
    MessageSummary summary;
    summary.id = message["id"_L1].toString();
    summary.accountID = accountID;
    SummaryFields::setSender(summary, allOf(headers, u"From"));
    summary.to = SummaryFields::addresses(header(headers, u"To"));
    summary.subject = SummaryFields::subject(header(headers, u"Subject"));
    const QString snippet = SummaryFields::cut(message["snippet"_L1].toString(), SummaryFields::fieldLimit);
    summary.snippet = SummaryFields::cut(HTMLSanitizer::decodeEntities(snippet), SummaryFields::snippetLimit);
    std::optional<QDateTime> date = internalDate(message["internalDate"_L1]);
    if (!date)
        date = MailDate::parse(SummaryFields::cut(header(headers, u"Date"), SummaryFields::fieldLimit));
    summary.date = date.value_or(QDateTime::currentDateTimeUtc());
    summary.hasAttachments = payload["mimeType"_L1].toString() == "multipart/mixed"_L1;
    summary.size = message["sizeEstimate"_L1].toInteger(0);
    setLabels(summary, strings(message["labelIds"_L1]));
    return summary;
}

void setLabels(MessageSummary& summary, QList<QString> labelIDs)
{
    std::ranges::sort(labelIDs);
    labelIDs.erase(std::unique(labelIDs.begin(), labelIDs.end()), labelIDs.end());
    if (labelIDs.size() > mostLabels)
        labelIDs.resize(mostLabels);
    summary.isRead = !labelIDs.contains(SystemLabel::unread);
    summary.isStarred = labelIDs.contains(SystemLabel::starred);
    summary.mailbox = mailboxText(labelIDs);
    summary.labelIDs = std::move(labelIDs);
}

QString mailboxText(const QList<QString>& labelIDs)
{
    struct Place {
        QLatin1StringView label;
        Mailbox role;
    };
    constexpr std::array<Place, 5> places{{{SystemLabel::trash, Mailbox::trash},
                                           {SystemLabel::spam, Mailbox::spam},
                                           {SystemLabel::draft, Mailbox::drafts},
                                           {SystemLabel::inbox, Mailbox::inbox},
                                           {SystemLabel::sent, Mailbox::sent}}};
    for (const Place& place : places) {
        if (labelIDs.contains(place.label))
            return name(place.role, ProviderKind::google);
    }
    QStringList own;
    for (const QString& label : labelIDs) {
        if (label.startsWith(userLabelPrefix))
            own.append(label);
    }
    std::ranges::sort(own);
    return own.isEmpty() ? name(Mailbox::archive, ProviderKind::google) : own.join(u',');
}

QStringList labelsIn(const QString& mailboxText)
{
    return mailboxText.startsWith(userLabelPrefix) ? mailboxText.split(u',') : QStringList();
}

} // namespace Larkhaven::GmailMessage

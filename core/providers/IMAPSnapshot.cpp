#include "providers/IMAPSnapshot.h"

#include "domain/Coding.h"
#include "providers/IMAPMessageID.h"

#include <QJsonDocument>
#include <QMap>

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace Larkhaven::IMAPSnapshot {

namespace {

/// Says, with 1, that the summaries tell of senders what their raw fields hold. Left out where none has a
/// sender.
constexpr QLatin1StringView rawSenders("rawSenders");

IMAPBox decodedBox(const QString& mailbox, const QJsonObject& object)
{
    IMAPBox box;
    box.uidValidity = Coding::integer(object, "uidValidity"_L1);
    const QJsonObject messages = Coding::object(object, "messages"_L1);
    const bool areSendersRaw = object.value(rawSenders) == 1;
    box.messages.reserve(messages.size());
    for (auto entry = messages.begin(); entry != messages.end(); ++entry) {
        bool isNumber = false;
        const qint64 uid = entry.key().toLongLong(&isNumber);
        if (!isNumber)
            throw Coding::unreadable("messages"_L1);
        MessageSummary summary = MessageSummary::fromJSON(Coding::object(entry.value()));
        // What was stored before senders were read raw has lost what they pretended, and is fetched anew, as
        // is a summary of another form of ids.
        if (!areSendersRaw && summary.from)
            continue;
        if (summary.id == IMAPMessageID{uid, box.uidValidity, mailbox}.text())
            box.messages.insert(uid, summary);
    }
    return box;
}

} // namespace

IMAPBoxes decode(const QByteArray& json)
{
    IMAPBoxes boxes;
    const QJsonObject stored = Coding::object(Coding::parse(json));
    for (auto entry = stored.begin(); entry != stored.end(); ++entry)
        boxes.insert(entry.key(), decodedBox(entry.key(), Coding::object(entry.value())));
    return boxes;
}

QByteArray encode(const IMAPBoxes& boxes)
{
    QJsonObject stored;
    for (auto box = boxes.cbegin(); box != boxes.cend(); ++box) {
        // QJsonObject is a sorted list: each key that doesn't go to its end moves all those behind.
        QMap<QString, const MessageSummary*> sorted;
        for (auto entry = box->messages.cbegin(); entry != box->messages.cend(); ++entry)
            sorted.insert(QString::number(entry.key()), &*entry);
        QJsonObject messages;
        for (auto entry = sorted.cbegin(); entry != sorted.cend(); ++entry)
            messages.insert(entry.key(), (*entry)->toJSON());
        QJsonObject object{{u"uidValidity"_s, box->uidValidity}, {u"messages"_s, messages}};
        if (std::ranges::any_of(box->messages,
                                [](const MessageSummary& row) { return row.from.has_value(); }))
            object.insert(rawSenders, 1);
        stored.insert(box.key(), object);
    }
    return QJsonDocument(stored).toJson(QJsonDocument::Compact);
}

void trim(IMAPBoxes& boxes)
{
    QList<QDateTime> dates;
    for (const IMAPBox& box : std::as_const(boxes)) {
        for (const MessageSummary& summary : box.messages)
            dates.append(summary.date);
    }
    if (dates.size() <= summaryLimit)
        return;
    const auto cutoff = dates.begin() + (summaryLimit - 1);
    std::ranges::nth_element(dates, cutoff, std::greater());
    for (IMAPBox& box : boxes)
        box.messages.removeIf([&](auto entry) { return entry.value().date < *cutoff; });
}

} // namespace Larkhaven::IMAPSnapshot

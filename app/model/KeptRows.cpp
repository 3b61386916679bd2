#include "model/KeptRows.h"

#include "domain/Coding.h"
#include "domain/LocalizedError.h"
#include "format/SenderReader.h"
#include "platform/Tasks.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::KeptRows {

namespace {

constexpr qint64 version = 1;

QString nameOf(const MailboxRef& ref)
{
    return u"rows:"_s + ref.id();
}

QByteArray written(const Page& kept)
{
    QJsonArray rows;
    for (const MessageSummary& row : kept.page.messages.first(std::min(mostRows, kept.page.messages.size())))
        rows.append(row.toJSON());
    QJsonObject object{{u"version"_s, version},
                       {u"time"_s, Coding::fromTime(kept.time)},
                       {u"hasMore"_s, kept.page.hasMore},
                       {u"messages"_s, rows}};
    if (kept.page.total)
        object.insert(u"total"_s, *kept.page.total);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<Page> readBack(const QByteArray& bytes, const QUuid& accountID)
{
    try {
        const QJsonObject object = QJsonDocument::fromJson(bytes).object();
        if (Coding::integer(object, "version"_L1) != version)
            return std::nullopt;
        Page kept;
        kept.time = Coding::time(object, "time"_L1);
        kept.page.hasMore = Coding::boolean(object, "hasMore"_L1);
        if (object.contains("total"_L1))
            kept.page.total = Coding::integer(object, "total"_L1);
        const QJsonArray rows = Coding::array(object, "messages"_L1);
        for (const auto row : rows) {
            kept.page.messages.append(MessageSummary::fromJSON(Coding::object(row)));
            SenderReader::judgeStored(kept.page.messages.last());
        }
        const auto isOther = [&](const MessageSummary& row) { return row.accountID != accountID; };
        const bool isTooMuch = kept.page.messages.size() > mostRows;
        const bool isWrong = isTooMuch || std::ranges::any_of(kept.page.messages, isOther);
        return isWrong ? std::nullopt : std::optional(kept);
    } catch (const LocalizedError&) {
        return std::nullopt;
    }
}

Task<std::optional<Page>> parsed(Task<std::optional<QByteArray>> reading, QUuid accountID)
{
    const std::optional<QByteArray> bytes = co_await reading;
    if (!bytes)
        co_return std::nullopt;
    const auto work = [bytes = *bytes, accountID] { return readBack(bytes, accountID); };
    std::optional<Page> kept = co_await runOnWorker(work);
    co_return kept;
}

} // namespace

Task<std::optional<Page>> read(MailCache& cache, const QUuid& accountID, const MailboxRef& ref)
{
    return parsed(cache.readSnapshot(nameOf(ref)), accountID);
}

Task<> write(MailCache& cache, const MailboxRef& ref, const Page& page)
{
    return cache.makeSnapshot(nameOf(ref), [page] { return written(page); });
}

} // namespace Larkhaven::KeptRows

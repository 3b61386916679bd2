#include "providers/GmailHistory.h"

#include "support/Await.h"

#include <QJsonObject>
#include <QRandomGenerator>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QStringList ids{u"a"_s, u"b"_s, u"c"_s};
const QStringList labels{u"INBOX"_s, u"UNREAD"_s, u"STARRED"_s, u"TRASH"_s, u"Label_1"_s, u"Label_2"_s};

QJsonObject entry(const QString& id, const QStringList& names)
{
    return {{u"message"_s, QJsonObject{{u"id"_s, id}}}, {u"labelIds"_s, QJsonArray::fromStringList(names)}};
}

/// One kind of change of one message.
QJsonObject randomRecord(QRandomGenerator& random)
{
    const QString id = ids[random.bounded(ids.size())];
    QStringList names;
    for (int count = random.bounded(3); count > 0; --count)
        names.append(labels[random.bounded(labels.size())]);
    const QStringList kinds{u"labelsAdded"_s, u"labelsRemoved"_s};
    const QString kind = random.bounded(20) == 0 ? u"messagesDeleted"_s : kinds[random.bounded(kinds.size())];
    return {{kind, QJsonArray{entry(id, names)}}};
}

void fill(GmailSyncState& state)
{
    await(state.load());
    for (const QString& id : ids) {
        const GmailSyncState::Look look(state, {id});
        MessageSummary row;
        row.id = id;
        row.labelIDs = {u"INBOX"_s, u"Label_1"_s};
        row.date = QDateTime::fromSecsSinceEpoch(0, Qt::UTC);
        state.store(row, look);
    }
}

/// The rule as it reads: each record by itself, one behind the other.
void applyOneByOne(const QJsonObject& record, GmailSyncState& state)
{
    for (auto kind = record.begin(); kind != record.end(); ++kind) {
        const QJsonValue value = kind->toArray().first();
        const QString id = value[u"message"_s][u"id"_s].toString();
        QList<QString> names;
        for (const auto name : value[u"labelIds"_s].toArray())
            names.append(name.toString());
        if (kind.key() == u"messagesDeleted")
            state.remove(id);
        else if (kind.key() == u"labelsAdded")
            state.apply({id}, names, {});
        else
            state.apply({id}, {}, names);
    }
}

TEST(GmailHistory, IsTheSameAsItsRecordsOneBehindTheOther)
{
    QRandomGenerator random(11);
    for (int turn = 0; turn < 300; ++turn) {
        GmailSyncState gathered({}, nullptr);
        GmailSyncState single({}, nullptr);
        fill(gathered);
        fill(single);
        // An answer with labels that is older than the records comes behind them.
        const GmailSyncState::Look gatheredLook(gathered, ids);
        const GmailSyncState::Look singleLook(single, ids);
        QJsonArray records;
        for (int count = random.bounded(1, 30); count > 0; --count)
            records.append(randomRecord(random));
        GmailHistory::apply(records, gathered);
        for (const auto record : std::as_const(records))
            applyOneByOne(record.toObject(), single);
        EXPECT_EQ(gathered.summaries(ids), single.summaries(ids));
        for (const QString& id : ids) {
            gathered.confirm(id, {u"Label_2"_s}, gatheredLook);
            single.confirm(id, {u"Label_2"_s}, singleLook);
            EXPECT_EQ(gathered.isUnconfirmed(id), single.isUnconfirmed(id));
        }
        EXPECT_EQ(gathered.summaries(ids), single.summaries(ids));
    }
}

} // namespace
} // namespace Larkhaven

#include "providers/IMAPSnapshot.h"

#include "domain/Coding.h"
#include "providers/IMAPMessageID.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace IMAPRows {

QByteArray key(qint64 uid)
{
    return QByteArray::number(uid);
}

QByteArray note(qint64 uidValidity)
{
    return QByteArray::number(uidValidity);
}

qint64 uid(const QByteArray& key)
{
    return key.toLongLong();
}

qint64 uidValidity(const RowBox& box)
{
    return box.note.toLongLong();
}

} // namespace IMAPRows

namespace IMAPSnapshot {

namespace {

RowBox decodedBox(const QString& mailbox, const QJsonObject& object)
{
    RowBox box;
    const qint64 uidValidity = Coding::integer(object, "uidValidity"_L1);
    box.note = IMAPRows::note(uidValidity);
    const QJsonObject messages = Coding::object(object, "messages"_L1);
    const bool areSendersRaw = object.value("rawSenders"_L1) == 1;
    for (auto entry = messages.begin(); entry != messages.end(); ++entry) {
        bool isNumber = false;
        const qint64 uid = entry.key().toLongLong(&isNumber);
        if (!isNumber)
            throw Coding::unreadable("messages"_L1);
        const MessageSummary summary = MessageSummary::fromJSON(Coding::object(entry.value()));
        // What was stored before senders were read raw has lost what they pretended, and is fetched anew, as
        // is a summary of another form of ids.
        if (!areSendersRaw && summary.from)
            continue;
        if (summary.id == IMAPMessageID{uid, uidValidity, mailbox}.text())
            box.rows.insert(IMAPRows::key(uid), PackedRow::of(summary));
    }
    return box;
}

} // namespace

RowBoxes decode(const QByteArray& json)
{
    RowBoxes boxes;
    const QJsonObject stored = Coding::object(Coding::parse(json));
    for (auto entry = stored.begin(); entry != stored.end(); ++entry)
        boxes.insert(entry.key(), decodedBox(entry.key(), Coding::object(entry.value())));
    return boxes;
}

} // namespace IMAPSnapshot

} // namespace Larkhaven

#pragma once

#include "providers/IMAPMessageID.h"
#include "providers/IMAPSnapshot.h"
#include "providers/RowStore.h"
#include "support/Await.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace Larkhaven {

/// What is stored of a mailbox, unpacked.
struct IMAPBox {
    qint64 uidValidity = 0;
    QHash<qint64, MessageSummary> messages;

    bool operator==(const IMAPBox&) const = default;
};
using IMAPBoxes = QHash<QString, IMAPBox>;

inline IMAPBoxes unpacked(const RowBoxes& boxes, const QUuid& accountID = {})
{
    IMAPBoxes result;
    for (auto box = boxes.cbegin(); box != boxes.cend(); ++box) {
        IMAPBox& made = result[box.key()];
        made.uidValidity = IMAPRows::uidValidity(*box);
        for (auto row = box->rows.cbegin(); row != box->rows.cend(); ++row) {
            const qint64 uid = IMAPRows::uid(row.key());
            const IMAPMessageID id{uid, made.uidValidity, box.key()};
            made.messages.insert(uid, row->summary(id.text(), accountID));
        }
    }
    return result;
}

/// What the cache holds of an IMAP account's messages.
inline IMAPBoxes storedBoxes(const std::shared_ptr<MailCache>& cache)
{
    RowStore store(cache, QStringLiteral("imap"), RowStore::Ties::stay);
    await(store.load(IMAPSnapshot::decode));
    return unpacked(store.boxes());
}

/// The form in which boxes were stored before there were logs.
inline QByteArray oldSnapshot(const IMAPBoxes& boxes)
{
    QJsonObject stored;
    for (auto box = boxes.cbegin(); box != boxes.cend(); ++box) {
        QJsonObject messages;
        for (auto entry = box->messages.cbegin(); entry != box->messages.cend(); ++entry)
            messages.insert(QString::number(entry.key()), entry->toJSON());
        QJsonObject object{{QStringLiteral("uidValidity"), box->uidValidity},
                           {QStringLiteral("messages"), messages}};
        if (std::ranges::any_of(box->messages,
                                [](const MessageSummary& row) { return row.from.has_value(); }))
            object.insert(QStringLiteral("rawSenders"), 1);
        stored.insert(box.key(), object);
    }
    return QJsonDocument(stored).toJson(QJsonDocument::Compact);
}

} // namespace Larkhaven

#include "providers/IMAPLastMove.h"

#include "domain/LocalizedError.h"
#include "format/MIMEParser.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

QSet<QString> setOf(const QList<QString>& ids)
{
    return QSet<QString>(ids.cbegin(), ids.cend());
}

QSet<qint64> setOf(const QList<qint64>& uids)
{
    return QSet<qint64>(uids.cbegin(), uids.cend());
}

/// Whether a Message-ID is among what a message is known by: without one, others may be like it.
bool hasMessageID(const QByteArray& fingerprint)
{
    const QByteArray header = fingerprint.sliced(fingerprint.indexOf('\n') + 1) + "\r\n";
    return !MIMEParser::splitHeaders(header).headers.messageID().value_or(QString()).isEmpty();
}

} // namespace

// --- The move

void IMAPLastMove::begin(const QList<QString>& ids)
{
    m_move.reset();
    QSet<QString> moved = setOf(ids);
    if (moved.size() <= messageLimit)
        m_move.emplace(Move{std::move(moved), {}});
}

void IMAPLastMove::complete()
{
    if (m_move)
        m_move->isComplete = true;
}

Task<> IMAPLastMove::move(Client client, IMAPMessageGroup group, QString target)
{
    const IMAPTransfers::Fingerprints originals = co_await fingerprints(client, group.uids);
    const std::optional<IMAPCopyUID> copies = co_await m_transfers.move(client, group, target);
    if (m_move)
        m_move->parts.append({group, target, copies, originals});
}

Task<IMAPTransfers::Fingerprints> IMAPLastMove::fingerprints(Client client, QList<qint64> uids)
{
    IMAPTransfers::Fingerprints found;
    // On a second try the messages may have gone, or it was this question that ended the first.
    if (!m_move || m_connection.isSecondTry() || client->capabilities().contains(u"UIDPLUS"_s))
        co_return found;
    try {
        const IMAPTransfers::Fingerprints told = co_await m_transfers.fingerprints(client, uids);
        found = told;
    } catch (const LocalizedError& error) {
        // The move is what was asked for.
        if (error.isConnectionLost())
            throw;
    }
    co_return found;
}

// --- Where its messages are

bool IMAPLastMove::isOf(const QList<QString>& ids) const
{
    return m_move && m_move->isComplete && !m_move->parts.isEmpty() && m_move->ids == setOf(ids);
}

bool IMAPLastMove::isLocated() const
{
    return m_move &&
           std::ranges::all_of(m_move->parts, [](const Part& part) { return part.copies.has_value(); });
}

bool IMAPLastMove::canBeFound(const Part& part)
{
    return part.originals.size() == setOf(part.source.uids).size() &&
           std::ranges::all_of(part.originals, hasMessageID);
}

bool IMAPLastMove::canBeLocated() const
{
    return m_move && std::ranges::all_of(m_move->parts, [](const Part& part) {
               return part.copies.has_value() || canBeFound(part);
           });
}

Task<> IMAPLastMove::locate(Client client)
{
    QList<Part> parts = m_move ? m_move->parts : QList<Part>();
    for (Part& part : parts) {
        if (part.copies)
            continue;
        const std::optional<IMAPCopyUID> found = co_await find(client, part);
        part.copies = found;
    }
    if (m_move)
        m_move->parts = parts;
}

Task<std::optional<IMAPCopyUID>> IMAPLastMove::find(Client client, Part part)
{
    const qsizetype moved = m_move ? m_move->ids.size() : 0;
    co_await client->select(part.target, true);
    std::optional<IMAPCopyUID> result;
    IMAPCopyUID located{client->uidValidity().value_or(0), {}};
    const QList<qint64> newest = co_await m_transfers.newest(client, moved + newcomerLimit);
    const IMAPTransfers::Fingerprints there = co_await m_transfers.fingerprints(client, newest);

    QHash<QByteArray, QList<qint64>> places;
    for (auto copy = there.cbegin(); copy != there.cend(); ++copy)
        places[*copy].append(copy.key());
    for (auto original = part.originals.cbegin(); original != part.originals.cend(); ++original) {
        // Taken out, so that two that are alike don't both find the one that is there.
        const QList<qint64> copies = places.take(*original);
        if (copies.size() != 1)
            co_return result;
        located.copies.insert(original.key(), copies.first());
    }
    result = located;
    co_return result;
}

// --- Putting them back

std::shared_ptr<IMAPLastMove::Return> IMAPLastMove::take(const QList<QString>& ids)
{
    if (!isOf(ids) || !isLocated())
        return nullptr;
    auto back = std::make_shared<Return>();
    for (const Part& part : std::as_const(m_move->parts)) {
        const IMAPMessageGroup group{part.target, part.copies->uidValidity, part.copies->copies.values()};
        back->steps.append({group, part.source.mailbox});
    }
    m_move.reset();
    return back;
}

Task<> IMAPLastMove::confirm(Client client, std::shared_ptr<Return> back)
{
    for (const Return::Step& step : std::as_const(back->steps)) {
        co_await IMAPTransfers::select(client, step.group);
        const QList<IMAPArg> criteria(1, IMAPArg::text(u"UID "_s + uidSet(step.group.uids)));
        const QList<qint64> found = co_await client->search(criteria);
        if (!setOf(found).contains(setOf(step.group.uids)))
            throw IMAPMessageIDs::goneFromServer();
    }
    back->isConfirmed = true;
}

Task<> IMAPLastMove::putBack(Client client, std::shared_ptr<Return> back)
{
    // On a second try some may be back already.
    if (!back->isConfirmed)
        co_await confirm(client, back);
    while (back->done < back->steps.size()) {
        const Return::Step step = back->steps.at(back->done);
        co_await IMAPTransfers::select(client, step.group);
        co_await m_transfers.move(client, step.group, step.destination);
        ++back->done;
    }
}

} // namespace Larkhaven

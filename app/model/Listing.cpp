#include "model/Listing.h"

#include <algorithm>

namespace Larkhaven {

bool Listing::begin(const Key& key)
{
    if (m_key == key)
        return false;
    const bool isOther = !m_key.accountID.isNull();
    m_key = key;
    restart();
    return isOther;
}

void Listing::restart()
{
    ++m_number;
    m_pages.clear();
    m_pageIndex = 0;
    m_total.reset();
}

void Listing::clearRows()
{
    m_shown.reset();
}

void Listing::forgetPages()
{
    m_pages.clear();
}

void Listing::forgetAccount(const QUuid& accountID)
{
    m_changes.removeIf([&accountID](const LaidChange& laid) { return laid.change.accountID == accountID; });
    if (m_shownKey.accountID == accountID)
        clearRows();
    if (m_key.accountID == accountID) {
        m_key = {};
        restart();
    }
}

// --- Loading

Listing::Load Listing::beginLoad(int page)
{
    m_newest = {++m_lastLoad, m_number, page};
    return m_newest;
}

void Listing::take(const Load& load, const MessagePage& answer)
{
    const auto isKnown = [&load](const LaidChange& laid) { return !isUnknownTo(load.number, laid); };
    // What was given before keeps the changes that leave now.
    if (m_total)
        m_total->count = std::max(m_total->count - hiddenFromTotal(isKnown), qint64{0});
    for (const LaidChange& laid : std::as_const(m_changes)) {
        if (isKnown(laid))
            retire(laid);
    }
    m_changes.removeIf(isKnown);
    m_pages.insert(load.page, {answer, load.number});
    if (answer.total)
        m_total = {*answer.total, load.number};
    show(load.page);
}

bool Listing::show(int page)
{
    const auto kept = m_pages.constFind(page);
    if (kept == m_pages.cend())
        return false;
    m_shown = *kept;
    m_shownKey = m_key;
    m_shownListing = m_number;
    m_pageIndex = page;
    return true;
}

void Listing::showOld(const MessagePage& page)
{
    if (showsOwnRows())
        return;
    m_shown = Page{page, 0};
    m_shownKey = m_key;
    m_shownListing = m_number;
    m_pageIndex = 0;
    if (page.total)
        m_total = Total{*page.total, 0};
}

// --- Changes

quint64 Listing::lay(const Change& change)
{
    m_changes.append({++m_lastChange, m_number, change, std::nullopt});
    // With rows gone, every other page has shifted.
    if (!change.edit)
        m_pages.removeIf([this](const auto& page) { return page.key() != m_pageIndex; });
    return m_lastChange;
}

void Listing::accept(quint64 change)
{
    const auto laid = std::ranges::find(m_changes, change, &LaidChange::number);
    if (laid != m_changes.end())
        laid->acceptedAfter = m_lastLoad;
}

void Listing::refuse(quint64 change)
{
    m_changes.removeIf([change](const LaidChange& laid) { return laid.number == change; });
}

bool Listing::isUnknownTo(quint64 load, const LaidChange& laid)
{
    return !laid.acceptedAfter || load <= *laid.acceptedAfter;
}

void Listing::layOver(QList<MessageSummary>& rows, const LaidChange& laid, const MailboxRef& ref) const
{
    const Change& change = laid.change;
    const auto isMeant = [&change](const MessageSummary& row) {
        return row.accountID == change.accountID && change.ids.contains(row.id);
    };
    if (change.edit) {
        for (MessageSummary& row : rows) {
            if (isMeant(row))
                change.edit(row);
        }
    } else if (!change.from || change.from == ref) {
        rows.removeIf(isMeant);
    }
}

void Listing::retire(const LaidChange& laid)
{
    const auto settle = [this, &laid](Page& page, const MailboxRef& ref) {
        if (isUnknownTo(page.load, laid))
            layOver(page.answer.messages, laid, ref);
    };
    for (Page& page : m_pages)
        settle(page, m_key.ref);
    if (m_shown)
        settle(*m_shown, m_shownKey.ref);
}

// --- What is on screen

QList<MessageSummary> Listing::rows() const
{
    if (!m_shown)
        return {};
    QList<MessageSummary> rows = m_shown->answer.messages;
    for (const LaidChange& laid : m_changes) {
        if (isUnknownTo(m_shown->load, laid))
            layOver(rows, laid, m_shownKey.ref);
    }
    return rows;
}

std::optional<qint64> Listing::total() const
{
    if (!m_total)
        return std::nullopt;
    const auto isWanted = [](const LaidChange&) { return true; };
    return std::max(m_total->count - hiddenFromTotal(isWanted), qint64{0});
}

qint64 Listing::hiddenFromTotal(const std::function<bool(const LaidChange&)>& isWanted) const
{
    QSet<QString> hidden;
    QSet<QString> shown;
    if (showsOwnRows()) {
        for (const MessageSummary& row : m_shown->answer.messages)
            shown.insert(row.id);
    }
    for (const LaidChange& laid : m_changes) {
        const Change& change = laid.change;
        const bool isMeant = !change.edit && change.accountID == m_key.accountID &&
                             (!change.from || change.from == m_key.ref) && isUnknownTo(m_total->load, laid) &&
                             isWanted(laid);
        if (!isMeant)
            continue;
        // Of rows that were taken from another listing only those that are shown are known to be in this one.
        hidden += laid.listing == m_number ? change.ids : QSet<QString>(change.ids).intersect(shown);
    }
    return hidden.size();
}

} // namespace Larkhaven

#pragma once

#include "domain/MailProvider.h"

#include <QHash>
#include <QList>
#include <QString>

#include <functional>
#include <optional>
#include <utility>

namespace Larkhaven {

/// Listings of a service that hands them out in pages, each read from its start as far as it was asked for.
/// One thread; whoever waits for an operation keeps the object alive.
template <typename Item>
class ListingCache {
public:
    /// A listing ends for us after so many items, or pages: a runaway one must not grow without end.
    static constexpr qsizetype mostItems = 200'000;
    static constexpr int mostPages = 10'000;
    /// Listings that are kept; the one that nobody has asked for for longest goes.
    static constexpr qsizetype mostListings = 32;

    struct Entry {
        QList<Item> items; ///< from the listing's start, in the service's order
        std::optional<QString> continuation;
        bool exhausted = false; ///< no further page exists, or none will be asked for
        std::optional<qint64> estimate;
        int pages = 0;
    };
    struct Page {
        QList<Item> items;
        std::optional<QString> next;
        std::optional<qint64> estimate;
    };
    /// Asks the service for the page of a token; for the first one without.
    using Fetch = std::function<Task<Page>(std::optional<QString> continuation)>;

    /// The listing with at least `count` items, or all there are. A failure of `fetch` leaves it as it was.
    ///
    /// The listing isn't held during a fetch: of two that overlap, the second to come back is dropped, and so
    /// is one that was begun before `clear`.
    Task<Entry> ensure(QString key, qint64 count, Fetch fetch)
    {
        m_recentKeys.removeOne(key);
        m_recentKeys.append(key);
        if (m_recentKeys.size() > mostListings)
            m_entries.remove(m_recentKeys.takeFirst());
        for (;;) {
            {
                const Entry& known = m_entries[key];
                if (known.items.size() >= count || known.exhausted) {
                    Entry entry = known;
                    co_return entry;
                }
            }
            const qsizetype size = m_entries[key].items.size();
            const std::optional<QString> continuation = m_entries[key].continuation;
            const quint64 generation = m_generation;
            const Page page = co_await fetch(continuation);
            Entry& entry = m_entries[key];
            const bool isOvertaken = entry.items.size() != size || entry.continuation != continuation ||
                                     m_generation != generation;
            if (!isOvertaken)
                append(entry, page);
        }
    }

    void clear()
    {
        m_entries.clear();
        m_recentKeys.clear();
        ++m_generation;
    }

private:
    static void append(Entry& entry, const Page& page)
    {
        entry.items += page.items;
        ++entry.pages;
        entry.exhausted = !page.next || page.next == entry.continuation || entry.items.size() >= mostItems ||
                          entry.pages >= mostPages;
        entry.continuation = page.next;
        if (page.estimate)
            entry.estimate = page.estimate;
    }

    QHash<QString, Entry> m_entries;
    QList<QString> m_recentKeys; ///< the one that was asked for last at the end
    quint64 m_generation = 0;
};

} // namespace Larkhaven

#include "domain/MailError.h"
#include "model/AppModel.h"
#include "model/KeptRows.h"
#include "platform/Tasks.h"

#include <algorithm>

using namespace Qt::StringLiterals;

// The mailbox on screen: its pages, its searches, and the checks for what is new.

namespace Larkhaven {

void AppModel::select(const std::optional<SidebarItem>& item)
{
    if (item && item != m_sidebarSelection)
        show(*item, Asked::byUser);
}

void AppModel::show(const SidebarItem& item, Asked asked)
{
    m_isMailboxRestored = false;
    assign(m_sidebarSelection, std::optional(item), &AppModel::sidebarSelectionChanged);
    setPath({});
    m_listing.clearRows();
    resetPaging();
    start(load(0, true, asked));
    if (!m_sidebar.hasLabels(item.accountID))
        start(loadLabelsAndCounts(item.accountID));
}

void AppModel::selectMailbox(const MailboxRef& ref)
{
    std::optional<Account> account = selectedAccount();
    if (!account && !accounts().isEmpty())
        account = accounts().first();
    if (account)
        select(SidebarItem{account->id, ref});
}

void AppModel::showInstead(const SidebarItem& item)
{
    assign(m_sidebarSelection, std::optional(item), &AppModel::sidebarSelectionChanged);
    resetPaging();
    start(load(0, true, Asked::byNobody));
}

void AppModel::resetPaging()
{
    m_listing.restart();
    publish();
}

std::optional<QString> AppModel::query() const
{
    QStringView text(m_searchText);
    while (text.startsWith(u' ') || text.startsWith(u'\t'))
        text = text.sliced(1);
    while (text.endsWith(u' ') || text.endsWith(u'\t'))
        text.chop(1);
    return text.isEmpty() ? std::nullopt : std::optional(text.toString());
}

Listing::Key AppModel::listingKey(const SidebarItem& item, Asked asked) const
{
    return {item.accountID, item.ref, asked == Asked::byNobody ? listedQuery() : query(), pageSize()};
}

bool AppModel::beginListing(const Listing::Key& key)
{
    const std::optional<QString> before = listedQuery();
    const bool isAnother = m_listing.begin(key);
    if (listedQuery() != before)
        Q_EMIT listedQueryChanged();
    return isAnother;
}

void AppModel::publish()
{
    const Paging paging{m_listing.pageIndex(), m_listing.hasMore(), m_listing.total()};
    assign(m_paging, paging, &AppModel::pagingChanged);
    assign(m_messages, m_listing.rows(), &AppModel::messagesChanged);
    followOpened();
    selectRows(m_selection);
}

Task<> AppModel::load(int page, bool refresh)
{
    return load(page, refresh, Asked::byUser);
}

Task<> AppModel::load(int page, bool refresh, Asked asker)
{
    const QPointer<AppModel> self(this);
    const std::optional<SidebarItem> item = m_sidebarSelection;
    const Session source = item ? session(item->accountID) : Session();
    if (!source) {
        m_listing.clearRows();
        publish();
        co_return;
    }
    if (asker != Asked::byNobody)
        ++m_lastWish;
    const Listing::Key key = listingKey(*item, asker);
    // A page of another listing than the one that it was meant for is the first one.
    if (beginListing(key))
        page = 0;
    if (!refresh && m_listing.show(page)) {
        publish();
        co_return;
    }
    const Listing::Load asked = m_listing.beginLoad(page);
    setLoading(true);
    if (page == 0 && !key.query && !m_listing.showsOwnRows())
        start(showKeptRows(key, m_listing.number()));
    const qint64 limit = key.pageSize;
    const Outcome<MessagePage> answer =
        co_await settled(source->listMessages(key.ref, key.query, page * limit, limit, refresh));
    if (!self || !m_listing.isNewest(asked))
        co_return;
    if (!m_listing.isOfThisListing(asked) || !m_accounts.isCurrent(source)) {
        // Another listing has come, and nothing could be asked for it.
        setLoading(false);
        co_return;
    }
    if (answer.failure) {
        noteFailedListing(source, answer.failure, asker);
    } else {
        m_listing.take(asked, *answer.value);
        publish();
        m_accounts.noteListing(item->accountID);
        if (refresh)
            m_checks.succeed(item->accountID, CheckResults::Of::listing);
        if (page == 0 && !key.query)
            keepRows(key, *answer.value);
    }
    setLoading(false);
}

Task<> AppModel::showKeptRows(Listing::Key key, quint64 listing)
{
    const QPointer<AppModel> self(this);
    const std::weak_ptr<MailCache> cache = m_accounts.cache(key.accountID);
    if (cache.expired())
        co_return;
    Task<std::optional<KeptRows::Page>> reading = KeptRows::read(*cache.lock(), key.accountID, key.ref);
    const std::optional<KeptRows::Page> kept = co_await reading;
    // After a repair other messages are meant.
    if (!self || !kept || cache.expired() || m_accounts.cache(key.accountID) != cache.lock())
        co_return;
    m_checks.remember(key.accountID, kept->time);
    if (m_listing.number() != listing)
        co_return;
    MessagePage page = kept->page;
    // It may have been kept for larger pages.
    page.hasMore = page.hasMore || page.messages.size() > key.pageSize;
    page.messages = page.messages.first(std::min<qsizetype>(page.messages.size(), key.pageSize));
    m_listing.showOld(page);
    publish();
}

void AppModel::keepRows(const Listing::Key& key, const MessagePage& page)
{
    if (const std::shared_ptr<MailCache> cache = m_accounts.cache(key.accountID))
        spawn(KeptRows::write(*cache, key.ref, {page, QDateTime::currentDateTimeUtc()}), dropFailure);
}

int AppModel::wantedPage() const
{
    const Listing::Load& newest = m_listing.newest();
    return m_isLoading && m_listing.isOfThisListing(newest) ? newest.page : m_listing.pageIndex();
}

Task<> AppModel::begin()
{
    const QPointer<AppModel> self(this);
    setLoading(true);
    co_await m_accounts.unlock();
    if (!self)
        co_return;
    setLoading(false);
    start(recoverDrafts());
    co_await checkForNews(Asked::byNobody);
}

Task<> AppModel::refresh()
{
    const bool isLocked = m_accounts.wasRefused() || !accountsWithLockedTexts().isEmpty();
    return isLocked ? unlockAndCheck(Asked::asNews) : checkForNews(Asked::asNews);
}

Task<> AppModel::tryAgain()
{
    return checkForNews(Asked::byNobody);
}

Task<> AppModel::unlockAndCheck(Asked asked)
{
    const QPointer<AppModel> self(this);
    co_await m_accounts.unlock();
    if (!self)
        co_return;
    start(recoverDrafts());
    co_await checkForNews(asked);
}

Task<> AppModel::checkForNews(Asked asked)
{
    m_listing.forgetPages();
    // What the user looks at goes before what is counted.
    Task<> loading = load(wantedPage(), true, asked);
    for (const QUuid& accountID : m_accounts.ids())
        start(loadLabelsAndCounts(accountID));
    return loading;
}

Task<> AppModel::nextPage()
{
    return m_paging.hasNext && !m_isLoading ? load(m_paging.index + 1, false) : nothing();
}

Task<> AppModel::previousPage()
{
    return m_paging.index >= 1 && !m_isLoading ? load(m_paging.index - 1, false) : nothing();
}

Task<> AppModel::firstPage()
{
    if (m_isLoading)
        return nothing();
    m_listing.forgetPages();
    return load(0, true);
}

Task<> AppModel::lastPage()
{
    const QPointer<AppModel> self(this);
    const std::optional<SidebarItem> item = m_sidebarSelection;
    const Session source = item && !m_isLoading ? session(item->accountID) : Session();
    if (!source)
        co_return;
    const Listing::Key key = listingKey(*item, Asked::byUser);
    beginListing(key);
    const Listing::Load asked = m_listing.beginLoad(m_listing.pageIndex());
    const quint64 wish = ++m_lastWish;
    setLoading(true);
    const Outcome<qint64> offset = co_await settled(source->lastPageOffset(key.ref, key.query, key.pageSize));
    if (!self)
        co_return;
    if (m_listing.isNewest(asked))
        setLoading(false);
    // A check that nobody asked for isn't what the user wants to see instead.
    if (wish != m_lastWish || !m_listing.isOfThisListing(asked) || !m_accounts.isCurrent(source))
        co_return;
    if (offset.failure)
        noteFailedListing(source, offset.failure, Asked::byUser);
    else
        co_await load(static_cast<int>(*offset.value / key.pageSize), false);
}

Task<> AppModel::applySearch()
{
    // The results are what the user wants to see.
    setPath({});
    resetPaging();
    return load(0, true);
}

void AppModel::search(const MessageSummary& sender)
{
    const QList<EmailAddress> addresses = sender.realSender().addresses;
    if (addresses.isEmpty())
        return;
    setSearchText(u"from:"_s + addresses.first().address);
    start(applySearch());
}

Task<> AppModel::loadCounts(QUuid accountID)
{
    const QPointer<AppModel> self(this);
    co_await m_sidebar.loadCounts(accountID);
    if (self)
        updateBadge();
}

Task<> AppModel::loadLabelsAndCounts(QUuid accountID)
{
    const QPointer<AppModel> self(this);
    co_await loadLabels(accountID);
    if (self)
        co_await loadCounts(accountID);
}

void AppModel::updateBadge()
{
    const QString text = badgeText();
    // A launcher knows numbers only: "9999+" shows as 9999.
    m_services.showBadge(QStringView(text).chopped(text.endsWith(u'+') ? 1 : 0).toLongLong());
}

void AppModel::startRefreshLoop()
{
    m_refreshLoop.request_stop();
    m_refreshLoop = std::stop_source();
    spawn(refreshLoop(this, m_refreshLoop.get_token()), dropFailure);
}

Task<> AppModel::refreshLoop(QPointer<AppModel> model, std::stop_token stop)
{
    while (model && !stop.stop_requested()) {
        const qint64 minutes = model->defaults().integer(DefaultsKey::refreshMinutes);
        if (minutes < 1)
            co_return;
        // A year is as good as any longer time, and keeps the arithmetic in bounds.
        constexpr qint64 longest = qint64{366} * 24 * 60;
        co_await model->m_services.sleep(std::chrono::minutes(std::min(minutes, longest)), stop);
        if (!model || stop.stop_requested())
            co_return;
        co_await model->checkForNews(Asked::byNobody);
    }
}

} // namespace Larkhaven

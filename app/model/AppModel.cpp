#include "model/AppModel.h"

#include "app/platform/ContinuousClock.h"
#include "app/platform/LauncherBadge.h"
#include "app/platform/WakeMonitor.h"
#include "domain/MailError.h"
#include "domain/Text.h"
#include "model/AccountStore.h"
#include "platform/Tasks.h"
#include "protocols/StreamTransport.h"

#include <QLocale>
#include <QStandardPaths>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

size_t qHash(const SidebarItem& item, size_t seed)
{
    return qHashMulti(seed, item.accountID, item.ref);
}

const QString& AppModel::bundleIdentifier()
{
    static const QString identifier = u"com.tundra42.larkhaven"_s;
    return identifier;
}

AppModel::Services AppModel::systemServices()
{
    Services services;
    services.defaults = std::make_shared<UserDefaults>(UserDefaults::defaultFile());
    services.secrets = std::make_shared<KeychainStore>(bundleIdentifier() + u".credentials"_s);
    services.cacheKeys = std::make_shared<KeychainStore>(bundleIdentifier() + u".cache-keys"_s);
    services.cachesDirectory = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    services.transports = MailTransports::open;
    services.sleep = ContinuousClock::sleepFor;
    services.showBadge = LauncherBadge::show;
    return services;
}

AppModel::AppModel(Services services, QObject* parent)
    : QObject(parent)
    , m_services(std::move(services))
    , m_recovery(std::make_shared<ComposeRecovery>([self = QPointer(this)](const QUuid& accountID) {
        return self ? self->cache(accountID) : nullptr;
    }))
{
    registerUserSettings(defaults());
    m_accounts = AccountStore::load(defaults());
    if (!m_accounts.isEmpty())
        m_sidebarSelection = SidebarItem{m_accounts.first().id, MailboxRef::system(Mailbox::inbox)};
    startRefreshLoop();
    connect(new WakeMonitor(this), &WakeMonitor::woke, this, [this] { start(refresh()); });
}

AppModel::~AppModel()
{
    m_refreshLoop.request_stop();
}

// --- Fields

void AppModel::setSearchText(const QString& text)
{
    assign(m_searchText, text, &AppModel::searchTextChanged);
}

void AppModel::setSortOrder(const QList<SortComparator>& order)
{
    assign(m_sortOrder, order, &AppModel::sortOrderChanged);
}

void AppModel::setSelection(const QSet<QString>& selection)
{
    assign(m_selection, selection, &AppModel::selectionChanged);
}

void AppModel::setPath(const QList<QString>& path)
{
    assign(m_path, path, &AppModel::pathChanged);
}

void AppModel::setOpenParsed(const std::optional<ParsedMessage>& message)
{
    // Comparing messages would compare their attachments byte by byte.
    m_openParsed = message;
    Q_EMIT openParsedChanged();
}

void AppModel::clearErrorMessage()
{
    assign(m_errorMessage, std::optional<QString>(), &AppModel::errorMessageChanged);
}

void AppModel::clearPendingCompose()
{
    assign(m_pendingCompose, std::optional<QUuid>(), &AppModel::pendingComposeChanged);
}

void AppModel::clearLabelEdit()
{
    assign(m_labelEdit, std::optional<LabelEdit>(), &AppModel::labelEditChanged);
}

void AppModel::clearLabelDeletion()
{
    assign(m_labelDeletion, std::optional<LabelDeletion>(), &AppModel::labelDeletionChanged);
}

void AppModel::setImapSetupAccountID(const std::optional<QUuid>& accountID)
{
    assign(m_imapSetupAccountID, accountID, &AppModel::imapSetupAccountIDChanged);
}

void AppModel::setLoading(bool isLoading)
{
    assign(m_isLoading, isLoading, &AppModel::isLoadingChanged);
}

void AppModel::setSigningIn(bool isSigningIn)
{
    assign(m_isSigningIn, isSigningIn, &AppModel::signingInChanged);
}

void AppModel::setNeedsReauth(const QUuid& accountID, bool isNeeded)
{
    QSet<QUuid> accounts = m_needsReauth;
    if (isNeeded)
        accounts.insert(accountID);
    else
        accounts.remove(accountID);
    assign(m_needsReauth, accounts, &AppModel::needsReauthChanged);
}

void AppModel::setPaging(int pageIndex, bool hasNextPage, const std::optional<qint64>& total)
{
    if (m_pageIndex == pageIndex && m_hasNextPage == hasNextPage && m_total == total)
        return;
    m_pageIndex = pageIndex;
    m_hasNextPage = hasNextPage;
    m_total = total;
    Q_EMIT pagingChanged();
}

// --- Derived values

std::optional<Account> AppModel::selectedAccount() const
{
    if (!m_sidebarSelection)
        return std::nullopt;
    const auto found = std::ranges::find(m_accounts, m_sidebarSelection->accountID, &Account::id);
    return found == m_accounts.end() ? std::nullopt : std::optional(*found);
}

std::optional<MessageSummary> AppModel::message(const QString& id) const
{
    const auto row = std::ranges::find(m_messages, id, &MessageSummary::id);
    if (row != m_messages.end())
        return *row;
    const auto opened = m_opened.constFind(id);
    return opened == m_opened.cend() ? std::nullopt : std::optional(*opened);
}

QList<MessageSummary> AppModel::actedOn() const
{
    if (!m_path.isEmpty()) {
        const std::optional<MessageSummary> opened = message(m_path.last());
        return opened ? QList{*opened} : QList<MessageSummary>();
    }
    QList<MessageSummary> rows;
    std::ranges::copy_if(m_messages, std::back_inserter(rows),
                         [this](const MessageSummary& row) { return m_selection.contains(row.id); });
    return rows;
}

int AppModel::pageSize() const
{
    const qint64 size = defaults().integer(DefaultsKey::pageSize);
    return size == 25 || size == 50 || size == 100 ? static_cast<int>(size) : defaultPageSize;
}

QString AppModel::pagerText() const
{
    if (m_messages.isEmpty())
        return {};
    const QLocale locale;
    const qint64 start = static_cast<qint64>(m_pageIndex) * pageSize();
    const qint64 last = start + m_messages.size();
    const QString all = m_total         ? locale.toString(*m_total)
                        : m_hasNextPage ? tr("many")
                                        : locale.toString(last);
    return tr("%1–%2 of %3").arg(locale.toString(start + 1), locale.toString(last), all);
}

QString AppModel::labelNoun() const
{
    std::optional<Account> account = selectedAccount();
    if (!account && !m_accounts.isEmpty())
        account = m_accounts.first();
    return labelNoun(account ? account->provider : ProviderKind::imap);
}

QString AppModel::labelNoun(ProviderKind provider)
{
    return provider == ProviderKind::google ? tr("Label") : tr("Folder");
}

QString AppModel::badgeText() const
{
    constexpr qint64 largest = 9999;
    const QString inbox = MailboxRef::system(Mailbox::inbox).id();
    qint64 sum = 0;
    // Counts are what servers say.
    for (const Account& account : m_accounts)
        sum += std::clamp(m_counts.value(account.id).value(inbox), qint64{0}, largest + 1);
    if (!defaults().boolean(DefaultsKey::showDockBadge) || sum <= 0)
        return {};
    return sum > largest ? u"%1+"_s.arg(largest) : QString::number(sum);
}

// --- Accounts

void AppModel::useProvider(const QUuid& accountID, const std::shared_ptr<MailProvider>& provider)
{
    m_providers.insert(accountID, provider);
}

void AppModel::setNickname(const QUuid& accountID, const QString& text)
{
    QList<Account> accounts = m_accounts;
    const auto account = std::ranges::find(accounts, accountID, &Account::id);
    if (account == accounts.end())
        return;
    const QString trimmed = Text::trimmedSpaceAndLineEnds(text).toString();
    account->nickname = trimmed.isEmpty() ? std::nullopt : std::optional(trimmed);
    assign(m_accounts, accounts, &AppModel::accountsChanged);
    AccountStore::save(m_accounts, defaults());
}

void AppModel::moveAccounts(const QList<int>& sources, int destination)
{
    QList<Account> before;
    QList<Account> moved;
    QList<Account> after;
    for (int index = 0; index < m_accounts.size(); ++index) {
        QList<Account>& place = sources.contains(index) ? moved : index < destination ? before : after;
        place.append(m_accounts[index]);
    }
    assign(m_accounts, before + moved + after, &AppModel::accountsChanged);
    AccountStore::save(m_accounts, defaults());
}

void AppModel::report(const std::exception_ptr& failure, const std::optional<QUuid>& accountID)
{
    try {
        std::rethrow_exception(failure);
    } catch (const MailError& error) {
        if (error.kind() == MailError::Kind::cancelled)
            return;
        if (error.kind() == MailError::Kind::notSignedIn && accountID) {
            setNeedsReauth(*accountID, true);
            return;
        }
    } catch (...) {
        // Every other failure has words for the user.
    }
    assign(m_errorMessage, std::optional(localizedText(failure)), &AppModel::errorMessageChanged);
}

void AppModel::start(Task<> flow, const std::optional<QUuid>& accountID)
{
    spawn(std::move(flow), [self = QPointer(this), accountID](const std::exception_ptr& failure) {
        if (self)
            self->report(failure, accountID);
    });
}

// --- The mailbox on screen

void AppModel::select(const std::optional<SidebarItem>& item)
{
    if (!item || item == m_sidebarSelection)
        return;
    assign(m_sidebarSelection, item, &AppModel::sidebarSelectionChanged);
    setPath({});
    assign(m_messages, {}, &AppModel::messagesChanged);
    setSelection({});
    resetPaging();
    if (!m_labels.contains(item->accountID))
        start(loadLabelsAndCounts(item->accountID));
    start(load(0, true));
}

void AppModel::selectMailbox(const MailboxRef& ref)
{
    std::optional<Account> account = selectedAccount();
    if (!account && !m_accounts.isEmpty())
        account = m_accounts.first();
    if (account)
        select(SidebarItem{account->id, ref});
}

void AppModel::resetPaging()
{
    ++m_listing;
    m_pageCache.clear();
    setPaging(0, false, std::nullopt);
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

void AppModel::applyPage(int page, const MessagePage& answer)
{
    setPaging(page, answer.hasMore, m_total);
    assign(m_messages, answer.messages, &AppModel::messagesChanged);
    QSet<QString> listed;
    for (const MessageSummary& row : answer.messages)
        listed.insert(row.id);
    setSelection(QSet<QString>(m_selection).intersect(listed));
}

Task<> AppModel::load(int page, bool refresh)
{
    const QPointer<AppModel> self(this);
    const std::optional<SidebarItem> item = m_sidebarSelection;
    const std::shared_ptr<MailProvider> source = item ? provider(item->accountID) : nullptr;
    if (!source) {
        assign(m_messages, {}, &AppModel::messagesChanged);
        co_return;
    }
    if (!refresh && m_pageCache.contains(page)) {
        applyPage(page, m_pageCache.value(page));
        co_return;
    }
    const quint64 generation = ++m_loadGeneration;
    const quint64 listing = m_listing;
    setLoading(true);
    const qint64 limit = pageSize();
    MessagePage answer;
    std::exception_ptr failure;
    try {
        answer = co_await source->listMessages(item->ref, query(), page * limit, limit, refresh);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self || m_loadGeneration != generation)
        co_return;
    if (m_listing != listing) {
        // Another listing has come, and nothing could be asked for it.
        setLoading(false);
        co_return;
    }
    if (failure) {
        report(failure, item->accountID);
    } else {
        applyPendingChanges(answer.messages);
        m_pageCache.insert(page, answer);
        if (answer.total)
            setPaging(m_pageIndex, m_hasNextPage, answer.total);
        applyPage(page, answer);
        setNeedsReauth(item->accountID, false);
    }
    setLoading(false);
}

Task<> AppModel::begin()
{
    const QPointer<AppModel> self(this);
    const auto unlock = [secrets = m_services.secrets, keys = m_services.cacheKeys, accounts = m_accounts] {
        for (const Account& account : accounts) {
            try {
                secrets->load(account.id);
                keys->loadData(account.id);
            } catch (const LocalizedError&) {
                // Whoever needs the item will see.
            }
        }
    };
    setLoading(true);
    co_await runOnWorker(unlock);
    if (!self)
        co_return;
    setLoading(false);
    start(recoverDrafts());
    co_await refresh();
}

Task<> AppModel::refresh()
{
    m_pageCache.clear();
    for (const Account& account : std::as_const(m_accounts))
        start(loadLabelsAndCounts(account.id));
    return load(m_pageIndex, true);
}

namespace {

Task<> nothing()
{
    co_return;
}

} // namespace

Task<> AppModel::nextPage()
{
    return m_hasNextPage && !m_isLoading ? load(m_pageIndex + 1, false) : nothing();
}

Task<> AppModel::previousPage()
{
    return m_pageIndex >= 1 && !m_isLoading ? load(m_pageIndex - 1, false) : nothing();
}

Task<> AppModel::firstPage()
{
    if (m_isLoading)
        return nothing();
    m_pageCache.clear();
    return load(0, true);
}

Task<> AppModel::lastPage()
{
    const QPointer<AppModel> self(this);
    const std::optional<SidebarItem> item = m_sidebarSelection;
    const std::shared_ptr<MailProvider> source = item && !m_isLoading ? provider(item->accountID) : nullptr;
    if (!source)
        co_return;
    const qint64 size = pageSize();
    const quint64 generation = ++m_loadGeneration;
    const quint64 listing = m_listing;
    setLoading(true);
    qint64 offset = 0;
    std::exception_ptr failure;
    try {
        offset = co_await source->lastPageOffset(item->ref, query(), size);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self || m_loadGeneration != generation)
        co_return;
    setLoading(false);
    if (m_listing != listing)
        co_return;
    if (failure)
        report(failure, item->accountID);
    else
        co_await load(static_cast<int>(offset / size), false);
}

Task<> AppModel::applySearch()
{
    resetPaging();
    return load(0, true);
}

void AppModel::search(const MessageSummary& sender)
{
    if (!sender.from)
        return;
    setPath({});
    setSearchText(u"from:"_s + sender.from->address);
    start(applySearch());
}

Task<> AppModel::loadLabels(QUuid accountID)
{
    const QPointer<AppModel> self(this);
    const std::shared_ptr<MailProvider> source = provider(accountID);
    if (!source)
        co_return;
    QList<MailLabel> listed;
    try {
        listed = co_await source->listLabels();
    } catch (const std::exception&) {
        co_return; // The sidebar keeps what it had.
    }
    if (!self || (m_labels.contains(accountID) && m_labels.value(accountID) == listed))
        co_return;
    m_labels.insert(accountID, listed);
    Q_EMIT labelsChanged();
}

Task<> AppModel::loadCounts(QUuid accountID)
{
    const QPointer<AppModel> self(this);
    const std::shared_ptr<MailProvider> source = provider(accountID);
    std::optional<QHash<QString, qint64>> counted;
    try {
        if (source)
            counted = co_await source->counts(labels(accountID));
    } catch (const std::exception&) {
        // The sidebar keeps what it had.
    }
    if (!self)
        co_return;
    if (counted && m_counts.value(accountID) != *counted) {
        m_counts.insert(accountID, *counted);
        Q_EMIT countsChanged();
    }
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
        co_await model->refresh();
    }
}

} // namespace Larkhaven

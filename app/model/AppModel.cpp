#include "model/AppModel.h"

#include "app/platform/ContinuousClock.h"
#include "app/platform/LauncherBadge.h"
#include "app/platform/WakeMonitor.h"
#include "domain/MailError.h"
#include "domain/Text.h"
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

AppModel::Services AppModel::systemServices(const SignInService::Authenticate& authenticate)
{
    Services services;
    services.defaults = std::make_shared<UserDefaults>(UserDefaults::defaultFile());
    services.secrets = std::make_shared<KeychainStore>(bundleIdentifier() + u".credentials"_s);
    services.cacheKeys = std::make_shared<KeychainStore>(bundleIdentifier() + u".cache-keys"_s);
    services.textKeys = std::make_shared<KeychainStore>(bundleIdentifier() + u".text-keys"_s);
    services.cachesDirectory = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    services.keptTextsDirectory = data.isEmpty() ? QString() : data + u"/larkhaven/texts"_s;
    services.transports = MailTransports::open;
    services.sleep = ContinuousClock::sleepFor;
    services.showBadge = LauncherBadge::show;
    services.info = Info::ofProgram();
    services.signIn = [signIn = SignInService::Services{services.info, authenticate, services.transports}](
                          ProviderKind provider, const QUuid& accountID,
                          const std::optional<QString>& loginHint, const std::stop_token& stop) {
        return SignInService::signIn(provider, signIn, accountID, loginHint, stop);
    };
    services.revoke = SignInService::revoke;
    return services;
}

namespace {

/// The settings have their defaults before anything reads them.
AppModel::Services registered(AppModel::Services services)
{
    registerUserSettings(*services.defaults);
    return services;
}

Task<> nothing()
{
    co_return;
}

} // namespace

AppModel::AppModel(Services services, QObject* parent)
    : QObject(parent)
    , m_services(registered(std::move(services)))
    , m_accounts({m_services.defaults, m_services.secrets, m_services.cacheKeys, m_services.cachesDirectory,
                  m_services.transports, m_services.info, m_services.revoke})
    , m_sidebar(m_accounts)
    , m_texts(std::make_shared<KeptTexts>(m_services.keptTextsDirectory, m_services.textKeys))
    , m_accentAtStart(accentChoice(*m_services.defaults))
{
    connectParts();
    if (!accounts().isEmpty())
        m_sidebarSelection = SidebarItem{accounts().first().id, MailboxRef::system(Mailbox::inbox)};
    startRefreshLoop();
}

AppModel::~AppModel()
{
    m_refreshLoop.request_stop();
    m_browserStop.request_stop();
    m_texts->flush();
}

void AppModel::connectParts()
{
    const QPointer<AppModel> self(this);
    m_pageReloads = Coalescer::create([self] { return self ? self->reloadPage() : nothing(); });
    m_refreshes = Coalescer::create([self] { return self ? self->checkForNews() : nothing(); });
    connect(&m_accounts, &Accounts::listChanged, this, &AppModel::accountsChanged);
    connect(&m_accounts, &Accounts::needsReauthChanged, this, &AppModel::needsReauthChanged);
    connect(&m_sidebar, &LabelsAndCounts::countsChanged, this, &AppModel::countsChanged);
    connect(&m_sidebar, &LabelsAndCounts::labelsChanged, this,
            [this](const QUuid& accountID, const QList<MailLabel>& before) {
                followLabels(accountID, before);
                Q_EMIT labelsChanged();
            });
    connect(m_texts.get(), &KeptTexts::troubleChanged, this, &AppModel::lockedTextsChanged);
    connect(new WakeMonitor(this), &WakeMonitor::woke, this, [this] { start(checkForNews()); });
    connect(&defaults(), &UserDefaults::changed, this, [this](const QString& key) {
        if (key == DefaultsKey::pageSize && m_sidebarSelection)
            start(load(0, true));
        else if (key == DefaultsKey::refreshMinutes)
            startRefreshLoop();
        else if (key == DefaultsKey::showDockBadge)
            updateBadge();
    });
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
    m_restoredSelection.clear();
    selectRows(selection);
}

void AppModel::selectRows(const QSet<QString>& selection)
{
    QSet<QString> listed;
    for (const MessageSummary& row : m_messages)
        listed.insert(row.id);
    assign(m_selection, listed.intersect(selection), &AppModel::selectionChanged);
}

void AppModel::setPath(const QList<QString>& path)
{
    // What is on screen already stays, and so does its text.
    if (path.isEmpty() || m_path.isEmpty() || path.last() != m_path.last())
        setOpenParsed(std::nullopt);
    m_opened.removeIf([&path](const auto& row) { return !path.contains(row.key()); });
    assign(m_path, path, &AppModel::pathChanged);
}

void AppModel::setOpenParsed(const std::optional<ParsedMessage>& message)
{
    if (!message && !m_openParsed)
        return;
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

void AppModel::noteSignIn(int change)
{
    const bool before = isSigningIn();
    m_signIns += change;
    if (isSigningIn() != before)
        Q_EMIT signingInChanged();
}

// --- Derived values

std::optional<Account> AppModel::selectedAccount() const
{
    return m_sidebarSelection ? m_accounts.find(m_sidebarSelection->accountID) : std::nullopt;
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
    // Rows that wait for the first page of another listing have no place in it.
    if (m_messages.isEmpty() || !m_listing.showsOwnRows())
        return {};
    const QLocale locale;
    const qint64 start = static_cast<qint64>(m_paging.index) * m_listing.pageSize();
    const qint64 last = start + m_messages.size();
    const QString all = m_paging.total     ? locale.toString(*m_paging.total)
                        : m_paging.hasNext ? tr("many")
                                           : locale.toString(last);
    return tr("%1–%2 of %3").arg(locale.toString(start + 1), locale.toString(last), all);
}

QString AppModel::labelNoun() const
{
    std::optional<Account> account = selectedAccount();
    if (!account && !accounts().isEmpty())
        account = accounts().first();
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
    for (const Account& account : accounts())
        sum += std::clamp(counts(account.id).value(inbox), qint64{0}, largest + 1);
    if (!defaults().boolean(DefaultsKey::showDockBadge) || sum <= 0)
        return {};
    return sum > largest ? u"%1+"_s.arg(largest) : QString::number(sum);
}

QList<QUuid> AppModel::accountsWithLockedTexts() const
{
    QList<QUuid> locked = m_accounts.ids();
    locked.removeIf([this](const QUuid& accountID) { return !m_texts->hasTrouble(accountID); });
    return locked;
}

// --- Failures

void AppModel::report(const std::exception_ptr& failure, const std::optional<QUuid>& accountID)
{
    try {
        std::rethrow_exception(failure);
    } catch (const MailError& error) {
        if (error.kind() == MailError::Kind::cancelled)
            return;
        // An account that was never added has no mark: its sign-in mustn't fail in silence.
        if (error.kind() == MailError::Kind::notSignedIn && accountID && m_accounts.find(*accountID)) {
            m_accounts.setNeedsReauth(*accountID, true);
            return;
        }
    } catch (...) {
        // Every other failure has words for the user.
    }
    assign(m_errorMessage, std::optional(localizedText(failure)), &AppModel::errorMessageChanged);
}

void AppModel::reportTo(const Session& session, const std::exception_ptr& failure)
{
    if (m_accounts.isCurrent(session))
        report(failure, session.accountID);
}

Task<> AppModel::reporting(Task<> flow, Session session)
{
    const QPointer<AppModel> self(this);
    const Outcome<void> outcome = co_await settled(std::move(flow));
    if (self && outcome.failure)
        reportTo(session, outcome.failure);
}

void AppModel::start(Task<> flow, const std::optional<QUuid>& accountID)
{
    const std::optional<Session> began =
        accountID ? std::optional(m_accounts.present(*accountID)) : std::nullopt;
    spawn(std::move(flow), [self = QPointer(this), began](const std::exception_ptr& failure) {
        if (self && began)
            self->reportTo(*began, failure);
        else if (self)
            self->report(failure);
    });
}

// --- The mailbox on screen

void AppModel::select(const std::optional<SidebarItem>& item)
{
    if (!item || item == m_sidebarSelection)
        return;
    assign(m_sidebarSelection, item, &AppModel::sidebarSelectionChanged);
    setPath({});
    m_listing.clearRows();
    resetPaging();
    start(load(0, true));
    if (!m_sidebar.hasLabels(item->accountID))
        start(loadLabelsAndCounts(item->accountID));
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
    start(load(0, true));
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

Listing::Key AppModel::listingKey(const SidebarItem& item) const
{
    return {item.accountID, item.ref, query(), pageSize()};
}

void AppModel::publish()
{
    const Paging paging{m_listing.pageIndex(), m_listing.hasMore(), m_listing.total()};
    assign(m_paging, paging, &AppModel::pagingChanged);
    assign(m_messages, m_listing.rows(), &AppModel::messagesChanged);
    selectRows(m_selection);
}

Task<> AppModel::load(int page, bool refresh)
{
    const QPointer<AppModel> self(this);
    const std::optional<SidebarItem> item = m_sidebarSelection;
    const Session source = item ? session(item->accountID) : Session();
    if (!source) {
        m_listing.clearRows();
        publish();
        co_return;
    }
    const Listing::Key key = listingKey(*item);
    // A page of another listing than the one that it was meant for is the first one.
    if (m_listing.begin(key))
        page = 0;
    if (!refresh && m_listing.show(page)) {
        publish();
        co_return;
    }
    const Listing::Load asked = m_listing.beginLoad(page);
    setLoading(true);
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
        report(answer.failure, item->accountID);
    } else {
        m_listing.take(asked, *answer.value);
        publish();
        m_accounts.noteListing(item->accountID);
    }
    setLoading(false);
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
    co_await checkForNews();
}

Task<> AppModel::refresh()
{
    const bool isLocked = m_accounts.wasRefused() || !accountsWithLockedTexts().isEmpty();
    return isLocked ? unlockAndCheck() : checkForNews();
}

Task<> AppModel::unlockAndCheck()
{
    const QPointer<AppModel> self(this);
    co_await m_accounts.unlock();
    if (!self)
        co_return;
    start(recoverDrafts());
    co_await checkForNews();
}

Task<> AppModel::checkForNews()
{
    m_listing.forgetPages();
    // What the user looks at goes before what is counted.
    Task<> loading = load(wantedPage(), true);
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
    const Listing::Key key = listingKey(*item);
    m_listing.begin(key);
    const Listing::Load asked = m_listing.beginLoad(m_listing.pageIndex());
    setLoading(true);
    const Outcome<qint64> offset = co_await settled(source->lastPageOffset(key.ref, key.query, key.pageSize));
    if (!self || !m_listing.isNewest(asked))
        co_return;
    setLoading(false);
    if (!m_listing.isOfThisListing(asked) || !m_accounts.isCurrent(source))
        co_return;
    if (offset.failure)
        report(offset.failure, item->accountID);
    else
        co_await load(static_cast<int>(*offset.value / key.pageSize), false);
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
        co_await model->checkForNews();
    }
}

} // namespace Larkhaven

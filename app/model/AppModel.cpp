#include "model/AppModel.h"

#include "app/platform/ContinuousClock.h"
#include "app/platform/LauncherBadge.h"
#include "app/platform/WakeMonitor.h"
#include "domain/Coding.h"
#include "domain/MailError.h"
#include "domain/Text.h"
#include "platform/Tasks.h"
#include "protocols/StreamTransport.h"

#include <QJsonDocument>
#include <QJsonObject>
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

/// Whether the failure has no words of its own: the account is marked, or the user has given up.
bool isOfSignIn(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const MailError& error) {
        return error.kind() == MailError::Kind::notSignedIn || error.kind() == MailError::Kind::cancelled;
    } catch (...) {
        return false;
    }
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
    m_undoTimer.setSingleShot(true);
    m_undoTimer.setInterval(undoTime);
    connect(&m_undoTimer, &QTimer::timeout, this, [this] { setUndoOffer(std::nullopt); });
    connectParts();
    restoreMailbox();
    connect(this, &AppModel::sidebarSelectionChanged, this, &AppModel::keepMailbox);
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
    m_refreshes =
        Coalescer::create([self] { return self ? self->checkForNews(Asked::byNobody) : nothing(); });
    connect(&m_accounts, &Accounts::listChanged, this, &AppModel::accountsChanged);
    connect(&m_accounts, &Accounts::needsReauthChanged, this, &AppModel::needsReauthChanged);
    connect(&m_accounts, &Accounts::needsReauthChanged, this, [this] {
        // The new sign-in that is asked for is the news of those.
        for (const QUuid& accountID : needsReauth())
            m_checks.forget(accountID);
    });
    connect(&m_checks, &CheckResults::changed, this, &AppModel::failedChecksChanged);
    connect(&m_sidebar, &LabelsAndCounts::countsChanged, this, &AppModel::countsChanged);
    connect(&m_sidebar, &LabelsAndCounts::answered, &m_checks, [this](const QUuid& accountID) {
        // Of an account that isn't on screen nothing is listed: its counts are its check.
        const bool isOnScreen = m_sidebarSelection && m_sidebarSelection->accountID == accountID;
        m_checks.succeed(accountID, isOnScreen ? CheckResults::Of::counts : CheckResults::Of::listing);
    });
    connect(&m_sidebar, &LabelsAndCounts::failed, this,
            [this](const QUuid& accountID, const std::exception_ptr& failure) {
                noteFailedCheck(accountID, CheckResults::Of::counts, failure);
            });
    connect(&m_sidebar, &LabelsAndCounts::labelsChanged, this,
            [this](const QUuid& accountID, const QList<MailLabel>& before) {
                followLabels(accountID, before);
                Q_EMIT labelsChanged();
            });
    connect(m_texts.get(), &KeptTexts::troubleChanged, this, &AppModel::lockedTextsChanged);
    connect(new WakeMonitor(this), &WakeMonitor::woke, this,
            [this] { start(checkForNews(Asked::byNobody)); });
    connect(&defaults(), &UserDefaults::changed, this, [this](const QString& key) {
        if (key == DefaultsKey::pageSize && m_sidebarSelection)
            start(load(0, true));
        else if (key == DefaultsKey::refreshMinutes)
            startRefreshLoop();
        else if (key == DefaultsKey::showDockBadge)
            updateBadge();
    });
}

void AppModel::restoreMailbox()
{
    if (accounts().isEmpty())
        return;
    m_sidebarSelection = SidebarItem{accounts().first().id, MailboxRef::system(Mailbox::inbox)};
    try {
        const QByteArray stored = defaults().text(DefaultsKey::mailboxOnScreen).toUtf8();
        const QJsonObject object = QJsonDocument::fromJson(stored).object();
        const SidebarItem item{QUuid::fromString(Coding::string(object, "account"_L1)),
                               MailboxRef::fromJSON(object.value("mailbox"_L1))};
        m_isMailboxRestored = m_accounts.find(item.accountID).has_value();
        if (m_isMailboxRestored)
            m_sidebarSelection = item;
    } catch (const LocalizedError&) {
        // Nothing was kept, or nothing that means anything: the Inbox is as good.
    }
}

void AppModel::keepMailbox()
{
    if (!m_sidebarSelection)
        return;
    const QJsonObject object{{u"account"_s, Coding::fromUuid(m_sidebarSelection->accountID)},
                             {u"mailbox"_s, m_sidebarSelection->ref.toJSON()}};
    defaults().set(DefaultsKey::mailboxOnScreen,
                   QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)));
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
    m_successors.clear();
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

std::optional<QString> AppModel::wordsFor(const std::exception_ptr& failure,
                                          const std::optional<QUuid>& accountID)
{
    try {
        std::rethrow_exception(failure);
    } catch (const MailError& error) {
        if (error.kind() == MailError::Kind::cancelled)
            return std::nullopt;
        // An account that was never added has no mark: its sign-in mustn't fail in silence.
        if (error.kind() == MailError::Kind::notSignedIn && accountID && m_accounts.find(*accountID)) {
            m_accounts.setNeedsReauth(*accountID, true);
            return std::nullopt;
        }
    } catch (...) {
        // Every other failure has words for the user.
    }
    return localizedText(failure);
}

void AppModel::report(const std::exception_ptr& failure, const std::optional<QUuid>& accountID,
                      QObject* asker)
{
    const std::optional<QString> words = wordsFor(failure, accountID);
    if (!words)
        return;
    m_errorAsker = asker;
    m_errorMessage = words;
    ++m_errorNumber;
    Q_EMIT errorMessageChanged();
}

void AppModel::reportTo(const Session& session, const std::exception_ptr& failure)
{
    if (m_accounts.isCurrent(session))
        report(failure, session.accountID, session.asker);
}

void AppModel::noteFailedCheck(const QUuid& accountID, CheckResults::Of of, const std::exception_ptr& failure)
{
    const std::optional<Account> account = m_accounts.find(accountID);
    if (account && !isOfSignIn(failure))
        m_checks.fail(*account, of, failure);
}

void AppModel::noteFailedListing(const Session& session, const std::exception_ptr& failure, Asked asked)
{
    const std::optional<QString> before = m_checks.failureText(session.accountID);
    if (asked != Asked::byUser || CheckResults::isUnreachable(failure))
        noteFailedCheck(session.accountID, CheckResults::Of::listing, failure);
    // One cause speaks once: whoever goes from mailbox to mailbox without a network has been told.
    const bool isKnown =
        CheckResults::isUnreachable(failure) && before && before == m_checks.failureText(session.accountID);
    if (asked == Asked::asNews || (asked == Asked::byUser && !isKnown) || isOfSignIn(failure))
        reportTo(session, failure);
}

AppModel::Session AppModel::session(const QUuid& accountID)
{
    Session session = m_accounts.session(accountID);
    session.asker = asker();
    return session;
}

Task<> AppModel::reporting(Task<> flow, Session session, LastAsker lastAsker)
{
    const QPointer<AppModel> self(this);
    const Outcome<void> outcome = co_await settled(std::move(flow));
    if (lastAsker)
        session.asker = *lastAsker;
    if (self && outcome.failure)
        reportTo(session, outcome.failure);
}

void AppModel::start(Task<> flow, const std::optional<QUuid>& accountID)
{
    const std::optional<Session> began =
        accountID ? std::optional(m_accounts.present(*accountID)) : std::nullopt;
    const QPointer<QObject> asker(this->asker());
    spawn(std::move(flow), [self = QPointer(this), began, asker](const std::exception_ptr& failure) {
        if (self && (!began || self->m_accounts.isCurrent(*began)))
            self->report(failure, began ? std::optional(began->accountID) : std::nullopt, asker);
    });
}

} // namespace Larkhaven

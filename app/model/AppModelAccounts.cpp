#include "domain/Coding.h"
#include "domain/MailError.h"
#include "domain/Text.h"
#include "model/AccountStore.h"
#include "model/AppModel.h"
#include "platform/RandomBytes.h"
#include "platform/Tasks.h"
#include "providers/IMAPProvider.h"
#include "store/AESGCMCipher.h"

#include <QDir>

#include <algorithm>

using namespace Qt::StringLiterals;

// The accounts of the model: what is built for them, how they are added, repaired and removed.

namespace Larkhaven {

// --- What an account needs

std::shared_ptr<MailProvider> AppModel::provider(const QUuid& accountID)
{
    if (std::shared_ptr<MailProvider> known = m_providers.value(accountID))
        return known;
    const auto account = std::ranges::find(m_accounts, accountID, &Account::id);
    std::shared_ptr<MailProvider> made = account == m_accounts.end() ? nullptr : makeProvider(*account);
    if (made)
        m_providers.insert(accountID, made);
    return made;
}

std::shared_ptr<MailProvider> AppModel::makeProvider(const Account& account)
{
    // The services that sign in with OAuth need a client identifier, which this build has not.
    if (account.provider != ProviderKind::imap)
        return nullptr;
    std::optional<Credential> credential;
    try {
        credential = m_services.secrets->load(account.id);
    } catch (const LocalizedError&) {
        // Told through `needsReauth`, like a credential that isn't there.
    }
    if (!credential || !credential->password()) {
        setNeedsReauth(account.id, true);
        return nullptr;
    }
    try {
        return IMAPProvider::create(account, MailAuth::password(*credential->password()), cache(account.id),
                                    m_services.transports);
    } catch (const MailError&) {
        return nullptr;
    }
}

std::shared_ptr<MailCache> AppModel::cache(const QUuid& accountID)
{
    if (std::shared_ptr<MailCache> known = m_caches.value(accountID))
        return known;
    const bool isAccount = std::ranges::find(m_accounts, accountID, &Account::id) != m_accounts.end();
    std::shared_ptr<MailCache> made = isAccount ? makeCache(accountID) : nullptr;
    if (made)
        m_caches.insert(accountID, made);
    return made;
}

QString AppModel::cacheDirectory(const QUuid& accountID) const
{
    return m_services.cachesDirectory.isEmpty()
               ? QString()
               : u"%1/Larkhaven/%2"_s.arg(m_services.cachesDirectory, Coding::fromUuid(accountID));
}

std::shared_ptr<MailCache> AppModel::makeCache(const QUuid& accountID)
{
    const QString directory = cacheDirectory(accountID);
    if (directory.isEmpty())
        return nullptr;
    std::optional<QByteArray> key;
    try {
        key = m_services.cacheKeys->loadData(accountID);
    } catch (const KeychainError&) {
        // A key that can't be read is a key that is lost.
    }
    if (!key) {
        key = randomBytes(AESGCMCipher::keySize);
        if (!key)
            return nullptr;
        try {
            m_services.cacheKeys->saveData(*key, accountID);
        } catch (const KeychainError&) {
            return nullptr;
        }
        // Whatever was sealed with the lost key can't be read any more.
        QDir(directory).removeRecursively();
    }
    if (key->size() != AESGCMCipher::keySize)
        return nullptr;
    return std::make_shared<MailCache>(directory, std::make_shared<AESGCMCipher>(*key), cacheLimit);
}

// --- Set-up

namespace {

/// The connection test, in whose failure a refused login has words for the form.
Task<> prove(ServerSettings settings, QString password, TransportFactory transports)
{
    try {
        const MailAuth auth = MailAuth::password(password);
        co_await IMAPProvider::testConnection(settings, auth, transports);
    } catch (const MailError& error) {
        if (error.kind() != MailError::Kind::notSignedIn)
            throw;
        throw MailError::authFailed(AppModel::tr("The server didn't accept the user name or password. Some "
                                                 "providers (iCloud, Yahoo, Gmail) need an "
                                                 "app-specific password."));
    }
}

bool isSameAddress(const QString& left, const QString& right)
{
    return left.toLower() == right.toLower();
}

} // namespace

Task<> AppModel::saveIMAPAccount(QString name, QString email, ServerSettings settings, QString password,
                                 std::stop_token stop)
{
    const QPointer<AppModel> self(this);
    // What is being repaired may change while the servers are asked.
    Account account = accountToChange(email);
    const bool isKnown = m_accounts.contains(account);
    setSigningIn(true);
    std::exception_ptr failure;
    try {
        co_await prove(settings, password, m_services.transports);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    setSigningIn(false);
    if (failure)
        std::rethrow_exception(failure);
    const bool isGone =
        isKnown && std::ranges::find(m_accounts, account.id, &Account::id) == m_accounts.end();
    if (stop.stop_requested() || isGone)
        throw MailError::cancelled();

    account.email = email;
    account.displayName = name.isEmpty() ? std::nullopt : std::optional(name);
    account.server = settings;
    m_services.secrets->save(Credential::password(password), account.id);
    storeAccount(account);
    m_providers.remove(account.id);
    setNeedsReauth(account.id, false);
    setImapSetupAccountID(std::nullopt);
    const SidebarItem inbox{account.id, MailboxRef::system(Mailbox::inbox)};
    if (m_sidebarSelection && m_sidebarSelection->accountID == account.id)
        start(refresh());
    else
        select(inbox);
}

Account AppModel::accountToChange(const QString& email) const
{
    for (const Account& account : m_accounts) {
        if (m_imapSetupAccountID == account.id)
            return account;
    }
    for (const Account& account : m_accounts) {
        if (account.provider == ProviderKind::imap && isSameAddress(account.email, email))
            return account;
    }
    Account account;
    account.id = QUuid::createUuid();
    account.provider = ProviderKind::imap;
    return account;
}

void AppModel::storeAccount(const Account& account)
{
    QList<Account> accounts = m_accounts;
    const auto known = std::ranges::find(accounts, account.id, &Account::id);
    if (known == accounts.end())
        accounts.append(account);
    else
        *known = account;
    assign(m_accounts, accounts, &AppModel::accountsChanged);
    AccountStore::save(m_accounts, defaults());
}

void AppModel::signInAgain(const Account& account, const std::function<void()>& openSetup)
{
    // The services that sign in with OAuth need a client identifier, which this build has not.
    if (account.provider != ProviderKind::imap)
        return;
    setImapSetupAccountID(account.id);
    openSetup();
}

Task<> AppModel::removeAccount(QUuid accountID)
{
    const QPointer<AppModel> self(this);
    m_leavingAccounts.insert(accountID);
    try {
        m_services.secrets->remove(accountID);
    } catch (const LocalizedError&) {
        // The account goes all the same.
    }
    m_recovery->forgetAccount(accountID);
    if (const std::shared_ptr<MailCache> sealed = m_caches.value(accountID)) {
        co_await sealed->removeAll();
    } else if (const QString directory = cacheDirectory(accountID); !directory.isEmpty()) {
        const auto remove = [directory] { QDir(directory).removeRecursively(); };
        co_await runOnWorker(remove);
    }
    if (!self)
        co_return;
    m_caches.remove(accountID);
    m_leavingAccounts.remove(accountID);
    try {
        m_services.cacheKeys->remove(accountID);
    } catch (const LocalizedError&) {
        // A key without files opens nothing.
    }
    m_providers.remove(accountID);
    m_labels.remove(accountID);
    if (m_counts.remove(accountID))
        Q_EMIT countsChanged();
    setNeedsReauth(accountID, false);
    QList<Account> accounts = m_accounts;
    accounts.removeIf([&accountID](const Account& account) { return account.id == accountID; });
    assign(m_accounts, accounts, &AppModel::accountsChanged);
    AccountStore::save(m_accounts, defaults());
    if (defaults().text(DefaultsKey::defaultAccountID) == Coding::fromUuid(accountID))
        defaults().set(DefaultsKey::defaultAccountID, QString());
    updateBadge();
    leaveAccount(accountID);
}

void AppModel::leaveAccount(const QUuid& accountID)
{
    if (!m_sidebarSelection || m_sidebarSelection->accountID != accountID)
        return;
    assign(m_sidebarSelection, std::optional<SidebarItem>(), &AppModel::sidebarSelectionChanged);
    setPath({});
    setSelection({});
    resetPaging();
    // A page that is still on its way must not fill an empty list.
    ++m_loadGeneration;
    setLoading(false);
    assign(m_messages, {}, &AppModel::messagesChanged);
    if (!m_accounts.isEmpty())
        select(SidebarItem{m_accounts.first().id, MailboxRef::system(Mailbox::inbox)});
}

Task<qint64> AppModel::cacheSize()
{
    const QPointer<AppModel> self(this);
    const QList<Account> accounts = m_accounts;
    qint64 sum = 0;
    for (const Account& account : accounts) {
        const std::shared_ptr<MailCache> sealed = self ? self->cache(account.id) : nullptr;
        if (sealed) {
            const qint64 used = co_await sealed->usedBytes();
            sum += used;
        }
    }
    co_return sum;
}

Task<> AppModel::clearCaches()
{
    const QPointer<AppModel> self(this);
    const QList<Account> accounts = m_accounts;
    for (const Account& account : accounts) {
        const std::shared_ptr<MailCache> sealed = self ? self->cache(account.id) : nullptr;
        if (sealed)
            co_await sealed->removeAll();
    }
    if (!self)
        co_return;
    m_recovery->rewrite();
    m_providers.clear();
    co_await refresh();
}

} // namespace Larkhaven

#include "model/Accounts.h"

#include "app/signin/SignInService.h"
#include "domain/Coding.h"
#include "domain/MailError.h"
#include "domain/Text.h"
#include "model/AccountStore.h"
#include "platform/RandomBytes.h"
#include "platform/Tasks.h"
#include "providers/GmailProvider.h"
#include "providers/IMAPProvider.h"
#include "store/AESGCMCipher.h"

#include <QDir>
#include <QPointer>
#include <QScopeGuard>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

Accounts::Accounts(Services services, QObject* parent)
    : QObject(parent)
    , m_services(std::move(services))
    , m_list(AccountStore::load(*m_services.defaults))
{}

Accounts::~Accounts()
{
    // Whoever waits for the keyring goes on, and finds that nothing is wanted any more.
    for (const std::shared_ptr<Wakeup>& waiting : std::as_const(m_waitingForKeys))
        waiting->notify();
}

// --- The list

QList<QUuid> Accounts::ids() const
{
    QList<QUuid> ids;
    for (const Account& account : m_list)
        ids.append(account.id);
    return ids;
}

std::optional<Account> Accounts::find(const QUuid& accountID) const
{
    const auto found = std::ranges::find(m_list, accountID, &Account::id);
    return found == m_list.end() ? std::nullopt : std::optional(*found);
}

void Accounts::setList(const QList<Account>& list)
{
    if (m_list == list)
        return;
    m_list = list;
    AccountStore::save(m_list, *m_services.defaults);
    Q_EMIT listChanged();
}

void Accounts::setNickname(const QUuid& accountID, const QString& text)
{
    QList<Account> list = m_list;
    const auto account = std::ranges::find(list, accountID, &Account::id);
    if (account == list.end())
        return;
    const QString trimmed = Text::trimmedSpaceAndLineEnds(text).toString();
    account->nickname = trimmed.isEmpty() ? std::nullopt : std::optional(trimmed);
    setList(list);
}

void Accounts::move(const QList<int>& sources, int destination)
{
    QList<Account> before;
    QList<Account> moved;
    QList<Account> after;
    for (int index = 0; index < m_list.size(); ++index) {
        QList<Account>& place = sources.contains(index) ? moved : index < destination ? before : after;
        place.append(m_list[index]);
    }
    setList(before + moved + after);
}

// --- The keyring

Accounts::Keys Accounts::readKeys(SecretStore& secrets, KeychainStore& cacheKeys, const QString& directory,
                                  const QUuid& accountID)
{
    Keys keys;
    try {
        keys.credential = secrets.find(accountID);
    } catch (const LocalizedError&) {
        keys.wasRefused = true;
    }
    readCacheKey(keys, cacheKeys, directory, accountID);
    return keys;
}

void Accounts::readCacheKey(Keys& keys, KeychainStore& cacheKeys, const QString& directory,
                            const QUuid& accountID)
{
    if (directory.isEmpty())
        return;
    try {
        keys.cacheKey = cacheKeys.findData(accountID);
    } catch (const KeychainError&) {
        // A key that can't be read is a key that is lost: what is in the cache can be had again.
        keys.wasRefused = true;
    }
    if (!keys.cacheKey) {
        keys.cacheKey = randomBytes(AESGCMCipher::keySize);
        try {
            if (keys.cacheKey)
                cacheKeys.saveData(*keys.cacheKey, accountID);
        } catch (const KeychainError&) {
            keys.cacheKey.reset();
        }
        // Whatever was sealed with the lost key can't be read any more.
        if (keys.cacheKey)
            QDir(directory).removeRecursively();
    }
    if (keys.cacheKey && keys.cacheKey->size() != AESGCMCipher::keySize)
        keys.cacheKey.reset();
}

const Accounts::Keys& Accounts::keys(const QUuid& accountID)
{
    const auto known = m_keys.constFind(accountID);
    if (known != m_keys.cend())
        return *known;
    return *m_keys.insert(accountID, readKeys(*m_services.secrets, *m_services.cacheKeys,
                                              cacheDirectory(accountID), accountID));
}

Task<> Accounts::unlock()
{
    return readUnknownKeys(Unlocking::unknownAndRefused);
}

Task<> Accounts::keysRead()
{
    const QPointer<Accounts> self(this);
    while (self && m_unlocking > 0) {
        const auto end = std::make_shared<Wakeup>();
        m_waitingForKeys.append(end);
        co_await end->wait(std::chrono::milliseconds(-1));
    }
    if (self)
        co_await readUnknownKeys(Unlocking::unknown);
}

Task<> Accounts::readUnknownKeys(Unlocking which)
{
    const QPointer<Accounts> self(this);
    const QList<QUuid> accounts = ids();
    ++m_unlocking;
    for (const QUuid& accountID : accounts) {
        if (!self)
            co_return;
        const auto isKnown = [this, which, &accountID] {
            const auto known = m_keys.constFind(accountID);
            const bool isAnswered =
                known != m_keys.cend() && (which == Unlocking::unknown || !known->wasRefused);
            return m_storing.contains(accountID) || isAnswered;
        };
        if (isKnown())
            continue;
        const quint64 epoch = m_epochs.value(accountID);
        const auto read = [secrets = m_services.secrets, cacheKeys = m_services.cacheKeys,
                           directory = cacheDirectory(accountID),
                           accountID] { return readKeys(*secrets, *cacheKeys, directory, accountID); };
        Keys found = co_await runOnWorker(read);
        if (!self)
            co_return;
        // A sign-in meanwhile has brought newer ones.
        if (m_epochs.value(accountID) != epoch || isKnown())
            continue;
        // What is known already may have been renewed since it was stored.
        const std::optional<Credential> before = knownCredential(accountID);
        if (before)
            found.credential = before;
        m_keys.insert(accountID, found);
        m_caches.remove(accountID);
        // Tokens that were made from a refusal know none.
        if (!before && m_access.remove(accountID))
            m_providers.remove(accountID);
        if (found.credential)
            setNeedsReauth(accountID, false);
    }
    if (self && --m_unlocking == 0) {
        const QList<std::shared_ptr<Wakeup>> waiting = std::exchange(m_waitingForKeys, {});
        for (const std::shared_ptr<Wakeup>& waiter : waiting)
            waiter->notify();
    }
}

bool Accounts::wasRefused() const
{
    return std::ranges::any_of(m_keys, &Keys::wasRefused);
}

// --- What belongs to an account

bool Accounts::isUsable(const QUuid& accountID) const
{
    const bool isBeingRead = m_unlocking > 0 && !m_keys.contains(accountID);
    return !m_leaving.contains(accountID) && !m_wiping.contains(accountID) && !isBeingRead &&
           !m_storing.contains(accountID) && find(accountID).has_value();
}

Accounts::Session Accounts::session(const QUuid& accountID)
{
    return {accountID, m_epochs.value(accountID), provider(accountID)};
}

Accounts::Session Accounts::present(const QUuid& accountID) const
{
    return {accountID, m_epochs.value(accountID), m_providers.value(accountID)};
}

bool Accounts::isCurrent(const Session& session) const
{
    return m_epochs.value(session.accountID) == session.epoch && find(session.accountID).has_value();
}

void Accounts::useProvider(const QUuid& accountID, const std::shared_ptr<MailProvider>& provider)
{
    m_providers.insert(accountID, provider);
}

std::shared_ptr<MailProvider> Accounts::provider(const QUuid& accountID)
{
    if (m_leaving.contains(accountID) || m_wiping.contains(accountID))
        return nullptr;
    if (std::shared_ptr<MailProvider> known = m_providers.value(accountID))
        return known;
    std::shared_ptr<MailProvider> made = isUsable(accountID) ? makeProvider(*find(accountID)) : nullptr;
    if (made)
        m_providers.insert(accountID, made);
    return made;
}

std::shared_ptr<MailProvider> Accounts::makeProvider(const Account& account)
{
    if (account.provider == ProviderKind::imap)
        return makePasswordProvider(account);
    const std::optional<OAuthConfig> config = SignInService::config(account.provider, m_services.info);
    if (!config)
        return nullptr;
    const std::shared_ptr<TokenSource> source = tokens(account.id, *config);
    if (account.provider == ProviderKind::google)
        return GmailProvider::create(account, source, cache(account.id));
    try {
        return IMAPProvider::create(account, MailAuth::oauth(source), cache(account.id),
                                    m_services.transports);
    } catch (const MailError&) {
        return nullptr;
    }
}

std::shared_ptr<MailProvider> Accounts::makePasswordProvider(const Account& account)
{
    const std::optional<Credential> credential = keys(account.id).credential;
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

std::shared_ptr<TokenSource> Accounts::tokens(const QUuid& accountID, const OAuthConfig& config)
{
    const auto known = m_access.constFind(accountID);
    if (known != m_access.cend())
        return known->tokens;
    const auto secret = std::make_shared<KnownSecret>(m_services.secrets, keys(accountID).credential);
    const auto manager = TokenManager::create(accountID, OAuthClient(config), secret);
    const auto made = WatchedTokens::create(manager, [self = QPointer(this), accountID] {
        if (self)
            self->noteRefusal(accountID);
    });
    m_access.insert(accountID, {secret, manager, made});
    return made;
}

void Accounts::noteRefusal(const QUuid& accountID)
{
    const std::shared_ptr<WatchedTokens> current = m_access.value(accountID).tokens;
    if (current && current->isRefused() && !isLeaving(accountID))
        setNeedsReauth(accountID, true);
}

void Accounts::noteListing(const QUuid& accountID)
{
    const std::shared_ptr<WatchedTokens> current = m_access.value(accountID).tokens;
    if (!current || !current->isRefused())
        setNeedsReauth(accountID, false);
}

Task<> Accounts::retireTokens(QUuid accountID)
{
    const std::shared_ptr<TokenManager> manager = m_access.value(accountID).manager;
    if (manager)
        co_await manager->retire();
}

std::optional<Credential> Accounts::knownCredential(const QUuid& accountID) const
{
    const std::shared_ptr<KnownSecret> secret = m_access.value(accountID).secret;
    return secret ? secret->load(accountID) : m_keys.value(accountID).credential;
}

void Accounts::renewAccess(const QUuid& accountID)
{
    if (!m_access.contains(accountID))
        return;
    m_keys[accountID].credential = knownCredential(accountID);
    m_access.remove(accountID);
    m_providers.remove(accountID);
}

QString Accounts::cacheDirectory(const QUuid& accountID) const
{
    return m_services.cachesDirectory.isEmpty()
               ? QString()
               : u"%1/Larkhaven/%2"_s.arg(m_services.cachesDirectory, Coding::fromUuid(accountID));
}

std::shared_ptr<MailCache> Accounts::cache(const QUuid& accountID)
{
    if (std::shared_ptr<MailCache> known = m_caches.value(accountID))
        return known;
    const QString directory = cacheDirectory(accountID);
    if (directory.isEmpty() || !isUsable(accountID))
        return nullptr;
    const std::optional<QByteArray> key = keys(accountID).cacheKey;
    if (!key)
        return nullptr;
    auto made = std::make_shared<MailCache>(directory, std::make_shared<AESGCMCipher>(*key), cacheLimit);
    m_caches.insert(accountID, made);
    return made;
}

void Accounts::setNeedsReauth(const QUuid& accountID, bool isNeeded)
{
    const bool isWanted = isNeeded && find(accountID).has_value();
    if (m_needsReauth.contains(accountID) == isWanted)
        return;
    if (isWanted)
        m_needsReauth.insert(accountID);
    else
        m_needsReauth.remove(accountID);
    Q_EMIT needsReauthChanged();
}

// --- Changes

void Accounts::endEpoch(const QUuid& accountID)
{
    ++m_epochs[accountID];
    m_providers.remove(accountID);
}

Task<> Accounts::wipeCache(QUuid accountID)
{
    // A fetch that is still under way must not bring the folder back.
    if (const std::shared_ptr<MailCache> sealed = m_caches.take(accountID)) {
        co_await sealed->retire();
    } else if (const QString directory = cacheDirectory(accountID); !directory.isEmpty()) {
        const auto remove = [directory] { QDir(directory).removeRecursively(); };
        co_await runOnWorker(remove);
    }
}

namespace {

/// Removes the account's item; what can't be removed is left.
Task<> removeItem(std::shared_ptr<SecretStore> store, QUuid accountID)
{
    const auto remove = [store, accountID] {
        try {
            store->remove(accountID);
        } catch (const LocalizedError&) {
            // The account goes all the same.
        }
    };
    co_await runOnWorker(remove);
}

/// Stores the credential and gives the one that was there before; none where it couldn't be read.
std::optional<Credential> exchange(SecretStore& store, const QUuid& accountID, const Credential& credential)
{
    std::optional<Credential> before;
    try {
        before = store.load(accountID);
    } catch (const LocalizedError&) {
        // What can't be read serves nobody.
    }
    store.save(credential, accountID);
    return before;
}

/// Puts back what `exchange` gave; what can't be put back is left.
Task<> putBack(std::shared_ptr<SecretStore> store, QUuid accountID, std::optional<Credential> before)
{
    const auto work = [store, accountID, before] {
        try {
            if (before)
                store->save(*before, accountID);
            else
                store->remove(accountID);
        } catch (const LocalizedError&) {
            // The account stays as it is all the same.
        }
    };
    co_await runOnWorker(work);
}

} // namespace

Task<> Accounts::store(Account account, Credential credential, bool emptiesCache, std::stop_token stop)
{
    const QPointer<Accounts> self(this);
    const bool isKnown = find(account.id).has_value();
    // What is renewed meanwhile would be stored over what is stored here.
    m_storing.insert(account.id);
    const auto ending = qScopeGuard([self, id = account.id] {
        if (self)
            self->m_storing.remove(id);
    });
    co_await retireTokens(account.id);
    if (!self)
        co_return;
    // The key of its cache is read along, where it isn't known: whatever asks for it later would wait for the
    // keyring. One that is known stays, as the cache is in use under it.
    Keys found = m_keys.value(account.id);
    found.credential = credential;
    found.wasRefused = false;
    const auto save = [services = m_services, directory = cacheDirectory(account.id), found,
                       id = account.id] {
        Exchanged exchanged{exchange(*services.secrets, id, *found.credential), found};
        if (!found.cacheKey)
            readCacheKey(exchanged.now, *services.cacheKeys, directory, id);
        return exchanged;
    };
    const Outcome<Exchanged> exchanged = co_await settled(runOnWorker(save));
    if (!self)
        co_return;
    std::exception_ptr failure = exchanged.failure;
    if (!failure) {
        const Outcome<void> taken =
            co_await settled(takeStored(account, *exchanged.value, emptiesCache, isKnown, stop));
        failure = taken.failure;
    }
    if (!failure)
        co_return;
    // The account goes on with what it had.
    if (self)
        renewAccess(account.id);
    std::rethrow_exception(failure);
}

Task<> Accounts::takeStored(Account account, Exchanged exchanged, bool emptiesCache, bool wasKnown,
                            std::stop_token stop)
{
    const QPointer<Accounts> self(this);
    const auto isGone = [this, wasKnown, id = account.id] {
        return wasKnown && (!find(id) || isLeaving(id));
    };
    if (isGone()) {
        co_await removeItems(account.id);
        throw MailError::cancelled();
    }
    if (stop.stop_requested()) {
        // What couldn't be read may still be known.
        std::optional<Credential> before = exchanged.before;
        if (!before)
            before = knownCredential(account.id);
        if (wasKnown)
            co_await putBack(m_services.secrets, account.id, before);
        else
            co_await removeItems(account.id);
        throw MailError::cancelled();
    }
    endEpoch(account.id);
    m_access.remove(account.id);
    if (emptiesCache) {
        m_wiping.insert(account.id);
        co_await wipeCache(account.id);
        if (!self)
            co_return;
        m_wiping.remove(account.id);
        if (isGone()) {
            co_await removeItems(account.id);
            throw MailError::cancelled();
        }
    }
    m_keys.insert(account.id, exchanged.now);
    QList<Account> list = m_list;
    const auto known = std::ranges::find(list, account.id, &Account::id);
    if (known == list.end()) {
        list.append(account);
    } else {
        // A name that the user has given it meanwhile stays.
        account.nickname = known->nickname;
        *known = account;
    }
    setList(list);
    setNeedsReauth(account.id, false);
}

Task<> Accounts::removeItems(QUuid accountID)
{
    const std::shared_ptr<KeychainStore> cacheKeys = m_services.cacheKeys;
    co_await removeItem(m_services.secrets, accountID);
    co_await removeItem(cacheKeys, accountID);
}

bool Accounts::beginRemoval(const QUuid& accountID)
{
    if (!find(accountID) || isLeaving(accountID))
        return false;
    m_leaving.insert(accountID);
    endEpoch(accountID);
    return true;
}

Task<> Accounts::takeGrantBack(QUuid accountID)
{
    const QPointer<Accounts> self(this);
    co_await retireTokens(accountID);
    if (!self)
        co_return;
    const auto read = [secrets = m_services.secrets, accountID] {
        try {
            return secrets->load(accountID);
        } catch (const LocalizedError&) {
            return std::optional<Credential>();
        }
    };
    const std::optional<Credential> stored = co_await runOnWorker(read);
    if (!self)
        co_return;
    // What can't be read any more may still be known.
    const std::optional<Credential> credential = stored ? stored : knownCredential(accountID);
    const std::optional<Account> account = find(accountID);
    if (credential && account && m_services.revoke)
        spawn(m_services.revoke(*credential, account->provider), dropFailure);
}

Task<> Accounts::endRemoval(QUuid accountID)
{
    const QPointer<Accounts> self(this);
    co_await takeGrantBack(accountID);
    if (!self)
        co_return;
    co_await removeItem(m_services.secrets, accountID);
    if (!self)
        co_return;
    co_await wipeCache(accountID);
    if (!self)
        co_return;
    co_await removeItem(m_services.cacheKeys, accountID);
    if (!self)
        co_return;
    m_access.remove(accountID);
    m_keys.remove(accountID);
    m_leaving.remove(accountID);
    setNeedsReauth(accountID, false);
    QList<Account> list = m_list;
    list.removeIf([&accountID](const Account& account) { return account.id == accountID; });
    setList(list);
}

Task<qint64> Accounts::cacheSize()
{
    const QPointer<Accounts> self(this);
    co_await keysRead();
    const QList<QUuid> accounts = self ? ids() : QList<QUuid>();
    qint64 sum = 0;
    for (const QUuid& accountID : accounts) {
        const std::shared_ptr<MailCache> sealed = self ? cache(accountID) : nullptr;
        if (sealed) {
            const qint64 used = co_await sealed->usedBytes();
            sum += used;
        }
    }
    co_return qint64{sum};
}

Task<> Accounts::clearCaches()
{
    const QPointer<Accounts> self(this);
    co_await keysRead();
    const QList<QUuid> accounts = self ? ids() : QList<QUuid>();
    for (const QUuid& accountID : accounts) {
        if (!self)
            co_return;
        const std::shared_ptr<MailCache> sealed = cache(accountID);
        if (sealed)
            co_await sealed->removeAll();
        else if (m_keys.value(accountID).wasRefused)
            co_await wipeCache(accountID);
    }
    if (self)
        m_providers.clear();
}

} // namespace Larkhaven

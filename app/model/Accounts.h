#pragma once

#include "app/platform/Info.h"
#include "auth/KeychainStore.h"
#include "auth/TokenManager.h"
#include "domain/Account.h"
#include "domain/MailProvider.h"
#include "model/KnownSecret.h"
#include "model/UserDefaults.h"
#include "model/WatchedTokens.h"
#include "platform/Wakeup.h"
#include "protocols/MailTransport.h"
#include "store/MailCache.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>

#include <functional>
#include <memory>
#include <optional>

namespace Larkhaven {

/// The accounts and what belongs to each: its credential, its cache and the key of that, its provider, and
/// whether it needs a new sign-in.
///
/// Each account has an epoch that its repair and its removal raise. A flow takes a `Session`, which holds
/// provider and epoch together, and asks `isCurrent` after each wait: an answer of an earlier epoch is about
/// servers, or an account, that are no longer meant.
///
/// The keyring is read once for each account, by `unlock` on a worker. Where something is needed before that,
/// it is read at once. What was read is remembered, a miss as well, until a sign-in or a later `unlock`: a
/// keyring may ask the user each time, and only the start of the program and what the user asks for may do
/// so. A sign-in reads along what it needs, on the worker that stores the credential.
///
/// An account has at most one `TokenManager`, which lasts until its next sign-in: two of them would store
/// their tokens over each other's. It is retired before anything else is stored or removed.
///
/// Main thread. Operations that wait hold the object weakly.
class Accounts : public QObject {
    Q_OBJECT

public:
    struct Services {
        std::shared_ptr<UserDefaults> defaults;
        std::shared_ptr<SecretStore> secrets;
        std::shared_ptr<KeychainStore> cacheKeys;
        QString cachesDirectory; ///< the user's; empty where there is none
        TransportFactory transports;
        Info info; ///< names the clients of the services that sign in with OAuth
        /// Takes a grant back; never fails.
        std::function<Task<>(Credential credential, ProviderKind provider)> revoke;
    };
    /// An account's provider as a flow found it; null where there was none.
    struct Session {
        QUuid accountID;
        quint64 epoch = 0;
        std::shared_ptr<MailProvider> provider;
        QPointer<QObject> asker = nullptr; ///< the window in which the user asked for the flow

        explicit operator bool() const { return provider != nullptr; }
        MailProvider* operator->() const { return provider.get(); }
    };

    /// The limit of an account's cached messages, in bytes (500 MiB).
    static constexpr qint64 cacheLimit = 524'288'000;

    /// Reads the stored list, and nothing of the keyring.
    explicit Accounts(Services services, QObject* parent = nullptr);
    ~Accounts() override;

    // --- The list
    const QList<Account>& list() const { return m_list; }
    QList<QUuid> ids() const;
    std::optional<Account> find(const QUuid& accountID) const;
    void setNickname(const QUuid& accountID, const QString& text);
    /// Moves the accounts at the offsets, in their order, before the one at `destination` (as counted before
    /// the move).
    void move(const QList<int>& sources, int destination);

    // --- What belongs to an account
    /// Builds the provider on the first use. None for an account that is being removed or repaired.
    Session session(const QUuid& accountID);
    /// As `session`, but builds nothing: for what only asks whether the account is still the same.
    Session present(const QUuid& accountID) const;
    /// Whether the account is still as the session found it.
    bool isCurrent(const Session& session) const;
    /// The cache, built on the first use; null where it can't be.
    std::shared_ptr<MailCache> cache(const QUuid& accountID);
    /// Puts a provider in place of the one that would be built.
    void useProvider(const QUuid& accountID, const std::shared_ptr<MailProvider>& provider);

    /// Accounts whose credential no longer works.
    const QSet<QUuid>& needsReauth() const { return m_needsReauth; }
    void setNeedsReauth(const QUuid& accountID, bool isNeeded);
    /// The account's service has listed something: its sign-in works, unless it is known to be gone. What is
    /// cached may be listed all the same.
    void noteListing(const QUuid& accountID);

    /// Reads what isn't known yet of the accounts, and what the keyring refused before. It may ask the user;
    /// until it has answered, accounts that it wasn't read for have no session.
    Task<> unlock();
    /// Whether the keyring has refused something that `unlock` would ask for again.
    bool wasRefused() const;

    // --- Changes
    /// Stores the credential, then the account, which is added where its id is new. `emptiesCache` where what
    /// is cached belongs to other servers. Fails with an error of the keyring, and with `cancelled` where the
    /// account was removed meanwhile, or `stop` was requested before the keyring had answered, which may ask
    /// the user first; nothing is stored then.
    Task<> store(Account account, Credential credential, bool emptiesCache, std::stop_token stop = {});
    /// From now on nothing of the account can be used. False where its removal has begun already.
    bool beginRemoval(const QUuid& accountID);
    /// Ends the removal: the credential goes, then the cache, its key, and the account. What can't be removed
    /// holds nothing up. The grant that the credential stands for is taken back, which isn't waited for.
    Task<> endRemoval(QUuid accountID);
    bool isLeaving(const QUuid& accountID) const { return m_leaving.contains(accountID); }
    /// Bytes held by the caches of all accounts; one without a cache adds nothing. Waits for a keyring that
    /// hasn't answered yet, without asking it again for what it has refused.
    Task<qint64> cacheSize();
    /// Empties all caches, those included whose key the keyring refuses; providers are built anew. Waits as
    /// `cacheSize` does.
    Task<> clearCaches();

Q_SIGNALS:
    void listChanged();
    void needsReauthChanged();

private:
    /// What the keyring gave for an account.
    struct Keys {
        std::optional<Credential> credential;
        std::optional<QByteArray> cacheKey; ///< absent: the account has no cache
        bool wasRefused = false;            ///< the keyring didn't answer: worth another try
    };

    /// What the keyring held before a sign-in, and what it gives from then on.
    struct Exchanged {
        std::optional<Credential> before;
        Keys now;
    };

    /// How an account comes by its access tokens.
    struct Access {
        std::shared_ptr<KnownSecret> secret;
        std::shared_ptr<TokenManager> manager;
        std::shared_ptr<WatchedTokens> tokens; ///< the manager's, as a provider gets them
    };

    /// Which accounts the keyring is asked about.
    enum class Unlocking { unknown, unknownAndRefused };

    Task<> readUnknownKeys(Unlocking which);
    /// Ends when the keyring has answered for all accounts.
    Task<> keysRead();
    static Keys readKeys(SecretStore& secrets, KeychainStore& cacheKeys, const QString& directory,
                         const QUuid& accountID);
    /// Reads the key of the cache, or makes one.
    static void readCacheKey(Keys& keys, KeychainStore& cacheKeys, const QString& directory,
                             const QUuid& accountID);
    /// Removes what the keyring holds for the account; what can't be removed is left.
    Task<> removeItems(QUuid accountID);
    QString cacheDirectory(const QUuid& accountID) const;
    const Keys& keys(const QUuid& accountID);
    bool isUsable(const QUuid& accountID) const;
    std::shared_ptr<MailProvider> provider(const QUuid& accountID);
    std::shared_ptr<MailProvider> makeProvider(const Account& account);
    std::shared_ptr<MailProvider> makePasswordProvider(const Account& account);
    std::shared_ptr<TokenSource> tokens(const QUuid& accountID, const OAuthConfig& config);
    /// No token can be had any more, of tokens that may have been replaced since.
    void noteRefusal(const QUuid& accountID);
    /// From now on nothing that renews tokens stores any of the account's.
    Task<> retireTokens(QUuid accountID);
    /// Provider and tokens are made anew when they are needed again, from the credential that is known.
    void renewAccess(const QUuid& accountID);
    /// The newest credential that is known without asking the keyring.
    std::optional<Credential> knownCredential(const QUuid& accountID) const;
    Task<> takeGrantBack(QUuid accountID);
    /// Ends the use of what the account had: late answers and late writes no longer count.
    void endEpoch(const QUuid& accountID);
    Task<> wipeCache(QUuid accountID);
    /// The end of `store`, once the credential is in the keyring.
    Task<> takeStored(Account account, Exchanged exchanged, bool emptiesCache, bool wasKnown,
                      std::stop_token stop);
    void setList(const QList<Account>& list);

    Services m_services;
    QList<Account> m_list;
    QHash<QUuid, quint64> m_epochs;
    QHash<QUuid, Keys> m_keys;
    QHash<QUuid, std::shared_ptr<MailCache>> m_caches;
    QHash<QUuid, std::shared_ptr<MailProvider>> m_providers;
    QHash<QUuid, Access> m_access;
    QSet<QUuid> m_needsReauth;
    QSet<QUuid> m_leaving;                           ///< whose removal is under way
    QSet<QUuid> m_storing;                           ///< whose new credential is being stored
    QSet<QUuid> m_wiping;                            ///< whose cache is being emptied
    int m_unlocking = 0;                             ///< how many read the keyring on a worker
    QList<std::shared_ptr<Wakeup>> m_waitingForKeys; ///< who wants to know when none of them does
};

} // namespace Larkhaven

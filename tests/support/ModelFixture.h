#pragma once

#include "model/AppModel.h"
#include "support/FakeMailProvider.h"

#include <QTemporaryDir>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <utility>

namespace Larkhaven {

/// A keychain that forgets everything with the process.
class InMemoryKeychain final : public KeychainBackend {
public:
    ReadResult read(const QString& service, const QString& account) override;
    KeychainStatus update(const QString& service, const QString& account, const QByteArray& data) override;
    KeychainStatus add(const QString& service, const QString& account, const QByteArray& data,
                       const QString& label) override;
    KeychainStatus remove(const QString& service, const QString& account) override;

    std::atomic<KeychainStatus> readFailure = KeychainStatus::success;  ///< what every reading ends in
    std::atomic<KeychainStatus> writeFailure = KeychainStatus::success; ///< what every writing ends in
    std::atomic<bool> hesitates = false;                                ///< readings wait as long as it does
    std::atomic<int> reads = 0;                                         ///< how often anything was read
    std::atomic<int> readsOnMainThread = 0;
    bool isEmpty();

private:
    std::mutex m_lock;                  ///< workers read as well
    QHash<QString, QByteArray> m_items; ///< by service and account
};

/// An application model over temporary files, secrets in memory, a clock that stands still and providers in
/// memory. It has no network unless it is given one: opening a connection fails and is counted.
///
/// The providers are in place before the model is handed out; a model that starts loads nothing by itself.
class ModelFixture {
public:
    /// One IMAP account.
    ModelFixture();
    /// The accounts are those that the model finds stored.
    explicit ModelFixture(const QList<Account>& accounts);
    ~ModelFixture();
    ModelFixture(const ModelFixture&) = delete;
    ModelFixture& operator=(const ModelFixture&) = delete;

    // --- Values for tests
    static Account imapAccount(const QString& email = QStringLiteral("mia@example.org"));
    static Account googleAccount(const QString& email = QStringLiteral("mia@gmail.com"));
    static Account microsoftAccount(const QString& email = QStringLiteral("mia@outlook.com"));
    /// A read row from "Ada" with the subject "Subject {id}", an hour before noon of 15 March 2024.
    static MessageSummary row(const Account& account, const QString& id);
    /// Rows "1" to "{count}", each a minute older than the one before.
    static QList<MessageSummary> rows(const Account& account, int count);

    // --- What was made
    AppModel& model() { return *m_model; }
    UserDefaults& defaults() { return *m_services.defaults; }
    InMemorySecretStore& secrets() { return *m_secrets; }
    KeychainStore& cacheKeys() { return *m_services.cacheKeys; }
    KeychainStore& textKeys() { return *m_services.textKeys; }
    /// Where the cache keys lie.
    InMemoryKeychain& keychain() { return *m_keychain; }
    /// Where the keys of kept texts lie.
    InMemoryKeychain& textKeychain() { return *m_textKeychain; }
    /// Replaces where the credentials lie, from the next model on.
    void setSecrets(const std::shared_ptr<SecretStore>& secrets) { m_services.secrets = secrets; }
    /// The provider of the account at the place in the list of the accounts.
    FakeMailProvider& provider(qsizetype index = 0) { return *m_providers[index]; }
    const Account& account(qsizetype index = 0) const { return m_accounts[index]; }
    QString cachesDirectory() const { return m_services.cachesDirectory; }
    QString keptTextsDirectory() const { return m_services.keptTextsDirectory; }
    /// What the build knows of itself, from the next model on. It can sign in with nothing otherwise.
    void setInfo(const Info& info) { m_services.info = info; }
    /// Both clients are there.
    static Info info();
    /// What a sign-in in the browser does from now on. It is refused otherwise.
    void setSignIn(decltype(AppModel::Services::signIn) signIn) { *m_signIn = std::move(signIn); }
    /// Grants that were taken back, in their order.
    const QList<std::pair<Credential, ProviderKind>>& revocations() const { return *m_revocations; }
    /// What becomes of a revocation; it ends at once otherwise.
    void setRevocation(std::function<Task<>()> revocation) { *m_revocation = std::move(revocation); }
    /// Replaces the model by one that starts over the same files, secrets and providers.
    void restart();
    /// As `restart`, but the new model has no providers given and must build its own.
    void restartWithoutProviders();
    /// What opens connections from now on.
    void setTransports(TransportFactory transports) { *m_transports = std::move(transports); }

    // --- What the model did to the system
    /// How long the refresh loop has asked to sleep, each time.
    const QList<std::chrono::milliseconds>& sleeps() const { return m_clock->durations; }
    /// How many sleeps last.
    qsizetype sleeping() const { return m_clock->sleepers.size(); }
    /// The time of all that sleep has passed.
    void endSleeps();
    /// The numbers given to the launcher's badge, in their order.
    const QList<qint64>& badges() const { return *m_badges; }
    /// "host:port" of each connection that was asked for.
    const QStringList& connections() const { return *m_connections; }

private:
    struct Clock {
        QList<std::chrono::milliseconds> durations;
        QList<std::shared_ptr<Wakeup>> sleepers;
    };

    static Task<bool> sleepOn(std::shared_ptr<Clock> clock, std::chrono::milliseconds duration,
                              std::stop_token stop);
    static Task<> noteRevocation(std::shared_ptr<QList<std::pair<Credential, ProviderKind>>> list,
                                 std::shared_ptr<std::function<Task<>()>> then, Credential credential,
                                 ProviderKind provider);
    void letGoOfModel();

    QTemporaryDir m_folder;
    QList<Account> m_accounts;
    std::shared_ptr<InMemoryKeychain> m_keychain = std::make_shared<InMemoryKeychain>();
    std::shared_ptr<InMemoryKeychain> m_textKeychain = std::make_shared<InMemoryKeychain>();
    std::shared_ptr<InMemorySecretStore> m_secrets = std::make_shared<InMemorySecretStore>();
    std::shared_ptr<Clock> m_clock = std::make_shared<Clock>();
    std::shared_ptr<QList<qint64>> m_badges = std::make_shared<QList<qint64>>();
    std::shared_ptr<QStringList> m_connections = std::make_shared<QStringList>();
    std::shared_ptr<TransportFactory> m_transports = std::make_shared<TransportFactory>();
    std::shared_ptr<decltype(AppModel::Services::signIn)> m_signIn =
        std::make_shared<decltype(AppModel::Services::signIn)>();
    std::shared_ptr<QList<std::pair<Credential, ProviderKind>>> m_revocations =
        std::make_shared<QList<std::pair<Credential, ProviderKind>>>();
    std::shared_ptr<std::function<Task<>()>> m_revocation = std::make_shared<std::function<Task<>()>>();
    AppModel::Services m_services;
    QList<std::shared_ptr<FakeMailProvider>> m_providers;
    std::unique_ptr<AppModel> m_model;
};

} // namespace Larkhaven

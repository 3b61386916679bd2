#include "support/ModelFixture.h"

#include "domain/MailError.h"
#include "model/AccountStore.h"
#include "support/WaitUntil.h"

#include <QCoreApplication>
#include <QThread>

#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr std::chrono::milliseconds noTimeout{-1};

Account makeAccount(ProviderKind kind, const QString& email)
{
    Account account;
    account.id = QUuid::createUuidV5(QUuid(), email);
    account.provider = kind;
    account.email = email;
    if (kind == ProviderKind::imap)
        account.server = ServerSettings::preset(email);
    if (kind == ProviderKind::microsoft)
        account.server = ServerSettings::microsoft(email);
    return account;
}

Task<std::shared_ptr<MailTransport>> refuseConnection(std::shared_ptr<QStringList> connections, QString host,
                                                      int port)
{
    connections->append(u"%1:%2"_s.arg(host).arg(port));
    throw MailError::protocolError(u"The server closed the connection."_s);
    co_return std::shared_ptr<MailTransport>();
}

Task<SignInService::SignedIn> refuseSignIn()
{
    throw MailError::authFailed(u"Could not open the sign-in window."_s);
    co_return SignInService::SignedIn{Account(), Credential::password({})};
}

} // namespace

Info ModelFixture::info()
{
    return Info({{InfoKey::googleClientID, u"1234-abcd.apps.googleusercontent.com"_s},
                 {InfoKey::microsoftClientID, u"00000000-1111-2222-3333-444444444444"_s}});
}

Task<> ModelFixture::noteRevocation(std::shared_ptr<QList<std::pair<Credential, ProviderKind>>> list,
                                    std::shared_ptr<std::function<Task<>()>> then, Credential credential,
                                    ProviderKind provider)
{
    list->append({credential, provider});
    if (*then)
        co_await (*then)();
}

Account ModelFixture::imapAccount(const QString& email)
{
    return makeAccount(ProviderKind::imap, email);
}

Account ModelFixture::googleAccount(const QString& email)
{
    return makeAccount(ProviderKind::google, email);
}

Account ModelFixture::microsoftAccount(const QString& email)
{
    return makeAccount(ProviderKind::microsoft, email);
}

MessageSummary ModelFixture::row(const Account& account, const QString& id)
{
    MessageSummary row;
    row.id = id;
    row.accountID = account.id;
    row.from = EmailAddress(u"Ada"_s, u"ada@example.com"_s);
    row.to = {EmailAddress(std::nullopt, account.email)};
    row.subject = u"Subject %1"_s.arg(id);
    row.snippet = u"Preview of %1"_s.arg(id);
    row.date = QDateTime(QDate(2024, 3, 15), QTime(11, 0), Qt::UTC);
    row.isRead = true;
    row.size = 2048;
    row.mailbox = u"Inbox"_s;
    return row;
}

QList<MessageSummary> ModelFixture::rows(const Account& account, int count)
{
    QList<MessageSummary> rows;
    for (int number = 1; number <= count; ++number) {
        MessageSummary made = row(account, QString::number(number));
        made.date = made.date.addSecs(-60 * number);
        rows.append(made);
    }
    return rows;
}

ModelFixture::ModelFixture()
    : ModelFixture({imapAccount()})
{}

ModelFixture::ModelFixture(const QList<Account>& accounts)
    : m_accounts(accounts)
{
    // What speaks HTTP finds nobody, unless the whole network is this machine.
    if (!qEnvironmentVariableIsSet("LARKHAVEN_TEST_NAMESPACE"))
        qputenv("https_proxy", "http://127.0.0.1:1");
    m_services.defaults = std::make_shared<UserDefaults>(m_folder.filePath(u"settings.ini"_s));
    m_services.secrets = m_secrets;
    m_services.cacheKeys = std::make_shared<KeychainStore>(
        u"test.cache-keys"_s, QList<std::shared_ptr<KeychainBackend>>{m_keychain});
    m_services.textKeys = std::make_shared<KeychainStore>(
        u"test.text-keys"_s, QList<std::shared_ptr<KeychainBackend>>{m_textKeychain});
    m_services.cachesDirectory = m_folder.filePath(u"caches"_s);
    m_services.keptTextsDirectory = m_folder.filePath(u"texts"_s);
    m_services.transports = [connections = m_connections, given = m_transports](const QString& host, int port,
                                                                                bool implicitTLS) {
        return *given ? (*given)(host, port, implicitTLS) : refuseConnection(connections, host, port);
    };
    m_services.sleep = [clock = m_clock](std::chrono::milliseconds duration, const std::stop_token& stop) {
        return sleepOn(clock, duration, stop);
    };
    m_services.signIn = [signIn = m_signIn](ProviderKind provider, const QUuid& accountID,
                                            const std::optional<QString>& hint, const std::stop_token& stop) {
        return *signIn ? (*signIn)(provider, accountID, hint, stop) : refuseSignIn();
    };
    m_services.revoke = [list = m_revocations, then = m_revocation](const Credential& credential,
                                                                    ProviderKind provider) {
        return noteRevocation(list, then, credential, provider);
    };
    m_services.showBadge = [badges = m_badges](qint64 count) { badges->append(count); };
    AccountStore::save(m_accounts, defaults());
    for (const Account& account : m_accounts)
        m_providers.append(FakeMailProvider::create(account));
    restart();
}

ModelFixture::~ModelFixture()
{
    letGoOfModel();
}

void ModelFixture::letGoOfModel()
{
    m_model.reset();
    for (const std::shared_ptr<FakeMailProvider>& provider : std::as_const(m_providers))
        provider->completeAll();
    // What was under way comes to its end.
    settle();
}

void ModelFixture::restart()
{
    restartWithoutProviders();
    for (const std::shared_ptr<FakeMailProvider>& provider : std::as_const(m_providers))
        m_model->useProvider(provider->account().id, provider);
}

void ModelFixture::restartWithoutProviders()
{
    letGoOfModel();
    m_model = std::make_unique<AppModel>(m_services);
}

Task<bool> ModelFixture::sleepOn(std::shared_ptr<Clock> clock, std::chrono::milliseconds duration,
                                 std::stop_token stop)
{
    const auto wakeup = std::make_shared<Wakeup>();
    clock->durations.append(duration);
    clock->sleepers.append(wakeup);
    const std::stop_callback wake(stop, [&wakeup] { wakeup->notify(); });
    co_await wakeup->wait(noTimeout);
    clock->sleepers.removeAll(wakeup);
    co_return !stop.stop_requested();
}

void ModelFixture::endSleeps()
{
    const QList<std::shared_ptr<Wakeup>> sleepers = m_clock->sleepers;
    for (const std::shared_ptr<Wakeup>& sleeper : sleepers)
        sleeper->notify();
}

namespace {

QString keyOf(const QString& service, const QString& account)
{
    return service + u'\n' + account;
}

} // namespace

KeychainBackend::ReadResult InMemoryKeychain::read(const QString& service, const QString& account)
{
    ++reads;
    if (QThread::currentThread() == qApp->thread())
        ++readsOnMainThread;
    while (hesitates)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const std::scoped_lock lock(m_lock);
    if (readFailure != KeychainStatus::success)
        return {readFailure, std::nullopt};
    const auto item = m_items.constFind(keyOf(service, account));
    if (item == m_items.cend())
        return {KeychainStatus::itemNotFound, std::nullopt};
    return {KeychainStatus::success, *item};
}

bool InMemoryKeychain::isEmpty()
{
    const std::scoped_lock lock(m_lock);
    return m_items.isEmpty();
}

KeychainStatus InMemoryKeychain::update(const QString& service, const QString& account,
                                        const QByteArray& data)
{
    const std::scoped_lock lock(m_lock);
    if (writeFailure != KeychainStatus::success)
        return writeFailure;
    const auto item = m_items.find(keyOf(service, account));
    if (item == m_items.end())
        return KeychainStatus::itemNotFound;
    *item = data;
    return KeychainStatus::success;
}

KeychainStatus InMemoryKeychain::add(const QString& service, const QString& account, const QByteArray& data,
                                     const QString&)
{
    const std::scoped_lock lock(m_lock);
    m_items.insert(keyOf(service, account), data);
    return KeychainStatus::success;
}

KeychainStatus InMemoryKeychain::remove(const QString& service, const QString& account)
{
    const std::scoped_lock lock(m_lock);
    return m_items.remove(keyOf(service, account)) ? KeychainStatus::success : KeychainStatus::itemNotFound;
}

} // namespace Larkhaven

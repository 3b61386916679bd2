#include "domain/Coding.h"
#include "domain/MailError.h"
#include "domain/ShownText.h"
#include "domain/Text.h"
#include "model/AppModel.h"
#include "platform/Tasks.h"
#include "providers/IMAPProvider.h"

#include <QScopeGuard>

#include <algorithm>

using namespace Qt::StringLiterals;

// The accounts of the model: what is built for them, how they are added, repaired and removed.

namespace Larkhaven {

// --- Set-up

namespace {

/// The connection test, in whose failure a refused login has words for the form.
Task<> prove(ServerSettings settings, QString password, TransportFactory transports, std::stop_token stop,
             ConnectionTrial::Progress progress)
{
    try {
        const MailAuth auth = MailAuth::password(password);
        co_await IMAPProvider::testConnection(settings, auth, transports, stop, progress);
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
    return Text::lowered(left) == Text::lowered(right);
}

} // namespace

Task<> AppModel::saveIMAPAccount(QString name, QString email, ServerSettings settings, QString password,
                                 std::stop_token stop, ConnectionTrial::Progress progress)
{
    const QPointer<AppModel> self(this);
    // What is being repaired may change while the servers are asked.
    const std::optional<QUuid> repaired = m_imapSetupAccountID;
    noteSignIn(+1);
    // The keyring may ask the user as well: until it has answered, another sign-in would add another account.
    const auto ending = qScopeGuard([self] {
        if (self)
            self->noteSignIn(-1);
    });
    const Outcome<void> proof =
        co_await settled(prove(settings, password, m_services.transports, stop, progress));
    if (!self)
        co_return;
    if (proof.failure)
        std::rethrow_exception(proof.failure);
    const bool isGone = repaired && (!m_accounts.find(*repaired) || m_accounts.isLeaving(*repaired));
    if (stop.stop_requested() || isGone)
        throw MailError::cancelled();

    Account account = accountToChange(repaired, email);
    // What was listed and read came from other servers, where the same number means another message.
    const std::optional<QByteArray> before =
        account.server ? std::optional(account.mailboxIdentity()) : std::nullopt;
    account.email = email;
    account.displayName = name.isEmpty() ? std::nullopt : std::optional(name);
    account.server = settings;
    const bool hasMoved = before && *before != account.mailboxIdentity();
    co_await m_accounts.store(account, Credential::password(password), hasMoved, stop);
    if (!self)
        co_return;
    if (hasMoved)
        forgetServers(account.id);
    if (m_imapSetupAccountID == repaired)
        setImapSetupAccountID(std::nullopt);
    if (m_sidebarSelection && m_sidebarSelection->accountID == account.id)
        start(checkForNews(Asked::byUser));
    else
        select(SidebarItem{account.id, MailboxRef::system(Mailbox::inbox)});
}

Account AppModel::accountToChange(const std::optional<QUuid>& repaired, const QString& email) const
{
    if (const std::optional<Account> known = repaired ? m_accounts.find(*repaired) : std::nullopt)
        return *known;
    for (const Account& account : accounts()) {
        if (account.provider == ProviderKind::imap && isSameAddress(account.email, email))
            return account;
    }
    Account account;
    account.id = QUuid::createUuid();
    account.provider = ProviderKind::imap;
    return account;
}

void AppModel::forgetServers(const QUuid& accountID)
{
    m_sidebar.forget(accountID);
    m_checks.forget(accountID);
    forgetUndo(accountID);
    if (m_sidebarSelection && m_sidebarSelection->accountID == accountID) {
        setPath({});
        // Its folders may be others as well.
        const SidebarItem inbox{accountID, MailboxRef::system(Mailbox::inbox)};
        assign(m_sidebarSelection, std::optional(inbox), &AppModel::sidebarSelectionChanged);
    }
    m_listing.forgetAccount(accountID);
    publish();
    updateBadge();
    Q_EMIT messagesForgotten(accountID);
}

// --- In the browser

bool AppModel::canSignIn(ProviderKind provider) const
{
    return provider != ProviderKind::imap && SignInService::config(provider, m_services.info).has_value();
}

void AppModel::setBrowserSignIn(const std::optional<ProviderKind>& provider)
{
    assign(m_browserSignIn, provider, &AppModel::browserSignInChanged);
}

void AppModel::cancelSignIn()
{
    m_browserStop.request_stop();
}

Task<> AppModel::signIn(ProviderKind provider)
{
    return signInByBrowser(provider, std::nullopt);
}

void AppModel::signInAgain(const Account& account, const std::function<void()>& openSetup)
{
    if (account.provider == ProviderKind::imap) {
        setImapSetupAccountID(account.id);
        openSetup();
    } else {
        start(signInByBrowser(account.provider, account));
    }
}

Task<> AppModel::signInByBrowser(ProviderKind provider, std::optional<Account> renewed)
{
    const QPointer<AppModel> self(this);
    if (m_browserSignIn)
        Q_EMIT browserSignInWanted();
    if (isSigningIn())
        co_return;
    const QPointer<QObject> asker(this->asker());
    const QUuid accountID = renewed ? renewed->id : QUuid::createUuid();
    m_browserStop = std::stop_source();
    const std::stop_token stop = m_browserStop.get_token();
    noteSignIn(+1);
    m_renewedAccount = renewed ? std::optional(accountID) : std::nullopt;
    setBrowserSignIn(provider);
    const Outcome<void> outcome = co_await settled(storeSignedIn(provider, accountID, renewed, stop));
    if (!self)
        co_return;
    m_renewedAccount.reset();
    setBrowserSignIn(std::nullopt);
    noteSignIn(-1);
    // Nobody wants to hear of an account that was removed meanwhile, nor of what was given up.
    const bool isWanted = !renewed || (m_accounts.find(accountID) && !m_accounts.isLeaving(accountID));
    if (outcome.failure && isWanted && !stop.stop_requested())
        report(outcome.failure, accountID, asker);
}

Task<> AppModel::storeSignedIn(ProviderKind provider, QUuid accountID, std::optional<Account> renewed,
                               std::stop_token stop)
{
    const QPointer<AppModel> self(this);
    const std::optional<QString> hint = renewed ? std::optional(renewed->email) : std::nullopt;
    const SignInService::SignedIn signedIn = co_await m_services.signIn(provider, accountID, hint, stop);
    if (!self)
        co_return;
    if (stop.stop_requested())
        throw MailError::cancelled();
    const Account account = accountToStore(signedIn.account, renewed);
    co_await m_accounts.store(account, signedIn.credential, false, stop);
    if (!self)
        co_return;
    const SidebarItem inbox{account.id, MailboxRef::system(Mailbox::inbox)};
    if (renewed || m_sidebarSelection == inbox)
        start(refresh());
    else
        select(inbox);
}

Account AppModel::accountToStore(const Account& signedIn, const std::optional<Account>& renewed) const
{
    if (!renewed) {
        const auto known = std::ranges::find_if(accounts(), [&](const Account& account) {
            return account.provider == signedIn.provider && isSameAddress(account.email, signedIn.email) &&
                   !m_accounts.isLeaving(account.id);
        });
        return known == accounts().end() ? signedIn : *known;
    }
    const std::optional<Account> known = m_accounts.find(renewed->id);
    if (!known || m_accounts.isLeaving(renewed->id))
        throw MailError::cancelled();
    if (!isSameAddress(known->email, signedIn.email)) {
        const auto shown = [](const QString& address) {
            return ShownText::line(address, SignInService::longestAddress);
        };
        throw MailError::authFailed(
            tr("You signed in as %1, not %2.").arg(shown(signedIn.email), shown(known->email)));
    }
    return *known;
}

Task<> AppModel::removeAccount(QUuid accountID)
{
    const QPointer<AppModel> self(this);
    if (!m_accounts.beginRemoval(accountID))
        co_return;
    if (m_renewedAccount == accountID)
        cancelSignIn();
    const auto heir = std::ranges::find_if(
        accounts(), [this](const Account& account) { return !m_accounts.isLeaving(account.id); });
    const std::optional<QUuid> heirID = heir == accounts().end() ? std::nullopt : std::optional(heir->id);
    // A text whose window is open can still leave by another account.
    const QSet<QUuid> open(m_composeSeeds.keyBegin(), m_composeSeeds.keyEnd());
    co_await m_texts->removeAccount(accountID, heirID, open);
    if (!self)
        co_return;
    co_await m_accounts.endRemoval(accountID);
    if (!self)
        co_return;
    if (defaults().text(DefaultsKey::defaultAccountID) == Coding::fromUuid(accountID))
        defaults().set(DefaultsKey::defaultAccountID, QString());
    m_sidebar.forget(accountID);
    m_checks.forget(accountID);
    forgetUndo(accountID);
    m_listing.forgetAccount(accountID);
    updateBadge();
    leaveAccount(accountID);
    publish();
    Q_EMIT messagesForgotten(accountID);
}

void AppModel::leaveAccount(const QUuid& accountID)
{
    if (!m_sidebarSelection || m_sidebarSelection->accountID != accountID)
        return;
    assign(m_sidebarSelection, std::optional<SidebarItem>(), &AppModel::sidebarSelectionChanged);
    setPath({});
    // A page that is still on its way must not fill an empty list.
    m_listing.dropLoads();
    m_listing.clearRows();
    resetPaging();
    setLoading(false);
    if (!accounts().isEmpty())
        show({accounts().first().id, MailboxRef::system(Mailbox::inbox)}, Asked::byNobody);
}

Task<qint64> AppModel::cacheSize()
{
    return m_accounts.cacheSize();
}

Task<> AppModel::clearCaches()
{
    const QPointer<AppModel> self(this);
    setUndoOffer(std::nullopt);
    co_await m_accounts.clearCaches();
    // A server that takes its time holds nothing up: the caches are empty.
    if (self)
        start(refresh());
}

} // namespace Larkhaven

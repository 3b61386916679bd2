#include "app/signin/SignInService.h"

#include "auth/SecretStore.h"
#include "auth/TokenManager.h"
#include "domain/MailError.h"
#include "domain/ServiceEndpoints.h"
#include "domain/ShownText.h"
#include "domain/Text.h"
#include "http/SecureHTTP.h"
#include "platform/Tasks.h"
#include "providers/GmailProvider.h"
#include "providers/IMAPProvider.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>

using namespace Qt::StringLiterals;

namespace Larkhaven::SignInService {

namespace {

constexpr std::chrono::seconds revocationTime{60};

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(SignInService)
};

MailError notConfigured(ProviderKind provider)
{
    return MailError::unsupported(
        provider != ProviderKind::microsoft
            ? Texts::tr("Google sign-in isn't configured. Add GOOGLE_CLIENT_ID to "
                        "Config/Secrets.xcconfig.")
            : Texts::tr("Microsoft sign-in isn't configured. Add MICROSOFT_CLIENT_ID to "
                        "Config/Secrets.xcconfig."));
}

OAuthClient configuredClient(ProviderKind provider, const Info& info)
{
    const std::optional<OAuthConfig> known = config(provider, info);
    if (!known)
        throw notConfigured(provider);
    return OAuthClient(*known);
}

/// An address that can stand in a header and in a command.
bool isUsableAddress(const QString& address)
{
    return !address.isEmpty() && address.size() <= longestAddress &&
           std::ranges::none_of(address, [](QChar letter) { return letter.isSpace() || !letter.isPrint(); });
}

/// From the page in the browser to tokens that can be renewed.
Task<TokenSet> obtainTokens(OAuthClient client, Authenticate authenticate, std::optional<QString> loginHint,
                            std::stop_token stop)
{
    const PKCE pkce;
    const QByteArray url = client.authorizationURL(pkce, loginHint);
    const QString scheme = client.config().callbackScheme();
    const QByteArray redirect = co_await authenticate(url, scheme, stop);
    const QString code = client.authorizationCode(redirect, pkce);
    TokenSet tokens = co_await client.exchange(code, pkce, stop);
    if (!tokens.refreshToken)
        throw MailError::authFailed(Texts::tr("The provider did not grant offline access."));
    co_return tokens;
}

/// The tokens of a sign-in, used as in normal running while nothing is stored yet.
struct Trial {
    std::shared_ptr<InMemorySecretStore> store = std::make_shared<InMemorySecretStore>();
    std::shared_ptr<TokenManager> tokens;

    Trial(const OAuthClient& client, const QUuid& accountID, const TokenSet& obtained)
    {
        store->save(Credential::oauth(obtained), accountID);
        tokens = TokenManager::create(accountID, client, store);
    }
    /// What is to be stored. A trial may have renewed the tokens.
    Credential newest() const { return *store->load(tokens->accountID()); }
};

Task<SignedIn> finishGoogle(OAuthClient client, QUuid accountID, TokenSet obtained, std::stop_token stop)
{
    const Trial trial(client, accountID, obtained);
    const QString address = co_await GmailProvider::profileAddress(trial.tokens, stop);
    if (!isUsableAddress(address))
        throw MailError::protocolError(Texts::tr("No email in Gmail profile"));
    Account account;
    account.id = accountID;
    account.provider = ProviderKind::google;
    account.email = address;
    co_return SignedIn{account, trial.newest()};
}

/// The address that the claims of an id token give (OpenID Connect Core, 5.1); empty where they give none.
QString claimedAddress(const QJsonObject& claims)
{
    const QJsonValue email = claims["email"_L1];
    const QString address = (email.isString() ? email : claims["preferred_username"_L1]).toString();
    return address.contains(u'@') && isUsableAddress(address) ? address : QString();
}

Task<SignedIn> finishMicrosoft(OAuthClient client, QUuid accountID, TokenSet obtained,
                               TransportFactory transports, std::stop_token stop)
{
    const QJsonObject claims = obtained.idTokenClaims();
    const QString address = claimedAddress(claims);
    if (address.isEmpty())
        throw MailError::authFailed(Texts::tr("Microsoft didn't return the account's email address."));
    const Trial trial(client, accountID, obtained);
    const ServerSettings settings = ServerSettings::microsoft(address);
    const MailAuth auth = MailAuth::oauth(trial.tokens);
    const Outcome<void> proof =
        co_await settled(IMAPProvider::testConnection(settings, auth, transports, stop));
    try {
        if (proof.failure)
            std::rethrow_exception(proof.failure);
    } catch (const MailError& error) {
        if (error.kind() != MailError::Kind::notSignedIn)
            throw;
        throw MailError::authFailed(Texts::tr(
            "Outlook's mail servers didn't accept the sign-in. In Outlook.com, check Settings ▸ Mail ▸ "
            "Forwarding and IMAP ▸ “Let devices and apps use IMAP”."));
    }
    Account account;
    account.id = accountID;
    account.provider = ProviderKind::microsoft;
    account.email = address;
    const QString name = ShownText::line(claims["name"_L1].toString(), longestName);
    account.displayName = name.isEmpty() ? std::nullopt : std::optional(name);
    account.server = settings;
    co_return SignedIn{account, trial.newest()};
}

} // namespace

std::optional<QString> configuredClientID(const QString& key, const Info& info)
{
    return info.configured(key);
}

std::optional<OAuthConfig> config(ProviderKind provider, const Info& info)
{
    if (provider == ProviderKind::imap)
        return std::nullopt;
    const bool isGoogle = provider == ProviderKind::google;
    const std::optional<QString> clientID =
        configuredClientID(isGoogle ? InfoKey::googleClientID : InfoKey::microsoftClientID, info);
    if (!clientID)
        return std::nullopt;
    return isGoogle ? OAuthConfig::google(*clientID)
                    : OAuthConfig::microsoft(*clientID, info.bundleIdentifier());
}

bool isRedirect(const QString& url, const Info& info)
{
    const qsizetype colon = url.indexOf(u':');
    // The desktop entry names this one whether or not there is a client.
    const QString always = OAuthConfig::microsoft({}, info.bundleIdentifier()).callbackScheme();
    if (colon > 0 && Text::isSameKeyword(QStringView(url).first(colon), always))
        return true;
    return std::ranges::any_of(
        std::array{ProviderKind::google, ProviderKind::microsoft}, [&](ProviderKind provider) {
            const std::optional<OAuthConfig> known = config(provider, info);
            return known && colon > 0 &&
                   Text::isSameKeyword(QStringView(url).first(colon), known->callbackScheme());
        });
}

Task<SignedIn> signInGoogle(Services services, QUuid accountID, std::optional<QString> loginHint,
                            std::stop_token stop)
{
    const OAuthClient client = configuredClient(ProviderKind::google, services.info);
    const TokenSet tokens = co_await obtainTokens(client, services.authenticate, loginHint, stop);
    SignedIn signedIn = co_await finishGoogle(client, accountID, tokens, stop);
    co_return signedIn;
}

Task<SignedIn> signInMicrosoft(Services services, QUuid accountID, std::optional<QString> loginHint,
                               std::stop_token stop)
{
    const OAuthClient client = configuredClient(ProviderKind::microsoft, services.info);
    const TokenSet tokens = co_await obtainTokens(client, services.authenticate, loginHint, stop);
    SignedIn signedIn = co_await finishMicrosoft(client, accountID, tokens, services.transports, stop);
    co_return signedIn;
}

Task<SignedIn> signIn(ProviderKind provider, Services services, QUuid accountID,
                      std::optional<QString> loginHint, std::stop_token stop)
{
    return provider == ProviderKind::microsoft
               ? signInMicrosoft(std::move(services), accountID, std::move(loginHint), std::move(stop))
               : signInGoogle(std::move(services), accountID, std::move(loginHint), std::move(stop));
}

Task<> revoke(Credential credential, ProviderKind provider)
{
    if (provider != ProviderKind::google || !credential.tokens())
        co_return;
    const TokenSet tokens = *credential.tokens();
    HTTPRequest request;
    request.url = QByteArray(ServiceEndpoints::Google::revoke.latin1());
    request.method = "POST";
    request.headers = {{"Content-Type", "application/x-www-form-urlencoded"}};
    request.body = SecureHTTP::formBody({{u"token"_s, tokens.refreshToken.value_or(tokens.accessToken)}});
    request.timeout = revocationTime;
    co_await settled(SecureHTTP::send(request));
}

} // namespace Larkhaven::SignInService

#pragma once

#include "app/platform/Info.h"
#include "auth/Credential.h"
#include "auth/OAuthClient.h"
#include "domain/Account.h"
#include "protocols/MailTransport.h"

#include <QUuid>

#include <functional>
#include <optional>
#include <stop_token>

/// Signs in with Google and Microsoft: from the user's browser to a proven account. It stores nothing, and
/// leaves nothing behind. Main thread.
namespace Larkhaven::SignInService {

/// Shows the URL in the user's browser and gives the redirect to the scheme; as
/// `WebAuthenticator::authenticate`.
using Authenticate =
    std::function<Task<QByteArray>(QByteArray url, QString callbackScheme, std::stop_token stop)>;

/// What a sign-in needs of the system.
struct Services {
    Info info;
    Authenticate authenticate;
    TransportFactory transports;
};

/// What a sign-in gives.
struct SignedIn {
    Account account;
    Credential credential;
};

/// The longest address that an account may have, in UTF-16 units (RFC 5321, 4.5.3.1).
inline constexpr qsizetype longestAddress = 320;
/// The longest name of a user that is kept, in UTF-16 units.
inline constexpr qsizetype longestName = 500;

/// The client id under the key of Info, as it stands; absent where it is blank or was never filled in.
std::optional<QString> configuredClientID(const QString& key, const Info& info);

/// How this build signs in with the service; absent where it has no client id for it, and for accounts with a
/// password.
std::optional<OAuthConfig> config(ProviderKind provider, const Info& info);

/// Whether the URL is of a scheme that redirects of this build come under; it may be anybody's all the same.
bool isRedirect(const QString& url, const Info& info);

/// Signs in with Google and gives the account under the identity, with the newest of its tokens. `loginHint`
/// is the address of an account that is signed in anew.
///
/// Fails with `MailError::unsupported` where the build has no client id; with `cancelled` where the user
/// gives up, or `stop` is requested; with `authFailed` where the browser, the redirect or the tokens are of
/// no use; with `notSignedIn` where the grant is gone already; with `protocolError` "No email in Gmail
/// profile"; and as `OAuthClient::exchange`.
Task<SignedIn> signInGoogle(Services services, QUuid accountID, std::optional<QString> loginHint,
                            std::stop_token stop = {});
/// The same with Microsoft. Fails as well with `authFailed` where Outlook's servers refuse the tokens, and as
/// `IMAPProvider::testConnection`.
Task<SignedIn> signInMicrosoft(Services services, QUuid accountID, std::optional<QString> loginHint,
                               std::stop_token stop = {});
/// With Microsoft where it is named, and with Google otherwise.
Task<SignedIn> signIn(ProviderKind provider, Services services, QUuid accountID,
                      std::optional<QString> loginHint, std::stop_token stop = {});

/// Takes back the grant of a Google account; for anything else it does nothing. Never fails: what the service
/// says isn't looked at.
Task<> revoke(Credential credential, ProviderKind provider);

} // namespace Larkhaven::SignInService

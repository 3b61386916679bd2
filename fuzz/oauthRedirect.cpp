#include "auth/OAuthClient.h"
#include "domain/MailError.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace Larkhaven;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace

/// Whatever is said to be the redirect: it gives a code for the right state alone, or fails in bounded words
/// without the verifier.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const OAuthClient client(OAuthConfig::google(QStringLiteral("a.b")));
    static const PKCE pkce(QStringLiteral("verifier"), QStringLiteral("state"));
    const QByteArray redirect(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    try {
        const QString code = client.authorizationCode(redirect, pkce);
        require(!code.isEmpty() && redirect.size() <= OAuthClient::longestCallback);
    } catch (const MailError& error) {
        require(error.text().size() <= OAuthClient::longestDescription + 1);
        require(!error.text().contains(pkce.verifier()));
    }
    return 0;
}

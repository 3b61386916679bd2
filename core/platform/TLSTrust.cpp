#include "platform/TLSTrust.h"

#include "platform/Tasks.h"

#include <QCoreApplication>
#include <QDir>
#include <QPointer>
#include <QSsl>
#include <QSslCertificate>

#include <algorithm>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven::TLSTrust {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(TLSTrust)
};

QList<QSslCertificate> environmentAuthorities()
{
    QList<QSslCertificate> authorities;
    const QString file = qEnvironmentVariable("SSL_CERT_FILE");
    if (!file.isEmpty())
        authorities += QSslCertificate::fromPath(file);
    const QStringList folders = qEnvironmentVariable("SSL_CERT_DIR").split(u':', Qt::SkipEmptyParts);
    for (const QString& folder : folders)
        authorities +=
            QSslCertificate::fromPath(folder + u"/*"_s, QSsl::Pem, QSslCertificate::PatternSyntax::Wildcard);
    return authorities;
}

QSslConfiguration systemConfiguration()
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    configuration.setPeerVerifyMode(QSslSocket::VerifyPeer);
    return configuration;
}

/// Setting a list turns off the loading of authorities on demand, so it is done only where there is something
/// to add.
QSslConfiguration extendedConfiguration()
{
    QSslConfiguration configuration = systemConfiguration();
    const QList<QSslCertificate> additional = environmentAuthorities();
    if (!additional.isEmpty())
        configuration.setCaCertificates(QSslConfiguration::systemCaCertificates() + additional);
    return configuration;
}

/// The configuration of the process, and who waits for it.
struct Trust {
    struct Waiter {
        QPointer<QObject> context;
        std::function<void(const QSslConfiguration&)> use;
    };
    std::optional<QSslConfiguration> configuration;
    QList<Waiter> waiters;
    bool isRead = false; ///< or is being read

    static Trust& shared()
    {
        static Trust trust;
        return trust;
    }
};

Task<> readAuthorities()
{
    const QSslConfiguration read = co_await runOnWorker(extendedConfiguration);
    Trust& trust = Trust::shared();
    trust.configuration = read;
    const QList<Trust::Waiter> waiters = std::exchange(trust.waiters, {});
    for (const Trust::Waiter& waiter : waiters) {
        if (waiter.context)
            waiter.use(read);
    }
}

} // namespace

void configure(QObject* context, std::function<void(const QSslConfiguration& configuration)> use)
{
    Trust& trust = Trust::shared();
    const bool isExtended =
        !qEnvironmentVariableIsEmpty("SSL_CERT_FILE") || !qEnvironmentVariableIsEmpty("SSL_CERT_DIR");
    if (!trust.configuration && !isExtended)
        trust.configuration = systemConfiguration();
    if (trust.configuration) {
        use(*trust.configuration);
        return;
    }
    trust.waiters.append({context, std::move(use)});
    if (!std::exchange(trust.isRead, true))
        spawn(readAuthorities(), dropFailure);
}

QString refusalText(const QString& host, const QList<QSslError>& errors)
{
    const auto has = [&](std::initializer_list<QSslError::SslError> kinds) {
        return std::ranges::any_of(errors, [&](const QSslError& error) {
            return std::ranges::find(kinds, error.error()) != kinds.end();
        });
    };
    using enum QSslError::SslError;
    // An unknown issuer comes first: what its certificate says of dates and names proves nothing.
    if (has({SelfSignedCertificate, SelfSignedCertificateInChain, UnableToGetLocalIssuerCertificate,
             UnableToGetIssuerCertificate, UnableToVerifyFirstCertificate, CertificateUntrusted,
             NoPeerCertificate}))
        return Texts::tr("The certificate of %1 was issued by an authority that this computer doesn't trust.")
            .arg(host);
    if (has({CertificateExpired}))
        return Texts::tr("The certificate of %1 has expired.").arg(host);
    if (has({CertificateNotYetValid}))
        return Texts::tr("The certificate of %1 isn't valid yet.").arg(host);
    if (has({HostNameMismatch}))
        return Texts::tr("The certificate that %1 presented belongs to another server.").arg(host);
    return Texts::tr("The certificate of %1 can't be trusted: %2").arg(host, errors.first().errorString());
}

} // namespace Larkhaven::TLSTrust

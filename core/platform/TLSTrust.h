#pragma once

#include <QSslConfiguration>
#include <QSslError>
#include <QString>

namespace Larkhaven::TLSTrust {

/// What every TLS connection starts from: TLS 1.2 at least, the peer always verified against the system's
/// authorities and those that SSL_CERT_FILE and SSL_CERT_DIR name, as with other programs on OpenSSL. Main
/// thread.
QSslConfiguration configuration();

/// What the user reads when the certificate of `host` was refused. `errors` must not be empty.
QString refusalText(const QString& host, const QList<QSslError>& errors);

} // namespace Larkhaven::TLSTrust

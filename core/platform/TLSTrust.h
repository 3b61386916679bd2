#pragma once

#include <QSslConfiguration>
#include <QSslError>
#include <QString>

#include <functional>

class QObject;

namespace Larkhaven::TLSTrust {

/// Gives `use` what every TLS connection starts from: TLS 1.2 at least, the peer always verified against the
/// system's authorities and those that SSL_CERT_FILE and SSL_CERT_DIR name, as with other programs on
/// OpenSSL.
///
/// At once where the system's alone count, which OpenSSL looks up when it needs them. Where there are others,
/// all are read first, on a worker, since that takes a quarter of a second; nothing comes where `context` has
/// gone by then. Main thread.
void configure(QObject* context, std::function<void(const QSslConfiguration& configuration)> use);

/// What the user reads when the certificate of `host` was refused. `errors` must not be empty.
QString refusalText(const QString& host, const QList<QSslError>& errors);

} // namespace Larkhaven::TLSTrust

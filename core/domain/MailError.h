#pragma once

#include "domain/LocalizedError.h"

#include <QString>

namespace Larkhaven {

/// The failure type of the whole mail logic: a closed set of cases, thrown by value.
///
/// Compared by case only, through `kind`.
class MailError : public LocalizedError {
public:
    enum class Kind {
        authFailed,    ///< words of a failed sign-in
        http,          ///< the REST service answered with an error status
        protocolError, ///< the IMAP or SMTP exchange broke the protocol or was refused
        unsupported,   ///< the account or the server can't do this; the text stands alone
        notSignedIn,   ///< the credential was refused or lost
        rateLimited,   ///< the service told us to slow down
        cancelled,     ///< the user gave up
    };

    static MailError authFailed(QString text) { return {Kind::authFailed, 0, std::move(text)}; }
    static MailError http(int status, QString message) { return {Kind::http, status, std::move(message)}; }
    static MailError protocolError(QString text) { return {Kind::protocolError, 0, std::move(text)}; }
    static MailError unsupported(QString text) { return {Kind::unsupported, 0, std::move(text)}; }
    static MailError notSignedIn() { return {Kind::notSignedIn, 0, {}}; }
    static MailError rateLimited() { return {Kind::rateLimited, 0, {}}; }
    static MailError cancelled() { return {Kind::cancelled, 0, {}}; }

    /// `protocolError` "The server closed the connection.", which `isConnectionLost`.
    static MailError connectionClosed();
    /// `protocolError` "The server stopped responding.", which `isConnectionLost`.
    static MailError connectionSilent();
    /// The same failure, of a message that may have gone out all the same.
    MailError afterHandingOver() const;

    Kind kind() const { return m_kind; }

    /// The payload of `authFailed`, `http`, `protocolError` and `unsupported`; empty for the others.
    const QString& text() const { return m_text; }

    /// The status of `http`, 0 for the others.
    int status() const { return m_status; }

    bool isConnectionLost() const override { return m_isConnectionLost; }

    /// Whether a message that was to be sent may have gone out although its sending failed: the server had
    /// all of it, and its answer never came. Sending it again may then send it twice.
    bool mayHaveBeenSent() const { return m_mayHaveBeenSent; }

    QString localizedText() const override;

private:
    MailError(Kind kind, int status, QString text)
        : m_kind(kind)
        , m_status(status)
        , m_text(std::move(text))
    {}

    Kind m_kind;
    int m_status;
    QString m_text;
    bool m_isConnectionLost = false;
    bool m_mayHaveBeenSent = false;
};

} // namespace Larkhaven

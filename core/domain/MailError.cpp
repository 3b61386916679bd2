#include "domain/MailError.h"

#include <QCoreApplication>

namespace Larkhaven {

MailError MailError::connectionClosed()
{
    MailError error =
        protocolError(QCoreApplication::translate("MailError", "The server closed the connection."));
    error.m_isConnectionLost = true;
    return error;
}

MailError MailError::connectionSilent()
{
    MailError error =
        protocolError(QCoreApplication::translate("MailError", "The server stopped responding."));
    error.m_isConnectionLost = true;
    return error;
}

MailError MailError::afterHandingOver() const
{
    MailError error = *this;
    error.m_mayHaveBeenSent = true;
    return error;
}

QString MailError::localizedText() const
{
    const auto tr = [](const char* text) { return QCoreApplication::translate("MailError", text); };
    switch (m_kind) {
    case Kind::authFailed:
        return tr("Sign-in failed: %1").arg(m_text);
    case Kind::http:
        return tr("Server error %1: %2").arg(QString::number(m_status), m_text);
    case Kind::protocolError:
        return tr("Mail protocol error: %1").arg(m_text);
    case Kind::unsupported:
        return m_text;
    case Kind::notSignedIn:
        return tr("This account needs to sign in again.");
    case Kind::rateLimited:
        return tr("The mail server is temporarily limiting requests. Please wait a minute and try again.");
    case Kind::cancelled:
        return tr("Cancelled.");
    }
    Q_UNREACHABLE();
}

} // namespace Larkhaven

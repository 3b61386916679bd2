#include "domain/MailError.h"

#include <QCoreApplication>

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(MailError)
};

} // namespace

MailError MailError::connectionClosed()
{
    MailError error = protocolError(Texts::tr("The server closed the connection."));
    error.m_isConnectionLost = true;
    return error;
}

MailError MailError::connectionSilent()
{
    MailError error = protocolError(Texts::tr("The server stopped responding."));
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
    switch (m_kind) {
    case Kind::authFailed:
        return Texts::tr("Sign-in failed: %1").arg(m_text);
    case Kind::http:
        return Texts::tr("Server error %1: %2").arg(QString::number(m_status), m_text);
    case Kind::protocolError:
        return Texts::tr("Mail protocol error: %1").arg(m_text);
    case Kind::unsupported:
        return m_text;
    case Kind::notSignedIn:
        return Texts::tr("This account needs to sign in again.");
    case Kind::rateLimited:
        return Texts::tr(
            "The mail server is temporarily limiting requests. Please wait a minute and try again.");
    case Kind::cancelled:
        return Texts::tr("Cancelled.");
    }
    Q_UNREACHABLE();
}

} // namespace Larkhaven

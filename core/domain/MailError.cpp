#include "domain/MailError.h"

#include <QCoreApplication>

namespace Larkhaven {

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

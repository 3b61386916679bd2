#include "protocols/MailAuth.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {

QByteArray xoauth2Payload(const QString& username, const QString& token)
{
    return u"user=%1\x01"_s.arg(username)
        .append(u"auth=Bearer "_s)
        .append(token)
        .append(u"\x01\x01"_s)
        .toUtf8()
        .toBase64();
}

} // namespace Larkhaven

#include "auth/Credential.h"

#include "domain/Coding.h"
#include "format/MailEncoding.h"

#include <QCoreApplication>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Credential)
};

} // namespace

bool TokenSet::isValid(std::chrono::seconds leeway) const
{
    return expiresAt > QDateTime::currentDateTimeUtc().addSecs(leeway.count());
}

QJsonObject TokenSet::idTokenClaims() const
{
    const QStringList pieces = idToken.value_or(QString()).split(u'.', Qt::SkipEmptyParts);
    if (pieces.size() < 2)
        return {};
    const std::optional<QByteArray> claims = MailEncoding::base64URLDecode(pieces[1]);
    return QJsonDocument::fromJson(claims.value_or(QByteArray())).object();
}

TokenSet TokenSet::fromJSON(const QJsonObject& object)
{
    return {Coding::string(object, "accessToken"_L1), Coding::optionalString(object, "refreshToken"_L1),
            Coding::time(object, "expiresAt"_L1), Coding::optionalString(object, "idToken"_L1)};
}

QJsonObject TokenSet::toJSON() const
{
    QJsonObject object{{u"accessToken"_s, accessToken}, {u"expiresAt"_s, Coding::fromTime(expiresAt)}};
    if (refreshToken)
        object.insert(u"refreshToken"_s, *refreshToken);
    if (idToken)
        object.insert(u"idToken"_s, *idToken);
    return object;
}

Credential Credential::fromJSON(const QByteArray& json)
{
    const Coding::Case stored = Coding::enumerationCase(Coding::parse(json));
    if (stored.name == "oauth"_L1)
        return oauth(TokenSet::fromJSON(Coding::object(stored.payload)));
    if (stored.name == "password"_L1 && stored.payload.isString())
        return password(stored.payload.toString());
    throw DecodingError(Texts::tr("The stored credential can't be read."));
}

QByteArray Credential::toJSON() const
{
    const QJsonObject object = tokens() ? Coding::fromCase(u"oauth"_s, tokens()->toJSON())
                                        : Coding::fromCase(u"password"_s, *password());
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace Larkhaven

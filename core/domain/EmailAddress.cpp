#include "domain/EmailAddress.h"

#include "domain/Coding.h"
#include "domain/Text.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {

EmailAddress::EmailAddress(const std::optional<QString>& givenName, const QString& givenAddress)
    : address(Text::trimmedSpaceAndLineEnds(givenAddress).toString())
{
    const QStringView trimmed =
        Text::trimmedSpaceAndLineEnds(givenName ? QStringView(*givenName) : QStringView());
    if (!trimmed.isEmpty())
        name = trimmed.toString();
}

QString EmailAddress::displayName() const
{
    if (name)
        return *name;
    const QStringList parts = address.split(u'@', Qt::SkipEmptyParts);
    return parts.isEmpty() ? QString() : parts.first();
}

EmailAddress EmailAddress::fromJSON(const QJsonObject& object)
{
    EmailAddress address;
    address.name = Coding::optionalString(object, "name"_L1);
    address.address = Coding::string(object, "address"_L1);
    return address;
}

QJsonObject EmailAddress::toJSON() const
{
    QJsonObject object{{u"address"_s, address}};
    if (name)
        object.insert(u"name"_s, *name);
    return object;
}

size_t qHash(const EmailAddress& address, size_t seed)
{
    return qHashMulti(seed, address.name.value_or(QString()), address.address);
}

} // namespace Larkhaven

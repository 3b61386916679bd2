#include "domain/EmailAddress.h"

#include "domain/Coding.h"
#include "domain/Text.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The text itself, which costs nothing, where nothing is trimmed.
QString trimmed(const QString& text)
{
    const QStringView rest = Text::trimmedSpaceAndLineEnds(text);
    return rest.size() == text.size() ? text : rest.toString();
}

} // namespace

EmailAddress::EmailAddress(const std::optional<QString>& givenName, const QString& givenAddress)
    : address(trimmed(givenAddress))
{
    QString kept = givenName ? trimmed(*givenName) : QString();
    if (!kept.isEmpty())
        name = std::move(kept);
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

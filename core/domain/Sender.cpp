#include "domain/Sender.h"

#include "domain/Coding.h"
#include "domain/Text.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

QString storedText(Sender::Names names)
{
    switch (names) {
    case Sender::Names::honest:
        return u"honest"_s;
    case Sender::Names::lookLikeAnotherAddress:
        return u"lookLikeAnotherAddress"_s;
    case Sender::Names::holdHiddenCharacters:
        return u"holdHiddenCharacters"_s;
    }
    Q_UNREACHABLE();
}

Sender::Names namesOf(const QString& stored)
{
    using Names = Sender::Names;
    for (const Names names : {Names::honest, Names::lookLikeAnotherAddress, Names::holdHiddenCharacters}) {
        if (storedText(names) == stored)
            return names;
    }
    throw Coding::unreadable("names"_L1);
}

} // namespace

QString Sender::shown() const
{
    const auto isFirst = [this](const EmailAddress& address) {
        return Text::lowered(address.address) == Text::lowered(addresses.first().address);
    };
    // The name of one of several would stand for the others.
    const bool isOne = !addresses.isEmpty() && std::ranges::all_of(addresses, isFirst);
    return isOne && isTrusted() ? addresses.first().displayName() : addressText();
}

QString Sender::addressText() const
{
    QStringList texts;
    for (const EmailAddress& address : addresses)
        texts.append(address.address);
    return texts.join(", "_L1);
}

Sender Sender::fromJSON(const QJsonObject& object)
{
    Sender sender;
    const QJsonArray stored = Coding::array(object, "addresses"_L1);
    for (const auto address : stored)
        sender.addresses.append(EmailAddress::fromJSON(Coding::object(address)));
    sender.names = namesOf(Coding::string(object, "names"_L1));
    sender.isClear = Coding::boolean(object, "isClear"_L1);
    return sender;
}

QJsonObject Sender::toJSON() const
{
    QJsonArray stored;
    for (const EmailAddress& address : addresses)
        stored.append(address.toJSON());
    return {{u"addresses"_s, stored}, {u"names"_s, storedText(names)}, {u"isClear"_s, isClear}};
}

size_t qHash(const Sender& sender, size_t seed)
{
    return qHashMulti(seed, sender.addresses, static_cast<int>(sender.names), sender.isClear);
}

} // namespace Larkhaven

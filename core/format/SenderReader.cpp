#include "format/SenderReader.h"

#include "domain/ShownText.h"
#include "domain/Text.h"
#include "format/AddressParser.h"
#include "format/MailEncoding.h"
#include "format/RawAddresses.h"

#include <QSet>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace Larkhaven::SenderReader {

namespace {

using Names = Sender::Names;
using Seen = QSet<QString>;

Seen seenIn(QStringView text)
{
    const QList<QString> found = RawAddresses::seenIn(text);
    return {found.cbegin(), found.cend()};
}

bool isSameOrBelow(const QString& domain, const QString& parent)
{
    return domain == parent || domain.endsWith(u'.' + parent);
}

/// Whether a name that shows this may stand before the address: the address itself, or "Ann @ Shop.example"
/// before one of the same house.
bool fits(const QString& shown, const Seen& real)
{
    if (real.contains(shown))
        return true;
    if (!shown.startsWith(u'@'))
        return false;
    return std::ranges::any_of(real, [&](const QString& address) {
        return isSameOrBelow(address.mid(address.indexOf(u'@') + 1), shown.mid(1));
    });
}

/// Of the decoded name of an address; an empty one is none.
Names namesOf(const QString& name, const QString& address)
{
    const Seen real = seenIn(address);
    const Seen shown = seenIn(name);
    // Quoted or encoded, an address may hold another one.
    const bool isTwo = real.size() > 1 || address.contains("=?"_L1);
    if (isTwo || !std::ranges::all_of(shown, [&](const QString& one) { return fits(one, real); }))
        return Names::lookLikeAnotherAddress;
    const bool isSpace = Text::trimmedSpace(name).isEmpty();
    const bool isHiding = ShownText::hasHidden(name) || ShownText::hasHidden(address);
    if (isHiding || (!isSpace && !ShownText::hasInk(name)))
        return Names::holdHiddenCharacters;
    return Names::honest;
}

/// What is worse goes before what is bad.
Names worse(Names left, Names right)
{
    if (left == Names::lookLikeAnotherAddress || right == Names::honest)
        return left;
    return right;
}

/// Whether the reading that decodes first, which other programs have as well, finds an address that isn't
/// there, or doesn't find one that is.
bool pretendsAddress(const QString& value, const Sender& sender)
{
    Seen real;
    for (const EmailAddress& address : sender.addresses)
        real.unite(seenIn(address.address));
    const QList<EmailAddress> found = AddressParser::parseList(MailEncoding::decodeHeader(value));
    const auto pretends = [&](const EmailAddress& address) {
        const Seen own = seenIn(address.address);
        const Seen named = seenIn(address.name.value_or(QString()));
        const auto isReal = [&](const QString& one) { return one.startsWith(u'@') || real.contains(one); };
        const auto fitsOwn = [&](const QString& one) { return fits(one, own); };
        const bool isNamedAnother = !own.isEmpty() && !std::ranges::all_of(named, fitsOwn);
        return isNamedAnother || !std::ranges::all_of(own, isReal);
    };
    // Where it finds fewer, it hides one.
    return found.size() < sender.addresses.size() || std::ranges::any_of(found, pretends);
}

QString cut(const QString& value)
{
    return value.first(std::min(value.size(), longestField));
}

/// Adds what the value holds.
void add(Sender& sender, const QString& value)
{
    const qsizetype most = mostAddresses - sender.addresses.size();
    Sender field;
    for (const EmailAddress& raw : RawAddresses::read(cut(value), most + 1)) {
        const QString name = MailEncoding::decodeHeader(raw.name.value_or(QString()));
        field.names = worse(field.names, namesOf(name, raw.address));
        field.addresses.append(EmailAddress(name, raw.address));
    }
    const bool isCut = value.size() > longestField;
    // The last one may be cut as well.
    if (isCut && !field.addresses.isEmpty())
        field.addresses.removeLast();
    if (pretendsAddress(cut(value), field))
        field.names = Names::lookLikeAnotherAddress;
    sender.isClear = sender.isClear && !isCut && field.addresses.size() <= most;
    sender.addresses += field.addresses.first(std::min(field.addresses.size(), most));
    sender.names = worse(sender.names, field.names);
}

/// The one address that the Sender fields hold; absent where there is none, or more.
std::optional<QString> oneOf(const QList<QString>& senderFields)
{
    if (senderFields.size() != 1)
        return std::nullopt;
    const QList<EmailAddress> addresses = readField(senderFields.first()).addresses;
    return addresses.size() == 1 ? std::optional(addresses.first().address) : std::nullopt;
}

} // namespace

qsizetype distinctAddresses(const Sender& sender)
{
    QSet<QString> addresses;
    for (const EmailAddress& address : sender.addresses)
        addresses.insert(Text::lowered(address.address));
    return addresses.size();
}

Sender readField(const QString& value)
{
    Sender sender;
    add(sender, value);
    return sender;
}

Sender read(const QList<QString>& from, const QList<QString>& senderFields)
{
    Sender sender;
    for (const QString& value : from) {
        if (sender.addresses.size() < mostAddresses)
            add(sender, value);
    }
    const qsizetype count = distinctAddresses(sender);
    const std::optional<QString> ofSeveral = count > 1 ? oneOf(senderFields) : std::nullopt;
    sender.isClear = sender.isClear && from.size() == 1 && (count == 1 || ofSeveral);
    if (sender.isClear && ofSeveral) {
        const QString first = Text::lowered(*ofSeveral);
        std::ranges::stable_partition(sender.addresses, [&](const EmailAddress& address) {
            return Text::lowered(address.address) == first;
        });
    }
    return sender;
}

QString senderOfSeveral(const MIMEHeaders& headers)
{
    const Sender sender = read(headers);
    if (!sender.isClear || distinctAddresses(sender) < 2)
        return {};
    return oneOf(headers.values(u"Sender")).value_or(QString());
}

Sender read(const MIMEHeaders& headers)
{
    return read(headers.values(u"From"), headers.values(u"Sender"));
}

void judgeStored(MessageSummary& row)
{
    if (row.sender || !row.from)
        return;
    Sender sender{{*row.from}};
    sender.names = namesOf(row.from->name.value_or(QString()), row.from->address);
    if (!sender.isTrusted())
        row.sender = sender;
}

QString domainOf(QStringView address)
{
    QString domain = RawAddresses::domainForm(address.sliced(address.lastIndexOf(u'@') + 1));
    if (domain.endsWith(u'.'))
        domain.chop(1);
    return domain;
}

} // namespace Larkhaven::SenderReader

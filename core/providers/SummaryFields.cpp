#include "providers/SummaryFields.h"

#include "format/AddressParser.h"
#include "format/MailEncoding.h"
#include "format/SenderReader.h"

#include <algorithm>

namespace Larkhaven::SummaryFields {

QString cut(const QString& text, qsizetype length)
{
    const bool isWhole = text.size() <= length || !text[length - 1].isHighSurrogate();
    return text.first(std::min(text.size(), isWhole ? length : length - 1));
}

namespace {

std::optional<QString> cutName(const std::optional<QString>& name)
{
    return name ? std::optional(cut(*name, nameLimit)) : std::nullopt;
}

/// The end of a longer address, where its domain stands.
QString cutToDomain(const QString& address)
{
    return address.size() <= addressLimit ? address : u'…' + address.last(addressLimit);
}

/// The same sender within the bounds of a row.
Sender cut(Sender sender)
{
    if (sender.addresses.size() > senderLimit)
        sender.addresses.resize(senderLimit);
    for (EmailAddress& address : sender.addresses)
        address = EmailAddress(cutName(address.name), cutToDomain(address.address));
    return sender;
}

} // namespace

QList<EmailAddress> addresses(const QString& field)
{
    QString start = cut(field, fieldLimit);
    const qsizetype comma = start.lastIndexOf(u',');
    if (start.size() < field.size() && comma > 0)
        start.truncate(comma);
    const QList<EmailAddress> found = AddressParser::parseList(MailEncoding::decodeHeader(start));
    QList<EmailAddress> addresses;
    for (const EmailAddress& address : found.first(std::min(found.size(), recipientLimit))) {
        addresses.emplaceBack(cutName(address.name), cut(address.address, addressLimit));
    }
    return addresses;
}

void setSender(MessageSummary& row, const QList<QString>& from)
{
    const QList<EmailAddress> decodedFirst = addresses(from.value(0));
    if (!decodedFirst.isEmpty())
        row.from = decodedFirst.first();
    Sender real = cut(SenderReader::read(from, {}));
    // Whether one of several stands for all of them, only the Sender field says, which a row doesn't know.
    real.isClear = real.isClear || (from.size() == 1 && !real.addresses.isEmpty());
    const bool isNobody = real.addresses.isEmpty();
    const bool areSeveral = SenderReader::distinctAddresses(real) > 1;
    const bool isSame = isNobody ? !row.from : row.from == real.addresses.first();
    if (!isSame || areSeveral || (!isNobody && !real.isTrusted()))
        row.sender = real;
}

QString subject(const QString& field)
{
    return cut(MailEncoding::decodeHeader(cut(field, fieldLimit)), subjectLimit);
}

} // namespace Larkhaven::SummaryFields

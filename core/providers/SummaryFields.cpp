#include "providers/SummaryFields.h"

#include "format/AddressParser.h"
#include "format/MailEncoding.h"

#include <algorithm>

namespace Larkhaven::SummaryFields {

QString cut(const QString& text, qsizetype length)
{
    const bool isWhole = text.size() <= length || !text[length - 1].isHighSurrogate();
    return text.first(std::min(text.size(), isWhole ? length : length - 1));
}

QList<EmailAddress> addresses(const QString& field)
{
    QString start = cut(field, fieldLimit);
    const qsizetype comma = start.lastIndexOf(u',');
    if (start.size() < field.size() && comma > 0)
        start.truncate(comma);
    const QList<EmailAddress> found = AddressParser::parseList(MailEncoding::decodeHeader(start));
    QList<EmailAddress> addresses;
    for (const EmailAddress& address : found.first(std::min(found.size(), recipientLimit))) {
        const std::optional<QString> shown =
            address.name ? std::optional(cut(*address.name, nameLimit)) : std::nullopt;
        addresses.emplaceBack(shown, cut(address.address, addressLimit));
    }
    return addresses;
}

QString subject(const QString& field)
{
    return cut(MailEncoding::decodeHeader(cut(field, fieldLimit)), subjectLimit);
}

} // namespace Larkhaven::SummaryFields

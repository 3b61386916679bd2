#include "format/MIMEHeaders.h"

#include "domain/Text.h"
#include "format/AddressParser.h"
#include "format/MailDate.h"
#include "format/MailEncoding.h"

#include <string_view>

using namespace std::string_view_literals;

namespace Larkhaven {

namespace {

QList<EmailAddress> addresses(const MIMEHeaders& headers, QStringView name)
{
    const std::optional<QString> text = headers.decoded(name);
    return text ? AddressParser::parseList(*text) : QList<EmailAddress>();
}

bool isCalled(const MIMEHeaders::Field& field, QStringView name)
{
    return Text::isSameKeyword(field.name, name);
}

} // namespace

std::optional<QString> MIMEHeaders::value(QStringView name) const
{
    for (const Field& field : fields) {
        if (isCalled(field, name))
            return field.value;
    }
    return std::nullopt;
}

QList<QString> MIMEHeaders::values(QStringView name) const
{
    QList<QString> values;
    for (const Field& field : fields) {
        if (isCalled(field, name))
            values.append(field.value);
    }
    return values;
}

std::optional<QString> MIMEHeaders::decoded(QStringView name) const
{
    const std::optional<QString> raw = value(name);
    return raw ? std::optional(MailEncoding::decodeHeader(*raw)) : std::nullopt;
}

QString MIMEHeaders::subject() const
{
    return decoded(u"Subject"sv).value_or(QString());
}

QList<EmailAddress> MIMEHeaders::from() const
{
    return addresses(*this, u"From"sv);
}

QList<EmailAddress> MIMEHeaders::to() const
{
    return addresses(*this, u"To"sv);
}

QList<EmailAddress> MIMEHeaders::cc() const
{
    return addresses(*this, u"Cc"sv);
}

QList<EmailAddress> MIMEHeaders::replyTo() const
{
    return addresses(*this, u"Reply-To"sv);
}

std::optional<QDateTime> MIMEHeaders::date() const
{
    const std::optional<QString> text = value(u"Date"sv);
    return text ? MailDate::parse(*text) : std::nullopt;
}

std::optional<QString> MIMEHeaders::messageID() const
{
    const std::optional<QString> text = value(u"Message-ID"sv);
    return text ? std::optional(Text::trimmedSpace(*text).toString()) : std::nullopt;
}

QList<QString> MIMEHeaders::references() const
{
    const QString text = value(u"References"sv).value_or(QString());
    QList<QString> pieces;
    qsizetype start = 0;
    for (qsizetype end = 0; end <= text.size() && pieces.size() < maxReferences; ++end) {
        const bool isCut = end == text.size() || text[end] == u' ' || text[end] == u'\t';
        if (!isCut)
            continue;
        if (end > start)
            pieces.append(text.sliced(start, end - start));
        start = end + 1;
    }
    return pieces;
}

} // namespace Larkhaven

#include "safety/MailURL.h"

#include "safety/URLParts.h"
#include "safety/UTF8.h"

#include <array>
#include <string_view>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// What stands unencoded in path, query and fragment: pchar / "/" / "?" of RFC 3986, and square brackets.
constexpr std::array<bool, 128> allowedCharacters = [] {
    std::array<bool, 128> allowed{};
    for (const char character :
         std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                          "-._~!$&'()*+,;=:@/?[]"))
        allowed[static_cast<unsigned char>(character)] = true;
    return allowed;
}();

bool isAllowed(char16_t unit)
{
    return unit < allowedCharacters.size() && allowedCharacters[unit];
}

/// Whether all of the text may stand in a URL as it is, as nearly all URLs may.
bool isEncoded(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!isAllowed(text[i].unicode()) && !UTF8::isPercentEncodedAt(text, i))
            return false;
    }
    return true;
}

/// The text with what may not stand in a URL percent-encoded, valid percent-encoding untouched.
QString percentEncoded(QStringView text)
{
    if (isEncoded(text))
        return text.toString();
    const QByteArray bytes = UTF8::encoded(text);
    QString result;
    result.reserve(bytes.size());
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<uchar>(bytes[i]);
        const bool isEncoded = byte == '%' && i + 2 < bytes.size() &&
                               UTF8::isHexDigit(static_cast<uchar>(bytes[i + 1])) &&
                               UTF8::isHexDigit(static_cast<uchar>(bytes[i + 2]));
        if (isEncoded || isAllowed(byte)) {
            result += QLatin1Char(static_cast<char>(byte));
            continue;
        }
        constexpr const char* digits = "0123456789ABCDEF";
        result += u'%';
        result += QLatin1Char(digits[byte >> 4]);
        result += QLatin1Char(digits[byte & 0xf]);
    }
    return result;
}

std::optional<QString> percentEncoded(const std::optional<QStringView>& text)
{
    return text ? std::optional(percentEncoded(*text)) : std::nullopt;
}

} // namespace

std::optional<MailURL> MailURL::parse(QStringView text)
{
    const std::optional<URLParts> parts = URLParts::read(text);
    if (!parts)
        return std::nullopt;
    MailURL url;
    url.m_scheme = parts->scheme.toString();
    url.m_hasAuthority = parts->hasAuthority;
    url.m_userInfo = percentEncoded(parts->userInfo);
    url.m_host = parts->host;
    if (parts->port)
        url.m_port = parts->port->toString();
    url.m_path = percentEncoded(parts->path);
    url.m_query = percentEncoded(parts->query);
    url.m_fragment = percentEncoded(parts->fragment);
    return url;
}

QString MailURL::absoluteString() const
{
    const auto sizeOf = [](const std::optional<QString>& part) { return part ? part->size() + 1 : 0; };
    QString result;
    result.reserve(m_scheme.size() + m_host.size() + m_path.size() + sizeOf(m_userInfo) + sizeOf(m_port) +
                   sizeOf(m_query) + sizeOf(m_fragment) + 5);
    result += m_scheme;
    result += u':';
    if (m_hasAuthority) {
        result += "//"_L1;
        if (m_userInfo)
            result += *m_userInfo + u'@';
        result += bracketedHost(m_host);
        if (m_port)
            result += u':' + *m_port;
    }
    result += m_path;
    if (m_query)
        result += u'?' + *m_query;
    if (m_fragment)
        result += u'#' + *m_fragment;
    return result;
}

QString MailURL::user() const
{
    return m_userInfo ? m_userInfo->section(u':', 0, 0) : QString();
}

std::optional<int> MailURL::port() const
{
    return m_port && !m_port->isEmpty() ? std::optional(m_port->toInt()) : std::nullopt;
}

MailURL MailURL::withQuery(std::optional<QString> query) const
{
    MailURL url = *this;
    url.m_query = std::move(query);
    return url;
}

QUrl MailURL::toQUrl() const
{
    return QUrl::fromEncoded(absoluteString().toLatin1(), QUrl::TolerantMode);
}

} // namespace Larkhaven

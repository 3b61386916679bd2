#include "safety/MailURL.h"

#include "safety/URLParts.h"
#include "safety/UTF8.h"
#include "safety/UnitScan.h"

#include <algorithm>
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

/// Whether a unit is none of those.
struct IsRefused {
    static bool of(char16_t unit) { return !isAllowed(unit); }
#if defined(__SSE2__)
    static __m128i of(__m128i units)
    {
        using Between = UnitScan::IsAnyOf<u'"', u'#', u'%', u'<', u'>', u'\\', u'^', u'`', u'{', u'|', u'}'>;
        return _mm_or_si128(UnitScan::IsOutside<u'!', u'~'>::of(units), Between::of(units));
    }
#endif
};

/// Whether all of the text may stand in a URL as it is.
bool isEncoded(QStringView text)
{
    const char16_t* const begin = text.utf16();
    const char16_t* const end = begin + text.size();
    const char16_t* refused = UnitScan::find(begin, end, IsRefused{});
    while (refused != end && UTF8::isPercentEncodedAt(text, refused - begin))
        refused = UnitScan::find(refused + 1, end, IsRefused{});
    return refused == end;
}

/// Adds the text with what may not stand in a URL percent-encoded, valid percent-encoding untouched.
void appendEncoded(QStringView text, QString& result)
{
    if (isEncoded(text)) {
        result += text;
        return;
    }
    const QByteArray bytes = UTF8::encoded(text);
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
}

} // namespace

MailURL::Span MailURL::append(QStringView part)
{
    const qsizetype start = m_text.size();
    appendEncoded(part, m_text);
    return {start, m_text.size()};
}

bool MailURL::keep(QStringView text, const URLParts& parts)
{
    const auto spanOf = [text](QStringView part) {
        const qsizetype start = part.utf16() - text.utf16();
        return Span{start, start + part.size()};
    };
    const bool isBracketed = parts.hostEnd > parts.hostStart && text[parts.hostStart] == u'[';
    const qsizetype bracket = isBracketed ? 1 : 0;
    const Span host{parts.hostStart + bracket, parts.hostEnd - bracket};
    if (!parts.mappedHost.isEmpty() || parts.host.size() != host.end - host.start)
        return false;
    // Path and query stand together, and "?" is one of their characters.
    const QStringView behindHost = text.sliced(spanOf(parts.path).start);
    const qsizetype fragment = parts.fragment ? parts.fragment->size() + 1 : 0;
    if (!isEncoded(behindHost.chopped(fragment)) || (parts.fragment && !isEncoded(*parts.fragment)) ||
        (parts.userInfo && !isEncoded(*parts.userInfo)))
        return false;
    m_text = text.toString();
    m_schemeEnd = parts.scheme.size();
    m_path = spanOf(parts.path);
    if (parts.hasAuthority)
        m_host = host;
    if (parts.userInfo)
        m_userInfo = spanOf(*parts.userInfo);
    if (parts.port)
        m_port = spanOf(*parts.port);
    if (parts.query)
        m_query = spanOf(*parts.query);
    if (parts.fragment)
        m_fragment = spanOf(*parts.fragment);
    return true;
}

std::optional<MailURL> MailURL::parse(QStringView text)
{
    const std::optional<URLParts> parts = URLParts::read(text);
    if (!parts)
        return std::nullopt;
    MailURL url;
    if (url.keep(text, *parts))
        return url;
    QString& whole = url.m_text;
    whole.reserve(text.size());
    whole += parts->scheme;
    url.m_schemeEnd = whole.size();
    whole += u':';
    if (parts->hasAuthority) {
        whole += "//"_L1;
        if (parts->userInfo) {
            url.m_userInfo = url.append(*parts->userInfo);
            whole += u'@';
        }
        const bool isBracketed = parts->host.contains(u':');
        if (isBracketed)
            whole += u'[';
        // It is in ASCII already, and a percent sign is none of its characters.
        url.m_host.start = whole.size();
        whole += parts->host;
        url.m_host.end = whole.size();
        if (isBracketed)
            whole += u']';
        if (parts->port) {
            whole += u':';
            url.m_port = url.append(*parts->port);
        }
    }
    url.m_path = url.append(parts->path);
    if (parts->query) {
        whole += u'?';
        url.m_query = url.append(*parts->query);
    }
    if (parts->fragment) {
        whole += u'#';
        url.m_fragment = url.append(*parts->fragment);
    }
    return url;
}

QString MailURL::user() const
{
    const QStringView userInfo = view(m_userInfo);
    const qsizetype colon = userInfo.indexOf(u':');
    return (colon < 0 ? userInfo : userInfo.first(colon)).toString();
}

std::optional<int> MailURL::port() const
{
    const QStringView digits = view(m_port);
    return digits.isEmpty() ? std::nullopt : std::optional(digits.toInt());
}

MailURL MailURL::withQuery(std::optional<QStringView> query) const
{
    const QStringView start = QStringView(m_text).first(m_path.end);
    const QStringView end =
        m_fragment.isThere() ? QStringView(m_text).sliced(m_fragment.start - 1) : QStringView();
    MailURL url = *this;
    url.m_text = QString(start.size() + (query ? query->size() + 1 : 0) + end.size(), Qt::Uninitialized);
    QChar* output = std::copy(start.begin(), start.end(), url.m_text.data());
    url.m_query = {};
    if (query) {
        *output++ = u'?';
        url.m_query = {start.size() + 1, start.size() + 1 + query->size()};
        output = std::copy(query->begin(), query->end(), output);
    }
    std::copy(end.begin(), end.end(), output);
    if (m_fragment.isThere())
        url.m_fragment = {url.m_text.size() - end.size() + 1, url.m_text.size()};
    return url;
}

QUrl MailURL::toQUrl() const
{
    return QUrl::fromEncoded(absoluteString().toLatin1(), QUrl::TolerantMode);
}

} // namespace Larkhaven

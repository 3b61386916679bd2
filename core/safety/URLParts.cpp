#include "safety/URLParts.h"

#include "domain/Text.h"
#include "safety/URLHost.h"
#include "safety/UTF8.h"
#include "safety/UnitScan.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

bool isASCIILetter(QChar character)
{
    return (character >= u'a' && character <= u'z') || (character >= u'A' && character <= u'Z');
}

bool isASCIIDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

bool isSchemeCharacter(QChar character)
{
    return isASCIILetter(character) || isASCIIDigit(character) || character == u'+' || character == u'-' ||
           character == u'.';
}

bool isHTTP(QStringView scheme)
{
    return Text::isSameKeyword(scheme, u"http") || Text::isSameKeyword(scheme, u"https");
}

/// The first of the characters; -1 where there is none. The parts of a URL are short: a search that is called
/// takes longer.
qsizetype indexOf(QStringView text, char16_t mark)
{
    const qsizetype found = UnitScan::firstMark(text, mark);
    return found == text.size() ? -1 : found;
}

/// Cuts the text at the first `mark`. Gives what stands behind it; absent where there is none.
std::optional<QStringView> cutAt(QStringView& text, char16_t mark)
{
    const qsizetype index = indexOf(text, mark);
    if (index < 0)
        return std::nullopt;
    const QStringView behind = text.sliced(index + 1);
    text.truncate(index);
    return behind;
}

bool isUserInfoCharacter(QChar character)
{
    if (character.unicode() >= 0x80)
        return !character.isSpace();
    return isASCIILetter(character) || isASCIIDigit(character) || "-._~!$&'()*+,;=:"_L1.contains(character);
}

/// Whether the text may stand before the "@": unreserved / pct-encoded / sub-delims / ":", and what is not
/// ASCII.
bool isUserInfo(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!isUserInfoCharacter(text[i]) && !UTF8::isPercentEncodedAt(text, i))
            return false;
    }
    return true;
}

bool isPort(QStringView digits)
{
    constexpr int highestPort = 65535;
    int value = 0;
    for (const QChar digit : digits) {
        if (!isASCIIDigit(digit))
            return false;
        value = value * 10 + (digit.unicode() - u'0');
        if (value > highestPort)
            return false;
    }
    return true;
}

/// Reads `[ userinfo "@" ] host [ ":" port ]`, which begins at `start` of the whole text.
bool readAuthority(QStringView authority, qsizetype start, URLParts& parts)
{
    if (const qsizetype at = indexOf(authority, u'@'); at >= 0) {
        parts.userInfo = authority.first(at);
        authority = authority.sliced(at + 1);
        start += at + 1;
        if (!isUserInfo(*parts.userInfo) || authority.contains(u'@'))
            return false;
    }
    qsizetype hostLength = 0;
    if (authority.startsWith(u'[')) {
        hostLength = authority.indexOf(u']') + 1;
        if (hostLength == 0 || !URLHost::isIPv6Address(authority.sliced(1, hostLength - 2)))
            return false;
        parts.host = authority.sliced(1, hostLength - 2);
    } else {
        const qsizetype colon = indexOf(authority, u':');
        hostLength = colon < 0 ? authority.size() : colon;
        parts.host = authority.first(hostLength);
        if (!URLHost::isName(parts.host)) {
            const std::optional<QString> name = URLHost::asciiName(parts.host);
            if (!name)
                return false;
            parts.mappedHost = *name;
            parts.host = parts.mappedHost;
        }
    }
    parts.hostStart = start;
    parts.hostEnd = start + hostLength;
    authority = authority.sliced(hostLength);
    if (authority.isEmpty())
        return true;
    parts.port = authority.sliced(1);
    return authority.front() == u':' && isPort(*parts.port);
}

/// Reads a web address whose authority is a name of ASCII alone, as nearly all of mail are: a third of the
/// time. False for any other.
bool readWebAddress(QStringView text, URLParts& parts)
{
    for (const QStringView scheme : {QStringView(u"https://"), QStringView(u"http://")}) {
        if (!UnitScan::startsWith(text, scheme))
            continue;
        constexpr qsizetype colonAndSlashes = 3;
        parts.scheme = text.first(scheme.size() - colonAndSlashes);
        parts.hasAuthority = true;
        parts.hostStart = scheme.size();
        QStringView rest = text.sliced(parts.hostStart);
        const qsizetype hostLength = URLHost::endOfName(rest);
        parts.host = rest.first(hostLength);
        parts.hostEnd = parts.hostStart + hostLength;
        rest = rest.sliced(hostLength);
        const bool isWhole =
            rest.isEmpty() || rest.front() == u'/' || rest.front() == u'?' || rest.front() == u'#';
        if (!isWhole || !URLHost::isName(parts.host))
            return false;
        parts.fragment = cutAt(rest, u'#');
        parts.query = cutAt(rest, u'?');
        parts.path = rest;
        return true;
    }
    return false;
}

} // namespace

std::optional<URLParts> URLParts::read(QStringView text)
{
    if (std::optional<URLParts> web(std::in_place); readWebAddress(text, *web))
        return web;
    const qsizetype colon = indexOf(text, u':');
    if (colon < 1 || !isASCIILetter(text.front()) ||
        !std::ranges::all_of(text.first(colon), isSchemeCharacter))
        return std::nullopt;
    URLParts parts;
    parts.scheme = text.first(colon);
    QStringView rest = text.sliced(colon + 1);
    parts.fragment = cutAt(rest, u'#');
    parts.query = cutAt(rest, u'?');
    parts.hasAuthority = rest.startsWith("//"_L1);
    if (parts.hasAuthority) {
        rest = rest.sliced(2);
        const qsizetype slash = indexOf(rest, u'/');
        const QStringView authority = slash < 0 ? rest : rest.first(slash);
        if (!readAuthority(authority, colon + 3, parts))
            return std::nullopt;
        rest = rest.sliced(authority.size());
    }
    parts.path = rest;
    if (parts.host.isEmpty() && isHTTP(parts.scheme))
        return std::nullopt;
    return parts;
}

std::optional<QString> schemeOf(QStringView text)
{
    const qsizetype colon = indexOf(text, u':');
    if (colon < 1)
        return std::nullopt;
    const QStringView scheme = text.first(colon);
    const auto isAllowed = [](QChar character) {
        return character.isLetterOrNumber() || isSchemeCharacter(character);
    };
    if (!std::ranges::all_of(scheme, isAllowed))
        return std::nullopt;
    return Text::lowered(scheme);
}

QString bracketedHost(QStringView host)
{
    return host.contains(u':') ? u'[' + host.toString() + u']' : host.toString();
}

} // namespace Larkhaven

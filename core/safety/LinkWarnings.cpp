#include "safety/LinkWarnings.h"

#include "domain/ShownText.h"
#include "domain/Text.h"
#include "safety/ShownHosts.h"
#include "safety/URLHost.h"
#include "safety/UTF8.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::LinkWarnings {
namespace {

using LinkCleaner::Warning;

/// The host as a warning names it, in lower case: an address as what it is, however it is written.
QString namedHost(const QString& host)
{
    const QString lowered = Text::asciiLowered(host);
    return URLHost::addressOf(lowered).value_or(lowered);
}

bool endsInAnotherScript(QStringView host)
{
    while (host.endsWith(u'.'))
        host.chop(1);
    return host.sliced(host.lastIndexOf(u'.') + 1).startsWith("xn--"_L1);
}

/// The password behind an empty user, with its colon; empty where there is a user or no password.
QString passwordAlone(const MailURL& url)
{
    const QString userInfo = url.userInfo();
    constexpr qsizetype colonAlone = 1;
    if (!userInfo.startsWith(u':') || userInfo.size() == colonAlone)
        return {};
    return UTF8::percentDecoded(userInfo).value_or(userInfo);
}

/// The first host of another owner that the text may be read to name; empty where there is none.
QString otherHost(const LinkRecord& link)
{
    QStringList readings = link.readings;
    if (readings.isEmpty())
        readings.append(link.text);
    for (const QString& reading : std::as_const(readings)) {
        if (const std::optional<QString> host = ShownHosts::firstOfAnotherOwner(reading, link.url.host()))
            return *host;
    }
    return {};
}

} // namespace

QList<Warning> of(const LinkRecord& link)
{
    QList<Warning> result = LinkCleaner::warnings(link);
    const QString scheme = link.url.scheme();
    if (scheme != "http"_L1 && scheme != "https"_L1)
        return result;
    const QString host = Text::asciiLowered(link.url.host());
    if (endsInAnotherScript(host))
        result.removeAll(Warning::ipAddress(host));
    const bool hasUser = !link.url.user().isEmpty();
    const qsizetype mismatches = std::ranges::count(result, Warning::Kind::mismatchedText, &Warning::kind);
    if (const QString password = passwordAlone(link.url); !password.isEmpty())
        result.insert(result.size() - mismatches, Warning::mismatchedText(password, host));
    const bool namesAnother = mismatches > (hasUser ? 1 : 0);
    if (const QString other = namesAnother ? QString() : otherHost(link); !other.isEmpty())
        result += Warning::mismatchedText(other, host);
    for (Warning& warning : result) {
        warning.shown = ShownText::line(warning.shown, longestUser);
        warning.actual = namedHost(warning.actual);
        warning.host = namedHost(warning.host);
    }
    return result;
}

} // namespace Larkhaven::LinkWarnings

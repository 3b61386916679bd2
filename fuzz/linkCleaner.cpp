#include "domain/Text.h"
#include "safety/LinkWarnings.h"

#include <QByteArrayView>
#include <QUrl>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

// URLs have one reading, which cleaning keeps. The first line of the input is a URL, the rest the text of its
// link.

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

bool isWeb(const MailURL& url)
{
    return url.scheme() == u"http" || url.scheme() == u"https";
}

void checkURL(const MailURL& url)
{
    const QString absolute = url.absoluteString();
    require(std::ranges::all_of(absolute, [](QChar character) {
        return character > u' ' && character < u'\x7f' && !u"\"<>\\^`{|}"_s.contains(character);
    }));
    require(MailURL::parse(absolute) == url);
    if (!isWeb(url))
        return;
    require(!url.host().isEmpty() && url.port().value_or(0) <= 65'535);

    // A second reader, where it reads the URL at all and has no other spelling of the host.
    const QUrl other = url.toQUrl();
    const bool isName = std::ranges::all_of(
        url.host(), [](QChar character) { return character.isLetter() || character == u'.'; });
    if (other.isValid() && isName)
        require(other.host(QUrl::FullyEncoded).toLower() == url.host().toLower());
    if (other.isValid())
        require(other.scheme() == url.scheme() && other.userName().isEmpty() == url.user().isEmpty());
}

void checkCleaning(const MailURL& url)
{
    const MailURL cleaned = LinkCleaner::clean(url);
    require(LinkCleaner::clean(cleaned) == cleaned);
    require(cleaned.withQuery(std::nullopt) == url.withQuery(std::nullopt));
    require(cleaned.absoluteString().size() <= url.absoluteString().size());
    if (!url.query())
        require(cleaned == url);
    else
        require(url.query()->split(u'&').size() >=
                cleaned.query().value_or(QStringView()).split(u'&').size());
}

void checkWarnings(const LinkRecord& link)
{
    using Kind = LinkCleaner::Warning::Kind;
    const QList<LinkCleaner::Warning> warnings = LinkCleaner::warnings(link);
    require(isWeb(link.url) || warnings.isEmpty());
    require(warnings.size() <= 5);
    require((link.url.scheme() == u"http") ==
            (!warnings.isEmpty() && warnings.front().kind == Kind::insecure));
    for (const LinkCleaner::Warning& warning : warnings) {
        require(!warning.message().contains(u'\n') && !warning.message().contains(u'\u202e'));
        require(warning.kind != Kind::mismatchedText || warning.actual == link.url.host().toLower());
    }
}

/// The reader's keep those of the cleaner, but that a domain in another script is no address.
void checkReadersWarnings(const LinkRecord& link)
{
    using Kind = LinkCleaner::Warning::Kind;
    const QList<LinkCleaner::Warning> plain = LinkCleaner::warnings(link);
    const QList<LinkCleaner::Warning> warnings = LinkWarnings::of(link);
    require(isWeb(link.url) || warnings.isEmpty());
    require(warnings.size() <= 6);
    const auto count = [](const auto& list, Kind kind) {
        return std::ranges::count(list, kind, &LinkCleaner::Warning::kind);
    };
    for (const Kind kind : {Kind::insecure, Kind::punycode})
        require(count(warnings, kind) == count(plain, kind));
    require(count(warnings, Kind::mismatchedText) >= count(plain, Kind::mismatchedText));
    require(count(warnings, Kind::ipAddress) <= count(plain, Kind::ipAddress));
    for (const LinkCleaner::Warning& warning : warnings) {
        require(warning.shown.size() <= LinkWarnings::longestUser + 1 && warning.actual.size() <= 254);
        require(!warning.message().contains(u'\n') && !warning.message().contains(u'\u202e'));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString input = Text::fromRepairedUTF8(QByteArrayView(data, static_cast<qsizetype>(size)));
    const qsizetype lineEnd = input.indexOf(u'\n');
    const std::optional<MailURL> url = MailURL::parse(lineEnd < 0 ? input : input.first(lineEnd));
    if (!url)
        return 0;
    checkURL(*url);
    checkCleaning(*url);
    const LinkRecord link{*url, lineEnd < 0 ? QString() : input.sliced(lineEnd + 1)};
    checkWarnings(link);
    checkReadersWarnings(link);
    return 0;
}

#include "safety/LinkWarnings.h"

#include "SanitizerSupport.h"
#include "safety/PublicSuffixes.h"
#include "safety/ShownHosts.h"
#include "safety/URLHost.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using LinkCleaner::Warning;
using Warnings = QList<Warning>;

Warnings warningsFor(const QString& url, const QString& text = {})
{
    const std::optional<MailURL> parsed = MailURL::parse(url);
    EXPECT_TRUE(parsed) << url.toStdString();
    return parsed ? LinkWarnings::of({*parsed, text}) : Warnings();
}

/// Of a link within a message.
Warnings warningsIn(const QString& html)
{
    const SanitizedHTML result = HTMLSanitizer::sanitize(html, withIndirectLinks());
    EXPECT_EQ(result.links.size(), 1);
    return result.links.isEmpty() ? Warnings() : LinkWarnings::of(result.links.constFirst());
}

std::string spoken(const Warnings& warnings)
{
    QStringList messages;
    for (const Warning& warning : warnings)
        messages += warning.message();
    return messages.join(u'\n').toStdString();
}

struct Named {
    QString text;
    QString host;
};

TEST(LinkWarnings, FindAHostAmongOtherWordsAndMarks)
{
    const QString bank = u"bank.example"_s;
    for (const Named& named : QList<Named>{
             {u"Go to bank.example"_s, bank},
             {u"bank.example!"_s, bank},
             {u"//bank.example/"_s, bank},
             {u"(bank.example)"_s, bank},
             {u"“bank.example”"_s, bank},
             {u"bank.example. Now"_s, bank},
             {u"bank.example…"_s, bank},
             {u"→ bank.example ←"_s, bank},
             {u"Log in:bank.example"_s, bank},
             {u"see https://bank.example/path?x for more"_s, bank},
             {u"https://bank.example:443/"_s, bank},
             {u"https:\\\\bank.example\\login"_s, bank},
             {u"me@bank.example"_s, bank},
             {u"Write to me@bank.example now"_s, bank},
             {u"BANK.EXAMPLE now"_s, bank},
             {u"Bank.Example now"_s, bank},
             {u"www.bank.example/login now"_s, u"www.bank.example"_s},
             {u"bank.example,shop.example"_s, bank},
             {u"evil.example, bank.example"_s, bank},
             {u"login/bank.example"_s, bank},
             {u"bank.example’s page"_s, bank},
             {u"bank.example_login"_s, bank},
             {u"bank\u200b.example now"_s, bank},
             {u"bank\u00ad.ex\u2060ample"_s, bank},
             {u"\u202ebank.example"_s, bank},
             {u"b\u034fank.example"_s, bank},
             {u"\ufeffbank.example\ufeff"_s, bank},
             {u"bank\u3002example"_s, bank},
             {u"bank\uff0eexample!"_s, bank},
             {u"bank\uff61example!"_s, bank},
             {u"bank\u2024example"_s, bank},
             {u"bank\ufe52example"_s, bank},
             {u"bank\u06d4example"_s, bank},
             {u"bank\u1362example"_s, bank},
             {u"bank\ua4f8example"_s, bank},
             {u"\uff42\uff41\uff4e\uff4b.example!"_s, bank},
             {u"\u24d1\u24d0\u24dd\u24da.example"_s, bank},
             {u"\U0001d41b\U0001d41a\U0001d427\U0001d424.example"_s, bank},
             {u"詳しくはbank.exampleで"_s, bank},
             {u"ดูที่bank.exampleนะ"_s, bank},
             {u"Go to b\u00e4nk.example"_s, u"xn--bnk-qla.example"_s},
             {u"Go to xn--bnk-qla.example"_s, u"xn--bnk-qla.example"_s},
             {u"Go to \u0431\u0430\u043d\u043a.\u0440\u0444"_s, u"xn--80ab2al.xn--p1ai"_s},
             {u"Go to shop.co.uk"_s, u"shop.co.uk"_s},
             {u"Go to www.shop.co.ck"_s, u"www.shop.co.ck"_s},
             {u"https://main.rs now"_s, u"main.rs"_s},
             {u"www.main.rs now"_s, u"www.main.rs"_s},
             {u"main.rs/login now"_s, u"main.rs"_s},
             {u"https://shop.zip now"_s, u"shop.zip"_s},
             {u"Go to www.here.It"_s, u"www.here.it"_s},
             {u"Go to bank.pl"_s, u"bank.pl"_s},
         }) {
        const Warnings expected{Warning::mismatchedText(named.host, u"evil.example"_s)};
        const Warnings warnings = warningsFor(u"https://evil.example/"_s, named.text);
        EXPECT_TRUE(warnings == expected) << named.text.toStdString() << ": " << spoken(warnings);
    }
}

TEST(LinkWarnings, FindNothingWhereNoOtherOwnerIsNamed)
{
    for (const Named& honest : QList<Named>{
             {u"Go to evil.example"_s, u"www.evil.example"_s},
             {u"www.bank.example!"_s, u"login.bank.example"_s},
             {u"me@bank.example now"_s, u"bank.example"_s},
             {u"Go to https://bank.example/a/shop.example"_s, u"bank.example"_s},
             {u"bank.example/?to=https://shop.example !"_s, u"bank.example"_s},
             {u"Go to b\u00e4nk.de!"_s, u"b\u00e4nk.de"_s},
             {u"Go to xn--bnk-qla.de"_s, u"b\u00e4nk.de"_s},
             {u"Go to b\u00c4nk\u3002de"_s, u"xn--bnk-qla.de"_s},
             {u"Read more"_s, u"x.example"_s},
             {u"Click here."_s, u"x.example"_s},
             {u"Open report.pdf"_s, u"x.example"_s},
             {u"Open README.md"_s, u"x.example"_s},
             {u"Run setup.sh"_s, u"x.example"_s},
             {u"Get archive.zip"_s, u"x.example"_s},
             {u"See main.rs"_s, u"x.example"_s},
             {u"See src/main.rs"_s, u"x.example"_s},
             {u"main.rs:42 fails"_s, u"x.example"_s},
             {u"See index.html"_s, u"x.example"_s},
             {u"See node.js docs"_s, u"x.example"_s},
             {u"See setup.py, main.cpp"_s, u"x.example"_s},
             {u"Version 1.2.3"_s, u"x.example"_s},
             {u"v1.2.zip is there"_s, u"x.example"_s},
             {u"From $1.299,00"_s, u"x.example"_s},
             {u"e.g. this, i.e. that"_s, u"x.example"_s},
             {u"Dr.Smith and the U.S."_s, u"x.example"_s},
             {u"Click here.It works"_s, u"x.example"_s},
             {u"We are done.So what"_s, u"x.example"_s},
             {u"Wait...what"_s, u"x.example"_s},
             {u"the suffix co.uk itself"_s, u"x.example"_s},
             {u"anna.email@bank.example !"_s, u"bank.example"_s},
             {u"at 10.0.0.1 now"_s, u"x.example"_s},
             {u"こんにちは。世界"_s, u"x.example"_s},
             {u"नमस्ते।भारत"_s, u"x.example"_s},
             {u"Visit our shop on the web."_s, u"x.example"_s},
             {u".example and . and -.-"_s, u"x.example"_s},
             {u"file.unknownending here"_s, u"x.example"_s},
             {u""_s, u"x.example"_s},
         }) {
        Warnings warnings = warningsFor(u"https://"_s + honest.host + u'/', honest.text);
        warnings.removeIf([](const Warning& warning) { return warning.kind == Warning::Kind::punycode; });
        EXPECT_TRUE(warnings.isEmpty()) << honest.text.toStdString() << ": " << spoken(warnings);
    }
}

TEST(LinkWarnings, TellTheSitesOfOneProviderApart)
{
    EXPECT_TRUE(warningsFor(u"https://evil.github.io/"_s, u"bank.github.io"_s) ==
                Warnings{Warning::mismatchedText(u"bank.github.io"_s, u"evil.github.io"_s)});
    EXPECT_TRUE(warningsFor(u"https://evil.github.io/"_s, u"github.io"_s) ==
                Warnings{Warning::mismatchedText(u"github.io"_s, u"evil.github.io"_s)});
    EXPECT_TRUE(warningsFor(u"https://evil.blogspot.com/"_s, u"Go to bank.blogspot.com"_s) ==
                Warnings{Warning::mismatchedText(u"bank.blogspot.com"_s, u"evil.blogspot.com"_s)});
    EXPECT_EQ(warningsFor(u"https://a.bank.github.io/"_s, u"www.bank.github.io"_s).size(), 0);
    EXPECT_EQ(warningsFor(u"https://github.io./"_s, u"github.io"_s).size(), 0);
}

TEST(LinkWarnings, TakeAnEmptyUserBeforeAPasswordForAUser)
{
    EXPECT_TRUE(warningsFor(u"https://:x@evil.example/"_s) ==
                Warnings{Warning::mismatchedText(u":x"_s, u"evil.example"_s)});
    EXPECT_TRUE(warningsFor(u"https://:bank%2Eexample%2F@evil.example/"_s, u"shop.example"_s) ==
                (Warnings{Warning::mismatchedText(u":bank.example/"_s, u"evil.example"_s),
                          Warning::mismatchedText(u"shop.example"_s, u"evil.example"_s)}));
    EXPECT_EQ(warningsFor(u"https://@evil.example/"_s).size(), 0);
    EXPECT_EQ(warningsFor(u"https://:@evil.example/"_s).size(), 0);
    EXPECT_TRUE(warningsFor(u"https://bank.example@evil.example/"_s, u"Go to shop.example"_s) ==
                (Warnings{Warning::mismatchedText(u"bank.example"_s, u"evil.example"_s),
                          Warning::mismatchedText(u"shop.example"_s, u"evil.example"_s)}));
}

TEST(LinkWarnings, ShowAUserOnOneLineThatCanBeSeen)
{
    const Warnings warnings =
        warningsFor(u"https://:"_s + u"b%E2%80%AE%0A%E3%85%A4"_s.repeated(10'000) + u"@evil.example/"_s);
    ASSERT_EQ(warnings.size(), 1);
    EXPECT_EQ(warnings[0].shown.size(), LinkWarnings::longestUser + 1);
    EXPECT_TRUE(warnings[0].shown.startsWith(u":b b b "));
    EXPECT_TRUE(warnings[0].shown.endsWith(u"…"));
}

TEST(LinkWarnings, ShowANumericHostAsTheAddressThatItIs)
{
    for (const auto& [written, address] :
         QList<std::pair<QString, QString>>{{u"10.0.0.1"_s, u"10.0.0.1"_s},
                                            {u"2130706433"_s, u"127.0.0.1"_s},
                                            {u"0x7f000001"_s, u"127.0.0.1"_s},
                                            {u"0X7F.1"_s, u"127.0.0.1"_s},
                                            {u"017700000001"_s, u"127.0.0.1"_s},
                                            {u"127.1"_s, u"127.0.0.1"_s},
                                            {u"192.168.257"_s, u"192.168.1.1"_s},
                                            {u"0300.0250.1.1"_s, u"192.168.1.1"_s},
                                            {u"0xc0.0250.0x1.1."_s, u"192.168.1.1"_s},
                                            {u"0"_s, u"0.0.0.0"_s},
                                            {u"0x.0x.0"_s, u"0.0.0.0"_s},
                                            {u"4294967295"_s, u"255.255.255.255"_s},
                                            {u"\uff11\uff10.0.0.1"_s, u"10.0.0.1"_s},
                                            {u"[::1]"_s, u"::1"_s},
                                            {u"[2001:DB8:0:0:0:0:0:1]"_s, u"2001:db8::1"_s},
                                            {u"[::ffff:10.0.0.1]"_s, u"10.0.0.1"_s},
                                            {u"[0:0:0:0:0:ffff:7f00:1]"_s, u"127.0.0.1"_s}})
        EXPECT_TRUE(warningsFor(u"https://"_s + written + u'/') == Warnings{Warning::ipAddress(address)})
            << written.toStdString() << ": " << spoken(warningsFor(u"https://"_s + written + u'/'));
    EXPECT_TRUE(warningsFor(u"https://2130706433/"_s, u"Go to bank.example"_s) ==
                (Warnings{Warning::ipAddress(u"127.0.0.1"_s),
                          Warning::mismatchedText(u"bank.example"_s, u"127.0.0.1"_s)}));
    // Numbers that are no address, which no browser opens, stay as they are.
    for (const QString& host : {u"256.1.1.1"_s, u"4294967296"_s, u"1.2.3.4.5"_s, u"1.2.65536"_s, u"08.1"_s,
                                u"example.c0m"_s, u"1..1"_s})
        EXPECT_FALSE(URLHost::addressOf(host)) << host.toStdString();
    EXPECT_TRUE(warningsFor(u"https://256.1.1.1/"_s) == Warnings{Warning::ipAddress(u"256.1.1.1"_s)});
    EXPECT_TRUE(warningsFor(u"https://example.c0m/"_s) == Warnings{Warning::ipAddress(u"example.c0m"_s)});
}

TEST(LinkWarnings, TakeNoDomainInAnotherScriptForAnAddress)
{
    for (const QString& host : {u"xn--80ab2al.xn--p1ai"_s, u"bank.xn--fiqs8s"_s, u"bank.xn--p1ai."_s})
        EXPECT_TRUE(warningsFor(u"https://"_s + host + u'/') == Warnings{Warning::punycode(host)})
            << spoken(warningsFor(u"https://"_s + host + u'/'));
}

TEST(LinkWarnings, KeepThoseOfTheCleaner)
{
    EXPECT_TRUE(warningsFor(u"http://u@xn--pple-43d.c0m/"_s, u"bank.example"_s) ==
                (Warnings{Warning::insecure(), Warning::punycode(u"xn--pple-43d.c0m"_s),
                          Warning::ipAddress(u"xn--pple-43d.c0m"_s),
                          Warning::mismatchedText(u"u"_s, u"xn--pple-43d.c0m"_s),
                          Warning::mismatchedText(u"bank.example"_s, u"xn--pple-43d.c0m"_s)}));
    EXPECT_TRUE(warningsFor(u"https://x.example/"_s, u"report.pdf"_s) ==
                Warnings{Warning::mismatchedText(u"report.pdf"_s, u"x.example"_s)});
    EXPECT_EQ(warningsFor(u"mailto:a@evil.example"_s, u"Go to bank.example"_s).size(), 0);
    EXPECT_EQ(warningsFor(u"ftp://:x@evil.example/"_s).size(), 0);
}

TEST(LinkWarnings, ReadATextAsThePageShowsIt)
{
    const Warnings bank{Warning::mismatchedText(u"bank.example"_s, u"evil.example"_s)};
    for (const QString& inner :
         {u"bank<b>.example</b>"_s, u"bank<i style=\"display:none\"> </i>.example"_s,
          u"Go to bank<wbr>.example"_s, u"<div>Read more</div><div>bank.example</div>"_s,
          u"Read more<br>bank.example"_s,
          u"<div style=\"display:inline\">bank</div><div style=\"display:inline\">.example</div>"_s,
          u"Read more<span style=\"display:block\">bank.example</span>"_s,
          u"evil.example <span style=\"opacity:var(--x)\">bank.example</span>"_s, u"bank&period;example !"_s})
        EXPECT_TRUE(warningsIn(u"<a href=https://evil.example/>"_s + inner + u"</a>"_s) == bank)
            << inner.toStdString() << ": "
            << spoken(warningsIn(u"<a href=https://evil.example/>"_s + inner + u"</a>"_s));
    for (const QString& inner : {u"<p>Read more</p><p>evil.example</p>"_s, u"Read more<br>evil.example"_s,
                                 u"<b>evil</b>.example"_s, u"Read more <img alt=x src=cid:x>evil.example"_s})
        EXPECT_TRUE(warningsIn(u"<a href=https://evil.example/>"_s + inner + u"</a>"_s).isEmpty())
            << inner.toStdString();
    EXPECT_TRUE(
        warningsIn(
            u"<style>.h{display:none}</style><a href=https://evil.example/>bank<i class=h> </i>.example</a>"_s)
            .contains(bank[0]));
}

TEST(LinkWarnings, ReadMegabytesOfText)
{
    for (const QString& text :
         {u"a.b "_s.repeated(300'000), u"a."_s.repeated(500'000), u"."_s.repeated(1'000'000),
          u"a+"_s.repeated(500'000), u"\u0e01."_s.repeated(500'000), u"/"_s.repeated(1'000'000),
          u"-.a"_s.repeated(300'000)})
        EXPECT_EQ(warningsFor(u"https://evil.example/"_s, text).size(), 0);
    EXPECT_EQ(warningsFor(u"https://evil.example/"_s, u"x "_s.repeated(500'000) + u"bank.example"_s).size(),
              1);
}

TEST(LinkTitle, GoesWithinALink)
{
    EXPECT_EQ(sanitized(u"<b title=o><a href=https://x/ title=t><b title=u>y</b></a></b><i title=v>z</i>"_s,
                        withIndirectLinks()),
              u"<b title=\"o\"><a href=\"larkhaven-link:0\" title=\"https://x/\"><b>y</b></a></b><i "
              u"title=\"v\">z</i>");
    EXPECT_EQ(sanitized(u"<a href=https://x/><img title=t alt=a src=https://y.example/z.png></a>"_s),
              u"<a href=\"https://x/\"><img alt=\"a\" data-lh-blocked=\"\"></a>");
    EXPECT_EQ(sanitized(u"<a title=t>y</a>"_s), u"<a title=\"t\">y</a>");
}

TEST(PublicSuffixes, KnowWhereOneOwnersNamesEnd)
{
    ASSERT_TRUE(PublicSuffixes::areKnown());
    for (const auto& [host, domain] : QList<std::pair<QString, QString>>{
             {u"www.Shop.co.UK"_s, u"shop.co.uk"_s},
             {u"a.b.com."_s, u"b.com"_s},
             {u"github.io"_s, u"github.io"_s},
             {u"a.b.github.io"_s, u"b.github.io"_s},
             {u"co.uk"_s, u"co.uk"_s},
             {u"a.b.example"_s, u"b.example"_s},
             {u"10.0.0.1"_s, u"10.0.0.1"_s},
             {u"localhost"_s, u"localhost"_s},
             {u""_s, u""_s},
             {u"www.xn--85x722f.xn--55qx5d.cn"_s, u"xn--85x722f.xn--55qx5d.cn"_s}})
        EXPECT_EQ(PublicSuffixes::registrableDomain(host), domain);
    for (const QString& host :
         {u"a.com"_s, u"A.CO.UK."_s, u"github.io"_s, u"a.co.ck"_s, u"a.example"_s, u"a.xn--p1ai"_s})
        EXPECT_TRUE(PublicSuffixes::isBelowSuffix(host)) << host.toStdString();
    for (const QString& host :
         {u"com"_s, u"co.uk"_s, u"a.pdf"_s, u"1.2"_s, u""_s, u"."_s, u"example"_s, u".com"_s})
        EXPECT_FALSE(PublicSuffixes::isBelowSuffix(host)) << host.toStdString();
}

} // namespace
} // namespace Larkhaven

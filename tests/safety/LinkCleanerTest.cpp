#include "safety/LinkCleaner.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven::LinkCleaner {

void PrintTo(const Warning& warning, std::ostream* stream)
{
    *stream << warning.message().toStdString();
}

} // namespace Larkhaven::LinkCleaner

namespace Larkhaven {
namespace {

using LinkCleaner::Warning;
using Warnings = QList<Warning>;

MailURL urlOf(const QString& text)
{
    const std::optional<MailURL> url = MailURL::parse(text);
    EXPECT_TRUE(url) << text.toStdString();
    return url.value_or(*MailURL::parse(u"invalid:"));
}

QString cleaned(const QString& text)
{
    return LinkCleaner::clean(urlOf(text)).absoluteString();
}

Warnings warningsFor(const QString& url, const QString& text = {})
{
    return LinkCleaner::warnings({urlOf(url), text});
}

TEST(LinkCleaner, RemovesTrackingParametersAndKeepsTheOthers)
{
    EXPECT_EQ(cleaned(u"https://x/?utm_source=a&id=1"_s), u"https://x/?id=1");
    EXPECT_EQ(cleaned(u"https://x/?a=1&fbclid=2&b=%41+c&utm_x"_s), u"https://x/?a=1&b=%41+c");
}

TEST(LinkCleaner, RemovesTheQuestionMarkWithTheLastParameter)
{
    EXPECT_EQ(cleaned(u"https://x/?UTM_SOURCE=a"_s), u"https://x/");
    EXPECT_EQ(cleaned(u"https://x?utm_source=a"_s), u"https://x");
    EXPECT_EQ(cleaned(u"https://x/?utm_source=a#f"_s), u"https://x/#f");
}

TEST(LinkCleaner, ReturnsAnUntouchedLinkIdentically)
{
    for (const QString& url :
         {u"https://x/?a=1&b=2"_s, u"https://x/?a=%41%2f%C3%A9&&=&b"_s, u"HTTPS://X.Example:0443/%7e?"_s,
          u"https://x/?"_s, u"https://x/"_s, u"mailto:a@x?subject=b%20c"_s})
        EXPECT_EQ(cleaned(url), url);
}

TEST(LinkCleaner, RemovesTheOtherPrefixesOnlyAtTheStartOfAName)
{
    EXPECT_EQ(cleaned(u"https://x/?pk_campaign=a"_s), u"https://x/");
    EXPECT_EQ(cleaned(u"https://x/?mtm_source=a"_s), u"https://x/");
    EXPECT_EQ(cleaned(u"https://x/?spk_x=1"_s), u"https://x/?spk_x=1");
}

TEST(LinkCleaner, LeavesPathsAndFragmentsAlone)
{
    EXPECT_EQ(cleaned(u"https://x/#utm_source=a"_s), u"https://x/#utm_source=a");
    EXPECT_EQ(cleaned(u"https://x/utm_source=a?b#?utm_source=c"_s),
              u"https://x/utm_source=a?b#?utm_source=c");
}

TEST(LinkCleaner, DecodesANameForTheTestOnly)
{
    EXPECT_EQ(cleaned(u"https://x/?%75tm_source=a&%62=%63"_s), u"https://x/?%62=%63");
    EXPECT_EQ(cleaned(u"https://x/?gc%6Cid=a"_s), u"https://x/");
    EXPECT_EQ(cleaned(u"https://x/?utm_%FF=a&b=%FF"_s), u"https://x/?b=%FF");
}

TEST(LinkCleaner, KnowsFortyParametersAsWholeNames)
{
    const QStringList names{u"fbclid"_s,
                            u"gclid"_s,
                            u"gclsrc"_s,
                            u"dclid"_s,
                            u"gbraid"_s,
                            u"wbraid"_s,
                            u"msclkid"_s,
                            u"mc_eid"_s,
                            u"mc_cid"_s,
                            u"_hsenc"_s,
                            u"_hsmi"_s,
                            u"__hssc"_s,
                            u"__hstc"_s,
                            u"__hsfp"_s,
                            u"hsCtaTracking"_s,
                            u"mkt_tok"_s,
                            u"yclid"_s,
                            u"igshid"_s,
                            u"vero_id"_s,
                            u"vero_conv"_s,
                            u"oly_enc_id"_s,
                            u"oly_anon_id"_s,
                            u"rb_clickid"_s,
                            u"s_cid"_s,
                            u"ml_subscriber"_s,
                            u"ml_subscriber_hash"_s,
                            u"ck_subscriber_id"_s,
                            u"trk"_s,
                            u"trkCampaign"_s,
                            u"sc_campaign"_s,
                            u"sc_channel"_s,
                            u"sc_content"_s,
                            u"sc_medium"_s,
                            u"sc_outcome"_s,
                            u"sc_geo"_s,
                            u"sc_country"_s,
                            u"__s"_s,
                            u"ref_src"_s,
                            u"spm"_s,
                            u"si"_s};
    EXPECT_EQ(names.size(), 40);
    for (const QString& name : names) {
        EXPECT_EQ(cleaned(u"https://x/?"_s + name), u"https://x/");
        EXPECT_EQ(cleaned(u"https://x/?"_s + name + u"0=1"_s), QString(u"https://x/?"_s + name + u"0=1"_s));
    }
}

TEST(LinkCleaner, KeepsAnEmptyItemThatStoodBesideARemovedOne)
{
    EXPECT_EQ(cleaned(u"https://x/?utm_source=a&"_s), u"https://x/?");
    EXPECT_EQ(cleaned(u"https://x/?&utm_source=a&&b"_s), u"https://x/?&&b");
}

TEST(LinkCleaner, ReadsMegabytesOfParameters)
{
    EXPECT_EQ(cleaned(u"https://x/?"_s + u"si=1&"_s.repeated(1'000'000) + u"a"_s), u"https://x/?a");
}

TEST(LinkWarnings, FindOnlyPlainHTTPWhereTheTextNamesTheHost)
{
    EXPECT_EQ(warningsFor(u"http://a.example/"_s, u"a.example"_s), Warnings{Warning::insecure()});
}

TEST(LinkWarnings, FindNothingWhereTheRegistrableDomainsAreEqual)
{
    EXPECT_EQ(warningsFor(u"https://www.bank.example/"_s, u"bank.example"_s), Warnings());
    EXPECT_EQ(warningsFor(u"https://www.bank.example/"_s, u" https://LOGIN.Bank.example/login \n"_s),
              Warnings());
}

TEST(LinkWarnings, FindATextThatNamesAnotherHost)
{
    EXPECT_EQ(warningsFor(u"https://evil.example/"_s, u"bank.example"_s),
              Warnings{Warning::mismatchedText(u"bank.example"_s, u"evil.example"_s)});
    EXPECT_EQ(warningsFor(u"https://evil.example/"_s, u"http://www.Bank.example:80/x"_s),
              Warnings{Warning::mismatchedText(u"www.bank.example"_s, u"evil.example"_s)});
}

TEST(LinkWarnings, FindInternationalCharacters)
{
    EXPECT_EQ(warningsFor(u"https://xn--pple-43d.example/"_s),
              Warnings{Warning::punycode(u"xn--pple-43d.example"_s)});
    EXPECT_EQ(warningsFor(u"https://\u0430pple.example/"_s),
              Warnings{Warning::punycode(u"xn--pple-43d.example"_s)});
    EXPECT_EQ(warningsFor(u"https://XN--pple-43d.example/"_s),
              Warnings{Warning::punycode(u"xn--pple-43d.example"_s)});
    EXPECT_EQ(warningsFor(u"https://a.%78n--pple-43d.example/"_s),
              Warnings{Warning::punycode(u"a.xn--pple-43d.example"_s)});
}

TEST(LinkWarnings, FindPlainHTTPAndThenABareAddress)
{
    EXPECT_EQ(warningsFor(u"http://10.0.0.1/"_s),
              (Warnings{Warning::insecure(), Warning::ipAddress(u"10.0.0.1"_s)}));
}

TEST(LinkWarnings, FindAnIPv6AddressByItsColon)
{
    EXPECT_EQ(warningsFor(u"https://[::1]/"_s), Warnings{Warning::ipAddress(u"::1"_s)});
}

TEST(LinkWarnings, TakeALastLabelWithAnythingButLettersForAnAddress)
{
    EXPECT_EQ(warningsFor(u"https://example.c0m/"_s), Warnings{Warning::ipAddress(u"example.c0m"_s)});
    EXPECT_EQ(warningsFor(u"https://2130706433/"_s), Warnings{Warning::ipAddress(u"2130706433"_s)});
    EXPECT_EQ(warningsFor(u"https://0x7f.1./"_s), Warnings{Warning::ipAddress(u"0x7f.1."_s)});
    EXPECT_EQ(warningsFor(u"https://\uff11\uff10.0.0.1/"_s), Warnings{Warning::ipAddress(u"10.0.0.1"_s)});
    EXPECT_EQ(warningsFor(u"https://localhost/"_s), Warnings());
}

TEST(LinkWarnings, FindNothingInAMailLink)
{
    EXPECT_EQ(warningsFor(u"mailto:a@evil.example"_s, u"bank.example"_s), Warnings());
    EXPECT_EQ(warningsFor(u"ftp://10.0.0.1/"_s), Warnings());
}

TEST(LinkWarnings, FindCredentialsBeforeAHost)
{
    EXPECT_EQ(warningsFor(u"https://bank.example@evil.example/"_s),
              Warnings{Warning::mismatchedText(u"bank.example"_s, u"evil.example"_s)});
    EXPECT_EQ(warningsFor(u"https://bank.example%2flogin:x@evil.example/"_s),
              Warnings{Warning::mismatchedText(u"bank.example/login"_s, u"evil.example"_s)});
    EXPECT_EQ(warningsFor(u"https://:secret@evil.example/"_s), Warnings());
}

TEST(LinkWarnings, LeaveAUserEncodedThatWouldBreakOrTurnTheWarning)
{
    EXPECT_EQ(warningsFor(u"https://a%0Ab@evil.example/"_s),
              Warnings{Warning::mismatchedText(u"a%0Ab"_s, u"evil.example"_s)});
    EXPECT_EQ(warningsFor(u"https://a%E2%80%AEb@evil.example/"_s),
              Warnings{Warning::mismatchedText(u"a%E2%80%AEb"_s, u"evil.example"_s)});
    EXPECT_EQ(warningsFor(u"https://a%FFb@evil.example/"_s),
              Warnings{Warning::mismatchedText(u"a%FFb"_s, u"evil.example"_s)});
}

TEST(LinkWarnings, ComeTheLeastAlarmingFirst)
{
    EXPECT_EQ(warningsFor(u"http://u@xn--pple-43d.c0m/"_s, u"bank.example"_s),
              (Warnings{Warning::insecure(), Warning::punycode(u"xn--pple-43d.c0m"_s),
                        Warning::ipAddress(u"xn--pple-43d.c0m"_s),
                        Warning::mismatchedText(u"u"_s, u"xn--pple-43d.c0m"_s),
                        Warning::mismatchedText(u"bank.example"_s, u"xn--pple-43d.c0m"_s)}));
}

TEST(LinkWarnings, ReadNoHostFromATextThatIsNoAddress)
{
    for (const QString& text :
         {u"Click here"_s, u"v1.2"_s, u""_s, u"bank"_s, u"bank.example now"_s, u"bank.e"_s, u".example"_s,
          u"://bank.example"_s, u"https://"_s, u"a\u2003.b"_s, u"bank.ex\tample"_s, u"x@y@bank.example"_s})
        EXPECT_EQ(warningsFor(u"https://evil.example/"_s, text), Warnings()) << text.toStdString();
}

TEST(LinkWarnings, ReadTheHostOfATextInItsEncodedForm)
{
    EXPECT_EQ(warningsFor(u"https://evil.example/"_s, u"https://b\u00e4nk.example/"_s),
              Warnings{Warning::mismatchedText(u"xn--bnk-qla.example"_s, u"evil.example"_s)});
    EXPECT_EQ(warningsFor(u"https://xn--bnk-qla.example/"_s, u"b\u00c4nk.example"_s),
              Warnings{Warning::punycode(u"xn--bnk-qla.example"_s)});
}

TEST(LinkWarnings, CompareThreeLabelsBelowATwoPartSuffix)
{
    EXPECT_EQ(warningsFor(u"https://www.shop.co.uk/"_s, u"mail.shop.co.uk"_s), Warnings());
    EXPECT_EQ(warningsFor(u"https://evil.co.uk/"_s, u"www.shop.co.uk"_s),
              Warnings{Warning::mismatchedText(u"www.shop.co.uk"_s, u"evil.co.uk"_s)});
    EXPECT_EQ(warningsFor(u"https://a.shop.com/"_s, u"b.shop.com"_s), Warnings());
    EXPECT_EQ(warningsFor(u"https://a.com.net/"_s, u"b.com.net"_s), Warnings());
    for (const QString& label : {u"co"_s, u"com"_s, u"net"_s, u"org"_s, u"gov"_s, u"ac"_s, u"edu"_s, u"ne"_s,
                                 u"or"_s, u"go"_s, u"gob"_s, u"nic"_s})
        EXPECT_EQ(warningsFor(u"https://a."_s + label + u".jp/"_s, u"b."_s + label + u".jp"_s).size(), 1);
    EXPECT_EQ(warningsFor(u"https://a.blog.jp/"_s, u"b.blog.jp"_s), Warnings());
}

TEST(LinkWarnings, SpeakWithCurlyQuotesAndRoundBrackets)
{
    EXPECT_EQ(Warning::mismatchedText(u"%2"_s, u"b"_s).message(),
              u"The link text shows “%2” but it actually goes to “b”.");
    EXPECT_EQ(Warning::punycode(u"h"_s).message(),
              u"The address “h” uses international characters that can imitate another site.");
    EXPECT_EQ(Warning::ipAddress(u"1.2.3.4"_s).message(),
              u"The link points to a raw IP address (1.2.3.4) instead of a named site.");
    EXPECT_EQ(Warning::insecure().message(), u"The link is not encrypted (http).");
}

TEST(LinkWarnings, CompareByCaseAndPayload)
{
    EXPECT_EQ(Warning::punycode(u"a"_s), Warning::punycode(u"a"_s));
    EXPECT_NE(Warning::punycode(u"a"_s), Warning::punycode(u"b"_s));
    EXPECT_NE(Warning::punycode(u"a"_s), Warning::ipAddress(u"a"_s));
    EXPECT_NE(Warning::mismatchedText(u"a"_s, u"b"_s), Warning::mismatchedText(u"a"_s, u"c"_s));
}

} // namespace
} // namespace Larkhaven

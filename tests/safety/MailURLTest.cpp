#include "safety/MailURL.h"

#include "safety/URLParts.h"
#include "safety/UTF8.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

QString absolute(const QString& text)
{
    const std::optional<MailURL> url = MailURL::parse(text);
    return url ? url->absoluteString() : u"no URL"_s;
}

TEST(MailURL, KeepsAURLByteForByte)
{
    for (const QString& text :
         {u"https://x"_s, u"HTTPS://User:pw@Example.COM:0080/%41%2f/../a;b?q=%41&&#f%41"_s, u"https://x:/"_s,
          u"https://x?"_s, u"https://x/#"_s, u"https://x/?a[]=1&b=!$'()*+,;:@/?"_s,
          u"https://[2001:DB8::1]:443/"_s, u"mailto:a@x?subject=b%20c"_s, u"mailto:"_s,
          u"https://_dmarc.x-.example/"_s, u"https://r3---sn-x.example."_s, u"https://127.0.0.1/"_s,
          u"https://x:65535/"_s, u"https://xn--a/"_s, u"https://user%40a@x/"_s, u"custom.a+b-c:x"_s})
        EXPECT_EQ(absolute(text), text);
}

TEST(MailURL, EncodesWhatMayNotStandInAURL)
{
    EXPECT_EQ(absolute(u"https://x/a b\"<>\\^`{|}\u00e9"_s),
              u"https://x/a%20b%22%3C%3E%5C%5E%60%7B%7C%7D%C3%A9");
    EXPECT_EQ(absolute(u"https://x/?\u00e9#a#b\n"_s), u"https://x/?%C3%A9#a%23b%0A");
    EXPECT_EQ(absolute(u"https://x/%%4%4g%zz%41"_s), u"https://x/%25%254%254g%25zz%41");
    EXPECT_EQ(absolute(u"https://\u00fcser@x/"_s), u"https://%C3%BCser@x/");
    EXPECT_EQ(absolute(u"https://x/"_s + QChar(0xd800) + u"y"_s), u"https://x/%EF%BF%BDy");
    EXPECT_EQ(absolute(u"mailto:a b@x"_s), u"mailto:a%20b@x");
}

TEST(MailURL, TurnsHostsToASCII)
{
    EXPECT_EQ(absolute(u"https://\u0430pple.example/"_s), u"https://xn--pple-43d.example/");
    EXPECT_EQ(absolute(u"https://fa\u00df.de"_s), u"https://xn--fa-hia.de");
    EXPECT_EQ(absolute(u"https://bank\u3002example\uff0ecom/"_s), u"https://bank.example.com/");
    EXPECT_EQ(absolute(u"https://\u24d4vil.example/"_s), u"https://evil.example/");
    EXPECT_EQ(absolute(u"https://%65vil.%C3%BC.example/"_s), u"https://evil.xn--tda.example/");
}

TEST(MailURL, RefusesHostsThatBrowsersWouldReadOtherwise)
{
    for (const QString& text : {u"https://good.example\\@evil.example/"_s,
                                u"https://good.example\\.evil.example/"_s,
                                u"https:\\\\evil.example"_s,
                                u"https:/\\evil.example"_s,
                                u"https://good.example%2fevil.example/"_s,
                                u"https://good.example%5cevil.example/"_s,
                                u"https://good.example%00.evil.example/"_s,
                                u"https://good.example%23@evil.example@x/"_s,
                                u"https://a%40b/"_s,
                                u"https://a%2541/"_s,
                                u"https://a%/"_s,
                                u"https://a%FF/"_s,
                                u"https://good.example\tevil/"_s,
                                u"https://a b/"_s,
                                u"https://a\u2100b/"_s,
                                u"https://a\uff20b/"_s,
                                u"https://a\uff0fb/"_s,
                                u"https://a\uff03b/"_s,
                                u"https://a\uff1ab/"_s,
                                u"https://a\u00a0b/"_s,
                                u"https://a<b/"_s,
                                u"https://a\"b/"_s,
                                u"https://a|b/"_s,
                                u"https://a^b/"_s,
                                u"https://a`b/"_s,
                                u"https://{a}/"_s,
                                u"https://a\ufffd/"_s,
                                u"https://u\\s@x/"_s,
                                u"https://u s@x/"_s,
                                u"https://u%@x/"_s,
                                u"https://u\u3000s@x/"_s,
                                u"https://[a]@x/"_s})
        EXPECT_EQ(absolute(text), u"no URL") << text.toStdString();
}

TEST(MailURL, RefusesForeignHostsThatMixDirections)
{
    EXPECT_EQ(absolute(u"https://\u05d0b.example/"_s), u"no URL");
    EXPECT_EQ(absolute(u"https://b\u05d0.example/"_s), u"no URL");
    EXPECT_EQ(absolute(u"https://\u05d0.example/"_s), u"https://xn--4db.example/");
}

TEST(MailURL, WantsAHostForTheWeb)
{
    for (const QString& text :
         {u"http:"_s, u"https:x"_s, u"http:/x"_s, u"http:///x"_s, u"https://"_s, u"https://?x"_s,
          u"https://#x"_s, u"https://:80/"_s, u"https://u@/"_s, u"HTTP:///x"_s, u"https://\u00ad/"_s})
        EXPECT_EQ(absolute(text), u"no URL") << text.toStdString();
    EXPECT_EQ(absolute(u"file:///x"_s), u"file:///x");
}

TEST(MailURL, TakesAtMostOneAtSign)
{
    EXPECT_EQ(absolute(u"https://a@b@c/"_s), u"no URL");
    EXPECT_EQ(absolute(u"https://a@@c/"_s), u"no URL");
    EXPECT_EQ(absolute(u"https://c/a@b@c"_s), u"https://c/a@b@c");
}

TEST(MailURL, TakesPortsUpToTheLastOne)
{
    for (const QString& text :
         {u"https://x:65536/"_s, u"https://x:99999999999999999999/"_s, u"https://x:a/"_s, u"https://x:-1/"_s,
          u"https://x:80:80/"_s, u"https://x:\u0661/"_s, u"https://[::1]80/"_s})
        EXPECT_EQ(absolute(text), u"no URL") << text.toStdString();
    EXPECT_EQ(MailURL::parse(u"https://x:65535/")->port(), 65535);
    EXPECT_EQ(MailURL::parse(u"https://x:/")->port(), std::nullopt);
}

TEST(MailURL, ReadsIPv6Addresses)
{
    for (const QString& address : {u"::"_s, u"::1"_s, u"1::"_s, u"1:2:3:4:5:6:7:8"_s, u"1:2:3:4:5:6:7::"_s,
                                   u"::ffff:10.0.0.1"_s, u"1:2:3:4:5:6:1.2.3.4"_s, u"abcd:EF::0001"_s})
        EXPECT_EQ(absolute(u"https://["_s + address + u"]/"_s), QString(u"https://["_s + address + u"]/"_s));
    for (const QString& address :
         {u""_s, u":"_s, u"1"_s, u"1:2"_s, u":::"_s, u"1::2::3"_s, u"1:2:3:4:5:6:7:8:9"_s,
          u"1:2:3:4:5:6:7:8::"_s, u"12345::"_s, u"g::"_s, u"::1.2.3"_s, u"::1.2.3.256"_s, u"1.2.3.4::"_s,
          u"::1%25eth0"_s, u"v1.a"_s, u"fe80::1%eth0"_s, u"::1.2.3.4:5"_s})
        EXPECT_EQ(absolute(u"https://["_s + address + u"]/"_s), u"no URL") << address.toStdString();
    EXPECT_EQ(absolute(u"https://[::1/"_s), u"no URL");
    EXPECT_EQ(absolute(u"https://::1/"_s), u"no URL");
}

TEST(MailURL, WantsASchemeThatBeginsWithALetter)
{
    for (const QString& text :
         {u""_s, u":"_s, u"x"_s, u"1a:b"_s, u"a b:c"_s, u"/a:b"_s, u"\uff48ttps://x/"_s, u" https://x/"_s})
        EXPECT_EQ(absolute(text), u"no URL") << text.toStdString();
}

TEST(SchemeOf, IsWhatStandsBeforeTheFirstColonInSmallLetters)
{
    EXPECT_EQ(schemeOf(u"HTTPS://x"), u"https"_s);
    EXPECT_EQ(schemeOf(u"a+b-c.1:x:y"), u"a+b-c.1"_s);
    for (const QStringView text : {u"", u":", u"x", u"java script:x", u"a/b:c", u"a?b:c", u"\\:x"})
        EXPECT_EQ(schemeOf(text), std::nullopt) << text.toString().toStdString();
}

TEST(PercentDecoded, IsNothingWhereAnyOfItIsBroken)
{
    EXPECT_EQ(UTF8::percentDecoded(u"a%41%c3%BC"), u"aAü"_s);
    for (const QStringView text : {u"%", u"%4", u"a%4g", u"%g4", u"%c3", u"%ff"})
        EXPECT_EQ(UTF8::percentDecoded(text), std::nullopt) << text.toString().toStdString();
}

TEST(MailURL, TellsItsParts)
{
    const MailURL url = *MailURL::parse(u"HtTpS://a%20b:c@[::1]:8080/p%2f?q#f");
    EXPECT_EQ(url.scheme(), u"https");
    EXPECT_EQ(url.user(), u"a%20b");
    EXPECT_EQ(url.host(), u"::1");
    EXPECT_EQ(url.port(), 8080);
    EXPECT_EQ(url.path(), u"/p%2f");
    EXPECT_EQ(url.query(), u"q");
    EXPECT_EQ(url.fragment(), u"f");
    const MailURL mail = *MailURL::parse(u"mailto:a@x");
    EXPECT_EQ(mail.user(), QString());
    EXPECT_EQ(mail.host(), QString());
    EXPECT_EQ(mail.path(), u"a@x");
    EXPECT_EQ(mail.query(), std::nullopt);
}

TEST(MailURL, ReplacesItsQuery)
{
    const MailURL url = *MailURL::parse(u"https://x/?a#f");
    EXPECT_EQ(url.withQuery(u"b"_s).absoluteString(), u"https://x/?b#f");
    EXPECT_EQ(url.withQuery(u""_s).absoluteString(), u"https://x/?#f");
    EXPECT_EQ(url.withQuery(std::nullopt).absoluteString(), u"https://x/#f");
}

TEST(MailURL, IsTheSameWhenItIsReadAgain)
{
    const QStringList parts{u"https://"_s,  u"mailto:"_s, u"user"_s, u":"_s,         u"@"_s,
                            u"x.example"_s, u"[::1]"_s,   u":80"_s,  u"/"_s,         u"?"_s,
                            u"#"_s,         u"a=b"_s,     u"%41"_s,  u"%"_s,         u"ü"_s,
                            u"\""_s,        u" "_s,       u"&"_s,    u"ÄÖ.example"_s};
    std::mt19937 random(5);
    int read = 0;
    for (int round = 0; round < 50'000; ++round) {
        QString text = random() % 2 ? u"https://x.example"_s : QString();
        for (auto count = random() % 8; count > 0; --count)
            text += parts[static_cast<qsizetype>(random() % static_cast<unsigned long>(parts.size()))];
        const std::optional<MailURL> url = MailURL::parse(text);
        if (!url)
            continue;
        ++read;
        // Whatever must change in a URL has changed in the first reading, so that the second keeps the text.
        const std::optional<MailURL> again = MailURL::parse(url->absoluteString());
        ASSERT_TRUE(again) << text.toStdString();
        ASSERT_EQ(again->absoluteString(), url->absoluteString()) << text.toStdString();
        ASSERT_EQ(again->scheme(), url->scheme());
        ASSERT_EQ(again->userInfo(), url->userInfo());
        ASSERT_EQ(again->host(), url->host());
        ASSERT_EQ(again->port(), url->port());
        ASSERT_EQ(again->path(), url->path());
        ASSERT_EQ(again->query(), url->query());
        ASSERT_EQ(again->fragment(), url->fragment());
        ASSERT_EQ(url->withQuery(url->query()), *url);
    }
    EXPECT_GT(read, 10'000) << "hardly a text is a URL";
}

TEST(MailURL, GoesToTheDesktopAsTheSameURL)
{
    for (const QString& text :
         {u"https://xn--pple-43d.example/%2f?a[]=1&b=%22#c"_s, u"https://u%40:p@x.example:8080/"_s,
          u"mailto:a@x.example?subject=y%20z"_s, u"https://[::1]/"_s, u"https://10.0.0.1/a%5Cb"_s})
        EXPECT_EQ(QString::fromLatin1(MailURL::parse(text)->toQUrl().toEncoded()).toLower(), text.toLower());
}

TEST(MailURL, TakesHostsUpToTheLengthOfADomainName)
{
    const QString label = QString(63, u'a') + u'.';
    const QString longest = label.repeated(3) + QString(61, u'a');
    EXPECT_EQ(longest.size(), 253);
    EXPECT_EQ(absolute(u"https://"_s + longest + u"/"_s), QString(u"https://"_s + longest + u"/"_s));
    EXPECT_EQ(absolute(u"https://"_s + longest + u"./"_s), QString(u"https://"_s + longest + u"./"_s));
    EXPECT_EQ(absolute(u"https://"_s + longest + u"a/"_s), u"no URL");
    EXPECT_EQ(absolute(u"https://"_s + QString(64, u'\u00fc') + u"/"_s), u"no URL");
}

TEST(MailURL, TakesLabelsUpToTheirLength)
{
    const QString longest = u"https://"_s + QString(63, u'a') + u".example/"_s;
    EXPECT_EQ(absolute(longest), longest);
    EXPECT_EQ(absolute(u"https://"_s + QString(64, u'a') + u".example/"_s), u"no URL");
}

TEST(MailURL, RefusesHostsThatNobodyCanLookUp)
{
    for (const QString& host : {u"a!b.example"_s, u"a$b"_s, u"a&b"_s, u"a'b"_s, u"(a)"_s, u"a*b"_s, u"a+b"_s,
                                u"a,b"_s, u"a;b"_s, u"a=b"_s, u"a~b"_s, u"a%21b.example"_s, u"a..b"_s,
                                u".a"_s, u"a.."_s, u"."_s, u"..example"_s, u"\u00fc..b"_s, u".\u00fc"_s})
        EXPECT_EQ(absolute(u"https://"_s + host + u"/"_s), u"no URL") << host.toStdString();
    EXPECT_EQ(absolute(u"https://\u00fc.example./"_s), u"https://xn--tda.example./");
}

TEST(MailURL, ReadsMegabytesOfHost)
{
    EXPECT_EQ(absolute(u"https://"_s + QString(10'000'000, u'\u00fc')), u"no URL");
    EXPECT_EQ(absolute(u"https://"_s + QString(10'000'000, u'@')), u"no URL");
    EXPECT_EQ(absolute(u"https://["_s + QString(10'000'000, u':')), u"no URL");
    EXPECT_EQ(absolute(u"https://x:"_s + QString(10'000'000, u'0')),
              QString(u"https://x:"_s + QString(10'000'000, u'0')));
}

} // namespace
} // namespace Larkhaven

#include "format/MailtoURL.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

MailtoURL read(const QString& url)
{
    const std::optional<MailtoURL> parsed = MailtoURL::parse(url);
    EXPECT_TRUE(parsed) << url.toStdString();
    return parsed.value_or(MailtoURL());
}

TEST(MailtoURL, ReadsTheExamplesOfItsStandard)
{
    EXPECT_EQ(read(u"mailto:chris@example.com"_s), (MailtoURL{u"chris@example.com"_s, {}, {}, {}, {}}));
    EXPECT_EQ(read(u"mailto:infobot@example.com?subject=current-issue"_s).subject, u"current-issue"_s);
    EXPECT_EQ(read(u"mailto:infobot@example.com?body=send%20current-issue%0D%0Asend%20index"_s).body,
              u"send current-issue\nsend index"_s);
    EXPECT_EQ(read(u"mailto:list@example.org?In-Reply-To=%3C3469A91.D10AF4C@example.com%3E"_s),
              (MailtoURL{u"list@example.org"_s, {}, {}, {}, {}}));
    EXPECT_EQ(read(u"mailto:joe@example.com?cc=bob@example.com&body=hello"_s),
              (MailtoURL{u"joe@example.com"_s, u"bob@example.com"_s, {}, {}, u"hello"_s}));
    EXPECT_EQ(read(u"mailto:?to=joe@xyz.com&amp;cc=bob@xyz.com&body=hello"_s),
              (MailtoURL{u"joe@xyz.com"_s, {}, {}, {}, u"hello"_s}));
    EXPECT_EQ(read(u"mailto:gorby%25kremvax@example.com"_s).to, u"gorby%kremvax@example.com"_s);
    EXPECT_EQ(read(u"mailto:unlikely%3Faddress@example.com?blat=foop"_s).to,
              u"unlikely?address@example.com"_s);
    EXPECT_EQ(read(u"mailto:%22not%40me%22@example.org"_s).to, u"\"not@me\"@example.org"_s);
    EXPECT_EQ(read(u"mailto:user@example.org?subject=caf%C3%A9"_s).subject, u"café"_s);
}

TEST(MailtoURL, JoinsAddressesAndTakesTheFirstOfTheOthers)
{
    const MailtoURL url =
        read(u"MailTo:a@x.example,b@x.example?TO=c@x.example&Cc=d@x.example&cC=&cc=e@x.example"
             "&bcc=f@x.example&%73ubject=One&subject=Two&BODY=1&body=2#part"_s);
    EXPECT_EQ(url.to, u"a@x.example,b@x.example, c@x.example"_s);
    EXPECT_EQ(url.cc, u"d@x.example, e@x.example"_s);
    EXPECT_EQ(url.bcc, u"f@x.example"_s);
    EXPECT_EQ(url.subject, u"One"_s);
    EXPECT_EQ(url.body, u"1"_s);
}

TEST(MailtoURL, DropsEveryOtherField)
{
    EXPECT_EQ(
        read(u"mailto:a@x.example?attach=/etc/passwd&attachment=file:///etc/passwd&attachments=x&From=b@y"
             "&Reply-To=b@y&X-A=1&insert=/etc/passwd&subject"_s),
        (MailtoURL{u"a@x.example"_s, {}, {}, {}, {}}));
}

TEST(MailtoURL, NoLineOfAFieldEndsInIt)
{
    const MailtoURL url =
        read(u"mailto:a@x.example%0D%0ABcc:b@x.example?subject=One%0D%0ABcc:%20c@x.example%00%1B"
             "&cc=d@x.example%0Ae"_s);
    EXPECT_EQ(url.to, u"a@x.example Bcc:b@x.example"_s);
    EXPECT_EQ(url.subject, u"One Bcc: c@x.example"_s);
    EXPECT_EQ(url.cc, u"d@x.example e"_s);
    EXPECT_EQ(url.bcc, QString());
}

TEST(MailtoURL, WhatIsNotSeenOrTurnsTheDirectionGoes)
{
    const MailtoURL url =
        read(u"mailto:a%E2%80%8B@x.example?subject=%E2%80%AEabc&body=a%E2%80%AEb%0Ac%E2%80%8Bd%07"_s);
    EXPECT_EQ(url.to, u"a@x.example"_s);
    EXPECT_EQ(url.subject, u"abc"_s);
    EXPECT_EQ(url.body, u"ab\ncd "_s);
}

TEST(MailtoURL, BytesThatAreNoTextAreRepaired)
{
    EXPECT_EQ(read(u"mailto:?subject=%FF%C3a%"_s).subject, u"\uFFFD\uFFFDa%"_s);
    EXPECT_EQ(read(u"mailto:?subject=100%25%2%zz%4"_s).subject, u"100%%2%zz%4"_s);
    EXPECT_EQ(read(u"mailto:?subject=a+b%2Bc%41"_s).subject, u"a+b+cA"_s);
    EXPECT_EQ(read(u"mailto:?subject=é"_s).subject, u"é"_s);
}

TEST(MailtoURL, LineEndsOfABodyAreOfOneKind)
{
    EXPECT_EQ(read(u"mailto:?body=%0Aa%0D%0Db%0D%0A"_s).body, u"\na\n\nb\n"_s);
}

TEST(MailtoURL, NothingElseIsOne)
{
    for (const QString& url : {u"mailto"_s, u"http://x.example"_s, u"mailtoo:a@x"_s, u""_s, u"xmailto:a@x"_s})
        EXPECT_FALSE(MailtoURL::parse(url)) << url.toStdString();
    EXPECT_EQ(read(u"mailto:"_s), MailtoURL());
}

TEST(MailtoURL, KeepsItsBounds)
{
    const QString head = u"mailto:?subject="_s;
    const QString longest = head + QString(MailtoURL::maxLength - head.size(), u'x');
    EXPECT_EQ(read(longest).subject.size(), MailtoURL::maxLength - head.size());
    EXPECT_FALSE(MailtoURL::parse(longest + u'x'));
    const QString fields = u"a=b&"_s.repeated(MailtoURL::maxFields - 1);
    EXPECT_EQ(read(u"mailto:?"_s + fields + u"subject=x"_s).subject, u"x"_s);
    EXPECT_EQ(read(u"mailto:?a=b&"_s + fields + u"subject=x"_s).subject, QString());
}

TEST(MailtoURL, IsTakenOutOfTheArgumentsOfAProgram)
{
    QStringList arguments{u"mailto:a@x.example"_s, u"file"_s, u"MAILTO:b@x.example"_s,
                          u"mailto:"_s + QString(MailtoURL::maxLength, u'x')};
    const QList<MailtoURL> messages = MailtoURL::takeFrom(arguments);
    EXPECT_EQ(arguments, QStringList({u"file"_s}));
    ASSERT_EQ(messages.size(), 2);
    EXPECT_EQ(messages[0].to, u"a@x.example"_s);
    EXPECT_EQ(messages[1].to, u"b@x.example"_s);
    QStringList many(MailtoURL::maxMessages + 1, u"mailto:a@x.example"_s);
    EXPECT_EQ(MailtoURL::takeFrom(many).size(), MailtoURL::maxMessages);
    EXPECT_TRUE(many.isEmpty());
}

} // namespace
} // namespace Larkhaven

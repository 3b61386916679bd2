#include "protocols/IMAPMailboxName.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// The name must have this wire form, and come back from it.
void expectWireForm(const QString& name, const QString& wire)
{
    EXPECT_EQ(encodeMailboxName(name), wire);
    EXPECT_EQ(decodeMailboxName(wire), name);
}

TEST(IMAPMailboxName, EncodesAndDecodesNonASCIILetters)
{
    expectWireForm(u"Entwürfe"_s, u"Entw&APw-rfe"_s);
}

TEST(IMAPMailboxName, EncodesAndDecodesTheAmpersand)
{
    expectWireForm(u"A&B"_s, u"A&-B"_s);
    expectWireForm(u"&&"_s, u"&-&-"_s);
}

TEST(IMAPMailboxName, FollowsTheExampleOfTheStandard)
{
    // RFC 3501, 5.1.3.
    expectWireForm(u"~peter/mail/台北/日本語"_s, u"~peter/mail/&U,BTFw-/&ZeVnLIqe-"_s);
}

TEST(IMAPMailboxName, EncodesCharactersBeyondTheBasicPlaneAsPairs)
{
    expectWireForm(u"x\U0001F600y"_s, u"x&2D3eAA-y"_s);
}

TEST(IMAPMailboxName, EncodesControlCharactersAndDelete)
{
    expectWireForm(u"a\tb\u007f"_s, u"a&AAk-b&AH8-"_s);
}

TEST(IMAPMailboxName, LeavesPrintableASCIIAsItStands)
{
    expectWireForm(u"Sent Items ~-+,/"_s, u"Sent Items ~-+,/"_s);
    expectWireForm(QString(u""_s), u""_s);
}

TEST(IMAPMailboxName, LeavesARunWithoutItsEndAsItStands)
{
    EXPECT_EQ(decodeMailboxName(u"&Jjo!"_s), u"&Jjo!");
    EXPECT_EQ(decodeMailboxName(u"a&-b&"_s), u"a&b&");
}

TEST(IMAPMailboxName, LeavesBadBase64AsItStands)
{
    EXPECT_EQ(decodeMailboxName(u"&!!-"_s), u"&!!-");
    EXPECT_EQ(decodeMailboxName(u"&A-"_s), u"&A-");
    EXPECT_EQ(decodeMailboxName(u"&=-"_s), u"&=-");
    EXPECT_EQ(decodeMailboxName(u"&AP=w-"_s), u"&AP=w-");
    EXPECT_EQ(decodeMailboxName(u"&ÄÖ-"_s), u"&ÄÖ-");
}

TEST(IMAPMailboxName, LeavesAnOddNumberOfBytesAsItStands)
{
    EXPECT_EQ(decodeMailboxName(u"&AA-"_s), u"&AA-");
    EXPECT_EQ(decodeMailboxName(u"&APwA-"_s), u"&APwA-");
}

TEST(IMAPMailboxName, DecodesTwoAmpersands)
{
    EXPECT_EQ(decodeMailboxName(u"&-&-"_s), u"&&");
}

TEST(IMAPMailboxName, LeavesHalfOfASurrogatePairUndecoded)
{
    EXPECT_EQ(decodeMailboxName(u"&2D0-"_s), u"&2D0-");
    EXPECT_EQ(decodeMailboxName(u"&3gA-"_s), u"&3gA-");
    EXPECT_EQ(decodeMailboxName(u"&3gDYPQ-"_s), u"&3gDYPQ-");
    EXPECT_EQ(decodeMailboxName(encodeMailboxName(QString(QChar(0xD83D)))), u"&2D0-");
}

TEST(IMAPMailboxName, GoesOnBehindWhatItCannotDecode)
{
    EXPECT_EQ(decodeMailboxName(u"&!!-x&APw-"_s), u"&!!-xü");
    EXPECT_EQ(decodeMailboxName(u"&a&APw-"_s), u"&a&APw-");
}

TEST(IMAPMailboxName, TakesTimeInProportionToTheName)
{
    EXPECT_EQ(decodeMailboxName(QString(10'000'000, u'&')).size(), 10'000'000);
    EXPECT_EQ(decodeMailboxName(u"&APw-"_s.repeated(1'000'000)), QString(1'000'000, u'ü'));
    const QString wire = encodeMailboxName(u"aü"_s.repeated(1'000'000));
    EXPECT_EQ(decodeMailboxName(wire), u"aü"_s.repeated(1'000'000));
    const QString run(5'000'000, u'ü');
    EXPECT_EQ(decodeMailboxName(encodeMailboxName(run)), run);
}

} // namespace
} // namespace Larkhaven

#include "format/TextEncoding.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

std::optional<QString> decoded(const QString& name, const QByteArray& bytes)
{
    const std::optional<TextEncoding> encoding = TextEncoding::fromRegistry(name);
    return encoding ? encoding->decode(bytes) : std::nullopt;
}

TEST(TextEncoding, RefusesTheFiveBytesThatWindows1252HasNoCharacterFor)
{
    const TextEncoding encoding = TextEncoding::windowsCP1252;
    for (const char byte : {'\x81', '\x8d', '\x8f', '\x90', '\x9d'})
        EXPECT_EQ(encoding.decode(QByteArray(1, byte)), std::nullopt) << static_cast<int>(byte);
}

TEST(TextEncoding, ReadsEveryOtherByteOfWindows1252)
{
    const TextEncoding encoding = TextEncoding::windowsCP1252;
    EXPECT_EQ(encoding.decode("\x80\x82\x83\x84\x85\x86\x87\x88\x89\x8a\x8b\x8c\x8e"),
              u"\u20ac\u201a\u0192\u201e\u2026\u2020\u2021\u02c6\u2030\u0160\u2039\u0152\u017d"_s);
    EXPECT_EQ(encoding.decode("\x91\x92\x93\x94\x95\x96\x97\x98\x99\x9a\x9b\x9c\x9e\x9f"),
              u"\u2018\u2019\u201c\u201d\u2022\u2013\u2014\u02dc\u2122\u0161\u203a\u0153\u017e\u0178"_s);
    EXPECT_EQ(encoding.decode("A\xa0\xff"), u"A\u00a0\u00ff"_s);
}

TEST(TextEncoding, ReadsUTF16WithoutAByteOrderMarkAsBigEndian)
{
    const TextEncoding encoding = TextEncoding::utf16;
    EXPECT_EQ(encoding.decode(QByteArray("\0h\0i", 4)), u"hi"_s);
    EXPECT_EQ(encoding.decode(QByteArray("\xfe\xff\0h", 4)), u"h"_s);
    EXPECT_EQ(encoding.decode(QByteArray("\xff\xfeh\0", 4)), u"h"_s);
}

TEST(TextEncoding, RefusesHalfAUTF16CharacterAndALoneSurrogate)
{
    const TextEncoding encoding = TextEncoding::utf16;
    EXPECT_EQ(encoding.decode(QByteArray("\0h\0", 3)), std::nullopt);
    EXPECT_EQ(encoding.decode(QByteArray("\xd8\0\0h", 4)), std::nullopt);
}

TEST(TextEncoding, KeepsAByteOrderMarkWhereTheOrderIsNamed)
{
    EXPECT_EQ(TextEncoding(TextEncoding::utf16LittleEndian).decode(QByteArray("\xff\xfeh\0", 4)),
              u"\ufeffh"_s);
    EXPECT_EQ(TextEncoding(TextEncoding::utf16BigEndian).decode(QByteArray("\xfe\xff\0h", 4)), u"\ufeffh"_s);
}

TEST(TextEncoding, ReadsShiftJISAsWindows31J)
{
    const TextEncoding encoding = TextEncoding::shiftJIS;
    EXPECT_EQ(encoding.decode("\x93\xfa\x96\x7b \\~ \x87\x40 \xfa\x40 \x81\x60"), u"日本 \\~ ① ⅰ \uff5e"_s);
    EXPECT_EQ(encoding.decode("\x1a\x1c\x7f"), u"\u001a\u001c\u007f"_s);
    EXPECT_EQ(encoding.decode("\x81"), std::nullopt);
}

TEST(TextEncoding, ReadsTheOtherJapaneseCharsets)
{
    EXPECT_EQ(TextEncoding(TextEncoding::iso2022JP).decode("\x1b$BF|K\\\x1b(B!"), u"日本!"_s);
    EXPECT_EQ(TextEncoding(TextEncoding::iso2022JP).decode("\x1b$B-!\x1b(B"), u"①"_s);
    EXPECT_EQ(TextEncoding(TextEncoding::iso2022JP).decode("\xe9"), std::nullopt);
    EXPECT_EQ(TextEncoding(TextEncoding::japaneseEUC).decode("\xc6\xfc\xcb\xdc"), u"日本"_s);
}

TEST(TextEncoding, ReadsTheOtherCharsetsThatHaveAMember)
{
    EXPECT_EQ(TextEncoding(TextEncoding::isoLatin1).decode("\xe9\x80"), u"\u00e9\u0080"_s);
    EXPECT_EQ(TextEncoding(TextEncoding::isoLatin2).decode("\xb1"), u"ą"_s);
    EXPECT_EQ(TextEncoding(TextEncoding::windowsCP1250).decode("\xb9"), u"ą"_s);
    EXPECT_EQ(TextEncoding(TextEncoding::windowsCP1251).decode("\xcc\xe8\xf0"), u"Мир"_s);
    EXPECT_EQ(TextEncoding(TextEncoding::windowsCP1253).decode("\xe1"), u"α"_s);
    EXPECT_EQ(TextEncoding(TextEncoding::windowsCP1253).decode("\xd2"), std::nullopt);
    EXPECT_EQ(TextEncoding(TextEncoding::windowsCP1254).decode("\xfe"), u"ş"_s);
    EXPECT_EQ(TextEncoding().decode("\xc3\xa9"), u"é"_s);
    EXPECT_EQ(TextEncoding().decode("\xe9"), std::nullopt);
}

TEST(TextEncoding, ReadsNoTextFromNoBytesInAnyCharset)
{
    for (const auto charset : {TextEncoding::utf8, TextEncoding::isoLatin1, TextEncoding::windowsCP1252,
                               TextEncoding::utf16, TextEncoding::iso2022JP, TextEncoding::shiftJIS})
        EXPECT_EQ(TextEncoding(charset).decode(QByteArrayView()), u""_s);
}

TEST(TextEncoding, FindsTheCharsetsOfTheRegistryInAnySpelling)
{
    EXPECT_EQ(decoded(u"KOI8-R"_s, "\xed\xc9\xd2"), u"Мир"_s);
    EXPECT_EQ(decoded(u"koi8-u"_s, "\xa4"), u"є"_s);
    EXPECT_EQ(decoded(u"iso-8859-15"_s, "\xa4"), u"€"_s);
    EXPECT_EQ(decoded(u"ISO_8859-15"_s, "\xa4"), u"€"_s);
    EXPECT_EQ(decoded(u"big5"_s, "\xa4\xe9"), u"日"_s);
    EXPECT_EQ(decoded(u"gbk"_s, "\xc8\xd5"), u"日"_s);
    EXPECT_EQ(decoded(u"gb18030"_s, "\xc8\xd5"), u"日"_s);
    EXPECT_EQ(decoded(u"windows-874"_s, "\xa1"), u"ก"_s);
    EXPECT_EQ(decoded(u"cp949"_s, "\xb0\xa1"), u"가"_s);
    EXPECT_EQ(decoded(u"macintosh"_s, "\x8e"), u"é"_s);
}

TEST(TextEncoding, ReadsChineseAndKoreanNamesAsTheSupersetsInUse)
{
    EXPECT_EQ(decoded(u"gb2312"_s, "\xe9\x46"), u"镕"_s);
    EXPECT_EQ(decoded(u"euc-kr"_s, "\x8c\x63"), u"똠"_s);
    EXPECT_EQ(decoded(u"ks_c_5601-1987"_s, "\x8c\x63"), u"똠"_s);
}

TEST(TextEncoding, KnowsTheSpellingsOfItsOwnCharsetsThatOnlyTheRegistryHas)
{
    EXPECT_EQ(TextEncoding::fromRegistry(u"iso_8859-1:1987"_s), TextEncoding(TextEncoding::isoLatin1));
    EXPECT_EQ(TextEncoding::fromRegistry(u"windows_1252"_s), TextEncoding(TextEncoding::windowsCP1252));
    EXPECT_EQ(TextEncoding::fromRegistry(u"windows-31j"_s), TextEncoding(TextEncoding::shiftJIS));
    EXPECT_EQ(TextEncoding::fromRegistry(u"utf_8"_s), TextEncoding(TextEncoding::utf8));
}

TEST(TextEncoding, KnowsNothingBeyondTheRegistry)
{
    for (const QString& name : {u""_s, u"no-such-charset"_s, u"imap-mailbox-name"_s, u"lmbcs-1"_s,
                                u"ibm-943,swaplfnl"_s, u"utf-7,version=1"_s, u"x11-compound-text"_s,
                                u"koi8-r\u00e9"_s, QString(u"koi8-r"_s + QChar(0) + u'x'), u"koi8-r\n"_s})
        EXPECT_EQ(TextEncoding::fromRegistry(name), std::nullopt) << name.toStdString();
}

TEST(TextEncoding, KnowsNoNameLongerThanItsBound)
{
    // Marks in a name are no difference to the registry.
    const QString name = u"koi8-r"_s;
    const QString longest = name + QString(TextEncoding::maxNameLength - name.size(), u'-');
    EXPECT_NE(TextEncoding::fromRegistry(longest), std::nullopt);
    EXPECT_EQ(TextEncoding::fromRegistry(longest + u'-'), std::nullopt);
    EXPECT_EQ(TextEncoding::fromRegistry(QString(10'000'000, u'-')), std::nullopt);
}

TEST(TextEncoding, GivesAllOfALongTextInAStatefulCharset)
{
    QByteArray bytes;
    QString expected;
    for (int i = 0; i < 200'000; ++i) {
        bytes += "\x1b$BF|\x1b(Ba";
        expected += u"日a"_s;
    }
    EXPECT_EQ(TextEncoding(TextEncoding::iso2022JP).decode(bytes), expected);
}

TEST(TextEncoding, GivesAllOfATextThatIsLongerThanItsBytes)
{
    // SCSU (UTS #6) can have characters beyond the first plane, which take two code units, in one byte each.
    const QByteArray bytes = "\x0b\x01\xec" + QByteArray(100'000, '\x80');
    EXPECT_EQ(decoded(u"scsu"_s, bytes), u"\U0001F600"_s.repeated(100'000));
}

TEST(TextEncoding, ReadsUTF7AsText)
{
    EXPECT_EQ(decoded(u"utf-7"_s, "Hi +ADw-b+AD4 +AOk-"), u"Hi <b> é"_s);
}

} // namespace
} // namespace Larkhaven

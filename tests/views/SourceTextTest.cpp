#include "views/reader/SourceText.h"

#include "support/QtPrinters.h"

#include <QList>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using SourceText::shown;

TEST(SourceText, ShowsTheLinesAsTheyCame)
{
    EXPECT_EQ(shown(""), u""_s);
    EXPECT_EQ(shown("Subject: x\r\n\r\n\tone\ntwo"), u"Subject: x\n\n\tone\ntwo"_s);
    EXPECT_EQ(shown("x\r\n"), u"x"_s);
    EXPECT_EQ(shown("Gr\xc3\xbc\xc3\x9f"
                    "e \xff"),
              u"Grüße \ufffd"_s);
}

TEST(SourceText, ShowsWhatIsNotSeenAsASign)
{
    EXPECT_EQ(shown("a\rb"), u"a\u240db"_s);
    EXPECT_EQ(shown(QByteArrayView("a\0b\x1b", 4)), u"a\u2400b\u241b"_s);
    EXPECT_EQ(shown("\x7f"), u"\ufffd"_s);
    // A mark that turns the direction, one without width, a separator of lines, and a combining one.
    EXPECT_EQ(shown("\xe2\x80\xae|\xe2\x80\x8b|\xe2\x80\xa8|\xcc\x81"), u"\ufffd|\ufffd|\ufffd|\ufffd"_s);
}

TEST(SourceText, ShowsEachUnseenCharacterOfEveryPlaneAsOneSign)
{
    const QList<char32_t> unseen{
        0xad,    0x34f,   0x61c,   0x115f,  0x1160,  0x17b4,   0x180b,   0x180e,  0x200d,  0x2028,  0x2029,
        0x2060,  0x2065,  0x206f,  0x20dd,  0x3164,  0xe000,   0xfe0f,   0xfeff,  0xffa0,  0xfff0,  0xfff9,
        0x101fd, 0x110bd, 0x1bca0, 0x1d173, 0x1d17a, 0x1e8d0,  0x1fffe,  0xe0000, 0xe0001, 0xe0041, 0xe007f,
        0xe0100, 0xe01ef, 0xe0fff, 0xf0000, 0xffffd, 0x100000, 0x10fffd, 0x10ffff};
    for (const char32_t character : unseen) {
        const QString text = u"a%1b"_s.arg(QStringView(QChar::fromUcs4(character)));
        EXPECT_EQ(shown(text.toUtf8()), u"a\ufffdb"_s) << std::hex << +character;
    }
    EXPECT_EQ(shown(QString(u"\U000E0048\U000E0069"_s).toUtf8()), u"\ufffd\ufffd"_s);
    // Half a pair is no character of UTF-8.
    EXPECT_EQ(shown("\xed\xa0\x80"), u"\ufffd\ufffd\ufffd"_s);
}

TEST(SourceText, LeavesWhatIsSeenBeyondTheFirstPlane)
{
    const QString seen = u"\U0001F600 \U00020000 \U0001D400 \u2800\u00a0\u0903\u1100\uac00 \U00011000"_s;
    EXPECT_EQ(shown(seen.toUtf8()), seen);
}

TEST(SourceText, BreaksALongLineBetweenCharacters)
{
    const qsizetype limit = SourceText::longestLine;
    EXPECT_EQ(shown(QByteArray(limit, 'x') + "\ny"), QString(limit, u'x') + u"\ny"_s);
    EXPECT_EQ(shown(QByteArray(limit + 1, 'x')), QString(limit, u'x') + u"\nx"_s);
    EXPECT_EQ(shown(QByteArray(limit - 1, 'x') + "\xe2\x82\xac"), QString(limit - 1, u'x') + u"\n€"_s);
}

TEST(SourceText, SaysThatTheRestIsLeftOut)
{
    const QString last = u"[The rest of the source is left out.]"_s;
    const QByteArray lines = QByteArray("x\n").repeated(SourceText::mostLines);
    EXPECT_EQ(shown(lines), QString(u"x\n"_s).repeated(SourceText::mostLines).chopped(1));
    EXPECT_EQ(shown(lines + "y"), QString(u"x\n"_s).repeated(SourceText::mostLines) + last);
    const QByteArray block = QByteArray(99, 'x') + '\n';
    const QByteArray whole = block.repeated(SourceText::mostBytes / 100);
    EXPECT_FALSE(shown(whole).contains(last));
    EXPECT_TRUE(shown(whole + "y").endsWith(u"x\n"_s + last));
}

} // namespace
} // namespace Larkhaven

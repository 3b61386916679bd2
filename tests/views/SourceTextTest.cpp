#include "views/SourceText.h"

#include "support/QtPrinters.h"

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

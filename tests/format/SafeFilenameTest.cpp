#include "format/MIMEParser.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using MIMEParser::safeFilename;

TEST(SafeFilename, LeavesAnOrdinaryName)
{
    EXPECT_EQ(safeFilename(u"Angebot (2026) – Größe.pdf"_s), u"Angebot (2026) – Größe.pdf"_s);
}

TEST(SafeFilename, ReplacesPathsAndControlCharacters)
{
    EXPECT_EQ(safeFilename(u"../../etc/passwd"_s), u"_.._etc_passwd"_s);
    EXPECT_EQ(safeFilename(u"C:\\x\\y"_s), u"C__x_y"_s);
    EXPECT_EQ(safeFilename(u"a\r\nb\u0001\u007f\u0085\tc"_s), u"a__b____c"_s);
}

TEST(SafeFilename, RemovesInvisibleAndBidirectionalMarks)
{
    EXPECT_EQ(safeFilename(u"invoice\u202efdp.exe"_s), u"invoicefdp.exe"_s);
    EXPECT_EQ(safeFilename(u"\u200b\u200c\u200d\u200e\u200fa\u202a\u202b\u202c\u202d\u202eb"_s), u"ab"_s);
    EXPECT_EQ(safeFilename(u"a\u2066\u2067\u2068\u2069\u061c\ufeffb"_s), u"ab"_s);
    EXPECT_EQ(safeFilename(u"a\u200a\u2010\u2029\u202f\u2065\u206ab"_s),
              u"a\u200a\u2010\u2029\u202f\u2065\u206ab"_s);
}

TEST(SafeFilename, TrimsWhiteSpaceAndDotsFromBothEnds)
{
    EXPECT_EQ(safeFilename(u" . \u00a0.bashrc. "_s), u"bashrc"_s);
    EXPECT_EQ(safeFilename(u"\u202e.\u202ex"_s), u"x"_s);
}

TEST(SafeFilename, IsAttachmentWhereNothingIsLeft)
{
    for (const QString& name : {u""_s, u" . "_s, u"\u200b"_s, u".."_s})
        EXPECT_EQ(safeFilename(name), u"attachment"_s);
    EXPECT_EQ(safeFilename(u"/"_s), u"_"_s);
}

TEST(SafeFilename, KeepsTheFirst200UserPerceivedCharacters)
{
    EXPECT_EQ(safeFilename(QString(200, u'a')), QString(200, u'a'));
    EXPECT_EQ(safeFilename(QString(201, u'a')), QString(200, u'a'));
    EXPECT_EQ(safeFilename(u"e\u0301"_s.repeated(201)), u"e\u0301"_s.repeated(200));
}

TEST(SafeFilename, EndsOnHostileNames)
{
    EXPECT_EQ(safeFilename(QString(10'000'000, u'.')), u"attachment"_s);
    EXPECT_EQ(safeFilename(QString(10'000'000, u'/')), QString(200, u'_'));
    EXPECT_EQ(safeFilename(QString(10'000'000, QChar(0x202e))), u"attachment"_s);
}

} // namespace
} // namespace Larkhaven

#include "format/QuotedString.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(QuotedString, LosesItsQuotes)
{
    EXPECT_EQ(unquoted(u"\"a b\""), u"a b"_s);
    EXPECT_EQ(unquoted(u"\"\""), u""_s);
    EXPECT_EQ(unquoted(u"\"\\\"\""), u"\""_s);
}

TEST(QuotedString, KeepsBackslashesThatEscapeNoQuote)
{
    EXPECT_EQ(unquoted(u"\"a\\b\\\\\""), u"a\\b\\\\"_s);
    EXPECT_EQ(unquoted(u"\"a\\\""), u"a\\"_s);
}

TEST(QuotedString, LeavesAnyOtherText)
{
    for (const QString& text : {u""_s, u"\""_s, u"a"_s, u"\"a"_s, u"a\""_s, u" \"a\""_s, u"a\\\"b"_s})
        EXPECT_EQ(unquoted(text), text);
}

} // namespace
} // namespace Larkhaven

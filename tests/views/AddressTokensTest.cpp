#include "views/compose/AddressTokens.h"

#include "format/RecipientField.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(AddressTokens, TheTokenIsTheTextAfterTheLastCommaTrimmed)
{
    EXPECT_EQ(AddressTokens::token(u""_s), u""_s);
    EXPECT_EQ(AddressTokens::token(u" ann "_s), u"ann"_s);
    EXPECT_EQ(AddressTokens::token(u"a@x,  bo b "_s), u"bo b"_s);
    EXPECT_EQ(AddressTokens::token(u"a@x, "_s), u""_s);
    EXPECT_EQ(AddressTokens::token(u"a@x; ann"_s), u"ann"_s);
    EXPECT_EQ(AddressTokens::token(u"a@x\nann"_s), u"ann"_s);
}

TEST(AddressTokens, TheOtherPiecesAreAddressesInLowerCase)
{
    EXPECT_EQ(AddressTokens::addresses(u"A@X, Ann <ANN@Example.Com>, b@y"_s),
              QSet<QString>({u"a@x"_s, u"ann@example.com"_s}));
    EXPECT_EQ(AddressTokens::addresses(u"\"Smith, Ann\" <ann@x>, c"_s),
              QSet<QString>({u"\"smith"_s, u"ann@x"_s}));
    EXPECT_TRUE(AddressTokens::addresses(u"a@x"_s).isEmpty());
    EXPECT_EQ(AddressTokens::addresses(u"Ann <a@x, b"_s), QSet<QString>({u"ann <a@x"_s}));
}

TEST(AddressTokens, TakingASuggestionKeepsThePiecesBeforeIt)
{
    const ContactSuggestion ann{u"Ann Smith"_s, u"ann@x"_s};
    EXPECT_EQ(AddressTokens::taking(u"an"_s, ann), u"Ann Smith <ann@x>, "_s);
    EXPECT_EQ(AddressTokens::taking(u"a@x,an"_s, ann), u"a@x, Ann Smith <ann@x>, "_s);
    EXPECT_EQ(AddressTokens::taking(u"\"Berg, B\" <b@x>, , an"_s, ann),
              u"\"Berg, B\" <b@x>, Ann Smith <ann@x>, "_s);
    EXPECT_EQ(AddressTokens::taking(u"an"_s, {u""_s, u"ann@x"_s}), u"ann@x, "_s);
}

TEST(AddressTokens, EverySeparatorEndsAPiece)
{
    EXPECT_EQ(AddressTokens::addresses(u"A@X; b@y\nC@Z\r\nd"_s),
              QSet<QString>({u"a@x"_s, u"b@y"_s, u"c@z"_s}));
    EXPECT_EQ(AddressTokens::taking(u"a@x; b@y\nan"_s, {u"Ann"_s, u"ann@x"_s}), u"a@x, b@y, Ann <ann@x>, "_s);
}

TEST(AddressTokens, ASuggestionIsTakenOutsideOfWhatIsLeftOpen)
{
    const ContactSuggestion ann{u"Ann Smith"_s, u"ann@x"_s};
    EXPECT_EQ(AddressTokens::taking(u"\"Berg, an"_s, ann), u"\"Berg\", Ann Smith <ann@x>, "_s);
    EXPECT_EQ(AddressTokens::taking(u"\"Berg, c@x, an"_s, ann), u"\"Berg\", c@x, Ann Smith <ann@x>, "_s);
    EXPECT_EQ(AddressTokens::taking(u"\"Berg\\, an"_s, ann), u"\"Berg\\\\\", Ann Smith <ann@x>, "_s);
    EXPECT_EQ(AddressTokens::taking(u"b@x (Berg (x, an"_s, ann), u"b@x (Berg (x)), Ann Smith <ann@x>, "_s);
    for (const QString& open : {u"\"Berg, an"_s, u"\"B\\, an"_s, u"b@x (B, an"_s, u"B <b, an"_s}) {
        const auto pieces = RecipientField::read(AddressTokens::taking(open, {u"A (x) \"y\""_s, u"ann@x"_s}));
        ASSERT_EQ(pieces.size(), 2) << open.toStdString();
        EXPECT_EQ(pieces[1].address, EmailAddress(u"A (x) \"y\""_s, u"ann@x"_s)) << open.toStdString();
    }
}

TEST(AddressTokens, NamesThatNeedItAreQuotedAndReadBackAsTheyWere)
{
    for (const QString& name :
         {u"Smith, Ann"_s, uR"(Ann "A" O\Brien)"_s, u"Dr. A <b>"_s, u"a;b:c@d"_s, u"(x) [y]"_s}) {
        const QString written = AddressTokens::written({name, u"a@x"_s});
        EXPECT_TRUE(written.startsWith(u'"')) << written.toStdString();
        const auto read = RecipientField::read(written);
        ASSERT_EQ(read.size(), 1) << written.toStdString();
        EXPECT_EQ(read.constFirst().address, EmailAddress(name, u"a@x"_s)) << written.toStdString();
    }
    EXPECT_EQ(AddressTokens::written({u"Smith, Ann"_s, u"a@x"_s}), u"\"Smith, Ann\" <a@x>"_s);
    EXPECT_EQ(AddressTokens::written({uR"(Ann "A" O\Brien)"_s, u"a@x"_s}),
              uR"("Ann \"A\" O\\Brien" <a@x>)"_s);
    EXPECT_EQ(AddressTokens::written({u"Jürgen Groß"_s, u"a@x"_s}), u"Jürgen Groß <a@x>"_s);
}

TEST(AddressTokens, ALongHostileFieldIsReadInOnePass)
{
    const QString text = u"a,\"<"_s.repeated(500'000);
    EXPECT_EQ(AddressTokens::token(text), u"\"<"_s);
    EXPECT_LE(AddressTokens::addresses(text).size(), 3);
    EXPECT_TRUE(AddressTokens::taking(text, {{}, u"z@x"_s}).endsWith("z@x, "_L1));
}

} // namespace
} // namespace Larkhaven

#include "format/RecipientField.h"

#include "format/AddressParser.h"
#include "format/MessageComposer.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// Each piece as "name|address", or in brackets where it names nobody.
QStringList read(QStringView field)
{
    QStringList pieces;
    for (const RecipientField::Piece& piece : RecipientField::read(field)) {
        const std::optional<EmailAddress>& address = piece.address;
        pieces.append(address ? address->name.value_or(QString()) + u'|' + address->address
                              : u'[' + piece.text + u']');
    }
    return pieces;
}

TEST(RecipientField, SeparatesAtCommasSemicolonsAndLineEnds)
{
    const QStringList both{u"Ann|ann@x.example"_s, u"Bob|bob@x.example"_s};
    for (const QString& separator :
         {u","_s, u";"_s, u"; "_s, u"\n"_s, u"\r\n"_s, u"\u2028"_s, u"\u0085"_s, u",;\n"_s})
        EXPECT_EQ(read(u"Ann <ann@x.example>"_s + separator + u"Bob <bob@x.example>"_s), both)
            << separator.toStdString();
    EXPECT_EQ(read(u" , ;\n "), QStringList());
    EXPECT_EQ(read(u""), QStringList());
}

TEST(RecipientField, SeparatesNothingWithinQuotesCommentsAndBrackets)
{
    EXPECT_EQ(read(u"\"Doe, Ann; x\n\" <a@x>"), QStringList(u"Doe, Ann; x|a@x"_s));
    EXPECT_EQ(read(u"a@x (Doe, Ann (of; it))"), QStringList(u"Doe, Ann (of; it)|a@x"_s));
    EXPECT_EQ(read(u"Ann <a@x,b@x>"), QStringList(u"Ann|a@x,b@x"_s));
    EXPECT_EQ(read(uR"("A \", B" <a@x>, b@x)"), QStringList({u"A \", B|a@x"_s, u"|b@x"_s}));
    EXPECT_EQ(read(uR"(a@x (A \), B))"), QStringList(u"A ), B|a@x"_s));
}

TEST(RecipientField, LetsNothingThatIsLeftOpenSwallowWhoFollows)
{
    EXPECT_EQ(read(u"\"Ann <a@x>, b@x"), QStringList({u"[\"Ann <a@x>]"_s, u"|b@x"_s}));
    EXPECT_EQ(read(u"Ann <a@x, b@x"), QStringList({u"[Ann <a@x]"_s, u"|b@x"_s}));
    EXPECT_EQ(read(u"Ann <a@x, Bob <b@x>"), QStringList({u"[Ann <a@x]"_s, u"Bob|b@x"_s}));
    EXPECT_EQ(read(u"(Ann a@x, b@x"), QStringList({u"|(Ann a@x"_s, u"|b@x"_s}));
    EXPECT_EQ(read(uR"("Ann \", b@x)"), QStringList({uR"(["Ann \"])"_s, u"|b@x"_s}));
    EXPECT_EQ(read(u"a@x>, b@x"), QStringList({u"[a@x>]"_s, u"|b@x"_s}));
}

TEST(RecipientField, ReadsOneAddressWithOrWithoutAName)
{
    EXPECT_EQ(read(u"a@x"), QStringList(u"|a@x"_s));
    EXPECT_EQ(read(u"<a@x>"), QStringList(u"|a@x"_s));
    EXPECT_EQ(read(u"Ann Lee\t< a@x >"), QStringList(u"Ann Lee|a@x"_s));
    EXPECT_EQ(read(u"Dr. \"Ann\" Lee <a@x>"), QStringList(u"Dr. Ann Lee|a@x"_s));
    EXPECT_EQ(read(u"<a@x> (Ann)"), QStringList(u"Ann|a@x"_s));
    EXPECT_EQ(read(u"Lee <a@x> (Ann)"), QStringList(u"Lee|a@x"_s));
    EXPECT_EQ(read(u"Ann (Berlin) <a@x>"), QStringList(u"Ann (Berlin)|a@x"_s));
    EXPECT_EQ(read(u"a@x <a@x>"), QStringList(u"a@x|a@x"_s));
    EXPECT_EQ(read(u"\"b@y\" <a@x>"), QStringList(u"b@y|a@x"_s));
}

TEST(RecipientField, GuessesNothing)
{
    for (const QString& piece :
         {u"bob"_s, u"b@y <a@x>"_s, u"<a@x> <b@x>"_s, u"<a@x> b@x"_s, u"Ann <a@x> Lee"_s, u"\"Ann\" a@x"_s,
          u"\"a b\"@x"_s, u"Ann <a@x> \"x\""_s, u"(a@x)"_s, u"a(x)b@y"_s, u"a>b@x"_s})
        EXPECT_EQ(read(piece), QStringList(u'[' + piece + u']'));
    EXPECT_EQ(RecipientField::read(u" bob ,").first().text, u"bob");
}

TEST(RecipientField, GivesANameBackAsItWas)
{
    for (const QString& name :
         {u"Ann"_s, uR"(O\Brien)"_s, uR"(Ann "A" O\\Brien\)"_s, uR"(Bob", v@evil.example, ")"_s, u"a, b; c"_s,
          u"\\\", x@y, \""_s, u"<z@z>, \"q"_s, u"Jörg, \"v@evil.example\", \""_s, u"(c), @"_s, u"\\"_s,
          u"\""_s}) {
        const EmailAddress address(name, u"bob@x.example"_s);
        const QString written = MessageComposer::editableAddress(address);
        const QList<RecipientField::Piece> pieces = RecipientField::read(written + u", c@x"_s);
        ASSERT_EQ(pieces.size(), 2) << written.toStdString();
        EXPECT_EQ(pieces[0].address, address) << written.toStdString();
        EXPECT_EQ(
            RecipientField::read(MessageComposer::formatAddress(EmailAddress(uR"(O\Brien "x")"_s, u"o@x"_s)))
                .first()
                .address,
            EmailAddress(uR"(O\Brien "x")"_s, u"o@x"_s));
    }
}

TEST(RecipientField, EndsOnHostileFields)
{
    constexpr qsizetype size = 2'000'000;
    for (const QString& part :
         {u"\""_s, u"\"\\"_s, u"("_s, u"(\""_s, u"<"_s, u"<>"_s, u"\\"_s, u"\"\\,‹"_s, u"()"_s})
        EXPECT_LE(RecipientField::read(part.repeated(size / part.size())).size(), size) << part.toStdString();
    EXPECT_EQ(RecipientField::read(u"a@x;"_s.repeated(150'000)).size(), 150'000);
    EXPECT_EQ(RecipientField::read(u"<,"_s.repeated(150'000)).size(), 150'000);
    EXPECT_EQ(RecipientField::read(u"(,"_s.repeated(150'000)).size(), 150'000);
    const QString tail(size, u'a');
    EXPECT_FALSE(
        RecipientField::read(u"(x"_s + tail + tail + u")@"_s + tail).constFirst().address->name->isEmpty());
}

TEST(RecipientField, HasABoundedNumberOfPieces)
{
    const QString address = u"a@x,"_s;
    const QList<RecipientField::Piece> most =
        RecipientField::read(address.repeated(RecipientField::mostPieces));
    ASSERT_EQ(most.size(), RecipientField::mostPieces);
    EXPECT_FALSE(most.constLast().address) << "its comma shows that there may be more";
    const QList<RecipientField::Piece> more =
        RecipientField::read(address.repeated(RecipientField::mostPieces + 5) + u"b@x"_s);
    ASSERT_EQ(more.size(), RecipientField::mostPieces);
    EXPECT_TRUE(more[RecipientField::mostPieces - 2].address);
    EXPECT_FALSE(more.constLast().address);
    EXPECT_EQ(more.constLast().text, u"a@x,a@x,a@x,a@x,a@x,a@x,b@x") << "nothing is lost";
}

TEST(RecipientField, KeepsWhatCannotBeReadForALaterSitting)
{
    for (const QString& text :
         {u"\"Ann <a@x>"_s, u"bob, =?UTF-8?Q?x?=\r\nBcc: v@x"_s, u"Jörg"_s, u"word "_s.repeated(100'000)}) {
        const QString kept = RecipientField::kept(text);
        for (const QString& line : kept.split(u"\r\n"_s))
            EXPECT_LE(line.size(), 77);
        EXPECT_TRUE(kept.startsWith(RecipientField::kept(text).first(1)));
        EXPECT_FALSE(kept.contains(u"\nB"_s)) << "every line but the first begins with a blank";
        EXPECT_EQ(RecipientField::restored(kept), text);
    }
    EXPECT_EQ(RecipientField::restored(u"&&&"_s), u"");
}

TEST(AddressIsSendable, WhereItIsOneAddressAndNothingElse)
{
    for (const QString& good :
         {u"a@x"_s, u"a.b+c_d!#$%&'*/=?^`{|}~-@x-y.example"_s, u"jörg@müller.example"_s})
        EXPECT_TRUE(AddressParser::isSendable(good)) << good.toStdString();
    for (const QString& bad :
         {u""_s,          u"a"_s,         u"@"_s,         u"@x"_s,        u"a@"_s,
          u"a@b@c"_s,     u"a b@x"_s,     u"team:a@x"_s,  u"a@x;"_s,      u"a@x,"_s,
          u"<a@x"_s,      u"a@x>"_s,      u"\"a\"@x"_s,   u"a(b)@x"_s,    u"a@[1.2.3.4]"_s,
          u"a\\b@x"_s,    u"a\u0000@x"_s, u"a\u007f@x"_s, u"a\n@x"_s,     u"a\u0085@x"_s,
          u"a\u00a0@x"_s, u"a\u2028@x"_s, u"a\u200b@x"_s, u"\u202ea@x"_s, u"a\u3000@x"_s}) {
        EXPECT_FALSE(AddressParser::isSendable(bad)) << bad.toStdString();
    }
}

TEST(AddressIsSendable, UpToItsLongestForm)
{
    const auto ofLength = [](qsizetype length) { return QString(length - 2, u'a') + u"@x"_s; };
    EXPECT_TRUE(AddressParser::isSendable(ofLength(AddressParser::longestAddress)));
    EXPECT_FALSE(AddressParser::isSendable(ofLength(AddressParser::longestAddress + 1)));
    EXPECT_FALSE(AddressParser::isSendable(QString(400, u'ä') + u"@x"_s)) << "octets count";
}

TEST(AddressIsSendable, AndIsThenWrittenUnchanged)
{
    for (char16_t unit = 0; unit < 0x250; ++unit) {
        const QString address = QString(u'a') + QChar(unit) + u"@x"_s;
        if (AddressParser::isSendable(address)) {
            EXPECT_EQ(MessageComposer::formatAddress({std::nullopt, address}), address) << int(unit);
        }
    }
}

} // namespace
} // namespace Larkhaven

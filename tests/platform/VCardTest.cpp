#include "app/platform/VCard.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

std::optional<Contact> card(const QString& lines)
{
    return VCard::parse(u"BEGIN:VCARD\r\nVERSION:3.0\r\n"_s + lines + u"\r\nEND:VCARD\r\n"_s);
}

TEST(VCard, ReadsNamesAndAddresses)
{
    const auto contact = card(u"FN:Ann B. Smith\r\nN:Smith;Ann;B.;Dr.;\r\nNICKNAME:Annie,An\r\n"
                              "ORG:Example Ltd;Sales\r\nEMAIL;TYPE=WORK:ann@example.com\r\nEMAIL:a@x"_s);
    ASSERT_TRUE(contact);
    EXPECT_EQ(contact->familyName, u"Smith"_s);
    EXPECT_EQ(contact->givenName, u"Ann"_s);
    EXPECT_EQ(contact->middleName, u"B."_s);
    EXPECT_EQ(contact->nickname, u"Annie"_s);
    EXPECT_EQ(contact->organization, u"Example Ltd"_s);
    EXPECT_EQ(contact->emails, QStringList({u"ann@example.com"_s, u"a@x"_s}));
}

TEST(VCard, JoinsFoldedLines)
{
    EXPECT_EQ(card(u"EMAIL:ann@exam\r\n ple.c\r\n\tom"_s)->emails, QStringList({u"ann@example.com"_s}));
    EXPECT_EQ(card(u"EMAIL:ann@exam\n ple.com"_s)->emails, QStringList({u"ann@example.com"_s}));
}

TEST(VCard, UndoesEscapes)
{
    const auto contact = card(u"N:Smi\\,th\\;x\\\\y;A\\nn\r\nORG:A\\; B;C"_s);
    EXPECT_EQ(contact->familyName, u"Smi th;x\\y"_s);
    EXPECT_EQ(contact->givenName, u"A n"_s);
    EXPECT_EQ(contact->organization, u"A; B"_s);
}

TEST(VCard, NamesOfPropertiesHaveGroupsParametersAndAnyCase)
{
    EXPECT_EQ(card(u"item1.email;x-a=\"b:c;d\";type=HOME:a@x"_s)->emails, QStringList({u"a@x"_s}));
}

TEST(VCard, TheFormattedNameServesWhereThereIsNoOther)
{
    EXPECT_EQ(card(u"FN:Ann Smith\r\nEMAIL:a@x"_s)->givenName, u"Ann Smith"_s);
    EXPECT_EQ(card(u"FN:Ann Smith\r\nN:Smith;;;;"_s)->givenName, u""_s);
    EXPECT_EQ(card(u"FN:Ann Smith\r\nNICKNAME:x"_s)->givenName, u""_s);
}

TEST(VCard, TextWithoutACardIsNone)
{
    EXPECT_EQ(VCard::parse(u""_s), std::nullopt);
    EXPECT_EQ(VCard::parse(u"EMAIL:a@x"_s), std::nullopt);
    EXPECT_EQ(VCard::parse(u"BEGIN:VCALENDAR\r\nEMAIL:a@x"_s), std::nullopt);
}

TEST(VCard, OnlyTheFirstCardCounts)
{
    const auto contact =
        VCard::parse(u"BEGIN:VCARD\nEMAIL:a@x\nEND:VCARD\nBEGIN:VCARD\nEMAIL:b@x\nEND:VCARD"_s);
    EXPECT_EQ(contact->emails, QStringList({u"a@x"_s}));
}

TEST(VCard, ControlCharactersNeverComeOut)
{
    EXPECT_EQ(card(u"N:Sm\u0001ith;A\u0085nn"_s)->familyName, u"Smith"_s);
    EXPECT_EQ(card(u"EMAIL:a@x\\nBcc: b@y"_s)->emails, QStringList({u"a@x Bcc: b@y"_s}));
}

TEST(VCard, ValuesHaveTheirBound)
{
    EXPECT_EQ(card(u"NICKNAME:"_s + QString(VCard::longestValue, u'a'))->nickname.size(),
              VCard::longestValue);
    EXPECT_EQ(card(u"NICKNAME:"_s + QString(VCard::longestValue + 1, u'a'))->nickname.size(),
              VCard::longestValue);
}

TEST(VCard, AddressesHaveTheirBound)
{
    const auto emails = [](qsizetype count) { return card(u"EMAIL:a@x\n"_s.repeated(count))->emails.size(); };
    EXPECT_EQ(emails(VCard::mostEmails), VCard::mostEmails);
    EXPECT_EQ(emails(VCard::mostEmails + 1), VCard::mostEmails);
}

TEST(VCard, ACardLongerThanTheBoundIsNone)
{
    const QString begin = u"BEGIN:VCARD\nPHOTO:"_s;
    EXPECT_TRUE(VCard::parse(begin + QString(VCard::longestCard - begin.size(), u'a')));
    EXPECT_FALSE(VCard::parse(begin + QString(VCard::longestCard - begin.size() + 1, u'a')));
}

TEST(VCard, HostileCardsAreReadInOnePass)
{
    for (const QString& piece :
         {u"\n "_s, u"\""_s, u"a;"_s, u"\\"_s, u"EMAIL:\n"_s, u"BEGIN:VCARD\n"_s, u"N:;;;;\n"_s}) {
        const QString begin = u"BEGIN:VCARD\n"_s;
        const QString text = begin + piece.repeated((VCard::longestCard - begin.size()) / piece.size());
        EXPECT_TRUE(VCard::parse(text)) << piece.toStdString();
    }
}

} // namespace
} // namespace Larkhaven

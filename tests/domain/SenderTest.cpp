#include "domain/Sender.h"

#include "domain/Coding.h"
#include "domain/Message.h"
#include "support/QtPrinters.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using Names = Sender::Names;

const EmailAddress ann(u"Ann"_s, u"ann@x.example"_s);
const EmailAddress bob(std::nullopt, u"bob@y.example"_s);

QJsonObject object(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

TEST(Sender, IsShownByTheNameWhereItCanBeTrusted)
{
    EXPECT_EQ((Sender{{ann}}).shown(), u"Ann");
    EXPECT_EQ((Sender{{bob}}).shown(), u"bob");
    EXPECT_EQ((Sender{{ann, bob}}).shown(), u"ann@x.example, bob@y.example") << "none stands for the others";
    EXPECT_EQ((Sender{{ann, EmailAddress(std::nullopt, u"ANN@x.example"_s)}}).shown(), u"Ann");
    EXPECT_EQ(Sender().shown(), u"");
}

TEST(Sender, IsShownByTheAddressesWhereTheNameCannotBeTrusted)
{
    EXPECT_EQ((Sender{{ann}, Names::lookLikeAnotherAddress}).shown(), u"ann@x.example");
    EXPECT_EQ((Sender{{ann}, Names::holdHiddenCharacters}).shown(), u"ann@x.example");
    EXPECT_EQ((Sender{{ann, bob}, Names::honest, false}).shown(), u"ann@x.example, bob@y.example");
    EXPECT_EQ((Sender{{}, Names::honest, false}).shown(), u"");
}

TEST(Sender, IsReadAsItWasStored)
{
    for (const Sender& sender :
         {Sender{{ann}}, Sender{{ann, bob}, Names::lookLikeAnotherAddress, false},
          Sender{{bob}, Names::holdHiddenCharacters, true}, Sender{{}, Names::honest, false}})
        EXPECT_EQ(Sender::fromJSON(sender.toJSON()), sender);
    EXPECT_EQ(QJsonDocument((Sender{{bob}, Names::lookLikeAnotherAddress, false}).toJSON())
                  .toJson(QJsonDocument::Compact),
              R"({"addresses":[{"address":"bob@y.example"}],"isClear":false,)"
              R"("names":"lookLikeAnotherAddress"})");
}

TEST(Sender, IsNotReadFromWhatItIsNot)
{
    EXPECT_THROW(Sender::fromJSON({}), DecodingError);
    EXPECT_THROW(Sender::fromJSON(object(R"({"addresses":[],"isClear":true,"names":"good"})")),
                 DecodingError);
    EXPECT_THROW(Sender::fromJSON(object(R"({"addresses":[],"isClear":1,"names":"honest"})")), DecodingError);
    EXPECT_THROW(Sender::fromJSON(object(R"({"addresses":[7],"isClear":true,"names":"honest"})")),
                 DecodingError);
}

TEST(Sender, IsStoredWithARowOnlyWhereItSaysAnotherThing)
{
    MessageSummary row;
    row.accountID = QUuid::createUuid();
    row.date = QDateTime(QDate(2026, 1, 1), QTime(), Qt::UTC);
    row.from = ann;
    EXPECT_FALSE(row.toJSON().contains("sender"_L1));
    EXPECT_EQ(MessageSummary::fromJSON(row.toJSON()), row);
    EXPECT_EQ(row.realSender(), (Sender{{ann}}));
    row.sender = Sender{{bob}, Names::lookLikeAnotherAddress};
    EXPECT_EQ(MessageSummary::fromJSON(row.toJSON()), row);
    EXPECT_EQ(row.realSender(), *row.sender);
    EXPECT_EQ(MessageSummary().realSender(), Sender());
}

TEST(Sender, MakesADifferenceToRowsAndTheirHashes)
{
    MessageSummary row;
    row.from = ann;
    MessageSummary other = row;
    other.sender = Sender{{bob}};
    EXPECT_NE(row, other);
    EXPECT_NE(qHash(row), qHash(other));
    EXPECT_NE(qHash(Sender{{ann}}), qHash(Sender{{ann}, Names::holdHiddenCharacters}));
}

} // namespace
} // namespace Larkhaven

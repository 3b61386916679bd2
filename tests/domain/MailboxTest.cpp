#include "domain/Mailbox.h"

#include "domain/Coding.h"
#include "support/QtPrinters.h"

#include <QJsonDocument>
#include <QSet>

#include <algorithm>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

QJsonValue value(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

QByteArray written(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QString refusal(const QByteArray& json)
{
    try {
        MailboxRef::fromJSON(value(json));
    } catch (const DecodingError& error) {
        return error.localizedText();
    }
    return {};
}

TEST(Mailbox, HasItsStoredTextsInTheOrderOfTheRoles)
{
    QStringList texts;
    for (const Mailbox role : allMailboxes)
        texts.append(storedText(role));
    EXPECT_EQ(texts, QStringList({u"inbox"_s, u"starred"_s, u"sent"_s, u"drafts"_s, u"archive"_s, u"spam"_s,
                                  u"trash"_s}));
}

TEST(Mailbox, TakesMessagesInFourRoles)
{
    EXPECT_EQ(moveTargets, (std::array{Mailbox::inbox, Mailbox::archive, Mailbox::spam, Mailbox::trash}));
}

TEST(Mailbox, CallsTheSpamRoleJunkExceptOnGoogle)
{
    EXPECT_EQ(name(Mailbox::spam, ProviderKind::google), u"Spam");
    EXPECT_EQ(name(Mailbox::spam, ProviderKind::microsoft), u"Junk");
    EXPECT_EQ(name(Mailbox::spam, ProviderKind::imap), u"Junk");
}

TEST(Mailbox, CallsTheArchiveAllMailOnGoogleOnly)
{
    EXPECT_EQ(name(Mailbox::archive, ProviderKind::google), u"All Mail");
    EXPECT_EQ(name(Mailbox::archive, ProviderKind::microsoft), u"Archive");
    EXPECT_EQ(name(Mailbox::archive, ProviderKind::imap), u"Archive");
}

TEST(Mailbox, CallsTheOtherRolesByTheirNames)
{
    EXPECT_EQ(name(Mailbox::inbox, ProviderKind::google), u"Inbox");
    EXPECT_EQ(name(Mailbox::starred, ProviderKind::google), u"Starred");
    EXPECT_EQ(name(Mailbox::starred, ProviderKind::imap), u"Flagged");
    EXPECT_EQ(name(Mailbox::sent, ProviderKind::imap), u"Sent");
    EXPECT_EQ(name(Mailbox::drafts, ProviderKind::microsoft), u"Drafts");
    EXPECT_EQ(name(Mailbox::trash, ProviderKind::google), u"Trash");
}

TEST(MailLabel, IsNamedByTheLastComponentOfItsPath)
{
    EXPECT_EQ(MailLabel({u"1"_s, u"A/B/C"_s}).name(), u"C");
    EXPECT_EQ(MailLabel({u"1"_s, u"A/"_s}).name(), u"A");
    EXPECT_EQ(MailLabel({u"1"_s, u"//"_s}).name(), u"//");
    EXPECT_EQ(MailLabel({u"1"_s, u""_s}).name(), u"");
}

TEST(MailLabel, IsAsDeepAsItsPathHasComponentsLessOne)
{
    EXPECT_EQ(MailLabel({u"1"_s, u"A/B/C"_s}).depth(), 2);
    EXPECT_EQ(MailLabel({u"1"_s, u"A"_s}).depth(), 0);
    EXPECT_EQ(MailLabel({u"1"_s, u"A//B/"_s}).depth(), 1);
    EXPECT_EQ(MailLabel({u"1"_s, u""_s}).depth(), 0);
    EXPECT_EQ(MailLabel({u"1"_s, u"/"_s}).depth(), 0);
}

TEST(MailLabel, IsWrittenByItsFieldNamesAndReadBack)
{
    const MailLabel label{u"Label_12"_s, u"Work/Invoices"_s};
    EXPECT_EQ(written(label.toJSON()), R"({"id":"Label_12","path":"Work/Invoices"})");
    EXPECT_EQ(MailLabel::fromJSON(label.toJSON()), label);
    EXPECT_THROW(MailLabel::fromJSON(QJsonObject{{u"id"_s, u"x"_s}}), DecodingError);
}

TEST(MailLabel, IsHashedByBothItsFields)
{
    EXPECT_NE(qHash(MailLabel{u"a"_s, u"b"_s}), qHash(MailLabel{u"a"_s, u"c"_s}));
    EXPECT_NE(qHash(MailLabel{u"a"_s, u"b"_s}), qHash(MailLabel{u"c"_s, u"b"_s}));
}

TEST(MailLabel, IsOrderedLevelByLevelSoThatSubtreesStayTogether)
{
    QList<MailLabel> labels{{u"1"_s, u"Work"_s},
                            {u"2"_s, u"Work-2"_s},
                            {u"3"_s, u"Work/A"_s},
                            {u"4"_s, u"archive 10"_s},
                            {u"5"_s, u"Archive 9"_s}};
    std::ranges::sort(labels, isOrderedBefore);
    QStringList paths;
    for (const MailLabel& label : labels)
        paths.append(label.path);
    EXPECT_LT(paths.indexOf(u"Archive 9"_s), paths.indexOf(u"Work"_s));
    EXPECT_LT(paths.indexOf(u"archive 10"_s), paths.indexOf(u"Work"_s));
    EXPECT_EQ(paths.indexOf(u"Work/A"_s), paths.indexOf(u"Work"_s) + 1);
}

TEST(MailLabel, KeepsSubtreesApartWhoseNamesDifferInCaseAlone)
{
    QList<MailLabel> labels{{u"1"_s, u"work/a"_s}, {u"2"_s, u"Work/b"_s}, {u"3"_s, u"work/c"_s}};
    std::ranges::sort(labels, isOrderedBefore);
    QStringList ids;
    for (const MailLabel& label : labels)
        ids.append(label.id);
    EXPECT_EQ(ids, QStringList({u"2"_s, u"1"_s, u"3"_s}));
}

TEST(MailLabel, OfTheSamePathIsOrderedByItsIdentifier)
{
    EXPECT_TRUE(isOrderedBefore({u"a"_s, u"X"_s}, {u"b"_s, u"X"_s}));
    EXPECT_FALSE(isOrderedBefore({u"b"_s, u"X"_s}, {u"a"_s, u"X"_s}));
    EXPECT_FALSE(isOrderedBefore({u"a"_s, u"X"_s}, {u"a"_s, u"X"_s}));
}

TEST(MailboxRef, OfALabelIsIdentifiedByTheLabelsIdentifier)
{
    const MailboxRef ref = MailboxRef::label({u"Label_12"_s, u"Work"_s});
    EXPECT_EQ(ref.id(), u"label:Label_12");
    EXPECT_EQ(ref.role(), std::nullopt);
    EXPECT_EQ(ref.name(ProviderKind::google), u"Work");
}

TEST(MailboxRef, OfARoleIsIdentifiedByItsStoredText)
{
    const MailboxRef ref = MailboxRef::system(Mailbox::archive);
    EXPECT_EQ(ref.id(), u"system:archive");
    EXPECT_EQ(ref.role(), Mailbox::archive);
    EXPECT_EQ(ref.label(), nullptr);
    EXPECT_EQ(ref.name(ProviderKind::google), u"All Mail");
    EXPECT_EQ(ref.name(ProviderKind::imap), u"Archive");
}

TEST(MailboxRef, IsWrittenAsAnObjectWithOneKey)
{
    EXPECT_EQ(written(MailboxRef::system(Mailbox::inbox).toJSON()), R"({"system":{"_0":"inbox"}})");
    EXPECT_EQ(written(MailboxRef::label({u"i"_s, u"p"_s}).toJSON()),
              R"({"label":{"_0":{"id":"i","path":"p"}}})");
}

TEST(MailboxRef, IsReadBackFromWhatWasWritten)
{
    for (const Mailbox role : allMailboxes)
        EXPECT_EQ(MailboxRef::fromJSON(MailboxRef::system(role).toJSON()), MailboxRef::system(role));
    const MailboxRef label = MailboxRef::label({u"i"_s, u"p"_s});
    EXPECT_EQ(MailboxRef::fromJSON(label.toJSON()), label);
}

TEST(MailboxRef, IsRefusedWithAnyOtherNumberOfKeysThanOne)
{
    const QString text = u"Invalid number of keys found, expected one."_s;
    EXPECT_EQ(refusal("{}"), text);
    EXPECT_EQ(refusal(R"({"system":{"_0":"inbox"},"label":{"_0":{"id":"i","path":"p"}}})"), text);
}

TEST(MailboxRef, IsRefusedWhereItsCaseCannotBeRead)
{
    for (const QByteArray json : {R"({"system":{"_0":"outbox"}})", R"({"system":{"_0":1}})",
                                  R"({"system":{}})", R"({"system":"inbox"})", R"({"folder":{"_0":"inbox"}})",
                                  R"({"label":{"_0":"inbox"}})", R"({"label":{"_0":{"id":"i"}}})"}) {
        EXPECT_FALSE(refusal(json).isEmpty()) << json.toStdString();
        EXPECT_NE(refusal(json), u"Invalid number of keys found, expected one.") << json.toStdString();
    }
}

} // namespace
} // namespace Larkhaven

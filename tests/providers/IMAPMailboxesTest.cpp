#include "providers/IMAPMailboxes.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using IMAPMailboxes::Listing;

IMAPClient::ListedMailbox listed(const QString& name, const QSet<QString>& attributes = {},
                                 const std::optional<QString>& delimiter = u"/"_s)
{
    return {name, attributes, delimiter};
}

QStringList pathsOf(const QList<MailLabel>& labels)
{
    QStringList paths;
    for (const MailLabel& label : labels)
        paths.append(label.path);
    return paths;
}

// --- Roles

TEST(IMAPMailboxes, PrefersASpecialUseAttributeToAnyName)
{
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::spam, {listed(u"Spam"_s), listed(u"Werbung"_s, {u"\\junk"_s})}),
              u"Werbung"_s);
}

TEST(IMAPMailboxes, PrefersTheTablesOrderOfNamesToTheServers)
{
    const Listing listing{listed(u"Spam"_s), listed(u"Junk"_s)};
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::spam, listing), u"Junk"_s);
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::spam, {listing[1], listing[0]}), u"Junk"_s);
}

TEST(IMAPMailboxes, TakesTheFirstOfSeveralMailboxesOfOneAttributeOrName)
{
    EXPECT_EQ(
        IMAPMailboxes::find(Mailbox::sent, {listed(u"a"_s, {u"\\sent"_s}), listed(u"b"_s, {u"\\sent"_s})}),
        u"a"_s);
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::sent, {listed(u"x/Sent"_s), listed(u"Sent"_s)}), u"x/Sent"_s);
}

TEST(IMAPMailboxes, KnowsARoleByTheLastLevelOfAName)
{
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::sent, {listed(u"INBOX.Sent Items"_s, {}, u"."_s)}),
              u"INBOX.Sent Items"_s);
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::sent, {listed(u"Archive/Sent"_s)}), u"Archive/Sent"_s);
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::sent, {listed(u"x.Sent"_s)}), std::nullopt);
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::sent, {listed(u"x/Sent"_s, {}, std::nullopt)}), std::nullopt);
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::sent, {listed(u"x/Sent"_s, {}, u""_s)}), std::nullopt);
}

TEST(IMAPMailboxes, KnowsEachRoleByEachOfItsNames)
{
    const QList<QPair<Mailbox, QStringList>> table{
        {Mailbox::sent, {u"Sent"_s, u"SENT MESSAGES"_s, u"sent items"_s, u"Sent Mail"_s}},
        {Mailbox::drafts, {u"Drafts"_s, u"draft"_s}},
        {Mailbox::archive, {u"Archive"_s, u"archives"_s}},
        {Mailbox::spam, {u"Junk"_s, u"Spam"_s, u"Junk E-mail"_s, u"junk email"_s, u"Bulk Mail"_s}},
        {Mailbox::trash, {u"Trash"_s, u"Deleted Messages"_s, u"deleted items"_s, u"Bin"_s}},
    };
    for (const auto& [role, names] : table) {
        for (const QString& name : names)
            EXPECT_EQ(IMAPMailboxes::find(role, {listed(name)}), name);
        // Of two names the earlier one wins.
        for (qsizetype later = 1; later < names.size(); ++later)
            EXPECT_EQ(IMAPMailboxes::find(role, {listed(names[later]), listed(names[later - 1])}),
                      names[later - 1]);
    }
}

TEST(IMAPMailboxes, KnowsEachRoleByItsAttribute)
{
    const QList<QPair<Mailbox, QString>> table{{Mailbox::sent, u"\\sent"_s},
                                               {Mailbox::drafts, u"\\drafts"_s},
                                               {Mailbox::archive, u"\\archive"_s},
                                               {Mailbox::spam, u"\\junk"_s},
                                               {Mailbox::trash, u"\\trash"_s}};
    for (const auto& [role, attribute] : table)
        EXPECT_EQ(IMAPMailboxes::find(role, {listed(u"x"_s), listed(u"y"_s, {attribute})}), u"y"_s);
}

TEST(IMAPMailboxes, KnowsNamesInModifiedUTF7)
{
    // "Sent" spelled in the encoding that only other characters need.
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::sent, {listed(u"&AFMAZQBuAHQ-"_s)}), u"&AFMAZQBuAHQ-"_s);
}

TEST(IMAPMailboxes, ChoosesNoMailboxThatCannotBeSelected)
{
    const Listing listing{listed(u"Trash"_s, {u"\\noselect"_s, u"\\trash"_s})};
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::trash, listing), std::nullopt);
    EXPECT_TRUE(IMAPMailboxes::labels(listing).isEmpty());
}

TEST(IMAPMailboxes, TakesTheInboxForTheInboxAndTheFlagged)
{
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::inbox, {}), u"INBOX"_s);
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::starred, {}), u"INBOX"_s);
}

TEST(IMAPMailboxes, MakesMissingMailboxesByNamesThatItKnows)
{
    EXPECT_EQ(IMAPMailboxes::nameToCreate(Mailbox::archive), u"Archive");
    EXPECT_EQ(IMAPMailboxes::nameToCreate(Mailbox::drafts), u"Drafts");
    for (const Mailbox role :
         {Mailbox::sent, Mailbox::drafts, Mailbox::archive, Mailbox::spam, Mailbox::trash}) {
        const QString name = IMAPMailboxes::nameToCreate(role);
        EXPECT_EQ(IMAPMailboxes::find(role, {listed(name)}), name);
    }
}

// --- Paths

TEST(IMAPMailboxes, ShowsPathsDecodedWithSlashes)
{
    EXPECT_EQ(IMAPMailboxes::displayPath(u"inbox"_s, u"/"_s), u"Inbox");
    EXPECT_EQ(IMAPMailboxes::displayPath(u"Entw&APw-rfe"_s, u"/"_s), u"Entwürfe");
    EXPECT_EQ(IMAPMailboxes::displayPath(u"A.B.C"_s, u"."_s), u"A/B/C");
    EXPECT_EQ(IMAPMailboxes::displayPath(u"A.B"_s, u"/"_s), u"A.B");
    EXPECT_EQ(IMAPMailboxes::displayPath(u"A.B"_s, std::nullopt), u"A.B");
    EXPECT_EQ(IMAPMailboxes::displayPath(u"A.B"_s, u""_s), u"A.B");
}

TEST(IMAPMailboxes, ShowsFoldersBelowTheInboxAsOnesOfTheTopLevel)
{
    EXPECT_EQ(IMAPMailboxes::displayPath(u"INBOX.Projects.2024"_s, u"."_s), u"Projects/2024");
    EXPECT_EQ(IMAPMailboxes::displayPath(u"Inbox/Work"_s, u"/"_s), u"Work");
    EXPECT_EQ(IMAPMailboxes::displayPath(u"INBOXES/Work"_s, u"/"_s), u"INBOXES/Work");
    EXPECT_EQ(IMAPMailboxes::displayPath(u"INBOX/INBOX/x"_s, u"/"_s), u"INBOX/x");
}

TEST(IMAPMailboxes, ListsWhatIsNoRoleAndNoMereNodeAsLabels)
{
    const Listing listing{listed(u"INBOX"_s, {}, u"."_s),
                          listed(u"INBOX.Work"_s, {}, u"."_s),
                          listed(u"INBOX.Sent Items"_s, {}, u"."_s),
                          listed(u"INBOX.Node"_s, {u"\\noselect"_s}, u"."_s),
                          listed(u"INBOX.Gone"_s, {u"\\nonexistent"_s}, u"."_s),
                          listed(u"INBOX.Archive"_s, {}, u"."_s),
                          listed(u"inbox"_s, {}, u"."_s),
                          listed(u"INBOX.&APw-"_s, {}, u"."_s)};
    const QList<MailLabel> labels = IMAPMailboxes::labels(listing);
    EXPECT_EQ(labels.size(), 2);
    EXPECT_TRUE(labels.contains(MailLabel{u"INBOX.&APw-"_s, u"ü"_s}));
    EXPECT_TRUE(labels.contains(MailLabel{u"INBOX.Work"_s, u"Work"_s}));
}

TEST(IMAPMailboxes, ListsAMailboxThatOnlyBearsANameOfARoleThatIsTakenAsLabel)
{
    const QList<MailLabel> labels =
        IMAPMailboxes::labels({listed(u"Werbung"_s, {u"\\junk"_s}), listed(u"Spam"_s)});
    EXPECT_EQ(pathsOf(labels), QStringList(u"Spam"_s));
}

TEST(IMAPMailboxes, SortsLabelsByTheirPaths)
{
    EXPECT_EQ(pathsOf(IMAPMailboxes::labels({listed(u"b"_s), listed(u"a/c"_s), listed(u"a"_s)})),
              QStringList({u"a"_s, u"a/c"_s, u"b"_s}));
}

TEST(IMAPMailboxes, HoldsAMailboxThatIsNoMereNode)
{
    const Listing listing{listed(u"a"_s), listed(u"b"_s, {u"\\noselect"_s}),
                          listed(u"c"_s, {u"\\nonexistent"_s})};
    EXPECT_TRUE(IMAPMailboxes::contains(listing, u"a"_s));
    EXPECT_FALSE(IMAPMailboxes::contains(listing, u"A"_s));
    EXPECT_FALSE(IMAPMailboxes::contains(listing, u"b"_s));
    EXPECT_FALSE(IMAPMailboxes::contains(listing, u"c"_s));
}

TEST(IMAPMailboxes, KnowsTheDelimiterThatWasToldLast)
{
    EXPECT_EQ(IMAPMailboxes::delimiter({}), std::nullopt);
    EXPECT_EQ(IMAPMailboxes::delimiter({listed(u"a"_s, {}, std::nullopt)}), std::nullopt);
    EXPECT_EQ(IMAPMailboxes::delimiter(
                  {listed(u"a"_s, {}, u"/"_s), listed(u"b"_s, {}, u"."_s), listed(u"c"_s, {}, std::nullopt)}),
              u"."_s);
}

// --- New names

TEST(IMAPMailboxes, PutsANewFolderBelowTheInboxWhereAllOthersAre)
{
    const Listing listing{listed(u"INBOX"_s, {}, u"."_s), listed(u"INBOX.Sent"_s, {}, u"."_s),
                          listed(u"inbox.Work"_s, {}, u"."_s)};
    EXPECT_EQ(IMAPMailboxes::wireName(u"Projects/2024"_s, listing, u"."_s), u"INBOX.Projects.2024"_s);
}

TEST(IMAPMailboxes, PutsANewFolderAtTheTopWhereThereIsNoOtherThanTheInbox)
{
    EXPECT_EQ(IMAPMailboxes::wireName(u"Projects/2024"_s, {listed(u"INBOX"_s, {}, u"."_s)}, u"."_s),
              u"Projects.2024"_s);
    EXPECT_EQ(IMAPMailboxes::wireName(u"Projects/2024"_s, {}, u"."_s), u"Projects.2024"_s);
}

TEST(IMAPMailboxes, PutsANewFolderAtTheTopWhereAnyOtherIsThere)
{
    const Listing listing{listed(u"INBOX/Work"_s), listed(u"Sent"_s)};
    EXPECT_EQ(IMAPMailboxes::wireName(u"Projects"_s, listing, u"/"_s), u"Projects"_s);
}

TEST(IMAPMailboxes, EncodesTheLevelsOfANewNameAndDropsEmptyOnes)
{
    EXPECT_EQ(IMAPMailboxes::wireName(u" Entwürfe // A&B /"_s, {}, u"/"_s), u"Entw&APw-rfe/A&-B"_s);
}

TEST(IMAPMailboxes, HasNoNameForAnEmptyPath)
{
    for (const QString& path : {u"  /  "_s, u""_s, u"/"_s, u"   "_s})
        EXPECT_EQ(IMAPMailboxes::wireName(path, {}, u"/"_s), std::nullopt);
}

} // namespace
} // namespace Larkhaven

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
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::sent, {listed(u"INBOX/Sent"_s), listed(u"Sent"_s)}),
              u"INBOX/Sent"_s);
}

TEST(IMAPMailboxes, KnowsARoleByTheLastLevelOfAName)
{
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::sent, {listed(u"INBOX.Sent Items"_s, {}, u"."_s)}),
              u"INBOX.Sent Items"_s);
    EXPECT_EQ(IMAPMailboxes::find(Mailbox::sent, {listed(u"inbox/Sent"_s)}), u"inbox/Sent"_s);
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

// --- Namespaces

using Namespaces = IMAPMailboxes::Namespaces;

const Namespaces courier{{{u"INBOX."_s, u"."_s}}, {{u"user."_s, u"."_s}, {u"shared."_s, u"."_s}}};
/// Everything is the user's but what others' namespaces name.
const Namespaces flat{{{QString(), u"/"_s}}, {{u"user/"_s, u"/"_s}}};
/// The top level is shared.
const Namespaces cyrus{{{u"INBOX."_s, u"."_s}}, {{u"user."_s, u"."_s}, {QString(), u"."_s}}};

std::optional<QString> sentIn(const Listing& listing, const Namespaces& namespaces = {})
{
    return IMAPMailboxes::find(Mailbox::sent, listing, namespaces);
}

TEST(IMAPMailboxes, GivesNoRoleToAMailboxByItsNameThatMayBeAnotherUsers)
{
    const auto bobs = listed(u"user.bob.Sent"_s, {}, u"."_s);
    const auto own = listed(u"INBOX.Sent"_s, {}, u"."_s);
    EXPECT_EQ(sentIn({bobs}), std::nullopt);
    EXPECT_EQ(sentIn({bobs}, courier), std::nullopt);
    EXPECT_EQ(sentIn({bobs}, flat), u"user.bob.Sent"_s) << "the server says that it is the user's own";
    EXPECT_EQ(sentIn({bobs, own}), u"INBOX.Sent"_s);
    EXPECT_EQ(sentIn({bobs, own}, courier), u"INBOX.Sent"_s);
    EXPECT_EQ(sentIn({listed(u"Archive/Sent"_s)}), std::nullopt);
    EXPECT_EQ(sentIn({listed(u"Archive/Sent"_s)}, flat), u"Archive/Sent"_s);
    EXPECT_EQ(sentIn({listed(u"user/bob/Sent"_s)}, flat), std::nullopt);
    EXPECT_EQ(sentIn({listed(u"INBOX/a/Sent"_s)}), std::nullopt);
}

TEST(IMAPMailboxes, GivesNoRoleToASharedMailboxOfTheTopLevel)
{
    const auto shared = listed(u"Sent"_s, {}, u"."_s);
    EXPECT_EQ(sentIn({shared}), u"Sent"_s) << "nobody told";
    EXPECT_EQ(sentIn({shared}, cyrus), std::nullopt);
    EXPECT_EQ(sentIn({shared}, courier), u"Sent"_s) << "in no namespace that was told";
    EXPECT_EQ(sentIn({listed(u"x.Sent"_s, {}, u"."_s)}, courier), std::nullopt);
    EXPECT_EQ(sentIn({shared, listed(u"inbox.Sent"_s, {}, u"."_s)}, cyrus), u"inbox.Sent"_s);
}

TEST(IMAPMailboxes, PrefersNearMailboxesToDeepOnesAndCountsNoAttributeOfOthers)
{
    EXPECT_EQ(sentIn({listed(u"a/Sent"_s), listed(u"Sent Items"_s)}, flat), u"Sent Items"_s);
    const auto deep = listed(u"[Mail]/Gesendet"_s, {u"\\sent"_s});
    EXPECT_EQ(sentIn({deep, listed(u"Sent"_s)}), u"[Mail]/Gesendet"_s);
    EXPECT_EQ(sentIn({deep, listed(u"Gone"_s, {u"\\sent"_s})}), u"Gone"_s);
    const auto bobs = listed(u"user/bob/Out"_s, {u"\\sent"_s});
    EXPECT_EQ(sentIn({bobs}), u"user/bob/Out"_s) << "nobody told";
    EXPECT_EQ(sentIn({bobs}, flat), std::nullopt);
    EXPECT_EQ(sentIn({bobs, listed(u"Sent"_s)}, flat), u"Sent"_s);
    const Namespaces below{{{u"mail/"_s, u"/"_s}}, {}};
    EXPECT_EQ(sentIn({listed(u"mail/a/Sent"_s), listed(u"mail/Sent Items"_s)}, below), u"mail/Sent Items"_s);
}

TEST(IMAPMailboxes, NeedsNamespacesOnlyWhereTheyDecide)
{
    const auto asks = [](const Listing& listing) {
        return IMAPMailboxes::isForNamespacesToTell(Mailbox::sent, listing);
    };
    EXPECT_FALSE(asks({}));
    EXPECT_FALSE(asks({listed(u"Work"_s)}));
    EXPECT_FALSE(asks({listed(u"Out"_s, {u"\\sent"_s}), listed(u"Sent"_s)}));
    EXPECT_FALSE(asks({listed(u"Sent"_s, {u"\\noselect"_s})}));
    EXPECT_TRUE(asks({listed(u"Sent"_s)}));
    EXPECT_TRUE(asks({listed(u"a/b/Out"_s, {u"\\sent"_s})}));
    EXPECT_FALSE(IMAPMailboxes::isForNamespacesToTell(Mailbox::inbox, {listed(u"INBOX"_s)}));
}

TEST(IMAPMailboxes, ListsAMailboxThatOnlyBearsANameOfARoleInAnothersNamespaceAsLabel)
{
    const Listing listing{listed(u"Sent"_s), listed(u"user/bob/Drafts"_s)};
    EXPECT_EQ(pathsOf(IMAPMailboxes::labels(listing, flat)), QStringList(u"user/bob/Drafts"_s));
}

// --- New names

using Places = QList<IMAPMailboxes::Place>;

TEST(IMAPMailboxes, PutsANewFolderIntoThePersonalNamespaceWhereItIsTold)
{
    const Listing listing{listed(u"Work"_s)};
    EXPECT_EQ(IMAPMailboxes::placesForNew(listing, courier, u"/"_s), Places({{u"INBOX."_s, u"."_s}}));
    EXPECT_EQ(IMAPMailboxes::placesForNew(listing, flat, u"."_s), Places({{QString(), u"/"_s}}));
    const Namespaces silent{{{u"mail"_s, std::nullopt}}, {}};
    EXPECT_EQ(IMAPMailboxes::placesForNew(listing, silent, u"."_s), Places({{u"mail"_s, u"."_s}}));
}

TEST(IMAPMailboxes, PutsANewFolderBelowTheInboxWhereAllOthersAre)
{
    const Listing listing{listed(u"INBOX"_s, {}, u"."_s), listed(u"INBOX.Sent"_s, {}, u"."_s),
                          listed(u"inbox.Work"_s, {}, u"."_s)};
    EXPECT_EQ(IMAPMailboxes::placesForNew(listing, {}, u"."_s), Places({{u"INBOX."_s, u"."_s}}));
}

TEST(IMAPMailboxes, TriesTheTopLevelAndThenBelowTheInboxWhereNothingTellsMore)
{
    const Places both{{QString(), u"."_s}, {u"INBOX."_s, u"."_s}};
    EXPECT_EQ(IMAPMailboxes::placesForNew({listed(u"INBOX"_s, {}, u"."_s)}, {}, u"."_s), both);
    EXPECT_EQ(IMAPMailboxes::placesForNew({}, {}, u"."_s), both);
    EXPECT_EQ(
        IMAPMailboxes::placesForNew({listed(u"INBOX.Work"_s, {}, u"."_s), listed(u"Sent"_s)}, {}, u"."_s),
        both);
    const Namespaces foreign{{}, {{u"user."_s, u"."_s}}};
    EXPECT_EQ(IMAPMailboxes::placesForNew({}, foreign, u"."_s), both);
}

TEST(IMAPMailboxes, KnowsWhereAMailboxIs)
{
    using IMAPMailboxes::Place;
    EXPECT_EQ(IMAPMailboxes::placeOf(u"inbox.Work"_s, {}, u"."_s), (Place{u"inbox."_s, u"."_s}));
    EXPECT_EQ(IMAPMailboxes::placeOf(u"Work"_s, courier, u"."_s), (Place{QString(), u"."_s}));
    EXPECT_EQ(IMAPMailboxes::placeOf(u"shared.x"_s, courier, u"."_s), (Place{u"shared."_s, u"."_s}));
    EXPECT_EQ(IMAPMailboxes::placeOf(u"x"_s, flat, u"."_s), (Place{QString(), u"."_s}));
}

TEST(IMAPMailboxes, EncodesTheLevelsOfANewNameAndDropsEmptyOnes)
{
    EXPECT_EQ(IMAPMailboxes::wireName(u" Entwürfe // A&B /"_s, {QString(), u"/"_s}), u"Entw&APw-rfe/A&-B"_s);
    EXPECT_EQ(IMAPMailboxes::wireName(u"Projects/2024"_s, {u"INBOX."_s, u"."_s}), u"INBOX.Projects.2024"_s);
}

TEST(IMAPMailboxes, TakesAPathThatBeginsWithANamespaceForTheWholeOfIt)
{
    EXPECT_EQ(IMAPMailboxes::wireName(u"Inbox/Work"_s, {u"INBOX."_s, u"."_s}), u"Inbox.Work"_s);
    EXPECT_EQ(IMAPMailboxes::wireName(u"user/bob/x"_s, {u"INBOX."_s, u"."_s}, courier), u"user.bob.x"_s);
    EXPECT_EQ(IMAPMailboxes::wireName(u"username/x"_s, {u"INBOX."_s, u"."_s}, courier),
              u"INBOX.username.x"_s);
    EXPECT_EQ(IMAPMailboxes::wireName(u"x"_s, {QString(), u"."_s}, cyrus), u"x"_s);
}

TEST(IMAPMailboxes, RefusesANameOfNothingAndOneThatHoldsTheDelimiter)
{
    using enum IMAPMailboxes::Naming;
    for (const QString& path : {u"  /  "_s, u""_s, u"/"_s, u"   "_s})
        EXPECT_EQ(IMAPMailboxes::naming(path, u"."_s), empty);
    EXPECT_EQ(IMAPMailboxes::naming(u"a/v1.2"_s, u"."_s), holdsDelimiter);
    EXPECT_EQ(IMAPMailboxes::naming(u"a/v1.2"_s, u"/"_s), good);
    EXPECT_EQ(IMAPMailboxes::naming(u"a/b c"_s, u"."_s), good);
    EXPECT_EQ(IMAPMailboxes::naming(u"ä"_s, u"-"_s), holdsDelimiter) << "as it is encoded";
}

} // namespace
} // namespace Larkhaven

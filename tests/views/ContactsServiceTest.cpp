#include "views/compose/ContactsService.h"

#include "support/Await.h"
#include "support/QtPrinters.h"

#include <QSignalSpy>
#include <QThread>

#include <gtest/gtest.h>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// An address book with a script.
class ScriptedBook final : public AddressBook {
public:
    Task<Authorization> authorization() override
    {
        ++questions;
        co_return status;
    }

    Task<bool> requestAuthorization() override
    {
        ++requests;
        co_return grants;
    }

    Task<> enumerate(std::function<void(QList<Contact>)> found) override
    {
        ++enumerations;
        for (const QList<Contact>& list : lists)
            found(list);
        if (fails)
            throw std::runtime_error("the book is torn");
        co_return;
    }

    Authorization status = Authorization::authorized;
    bool grants = true;
    bool fails = false;
    QList<QList<Contact>> lists;
    int questions = 0;
    int requests = 0;
    int enumerations = 0;
};

Contact contact(const QString& given, const QString& family, const QStringList& emails)
{
    return {given, {}, family, {}, {}, emails};
}

class ContactsServiceTest : public testing::Test {
protected:
    QStringList found(const QString& query, const QSet<QString>& leaveOut = {}, qsizetype limit = 6)
    {
        QStringList emails;
        for (const ContactSuggestion& suggestion : service.suggest(query, leaveOut, limit))
            emails.append(suggestion.email);
        return emails;
    }

    void load(const QList<Contact>& contacts)
    {
        book->lists = {contacts};
        await(service.requestAccess());
        ASSERT_EQ(service.status(), ContactsService::Status::ready);
    }

    std::shared_ptr<ScriptedBook> book = std::make_shared<ScriptedBook>();
    ContactsService service{book};
};

TEST_F(ContactsServiceTest, KnowsNothingBeforeItIsAsked)
{
    EXPECT_EQ(service.status(), ContactsService::Status::unknown);
    EXPECT_TRUE(found(u"a"_s).isEmpty());
    EXPECT_EQ(book->questions, 0);
}

TEST_F(ContactsServiceTest, LoadsOnceWhenItIsAuthorised)
{
    book->lists = {{contact(u"Ann"_s, u"Smith"_s, {u"ann@x"_s})}};
    QList<ContactsService::Status> statuses;
    QObject::connect(&service, &ContactsService::changed, &service,
                     [&] { statuses.append(service.status()); });
    await(service.requestAccess());
    await(service.requestAccess());
    EXPECT_EQ(statuses, QList<ContactsService::Status>(
                            {ContactsService::Status::loading, ContactsService::Status::ready}));
    EXPECT_EQ(book->questions, 1);
    EXPECT_EQ(book->requests, 0);
    EXPECT_EQ(book->enumerations, 1);
    EXPECT_EQ(service.entries(), QList<ContactSuggestion>({{u"Ann Smith"_s, u"ann@x"_s}}));
}

TEST_F(ContactsServiceTest, AsksTheUserWhereNothingIsDetermined)
{
    book->status = AddressBook::Authorization::notDetermined;
    await(service.requestAccess());
    EXPECT_EQ(book->requests, 1);
    EXPECT_EQ(service.status(), ContactsService::Status::ready);
}

TEST_F(ContactsServiceTest, ADenialIsFinalAndAsksNoMore)
{
    book->status = AddressBook::Authorization::notDetermined;
    book->grants = false;
    await(service.requestAccess());
    EXPECT_EQ(service.status(), ContactsService::Status::denied);
    book->grants = true;
    await(service.requestAccess());
    EXPECT_EQ(service.status(), ContactsService::Status::denied);
    EXPECT_EQ(book->requests, 1);
    EXPECT_EQ(book->enumerations, 0);
}

TEST_F(ContactsServiceTest, AnyOtherStatusIsADenial)
{
    book->status = AddressBook::Authorization::denied;
    await(service.requestAccess());
    EXPECT_EQ(service.status(), ContactsService::Status::denied);
    EXPECT_EQ(book->requests, 0);
}

TEST_F(ContactsServiceTest, TwoContactsWithTheSameAddressInDifferentCaseGiveOneEntry)
{
    load({contact(u"Ann"_s, {}, {u"Ann@X.example"_s}), contact(u"Bob"_s, {}, {u"ann@x.EXAMPLE"_s})});
    EXPECT_EQ(service.entries(), QList<ContactSuggestion>({{u"Ann"_s, u"Ann@X.example"_s}}));
}

TEST_F(ContactsServiceTest, AContactWithNoNameNicknameOrOrganizationIsListedWithAnEmptyName)
{
    load({contact({}, {}, {u"ann@x"_s})});
    EXPECT_EQ(service.entries(), QList<ContactSuggestion>({{u""_s, u"ann@x"_s}}));
    EXPECT_EQ(found(u"an"_s), QStringList({u"ann@x"_s}));
}

TEST_F(ContactsServiceTest, TheNameIsThePartsThenTheNicknameThenTheOrganization)
{
    load({{u"A"_s, u"B"_s, u"C"_s, u"Nick"_s, u"Org"_s, {u"1@x"_s}},
          {u"A"_s, {}, u"C"_s, {}, {}, {u"2@x"_s}},
          {{}, {}, {}, u"Nick"_s, u"Org"_s, {u"3@x"_s}},
          {{}, {}, {}, {}, u"Org"_s, {u"4@x"_s}}});
    EXPECT_EQ(
        service.entries(),
        QList<ContactSuggestion>(
            {{u"A B C"_s, u"1@x"_s}, {u"A C"_s, u"2@x"_s}, {u"Nick"_s, u"3@x"_s}, {u"Org"_s, u"4@x"_s}}));
}

TEST_F(ContactsServiceTest, TheQuerySmiFindsAnnSmithThroughTheSecondWord)
{
    load({contact(u"Ann"_s, u"Smith"_s, {u"a@x"_s}), contact(u"Bob"_s, u"Asmi"_s, {u"b@x"_s})});
    EXPECT_EQ(found(u"smi"_s), QStringList({u"a@x"_s}));
    EXPECT_EQ(found(u"SMI"_s), QStringList({u"a@x"_s}));
    EXPECT_EQ(found(u"ann s"_s), QStringList({u"a@x"_s}));
}

TEST_F(ContactsServiceTest, AQueryThatMatchesMoreThanSixEntriesGivesTheFirstSixInNameOrder)
{
    QList<Contact> contacts;
    for (const QString& name : {u"h"_s, u"B"_s, u"g"_s, u"A"_s, u"f"_s, u"C"_s, u"e"_s, u"D"_s})
        contacts.append(contact(name, {}, {u"q%1@x"_s.arg(name)}));
    load(contacts);
    EXPECT_EQ(found(u"q"_s), QStringList({u"qA@x"_s, u"qB@x"_s, u"qC@x"_s, u"qD@x"_s, u"qe@x"_s, u"qf@x"_s}));
}

TEST_F(ContactsServiceTest, EqualNamesKeepTheirOrder)
{
    load({contact(u"ann"_s, {}, {u"2@x"_s}), contact(u"Ann"_s, {}, {u"1@x"_s, u"3@x"_s})});
    QStringList emails;
    for (const ContactSuggestion& entry : service.entries())
        emails.append(entry.email);
    EXPECT_EQ(emails, QStringList({u"2@x"_s, u"1@x"_s, u"3@x"_s}));
}

TEST_F(ContactsServiceTest, AnAddressWithoutAnAtSignIsIgnored)
{
    load({contact(u"Ann"_s, {}, {u"ann"_s, u"ann@x"_s})});
    EXPECT_EQ(service.entries(), QList<ContactSuggestion>({{u"Ann"_s, u"ann@x"_s}}));
}

TEST_F(ContactsServiceTest, LeavesOutTheAddressesTold)
{
    load({contact(u"Ann"_s, {}, {u"Ann@X"_s, u"ann@y"_s})});
    EXPECT_EQ(found(u"ann"_s, {u"ann@x"_s}), QStringList({u"ann@y"_s}));
}

TEST_F(ContactsServiceTest, AnEmptyQueryFindsNothing)
{
    load({contact(u"Ann"_s, {}, {u"ann@x"_s})});
    EXPECT_TRUE(found({}).isEmpty());
}

TEST_F(ContactsServiceTest, AnEnumerationThatFailsKeepsWhatItFound)
{
    book->lists = {{contact(u"Ann"_s, {}, {u"ann@x"_s})}};
    book->fails = true;
    await(service.requestAccess());
    EXPECT_EQ(service.status(), ContactsService::Status::ready);
    EXPECT_EQ(found(u"ann"_s), QStringList({u"ann@x"_s}));
}

TEST_F(ContactsServiceTest, ManyContactsAreSortedAndSearched)
{
    QList<Contact> contacts;
    for (int number = 0; number < 50'000; ++number)
        contacts.append(contact(u"Name %1"_s.arg(number), {}, {u"a%1@x"_s.arg(number)}));
    load(contacts);
    EXPECT_EQ(found(u"49999"_s), QStringList({u"a49999@x"_s}));
}

} // namespace
} // namespace Larkhaven

#include "domain/MailError.h"
#include "model/AppModel.h"
#include "support/Await.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>
#include <iostream>
#include <random>

using namespace Qt::StringLiterals;

// The model under a service that delays, fails and reorders. LARKHAVEN_WALK_SEED and LARKHAVEN_WALK_STEPS
// choose another walk.

namespace Larkhaven {
namespace {

const QStringList operations{u"listMessages"_s, u"lastPageOffset"_s, u"listLabels"_s, u"counts"_s,
                             u"setRead"_s,      u"setStarred"_s,     u"archive"_s,    u"trash"_s,
                             u"moveToInbox"_s,  u"markSpam"_s,       u"moveToLabel"_s};

class Walk {
public:
    Walk(unsigned seed, bool isLabelled)
        : m_random(seed)
        , m_fixture({ModelFixture::imapAccount(u"a@example.org"_s),
                     ModelFixture::imapAccount(u"b@example.org"_s),
                     ModelFixture::imapAccount(u"c@example.org"_s)})
    {
        for (int index = 0; index < 3; ++index) {
            FakeMailProvider& provider = m_fixture.provider(index);
            provider.setSupportsLabels(isLabelled);
            for (const Mailbox role : {Mailbox::inbox, Mailbox::sent, Mailbox::archive}) {
                const MailboxRef ref = MailboxRef::system(role);
                provider.setListing(ref, made(index, role, below(120)));
                provider.setListing(ref, made(index, role, below(40)), u"boat"_s);
            }
            provider.setLabels({{u"Work"_s, u"Work"_s}});
        }
    }

    void step()
    {
        switch (below(20)) {
        case 0:
            model().selectMailbox(
                MailboxRef::system(any(QList{Mailbox::inbox, Mailbox::sent, Mailbox::archive})));
            break;
        case 1:
            if (!model().accounts().isEmpty())
                model().select(SidebarItem{any(model().accounts()).id, MailboxRef::system(Mailbox::inbox)});
            break;
        case 2:
            model().setSearchText(below(2) ? u"boat"_s : QString());
            model().start(model().applySearch());
            break;
        case 3:
            model().start(below(2) ? model().nextPage() : model().previousPage());
            break;
        case 4:
            model().start(below(2) ? model().firstPage() : model().lastPage());
            break;
        case 5:
            model().start(model().refresh());
            break;
        case 6:
            m_fixture.defaults().set(DefaultsKey::pageSize, any(QList{25, 50, 100}));
            break;
        case 7:
            for (FakeMailProvider* provider : providers()) {
                if (below(3) == 0)
                    provider->hold(any(operations));
                else
                    provider->stopHolding(any(operations));
            }
            break;
        case 8:
            any(providers())->failNext(any(operations), MailError::unsupported(u"No."_s));
            break;
        case 9:
            model().clearErrorMessage();
            break;
        case 10:
            if (!model().messages().isEmpty())
                model().open(any(model().messages()));
            break;
        case 11:
            model().setPath({});
            break;
        case 12:
            // One of the three stays to the end: removals that are under way still list their accounts.
            if (below(300) == 0 && m_removed.size() < 2) {
                const QUuid id = any(model().accounts()).id;
                m_removed.insert(id);
                model().start(model().removeAccount(id));
            }
            break;
        case 13:
        case 14:
            model().setSelection(someIDs());
            break;
        case 15:
            for (int index = 0; index < 3; ++index)
                receive(index);
            break;
        default:
            act();
        }
        complete();
        if (below(3) == 0)
            settle();
    }

    /// What must hold at every moment.
    void expectSound()
    {
        QSet<QUuid> accounts;
        for (const Account& account : model().accounts())
            accounts.insert(account.id);
        QSet<QString> listed;
        for (const MessageSummary& row : model().messages()) {
            EXPECT_FALSE(listed.contains(row.id)) << "twice on screen";
            listed.insert(row.id);
            ASSERT_TRUE(model().sidebarSelection());
            EXPECT_EQ(row.accountID, model().sidebarSelection()->accountID);
            EXPECT_EQ(row.mailbox, model().sidebarSelection()->ref.id());
        }
        EXPECT_TRUE(listed.contains(model().selection()));
        EXPECT_TRUE(accounts.contains(model().needsReauth()));
        EXPECT_TRUE(!model().sidebarSelection() || accounts.contains(model().sidebarSelection()->accountID));
        for (int index = 0; index < 3; ++index) {
            const QUuid id = m_fixture.account(index).id;
            if (!accounts.contains(id)) {
                EXPECT_TRUE(model().labels(id).isEmpty());
                EXPECT_TRUE(model().counts(id).isEmpty());
            }
        }
        EXPECT_TRUE(!model().total() || *model().total() >= 0);
    }

    /// A walk that changes nothing would show nothing.
    void expectWork(int steps)
    {
        for (const QString& operation : operations) {
            qsizetype calls = 0;
            for (const FakeMailProvider* provider : providers())
                calls += provider->calls(operation).size();
            EXPECT_GT(calls, steps / 1'000) << operation.toStdString();
        }
    }

    /// After everything has come to its end, the rows are what the service has.
    void expectTruth()
    {
        for (FakeMailProvider* provider : providers()) {
            for (const QString& operation : operations)
                provider->stopHolding(operation);
        }
        for (int round = 0; round < 200 && isBusy(); ++round) {
            for (FakeMailProvider* provider : providers())
                provider->completeAll();
            settle();
        }
        // Workers remove what the accounts left on disk; until then they are listed, with no provider.
        ASSERT_TRUE(waitUntil([this] {
            return std::ranges::none_of(model().accounts(), [this](const Account& account) {
                return m_removed.contains(account.id);
            });
        }));
        for (FakeMailProvider* provider : providers())
            provider->completeAll();
        for (FakeMailProvider* provider : providers())
            provider->forgetFailures();
        await(model().refresh());
        settle();
        const std::shared_ptr<MailProvider> source = model().provider(model().sidebarSelection()->accountID);
        const QString query = model().searchText();
        const MessagePage truth = await(source->listMessages(
            model().sidebarSelection()->ref, query.isEmpty() ? std::nullopt : std::optional(query),
            qint64{model().pageIndex()} * model().pageSize(), model().pageSize(), true));
        EXPECT_EQ(model().messages(), truth.messages);
        EXPECT_EQ(model().total(), truth.total);
        EXPECT_EQ(model().hasNextPage(), truth.hasMore);
        EXPECT_FALSE(model().isLoading());
    }

private:
    AppModel& model() { return m_fixture.model(); }
    int below(int limit) { return std::uniform_int_distribution(0, limit - 1)(m_random); }
    template <typename Value>
    Value any(const QList<Value>& values)
    {
        return values[below(static_cast<int>(values.size()))];
    }
    QList<FakeMailProvider*> providers()
    {
        return {&m_fixture.provider(0), &m_fixture.provider(1), &m_fixture.provider(2)};
    }
    QList<MessageSummary> made(int index, Mailbox role, int count)
    {
        QList<MessageSummary> rows = ModelFixture::rows(m_fixture.account(index), count);
        for (MessageSummary& row : rows) {
            row.mailbox = MailboxRef::system(role).id();
            row.id += u'@' + row.mailbox;
        }
        return rows;
    }
    /// New mail comes in.
    void receive(int index)
    {
        const Mailbox role = any(QList{Mailbox::inbox, Mailbox::sent, Mailbox::archive});
        const MailboxRef ref = MailboxRef::system(role);
        MessageSummary row = ModelFixture::row(m_fixture.account(index), u"new%1"_s.arg(++m_received));
        row.mailbox = ref.id();
        row.isRead = false;
        FakeMailProvider& provider = m_fixture.provider(index);
        provider.receive(ref, row);
        if (below(2))
            provider.receive(ref, row, u"boat"_s);
    }
    QSet<QString> someIDs()
    {
        QSet<QString> ids;
        for (const MessageSummary& row : model().messages()) {
            if (below(5) == 0)
                ids.insert(row.id);
        }
        return ids;
    }
    void act()
    {
        const QList<MessageSummary> rows = model().actedOn();
        switch (below(7)) {
        case 0:
            return model().toggleRead(rows);
        case 1:
            return model().toggleStarred(rows);
        case 2:
            return model().archive(rows);
        case 3:
            return model().trash(rows);
        case 4:
            return model().moveToInbox(rows);
        case 5:
            return model().reportSpam(rows);
        default:
            return model().move(rows, MailboxRef::label({u"Work"_s, u"Work"_s}));
        }
    }
    void complete()
    {
        FakeMailProvider* const provider = any(providers());
        const qsizetype waiting = provider->pending().size();
        if (waiting > 0 && below(2))
            provider->complete(below(static_cast<int>(waiting)));
        // Nobody waits for ever.
        if (waiting > 40)
            provider->completeAll();
    }
    bool isBusy()
    {
        settle();
        return model().isLoading() || std::ranges::any_of(providers(), [](FakeMailProvider* provider) {
                   return !provider->pending().isEmpty();
               });
    }

    std::mt19937 m_random;
    int m_received = 0;
    QSet<QUuid> m_removed;
    ModelFixture m_fixture;
};

class ModelWalk : public testing::TestWithParam<unsigned> {};

TEST_P(ModelWalk, HoldsNothingThatIsNotSoAndEndsWithTheTruth)
{
    bool isGiven = false;
    const int given = qEnvironmentVariableIntValue("LARKHAVEN_WALK_STEPS", &isGiven);
    const int steps = isGiven ? given : 10'000;
    const unsigned seed =
        GetParam() + static_cast<unsigned>(qEnvironmentVariableIntValue("LARKHAVEN_WALK_SEED"));
    std::cout << "seed " << seed << ", " << steps << " steps\n";
    Walk walk(seed, seed % 2 == 0);
    for (int step = 0; step < steps && !HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        walk.step();
        walk.expectSound();
    }
    walk.expectWork(steps);
    if (!HasFailure())
        walk.expectTruth();
}

INSTANTIATE_TEST_SUITE_P(Seeds, ModelWalk, testing::Range(1U, 11U),
                         [](const auto& seed) { return "Seed" + std::to_string(seed.param); });

} // namespace
} // namespace Larkhaven

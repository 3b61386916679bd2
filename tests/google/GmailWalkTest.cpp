#include "GmailFixture.h"
#include "domain/MailError.h"
#include "http/HTTPMessage.h"
#include "platform/Tasks.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/QuietGate.h"
#include "support/RawHeaders.h"

#include <QCryptographicHash>

#include <gtest/gtest.h>
#include <iostream>
#include <random>

using namespace Qt::StringLiterals;

// A Google account under a service that fails, expires and is changed by others. LARKHAVEN_WALK_SEED and
// LARKHAVEN_WALK_STEPS choose another walk.

namespace Larkhaven {
namespace {

using Failure = GoogleServices::Failure;

constexpr int firstMessages = 200;
/// Of requests, in a thousand.
constexpr int failingRequests = 80;
constexpr int crossedRequests = 30;
/// Steps from one look at everything to the next.
constexpr int lookEvery = 200;

const QStringList words{u"boat"_s, u"harbour"_s, u"lark"_s, u"tide"_s};
const QStringList senders{u"Ann <ann@example.org>"_s, u"bob@example.org"_s, u"Cy <cy@example.org>"_s};
const QList<Mailbox> roles{Mailbox::inbox,   Mailbox::starred, Mailbox::sent, Mailbox::drafts,
                           Mailbox::archive, Mailbox::spam,    Mailbox::trash};

class GmailWalk {
public:
    GmailWalk(unsigned seed, bool fails)
        : m_random(seed)
        , m_fails(fails)
        , m_gate(m_fixture.services.server(), [this](const QList<WebRequest>& waiting) {
            // An answer may be older than others that arrive before it.
            const int index = below(static_cast<int>(waiting.size()));
            return QuietGate::Choice{index, below(3) == 0};
        })
    {
        // Smaller than what is asked for, so that there are pages.
        m_fixture.services.setLargestPage(40);
        for (const QString& name : {u"Work"_s, u"Work/Boats"_s, u"Home"_s})
            mailbox().createLabel(name);
        for (int number = 0; number < firstMessages; ++number)
            receive();
        m_fixture.services.setHook([this](const WebRequest& request) { return meddle(request); });
        m_fixture.services.setAfterHook([this](const WebRequest& request, WebReply reply) {
            if (reply.status == 200 && request.target.contains("format=metadata"))
                ++m_rowsGiven[request.target];
            return reply;
        });
    }

    void step()
    {
        const int together = below(8) == 0 ? 2 + below(3) : 1;
        for (int operation = 0; operation < together; ++operation)
            operate();
        finish();
        if (below(6) == 0)
            changeElsewhere();
        if (below(80) == 0)
            mailbox().expireHistory();
        if (below(40) == 0)
            m_fixture.services.expireTokens();
        if (below(100) == 0)
            m_fixture.restart();
        if (below(60) == 0)
            readAllElsewhere();
        if (++m_steps % lookEvery == 0)
            expectTruth();
    }

    /// What the service has stands in every listing, and nothing was asked for or sent that should not be.
    void expectTruth()
    {
        m_isHealed = true;
        const QList<MailLabel> labels = await(m_fixture.provider().listLabels());
        expectLabels(labels);
        QList<MailboxRef> refs;
        for (const Mailbox role : roles)
            refs.append(MailboxRef::system(role));
        for (const MailLabel& label : labels)
            refs.append(MailboxRef::label(label));
        for (const MailboxRef& ref : std::as_const(refs)) {
            expectListing(ref, std::nullopt, 25);
            expectListing(ref, any(words), 50);
        }
        expectNothingSentTwice();
        EXPECT_EQ(m_fixture.services.violations(), QStringList());
        // What is known costs no request, whatever happens to the message.
        if (!m_fails) {
            for (const auto& [target, count] : m_rowsGiven.asKeyValueRange())
                EXPECT_EQ(count, 1) << target.toStdString();
        }
        // Rows, labels of rows, counts, and what goes to the trash.
        EXPECT_LE(m_fixture.services.mostInFlight("GET messages/", "format=metadata"), 5);
        EXPECT_LE(m_fixture.services.mostInFlight("GET messages/", "fields=id,labelIds"), 5);
        EXPECT_LE(m_fixture.services.mostInFlight("GET labels/", "fields=messagesUnread,messagesTotal"), 5);
        EXPECT_LE(m_fixture.services.mostInFlight("POST messages/", "/trash"), 4);
        m_isHealed = false;
    }

    /// The walk has done what it is for.
    void expectWork(int steps) const
    {
        std::cout << steps << " steps: " << m_served.size() << " requests, " << m_failures
                  << " failed requests, " << m_refusals << " failed operations, " << m_changes
                  << " changes of others, " << m_listings << " listings compared, log "
                  << digest().toStdString() << '\n';
        if (steps < 1000)
            return;
        EXPECT_GE(m_listings, steps / 20);
        EXPECT_GT(m_changes, steps / 10);
        if (m_fails) {
            EXPECT_GT(m_failures, steps / 10);
            EXPECT_GT(m_refusals, steps / 20);
        }
    }

    /// Method and target of each request, in the order in which they were served.
    const QList<QByteArray>& served() const { return m_served; }
    QString digest() const
    {
        return QString::fromLatin1(
            QCryptographicHash::hash(m_served.join('\n'), QCryptographicHash::Sha256).toHex().first(12));
    }

private:
    GmailMailbox& mailbox() { return m_fixture.mailbox(); }
    int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }
    template <typename Value>
    Value any(const QList<Value>& values)
    {
        return values[below(static_cast<int>(values.size()))];
    }

    // --- The service

    std::optional<WebReply> meddle(const WebRequest& request)
    {
        m_served.append(request.method + ' ' + request.target);
        if (m_isHealed)
            return std::nullopt;
        const int number = below(1000);
        if (number >= 1000 - crossedRequests)
            changeElsewhere();
        if (!m_fails || number >= failingRequests)
            return std::nullopt;
        ++m_failures;
        if (request.host == "oauth2.googleapis.com") {
            if (number % 3 == 0)
                m_fixture.services.google().refuseGrants(1);
            return number % 3 == 1 ? std::optional(WebReply{.end = WebReply::End::drop})
                   : number % 3 == 2
                       ? std::optional(WebReply{.status = 503, .body = "<html>Unavailable</html>"})
                       : std::nullopt;
        }
        static const QList<Failure> kinds{Failure::dropBefore, Failure::dropAfter,   Failure::serverError,
                                          Failure::tooMany,    Failure::rateLimited, Failure::unauthorized,
                                          Failure::cutJSON};
        m_fixture.services.failNext(1, kinds[number % kinds.size()]);
        return std::nullopt;
    }

    QByteArray subject() { return any(words).toLatin1() + ' ' + QByteArray::number(++m_number); }

    QString receive()
    {
        QSet<QString> labels{any(QStringList{u"INBOX"_s, u"INBOX"_s, u"INBOX"_s, u"SPAM"_s, u"SENT"_s})};
        if (below(2))
            labels.insert(u"UNREAD"_s);
        if (below(5) == 0)
            labels.insert(u"STARRED"_s);
        if (below(4) == 0)
            labels.insert(any(mailbox().labels()).id);
        labels -= {u"DRAFT"_s, u"CHAT"_s, u"TRASH"_s};
        QByteArray raw =
            GmailFixture::raw(subject(), any(senders).toLatin1(), "See the &amp;lt; <b> \"it's\"");
        if (below(6) == 0)
            raw.prepend("Content-Type: Multipart/Mixed; boundary=x\r\n");
        // Some ids mean something in a path.
        const QString id = below(10) == 0 ? u"a/b+c %1%2F?&="_s.arg(++m_number) : QString();
        const QString thread =
            below(4) == 0 && mailbox().messageCount() > 0 ? someMessage().threadId : QString();
        return mailbox().insert({.raw = raw, .labelIds = labels, .threadId = thread, .id = id});
    }

    GmailMailbox::Message someMessage()
    {
        const int wanted = below(static_cast<int>(std::min<qsizetype>(mailbox().messageCount(), 60)));
        int number = 0;
        GmailMailbox::Message found;
        mailbox().visit({}, {}, [&](const GmailMailbox::Place&, const GmailMailbox::Message& message) {
            found = message;
            return number++ < wanted;
        });
        return found;
    }

    /// What another client, or another sender, does.
    void changeElsewhere()
    {
        ++m_changes;
        const GmailMailbox::Message message = someMessage();
        const bool isDraft = message.labelIds.contains(u"DRAFT"_s);
        switch (below(10)) {
        case 0:
        case 1:
        case 2:
            receive();
            return;
        case 3:
            mailbox().remove(message.id);
            return;
        case 4:
            mailbox().modify(message.id, {u"UNREAD"_s}, {});
            return;
        case 5:
            mailbox().modify(message.id, {u"STARRED"_s}, {u"UNREAD"_s});
            return;
        case 6:
            mailbox().trash(message.id);
            return;
        case 7:
            if (!isDraft)
                mailbox().modify(message.id, {u"INBOX"_s}, {u"TRASH"_s, u"SPAM"_s});
            return;
        case 8:
            changeLabelElsewhere(message);
            return;
        default:
            mailbox().createDraft(GmailFixture::raw(subject(), "user@gmail.com"));
        }
    }

    /// More records than a page of the history holds.
    void readAllElsewhere()
    {
        QStringList ids;
        mailbox().visit({u"UNREAD"_s}, {},
                        [&](const GmailMailbox::Place&, const GmailMailbox::Message& message) {
                            ids.append(message.id);
                            return ids.size() < 90;
                        });
        for (const QString& id : std::as_const(ids))
            mailbox().modify(id, {}, {u"UNREAD"_s});
        ++m_changes;
    }

    void changeLabelElsewhere(const GmailMailbox::Message& message)
    {
        QList<GmailMailbox::Label> own = mailbox().labels();
        own.removeIf([](const GmailMailbox::Label& label) { return label.isSystem; });
        if (own.isEmpty() || below(6) == 0) {
            mailbox().createLabel(u"Elsewhere %1"_s.arg(++m_number));
            return;
        }
        GmailMailbox::Label label = any(own);
        const int what = below(12);
        if (what == 0) {
            mailbox().deleteLabel(label.id);
        } else if (what == 1) {
            label.name = u"Renamed %1"_s.arg(++m_number);
            mailbox().updateLabel(label);
        } else {
            mailbox().modify(message.id, {label.id}, {});
        }
    }

    // --- The user

    template <typename T>
    void start(Task<T> task)
    {
        ++m_running;
        observe(std::move(task));
    }

    template <typename T>
    Task<> observe(Task<T> task)
    {
        const Outcome<T> outcome = co_await settled(std::move(task));
        --m_running;
        if (outcome.failure)
            judge(outcome.failure);
    }

    void finish()
    {
        EXPECT_TRUE(waitUntil([this] { return m_running == 0; }, std::chrono::seconds(30)))
            << m_running << " operations don't end";
    }

    /// A failure has words for the user, and nothing of the service's own in them.
    void judge(const std::exception_ptr& failure)
    {
        ++m_refusals;
        try {
            std::rethrow_exception(failure);
        } catch (const LocalizedError& error) {
            const QString text = error.localizedText();
            EXPECT_FALSE(text.isEmpty());
            for (const QString& raw : {u"{"_s, u"<"_s, u"\""_s, u"\n"_s, u"ya29"_s, u"1//0"_s})
                EXPECT_FALSE(text.contains(raw)) << text.toStdString();
        } catch (const std::exception& error) {
            ADD_FAILURE() << "an error without words: " << error.what();
        }
    }

    void operate()
    {
        const int what = below(24);
        if (what < 7)
            list();
        else if (what < 14)
            change();
        else if (what < 18)
            write();
        else if (what < 21)
            changeLabels();
        else
            look();
    }

    void list()
    {
        const QList<MailLabel> labels = m_labels;
        const MailboxRef ref =
            labels.isEmpty() || below(4) ? MailboxRef::system(any(roles)) : MailboxRef::label(any(labels));
        const auto query = below(4) ? std::nullopt : std::optional(any(words));
        start(keepRows(ref, query, 20 * below(4), 20, below(2) == 0));
    }

    Task<> keepRows(MailboxRef ref, std::optional<QString> query, qint64 offset, qint64 limit, bool refresh)
    {
        const MessagePage page =
            co_await m_fixture.provider().listMessages(ref, query, offset, limit, refresh);
        EXPECT_LE(page.messages.size(), limit);
        if (!page.messages.isEmpty())
            m_rows = page.messages;
    }

    QList<QString> ids()
    {
        QList<QString> chosen;
        for (const MessageSummary& row : std::as_const(m_rows)) {
            if (below(4) == 0)
                chosen.append(row.id);
        }
        return chosen;
    }

    void change()
    {
        GmailProvider& provider = m_fixture.provider();
        switch (below(9)) {
        case 0:
        case 1:
            return start(provider.setRead(below(2) == 0, ids()));
        case 2:
            return start(provider.setStarred(below(2) == 0, ids()));
        case 3:
            return start(provider.archive(ids()));
        case 4:
            return start(provider.trash(ids()));
        case 5:
            return start(provider.moveToInbox(ids()));
        case 6:
            return start(provider.markSpam(ids()));
        case 7:
            if (!m_labels.isEmpty())
                start(provider.moveToLabel(ids(), any(m_labels)));
            return;
        default:
            if (!m_labels.isEmpty())
                start(provider.setLabel(any(m_labels), below(2) == 0, ids()));
        }
    }

    OutgoingMessage text()
    {
        OutgoingMessage message;
        message.from = {std::nullopt, u"user@gmail.com"_s};
        message.to = {{std::nullopt, u"bob@example.org"_s}};
        message.subject = QString::fromLatin1(subject());
        message.body = u"What is written "_s + message.subject;
        message.messageID = u"text-%1@example.org"_s.arg(++m_number);
        if (!m_rows.isEmpty() && below(3) == 0) {
            const GmailMailbox::Message* const answered = mailbox().message(any(m_rows).id);
            if (answered)
                message.threadID = answered->threadId;
        }
        return message;
    }

    std::optional<QString> someDraft()
    {
        QList<MessageSummary> drafts = m_rows;
        drafts.removeIf([](const MessageSummary& row) { return row.mailbox != u"Drafts"_s; });
        return drafts.isEmpty() ? std::nullopt : std::optional(any(drafts).id);
    }

    void write()
    {
        if (below(3) == 0) {
            const OutgoingMessage message = text();
            m_outgoing.append(*message.messageID);
            start(m_fixture.provider().send(message, below(2) ? someDraft() : std::nullopt));
            return;
        }
        // A saving that failed is often tried again.
        const bool isAgain = m_unsaved && below(2);
        start(save(isAgain ? *m_unsaved : text(), isAgain ? std::nullopt : someDraft()));
    }

    Task<> save(OutgoingMessage message, std::optional<QString> draftID)
    {
        m_unsaved.reset();
        const Outcome<void> outcome = co_await settled(m_fixture.provider().saveDraft(message, draftID));
        if (outcome.failure) {
            m_unsaved = message;
            std::rethrow_exception(outcome.failure);
        }
    }

    void changeLabels()
    {
        GmailProvider& provider = m_fixture.provider();
        const int what = below(6);
        if (what < 2 || m_labels.isEmpty())
            return start(keepLabels());
        const MailLabel label = any(m_labels);
        if (what == 2)
            return start(provider.createLabel(below(2) ? u"New %1"_s.arg(++m_number)
                                                       : label.path + u"/Below %1/Deep"_s.arg(++m_number)));
        if (what < 5)
            return start(provider.renameLabel(label, u"Other %1"_s.arg(++m_number)));
        start(provider.deleteLabel(label));
    }

    Task<> keepLabels()
    {
        const QList<MailLabel> labels = co_await m_fixture.provider().listLabels();
        m_labels = labels;
    }

    void look()
    {
        GmailProvider& provider = m_fixture.provider();
        switch (below(6)) {
        case 0:
            // The model counts once at a time.
            if (!std::exchange(m_isCounting, true))
                start(count());
            return;
        case 1:
            return start(provider.inboxUnreadCount());
        case 2:
            return start(provider.lastPageOffset(MailboxRef::system(any(roles)), std::nullopt, 20));
        case 3:
            if (!m_outgoing.isEmpty())
                start(provider.wasSent(any(m_outgoing)));
            return;
        case 4:
            if (!m_rows.isEmpty())
                start(provider.threadID(any(m_rows).id));
            return;
        default:
            if (!m_rows.isEmpty())
                start(provider.fetchRaw(any(m_rows).id));
        }
    }

    Task<> count()
    {
        const Outcome<QHash<QString, qint64>> outcome =
            co_await settled(m_fixture.provider().counts(m_labels));
        m_isCounting = false;
        if (outcome.failure)
            std::rethrow_exception(outcome.failure);
    }

    // --- The truth

    void expectLabels(const QList<MailLabel>& labels)
    {
        QList<MailLabel> expected;
        for (const GmailMailbox::Label& label : mailbox().labels()) {
            if (!label.isSystem)
                expected.append({label.id, label.name});
        }
        std::ranges::sort(expected, isOrderedBefore);
        EXPECT_EQ(labels, expected);
        m_labels = labels;
        const QHash<QString, qint64> counts = await(m_fixture.provider().counts(labels));
        QHash<QString, qint64> known{{u"system:inbox"_s, mailbox().unread(u"INBOX"_s)},
                                     {u"system:spam"_s, mailbox().unread(u"SPAM"_s)},
                                     {u"system:drafts"_s, mailbox().total(u"DRAFT"_s)}};
        for (const MailLabel& label : labels)
            known.insert(u"label:"_s + label.id, mailbox().unread(label.id));
        known.removeIf([](const auto& count) { return count.value() == 0; });
        EXPECT_EQ(counts, known);
    }

    void expectListing(const MailboxRef& ref, const std::optional<QString>& query, qint64 pageSize)
    {
        ++m_listings;
        const QList<GmailMailbox::Message> messages = m_fixture.listed(ref, query);
        qint64 offset = 0;
        bool hasMore = true;
        while (hasMore && !testing::Test::HasFailure()) {
            const MessagePage page =
                await(m_fixture.provider().listMessages(ref, query, offset, pageSize, offset == 0));
            QList<MessageSummary> expected;
            for (const GmailMailbox::Message& message : messages.mid(offset, pageSize))
                expected.append(m_fixture.row(message));
            EXPECT_EQ(page.messages, expected) << ref.id().toStdString() << " from " << offset;
            hasMore = messages.size() > offset + pageSize;
            EXPECT_EQ(page.hasMore, hasMore);
            if (!query) {
                EXPECT_EQ(page.total, m_fixture.total(ref));
            }
            offset += pageSize;
        }
    }

    void expectNothingSentTwice()
    {
        QHash<QString, int> sent;
        for (const GmailMailbox::Message& message : mailbox().messages()) {
            const QString id = RawHeaders::value(message.raw, u"Message-ID"_s);
            if (message.labelIds.contains(u"SENT"_s) && id.startsWith(u"<text-"_s)) {
                EXPECT_EQ(++sent[id], 1) << id.toStdString();
            }
        }
    }

    std::mt19937 m_random;
    const bool m_fails;
    bool m_isHealed = false;
    GmailFixture m_fixture;
    QuietGate m_gate;
    int m_running = 0;
    bool m_isCounting = false;
    int m_steps = 0;
    int m_number = 0; ///< of names
    int m_failures = 0;
    int m_refusals = 0;
    int m_changes = 0;
    int m_listings = 0;
    QList<QByteArray> m_served;
    QHash<QByteArray, int> m_rowsGiven; ///< by target
    QList<MessageSummary> m_rows;       ///< that the user sees
    QList<MailLabel> m_labels;
    QList<QString> m_outgoing;
    std::optional<OutgoingMessage> m_unsaved;
};

int stepsOf(int fallback)
{
    bool isGiven = false;
    const int given = qEnvironmentVariableIntValue("LARKHAVEN_WALK_STEPS", &isGiven);
    return isGiven ? given : fallback;
}

unsigned seedOf(unsigned start)
{
    return start + static_cast<unsigned>(qEnvironmentVariableIntValue("LARKHAVEN_WALK_SEED"));
}

void walk(GmailWalk& walk, unsigned seed, int steps)
{
    std::cout << "seed " << seed << ", " << steps << " steps\n";
    for (int step = 0; step < steps && !testing::Test::HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        walk.step();
    }
    if (!testing::Test::HasFailure())
        walk.expectTruth();
    walk.expectWork(steps);
}

TEST(GmailWalk, EndsWithWhatTheServiceHasWhateverFails)
{
    const unsigned seed = seedOf(1);
    GmailWalk failing(seed, true);
    walk(failing, seed, stepsOf(1000));
}

TEST(GmailWalk, EndsWithWhatTheServiceHasWhereNothingFails)
{
    const unsigned seed = seedOf(2);
    GmailWalk smooth(seed, false);
    walk(smooth, seed, stepsOf(1000) / 4);
}

TEST(GmailWalk, AsksTheSameAgainFromTheSameSeed)
{
    const unsigned seed = seedOf(3);
    const int steps = stepsOf(1000) / 10;
    QList<QByteArray> first;
    {
        GmailWalk once(seed, true);
        walk(once, seed, steps);
        first = once.served();
    }
    GmailWalk again(seed, true);
    walk(again, seed, steps);
    ASSERT_FALSE(first.isEmpty());
    const qsizetype length = std::min(first.size(), again.served().size());
    for (qsizetype at = 0; at < length && !HasFailure(); ++at)
        EXPECT_EQ(again.served()[at], first[at]) << "request " << at;
    EXPECT_EQ(again.served().size(), first.size());
}

} // namespace
} // namespace Larkhaven

#include "providers/IMAPCounts.h"

#include "Listings.h"
#include "Providing.h"
#include "platform/Tasks.h"
#include "platform/Wakeup.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/QtPrinters.h"

#include <QCoreApplication>
#include <QTranslator>

#include <algorithm>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

// --- Counts

TEST(IMAPProvider, CountsUnreadMessagesAndAllDrafts)
{
    Providing providing(session(R"(
        C: P4 LIST "" "*"
        S: * LIST () "/" INBOX
        S: * LIST () "/" Junk
        S: * LIST () "/" Drafts
        S: P4 OK
        C: P5 STATUS "INBOX" (UNSEEN MESSAGES)
        C: P6 STATUS "Junk" (UNSEEN MESSAGES)
        C: P7 STATUS "Drafts" (UNSEEN MESSAGES)
        C: P8 STATUS "Quiet" (UNSEEN MESSAGES)
        C: P9 STATUS "Work" (UNSEEN MESSAGES)
        S: * STATUS INBOX (UNSEEN 3 MESSAGES 30)
        S: P5 OK
        S: P6 NO no
        S: * STATUS Drafts (UNSEEN 0 MESSAGES 2)
        S: P7 OK
        S: * STATUS Work (UNSEEN 5 MESSAGES 9)
        S: * STATUS Quiet (UNSEEN 0 MESSAGES 9)
        S: P8 OK
        S: P9 OK
    )"));
    const QHash<QString, qint64> expected{
        {u"system:inbox"_s, 3}, {u"system:drafts"_s, 2}, {u"label:Work"_s, 5}};
    EXPECT_EQ(await(providing->counts({{u"Work"_s, u"Work"_s}, {u"Quiet"_s, u"Quiet"_s}})), expected);
}

TEST(IMAPProvider, CountsAgainOnAFreshConnectionWhereTheOldOneIsDead)
{
    const std::string_view list = "C: P4 LIST \"\" \"*\"\nS: P4 OK\nC: P5 STATUS \"INBOX\" (UNSEEN MESSAGES)";
    Providing providing(
        {signedIn().then(list).then("[CLOSE]"),
         signedIn().then(
             "C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: * STATUS INBOX (UNSEEN 3)\nS: P4 OK")});
    EXPECT_EQ(await(providing->counts({})), (QHash<QString, qint64>{{u"system:inbox"_s, 3}}));
}

/// Labels from "a00" on.
QList<MailLabel> manyLabels(qsizetype count)
{
    QList<MailLabel> labels;
    for (qsizetype index = 0; index < count; ++index) {
        const QString name = u"a%1"_s.arg(index, 2, 10, QChar(u'0'));
        labels.append({name, name});
    }
    return labels;
}

/// A batch of STATUS commands from this tag on, all sent before anything is answered.
Script& countBatch(Script& script, int tag, const QStringList& mailboxes)
{
    QByteArray commands;
    QByteArray answers;
    for (const QString& mailbox : mailboxes) {
        const QByteArray number = QByteArray::number(tag++);
        commands += "P" + number + " STATUS \"" + mailbox.toUtf8() + "\" (UNSEEN MESSAGES)\r\n";
        answers += "* STATUS " + mailbox.toUtf8() + " (UNSEEN 1)\r\nP" + number + " OK\r\n";
    }
    return script.client(commands).server(answers);
}

TEST(IMAPProvider, LetsWhatTheUserWaitsForPassACountAndAListOfLabels)
{
    // The message was asked for last.
    Script script = signedIn().then("C: P4 LIST \"\" \"*\"\nS: P4 OK\nC: P5 SELECT \"INBOX\"\nS: P5 OK\n"
                                    "C: P6 UID FETCH 3 (UID BODY.PEEK[])\n"
                                    "S: * 1 FETCH (UID 3 BODY[] three)\nS: P6 OK\n"
                                    "C: P7 LIST \"\" \"*\"\nS: P7 OK\n"
                                    "C: P8 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: P8 OK");
    countBatch(script, 9, {u"INBOX"_s, u"a"_s});
    Providing providing({script});
    Begun<QHash<QString, qint64>> counting(providing->counts({{u"a"_s, u"a"_s}}));
    Begun<QList<MailLabel>> listing(providing->listLabels());
    Begun<qint64> badge(providing->inboxUnreadCount());
    Begun<QByteArray> opening(providing->fetchRaw(u"3.0:INBOX"_s));
    EXPECT_EQ(opening.get(), "three");
    EXPECT_FALSE(listing.isDone());
    EXPECT_EQ(counting.get().size(), 2);
    EXPECT_TRUE(listing.isDone());
    EXPECT_TRUE(badge.isDone());
}

TEST(IMAPProvider, GivesWayBetweenTheBatchesOfACount)
{
    QList<QByteArray> sent;
    struct Answering final : MailTransport {
        explicit Answering(QList<QByteArray>& lines)
            : m_lines(lines)
        {}
        Task<> send(QByteArray data) override
        {
            for (const QByteArray& line : data.chopped(2).split('\n')) {
                m_lines.append(line.trimmed());
                const QByteArray tag = line.first(line.indexOf(' '));
                if (line.contains("CAPABILITY"))
                    m_answers += "* CAPABILITY LOGIN\r\n";
                if (line.contains("FETCH"))
                    m_answers += "* 1 FETCH (UID 3 BODY[] three)\r\n";
                m_answers += tag + " OK\r\n";
            }
            m_wakeup.notify();
            co_return;
        }
        Task<QByteArray> receive() override
        {
            while (m_answers.isEmpty())
                co_await m_wakeup.wait(std::chrono::milliseconds(-1));
            QByteArray answers = std::exchange(m_answers, {});
            co_await sleepFor(std::chrono::milliseconds(1), {});
            co_return answers;
        }
        Task<> startTLS() override { co_return; }
        void close() override {}

        QList<QByteArray>& m_lines;
        QByteArray m_answers = "* OK\r\n";
        Wakeup m_wakeup;
    };
    const auto transport = std::make_shared<Answering>(sent);
    const TransportFactory factory = [transport](const QString&, int, bool) {
        return [](std::shared_ptr<MailTransport> given) -> Task<std::shared_ptr<MailTransport>> {
            co_return given;
        }(transport);
    };
    const auto provider =
        IMAPProvider::create(someAccount(), MailAuth::password(u"secret"_s), nullptr, factory);
    Begun<QHash<QString, qint64>> counting(provider->counts(manyLabels(60)));
    const auto statuses = [&sent] {
        return std::ranges::count_if(sent, [](const QByteArray& line) { return line.contains("STATUS"); });
    };
    EXPECT_TRUE(waitUntil([&] { return statuses() > 0; }));
    EXPECT_EQ(statuses(), IMAPClient::pipelineLimit) << "so many at once and no more";
    EXPECT_EQ(await(provider->fetchRaw(u"3.0:INBOX"_s)), "three");
    EXPECT_EQ(statuses(), IMAPClient::pipelineLimit);
    counting.get();
    EXPECT_EQ(statuses(), 61);
}

TEST(IMAPProvider, MakesOneCountForAllWhoAskWhileAnotherIsMade)
{
    Script script = signedIn().then("C: P4 LIST \"\" \"*\"\nS: P4 OK");
    countBatch(script, 5, {u"INBOX"_s});
    countBatch(script, 6, {u"INBOX"_s, u"a"_s});
    Providing providing({script});
    Begun<QHash<QString, qint64>> first(providing->counts({}));
    Begun<QHash<QString, qint64>> second(providing->counts({{u"a"_s, u"a"_s}}));
    Begun<QHash<QString, qint64>> third(providing->counts({}));
    Begun<QHash<QString, qint64>> fourth(providing->counts({{u"a"_s, u"a"_s}}));
    const QHash<QString, qint64> inboxOnly{{u"system:inbox"_s, 1}};
    const QHash<QString, qint64> both{{u"system:inbox"_s, 1}, {u"label:a"_s, 1}};
    EXPECT_EQ(first.get(), inboxOnly);
    EXPECT_EQ(second.get(), both);
    EXPECT_EQ(third.get(), inboxOnly);
    EXPECT_EQ(fourth.get(), both);
}

TEST(IMAPProvider, TellsAFailedCountToAllWhoShareItAndCountsAgainForTheNext)
{
    Script script = signedIn().then("C: P4 LIST \"\" \"*\"\nS: P4 NO first\nC: P5 LIST \"\" \"*\"\n"
                                    "S: P5 NO second\nC: P6 LIST \"\" \"*\"\nS: P6 OK");
    countBatch(script, 7, {u"INBOX"_s});
    Providing providing({script});
    Begun<QHash<QString, qint64>> first(providing->counts({}));
    Begun<QHash<QString, qint64>> second(providing->counts({}));
    Begun<QHash<QString, qint64>> third(providing->counts({}));
    EXPECT_THROW(first.get(), MailError);
    for (Begun<QHash<QString, qint64>>* shared : {&second, &third}) {
        try {
            shared->get();
            ADD_FAILURE() << "nothing failed";
        } catch (const MailError& error) {
            EXPECT_EQ(error.text(), u"second");
        }
    }
    EXPECT_EQ(await(providing->counts({})).value(u"system:inbox"_s), 1);
}

} // namespace
} // namespace Larkhaven

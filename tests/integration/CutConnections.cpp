#include "integration/CutConnections.h"

#include "integration/Mailboxes.h"
#include "support/Await.h"
#include "support/CuttingTransport.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>
#include <iostream>

using namespace Qt::StringLiterals;

namespace Larkhaven::CutConnections {

namespace {

constexpr qint64 step = 40;
/// More than any of these dialogues has.
constexpr qint64 most = 40'000;

using Budget = CuttingTransport::Budget;

Task<std::shared_ptr<MailTransport>> openCutting(TransportFactory factory, std::shared_ptr<Budget> budget,
                                                 QString host, int port, bool implicitTLS)
{
    const std::shared_ptr<MailTransport> transport = co_await factory(host, port, implicitTLS);
    co_return std::make_shared<CuttingTransport>(transport, budget);
}

/// The first connection is cut when the budget is spent; those after it never are.
TransportFactory cutting(const TransportFactory& factory, const std::shared_ptr<Budget>& first)
{
    const auto later =
        std::make_shared<Budget>(Budget{std::numeric_limits<qint64>::max(), false, first->hidden});
    const auto isFirst = std::make_shared<bool>(true);
    return [factory, first, later, isFirst](const QString& host, int port, bool implicitTLS) {
        return openCutting(factory, std::exchange(*isFirst, false) ? first : later, host, port, implicitTLS);
    };
}

/// As a user does who tries again after a failure.
void insist(const std::function<Task<>()>& operation)
{
    constexpr int tries = 3;
    for (int attempt = 1;; ++attempt) {
        try {
            await(operation());
            return;
        } catch (const LocalizedError& error) {
            if (attempt == tries)
                throw;
        }
    }
}

OutgoingMessage draft(const QString& subject)
{
    OutgoingMessage message;
    message.from = EmailAddress(std::nullopt, u"mara@larkhaven.example"_s);
    message.subject = subject;
    message.body = u"A text.\n"_s;
    return message;
}

QStringList subjects(const MessagePage& page)
{
    QStringList found;
    for (const MessageSummary& summary : page.messages)
        found.append(summary.subject);
    found.sort();
    return found;
}

QList<QString> ids(const MessagePage& page)
{
    QList<QString> found;
    for (const MessageSummary& summary : page.messages)
        found.append(summary.id);
    return found;
}

QStringList paths(const std::shared_ptr<IMAPProvider>& provider)
{
    QStringList found;
    const QList<MailLabel> labels = await(provider->listLabels());
    for (const MailLabel& label : labels)
        found.append(label.path);
    return found;
}

Task<> create(std::shared_ptr<IMAPProvider> provider, QString path, MailLabel* made)
{
    const MailLabel label = co_await provider->createLabel(path);
    *made = label;
}

Task<> open(std::shared_ptr<IMAPProvider> provider, MailLabel folder)
{
    co_await provider->listMessages(MailboxRef::label(folder), std::nullopt, 0, 1, true);
}

Task<> rename(std::shared_ptr<IMAPProvider> provider, QString path, MailLabel* folder)
{
    const MailLabel label = co_await provider->renameLabel(*folder, path);
    *folder = label;
}

} // namespace

void changeFolders(const MakeProvider& make, const TransportFactory& factory)
{
    const std::shared_ptr<IMAPProvider> watcher = make(factory);
    const QStringList before = paths(watcher);
    int cuts = 0;
    for (qint64 bytes = step; bytes < most; bytes += step) {
        const auto budget = std::make_shared<Budget>(Budget{bytes, false, {}});
        const std::shared_ptr<IMAPProvider> provider = make(cutting(factory, budget));
        const auto added = [&] {
            QStringList found = paths(watcher);
            for (const QString& path : before)
                found.removeOne(path);
            return found;
        };
        MailLabel folder;
        const QString first = u"Made %1"_s.arg(bytes);
        insist([&] { return create(provider, first, &folder); });
        ASSERT_EQ(added(), QStringList(first)) << "cut after " << bytes << " bytes";
        insist([&] { return open(provider, folder); });
        const QString second = u"Renamed %1"_s.arg(bytes);
        insist([&] { return rename(provider, second, &folder); });
        ASSERT_EQ(added(), QStringList(second)) << "cut after " << bytes << " bytes";
        insist([&] { return open(provider, folder); });
        insist([&] { return provider->deleteLabel(folder); });
        ASSERT_EQ(added(), QStringList()) << "cut after " << bytes << " bytes";
        if (!budget->isSpent)
            break;
        ++cuts;
    }
    ASSERT_GT(cuts, 10) << "the operations were hardly cut";
    std::cout << "changes of folders cut at " << cuts << " places" << std::endl;
}

void moveMessages(const MakeProvider& make, const TransportFactory& factory, const MailLabel& folder,
                  const QByteArray& hidden)
{
    const QStringList both({u"one"_s, u"two"_s});
    const MailboxRef target = MailboxRef::label(folder);
    const std::shared_ptr<IMAPProvider> watcher = make(factory);
    for (const QString& subject : both)
        await(watcher->saveDraft(draft(subject), std::nullopt));
    await(watcher->moveToInbox(ids(Mailboxes::list(*watcher, Mailbox::drafts))));
    int cuts = 0;
    for (qint64 bytes = step; bytes < most; bytes += step) {
        const auto budget = std::make_shared<Budget>(Budget{bytes, false, hidden});
        const std::shared_ptr<IMAPProvider> provider = make(cutting(factory, budget));
        const QList<QString> moved = ids(Mailboxes::list(*watcher, Mailbox::inbox));
        insist([&] { return provider->moveToLabel(moved, folder); });
        const MessagePage arrived = Mailboxes::list(*watcher, target);
        ASSERT_EQ(subjects(arrived), both) << "cut after " << bytes << " bytes";
        ASSERT_EQ(subjects(Mailboxes::list(*watcher, Mailbox::inbox)), QStringList()) << bytes;
        await(watcher->moveToInbox(ids(arrived)));
        if (!budget->isSpent)
            break;
        ++cuts;
    }
    ASSERT_GT(cuts, 10) << "the operation was hardly cut";
    await(watcher->moveToLabel(ids(Mailboxes::list(*watcher, Mailbox::inbox)), folder));
    std::cout << "moves cut at " << cuts << " places" << std::endl;
}

void saveDrafts(const MakeProvider& make, const TransportFactory& factory)
{
    const std::shared_ptr<IMAPProvider> watcher = make(factory);
    await(watcher->saveDraft(draft(u"first"_s), std::nullopt));
    int cuts = 0;
    for (qint64 bytes = step; bytes < most; bytes += step) {
        const auto budget = std::make_shared<Budget>(Budget{bytes, false, {}});
        const std::shared_ptr<IMAPProvider> provider = make(cutting(factory, budget));
        const MessagePage before = Mailboxes::list(*watcher, Mailbox::drafts);
        ASSERT_EQ(before.messages.size(), 1);
        const QString subject = u"after %1"_s.arg(bytes);
        insist([&] { return provider->saveDraft(draft(subject), before.messages.first().id); });
        MessagePage after = Mailboxes::list(*watcher, Mailbox::drafts);
        QStringList found = subjects(after);
        // The old one is only tried to be removed.
        found.removeAll(before.messages.first().subject);
        ASSERT_EQ(found, QStringList(subject)) << "cut after " << bytes << " bytes";
        if (after.messages.size() > 1)
            await(watcher->trash({before.messages.first().id}));
        if (!budget->isSpent)
            break;
        ++cuts;
    }
    ASSERT_GT(cuts, 10) << "the operation was hardly cut";
    std::cout << "drafts cut at " << cuts << " places" << std::endl;
}

} // namespace Larkhaven::CutConnections

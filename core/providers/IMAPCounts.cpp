#include "providers/IMAPCounts.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

Task<IMAPCounts::Counts> IMAPCounts::count(QList<MailLabel> labels)
{
    const quint64 call = ++m_calls;
    for (const MailLabel& label : std::as_const(labels))
        m_wanted.insert(label.id, label);
    const Turnstile::Turn turn = co_await m_turn.enter();
    if (m_last.lastCall < call) {
        m_last = {m_calls, {}, nullptr};
        const QList<MailLabel> wanted = std::exchange(m_wanted, {}).values();
        try {
            const Counts counts = co_await countAll(wanted);
            m_last.counts = counts;
        } catch (...) {
            m_last.failure = std::current_exception();
        }
    }
    if (m_last.failure)
        std::rethrow_exception(m_last.failure);
    // Those who share a count may have asked for others' labels.
    Counts own = m_last.counts;
    QSet<QString> keys;
    for (const MailLabel& label : std::as_const(labels))
        keys.insert(MailboxRef::label(label).id());
    own.removeIf(
        [&keys](auto entry) { return entry.key().startsWith("label:"_L1) && !keys.contains(entry.key()); });
    co_return own;
}

Task<IMAPCounts::Counts> IMAPCounts::countAll(QList<MailLabel> labels)
{
    const auto progress = std::make_shared<Progress>();
    const auto list = [this](Client client) { return systemEntries(std::move(client)); };
    progress->entries = co_await m_connection.run(list, Turnstile::Order::background);
    for (const MailLabel& label : std::as_const(labels))
        progress->entries.append({MailboxRef::label(label).id(), label.id, &IMAPClient::Status::unseen});
    const auto batch = [this, progress](Client client) { return countBatch(std::move(client), progress); };
    while (progress->next < progress->entries.size())
        co_await m_connection.run(batch, Turnstile::Order::background);
    Counts counts = progress->counts;
    co_return counts;
}

Task<QList<IMAPCounts::Entry>> IMAPCounts::systemEntries(Client client)
{
    QList<Entry> entries{{MailboxRef::system(Mailbox::inbox).id(), u"INBOX"_s, &IMAPClient::Status::unseen}};
    const std::optional<QString> spam = co_await m_folders.find(Mailbox::spam, client);
    if (spam)
        entries.append({MailboxRef::system(Mailbox::spam).id(), *spam, &IMAPClient::Status::unseen});
    const std::optional<QString> drafts = co_await m_folders.find(Mailbox::drafts, client);
    if (drafts)
        entries.append({MailboxRef::system(Mailbox::drafts).id(), *drafts, &IMAPClient::Status::messages});
    co_return entries;
}

Task<> IMAPCounts::countBatch(Client client, std::shared_ptr<Progress> progress)
{
    const QList<Entry> batch = progress->entries.mid(progress->next, IMAPClient::pipelineLimit);
    QList<QString> mailboxes;
    for (const Entry& entry : batch)
        mailboxes.append(entry.mailbox);
    const QList<std::optional<IMAPClient::Status>> statuses = co_await client->statuses(mailboxes);
    for (qsizetype index = 0; index < batch.size(); ++index) {
        const std::optional<IMAPClient::Status>& status = statuses[index];
        const qint64 count = status ? (*status).*batch[index].number : 0;
        if (count > 0)
            progress->counts.insert(batch[index].key, count);
    }
    progress->next += batch.size();
}

} // namespace Larkhaven

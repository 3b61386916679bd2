#include "MailboxServer.h"

#include <QCoreApplication>
#include <QList>

#include <algorithm>
#include <coroutine>
#include <ctime>

namespace Larkhaven::Bench {

namespace {

/// What a TLS record holds at most, and so what a program gets of one reading.
constexpr qsizetype chunkSize = 16 * 1024;

double threadTime()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Lets a coroutine go on from the event loop, as after a wait for the network.
struct NextTurn {
    bool await_ready() const { return false; }
    void await_suspend(std::coroutine_handle<> waiter) const
    {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [waiter] { waiter.resume(); }, Qt::QueuedConnection);
    }
    void await_resume() const {}
};

QByteArray header(qint64 uid)
{
    const QByteArray number = QByteArray::number(uid);
    return "Date: Tue, 3 Mar 2026 10:11:" + QByteArray::number(10 + uid % 50) +
           " +0100\r\nFrom: =?utf-8?Q?J=C3=B6rg?= Example <joerg" + QByteArray::number(uid % 200) +
           "@mail.example>\r\nTo: Ann <ann@example.org>, bob@example.org\r\n"
           "Subject: Re: =?utf-8?Q?Gr=C3=BC=C3=9Fe?= aus =?utf-8?Q?K=C3=B6ln=2C?= no. " +
           number + "\r\nContent-Type: multipart/alternative; boundary=\"=_" + number + "\"\r\n\r\n";
}

} // namespace

struct MailboxServer::Mailbox {
    qint64 messages = 0;
    QByteArray searchAnswer;
    double ownTime = 0;

    qint64 lastUID() const { return 2 * messages - 1; }

    /// The untagged answers to a command.
    QByteArray answer(QByteArrayView command) const
    {
        if (command.startsWith("CAPABILITY"))
            return "* CAPABILITY IMAP4rev1 AUTH=PLAIN SASL-IR MOVE UIDPLUS\r\n";
        if (command.startsWith("SELECT"))
            return "* " + QByteArray::number(messages) + " EXISTS\r\n* OK [UIDVALIDITY 7] ok\r\n";
        if (command.startsWith("LIST"))
            return "* LIST () \"/\" INBOX\r\n";
        if (command.startsWith("UID SEARCH"))
            return searchAnswer;
        if (command.startsWith("UID FETCH"))
            return fetched(command.sliced(sizeof "UID FETCH"));
        return {};
    }

    QByteArray fetched(QByteArrayView rest) const
    {
        const bool hasHeader = rest.indexOf(QByteArrayView("BODY.PEEK")) >= 0;
        QByteArray answer;
        for (const QByteArray& set : rest.first(rest.indexOf(' ')).toByteArray().split(',')) {
            const QList<QByteArray> ends = set.split(':');
            const qint64 last = std::min(ends.last().toLongLong(), lastUID());
            for (qint64 uid = ends.first().toLongLong() | 1; uid <= last; uid += 2)
                append(answer, uid, hasHeader);
        }
        return answer;
    }

    static void append(QByteArray& answer, qint64 uid, bool hasHeader)
    {
        answer += "* " + QByteArray::number(uid / 2 + 1) + " FETCH (UID " + QByteArray::number(uid) +
                  (uid % 3 == 0 ? " FLAGS ()" : " FLAGS (\\Seen)");
        if (hasHeader) {
            const QByteArray text = header(uid);
            answer += " INTERNALDATE \" 3-Mar-2026 10:11:12 +0100\" RFC822.SIZE 4000"
                      " BODY[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)] {" +
                      QByteArray::number(text.size()) + "}\r\n" + text;
        }
        answer += ")\r\n";
    }
};

namespace {

class Connection final : public MailTransport {
public:
    explicit Connection(std::shared_ptr<MailboxServer::Mailbox> mailbox)
        : m_mailbox(std::move(mailbox))
    {}

    Task<> send(QByteArray data) override
    {
        const double start = threadTime();
        m_said += data;
        for (qsizetype end = m_said.indexOf("\r\n"); end >= 0; end = m_said.indexOf("\r\n")) {
            const QByteArray line = m_said.first(end);
            m_said.remove(0, end + 2);
            take(line);
        }
        m_mailbox->ownTime += threadTime() - start;
        co_await NextTurn();
    }

    Task<QByteArray> receive() override
    {
        co_await NextTurn();
        const double start = threadTime();
        const QByteArray& answer = m_answers.first();
        QByteArray chunk = answer.sliced(m_offset, std::min(chunkSize, answer.size() - m_offset));
        m_offset += chunk.size();
        if (m_offset == answer.size()) {
            m_answers.removeFirst();
            m_offset = 0;
        }
        m_mailbox->ownTime += threadTime() - start;
        co_return chunk;
    }

    Task<> startTLS() override { co_return; }
    void close() override {}

private:
    void take(const QByteArray& line)
    {
        const qsizetype space = line.indexOf(' ');
        const QByteArray untagged = m_mailbox->answer(QByteArrayView(line).sliced(space + 1));
        if (!untagged.isEmpty())
            m_answers.append(untagged);
        m_answers.append(line.first(space) + " OK done\r\n");
    }

    const std::shared_ptr<MailboxServer::Mailbox> m_mailbox;
    QByteArray m_said;
    QList<QByteArray> m_answers{"* OK ready\r\n"};
    qsizetype m_offset = 0; ///< within the first of them
};

Task<std::shared_ptr<MailTransport>> connection(std::shared_ptr<MailboxServer::Mailbox> mailbox)
{
    std::shared_ptr<MailTransport> made = std::make_shared<Connection>(mailbox);
    co_return made;
}

} // namespace

MailboxServer::MailboxServer(qint64 messages)
    : m_mailbox(std::make_shared<Mailbox>())
{
    m_mailbox->messages = messages;
    QByteArray& answer = m_mailbox->searchAnswer;
    answer = "* SEARCH";
    for (qint64 uid = 1; uid <= m_mailbox->lastUID(); uid += 2)
        answer += ' ' + QByteArray::number(uid);
    answer += "\r\n";
}

TransportFactory MailboxServer::factory()
{
    return [mailbox = m_mailbox](const QString&, int, bool) { return connection(mailbox); };
}

double MailboxServer::ownTime() const
{
    return m_mailbox->ownTime;
}

qsizetype MailboxServer::searchSize() const
{
    return m_mailbox->searchAnswer.size();
}

} // namespace Larkhaven::Bench

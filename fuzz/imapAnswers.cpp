#include "domain/MailError.h"
#include "protocols/IMAPClient.h"
#include "providers/IMAPMailboxes.h"

#include <QByteArray>
#include <QList>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

// A server may answer any command with anything. The client sees it through to its end, and what it learned
// of mailboxes gives no role to another user's.

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Says all that it has to say at once, whatever it is asked, and never waits.
class CannedTransport final : public MailTransport {
public:
    explicit CannedTransport(QByteArray bytes)
        : m_bytes(std::move(bytes))
    {}

    Task<> send(QByteArray) override { co_return; }
    Task<QByteArray> receive() override
    {
        if (m_bytes.isEmpty())
            throw MailError::connectionClosed();
        const QByteArray bytes = std::exchange(m_bytes, {});
        co_return bytes;
    }
    Task<> startTLS() override { co_return; }
    void close() override { m_bytes.clear(); }

private:
    QByteArray m_bytes;
};

Task<std::shared_ptr<MailTransport>> opened(QByteArray bytes, QString, int, bool)
{
    std::shared_ptr<MailTransport> transport = std::make_shared<CannedTransport>(bytes);
    co_return transport;
}

void checkMailboxes(const IMAPMailboxes::Listing& mailboxes, const IMAPMailboxes::Namespaces& namespaces)
{
    for (const Mailbox role :
         {Mailbox::sent, Mailbox::drafts, Mailbox::archive, Mailbox::spam, Mailbox::trash}) {
        const std::optional<QString> found = IMAPMailboxes::find(role, mailboxes, namespaces);
        require(!found || std::ranges::any_of(mailboxes, [&found](const IMAPClient::ListedMailbox& mailbox) {
            return mailbox.name == *found && !mailbox.attributes.contains(u"\\noselect"_s);
        }));
    }
    require(IMAPMailboxes::labels(mailboxes, namespaces).size() <= mailboxes.size());
    for (const IMAPClient::ListedMailbox& mailbox : mailboxes) {
        const QString delimiter = mailbox.delimiter.value_or(u"/"_s);
        const IMAPMailboxes::Place place = IMAPMailboxes::placeOf(mailbox.name, namespaces, delimiter);
        IMAPMailboxes::wireName(IMAPMailboxes::displayPath(mailbox.name, mailbox.delimiter), place,
                                namespaces);
    }
    require(!IMAPMailboxes::placesForNew(mailboxes, namespaces, u"."_s).isEmpty());
}

Task<> ask(QByteArray answers)
{
    const QByteArray signedIn = "* OK\r\nP1 OK\r\nP2 OK\r\n* CAPABILITY UIDPLUS\r\nP3 OK\r\n";
    const TransportFactory factory = [bytes = signedIn + answers](const QString& host, int port,
                                                                  bool implicitTLS) {
        return opened(bytes, host, port, implicitTLS);
    };
    try {
        const MailAuth auth = MailAuth::password(u"x"_s);
        const std::shared_ptr<IMAPClient> client = co_await IMAPClient::connect({}, auth, factory);
        // P4 to P12
        const IMAPMailboxes::Namespaces namespaces = co_await client->namespaces();
        require(namespaces.personal.size() <= IMAPClient::namespaceLimit);
        const IMAPMailboxes::Listing mailboxes = co_await client->listMailboxes();
        checkMailboxes(mailboxes, namespaces);
        co_await client->select(u"INBOX"_s, false);
        const QList<IMAPArg> all{IMAPArg::text(u"ALL"_s)};
        const QList<qint64> uids = co_await client->search(all);
        const QList<qint64> first{1};
        const QList<IMAPFetch> fetches = co_await client->fetch(first, u"ENVELOPE"_s);
        const IMAPClient::NextUID next = co_await client->nextUID(u"INBOX"_s);
        require(next.uid >= 1 && next.uidValidity >= 0);
        const QStringList two{u"a"_s, u"b"_s};
        const auto counts = co_await client->statuses(two);
        require(counts.size() == 2);
        co_await client->append(u"Drafts"_s, {}, "x");
    } catch (const MailError&) {
        // A refusal, or the end of the stream.
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    require(ask(bytes).isReady());
    return 0;
}

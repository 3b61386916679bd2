#include "Paired.h"
#include "domain/MailError.h"
#include "protocols/IMAPClient.h"

#include <QCoreApplication>
#include <QCoroTask>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <libetpan/libetpan.h>
#include <memory>
#include <string>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

// What an IMAP server says, from the socket to the values, beside libetpan.

using namespace Qt::StringLiterals;

namespace Larkhaven::Bench {
namespace {

constexpr int messages = 1'000'000;
constexpr int envelopes = 1000;

// --- A server, in a process of its own so that its work isn't counted

QByteArray searchAnswer()
{
    QByteArray answer = "* SEARCH";
    for (int message = 0; message < messages; ++message)
        answer += ' ' + QByteArray::number(1'000'000 + 3 * message);
    return answer + "\r\n";
}

QByteArray envelopeAnswer()
{
    QByteArray answer;
    for (int message = 1; message <= envelopes; ++message) {
        const QByteArray number = QByteArray::number(message);
        answer += "* " + number + " FETCH (UID " + number +
                  " ENVELOPE (\"Tue, 3 Mar 2026 10:11:12 +0100\" \"=?UTF-8?Q?Gr=C3=BC=C3=9Fe_aus?= "
                  "K=?UTF-8?Q?=C3=B6?= no. " +
                  number +
                  "\" ((\"Ann Example\" NIL \"ann\" \"x.example\")) ((\"Ann Example\" NIL \"ann\" "
                  "\"x.example\")) ((\"Ann "
                  "Example\" NIL \"ann\" \"x.example\")) ((\"Bob\" NIL \"bob\" \"y.example\")(NIL NIL "
                  "\"carol\" \"y.example\")) "
                  "NIL NIL \"<" +
                  number + "@list.example>\" \"<" + number + ".id@mail.x.example>\"))\r\n";
    }
    return answer;
}

void writeAll(int socket, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(socket, bytes.data(), static_cast<size_t>(bytes.size()));
        if (written <= 0)
            std::_Exit(0);
        bytes = bytes.sliced(written);
    }
}

[[noreturn]] void serve(int socket)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const QByteArray search = searchAnswer();
    const QByteArray fetch = envelopeAnswer();
    writeAll(socket, "* OK ready\r\n");
    std::string line;
    for (char byte = 0; ::read(socket, &byte, 1) == 1;) {
        line += byte;
        if (byte != '\n')
            continue;
        const QByteArray command = QByteArray::fromStdString(line).toUpper();
        line.clear();
        if (command.contains("CAPABILITY"))
            writeAll(socket, "* CAPABILITY IMAP4REV1\r\n");
        else if (command.contains("UID SEARCH"))
            writeAll(socket, search);
        else if (command.contains("UID FETCH"))
            writeAll(socket, fetch);
        writeAll(socket, command.first(command.indexOf(' ')) + " OK done\r\n");
    }
    std::_Exit(0);
}

/// A connection to a server of its own.
int connectToServer()
{
    std::array<int, 2> sockets{};
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, sockets.data()) != 0)
        std::abort();
    if (::fork() == 0) {
        ::close(sockets[0]);
        serve(sockets[1]);
    }
    ::close(sockets[1]);
    return sockets[0];
}

// --- Ours

class SocketTransport final : public MailTransport {
public:
    explicit SocketTransport(int socket)
        : m_socket(socket)
    {}
    ~SocketTransport() override { ::close(m_socket); }
    SocketTransport(const SocketTransport&) = delete;
    SocketTransport& operator=(const SocketTransport&) = delete;

    Task<> send(QByteArray data) override
    {
        writeAll(m_socket, data);
        co_return;
    }
    Task<QByteArray> receive() override
    {
        // As much as there is, as the program's own transport does it.
        constexpr int fewest = 0x1000;
        constexpr int most = 0x40000;
        int available = 0;
        ::ioctl(m_socket, FIONREAD, &available);
        QByteArray chunk(std::clamp(available, fewest, most), Qt::Uninitialized);
        const ssize_t size = ::read(m_socket, chunk.data(), static_cast<size_t>(chunk.size()));
        if (size <= 0)
            throw MailError::connectionClosed();
        chunk.truncate(size);
        co_return chunk;
    }
    Task<> startTLS() override { co_return; }
    void close() override {}

private:
    const int m_socket;
};

std::shared_ptr<IMAPClient> connectedClient()
{
    const TransportFactory factory = [](QString, int, bool) -> Task<std::shared_ptr<MailTransport>> {
        std::shared_ptr<MailTransport> transport = std::make_shared<SocketTransport>(connectToServer());
        co_return transport;
    };
    ServerSettings settings;
    settings.username = u"ann"_s;
    settings.imapSecurity = ConnectionSecurity::tls;
    return QCoro::waitFor(IMAPClient::connect(settings, MailAuth::password(u"x"_s), factory));
}

// --- Theirs

struct FreeSession {
    void operator()(mailimap* session) const { mailimap_free(session); }
};
using Session = std::shared_ptr<mailimap>;

Session connectedSession()
{
    Session session(mailimap_new(0, nullptr), FreeSession());
    mailimap_connect(session.get(), mailstream_socket_open(connectToServer()));
    mailimap_login(session.get(), "ann", "x");
    mailimap_select(session.get(), "INBOX");
    return session;
}

// --- Cases

/// As a listing wants them: nearly always they come the other way round.
template <typename List>
void sortDescending(List& uids)
{
    if (std::ranges::is_sorted(uids))
        std::ranges::reverse(uids);
    else
        std::ranges::sort(uids, std::greater());
}

Case searching()
{
    const std::shared_ptr<IMAPClient> client = connectedClient();
    const Session session = connectedSession();
    const auto ours = [client] {
        QList<qint64> uids = QCoro::waitFor(client->search({IMAPArg::text(u"ALL"_s)}));
        sortDescending(uids);
        return static_cast<std::uint64_t>(uids.size()) + static_cast<std::uint64_t>(uids.first());
    };
    const auto theirs = [session] {
        clist* found = nullptr;
        mailimap_search_key* const all = mailimap_search_key_new_all();
        mailimap_uid_search(session.get(), nullptr, all, &found);
        mailimap_search_key_free(all);
        if (!found)
            return std::uint64_t{0};
        std::vector<std::uint32_t> uids;
        for (clistiter* entry = clist_begin(found); entry; entry = clist_next(entry))
            uids.push_back(*static_cast<std::uint32_t*>(clist_content(entry)));
        mailimap_search_result_free(found);
        sortDescending(uids);
        return static_cast<std::uint64_t>(uids.size()) + uids.front();
    };
    return {"search of 1,000,000 messages, to a sorted list", "libetpan", 10, ours, theirs};
}

Case fetching()
{
    const std::shared_ptr<IMAPClient> client = connectedClient();
    const Session session = connectedSession();
    const auto ours = [client] {
        const QList<IMAPFetch> fetches = QCoro::waitFor(client->fetch({1}, u"ENVELOPE"_s));
        return static_cast<std::uint64_t>(fetches.size());
    };
    const auto theirs = [session] {
        clist* found = nullptr;
        mailimap_set* const set = mailimap_set_new_interval(1, envelopes);
        mailimap_fetch_type* const type =
            mailimap_fetch_type_new_fetch_att(mailimap_fetch_att_new_envelope());
        mailimap_uid_fetch(session.get(), set, type, &found);
        mailimap_fetch_type_free(type);
        mailimap_set_free(set);
        if (!found)
            return std::uint64_t{0};
        const auto count = static_cast<std::uint64_t>(clist_count(found));
        mailimap_fetch_list_free(found);
        return count;
    };
    return {"1,000 envelopes, to values", "libetpan", 12, ours, theirs};
}

} // namespace
} // namespace Larkhaven::Bench

int main(int argc, char** argv)
{
    using namespace Larkhaven::Bench;
    const QCoreApplication application(argc, argv);
    std::signal(SIGPIPE, SIG_IGN);
    return compare(argc, argv, {searching(), fetching()});
}

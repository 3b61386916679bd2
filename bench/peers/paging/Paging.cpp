#include "MailboxServer.h"
#include "platform/Tasks.h"
#include "providers/IMAPMessageID.h"
#include "providers/IMAPProvider.h"
#include "providers/IMAPSnapshot.h"
#include "providers/RowStore.h"
#include "store/AESGCMCipher.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <malloc.h>
#include <optional>
#include <vector>

// What paging and flags cost on an IMAP mailbox, and what of it stays in memory, with a server in this
// process whose own time isn't counted. Prints a line for each figure, its fields parted by tabs: what is
// measured, the figure, the goal, and whether it is met.

using namespace Larkhaven;
using namespace Larkhaven::Bench;
using namespace Qt::StringLiterals;

namespace {

constexpr qint64 pageSize = 100;
constexpr qint64 storedRows = RowStore::rowLimit;
const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);

double seconds(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Ends the program where what was measured isn't what was meant.
void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "Paging: %s\n", what);
    std::exit(1);
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void print(const QString& name, double figure, const char* unit, double goal)
{
    std::printf("%s\t%.2f %s\t%g %s\t%d\n", qUtf8Printable(name), figure, unit, goal, unit,
                figure <= goal ? 1 : 0);
    std::fflush(stdout);
}

Account account()
{
    Account account;
    account.id = QUuid(u"{01234567-89ab-cdef-0123-456789abcdef}"_s);
    account.provider = ProviderKind::imap;
    account.email = u"ann@x.example"_s;
    ServerSettings settings;
    settings.username = u"ann"_s;
    settings.imapHost = u"imap.x.example"_s;
    settings.smtpHost = u"smtp.x.example"_s;
    account.server = settings;
    return account;
}

std::shared_ptr<MailCache> cacheIn(const QString& folder)
{
    return std::make_shared<MailCache>(
        folder, std::make_shared<AESGCMCipher>(QByteArray(AESGCMCipher::keySize, 'k')), 1'000'000'000);
}

/// A mailbox and the provider that looks at it.
class Session {
public:
    explicit Session(qint64 messages, const std::shared_ptr<MailCache>& cache = nullptr)
        : m_messages(messages)
        , m_server(messages)
        , m_provider(
              IMAPProvider::create(account(), MailAuth::password(u"secret"_s), cache, m_server.factory()))
    {}

    MessagePage page(qint64 number, bool refresh = false)
    {
        MessagePage page = QCoro::waitFor(
            m_provider->listMessages(inbox, std::nullopt, number * pageSize, pageSize, refresh));
        require(page.messages.size() == pageSize && page.total == m_messages, "a page isn't whole");
        return page;
    }

    /// Processor time that `work` takes by the clock, in seconds, without the server's.
    double timeOf(clockid_t clock, const std::function<void()>& work)
    {
        const double server = m_server.ownTime();
        const double start = seconds(clock);
        work();
        return seconds(clock) - start - (m_server.ownTime() - server);
    }

    IMAPProvider& provider() { return *m_provider; }
    const MailboxServer& server() const { return m_server; }
    /// Lets go of the provider, which stores what it hasn't stored yet.
    void end() { m_provider.reset(); }

private:
    const qint64 m_messages;
    MailboxServer m_server;
    std::shared_ptr<IMAPProvider> m_provider;
};

// --- Pages

void measurePages()
{
    for (const qint64 messages : {1000, 100'000, 1'000'000}) {
        const QTemporaryDir folder;
        Session session(messages, cacheIn(folder.path()));
        session.page(0, true);
        std::vector<double> fresh;
        for (qint64 number = 1; number < 10; ++number)
            fresh.push_back(session.timeOf(CLOCK_THREAD_CPUTIME_ID, [&] { session.page(number); }));
        std::vector<double> known;
        for (qint64 number = 1; number < 10; ++number)
            known.push_back(session.timeOf(CLOCK_THREAD_CPUTIME_ID, [&] { session.page(number); }));
        const QString count = QLocale(QLocale::English).toString(messages);
        print(u"a page of 100 new rows in a mailbox of %1"_s.arg(count), median(fresh) * 1e3, "ms", 2);
        print(u"the same page again"_s, median(known) * 1e3, "ms", 2);
    }
}

/// Processor time of the process for 100 pages, up to their last byte on the disk, in seconds.
double hundredPages(bool isCached)
{
    const QTemporaryDir folder;
    std::shared_ptr<MailCache> cache = isCached ? cacheIn(folder.path()) : nullptr;
    Session session(10'000, cache);
    return session.timeOf(CLOCK_PROCESS_CPUTIME_ID, [&] {
        for (qint64 number = 0; number < 100; ++number)
            session.page(number, number == 0);
        session.end();
        cache.reset();
        waitForWork(workEndLimit);
    });
}

void measureHundredPages()
{
    std::vector<double> ratios;
    for (int run = 0; run < 9; ++run) {
        const double plain = hundredPages(false);
        ratios.push_back(hundredPages(true) / plain);
    }
    print(u"100 pages of 100 with the cache, by those without it"_s, median(ratios), "×", 1.1);
}

// --- Flags

/// What this process has handed to the kernel to write, in bytes.
qint64 written()
{
    QFile file(u"/proc/self/io"_s);
    file.open(QIODevice::ReadOnly);
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith("wchar: "))
            return line.sliced(sizeof "wchar:").toLongLong();
    }
    return 0;
}

/// All rows of a mailbox into the cache of a folder.
void fill(const QString& folder)
{
    Session session(storedRows, cacheIn(folder));
    for (qint64 number = 0; number < storedRows / pageSize; ++number)
        session.page(number, number == 0);
}

/// The stored row of a message.
PackedRow storedRow(const QString& folder, const IMAPMessageGroup& message)
{
    RowStore store(cacheIn(folder), u"imap"_s, RowStore::Ties::stay);
    QCoro::waitFor(store.load(RowStore::Import()));
    const PackedRow* const row = store.row(message.mailbox, IMAPRows::key(message.uids.first()));
    require(row != nullptr, "a row isn't stored");
    return *row;
}

void measureFlags()
{
    const QTemporaryDir folder;
    fill(folder.path());
    std::shared_ptr<MailCache> cache = cacheIn(folder.path());
    Session session(storedRows, cache);
    const MessageSummary message = session.page(0, true).messages.first();
    const IMAPMessageGroup group = IMAPMessageIDs::grouped({message.id}).first();
    const qint64 before = written();
    const double taken = session.timeOf(CLOCK_THREAD_CPUTIME_ID, [&] {
        QCoro::waitFor(session.provider().setRead(!message.isRead, {message.id}));
        session.end();
    });
    cache.reset();
    const qint64 after = written();
    require(storedRow(folder.path(), group).unpackedState().isRead != message.isRead,
            "the flag isn't stored");
    print(u"main thread, for a flag change in 20,000 rows"_s, taken * 1e3, "ms", 5);
    print(u"written until it is stored"_s, static_cast<double>(after - before) / 1024, "KB", 8);
}

// --- Memory

constexpr qint64 searched = 1'000'000;

/// A line of /proc/self/status, in bytes.
qint64 ownMemory(QByteArrayView field)
{
    QFile file(u"/proc/self/status"_s);
    file.open(QIODevice::ReadOnly);
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith(field))
            return line.sliced(field.size() + 1).chopped(2).trimmed().toLongLong() * 1024;
    }
    return 0;
}

/// Resident memory after a first page that reads what the folder holds.
qint64 memoryWithRows(const QString& folder)
{
    Session session(storedRows, cacheIn(folder));
    session.page(0);
    return ownMemory("VmRSS");
}

/// Resident memory at its highest while a search is answered, above what there was before and the bytes of
/// the answer.
qint64 memoryOfSearch()
{
    Session session(searched);
    QCoro::waitFor(session.provider().inboxUnreadCount());
    malloc_trim(0);
    const qint64 before = ownMemory("VmRSS");
    // The highest so far is forgotten (proc(5)).
    QFile forget(u"/proc/self/clear_refs"_s);
    require(forget.open(QIODevice::WriteOnly) && forget.write("5") == 1, "the peak can't be forgotten");
    forget.close();
    session.page(0, true);
    return ownMemory("VmHWM") - before - session.server().searchSize();
}

/// The same program in a process of its own, so that nothing that was before is in its memory.
qint64 inAnotherProcess(const QStringList& arguments)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), arguments);
    process.waitForFinished(-1);
    return process.readAllStandardOutput().trimmed().toLongLong();
}

void measureMemory()
{
    const QTemporaryDir filled;
    const QTemporaryDir empty;
    fill(filled.path());
    const qint64 rows =
        inAnotherProcess({u"--rows"_s, filled.path()}) - inAnotherProcess({u"--rows"_s, empty.path()});
    print(u"20,000 rows in memory, above a program without"_s, static_cast<double>(rows) / (1024 * 1024),
          "MB", 40);
    const qint64 search = inAnotherProcess({u"--search"_s});
    print(u"a search of 1,000,000 UIDs at its peak, above the bytes received"_s,
          static_cast<double>(search) / searched, "bytes a UID", 16);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().sliced(1);
    if (arguments.value(0) == "--rows"_L1) {
        std::printf("%lld\n", static_cast<long long>(memoryWithRows(arguments.value(1))));
        return 0;
    }
    if (arguments.value(0) == "--search"_L1) {
        std::printf("%lld\n", static_cast<long long>(memoryOfSearch()));
        return 0;
    }
    measurePages();
    measureHundredPages();
    measureFlags();
    measureMemory();
    return 0;
}

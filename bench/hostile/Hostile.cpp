#include "Hostile.h"

#include "Clock.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <malloc.h>
#include <optional>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Larkhaven::Bench {

namespace {

/// Twice the text may take so many times as long; what is beyond 2 is for caches and noise.
constexpr double mostGrowth = 2.3;
/// The units that come of one unit: a reference such as "&quot;" in two places.
constexpr double mostOutput = 16;

/// What takes less for a unit, in seconds, waits for the memory alone: twice the text may be beyond a cache.
constexpr double fastest = 0.25e-9;

/// Growth that is so far below the bound isn't measured a third time; where noise may be what is beyond it,
/// the row gets so many seconds of processor time.
constexpr double clearGrowth = 2.15;
constexpr double mostSeconds = 4;
/// Where a family is ended.
constexpr int secondsOfFamily = 30;
/// What is told from the clock's own noise.
constexpr double shortestRun = 0.001;

struct Measured {
    qsizetype size = 0;
    double half = 0; ///< seconds
    double whole = 0;
    qsizetype output = 0;
};

/// One size of a family, repeated until it can be told from the clock's own noise.
class Side {
public:
    explicit Side(Input input)
        : m_input(std::move(input))
    {
        // The first run warms the caches as well.
        const double start = processorTime();
        m_output = m_input.run();
        const double once = std::max(processorTime() - start, 1e-7);
        m_repetitions = std::max(1, static_cast<int>(shortestRun / once));
        m_least = once;
    }

    void run()
    {
        const double start = processorTime();
        for (int repetition = 0; repetition < m_repetitions; ++repetition)
            m_output = m_input.run();
        m_least = std::min(m_least, (processorTime() - start) / m_repetitions);
    }

    qsizetype size() const { return m_input.size; }
    qsizetype output() const { return m_output; }
    double seconds() const { return m_least; }

private:
    Input m_input;
    qsizetype m_output = 0;
    int m_repetitions = 1;
    double m_least = 0;
};

Measured measured(const Family& family)
{
    Side half(family.make(family.largest / 2));
    Side whole(family.make(family.largest));
    const double start = processorTime();
    do {
        half.run();
        whole.run();
    } while (whole.seconds() > clearGrowth * half.seconds() && processorTime() - start < mostSeconds);
    return {whole.size(), half.seconds(), whole.seconds(), whole.output()};
}

double processorTimeOf(pid_t process)
{
    clockid_t clock{};
    timespec time{};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0)
        return 0;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Measures in a process of its own: what one family leaves in the memory is no matter of the next, and one
/// that doesn't end can be ended. Absent where it was.
///
/// NB: not by a limit of its processor time, under which the kernel counts that in ticks alone.
std::optional<Measured> measuredApart(const Family& family)
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        std::abort();
    const pid_t child = fork();
    if (child < 0)
        std::abort();
    if (child == 0) {
        const Measured result = measured(family);
        const bool isTold = write(ends[1], &result, sizeof result) == sizeof result;
        _exit(isTold ? 0 : 1);
    }
    close(ends[1]);
    constexpr int turn = 50; // milliseconds
    pollfd end{ends[0], POLLIN, 0};
    while (poll(&end, 1, turn) == 0) {
        if (processorTimeOf(child) > secondsOfFamily)
            kill(child, SIGKILL);
    }
    Measured result;
    const bool isTold = read(ends[0], &result, sizeof result) == sizeof result;
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return isTold ? std::optional(result) : std::nullopt;
}

QString milliseconds(double seconds)
{
    return QString::number(seconds * 1000, 'f', seconds < 0.001 ? 3 : 2) + QStringLiteral(" ms");
}

/// Prints the row, and gives whether it misses nothing.
bool printRow(const Family& family, const std::optional<Measured>& result)
{
    QString row = QStringLiteral("| %1 | %2 | ").arg(family.parser, family.name);
    QString missed;
    if (result) {
        const double growth = result->whole / result->half;
        const double output = static_cast<double>(result->output) / static_cast<double>(result->size);
        if (growth > mostGrowth && result->whole > fastest * static_cast<double>(result->size))
            missed = QStringLiteral("grows");
        if (output > mostOutput)
            missed += missed.isEmpty() ? QStringLiteral("output") : QStringLiteral(", output");
        row +=
            QStringLiteral("%1 | %2 | %3 | %4 | %5 | %6 |")
                .arg(QString::number(result->size), milliseconds(result->half), milliseconds(result->whole),
                     QString::number(growth, 'f', 2), QString::number(output, 'f', 2), missed);
    } else {
        missed = QStringLiteral("ended after %1 s").arg(secondsOfFamily);
        row += QStringLiteral("%1 | | | | | %2 |").arg(QString::number(family.largest), missed);
    }
    std::printf("%s\n", row.toUtf8().constData());
    std::fflush(stdout);
    return missed.isEmpty();
}

template <typename Text, typename Make>
Text filledBy(qsizetype size, Make make)
{
    Text text;
    text.reserve(size);
    for (int number = 0;; ++number) {
        const Text piece = make(number);
        if (piece.isEmpty() || text.size() + piece.size() > size)
            return text;
        text += piece;
    }
}

} // namespace

template <typename Text>
void Families::addEach(const QString& parser, const std::function<qsizetype(const Text&)>& read,
                       const std::vector<Made<Text>>& texts, qsizetype largest)
{
    for (const Made<Text>& text : texts) {
        const auto make = [read, text](qsizetype size) {
            const Text made = text.make(size);
            return Input{made.size(), [read, made] { return read(made); }};
        };
        m_families.push_back({parser, text.name, make, largest});
    }
}

void Families::add(const QString& parser, std::function<qsizetype(const QByteArray&)> read,
                   const std::vector<Made<QByteArray>>& texts, qsizetype largest)
{
    addEach(parser, read, texts, largest);
}

void Families::addText(const QString& parser, std::function<qsizetype(const QString&)> read,
                       const std::vector<Made<QString>>& texts, qsizetype largest)
{
    addEach(parser, read, texts, largest);
}

int measure(int argc, char** argv, const Families& families)
{
    pinToOneCore();
    // What is freed is used again: else the kernel makes new pages for each large block, which takes longer
    // than some of the parsers, and more than twice as long where a block is twice as large.
    mallopt(M_MMAP_THRESHOLD, std::numeric_limits<int>::max());
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    const QString wanted = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
    bool isGood = true;
    for (const Family& family : families.all()) {
        if (family.parser.contains(wanted) || family.name.contains(wanted))
            isGood = printRow(family, measuredApart(family)) && isGood;
    }
    return isGood ? 0 : 1;
}

namespace {

/// Short pieces come in fours: both sizes are whole then in UTF-16 and UTF-32.
qsizetype timesIn(qsizetype size, qsizetype piece)
{
    constexpr qsizetype few = 1000;
    const qsizetype times = size / piece;
    return times < few ? times : times / 4 * 4;
}

} // namespace

QByteArray filled(const QByteArray& piece, qsizetype size)
{
    return piece.repeated(timesIn(size, piece.size()));
}

QString filled(const QString& piece, qsizetype size)
{
    return piece.repeated(timesIn(size, piece.size()));
}

namespace {

/// The piece as a table shows it.
QString shown(QStringView piece)
{
    QString name;
    for (const QChar unit : piece) {
        if (unit == u'|' || unit == u'`' || unit < u' ' || unit > u'~')
            name += QStringLiteral("\\u%1").arg(QString::number(unit.unicode(), 16).rightJustified(4, u'0'));
        else
            name += unit;
    }
    return QStringLiteral("`` %1 ``").arg(name);
}

} // namespace

Made<QByteArray> many(const QByteArray& piece)
{
    return {shown(QString::fromUtf8(piece)), [piece](qsizetype size) { return filled(piece, size); }};
}

Made<QString> many(const QString& piece)
{
    return {shown(piece), [piece](qsizetype size) { return filled(piece, size); }};
}

QByteArray numbered(qsizetype size, const std::function<QByteArray(int number)>& piece)
{
    return filledBy<QByteArray>(size, piece);
}

QString numberedText(qsizetype size, const std::function<QString(int number)>& piece)
{
    return filledBy<QString>(size, piece);
}

} // namespace Larkhaven::Bench

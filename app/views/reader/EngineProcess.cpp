#include "views/reader/EngineProcess.h"

#include <QFile>
#include <QList>

#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Larkhaven::EngineProcess {

namespace {

/// What the kernel says of a process; values end at a line's end. Empty where there is none.
QByteArray status(qint64 process)
{
    QFile file(u"/proc/%1/status"_s.arg(process));
    return process > 0 && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The words behind the name of a line.
QList<QByteArray> values(const QByteArray& status, const QByteArray& name)
{
    const QByteArray start = '\n' + name + ":\t";
    const qsizetype found = status.indexOf(start);
    if (found < 0)
        return {};
    const qsizetype value = found + start.size();
    return status.sliced(value, status.indexOf('\n', value) - value).simplified().split(' ');
}

qint64 bytes(const QByteArray& status, const QByteArray& name)
{
    const QList<QByteArray> value = values(status, name);
    return value.isEmpty() ? 0 : value.first().toLongLong() * 1024;
}

bool isOther(qint64 process)
{
    return process > 0 && process != getpid();
}

} // namespace

bool isSandboxed(qint64 process)
{
    const QByteArray theirs = status(process);
    const bool isFiltered = values(theirs, "Seccomp") == QList<QByteArray>{"2"};
    // One number for each process namespace that it is in.
    const qsizetype ours = values(status(getpid()), "NSpid").size();
    return isOther(process) && isFiltered && ours > 0 && values(theirs, "NSpid").size() > ours;
}

void boundMemory(qint64 process)
{
    if (!isOther(process))
        return;
    const rlimit bound{mostMemory, mostMemory};
    prlimit(static_cast<pid_t>(process), RLIMIT_DATA, &bound, nullptr);
}

Memory memory(qint64 process)
{
    const QByteArray theirs = status(process);
    return {bytes(theirs, "VmData"),
            bytes(theirs, "RssAnon") + bytes(theirs, "RssShmem") + bytes(theirs, "VmSwap")};
}

void end(qint64 process)
{
    if (isOther(process))
        kill(static_cast<pid_t>(process), SIGKILL);
}

} // namespace Larkhaven::EngineProcess

#pragma once

#include <QString>

#include <sys/types.h>

/// What the program keeps from the other users of the machine, and from what is left of it when it crashes.
/// Linux: umask(2), getrlimit(2), core(5).
namespace Larkhaven::ProcessPrivacy {

/// Before anything else in the process, and in all processes of the engine after it: files and folders are
/// made for their owner alone, no core dump is written, and a dump that is made all the same (by a handler of
/// the system's that passes the limit by, or by a debugger) has none of the memory in which keys, passwords
/// and mail are. Another process of the user's may still look into this one, as desktop portals must.
void begin();

/// For a program of the user's that is started from here, between fork and exec: it finds what it would find
/// elsewhere. Async-signal-safe (signal-safety(7)).
void giveBack() noexcept;

/// A folder of ours and a file in it, from before they were closed to others. Where there is none, or it is
/// another user's, nothing happens.
void close(const QString& path);

/// The user's own file mode mask while this object lives: for what starts programs in ways that `giveBack`
/// can't reach. Main thread; what workers write meanwhile has modes of its own.
class UsersMask {
public:
    UsersMask();
    ~UsersMask();
    UsersMask(const UsersMask&) = delete;
    UsersMask& operator=(const UsersMask&) = delete;

private:
    mode_t m_ours;
};

} // namespace Larkhaven::ProcessPrivacy

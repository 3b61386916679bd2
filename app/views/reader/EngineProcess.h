#pragma once

#include <QtGlobal>

/// The process in which the engine reads and draws a message (a "renderer"), as the kernel knows it. Any
/// thread. Linux: see proc(5) and prlimit(2).
namespace Larkhaven::EngineProcess {

/// The memory that a renderer may have, in bytes. A long newsletter takes a tenth of it.
inline constexpr qint64 mostMemory = qint64(1) << 30;

/// Whether what has taken over the process could do little with it: its system calls are filtered, and it is
/// in a process namespace below ours, which the engine makes together with an empty folder and a network with
/// nobody in it. What the kernel says counts, whatever options and variables the engine was started with.
bool isSandboxed(qint64 process);

/// Holds the process to `mostMemory` of its own; the engine ends a renderer that gets none. Never our own
/// process, in which an engine without a sandbox may run.
void boundMemory(qint64 process);

/// The memory that the process has to itself, in bytes: what it has asked for, and what of it is in use,
/// shared memory included. Nothing where there is no such process.
struct Memory {
    qint64 asked = 0;
    qint64 resident = 0;
};
Memory memory(qint64 process);

/// Ends the process at once. Never our own.
void end(qint64 process);

/// Whether a message may be shown as more than its text where the engine has no sandbox: never, in the
/// program. No variable and no option changes that; only a program that links another definition, as those
/// tests do that run as root, for whom the engine makes no sandbox.
bool mayShowWithoutSandbox();

} // namespace Larkhaven::EngineProcess

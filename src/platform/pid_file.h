// Signalling a daemon through its pid file. Every daemon the system tells of
// a change is reached here, so that the guard against signalling the wrong
// process is written once.
#pragma once

namespace platform {

enum class PidSignal {
  kSent,
  kNoPidFile,     // the pid file could not be opened
  kNoPid,         // the file holds no acceptable process id
  kKillFailed,    // kill() refused (no such process, no permission)
  kNotTheDaemon,  // pid 1, or a process of another name: the file is stale
};

// Reads the process id from the pid file (a device path) and sends it the
// signal. Only a decimal number in 1..INT_MAX counts, with nothing around it
// but blanks and line ends: 0, a negative number or one beyond the pid range
// would reach a whole process group (or, wrapped, init), so such a file, a
// text, an empty or an overlong file sends nothing. Nor does a pid that is
// not the daemon's: pid 1, or a process whose name (/proc/PID/comm, where
// /proc has it) is not `daemon`, as when the daemon died and its number
// went to another process; that is said on standard error.
PidSignal SignalPidFile(const char* pid_file, const char* daemon, int signal);

}  // namespace platform

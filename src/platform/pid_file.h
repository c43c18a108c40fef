// Signalling a daemon through its pid file. Every daemon the system tells of
// a change is reached here, so that the guard against signalling the wrong
// process is written once.
#pragma once

namespace platform {

enum class PidSignal {
  kSent,
  kNoPidFile,   // the pid file could not be opened
  kNoPid,       // the file holds no acceptable process id
  kKillFailed,  // kill() refused (no such process, no permission)
};

// Reads the process id from the pid file (a device path) and sends it the
// signal. Only a decimal number in 1..INT_MAX counts, with nothing around it
// but blanks and line ends: 0, a negative number or one beyond the pid range
// would reach a whole process group (or, wrapped, init), so such a file, a
// text, an empty or an overlong file sends nothing.
PidSignal SignalPidFile(const char* pid_file, int signal);

}  // namespace platform

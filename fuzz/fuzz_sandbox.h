// The device root the in-process harnesses run handlers over. It is made once
// per process (nxconf init), with the commands recorded instead of run and
// the pauses skipped, and after every input it is put back as it was made, so
// that an input behaves the same whatever ran before it.
//
// What keeps a run inside the sandbox:
// - NXCGI_ROOT maps every absolute device path below the root, and during a
//   run the working directory is a scratch directory in it (relative paths);
// - inputs whose form texts hold ".." are not run (they would climb out);
// - the pid files whose numbers the handlers signal are directories, so that
//   they can be neither written nor read;
// - FTP servers are 127.0.0.1 at a port bound by the harness and never
//   listened on, so that every connection is refused at once.
#pragma once

#include <cstdint>
#include <string>

namespace fuzz {

// Makes the root (once) and sets the process up for running handlers.
void SetUpSandbox();
const std::string& SandboxPath();
std::string SandboxHostPath(const std::string& device_path);
// The FTP control port that refuses every connection, as text.
const char* RefusingPortText();

// Puts the process-wide state of the product back as a new process has it.
void ResetProductState();
// A run's working directory is the scratch directory of the root; outside
// runs it is the one the process started in (libFuzzer's corpus and
// artifact paths are relative to it).
void EnterSandbox();
void LeaveSandbox();
// Undoes every change a run made below the root.
void RestoreSandbox();

// Writes a whole file below the root (device path).
void WriteSandboxFile(const std::string& device_path, const uint8_t* data, std::size_t size);

// Makes the form safe to run (see above); false when the input must be skipped.
bool GuardForm();

}  // namespace fuzz

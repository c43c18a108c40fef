// Every shell command the system runs is built here and run through one
// function. A command keeps two texts: the device text (what the command is
// on the device, used in messages and by in-process tests) and the host text
// (the same command with its fixed paths below the host root).
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/fixed_text.h"
#include "platform/host_root.h"

namespace platform {

// Room for the longest command the form fields allow (a 255-character value
// plus its suffix) with every fixed path below a host root.
inline constexpr std::size_t kMaxCommandText = 8192;

class ShellCommand {
 public:
  // Text taken as it is, in both forms (shell words, user text).
  ShellCommand& Text(std::string_view text);
  // A fixed absolute path: device form in the device text, mapped in the host text.
  ShellCommand& Path(std::string_view device_path);
  // Text from outside as one single-quoted shell word: a quote inside it
  // becomes '\'' so that nothing in it (";", "$(...)", back-quotes, quotes,
  // blanks) is ever read by the shell as syntax.
  ShellCommand& QuotedWord(std::string_view text);

  const char* device_text() const { return device_.c_str(); }
  const char* host_text() const { return host_.c_str(); }
  bool overflow() const { return unmappable_ || device_.overflow() || host_.overflow(); }

 private:
  FixedText<kMaxCommandText> device_;
  FixedText<kMaxCommandText> host_;
  bool unmappable_ = false;
};

// Runs a command through the shell and waits for it; the exit status is
// returned but the system never examines it. Whatever it leaves running ends
// with the request (platform/request_end.h). Commands do not inherit
// HTTP_PROXY or http_proxy (the client's "Proxy:" header in a CGI request). A command that did not fit its
// buffer is not run. Output buffers are flushed first so that the page keeps
// its order.
int RunCommand(const ShellCommand& command);

// Runs a daemon's start script with an action ("restart", "start", "stop"),
// its output dropped: "<script> <action> >/dev/null".
void RunServiceScript(std::string_view script, std::string_view action);

// Replaces the runner (in-process tests record instead of running); null
// restores the default, system(3).
using CommandRunner = int (*)(const char* device_text, const char* host_text);
void SetCommandRunner(CommandRunner runner);

}  // namespace platform

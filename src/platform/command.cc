#include "platform/command.h"

#include <cstdio>
#include <cstdlib>

#include "platform/request_end.h"

namespace platform {
namespace {

int RunWithSystem(const char*, const char* host_text) {
  EndCommandsWithRequest();
  return std::system(host_text);
}

CommandRunner g_runner = RunWithSystem;

}  // namespace

ShellCommand& ShellCommand::Text(std::string_view text) {
  device_.Append(text);
  host_.Append(text);
  return *this;
}

ShellCommand& ShellCommand::Path(std::string_view device_path) {
  device_.Append(device_path);
  const HostPath mapped = MapPath(device_path);
  if (mapped.size() == 0 && !device_path.empty()) unmappable_ = true;
  host_.Append(mapped.view());
  return *this;
}

ShellCommand& ShellCommand::QuotedWord(std::string_view text) {
  Text("'");
  for (std::size_t quote = text.find('\''); quote != std::string_view::npos; quote = text.find('\'')) {
    Text(std::string_view(text.data(), quote)).Text("'\\''");
    text.remove_prefix(quote + 1);
  }
  return Text(text).Text("'");
}

int RunCommand(const ShellCommand& command) {
  if (command.overflow()) return -1;
  // The web server puts a request's "Proxy:" header into HTTP_PROXY, where
  // every HTTP client a command runs would take it for its proxy: a client
  // could send the device's own requests through a host of its choice. The
  // system never sets a proxy, so the variable is dropped (with its lower
  // case form) and the rest of the environment stays as it is.
  unsetenv("HTTP_PROXY");
  unsetenv("http_proxy");
  std::fflush(stdout);
  std::fflush(stderr);
  return g_runner(command.device_text(), command.host_text());
}

void RunServiceScript(std::string_view script, std::string_view action) {
  ShellCommand command;
  command.Path(script).Text(" ").Text(action).Text(" >/dev/null");
  RunCommand(command);
}

void SetCommandRunner(CommandRunner runner) { g_runner = runner != nullptr ? runner : RunWithSystem; }

}  // namespace platform

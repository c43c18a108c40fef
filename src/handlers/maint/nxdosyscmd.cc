// nxdosyscmd.cgi: runs shell commands, in the background or not, or one
// with its output copied into the page.
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "handlers/handler.h"
#include "platform/command.h"
#include "platform/fixed_text.h"
#include "platform/host_root.h"
#include "platform/sleep.h"

namespace {

constexpr std::size_t kMaxCommands = 16;
constexpr long kLongestPause = 0x7fffffff;

enum RunMode : long { kLastInBackground = 0, kAllInForeground = 1 };

struct CommandList {
  std::array<std::string_view, kMaxCommands> items;
  std::size_t count = 0;
};

// Splits at ";", skipping empty pieces; blanks stay part of a command and
// text after the sixteenth command is ignored.
CommandList SplitCommands(std::string_view text) {
  CommandList list;
  while (!text.empty() && list.count < kMaxCommands) {
    const std::size_t end = text.find(';');
    const std::string_view piece(text.data(), end == std::string_view::npos ? text.size() : end);
    if (!piece.empty()) list.items[list.count++] = piece;
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return list;
}

long Base10Field(const char* name) {
  char value[kWideFieldBufferSize];
  return ReadGivenField(name, value) ? std::strtol(value, nullptr, 10) : 0;
}

void Run(const platform::ShellCommand& command) {
  std::fprintf(stderr, "%s\n", command.device_text());
  platform::RunCommand(command);
}

void RunWithSuffix(std::string_view text, const char* suffix) {
  platform::ShellCommand command;
  command.Text(text).Text(suffix);
  Run(command);
}

// Runs one command into the output file and copies the file to the page.
bool RunForOutput(std::string_view text) {
  platform::FixedText<32> output;
  output.AppendFormat("/tmp/dosyscmdout%d", static_cast<int>(getpid()));
  platform::ShellCommand command;
  command.Text(text).Text(" > ").Path(output.view());
  Run(command);

  const platform::HostPath host_output = platform::MapPath(output.view());
  std::FILE* file = std::fopen(host_output.c_str(), "r");
  if (file == nullptr) {
    std::printf("Page Error (%s)", output.c_str());
    return false;
  }
  for (int byte = std::fgetc(file); byte != EOF; byte = std::fgetc(file)) std::putchar(byte);
  std::fclose(file);
  std::remove(host_output.c_str());
  return true;
}

}  // namespace

int NxCgi_DoSysCmdFunc(char*) {
  CgiPrintContentType("text/html");

  char version[kWideFieldBufferSize];
  if (!IsAcceptedVersion(ReadVersionField(version))) return -1;
  const long pause = Base10Field("Pause");
  const long mode = Base10Field("RetOpt");
  char command_text[kWideFieldBufferSize];
  if (!ReadGivenField("Command", command_text)) return -1;

  const CommandList commands = SplitCommands(command_text);
  if (commands.count > 0) {
    if (mode == kLastInBackground || mode == kAllInForeground) {
      for (std::size_t i = 0; i < commands.count; ++i) {
        const bool background = mode == kLastInBackground && i + 1 == commands.count;
        RunWithSuffix(commands.items[i], background ? " > /dev/null &" : " > /dev/null");
      }
    } else if (!RunForOutput(commands.items[0])) {
      return -1;
    }
  }
  if (pause > 0) platform::SleepSeconds(static_cast<unsigned>(pause < kLongestPause ? pause : kLongestPause));
  return 1;
}

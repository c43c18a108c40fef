// Small platform pieces with rules of their own: the host-root mapping, shell
// quoting and pid files.
#include <gtest/gtest.h>

#include "platform/command.h"
#include "platform/pid_file.h"
#include "harness/device_root.h"
#include "harness/process.h"

namespace {

using namespace std::literals;

TEST(Platform, HostRootMappingLeavesRelativePathsAndDevNull) {
  const std::string too_long = "/" + std::string(platform::kMaxHostPath - 2, 'a');
  const std::pair<std::string, std::string> rows[] = {
      {"/etc/x", "/r/etc/x"},         {"rel/x", "rel/x"}, {"/dev/null", "/dev/null"},
      {"/dev/null2", "/r/dev/null2"}, {"", ""},           {too_long, ""}};
  setenv("NXCGI_ROOT", "/r//", 1);
  for (const auto& [device, host] : rows) EXPECT_EQ(platform::MapPath(device).view(), host) << device;
  unsetenv("NXCGI_ROOT");
  EXPECT_EQ(platform::MapPath("/etc/x").view(), "/etc/x");
}

// A quoted word reaches the shell as exactly its text.
TEST(Platform, QuotedWordsAreReadBackByTheShell) {
  for (const char* text : {"", "a b", "it's", "''", "$(id); `id` \"$HOME\" \\ *", "a'\\''b"}) {
    platform::ShellCommand command;
    command.Text("printf %s ").QuotedWord(text);
    EXPECT_EQ(harness::RunProgram({"sh", "-c", command.device_text()}).out, text) << command.device_text();
  }
}

// Only a decimal pid in 1..INT_MAX between blanks is ever signalled.
TEST(Platform, PidFilesThatSignalNothing) {
  harness::DeviceRoot root;
  setenv("NXCGI_ROOT", root.path().c_str(), 1);
  for (const std::string& text :
       {"0"s, "-1"s, "abc"s, "2147483648"s, " \n"s, ""s, "12 34"s, std::string(64, ' ') + "1"}) {
    root.Write("/var/run/x.pid", text);
    EXPECT_EQ(platform::SignalPidFile("/var/run/x.pid", 0), platform::PidSignal::kNoPid) << text;
  }
  EXPECT_EQ(platform::SignalPidFile("/var/run/none.pid", 0), platform::PidSignal::kNoPidFile);
  unsetenv("NXCGI_ROOT");
}

}  // namespace

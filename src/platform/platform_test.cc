// Small platform pieces with rules of their own: the host-root mapping, shell
// quoting and pid files.
#include <gtest/gtest.h>

#include "harness/device_root.h"
#include "harness/in_process.h"
#include "harness/process.h"
#include "platform/command.h"
#include "platform/msg_queue.h"
#include "platform/pid_file.h"

namespace {

using namespace std::literals;

// Only a decimal pid in 1..INT_MAX between blanks, in a file of 64 bytes at
// most, is ever signalled. Should a refusal break, nothing is signalled
// either: the pids are above any that Linux hands out (4194304), and signal 0
// only checks.
TEST(Platform, HostRootMappingAndPidFilesThatSignalNothing) {
  unsetenv("NXCGI_ROOT");  // no root: the device's own paths
  EXPECT_EQ(platform::MapPath("/etc/x").view(), "/etc/x");
  harness::DeviceRoot root;
  root.MakeCurrent();
  const std::string r = root.path(), too_long = "/" + std::string(platform::kMaxHostPath - 2, 'a');
  const std::pair<std::string, std::string> rows[] = {
      {"/etc/x", r + "/etc/x"},         {"rel/x", "rel/x"}, {"/dev/null", "/dev/null"},
      {"/dev/null2", r + "/dev/null2"}, {"", ""},           {too_long, ""}};
  for (const auto& [device, host] : rows) EXPECT_EQ(platform::MapPath(device).view(), host) << device;
  for (const std::string& text : {"0"s, "-1"s, "abc"s, "2147483648"s, " \n"s, ""s, "99999999 99999999"s,
                                  std::string(64, ' ') + "99999999"}) {
    root.Write("/var/run/x.pid", text);
    EXPECT_EQ(platform::SignalPidFile("/var/run/x.pid", "x", 0), platform::PidSignal::kNoPid) << text;
  }
  EXPECT_EQ(platform::SignalPidFile("/var/run/none.pid", "x", 0), platform::PidSignal::kNoPidFile);
}

// A quoted word reaches the shell as exactly its text.
TEST(Platform, QuotedWordsAreReadBackByTheShell) {
  for (const char* text : {"", "a b", "it's", "''", "$(id); `id` \"$HOME\" \\ *", "a'\\''b"}) {
    platform::ShellCommand command;
    command.Text("printf %s ").QuotedWord(text);
    EXPECT_EQ(harness::RunProgram({"sh", "-c", command.device_text()}).out, text) << command.device_text();
  }
}

// Only a send the kernel refused is reported; a message of type 0 or of
// more than 256 bytes is refused without a word.
TEST(Platform, OnlyAFailedSendIsReported) {
  uint8_t message[257] = {1};  // type 1 at the start, type 0 from byte 1 on
  const harness::InProcessResult run = harness::RunInProcess([&] {
    return AdvMgSndMsgQ(-1, std::span(message).subspan(1, 8)) + AdvMgSndMsgQ(-1, message) +
           AdvMgSndMsgQ(-1, std::span(message, 8));
  });
  EXPECT_EQ(run.result, -3);
  EXPECT_TRUE(run.err.starts_with("AdvMgSndMsgQ ERROR !!!\nInvalid msqid value")) << run.err;
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 2) << run.err;
}

}  // namespace

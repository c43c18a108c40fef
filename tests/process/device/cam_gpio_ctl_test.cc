// nxcamgpctl.cgi against a stand-in GPIO node: a regular file that collects
// one "0x%08x" line per pattern, or a FIFO read while the pulse runs.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "harness/expected_pages.h"
#include "harness/process.h"
#include "harness/sandbox.h"

namespace {

using harness::ErrorPage;
using harness::kNoContent;
using Clock = std::chrono::steady_clock;

constexpr const char* kGpio = "/dev/kv_gpio";
constexpr const char* kEarlierLine = "0x00000001\n";

struct DeviceCase {
  const char* name;
  const char* query;
  const char* lines;  // appended to the node
};

// Test names carry the case name; a parameter prints as its name.
void PrintTo(const DeviceCase& c, std::ostream* out) { *out << c.name; }

const DeviceCase kDeviceCases[] = {
    {"PulseHighDefaults", "OpMode=1", "0xffffffff\n0x000000ff\n"},
    {"PulseHighInvertsToggle", "OpMode=1&ToggleCode=0x0F&uSecDuration=1000", "0xfffffff0\n0x000000ff\n"},
    {"PulseLow", "OpMode=2&ToggleCode=4&uSecDuration=500", "0x00000004\n0x00000000\n"},
    {"SetWithoutState", "OpMode=3", "0x00000000\n"},
    {"SetState", "OpMode=3&StateCode=0x12345678&ToggleCode=7", "0x12345678\n"},
    {"SetStateDecimal", "OpMode=0x3&StateCode=-1", "0xffffffff\n"},
};

class DeviceModeTest : public testing::TestWithParam<DeviceCase> {};

TEST_P(DeviceModeTest, AppendsPatternsAndAnswersNoContent) {
  const DeviceCase& c = GetParam();
  harness::SandboxRoot root;
  root.WriteFile(kGpio, kEarlierLine);

  const harness::ProcessResult result = harness::GetCgi("nxcamgpctl.cgi", c.query, root.path());

  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.out, kNoContent);
  EXPECT_EQ(root.ReadFile(kGpio), std::string(kEarlierLine) + c.lines);
  EXPECT_TRUE(root.Journal().empty());
}

INSTANTIATE_TEST_SUITE_P(Modes, DeviceModeTest, testing::ValuesIn(kDeviceCases),
                         [](const testing::TestParamInfo<DeviceCase>& info) { return info.param.name; });

struct FailureCase {
  const char* name;
  const char* query;
  bool with_node;
  const char* message;
};

void PrintTo(const FailureCase& c, std::ostream* out) { *out << c.name; }

const FailureCase kFailureCases[] = {
    {"UnknownOpMode", "OpMode=7&ToggleCode=1", true, "Invalid OpMode error <br>\n"},
    {"NegativeOpMode", "OpMode=-1", false, "Invalid OpMode error <br>\n"},
    {"NoNode", "OpMode=3&StateCode=1", false, "/dev/kv_gpio device open error<br>\n"},
};

class DeviceFailureTest : public testing::TestWithParam<FailureCase> {};

TEST_P(DeviceFailureTest, ShowsErrorPageAndLeavesNodeAlone) {
  const FailureCase& c = GetParam();
  harness::SandboxRoot root;
  if (c.with_node) root.WriteFile(kGpio, kEarlierLine);

  const harness::ProcessResult result = harness::GetCgi("nxcamgpctl.cgi", c.query, root.path());

  EXPECT_EQ(result.out, ErrorPage("nxcamgpctl.cgi", c.message));
  if (c.with_node) {
    EXPECT_EQ(root.ReadFile(kGpio), kEarlierLine);
  } else {
    EXPECT_FALSE(root.Exists(kGpio));
  }
}

INSTANTIATE_TEST_SUITE_P(Failures, DeviceFailureTest, testing::ValuesIn(kFailureCases),
                         [](const testing::TestParamInfo<FailureCase>& info) { return info.param.name; });

TEST(CamGpCtlSettingsMode, NeverTouchesTheDeviceAndAnswersWithHeaderFirst) {
  for (const char* query : {"ToggleCode=1&StateCode=2", "OpMode=0&StateCode=2", "OpMode=&StateCode=2"}) {
    SCOPED_TRACE(query);
    harness::SandboxRoot root;
    root.WriteFile(kGpio, kEarlierLine);

    const harness::ProcessResult result = harness::GetCgi("nxcamgpctl.cgi", query, root.path());

    EXPECT_EQ(result.out.rfind(harness::kHtmlHeader, 0), 0u) << result.out;
    EXPECT_EQ(root.ReadFile(kGpio), kEarlierLine);
  }
}

// Reads the FIFO while the CGI pulses and stamps each line as it arrives.
TEST(CamGpCtlPulse, LastsAtLeastItsDuration) {
  constexpr auto kDuration = std::chrono::microseconds(300000);
  harness::SandboxRoot root;
  ASSERT_EQ(mkfifo(root.Host(kGpio).c_str(), 0644), 0);
  const int reader = open(root.Host(kGpio).c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);

  harness::ProcessResult result;
  Clock::time_point started;
  Clock::time_point ended;
  std::thread cgi([&] {
    started = Clock::now();
    result = harness::GetCgi("nxcamgpctl.cgi", "OpMode=2&ToggleCode=0x5a&uSecDuration=300000", root.path());
    ended = Clock::now();
  });

  std::string text;
  std::vector<Clock::time_point> arrivals;
  const Clock::time_point give_up = Clock::now() + std::chrono::seconds(10);
  while (arrivals.size() < 2 && Clock::now() < give_up) {
    pollfd wait = {reader, POLLIN, 0};
    if (poll(&wait, 1, 50) <= 0) continue;
    char block[64];
    const ssize_t got = read(reader, block, sizeof block);
    if (got <= 0) continue;
    for (ssize_t i = 0; i < got; ++i) {
      text.push_back(block[i]);
      if (block[i] == '\n') arrivals.push_back(Clock::now());
    }
  }
  cgi.join();
  close(reader);

  EXPECT_EQ(text, "0x0000005a\n0x00000000\n");
  ASSERT_EQ(arrivals.size(), 2u);
  // The lines are stamped when this reader wakes up, which may lag the
  // first write a little; the process as a whole cannot be shorter.
  EXPECT_GE(arrivals[1] - arrivals[0], kDuration - std::chrono::milliseconds(10));
  EXPECT_GE(ended - started, kDuration);
  EXPECT_EQ(result.out, kNoContent);
}

}  // namespace

// nxisensconf.cgi signalling a stand-in isensd for real: a child process
// whose pid the test writes into /var/run/isensd.pid records whether
// SIGUSR1 reached it. The CGI runs in a session of its own, so that a pid
// file that named a process group could never reach the test runner.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <ostream>
#include <string>

#include "harness/device_root.h"
#include "harness/expected_pages.h"
#include "harness/process.h"
#include "harness/sandbox.h"

namespace {

constexpr const char* kConf = "/opt/vsb/etc/NxIsensNe.conf";
constexpr const char* kPidFile = "/var/run/isensd.pid";
const std::string kDefaults = "VERSION=0\nNE_UDP_PORT=12002\nCE_UDP_PORT=12001\nCE_IP_ADDRESS=\n";

// Exit codes of the stand-in daemon.
constexpr int kNotSignalled = 0;
constexpr int kSignalled = 1;
constexpr int kNeverReleased = 2;

// A child that waits for SIGUSR1 until the test releases it with SIGUSR2.
// Both are blocked before the fork, so nothing is lost before the child
// waits; the child's exit code tells whether SIGUSR1 came.
class FakeIsensd {
 public:
  FakeIsensd() {
    sigset_t wanted;
    sigemptyset(&wanted);
    sigaddset(&wanted, SIGUSR1);
    sigaddset(&wanted, SIGUSR2);
    pthread_sigmask(SIG_BLOCK, &wanted, &previous_);
    pid_ = fork();
    if (pid_ == 0) Wait(wanted);
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
  }
  ~FakeIsensd() {
    if (pid_ > 0 && !reaped_) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
  }
  FakeIsensd(const FakeIsensd&) = delete;
  FakeIsensd& operator=(const FakeIsensd&) = delete;

  pid_t pid() const { return pid_; }

  // Releases the child and returns its exit code.
  int Finish() {
    kill(pid_, SIGUSR2);
    int status = 0;
    waitpid(pid_, &status, 0);
    reaped_ = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  [[noreturn]] static void Wait(const sigset_t& wanted) {
    bool signalled = false;
    for (;;) {
      const timespec limit = {20, 0};
      const int signal_number = sigtimedwait(&wanted, nullptr, &limit);
      if (signal_number == SIGUSR1) signalled = true;
      if (signal_number == SIGUSR2) {
        sigset_t pending;
        sigpending(&pending);
        _exit(signalled || sigismember(&pending, SIGUSR1) ? kSignalled : kNotSignalled);
      }
      if (signal_number < 0) _exit(kNeverReleased);
    }
  }

  sigset_t previous_;
  pid_t pid_ = -1;
  bool reaped_ = false;
};

// Runs the CGI under its own name through setsid.
harness::ProcessResult RunAlone(const harness::SandboxRoot& root, const std::string& query) {
  const std::string link = root.Host("/cgi-bin/nxisensconf.cgi");
  root.MakeDirectory("/cgi-bin");
  if (symlink(NXCGI_BINARY, link.c_str()) != 0) ADD_FAILURE() << "symlink";
  root.WriteFile("/cgi-bin/alone.sh", "#!/bin/sh\nexec setsid -w '" + link + "'\n", 0755);
  harness::CgiRequest request;
  request.argv0 = "alone.sh";
  request.binary = root.Host("/cgi-bin/alone.sh");
  request.query = query;
  request.root = root.path();
  return harness::RunCgi(request);
}

struct SignalCase {
  const char* name;
  const char* pid_format;  // printf format for the stand-in's pid
  const char* query;
  int expected;  // kSignalled or kNotSignalled
  std::string file_after;
};

void PrintTo(const SignalCase& c, std::ostream* out) { *out << c.name; }

const std::string kNewAddress = "VERSION=0\nNE_UDP_PORT=12002\nCE_UDP_PORT=12001\nCE_IP_ADDRESS=10.9.9.9\n";

const SignalCase kCases[] = {
    {"ChangeSignals", "%d\n", "NxCgiVer=1&CeIpAddress=10.9.9.9", kSignalled, kNewAddress},
    {"PidWithBlanks", "  %d  \n", "NxCgiVer=1&CeIpAddress=10.9.9.9", kSignalled, kNewAddress},
    {"RepeatedValuesDoNotSignal", "%d\n", "NxCgiVer=1&NeUdpPort=12002&CeUdpPort=12001", kNotSignalled,
     kDefaults},
    {"FailureDoesNotSignal", "%d\n", "CeIpAddress=10.9.9.9", kNotSignalled, kDefaults},
    {"PidZero", "0", "NxCgiVer=1&CeIpAddress=10.9.9.9", kNotSignalled, kNewAddress},
    {"PidText", "isensd", "NxCgiVer=1&CeIpAddress=10.9.9.9", kNotSignalled, kNewAddress},
    {"PidEmpty", "", "NxCgiVer=1&CeIpAddress=10.9.9.9", kNotSignalled, kNewAddress},
};

class IsensSignalTest : public testing::TestWithParam<SignalCase> {};

TEST_P(IsensSignalTest, ReachesTheDaemonOnlyAfterAChange) {
  const SignalCase& c = GetParam();
  harness::SandboxRoot root;
  harness::MakeDeviceRoot(root);
  FakeIsensd isensd;
  ASSERT_GT(isensd.pid(), 0);
  char pid_text[64];
  std::snprintf(pid_text, sizeof pid_text, c.pid_format, static_cast<int>(isensd.pid()));
  root.WriteFile(kPidFile, pid_text);

  const harness::ProcessResult result = RunAlone(root, c.query);

  EXPECT_EQ(isensd.Finish(), c.expected);
  EXPECT_EQ(result.exit_status, 0);
  const bool fails = std::string(c.query).find("NxCgiVer") == std::string::npos;
  EXPECT_EQ(result.out, fails ? harness::kHtmlHeader +
                                    harness::ErrorPage("nxisensconf.cgi", "Error NxCgiVer  (not found)\n")
                              : harness::kHtmlHeader);
  EXPECT_EQ(root.ReadFile(kConf), c.file_after);
}

INSTANTIATE_TEST_SUITE_P(Cases, IsensSignalTest, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<SignalCase>& info) { return info.param.name; });

}  // namespace

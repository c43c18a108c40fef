// The handlers that talk to daemons, against the simulator's stand-ins
// (sim/devices.py): the serial output service on its System V queue, and
// isensd and nxcamctld, which journal the signals they receive. The binary
// runs in private IPC and pid namespaces (tests/CMakeLists.txt), so the
// service's fixed queue key is its own and it is itself pid 1.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/msg.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <regex>
#include <thread>

#include "harness/cgi_case.h"
#include "harness/device_root.h"
#include "harness/in_process.h"
#include "harness/process.h"

namespace {

using harness::kHeader;
using harness::kNoContent;

// Waits for the condition, up to a minute (a loaded machine starts Python
// slowly).
bool Eventually(const std::function<bool()>& condition) {
  for (int i = 0; i < 6000; ++i, std::this_thread::sleep_for(std::chrono::milliseconds(10)))
    if (condition()) return true;
  return false;
}

// A stand-in daemon of the simulator, running until the end of the test.
struct Daemon {
  // Started; the daemon journals "started" once its signal handlers are in place.
  Daemon(const harness::DeviceRoot& root, const std::string& kind) : root(root), pid(fork()) {
    if (pid == 0) {
      execlp("python3", "python3", NXCGI_SOURCE_DIR "/sim/devices.py", kind.c_str(), root.path().c_str(),
             root.Host("/var/run/uartsvc.qid").c_str(), nullptr);
      _exit(127);
    }
    const auto started = [&](const std::string& line) { return line.starts_with(kind + ": started"); };
    EXPECT_TRUE(Eventually([&] { return std::ranges::any_of(root.Journal(), started); }))
        << kind << " did not start";
  }
  ~Daemon() { Stop(); }
  // Stops the daemon and gives the journal: signals are taken lowest number
  // first, so whatever was sent before the SIGTERM is journaled.
  std::vector<std::string> Stop() {
    if (pid > 0) {
      kill(pid, SIGTERM);
      waitpid(pid, nullptr, 0);
      pid = -1;
      // A service that died without its clean-up must not serve the next test.
      if (const int queue = msgget(0x20030922, 0); queue >= 0) msgctl(queue, IPC_RMID, nullptr);
    }
    return root.Journal();
  }
  const harness::DeviceRoot& root;
  pid_t pid;
};

// The queues of this IPC namespace: /proc lists them a line each, below a heading.
int QueueCount() {
  std::ifstream queues("/proc/sysvipc/msg");
  return static_cast<int>(std::count(std::istreambuf_iterator<char>(queues), {}, '\n')) - 1;
}

// A reply text: RetMsgQId, RxLength, RxWaitTm, TxMode, Length, then data.
std::string Reply(int32_t length, const std::string& data, std::size_t size = 220) {
  std::string text(size, '\0');
  for (int i = 0; i < 4; ++i) text[16 + i] = static_cast<char>(length >> (8 * i));
  return text.replace(20, data.size(), data);
}

struct UartCase {
  const char* name;
  std::string form;
  std::string reply;    // "": the service loops the transmitted bytes back
  std::string request;  // the service's journal line for the request ("" when none is sent)
  std::string answer;
};
void PrintTo(const UartCase& c, std::ostream* out) { *out << c.name; }

class SerialOutput : public testing::TestWithParam<UartCase> {};

TEST_P(SerialOutput, Exchange) {
  const UartCase& c = GetParam();
  harness::DeviceRoot root;
  if (!c.reply.empty()) root.Write("/var/run/uartsvc.reply", c.reply);
  Daemon service(root, "uartsvc");
  const int queues = QueueCount();
  const harness::ProcessResult result = harness::Post("nxuoutctr.cgi", c.form, root.path());
  EXPECT_EQ(result.out, c.answer);
  const std::vector<std::string> journal = root.Journal();
  const std::string request =
      journal.size() > 1 ? std::regex_replace(journal[1], std::regex("queue \\d+"), "queue Q") : "";
  EXPECT_EQ(request, c.request.empty() ? "" : "uartsvc: request type 0x20001, reply queue Q, " + c.request);
  EXPECT_EQ(QueueCount(), queues);  // the reply queue is gone
}

const std::string kNothing = "TxMode 0, RxLength 0, RxWaitTm 0, transmit 0 bytes (none)";

INSTANTIATE_TEST_SUITE_P(
    Cases, SerialOutput,
    testing::Values(
        UartCase{"NothingToSend", "NxCgiVer=1", "", kNothing, kNoContent},
        UartCase{"AllFields", "NxCgiVer=1&TxMode=2&Length=3&Data=1,,0x41,A&RxLength=5&RxWaitTm=100", "",
                 "TxMode 2, RxLength 5, RxWaitTm 100, transmit 3 bytes 0x01,0x41,0x41",
                 kHeader + "\nRXLENGTH=3\nRXDATA=0x01,0x41,0x41;\n"},
        UartCase{"PiecesCutToABytePastLengthIgnored", "NxCgiVer=0&Length=2&Data=300,8,7&RxLength=-1", "",
                 "TxMode 0, RxLength -1, RxWaitTm 0, transmit 2 bytes 0x2c,0x08",
                 kHeader + "\nRXLENGTH=2\nRXDATA=0x2c,0x08;\n"},
        UartCase{"ShortReplyText", "NxCgiVer=1", Reply(2, "\xab\xcd", 22), kNothing,
                 kHeader + "\nRXLENGTH=2\nRXDATA=0xab,0xcd;\n"},
        UartCase{"NegativeLength", "NxCgiVer=1", Reply(-1, ""), kNothing,
                 harness::Alert("nxuoutctr.cgi", "Invalied DataLeng=-1")},
        UartCase{"LengthBeyondArrivedBytes", "NxCgiVer=1", Reply(5, "\1\2", 22), kNothing,
                 harness::Alert("nxuoutctr.cgi", "Invalied DataLeng=5")},
        UartCase{"ReplyWithoutLength", "NxCgiVer=1", std::string(8, '\0'), kNothing,
                 harness::Alert("nxuoutctr.cgi", "Short reply from serial output service (12 bytes)")},
        UartCase{"ReplyTooLongForTheChannel", "NxCgiVer=1", std::string(300, '\0'), kNothing,
                 harness::Alert("nxuoutctr.cgi", "Reply from serial output service lost")}),
    [](const auto& info) { return std::string(info.param.name); });

// In-process the pauses are only recorded: the whole allowance is counted
// without waiting for it.
TEST(SerialOutput, SilentServiceIsAwaitedThreeSecondsPlusRxWaitTmAtMostAMinute) {
  harness::DeviceRoot root;
  root.Write("/var/run/uartsvc.reply", "silent");
  Daemon service(root, "uartsvc");
  const int queues = QueueCount();
  for (const auto& [form, wait] : {std::pair{"NxCgiVer=1", 3000u},
                                   {"NxCgiVer=1&RxWaitTm=500", 3500u},
                                   {"NxCgiVer=1&RxWaitTm=-5", 3000u},
                                   {"NxCgiVer=1&RxWaitTm=99999", 60000u}}) {
    const harness::InProcessResult run = harness::RunInProcess(NxCgi_UartOutCtrFunc, form);
    EXPECT_EQ(run.err_msg, "No reply from serial output service within " + std::to_string(wait) + " ms");
    EXPECT_EQ(run.sleeps, std::vector<unsigned long long>(wait / 10, 10000)) << form;
  }
  EXPECT_EQ(QueueCount(), queues);
}

TEST(SerialOutput, NoServiceAnswersAtOnceAndLeavesNoQueue) {
  harness::DeviceRoot root;
  EXPECT_EQ(harness::Post("nxuoutctr.cgi", "NxCgiVer=1&Length=1&Data=1", root.path()).out,
            harness::Alert("nxuoutctr.cgi", "Serial output service not reachable: request not sent"));
  EXPECT_EQ(QueueCount(), 0);
}

// A service that stopped reading its queue: a request waits no longer for
// room in a full queue than for a reply and leaves no request of its own
// there; a signal that ends a waiting request removes its reply queue.
TEST(SerialOutput, StoppedServiceIsLeftAsItWas) {
  harness::DeviceRoot root;
  struct {
    long type = 1;
    char text[220] = "another client's request";
  } other, left;
  for (const auto& [room, signal] :
       {std::pair{2, 0}, {1, 0}, {2, SIGTERM}, {2, SIGHUP}, {2, SIGINT}, {2, SIGPIPE}}) {
    const int service = msgget(0x20030922, IPC_CREAT | 0600);
    msqid_ds status;
    msgctl(service, IPC_STAT, &status);
    status.msg_qbytes = room * sizeof other.text;
    msgctl(service, IPC_SET, &status);
    ASSERT_EQ(msgsnd(service, &other, sizeof other.text, 0), 0);
    const int queues = QueueCount();
    harness::ProcessResult result;
    std::thread request([&, signal = signal] {
      result =
          harness::Post("nxuoutctr.cgi", signal ? "NxCgiVer=1&RxWaitTm=60000" : "NxCgiVer=1", root.path());
    });
    const auto sent = [&] { return msgctl(service, IPC_STAT, &status) == 0 && status.msg_qnum == 2; };
    if (signal != 0 && Eventually(sent)) kill(status.msg_lspid, signal);
    request.join();
    const char* alert = room == 1 ? "Serial output service not reachable: request not sent"
                                  : "No reply from serial output service within 3000 ms";
    EXPECT_EQ(result.out, signal ? "" : harness::Alert("nxuoutctr.cgi", alert)) << signal;
    EXPECT_EQ(QueueCount(), queues) << signal;
    msgctl(service, IPC_STAT, &status);
    EXPECT_EQ(status.msg_qnum, signal ? 2u : 1u) << signal;  // a signal ends a request, not its request
    EXPECT_EQ(msgrcv(service, &left, sizeof left.text, 0, IPC_NOWAIT), 220);
    EXPECT_STREQ(left.text, other.text);
    msgctl(service, IPC_RMID, nullptr);
  }
}

// A command's child left running in the background ends with the request,
// when it finishes and when a signal ends it during its pause.
TEST(Commands, EndWithTheRequest) {
  harness::DeviceRoot root;
  const std::string pids = root.Host("/tmp/pids");
  for (const int signal : {0, SIGTERM, SIGHUP, SIGPIPE}) {
    std::remove(pids.c_str());
    const std::string form = "NxCgiVer=1&RetOpt=1&Pause=" + std::string(signal ? "300" : "0") +
                             "&Command=sleep+300+>/dev/null+2>%261+%26+(echo+$PPID+$!+>" + pids + ")";
    std::thread request([&] { harness::Post("nxdosyscmd.cgi", form, root.path()); });
    int parent = 0, child = 0;
    EXPECT_TRUE(Eventually([&] { return bool(std::ifstream(pids) >> parent >> child); })) << signal;
    if (signal != 0 && parent > 1) kill(parent, signal);
    request.join();
    // (This process is pid 1 of its namespace: the orphaned child is reaped here.)
    EXPECT_TRUE(Eventually([&] { return waitpid(child, nullptr, WNOHANG) == child || kill(child, 0) != 0; }))
        << signal;
  }
}

struct SignalCase {
  const char* name;
  const char* cgi;
  std::string form;
  const char* pid_file;       // printf format of the pid file, given the daemon's pid
  std::string signal;         // the line the daemon journals, "" for none
  std::string err;            // printf format, given the daemon's pid
  bool other_daemon = false;  // the pid file names another daemon (the serial output service)
};

// This process is pid 1 of its namespace: a pid that wraps to 1 reaches it.
volatile sig_atomic_t g_signals_to_pid_1 = 0;
void PrintTo(const SignalCase& c, std::ostream* out) { *out << c.name; }

class DaemonSignals : public testing::TestWithParam<SignalCase> {};

TEST_P(DaemonSignals, OnlyTheDaemonOfThePidFile) {
  const SignalCase& c = GetParam();
  harness::DeviceRoot root;
  const std::string daemon = std::string(c.cgi) == "nxptzset.cgi" ? "nxcamctld" : "isensd";
  const std::string pid_file = "/var/run/" + daemon + ".pid";
  Daemon stand_in(root, c.other_daemon ? "uartsvc" : daemon);
  char text[128];
  const int pid = stand_in.pid;
  std::snprintf(text, sizeof text, c.pid_file, pid);
  root.Write(pid_file, text);
  g_signals_to_pid_1 = 0;
  for (const int number : {SIGUSR1, SIGUSR2}) signal(number, [](int) { g_signals_to_pid_1 = 1; });
  const harness::ProcessResult result = harness::Post(c.cgi, c.form, root.path());
  std::vector<std::string> signals;
  for (const std::string& line : stand_in.Stop())
    if (line.find("received signal") != std::string::npos) signals.push_back(line);
  EXPECT_EQ(signals, c.signal.empty() ? std::vector<std::string>{} : std::vector{daemon + ": " + c.signal});
  std::snprintf(text, sizeof text, c.err.c_str(), pid);
  EXPECT_EQ(result.err, text);
  EXPECT_EQ(g_signals_to_pid_1, 0);
}

const std::string kSigusr1 = "received signal 10 (SIGUSR1)";
const std::string kNewAddress = "NxCgiVer=1&CeIpAddress=10.9.9.9";
const std::string kCamSent = "[nxcamctld] Send SIGUSR1 to nxcamctld.\n";
const std::string kCamNot = "[nxcamctld] Err : Send SIGUSR1 to nxcamctld.\n";

INSTANTIATE_TEST_SUITE_P(
    Cases, DaemonSignals,
    testing::Values(
        SignalCase{"SensorLinkChange", "nxisensconf.cgi", kNewAddress, "%d\n", kSigusr1, ""},
        SignalCase{"SensorLinkBlanksAroundThePid", "nxisensconf.cgi", kNewAddress, "  %d  \n", kSigusr1, ""},
        SignalCase{"PidWrappingToOne", "nxisensconf.cgi", kNewAddress, "4294967297\n", "", ""},
        SignalCase{"CameraControl", "nxptzset.cgi", "NxCgiVer=1", "%d\n", "received signal 12 (SIGUSR2)",
                   kCamSent},
        SignalCase{"CameraControlPidWrapping", "nxptzset.cgi", "NxCgiVer=1", "8589934593", "", kCamNot},
        SignalCase{"PidOne", "nxisensconf.cgi", kNewAddress, "1\n", "",
                   "[/var/run/isensd.pid] pid 1 is not isensd: no signal sent\n"},
        SignalCase{"StalePidOfAnotherDaemon", "nxptzset.cgi", "NxCgiVer=1", "%d", "",
                   "[/var/run/nxcamctld.pid] pid %d is not nxcamctld: no signal sent\n", true}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace

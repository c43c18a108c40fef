// Configuration writes under faults and concurrency, through the real
// programs: a save killed or failed at a given system call (injected by
// strace) leaves the old file or the new one and no temporary file behind
// the next save; requests editing one file at the same time all take effect.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <thread>

#include "harness/cgi_case.h"
#include "harness/device_root.h"
#include "harness/process.h"

namespace {

using harness::DeviceRoot;
using namespace std::string_literals;

// A request that saves one file (the text one through the text library),
// and what it answers when the save fails.
struct Program {
  const char* cgi;
  const char* file;
  std::string failed_out;
};

const Program kPrograms[] = {
    {"nxmailsvcport.cgi", "/opt/vsb/etc/NxConf/NxModId1/MailConf.bin", harness::kHeader},
    {"nxptzmodset.cgi", "/opt/vsb/etc/NxConf/PtzConf.bin",
     harness::kHeader + harness::Alert("nxptzmodset.cgi", "")},
    {"nxisensconf.cgi", "/opt/vsb/etc/NxIsensNe.conf", harness::kHeader},
};

enum class After { kOld, kNew };
// The n-th call of a save's write, flush and rename.
struct Fault {
  const char* call;
  int n;
  const char* inject;
  After after;
};

const Fault kFaults[] = {
    {"write", 1, "signal=KILL", After::kOld},  {"fsync", 1, "signal=KILL", After::kOld},
    {"rename", 1, "signal=KILL", After::kOld}, {"write", 1, "error=ENOSPC", After::kOld},
    {"fsync", 1, "error=EIO", After::kOld},    {"rename", 1, "error=EROFS", After::kOld},
};

bool TempFilesIn(const std::string& directory) {
  for (const auto& entry : std::filesystem::directory_iterator(directory))
    if (entry.path().filename().string().find(".nxcgi-tmp.") != std::string::npos) return true;
  return false;
}

class Faults : public testing::TestWithParam<std::tuple<Program, Fault>> {};

TEST_P(Faults, FileIsOldOrNew) {
  const auto& [program, fault] = GetParam();
  if (harness::RunProgram({"strace", "-qq", "-o", "/dev/null", "true"}).exit_status != 0)
    GTEST_SKIP() << "strace cannot trace here";
  DeviceRoot root;
  const harness::Env env = {
      {"NXCGI_ROOT", root.path()},
      {"REQUEST_METHOD", "GET"},
      {"QUERY_STRING", "NxModId=1&NxCgiVer=1&PortId=2&PauseTime=77&PtzBaseAddr=5&CeUdpPort=9"}};
  // The program is started through a link named as the CGI, so that strace can run it.
  const std::vector<std::string> argv = {root.Host("/") + program.cgi};
  std::filesystem::create_symlink(harness::BuiltProgram("nxcgi"), argv[0]);
  const std::string old_file = root.Read(program.file);
  const std::string directory = std::filesystem::path(root.Host(program.file)).parent_path();
  // A save flushes once: the temporary file before its rename.
  const std::string flushes = root.Host("/tmp/flushes");
  const std::vector<std::string> counted = {
      "strace", "-qq", "-f", "-o", flushes, "-e", "trace=fsync,fdatasync,sync,syncfs,sync_file_range",
      argv[0]};
  ASSERT_EQ(harness::RunProgram(counted, env).exit_status, 0);
  const std::string calls = root.Read("/tmp/flushes");
  EXPECT_EQ(calls.find("sync("), calls.rfind("sync(")) << calls;
  EXPECT_NE(calls.find("fsync("), std::string::npos) << calls;
  const std::string new_file = root.Read(program.file);
  ASSERT_NE(new_file, old_file);
  root.Write(program.file, old_file);

  const std::string inject = "inject=" + std::string(fault.call) + ":" + fault.inject + ":when=";
  const std::vector<std::string> traced = {
      "strace", "-qq", "-o", "/dev/null", "-e", inject + std::to_string(fault.n), argv[0]};
  const harness::ProcessResult faulty = harness::RunProgram(traced, env);

  EXPECT_EQ(root.Read(program.file), fault.after == After::kNew ? new_file : old_file);
  if (std::string_view(fault.inject).starts_with("error")) {
    EXPECT_EQ(faulty.out, program.failed_out);
    EXPECT_EQ(faulty.exit_status, 0);
    EXPECT_FALSE(TempFilesIn(directory));
  } else {
    EXPECT_EQ(faulty.exit_status, -1) << "not killed";
  }
  // The next save replaces the file and removes what a killed one left.
  EXPECT_EQ(harness::RunProgram(argv, env).exit_status, 0);
  EXPECT_EQ(root.Read(program.file), new_file);
  EXPECT_FALSE(TempFilesIn(directory));
}

std::string FaultName(const testing::TestParamInfo<std::tuple<Program, Fault>>& info) {
  const Fault& fault = std::get<1>(info.param);
  const std::string cgi = std::get<0>(info.param).cgi;
  return cgi.substr(0, cgi.find('.')) + "_" + fault.call + std::to_string(fault.n) +
         (std::string_view(fault.inject).starts_with("error") ? "_Error" : "_Killed");
}

INSTANTIATE_TEST_SUITE_P(Saves, Faults,
                         testing::Combine(testing::ValuesIn(kPrograms), testing::ValuesIn(kFaults)),
                         FaultName);

// How long a request waits for another one's edit, in seconds.
const std::string kWait = "NXCGI_EDIT_LOCK_WAIT";

// Holds the edit lock of a device file as another request would (the lock
// file it names); -1 when it cannot.
int HoldEditLock(const DeviceRoot& root, std::string path) {
  std::replace(path.begin(), path.end(), '/', '.');
  std::filesystem::create_directories(root.Host("/var/lock"));
  const int fd = open(root.Host("/var/lock/nxcgi" + path).c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0644);
  return flock(fd, LOCK_EX) == 0 ? fd : -1;
}

// Three requests wait for another edit of one file to end and then go at
// once, each changing its own field: the file ends as after the three one
// by one (each request holds the file's edit lock from its load to its
// save). A lock another program holds on the file itself holds none of them.
// A request kept waiting past its wait gives up, saves nothing and says so.
TEST(ConcurrentEdits, EachWaitingRequestKeepsItsChange) {
  const std::string m = "NxModId=1&NxCgiVer=1&PauseTime=7&PortId=", n = "NxCgiVer=1&", h = harness::kHeader;
  const std::tuple<const char*, const char*, std::array<std::string, 3>, std::string> rows[] = {
      {"nxmailsvcport.cgi",
       "/opt/vsb/etc/NxConf/NxModId1/MailConf.bin",
       {m + "0", m + "1", m + "2"},
       h + "NxCgi_MailSvcPortCfgFunc PortId = [0]: LoadSvcCfgFile() ERROR!!!<br>\n"},
      {"nxcamgpctl.cgi",
       "/opt/vsb/etc/NxConf/camgpctl.conf",
       {"CamGpioFlk=7", "CamGpioAgc=8", "CamGpioBlc=9"},
       h},
      {"nxisensconf.cgi",
       "/opt/vsb/etc/NxIsensNe.conf",
       {n + "NeUdpPort=7", n + "CeUdpPort=8", n + "CeIpAddress=1"},
       h}};
  for (const auto& [cgi, path, forms, failed_out] : rows) {
    DeviceRoot root, one_by_one;
    for (const std::string& form : forms) harness::Post(cgi, form, one_by_one.path());
    const std::string factory = root.Read(path);
    const int daemon_lock = open(root.Host(path).c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(daemon_lock, LOCK_EX), 0);
    const int other_edit = HoldEditLock(root, path);
    ASSERT_GE(other_edit, 0);
    const std::string busy =
        "[" + std::string(path) + "] is being edited by another request: nothing changed";
    EXPECT_EQ(harness::RunCgi({.cgi = cgi, .form = forms[0], .root = root.path(), .env = {{kWait, "1"}}}).out,
              failed_out + harness::Alert(cgi, busy));
    EXPECT_EQ(root.Read(path), factory) << cgi;
    std::vector<std::thread> requests;
    for (const std::string& form : forms)
      requests.emplace_back([&root, &form, cgi = cgi] {
        harness::RunCgi({.cgi = cgi, .form = form, .root = root.path(), .env = {{kWait, "600"}}});
      });
    bool all_wait = false;
    for (int i = 0; i < 900 && !(all_wait = harness::FileLockWaiters(other_edit) == 3); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(all_wait) << cgi;
    close(other_edit);
    for (std::thread& request : requests) request.join();
    EXPECT_EQ(root.Read(path), one_by_one.Read(path)) << cgi;
    close(daemon_lock);
  }
}

}  // namespace

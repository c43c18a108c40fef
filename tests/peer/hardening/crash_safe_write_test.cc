// Saves killed or failed at every step, through the real programs under
// strace: for the binary path (a service handler whose save result is not
// examined, and the PTZ module handler whose is) and the text path, the
// request is killed at the N-th write, fsync and rename for every N, and
// write, fsync and rename are made to fail with ENOSPC, EIO and EROFS. The
// file is always byte for byte the old or the new one (exactly which one
// follows from whether the rename had run), an error is answered as a
// failed save, no temporary file survives an error, and one a killed
// request left behind is removed by the next save.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "hardening_support.h"
#include "harness/bytes.h"
#include "harness/expected_pages.h"

namespace {

using hardening::Command;

struct WriteCase {
  const char* name;
  std::string device_file;  // the file the request saves
  std::string directory;    // its directory (device path)
  std::string old_contents;
  Command (*command)(const harness::SandboxRoot&);
  std::string failed_answer;  // standard output when the save fails
  int failed_status;          // exit status then
};

constexpr const char* kMailConf = "/opt/vsb/etc/NxConf/NxModId1/MailConf.bin";
constexpr const char* kPtzConf = "/opt/vsb/etc/NxConf/PtzConf.bin";
constexpr const char* kEsmtaConf = "/opt/vsb/etc/esmta.conf";

std::string MailStart() {
  harness::Bytes bytes = harness::PatternBytes(4572);
  for (int p = 0; p < 4; ++p) {
    harness::PutU32(bytes, 396 + 1044 * p + 336, 2);  // QueueCount
    harness::PutU32(bytes, 396 + 1044 * p + 340, 4);  // ImageCount
  }
  return bytes;
}

std::vector<WriteCase> Cases() {
  return {
      {"MailPortSaveResultNotExamined", kMailConf, "/opt/vsb/etc/NxConf/NxModId1", MailStart(),
       [](const harness::SandboxRoot& root) {
         return hardening::CgiGet(root, "nxmailsvcport.cgi", "NxModId=1&NxCgiVer=1&PortId=2&PauseTime=77");
       },
       harness::kHtmlHeader, 0},
      {"PtzModuleSaveFailureIsAnswered", kPtzConf, "/opt/vsb/etc/NxConf", harness::PatternBytes(262760, 5),
       [](const harness::SandboxRoot& root) {
         return hardening::CgiGet(root, "nxptzmodset.cgi", "NxCgiVer=1&NxModId=2&PtzBaseAddr=5");
       },
       harness::kHtmlHeader + harness::ErrorPage("nxptzmodset.cgi", ""), 0},
      {"TextFileThroughSaveCfg", kEsmtaConf, "/opt/vsb/etc",
       "# mail transmitter\r\nSMTP_SERVER=\"mail.example\"\r\nSMTP_PORT=25 ; default\r\nFROM=cam@example\r\n",
       [](const harness::SandboxRoot& root) {
         return hardening::TcfgEdit(root, kEsmtaConf, "SMTP_PORT", "2525");
       },
       "save failed\n", 1},
  };
}

void PrintTo(const WriteCase& c, std::ostream* out) { *out << c.name; }

// One traced system call of a clean run.
struct Call {
  std::string name;
  bool on_file;  // on the saved file, its temporary or its directory (not the answer)
};

// The write, fsync and rename calls of a clean run, in order.
std::vector<Call> ReadTrace(const std::string& trace_path, const std::string& root) {
  std::vector<Call> calls;
  std::ifstream trace(trace_path);
  std::string line;
  while (std::getline(trace, line)) {
    const std::size_t paren = line.find('(');
    if (paren == std::string::npos || line.starts_with("---") || line.starts_with("+++")) continue;
    calls.push_back({line.substr(0, paren), line.find(root) != std::string::npos});
  }
  return calls;
}

int CountOf(const std::vector<Call>& calls, const std::string& name) {
  int count = 0;
  for (const Call& call : calls) count += call.name == name ? 1 : 0;
  return count;
}

// Index in the run's calls of the n-th (from 1) call of the name, or -1.
int IndexOf(const std::vector<Call>& calls, const std::string& name, int n) {
  for (std::size_t i = 0; i < calls.size(); ++i) {
    if (calls[i].name == name && --n == 0) return static_cast<int>(i);
  }
  return -1;
}

int RenameIndex(const std::vector<Call>& calls) {
  for (std::size_t i = 0; i < calls.size(); ++i) {
    if (calls[i].name.starts_with("rename") && calls[i].on_file) return static_cast<int>(i);
  }
  return -1;
}

class CrashSafeWrite : public testing::TestWithParam<WriteCase> {
 protected:
  void SetUp() override {
    const std::string why = hardening::StraceUnusable();
    if (!why.empty()) GTEST_SKIP() << "fault injection skipped: " << why;
  }

  void Restore() {
    for (const std::string& name : hardening::TempFiles(Dir())) std::remove((Dir() + "/" + name).c_str());
    root_.WriteFile(GetParam().device_file, GetParam().old_contents);
  }
  std::string Dir() const { return root_.Host(GetParam().directory); }
  std::string Contents() const { return root_.ReadFile(GetParam().device_file); }

  harness::SandboxRoot root_;
};

TEST_P(CrashSafeWrite, FileIsOldOrNewAtEveryStep) {
  const WriteCase& c = GetParam();
  const Command command = c.command(root_);

  // A clean run under strace: the new contents, the answer and the calls.
  Restore();
  const std::string trace_path = root_.Host("/var/log/clean.trace");
  const harness::ProcessResult clean = hardening::Run(hardening::Traced(
      command, {"-qq", "-y", "-o", trace_path, "-e", "trace=write,fsync,rename,renameat,renameat2"}));
  const std::string new_contents = Contents();
  ASSERT_NE(new_contents, c.old_contents) << clean.out << clean.err;
  ASSERT_EQ(clean.exit_status, 0) << clean.err;
  const std::vector<Call> calls = ReadTrace(trace_path, root_.path());
  const int rename_at = RenameIndex(calls);
  ASSERT_GE(rename_at, 0) << "no rename of the saved file in the trace";
  const std::string rename_name = calls[static_cast<std::size_t>(rename_at)].name;
  EXPECT_TRUE(hardening::TempFiles(Dir()).empty());

  int kills = 0, errors = 0, leftovers = 0;
  for (const std::string& name : {std::string("write"), std::string("fsync"), rename_name}) {
    const int count = CountOf(calls, name);
    ASSERT_GT(count, 0) << name;
    for (int n = 1; n <= count + 1; ++n) {
      SCOPED_TRACE(name + " #" + std::to_string(n));
      const int at = IndexOf(calls, name, n);  // -1: past the last, nothing injected

      // Killed: the calls before this one ran, those after it did not; the
      // one it hit may or may not have.
      Restore();
      const harness::ProcessResult killed = hardening::Run(hardening::Traced(
          command,
          {"-qq", "-o", "/dev/null", "-e", "inject=" + name + ":signal=KILL:when=" + std::to_string(n)}));
      ++kills;
      const std::string after_kill = Contents();
      if (at < 0 || rename_at < at) {
        EXPECT_EQ(after_kill, new_contents);
      } else if (at < rename_at) {
        EXPECT_EQ(after_kill, c.old_contents);
      } else {
        EXPECT_TRUE(after_kill == c.old_contents || after_kill == new_contents);
      }
      if (at < 0) {
        EXPECT_EQ(killed.exit_status, 0);
        EXPECT_TRUE(hardening::TempFiles(Dir()).empty());
      } else {
        EXPECT_EQ(killed.exit_status, -1) << "not killed";
        // A killed request may leave its temporary file; it never replaced
        // the file (checked above).
        leftovers += hardening::TempFiles(Dir()).empty() ? 0 : 1;
      }
      // Whatever the killed request left, the next save cleans up.
      const harness::ProcessResult next = hardening::Run(command);
      EXPECT_EQ(next.exit_status, 0);
      EXPECT_EQ(Contents(), new_contents);
      EXPECT_EQ(hardening::TempFiles(Dir()), std::vector<std::string>{});

      // Failed: the error is answered as a failed save and leaves no
      // temporary file. Only calls on the file itself: a failing answer
      // write is no save failure.
      if (at < 0 || !calls[static_cast<std::size_t>(at)].on_file) continue;
      const char* error = name == "write" ? "ENOSPC" : name == "fsync" ? "EIO" : "EROFS";
      Restore();
      const harness::ProcessResult failed = hardening::Run(hardening::Traced(
          command, {"-qq", "-o", "/dev/null", "-e",
                    "inject=" + name + ":error=" + std::string(error) + ":when=" + std::to_string(n)}));
      ++errors;
      EXPECT_EQ(failed.out, c.failed_answer) << error;
      EXPECT_EQ(failed.exit_status, c.failed_status);
      // Only a failed flush of the directory comes after the rename.
      EXPECT_EQ(Contents(), rename_at < at ? new_contents : c.old_contents) << error;
      EXPECT_EQ(hardening::TempFiles(Dir()), std::vector<std::string>{}) << error;
    }
  }
  std::printf(
      "[ faults   ] %s: %zu traced calls, %d kills (%d left a temporary file, removed by the next save), "
      "%d injected errors\n",
      c.name, calls.size(), kills, leftovers, errors);
}

INSTANTIATE_TEST_SUITE_P(Saves, CrashSafeWrite, testing::ValuesIn(Cases()),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace

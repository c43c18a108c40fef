// Replacing configuration files: the file is renamed into place whole, keeps
// its permission bits, is reached through symbolic links, refuses what
// opening it for writing would refuse, and cleans up temporary files;
// edit locks are held once per file and end with the save.
#include "platform/config_write.h"

#include <dirent.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "config/text/tcfg_util.h"
#include "harness/capture.h"
#include "platform/command.h"
#include "platform/file_lock.h"
#include "unit/config/cfg_root_fixture.h"

namespace {

using platform::WriteConfigFile;
using platform::WriteStatus;

constexpr const char* kConf = "/cfgtest/x.conf";

class ConfigWriteTest : public config_test::CfgRootTest {
 protected:
  void SetUp() override {
    CfgRootTest::SetUp();
    sandbox_.MakeDirectory("/cfgtest");
  }
  void TearDown() override {
    platform::UnlockAllFiles();
    CfgRootTest::TearDown();
  }

  WriteStatus Write(const char* device_path, const std::string& bytes) {
    return WriteConfigFile(device_path, bytes.data(), bytes.size());
  }
  ino_t Inode(const std::string& device_path) const {
    struct stat status;
    return stat(sandbox_.Host(device_path).c_str(), &status) == 0 ? status.st_ino : 0;
  }
  bool IsLink(const std::string& device_path) const {
    struct stat status;
    return lstat(sandbox_.Host(device_path).c_str(), &status) == 0 && S_ISLNK(status.st_mode);
  }
  std::vector<std::string> Entries(const std::string& device_directory) const {
    std::vector<std::string> names;
    DIR* dir = opendir(sandbox_.Host(device_directory).c_str());
    if (dir == nullptr) return names;
    while (const dirent* entry = readdir(dir)) {
      const std::string name = entry->d_name;
      if (name != "." && name != "..") names.push_back(name);
    }
    closedir(dir);
    std::sort(names.begin(), names.end());
    return names;
  }
};

TEST_F(ConfigWriteTest, NewFileGetsTheUmaskedMode) {
  umask(027);
  EXPECT_EQ(Write(kConf, "A=1\n"), WriteStatus::kOk);
  EXPECT_EQ(Read(kConf), "A=1\n");
  EXPECT_EQ(Mode(kConf), 0640);
  EXPECT_EQ(Entries("/cfgtest"), std::vector<std::string>{"x.conf"});
}

TEST_F(ConfigWriteTest, OldFileIsReplacedAndKeepsItsMode) {
  for (const unsigned mode : {0744u, 0600u, 0666u}) {
    sandbox_.WriteFile(kConf, "old contents, longer than the new\n", mode);
    const ino_t before = Inode(kConf);
    EXPECT_EQ(Write(kConf, "new\n"), WriteStatus::kOk);
    EXPECT_EQ(Read(kConf), "new\n");
    EXPECT_EQ(Mode(kConf), static_cast<int>(mode));
    EXPECT_NE(Inode(kConf), before) << "rewritten in place";
    EXPECT_EQ(Entries("/cfgtest"), std::vector<std::string>{"x.conf"});
  }
}

TEST_F(ConfigWriteTest, OwnerIsKeptWhereTheProcessMayGiveFilesAway) {
  if (geteuid() != 0) GTEST_SKIP() << "only a privileged process may give a file away";
  sandbox_.WriteFile(kConf, "old\n", 0640);
  ASSERT_EQ(chown(sandbox_.Host(kConf).c_str(), 1234, 4321), 0);
  EXPECT_EQ(Write(kConf, "new\n"), WriteStatus::kOk);
  struct stat status;
  ASSERT_EQ(stat(sandbox_.Host(kConf).c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 1234u);
  EXPECT_EQ(status.st_gid, 4321u);
  EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST_F(ConfigWriteTest, SymbolicLinksAreFollowedAndStay) {
  sandbox_.WriteFile("/data/real.conf", "old\n", 0604);
  ASSERT_EQ(symlink("../data/real.conf", sandbox_.Host("/cfgtest/rel.conf").c_str()), 0);
  ASSERT_EQ(symlink(sandbox_.Host("/cfgtest/rel.conf").c_str(), sandbox_.Host("/cfgtest/abs.conf").c_str()),
            0);
  EXPECT_EQ(Write("/cfgtest/abs.conf", "through two links\n"), WriteStatus::kOk);
  EXPECT_TRUE(IsLink("/cfgtest/abs.conf"));
  EXPECT_TRUE(IsLink("/cfgtest/rel.conf"));
  EXPECT_EQ(Read("/data/real.conf"), "through two links\n");
  EXPECT_EQ(Mode("/data/real.conf"), 0604);
  EXPECT_EQ(Entries("/data"), std::vector<std::string>{"real.conf"});
}

TEST_F(ConfigWriteTest, DanglingLinkGetsItsTargetMade) {
  ASSERT_EQ(symlink("later.conf", sandbox_.Host(kConf).c_str()), 0);
  EXPECT_EQ(Write(kConf, "made\n"), WriteStatus::kOk);
  EXPECT_TRUE(IsLink(kConf));
  EXPECT_EQ(Read("/cfgtest/later.conf"), "made\n");
}

TEST_F(ConfigWriteTest, RefusalsAreOpenFailuresWithTheirErrno) {
  ASSERT_EQ(symlink("loop.conf", sandbox_.Host("/cfgtest/loop.conf").c_str()), 0);
  sandbox_.MakeDirectory("/cfgtest/dir.conf");
  struct Refusal {
    const char* path;
    int error;
  };
  for (const Refusal& refusal : {Refusal{"/cfgtest/loop.conf", ELOOP}, Refusal{"/cfgtest/dir.conf", EISDIR},
                                 Refusal{"/cfgtest/none/x.conf", ENOENT}, Refusal{"", ENOENT}}) {
    errno = 0;
    EXPECT_EQ(Write(refusal.path, "x"), WriteStatus::kOpenFailed) << refusal.path;
    EXPECT_EQ(errno, refusal.error) << refusal.path;
  }
  EXPECT_EQ(Entries("/cfgtest"), (std::vector<std::string>{"dir.conf", "loop.conf"}));
  EXPECT_TRUE(Entries("/cfgtest/dir.conf").empty());
}

// A pid that no process has any more.
pid_t DeadPid() {
  const pid_t child = fork();
  if (child == 0) _exit(0);
  waitpid(child, nullptr, 0);
  return child;
}

TEST_F(ConfigWriteTest, TemporaryFilesOfDeadProcessesAreRemoved) {
  const std::string dead = std::to_string(DeadPid());
  const std::string alive = std::to_string(getppid());
  const std::string mine = std::to_string(getpid());
  sandbox_.WriteFile(kConf, "old\n");
  for (const std::string& name :
       {".x.conf.nxcgi-tmp." + dead, ".x.conf.nxcgi-tmp." + dead + ".3", ".x.conf.nxcgi-tmp." + alive,
        ".x.conf.nxcgi-tmp." + mine, ".y.conf.nxcgi-tmp." + dead, std::string(".x.conf.nxcgi-tmp.none")}) {
    sandbox_.WriteFile("/cfgtest/" + name, "leftover");
  }
  EXPECT_EQ(Write(kConf, "new\n"), WriteStatus::kOk);
  EXPECT_EQ(Read(kConf), "new\n");
  // Kept: a living process's, this process's own (taken name: the save used
  // another), another file's, and a name without a pid.
  std::vector<std::string> kept = {".x.conf.nxcgi-tmp." + alive, ".x.conf.nxcgi-tmp." + mine,
                                   ".y.conf.nxcgi-tmp." + dead, ".x.conf.nxcgi-tmp.none", "x.conf"};
  std::sort(kept.begin(), kept.end());
  EXPECT_EQ(Entries("/cfgtest"), kept);
  EXPECT_EQ(Read("/cfgtest/.x.conf.nxcgi-tmp." + mine), "leftover");
}

TEST_F(ConfigWriteTest, OneLockPerFileEndsWithTheSave) {
  sandbox_.WriteFile(kConf, "old\n");
  const int fd = platform::LockFileForEdit(kConf);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(platform::LockFileForEdit(kConf), fd);
  EXPECT_EQ(platform::HeldFileLockCount(), 1);
  EXPECT_EQ(Write(kConf, "new\n"), WriteStatus::kOk);
  EXPECT_EQ(platform::HeldFileLockCount(), 0);

  ASSERT_GE(platform::LockFileForEdit(kConf), 0);
  platform::UnlockFile(kConf);
  EXPECT_EQ(platform::HeldFileLockCount(), 0);
  errno = 0;
  EXPECT_EQ(platform::LockFileForEdit("/cfgtest/missing.conf"), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(ConfigWriteTest, TextObjectsHoldTheLockUntilSavedOrFreed) {
  sandbox_.WriteFile(kConf, "A=1\n");
  Tcfg* saved = new_cfg(kConf);
  ASSERT_NE(saved, nullptr);
  EXPECT_EQ(platform::HeldFileLockCount(), 1);
  ASSERT_EQ(load_cfg(saved), 1);
  ASSERT_EQ(set_value(saved, "A", "2"), 0);
  EXPECT_EQ(save_cfg(saved), 0);
  EXPECT_EQ(platform::HeldFileLockCount(), 0);
  free_cfg(saved);

  free_cfg(new_cfg(kConf));
  EXPECT_EQ(platform::HeldFileLockCount(), 0);

  // Refused for its long path after the lock was taken: the lock goes too.
  const std::string long_path = "/cfgtest/" + std::string(250, 'd') + "/x.conf";
  sandbox_.WriteFile(long_path, "A=1\n");
  const harness::Captured refused =
      harness::CaptureStdio([&] { EXPECT_EQ(new_cfg(long_path.c_str()), nullptr); });
  EXPECT_NE(refused.err.find("so long file path"), std::string::npos);
  EXPECT_EQ(platform::HeldFileLockCount(), 0);
}

// Another process waiting for the lock while this one saves gets the lock
// on the new file, not on the replaced one it first opened.
TEST_F(ConfigWriteTest, WaiterLocksTheFileThatReplacedTheOneItOpened) {
  sandbox_.WriteFile(kConf, "old\n");
  ASSERT_GE(platform::LockFileForEdit(kConf), 0);
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t waiter = fork();
  if (waiter == 0) {
    close(ready[0]);
    platform::UnlockAllFiles();  // the copies of the parent's descriptors, not its lock
    const ssize_t told = write(ready[1], "w", 1);
    (void)told;
    const int fd = platform::LockFileForEdit(kConf);
    char text[16] = {};
    const ssize_t got = fd < 0 ? -1 : pread(fd, text, sizeof text - 1, 0);
    _exit(got == 4 && std::string(text) == "new\n" ? 0 : 1);
  }
  close(ready[1]);
  char byte;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  close(ready[0]);
  const timespec pause{0, 100 * 1000 * 1000};  // the waiter is in flock() by now
  nanosleep(&pause, nullptr);
  EXPECT_EQ(Write(kConf, "new\n"), WriteStatus::kOk);
  int status = 0;
  waitpid(waiter, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the waiter read the replaced file";
}

// Commands never see the client's "Proxy:" header (HTTP_PROXY); the rest of
// the environment is theirs.
const char* g_seen_proxy = nullptr;
const char* g_seen_lower_proxy = nullptr;
const char* g_seen_agent = nullptr;

int RecordEnvironment(const char*, const char*) {
  g_seen_proxy = getenv("HTTP_PROXY");
  g_seen_lower_proxy = getenv("http_proxy");
  g_seen_agent = getenv("HTTP_USER_AGENT");
  return 0;
}

TEST(CommandEnvironment, ProxyVariablesAreDroppedBeforeACommandRuns) {
  setenv("HTTP_PROXY", "http://client.example:8080", 1);
  setenv("http_proxy", "http://client.example:8080", 1);
  setenv("HTTP_USER_AGENT", "browser", 1);
  platform::SetCommandRunner(RecordEnvironment);
  platform::ShellCommand command;
  command.Path("/usr/sbin/savecfg");
  platform::RunCommand(command);
  platform::SetCommandRunner(nullptr);
  EXPECT_EQ(g_seen_proxy, nullptr);
  EXPECT_EQ(g_seen_lower_proxy, nullptr);
  EXPECT_STREQ(g_seen_agent, "browser");
  unsetenv("HTTP_USER_AGENT");
}

}  // namespace

// The FTP client's local names are device paths: on a PC they are looked up
// below NXCGI_ROOT, and the names handed back and printed stay device paths.
// The server name comes from the root's names.conf.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "ftp/client/ftp_client.h"
#include "ftp/client/ftp_internal.h"
#include "ftp/server_name.h"
#include "harness/capture.h"
#include "harness/in_process.h"
#include "harness/sandbox.h"

namespace {

const bool kRegistered = [] {
  harness::AddStateReset(ftp_reset_process_state);
  return true;
}();

class FtpHostRoot : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* saved = std::getenv("NXCGI_ROOT");
    had_root_ = saved != nullptr;
    if (had_root_) saved_root_ = saved;
    setenv("NXCGI_ROOT", root_.path().c_str(), 1);
  }
  void TearDown() override {
    if (had_root_) {
      setenv("NXCGI_ROOT", saved_root_.c_str(), 1);
    } else {
      unsetenv("NXCGI_ROOT");
    }
  }
  harness::SandboxRoot root_;
  harness::InProcess process_;  // the client's buffers as a new process has them
  bool had_root_ = false;
  std::string saved_root_;
};

TEST_F(FtpHostRoot, UniqueNamesAreTestedBelowTheRoot) {
  ASSERT_TRUE(kRegistered);
  EXPECT_EQ(g_ftp_unique_name[0], '\0');
  root_.WriteFile("/tmp/x", "");
  EXPECT_STREQ(ftp_unique_name("/tmp/x"), "/tmp/x.1");
  root_.WriteFile("/tmp/x.1", "");
  EXPECT_STREQ(ftp_unique_name("/tmp/x"), "/tmp/x.2");
  // Messages name the device directory.
  char* name = nullptr;
  const auto out = harness::CaptureStdio([&] { name = ftp_unique_name("/nodir/x"); });
  EXPECT_EQ(name, nullptr);
  EXPECT_EQ(out.err, "local: /nodir: No such file or directory\n");
}

TEST_F(FtpHostRoot, ServerNameFromTheRootsNamesFile) {
  char name[64] = "junk";
  root_.Remove("/etc/sysconfig/names.conf");
  EXPECT_EQ(harness::CaptureStdio([&] {
              EXPECT_EQ(ftp_read_server_name(name, sizeof name), kServerNameNoFile);
            }).out,
            "");
  EXPECT_STREQ(name, "");
  root_.WriteFile("/etc/sysconfig/names.conf", "HOST=a\nSERVER_NAME='cam 1' ; comment\n");
  EXPECT_EQ(ftp_read_server_name(name, sizeof name), 0);
  EXPECT_STREQ(name, "cam 1");
  root_.WriteFile("/etc/sysconfig/names.conf", "HOST=a\n");
  EXPECT_EQ(ftp_read_server_name(name, sizeof name), 0);
  EXPECT_STREQ(name, "");
  root_.WriteFile("/etc/sysconfig/names.conf", "SERVER_NAME=" + std::string(63, 'n') + "\n");
  EXPECT_EQ(ftp_read_server_name(name, sizeof name), 0);
  EXPECT_EQ(std::string(name), std::string(63, 'n'));
  root_.WriteFile("/etc/sysconfig/names.conf", "SERVER_NAME=" + std::string(64, 'n') + "\n");
  EXPECT_EQ(ftp_read_server_name(name, sizeof name), kServerNameTooLong);
  EXPECT_STREQ(name, "");
  // Read through a 128-byte value buffer: longer values are not found.
  root_.WriteFile("/etc/sysconfig/names.conf", "SERVER_NAME=" + std::string(128, 'n') + "\n");
  harness::CaptureStdio([&] { EXPECT_EQ(ftp_read_server_name(name, sizeof name), 0); });
  EXPECT_STREQ(name, "");
}

}  // namespace

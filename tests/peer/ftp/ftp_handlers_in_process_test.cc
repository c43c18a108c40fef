// The FTP handlers run inside the test process against a real pyftpdlib
// server: whatever the outcome, the process holds exactly the descriptors it
// held before, and each run starts with the FTP client's process-wide
// buffers and the service images as a new process has them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "config/svc_cfg_file.h"
#include "ftp/client/ftp_internal.h"
#include "ftp/ftp_ops.h"
#include "handlers/handler.h"
#include "harness/capture.h"
#include "harness/device_root.h"
#include "harness/ftp_script_server.h"
#include "harness/in_process.h"
#include "harness/process.h"
#include "harness/sandbox.h"
#include "pyftpd_server.h"

namespace {

const bool kRegistered = [] {
  harness::AddStateReset(ftp_reset_process_state);
  harness::AddStateReset(ClearSvcImages);
  return true;
}();

TEST(FtpStateReset, InProcessRunsStartWithEmptyClientBuffers) {
  ASSERT_TRUE(kRegistered);
  std::memset(g_ftp_host_name, 'h', sizeof g_ftp_host_name - 1);
  std::memset(g_ftp_unique_name, 'u', sizeof g_ftp_unique_name - 1);
  harness::InProcess run;
  EXPECT_EQ(g_ftp_host_name[0], '\0');
  EXPECT_EQ(g_ftp_unique_name[0], '\0');
}

class FtpHandlersInProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    harness::MakeDeviceRoot(root_);
    char home[] = "/tmp/nxcgi-ftphome-XXXXXX";
    ASSERT_NE(mkdtemp(home), nullptr);
    home_ = home;
    port_ = server_.Start(home_, "cam", "secret");
    ASSERT_GT(port_, 0) << "pyftpdlib did not start (apt-get install python3-pyftpdlib)";
    const char* saved = std::getenv("NXCGI_ROOT");
    had_root_ = saved != nullptr;
    if (had_root_) saved_root_ = saved;
    setenv("NXCGI_ROOT", root_.path().c_str(), 1);
    // A CGI process has no terminal on standard input: the client is quiet.
    saved_stdin_ = dup(STDIN_FILENO);
    const int null_input = open("/dev/null", O_RDONLY);
    dup2(null_input, STDIN_FILENO);
    close(null_input);
    descriptors_before_ = harness::CountOpenDescriptors();
  }
  void TearDown() override {
    EXPECT_EQ(harness::CountOpenDescriptors(), descriptors_before_) << "descriptors leaked";
    dup2(saved_stdin_, STDIN_FILENO);
    close(saved_stdin_);
    if (had_root_) {
      setenv("NXCGI_ROOT", saved_root_.c_str(), 1);
    } else {
      unsetenv("NXCGI_ROOT");
    }
    server_.Stop();
    std::error_code ignored;
    std::filesystem::remove_all(home_, ignored);
  }

  void WriteRemote(const std::string& name, const std::string& text) {
    std::FILE* file = std::fopen((home_ + "/" + name).c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::fwrite(text.data(), 1, text.size(), file);
    std::fclose(file);
  }
  void PointService(const std::string& password, int scheme) {
    const harness::ProcessResult result = harness::RunProgram(
        {harness::NxconfBinary(), "set", root_.Host("/opt/vsb/etc/NxConf/NxModId1/FtpSigSvcConf.bin"),
         "ServerIp=127.0.0.1", "User=cam", "Passwd=" + password, "FtpCtrlPort=" + std::to_string(port_),
         "BaseDir=", "DirNameFlag=" + std::to_string(scheme)});
    ASSERT_EQ(result.exit_status, 0) << result.err;
  }
  harness::InProcessResult Run(CgiHandler handler, const std::string& form) {
    harness::InProcess run;
    run.SetForm(form);
    return run.RunHandler(handler);
  }
  std::string Login() const {
    return "ServerIp=127.0.0.1&User=cam&Passwd=secret&FtpCtrlPort=" + std::to_string(port_);
  }

  harness::SandboxRoot root_;
  ftp_peer::PyFtpdServer server_;
  std::string home_;
  int port_ = 0;
  bool had_root_ = false;
  std::string saved_root_;
  int saved_stdin_ = -1;
  int descriptors_before_ = 0;
};

TEST_F(FtpHandlersInProcess, BinGetSuccessAndFailureLeaveNoDescriptors) {
  WriteRemote("a.jpg", "first");
  WriteRemote("b.jpg", "second");
  auto result =
      Run(NxCgi_FtpBinGetCgifunc, "NxCgiVer=1&" + Login() + "&FileNames=a.jpg,b.jpg&LocalDir=/tmp/");
  EXPECT_EQ(result.result, 1);
  EXPECT_EQ(result.out, "Content-type: text/html\r\n\r\n");
  EXPECT_EQ(root_.ReadFile("/tmp/b.jpg"), "second");

  result = Run(NxCgi_FtpBinGetCgifunc, "NxCgiVer=1&" + Login() + "&FileNames=a.jpg,c.jpg&LocalDir=/tmp/");
  EXPECT_EQ(result.result, -1);
  EXPECT_EQ(result.err_msg, "getfile ERROR received 1 files: excepted 2 \n");
  EXPECT_EQ(result.out, "No such file or directory.\n");

  // The local directory does not exist: refused before RETR.
  result = Run(NxCgi_FtpBinGetCgifunc, "NxCgiVer=1&" + Login() + "&FileNames=a.jpg&LocalDir=/nodir/");
  EXPECT_EQ(result.result, -1);
  EXPECT_EQ(result.err, "local: /nodir: No such file or directory\n");
  EXPECT_EQ(result.err_msg, "getfile ERROR received 0 files: excepted 1 \n");

  result = Run(NxCgi_FtpBinGetCgifunc, "NxCgiVer=1&ServerIp=127.0.0.1&User=cam&Passwd=wrong&FtpCtrlPort=" +
                                           std::to_string(port_) + "&FileNames=a.jpg");
  EXPECT_EQ(result.result, -1);
  EXPECT_EQ(result.err_msg, "ftp_make(127.0.0.1,cam,wrong) ERROR\n");
}

TEST_F(FtpHandlersInProcess, ExistingLocalFilesAreOverwrittenBelowTheRoot) {
  WriteRemote("a.jpg", "new");
  root_.WriteFile("/tmp/a.jpg", "old contents");
  const auto result =
      Run(NxCgi_FtpBinGetCgifunc, "NxCgiVer=1&" + Login() + "&FileNames=a.jpg&LocalDir=/tmp/");
  EXPECT_EQ(result.result, 1) << result.err;
  EXPECT_EQ(root_.ReadFile("/tmp/a.jpg"), "new");
}

TEST_F(FtpHandlersInProcess, UploadsReadTheirLocalFileBelowTheRoot) {
  root_.WriteFile("/tmp/up.txt", "from the root");
  ftp_session* s = ftp_make("127.0.0.1", "cam", "secret", port_);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(ftp_put(s, 0, "/tmp/up.txt", "up.txt"), 1);
  // Messages keep the device name.
  const auto missing =
      harness::CaptureStdio([&] { EXPECT_EQ(ftp_put(s, 0, "/tmp/none.txt", "none.txt"), 0); });
  ftp_close(s);
  EXPECT_EQ(harness::ReadWholeFile(home_ + "/up.txt"), "from the root");
  EXPECT_EQ(missing.err, "local: /tmp/none.txt: No such file or directory\n");
}

TEST_F(FtpHandlersInProcess, MkDirSuccessAndFailureLeaveNoDescriptors) {
  PointService("secret", 16);
  auto result = Run(NxCgi_FtpMkDirCgifunc, "NxModId=1&NxCgiVer=1&FtpMode=sig");
  EXPECT_EQ(result.result, 1);
  EXPECT_EQ(result.out, "Content-type: text/html\r\n\r\n");
  EXPECT_TRUE(std::filesystem::is_directory(home_ + "/31th"));

  result = Run(NxCgi_FtpMkDirCgifunc, "NxModId=1&NxCgiVer=1&FtpMode=sig");
  EXPECT_EQ(result.result, -1);
  EXPECT_EQ(result.err_msg, "ftp_mkdirs() ERROR");

  PointService("secret", 0);
  result = Run(NxCgi_FtpMkDirCgifunc, "NxModId=1&NxCgiVer=1&FtpMode=sig");
  EXPECT_EQ(result.result, 1);
  EXPECT_EQ(harness::ReadWholeFile(home_ + "/helloftp.txt"), "helloftp\r\n");

  root_.WriteFile("/etc/sysconfig/names.conf", "SERVER_NAME=unit9\n");
  PointService("secret", 256);
  result = Run(NxCgi_FtpMkDirCgifunc, "NxModId=1&NxCgiVer=1&FtpMode=sig");
  EXPECT_EQ(result.result, 1);
  EXPECT_TRUE(std::filesystem::is_directory(home_ + "/unit9"));

  PointService("wrong", 1);
  result = Run(NxCgi_FtpMkDirCgifunc, "NxModId=1&NxCgiVer=1&FtpMode=sig");
  EXPECT_EQ(result.result, -1);
  EXPECT_EQ(result.err_msg, "ftp_make(127.0.0.1,cam,wrong) ERROR");
}

}  // namespace

// The FTP client and the FTP operations against a real FTP server
// (pyftpdlib from Debian, started per test on 127.0.0.1 with a fresh home).
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "ftp/client/ftp_client.h"
#include "ftp/client/ftp_internal.h"
#include "ftp/ftp_ops.h"
#include "harness/capture.h"
#include "harness/ftp_script_server.h"
#include "pyftpd_server.h"

namespace {

std::string MakeTempDir() {
  char name[] = "/tmp/nxcgi-ftpd-XXXXXX";
  if (mkdtemp(name) == nullptr) return {};
  return name;
}

void WriteFile(const std::string& path, const std::string& text) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr) << path;
  std::fwrite(text.data(), 1, text.size(), file);
  std::fclose(file);
}

using ftp_peer::ListDir;

std::vector<std::string> Sorted(std::vector<std::string> names) {
  std::sort(names.begin(), names.end());
  return names;
}

std::string Pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 7 + i / 251) & 0xff);
  return bytes;
}

class FtpRealServerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ftp_reset_process_state();
    home_ = MakeTempDir();
    local_ = MakeTempDir();
    ASSERT_FALSE(home_.empty());
    ASSERT_FALSE(local_.empty());
    StartServer();
    // Sessions start quiet only when standard input is no terminal, as in
    // the CGI process.
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
    StopServer();
    std::system(("rm -rf " + home_ + " " + local_).c_str());
  }

  void StartServer() {
    port_ = server_.Start(home_, "cam", "secret");
    ASSERT_GT(port_, 0) << "pyftpdlib did not start (apt-get install python3-pyftpdlib)";
  }
  void StopServer() { server_.Stop(); }

  ftp_session* Make() { return ftp_make("127.0.0.1", "cam", "secret", port_); }
  // A binary session in the wanted data connection mode.
  ftp_session* MakeWithMode(int passive) {
    ftp_session* s = ftp_create(passive, 1, 0, port_);
    if (s == nullptr) return nullptr;
    if (!ftp_open(s, "127.0.0.1", "cam", "secret", nullptr) || !ftp_binary(s)) {
      ftp_close(s);
      return nullptr;
    }
    return s;
  }

  std::string home_;
  std::string local_;
  ftp_peer::PyFtpdServer server_;
  int port_ = 0;
  int descriptors_before_ = 0;
  int saved_stdin_ = -1;
};

TEST_F(FtpRealServerTest, BinaryDownloadAndUploadInBothModes) {
  const std::string content = Pattern(300000);
  WriteFile(home_ + "/image.bin", content);
  for (const int passive : {0, 1}) {
    SCOPED_TRACE(passive ? "passive" : "active");
    ftp_session* s = MakeWithMode(passive);
    ASSERT_NE(s, nullptr);
    const std::string local = local_ + "/image" + std::to_string(passive) + ".bin";
    EXPECT_EQ(getfile(s, local.c_str(), "image.bin"), 0);
    EXPECT_EQ(harness::ReadWholeFile(local), content);
    const std::string remote = "up" + std::to_string(passive) + ".bin";
    EXPECT_EQ(ftp_put(s, 0, local.c_str(), remote.c_str()), 1);
    ftp_close(s);
    EXPECT_EQ(harness::ReadWholeFile(home_ + "/" + remote), content);
  }
}

TEST_F(FtpRealServerTest, GetfileIntoADirectoryFollowsTheRemoteDirectory) {
  ASSERT_EQ(mkdir((home_ + "/pub").c_str(), 0755), 0);
  WriteFile(home_ + "/pub/a.jpg", "first image");
  WriteFile(home_ + "/pub/b.jpg", "second image");
  ftp_session* s = Make();
  ASSERT_NE(s, nullptr);
  const std::string dir = local_ + "/";
  EXPECT_EQ(getfile(s, (dir + "a.jpg").c_str(), "pub/a.jpg"), 0);
  EXPECT_EQ(getfile(s, (dir + "b.jpg").c_str(), "pub/b.jpg"), 0);
  const auto captured =
      harness::CaptureStdio([&] { EXPECT_EQ(getfile(s, (dir + "c.jpg").c_str(), "pub/c.jpg"), -1); });
  ftp_close(s);
  EXPECT_EQ(harness::ReadWholeFile(dir + "a.jpg"), "first image");
  EXPECT_EQ(harness::ReadWholeFile(dir + "b.jpg"), "second image");
  // The refusal's text is echoed to standard output (verbose 0, class 5).
  EXPECT_NE(captured.out.find("No such file or directory"), std::string::npos) << captured.out;
  // The file opened for the refused transfer is never created.
  EXPECT_EQ(ListDir(local_), (std::vector<std::string>{"a.jpg", "b.jpg"}));
}

TEST_F(FtpRealServerTest, PutMemStoresTheTestText) {
  ftp_session* s = Make();
  ASSERT_NE(s, nullptr);
  static const char kText[] = "helloftp\r\n";
  EXPECT_EQ(ftp_put_mem(s, 0, kText, 10, "helloftp.txt"), 1);
  EXPECT_EQ(ftp_put_mem(s, 'a', kText, 5, "helloftp.txt"), 1);
  ftp_close(s);
  EXPECT_EQ(harness::ReadWholeFile(home_ + "/helloftp.txt"), "helloftp\r\nhello");
}

TEST_F(FtpRealServerTest, AsciiRoundTripConvertsLineEnds) {
  WriteFile(local_ + "/lines.txt", "one\ntwo\n");
  ftp_session* s = Make();
  ASSERT_NE(s, nullptr);
  ASSERT_EQ(ftp_ascii(s), 1);
  EXPECT_EQ(ftp_put(s, 0, (local_ + "/lines.txt").c_str(), "lines.txt"), 1);
  EXPECT_EQ(getfile(s, (local_ + "/back.txt").c_str(), "lines.txt"), 0);
  ftp_close(s);
  EXPECT_EQ(harness::ReadWholeFile(home_ + "/lines.txt"), "one\ntwo\n");
  EXPECT_EQ(harness::ReadWholeFile(local_ + "/back.txt"), "one\ntwo\n");
}

TEST_F(FtpRealServerTest, DirectoryOperations) {
  ftp_session* s = Make();
  ASSERT_NE(s, nullptr);
  harness::Captured out = harness::CaptureStdio([&] {
    EXPECT_EQ(ftp_mkd(s, "made"), 1);
    EXPECT_EQ(ftp_mkd(s, "made"), 0);  // exists: refused, no retry
    EXPECT_EQ(s->reply_code, 550);
    EXPECT_EQ(ftp_cwd(s, "made"), 1);
    EXPECT_EQ(ftp_cwd(s, "nowhere"), 0);
    EXPECT_EQ(ftp_put_mem(s, 0, "x", 1, "f.txt"), 1);
    EXPECT_EQ(ftp_rename(s, "f.txt", "g.txt"), 1);
    EXPECT_EQ(ftp_chmod(s, "600", "g.txt"), 1);
    EXPECT_EQ(ftp_delete(s, "g.txt"), 1);
    EXPECT_EQ(ftp_cwd(s, ".."), 1);
    EXPECT_EQ(ftp_rmd(s, "made"), 1);
  });
  ftp_close(s);
  EXPECT_EQ(ListDir(home_), std::vector<std::string>{});
}

TEST_F(FtpRealServerTest, MkdirsMakesEveryNamingScheme) {
  const std::vector<ftp_peer::SchemeCase> cases = ftp_peer::NamingSchemes();
  for (const ftp_peer::SchemeCase& c : cases) {
    SCOPED_TRACE(c.scheme);
    const std::string base = "base" + std::to_string(c.scheme);
    ASSERT_EQ(mkdir((home_ + "/" + base).c_str(), 0755), 0);
    ftp_session* s = Make();
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(ftp_mkdirs(s, base.c_str(), c.scheme), 0);
    ftp_close(s);
    EXPECT_EQ(ListDir(home_ + "/" + base), Sorted(c.dirs));
  }
  EXPECT_EQ(cases[3].dirs.size(), 31u);
}

TEST_F(FtpRealServerTest, MkdirsStopsWhenADirectoryExists) {
  ASSERT_EQ(mkdir((home_ + "/1st").c_str(), 0755), 0);
  ftp_session* s = Make();
  ASSERT_NE(s, nullptr);
  harness::CaptureStdio([&] { EXPECT_EQ(ftp_mkdirs(s, "", 16), -1); });
  ftp_close(s);
  EXPECT_EQ(ListDir(home_), std::vector<std::string>{"1st"});
}

TEST_F(FtpRealServerTest, MkdirsOtherValuesUploadTheTestFile) {
  for (const int scheme : {0, 2, 64, 128}) {
    ftp_session* s = Make();
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(ftp_mkdirs(s, "", scheme), 0);
    ftp_close(s);
    EXPECT_EQ(harness::ReadWholeFile(home_ + "/helloftp.txt"), "helloftp\r\n");
    std::remove((home_ + "/helloftp.txt").c_str());
  }
}

TEST_F(FtpRealServerTest, MkdirsServerNameScheme) {
  const std::string root = MakeTempDir();
  const char* saved = std::getenv("NXCGI_ROOT");
  const std::string saved_root = saved != nullptr ? saved : "";
  setenv("NXCGI_ROOT", root.c_str(), 1);
  const auto run = [&] {
    ftp_session* s = Make();
    EXPECT_NE(s, nullptr);
    int result = 0;
    harness::CaptureStdio([&] { result = ftp_mkdirs(s, "", 256); });
    ftp_close(s);
    return result;
  };
  // No names.conf: nothing to make.
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(ListDir(home_), std::vector<std::string>{});
  ASSERT_EQ(std::system(("mkdir -p " + root + "/etc/sysconfig").c_str()), 0);
  const std::string names = root + "/etc/sysconfig/names.conf";
  // No SERVER_NAME key (a longer key or a comment does not count).
  WriteFile(names, "SERVER_NAMES=other\n#SERVER_NAME=hidden\nHOST=x\n");
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(ListDir(home_), std::vector<std::string>{});
  WriteFile(names, "HOST=x\r\nSERVER_NAME = \"cam-01\" # the camera\r\n");
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(ListDir(home_), std::vector<std::string>{"cam-01"});
  EXPECT_EQ(run(), -1);  // exists now
  if (saved != nullptr) {
    setenv("NXCGI_ROOT", saved_root.c_str(), 1);
  } else {
    unsetenv("NXCGI_ROOT");
  }
  std::system(("rm -rf " + root).c_str());
}

TEST_F(FtpRealServerTest, LoginRefusedMakesNoSession) {
  ftp_session* s = nullptr;
  const auto out = harness::CaptureStdio([&] { s = ftp_make("127.0.0.1", "cam", "wrong", port_); });
  EXPECT_EQ(s, nullptr);
  EXPECT_EQ(out.err, "Login failed.\n");
}

TEST_F(FtpRealServerTest, AnonymousLogin) {
  ftp_session* s = ftp_make("127.0.0.1", "anonymous", "cam@", port_);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(ftp_mkd(s, "anon"), 1);
  ftp_close(s);
  EXPECT_EQ(ListDir(home_), std::vector<std::string>{"anon"});
}

}  // namespace

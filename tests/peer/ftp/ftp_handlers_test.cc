// nxftpbinget.cgi and nxftpmkdir.cgi end to end: the real executable in a
// device root made by nxconf, against a real pyftpdlib server on 127.0.0.1.
// Checked: the exact answer bytes, the files that land below the root, and
// what the server holds afterwards.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "harness/capture.h"
#include "harness/device_root.h"
#include "harness/expected_pages.h"
#include "harness/process.h"
#include "harness/sandbox.h"
#include "pyftpd_server.h"

namespace {

using harness::ErrorPage;
using harness::kHtmlHeader;

constexpr const char* kRedirect =
    "<html>\n<head>\n<script language=javascript>\nlocation.href=\"/ftp.html\";\n</script>\n</head>\n"
    "<body>\n</body>\n</html>\n";

using ftp_peer::ListDir;

void WriteHostFile(const std::string& path, const std::string& bytes) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr) << path;
  std::fwrite(bytes.data(), 1, bytes.size(), file);
  std::fclose(file);
}

// Bytes that an ASCII transfer would change (bare LF, CR LF, high bytes).
std::string BinaryBytes(char seed) {
  std::string bytes = "line\nnext\r\n";
  for (int i = 0; i < 600; ++i) bytes += static_cast<char>((i * 13 + seed) & 0xff);
  return bytes;
}

std::string ServiceFile(int module, const std::string& mode) {
  return "/opt/vsb/etc/NxConf/NxModId" + std::to_string(module) +
         (mode == "sig" ? "/FtpSigSvcConf.bin" : "/FtpDurSvcConf.bin");
}

class FtpHandlers : public ::testing::Test {
 protected:
  void SetUp() override {
    harness::MakeDeviceRoot(root_);
    char home[] = "/tmp/nxcgi-ftphome-XXXXXX";
    ASSERT_NE(mkdtemp(home), nullptr);
    home_ = home;
    port_ = server_.Start(home_, "cam", "secret");
    ASSERT_GT(port_, 0) << "pyftpdlib did not start (apt-get install python3-pyftpdlib)";
    tmp_before_ = ListDir(root_.Host("/tmp"));
  }
  void TearDown() override {
    server_.Stop();
    std::error_code ignored;
    std::filesystem::remove_all(home_, ignored);
  }

  // Changes fields of a service file with nxconf set.
  void SetService(int module, const std::string& mode, const std::vector<std::string>& assignments) {
    std::vector<std::string> argv{harness::NxconfBinary(), "set", root_.Host(ServiceFile(module, mode))};
    argv.insert(argv.end(), assignments.begin(), assignments.end());
    const harness::ProcessResult result = harness::RunProgram(argv);
    ASSERT_EQ(result.exit_status, 0) << result.err;
  }
  // Points the service at the test server.
  void PointService(int module, const std::string& mode, const std::string& base_dir, int scheme) {
    SetService(module, mode,
               {"ServerIp=127.0.0.1", "User=cam", "Passwd=secret", "FtpCtrlPort=" + std::to_string(port_),
                "BaseDir=" + base_dir, "DirNameFlag=" + std::to_string(scheme)});
  }
  std::string Login() const {
    return "ServerIp=127.0.0.1&User=cam&Passwd=secret&FtpCtrlPort=" + std::to_string(port_);
  }

  harness::ProcessResult Get(const std::string& cgi, const std::string& query) {
    return harness::GetCgi(cgi, query, root_.path());
  }
  // Files that appeared below the root's /tmp during the test.
  std::vector<std::string> NewTmpFiles() const {
    std::vector<std::string> added;
    for (const std::string& name : ListDir(root_.Host("/tmp"))) {
      if (std::find(tmp_before_.begin(), tmp_before_.end(), name) == tmp_before_.end()) added.push_back(name);
    }
    return added;
  }
  void MakeRemoteDir(const std::string& dir) { ASSERT_EQ(mkdir((home_ + "/" + dir).c_str(), 0755), 0); }

  harness::SandboxRoot root_;
  ftp_peer::PyFtpdServer server_;
  std::string home_;
  int port_ = 0;
  std::vector<std::string> tmp_before_;
};

// --- nxftpbinget.cgi ---------------------------------------------------------

TEST_F(FtpHandlers, BinGetFetchesTheListIntoTheLocalDirectoryInBinary) {
  MakeRemoteDir("pub");
  WriteHostFile(home_ + "/pub/a.jpg", BinaryBytes('a'));
  WriteHostFile(home_ + "/pub/b.jpg", BinaryBytes('b'));
  const auto result = Get("nxftpbinget.cgi", "NxCgiVer=1&" + Login() +
                                                 "&FileNames=a.jpg,b.jpg&LocalDir=/tmp/&RemoteDir=pub/"
                                                 "&RetReDir=/ftp.html");
  EXPECT_EQ(result.out, kHtmlHeader + kRedirect);
  EXPECT_EQ(root_.ReadFile("/tmp/a.jpg"), BinaryBytes('a'));
  EXPECT_EQ(root_.ReadFile("/tmp/b.jpg"), BinaryBytes('b'));
  EXPECT_EQ(NewTmpFiles(), (std::vector<std::string>{"a.jpg", "b.jpg"}));
}

TEST_F(FtpHandlers, BinGetWithOnlyCommasAnswersAndTransfersNothing) {
  WriteHostFile(home_ + "/x", "x");
  const auto result = Get("nxftpbinget.cgi", "NxCgiVer=0&" + Login() + "&FileNames=,,%2C,&LocalDir=/tmp/");
  EXPECT_EQ(result.out, kHtmlHeader);
  EXPECT_EQ(NewTmpFiles(), std::vector<std::string>{});
}

TEST_F(FtpHandlers, BinGetTakesTheFirstEightOfTenNames) {
  std::string names;
  for (int i = 0; i < 10; ++i) {
    WriteHostFile(home_ + "/n" + std::to_string(i), "file " + std::to_string(i));
    names += (i ? ",," : "") + std::string("n") + std::to_string(i);
  }
  const auto result =
      Get("nxftpbinget.cgi", "NxCgiVer=1&" + Login() + "&FileNames=" + names + "&LocalDir=/tmp/");
  EXPECT_EQ(result.out, kHtmlHeader);
  EXPECT_EQ(NewTmpFiles(), (std::vector<std::string>{"n0", "n1", "n2", "n3", "n4", "n5", "n6", "n7"}));
  EXPECT_EQ(root_.ReadFile("/tmp/n7"), "file 7");
}

TEST_F(FtpHandlers, BinGetStopsAtAMissingFileAndKeepsTheFirst) {
  MakeRemoteDir("pub");
  WriteHostFile(home_ + "/pub/a.jpg", "first");
  WriteHostFile(home_ + "/pub/c.jpg", "third");
  const auto result =
      Get("nxftpbinget.cgi",
          "NxCgiVer=1&" + Login() + "&FileNames=a.jpg,b.jpg,c.jpg&LocalDir=/tmp/&RemoteDir=pub/");
  // The server's refusal is echoed ahead of the page.
  EXPECT_EQ(result.out, "No such file or directory.\n" +
                            ErrorPage("nxftpbinget.cgi", "getfile ERROR received 1 files: excepted 3 \n"));
  EXPECT_EQ(root_.ReadFile("/tmp/a.jpg"), "first");
  EXPECT_EQ(NewTmpFiles(), std::vector<std::string>{"a.jpg"});
}

TEST_F(FtpHandlers, BinGetSecondOfTwoMissing) {
  WriteHostFile(home_ + "/a.jpg", "first");
  const auto result =
      Get("nxftpbinget.cgi", "NxCgiVer=1&" + Login() + "&FileNames=a.jpg,b.jpg&LocalDir=/tmp/");
  EXPECT_EQ(result.out, "No such file or directory.\n" +
                            ErrorPage("nxftpbinget.cgi", "getfile ERROR received 1 files: excepted 2 \n"));
  EXPECT_EQ(NewTmpFiles(), std::vector<std::string>{"a.jpg"});
}

TEST_F(FtpHandlers, BinGetEmptyRemoteDirIsTheLoginDirectory) {
  WriteHostFile(home_ + "/top.bin", BinaryBytes('t'));
  const auto result =
      Get("nxftpbinget.cgi", "NxCgiVer=1&" + Login() + "&FileNames=top.bin&LocalDir=/tmp/&RemoteDir=");
  EXPECT_EQ(result.out, kHtmlHeader);
  EXPECT_EQ(root_.ReadFile("/tmp/top.bin"), BinaryBytes('t'));
}

TEST_F(FtpHandlers, BinGetFailures) {
  WriteHostFile(home_ + "/a.jpg", "first");
  struct Case {
    std::string query;
    std::string out;
  };
  const std::string make_error = "ftp_make(127.0.0.1,cam,secret) ERROR\n";
  const Case cases[] = {
      {Login() + "&FileNames=a.jpg", ErrorPage("nxftpbinget.cgi", "Invaled NxCgiVer = 65535\n")},
      {"NxCgiVer=&" + Login() + "&FileNames=a.jpg",
       ErrorPage("nxftpbinget.cgi", "Invaled NxCgiVer = 65535\n")},
      {"NxCgiVer=2&" + Login() + "&FileNames=a.jpg", ErrorPage("nxftpbinget.cgi", "Invaled NxCgiVer = 2\n")},
      // No FileNames: reported as the session's failure.
      {"NxCgiVer=1&" + Login() + "&LocalDir=/tmp/", ErrorPage("nxftpbinget.cgi", make_error)},
      {"NxCgiVer=1&" + Login() + "&FileNames=&LocalDir=/tmp/", ErrorPage("nxftpbinget.cgi", make_error)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.query);
    EXPECT_EQ(Get("nxftpbinget.cgi", c.query).out, c.out);
  }
  EXPECT_EQ(NewTmpFiles(), std::vector<std::string>{});
  // The low 16 bits are the version.
  EXPECT_EQ(Get("nxftpbinget.cgi", "NxCgiVer=0x20001&" + Login() + "&FileNames=a.jpg&LocalDir=/tmp/").out,
            kHtmlHeader);
  EXPECT_EQ(NewTmpFiles(), std::vector<std::string>{"a.jpg"});
}

TEST_F(FtpHandlers, BinGetLoginRefused) {
  const auto result =
      Get("nxftpbinget.cgi", "NxCgiVer=1&ServerIp=127.0.0.1&User=cam&Passwd=wrong&FtpCtrlPort=" +
                                 std::to_string(port_) + "&FileNames=a.jpg&LocalDir=/tmp/");
  EXPECT_EQ(result.out, "Authentication failed.\n" +
                            ErrorPage("nxftpbinget.cgi", "ftp_make(127.0.0.1,cam,wrong) ERROR\n"));
  EXPECT_EQ(result.err, "Login failed.\n");
}

TEST_F(FtpHandlers, BinGetWithoutControlPortUsesTheFtpService) {
  // The services database's ftp port is 21: a server there when this test
  // may bind it, else nothing listens and the connection is refused.
  ftp_peer::PyFtpdServer on_21;
  if (on_21.Start(home_, "cam", "secret", 21) != 21) {
    const auto result = Get(
        "nxftpbinget.cgi", "NxCgiVer=1&ServerIp=127.0.0.1&User=cam&Passwd=secret&FileNames=a&LocalDir=/tmp/");
    if (result.err.find("Connection refused") == std::string::npos) GTEST_SKIP() << "port 21 is in use";
    EXPECT_EQ(result.out, ErrorPage("nxftpbinget.cgi", "ftp_make(127.0.0.1,cam,secret) ERROR\n"));
    EXPECT_EQ(result.err, "ftp: connect: Connection refused\n");
    return;
  }
  WriteHostFile(home_ + "/a", "from port 21");
  for (const std::string port : {"", "&FtpCtrlPort=0"}) {
    std::filesystem::remove(root_.Host("/tmp/a"));
    const auto result =
        Get("nxftpbinget.cgi",
            "NxCgiVer=1&ServerIp=127.0.0.1&User=cam&Passwd=secret&FileNames=a&LocalDir=/tmp/" + port);
    EXPECT_EQ(result.out, kHtmlHeader) << port;
    EXPECT_EQ(root_.ReadFile("/tmp/a"), "from port 21") << port;
  }
}

TEST_F(FtpHandlers, BinGetRefusesValuesLongerThanTheirSlots) {
  const std::string long_host = "127.0.0.1" + std::string(23, '0');  // 32 characters
  const std::string long_user = std::string(32, 'u');
  const std::string dir63 = "/tmp/" + std::string(57, 'd') + "/";  // 63 characters
  const std::string dir64 = "/tmp/" + std::string(58, 'd') + "/";
  root_.MakeDirectory(dir63);
  const std::string name32(32, 'f');  // with dir63: a 95-character path
  WriteHostFile(home_ + "/" + name32, "fits");
  WriteHostFile(home_ + "/" + name32 + "g", "too long");
  const std::string port = "&FtpCtrlPort=" + std::to_string(port_);
  struct Case {
    std::string query;
    std::string out;
  };
  const Case cases[] = {
      {"ServerIp=" + long_host + "&User=cam&Passwd=secret" + port + "&FileNames=" + name32 +
           "&LocalDir=" + dir63,
       ErrorPage("nxftpbinget.cgi", "ftp_make(" + long_host + ",cam,secret) ERROR\n")},
      {"ServerIp=127.0.0.1&User=" + long_user + "&Passwd=secret" + port + "&FileNames=x",
       ErrorPage("nxftpbinget.cgi", "ftp_make(127.0.0.1," + long_user + ",secret) ERROR\n")},
      {Login() + "&FileNames=" + name32 + "&LocalDir=" + dir64,
       ErrorPage("nxftpbinget.cgi", "ftp_make(127.0.0.1,cam,secret) ERROR\n")},
      {Login() + "&FileNames=" + name32 + "&RemoteDir=" + std::string(64, 'r'),
       ErrorPage("nxftpbinget.cgi", "ftp_make(127.0.0.1,cam,secret) ERROR\n")},
      // 96 characters joined: counted as a failed download, nothing asked of
      // the server.
      {Login() + "&FileNames=" + name32 + "," + name32 + "g&LocalDir=" + dir63,
       ErrorPage("nxftpbinget.cgi", "getfile ERROR received 1 files: excepted 2 \n")},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.query);
    EXPECT_EQ(Get("nxftpbinget.cgi", "NxCgiVer=1&" + c.query).out, c.out);
  }
  EXPECT_EQ(root_.ReadFile(dir63 + name32), "fits");
  EXPECT_EQ(ListDir(root_.Host(dir63)), std::vector<std::string>{name32});
}

// --- nxftpmkdir.cgi ------------------------------------------------------------

std::vector<std::string> Sorted(std::vector<std::string> names) {
  std::sort(names.begin(), names.end());
  return names;
}

TEST_F(FtpHandlers, MkDirMakesEverySchemeInTheBaseDirectory) {
  const std::vector<ftp_peer::SchemeCase> cases = ftp_peer::NamingSchemes();
  ASSERT_EQ(cases[3].dirs.size(), 31u);
  int module = 0;
  for (const ftp_peer::SchemeCase& c : cases) {
    for (const std::string mode : {"sig", "dur"}) {
      SCOPED_TRACE(mode + " " + std::to_string(c.scheme));
      const std::string base = mode + std::to_string(c.scheme);
      MakeRemoteDir(base);
      module = (module + 1) % 4;
      PointService(module, mode, base, c.scheme);
      const std::string file_before = root_.ReadFile(ServiceFile(module, mode));
      const auto result = Get("nxftpmkdir.cgi", "NxModId=" + std::to_string(module) +
                                                    "&NxCgiVer=1&FtpMode=" + mode + "&RetReDir=/ftp.html");
      EXPECT_EQ(result.out, kHtmlHeader + kRedirect);
      EXPECT_EQ(ListDir(home_ + "/" + base), Sorted(c.dirs));
      // The service file is only read.
      EXPECT_EQ(root_.ReadFile(ServiceFile(module, mode)), file_before);
    }
  }
  EXPECT_EQ(ListDir(home_).size(), 10u);
}

TEST_F(FtpHandlers, MkDirStopsAtTheFirstExistingDirectory) {
  MakeRemoteDir("up");
  MakeRemoteDir("up/1st");
  PointService(1, "sig", "up", 16);
  const auto result = Get("nxftpmkdir.cgi", "NxModId=1&NxCgiVer=1&FtpMode=sig");
  EXPECT_EQ(result.out, "File exists.\n" + ErrorPage("nxftpmkdir.cgi", "ftp_mkdirs() ERROR"));
  EXPECT_EQ(ListDir(home_ + "/up"), std::vector<std::string>{"1st"});
}

TEST_F(FtpHandlers, MkDirOtherSchemesUploadTheTestFile) {
  for (const int scheme : {0, 2, 64, 128}) {
    SCOPED_TRACE(scheme);
    const std::string base = "t" + std::to_string(scheme);
    MakeRemoteDir(base);
    PointService(2, "dur", base, scheme);
    const auto result = Get("nxftpmkdir.cgi", "NxModId=2&NxCgiVer=0&FtpMode=dur");
    EXPECT_EQ(result.out, kHtmlHeader);
    EXPECT_EQ(harness::ReadWholeFile(home_ + "/" + base + "/helloftp.txt"), "helloftp\r\n");
    EXPECT_EQ(ListDir(home_ + "/" + base), std::vector<std::string>{"helloftp.txt"});
  }
}

TEST_F(FtpHandlers, MkDirUploadRefusedFails) {
  MakeRemoteDir("ro");
  // The launcher's read-only user may not store.
  SetService(1, "sig",
             {"ServerIp=127.0.0.1", "User=reader", "Passwd=reader", "FtpCtrlPort=" + std::to_string(port_),
              "BaseDir=ro", "DirNameFlag=0"});
  EXPECT_EQ(Get("nxftpmkdir.cgi", "NxModId=1&NxCgiVer=1&FtpMode=sig").out,
            "Not enough privileges.\n" + ErrorPage("nxftpmkdir.cgi", "ftp_mkdirs() ERROR"));
  EXPECT_EQ(ListDir(home_ + "/ro"), std::vector<std::string>{});
}

TEST_F(FtpHandlers, MkDirServerNameScheme) {
  MakeRemoteDir("sn");
  PointService(3, "sig", "sn", 256);
  const auto run = [&] { return Get("nxftpmkdir.cgi", "NxModId=3&NxCgiVer=1&FtpMode=sig").out; };
  // No names.conf, or no SERVER_NAME in it: success, nothing made.
  root_.Remove("/etc/sysconfig/names.conf");
  EXPECT_EQ(run(), kHtmlHeader);
  root_.WriteFile("/etc/sysconfig/names.conf", "HOST=x\nSERVER_NAMES=y\n");
  EXPECT_EQ(run(), kHtmlHeader);
  EXPECT_EQ(ListDir(home_ + "/sn"), std::vector<std::string>{});
  root_.WriteFile("/etc/sysconfig/names.conf", "HOST=x\nSERVER_NAME=\"cam-07\"\n");
  EXPECT_EQ(run(), kHtmlHeader);
  EXPECT_EQ(ListDir(home_ + "/sn"), std::vector<std::string>{"cam-07"});
  // Made already: refused by the server.
  EXPECT_EQ(run(), "File exists.\n" + ErrorPage("nxftpmkdir.cgi", "ftp_mkdirs() ERROR"));
  // A name longer than 63 characters is refused, never cut.
  root_.WriteFile("/etc/sysconfig/names.conf", "SERVER_NAME=" + std::string(64, 'n') + "\n");
  EXPECT_EQ(run(), ErrorPage("nxftpmkdir.cgi", "ftp_mkdirs() ERROR"));
  root_.WriteFile("/etc/sysconfig/names.conf", "SERVER_NAME=" + std::string(63, 'n') + "\n");
  EXPECT_EQ(run(), kHtmlHeader);
  EXPECT_EQ(ListDir(home_ + "/sn"), (std::vector<std::string>{"cam-07", std::string(63, 'n')}));
}

TEST_F(FtpHandlers, MkDirWithEmptyBaseDirWorksInTheLoginDirectory) {
  PointService(0, "dur", "", 1);
  EXPECT_EQ(Get("nxftpmkdir.cgi", "NxModId=0&NxCgiVer=1&FtpMode=dur").out, kHtmlHeader);
  EXPECT_EQ(ListDir(home_), ftp_peer::Numbered("CAM%d", 1, 6));
}

TEST_F(FtpHandlers, MkDirMissingBaseDirFails) {
  PointService(1, "sig", "nowhere", 1);
  EXPECT_EQ(Get("nxftpmkdir.cgi", "NxModId=1&NxCgiVer=1&FtpMode=sig").out,
            "No such file or directory.\n" + ErrorPage("nxftpmkdir.cgi", "ftp_mkdirs() ERROR"));
  EXPECT_EQ(ListDir(home_), std::vector<std::string>{});
}

TEST_F(FtpHandlers, MkDirRequestFailures) {
  PointService(1, "sig", "", 1);
  struct Case {
    std::string query;
    std::string message;
  };
  const Case cases[] = {
      {"NxCgiVer=1&FtpMode=sig", "Invaled NxModId = -1"},
      {"NxModId=4&NxCgiVer=1&FtpMode=sig", "Invaled NxModId = 4"},
      {"NxModId=0x10004&NxCgiVer=1&FtpMode=sig", "Invaled NxModId = 4"},
      {"NxModId=1&FtpMode=sig", "Invaled NxCgiVer = 65535"},
      {"NxModId=1&NxCgiVer=3&FtpMode=sig", "Invaled NxCgiVer = 3"},
      {"NxModId=1&NxCgiVer=1&FtpMode=SIG", "Invaled FtpMode = SIG"},
      {"NxModId=1&NxCgiVer=1&FtpMode=sigx", "Invaled FtpMode = sigx"},
      {"NxModId=1&NxCgiVer=1", "Invaled FtpMode = "},
      {"NxModId=1&NxCgiVer=1&FtpMode=", "Invaled FtpMode = "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.query);
    EXPECT_EQ(Get("nxftpmkdir.cgi", c.query).out, ErrorPage("nxftpmkdir.cgi", c.message));
  }
  EXPECT_EQ(ListDir(home_), std::vector<std::string>{});
  // The low 16 bits name the module.
  EXPECT_EQ(Get("nxftpmkdir.cgi", "NxModId=0x10001&NxCgiVer=0x10001&FtpMode=sig").out, kHtmlHeader);
  EXPECT_EQ(ListDir(home_), ftp_peer::Numbered("CAM%d", 1, 6));
}

TEST_F(FtpHandlers, MkDirServiceFileProblems) {
  PointService(1, "sig", "", 1);
  SetService(1, "sig", {"ServerIp="});
  EXPECT_EQ(Get("nxftpmkdir.cgi", "NxModId=1&NxCgiVer=1&FtpMode=sig").out,
            ErrorPage("nxftpmkdir.cgi", "Have no Server Ip ERROR"));
  for (const std::string mode : {"sig", "dur"}) {
    root_.Remove(ServiceFile(2, mode));
    EXPECT_EQ(Get("nxftpmkdir.cgi", "NxModId=2&NxCgiVer=1&FtpMode=" + mode).out,
              ErrorPage("nxftpmkdir.cgi", "LoadSvcCfgFile(2,SSVCID_SFTP) ERROR"))
        << mode;
  }
  // A short file cannot be loaded either.
  root_.WriteFile(ServiceFile(3, "dur"), std::string(100, '\0'));
  EXPECT_EQ(Get("nxftpmkdir.cgi", "NxModId=3&NxCgiVer=1&FtpMode=dur").out,
            ErrorPage("nxftpmkdir.cgi", "LoadSvcCfgFile(3,SSVCID_SFTP) ERROR"));
  EXPECT_EQ(ListDir(home_), std::vector<std::string>{});
}

TEST_F(FtpHandlers, MkDirLoginRefused) {
  PointService(1, "sig", "", 1);
  SetService(1, "sig", {"Passwd=wrong"});
  const auto result = Get("nxftpmkdir.cgi", "NxModId=1&NxCgiVer=1&FtpMode=sig");
  EXPECT_EQ(result.out,
            "Authentication failed.\n" + ErrorPage("nxftpmkdir.cgi", "ftp_make(127.0.0.1,cam,wrong) ERROR"));
  EXPECT_EQ(ListDir(home_), std::vector<std::string>{});
}

TEST_F(FtpHandlers, MkDirRefusesServiceTextsLongerThanTheLoginTexts) {
  PointService(1, "sig", "", 1);
  // ServerIp holds up to 63 characters; the login takes 31.
  const std::string host32 = "127.0.0.1" + std::string(23, '0');
  SetService(1, "sig", {"ServerIp=" + host32});
  EXPECT_EQ(Get("nxftpmkdir.cgi", "NxModId=1&NxCgiVer=1&FtpMode=sig").out,
            ErrorPage("nxftpmkdir.cgi", "ftp_make(" + host32 + ",cam,secret) ERROR"));
  // User and Passwd filled to their last byte have no terminator.
  const std::string user32(32, 'u');
  PointService(1, "sig", "", 1);
  std::string bytes = root_.ReadFile(ServiceFile(1, "sig"));
  bytes.replace(72, 32, user32);
  root_.WriteFile(ServiceFile(1, "sig"), bytes);
  EXPECT_EQ(Get("nxftpmkdir.cgi", "NxModId=1&NxCgiVer=1&FtpMode=sig").out,
            ErrorPage("nxftpmkdir.cgi", "ftp_make(127.0.0.1," + user32 + ",secret) ERROR"));
  // BaseDir filled to its 64th byte.
  PointService(1, "sig", "", 1);
  bytes = root_.ReadFile(ServiceFile(1, "sig"));
  bytes.replace(136, 64, std::string(64, 'b'));
  root_.WriteFile(ServiceFile(1, "sig"), bytes);
  EXPECT_EQ(Get("nxftpmkdir.cgi", "NxModId=1&NxCgiVer=1&FtpMode=sig").out,
            ErrorPage("nxftpmkdir.cgi", "ftp_mkdirs() ERROR"));
  EXPECT_EQ(ListDir(home_), std::vector<std::string>{});
  // 63 characters fit.
  const std::string base63(63, 'b');
  MakeRemoteDir(base63);
  PointService(1, "sig", base63, 4);
  EXPECT_EQ(Get("nxftpmkdir.cgi", "NxModId=1&NxCgiVer=1&FtpMode=sig").out, kHtmlHeader);
  EXPECT_EQ(ListDir(home_ + "/" + base63).size(), 7u);
}

}  // namespace

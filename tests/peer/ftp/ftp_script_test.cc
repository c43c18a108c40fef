// The FTP client against a scripted server that injects faults and records
// the exact commands and bytes it received. Every scenario must leave the
// process with as many descriptors as before.
#include <arpa/inet.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ftp/client/ftp_client.h"
#include "ftp/client/ftp_internal.h"
#include "ftp/ftp_ops.h"
#include "harness/capture.h"
#include "harness/ftp_script_server.h"
#include "platform/sleep.h"

namespace {

using harness::FtpAction;
using harness::FtpRule;
using harness::FtpScriptServer;
using Commands = std::vector<std::string>;

class FtpScriptTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ftp_reset_process_state();
    // Sessions start quiet only when standard input is no terminal, as in
    // the CGI process.
    saved_stdin_ = dup(STDIN_FILENO);
    const int null_input = open("/dev/null", O_RDONLY);
    dup2(null_input, STDIN_FILENO);
    close(null_input);
    descriptors_before_ = harness::CountOpenDescriptors();
    char dir_template[] = "/tmp/nxcgi-ftp-XXXXXX";
    ASSERT_NE(mkdtemp(dir_template), nullptr);
    dir_ = dir_template;
  }
  void TearDown() override {
    server_.reset();
    std::system(("rm -rf " + dir_).c_str());
    EXPECT_EQ(harness::CountOpenDescriptors(), descriptors_before_) << "descriptors leaked";
    dup2(saved_stdin_, STDIN_FILENO);
    close(saved_stdin_);
  }

  FtpScriptServer& Server(std::string greeting = "220 Scripted server ready\r\n") {
    server_ = std::make_unique<FtpScriptServer>(std::move(greeting));
    return *server_;
  }
  // A connected session (login per autologin), not yet in binary type.
  ftp_session* Open(int autologin = 1, const char* password = "secret") {
    ftp_session* s = ftp_create(0, autologin, 0, server_->port());
    if (s == nullptr) return nullptr;
    open_result_ = ftp_open(s, "127.0.0.1", "cam", password, nullptr);
    return s;
  }
  const Commands& Finish() {
    server_->Stop();
    return server_->commands();
  }
  std::string LocalPath(const std::string& name) const { return dir_ + "/" + name; }

  std::unique_ptr<FtpScriptServer> server_;
  std::string dir_;
  int open_result_ = 0;
  int descriptors_before_ = 0;
  int saved_stdin_ = -1;
};

std::string ReadFile(const std::string& path) { return harness::ReadWholeFile(path); }

TEST_F(FtpScriptTest, LoginSendsUserPassAndBinaryType) {
  Server();
  ftp_session* s = nullptr;
  const auto out =
      harness::CaptureStdio([&] { s = ftp_make("127.0.0.1", "cam", "secret", server_->port()); });
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->type, kFtpTypeImage);
  EXPECT_EQ(s->cur_type, kFtpTypeImage);
  EXPECT_STREQ(s->type_name, "binary");
  ftp_close(s);
  EXPECT_EQ(Finish(), (Commands{"USER cam", "PASS secret", "TYPE I", "QUIT"}));
  EXPECT_EQ(out.out, "");
  EXPECT_EQ(out.err, "");
}

TEST_F(FtpScriptTest, MultiLineRepliesAreOneReply) {
  Server("220-Welcome\r\n inner line without code\r\n220-still going\r\n220 Ready\r\n")
      .AddRule({"HELP", "214-The following commands\r\n USER PASS\r\n214 Help OK\r\n"});
  ftp_session* s = Open(0);
  ASSERT_EQ(open_result_, 1);
  s->verbose = 1;
  int reply = 0;
  const auto out = harness::CaptureStdio([&] { reply = ftp_command(s, "HELP\r\n"); });
  EXPECT_EQ(reply, 2);
  EXPECT_EQ(s->reply_code, 214);
  EXPECT_EQ(out.out, "214-The following commands\n USER PASS\n214 Help OK\n");
  s->verbose = 0;
  ftp_close(s);
  EXPECT_EQ(Finish(), (Commands{"HELP", "QUIT"}));
}

TEST_F(FtpScriptTest, TelnetOptionsAreRefused) {
  Server("220 Hel\xff\xfd\x01lo\xff\xfb\x03\r\n");
  ftp_session* s = Open();
  ASSERT_EQ(open_result_, 1);
  ftp_close(s);
  Finish();
  // IAC DO 1 -> IAC WONT 1; IAC WILL 3 -> IAC DONT 3, before anything else.
  EXPECT_EQ(server_->raw().substr(0, 11), std::string("\xff\xfc\x01\xff\xfe\x03USER "));
}

TEST_F(FtpScriptTest, FiveSecondsOfSilenceLookLikeALostServer) {
  Server().AddRule({"NOOP", "", FtpAction::kSilence});
  ftp_session* s = Open();
  ASSERT_EQ(open_result_, 1);
  ASSERT_EQ(ftp_data_init(s), 0);  // a listening data socket
  ASSERT_GE(s->data_fd, 0);
  int reply = 0;
  const auto out = harness::CaptureStdio([&] { reply = ftp_command(s, "NOOP\r\n"); });
  EXPECT_EQ(reply, 4);
  EXPECT_EQ(s->reply_code, 421);
  EXPECT_EQ(s->data_fd, -1);
  EXPECT_TRUE(out.err.starts_with("ftplib_glob[")) << out.err;
  EXPECT_TRUE(out.err.ends_with("]:sgetc() error\n")) << out.err;
  EXPECT_EQ(s->connected, 1);  // the control socket stays
  ftp_close(s);
  const Commands& commands = Finish();
  ASSERT_EQ(commands.size(), 5u);
  EXPECT_EQ(commands[3], "NOOP");
}

TEST_F(FtpScriptTest, ServerClosingWith421) {
  Server().AddRule({"CWD", "421 Service closing control connection\r\n", FtpAction::kDrop});
  ftp_session* s = Open();
  ASSERT_EQ(open_result_, 1);
  s->verbose = 1;
  int result = 1;
  int quit = 1;
  const auto out = harness::CaptureStdio([&] {
    result = ftp_cwd(s, "pub");
    quit = ftp_quit(s);
  });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(quit, 0);  // QUIT reads a closed connection
  EXPECT_EQ(s->reply_code, 221);
  EXPECT_EQ(out.out, "421 Service closing control connection\n");
  ftp_free(s);
  EXPECT_EQ(Finish(), (Commands{"USER cam", "PASS secret", "CWD pub"}));
}

TEST_F(FtpScriptTest, GreetingRefusedMakesNoSession) {
  Server("421 Too many users\r\n");
  ftp_session* s = nullptr;
  const auto out =
      harness::CaptureStdio([&] { s = ftp_make("127.0.0.1", "cam", "secret", server_->port()); });
  EXPECT_EQ(s, nullptr);
  EXPECT_EQ(Finish(), Commands{});
}

TEST_F(FtpScriptTest, QuitCutOffReadsAsExpectedEnd) {
  Server().AddRule({"QUIT", "", FtpAction::kDrop});
  ftp_session* s = Open();
  ASSERT_EQ(open_result_, 1);
  s->verbose = 1;
  int result = 1;
  const auto out = harness::CaptureStdio([&] { result = ftp_disconnect(s); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(s->reply_code, 221);
  EXPECT_EQ(s->connected, 0);
  EXPECT_EQ(out.out, "");
  ftp_free(s);
  EXPECT_EQ(Finish(), (Commands{"USER cam", "PASS secret", "QUIT"}));
}

TEST_F(FtpScriptTest, PortRefusedFallsBackOnceThenSendsPortAgain) {
  FtpScriptServer& server = Server();
  server.AddRule({"PORT", "500 PORT not understood\r\n"});
  server.AddRule({"PORT", "200 PORT ok\r\n"});
  server.AddRule({"PORT", "500 PORT not understood\r\n"});
  server.set_data("payload");
  ftp_session* s = ftp_make("127.0.0.1", "cam", "secret", server.port());
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->use_port_cmd, -1);
  int first = 0;
  int second = 0;
  int third = 0;
  harness::CaptureStdio([&] {
    // Without PORT the data socket would need the control connection's
    // own port, which is taken: this transfer cannot start.
    first = getfile(s, LocalPath("one").c_str(), "one");
    second = getfile(s, LocalPath("two").c_str(), "two");
    third = getfile(s, LocalPath("three").c_str(), "three");
  });
  EXPECT_EQ(first, -1);
  EXPECT_EQ(second, 0);
  EXPECT_EQ(ReadFile(LocalPath("two")), "payload");
  EXPECT_EQ(third, -1);
  EXPECT_EQ(s->use_port_cmd, 1);
  ftp_close(s);
  const Commands& commands = Finish();
  ASSERT_EQ(commands.size(), 8u);
  EXPECT_TRUE(commands[3].starts_with("PORT 127,0,0,1,"));
  EXPECT_TRUE(commands[4].starts_with("PORT 127,0,0,1,"));
  EXPECT_EQ(commands[5], "RETR two");
  EXPECT_TRUE(commands[6].starts_with("PORT 127,0,0,1,"));
  EXPECT_EQ(commands[7], "QUIT");
}

struct MkdCase {
  const char* reply;
  int result;
  Commands tail;
};

TEST_F(FtpScriptTest, MkdFallsBackToXmkdOnlyOn500) {
  const MkdCase cases[] = {
      {"500 MKD not understood\r\n", 1, {"MKD CAM1", "XMKD CAM1", "QUIT"}},
      {"550 CAM1: File exists\r\n", 0, {"MKD CAM1", "QUIT"}},
      {"502 Not implemented\r\n", 0, {"MKD CAM1", "QUIT"}},
  };
  for (const MkdCase& c : cases) {
    Server().AddRule({"MKD", c.reply});
    ftp_session* s = Open();
    ASSERT_EQ(open_result_, 1);
    int result = -1;
    const auto out = harness::CaptureStdio([&] { result = ftp_mkd(s, "CAM1"); });
    EXPECT_EQ(result, c.result) << c.reply;
    ftp_close(s);
    Commands expected{"USER cam", "PASS secret"};
    expected.insert(expected.end(), c.tail.begin(), c.tail.end());
    EXPECT_EQ(Finish(), expected);
    // With verbose 0 only class 5 texts are shown, from the fifth byte on.
    const std::string reply = c.reply;
    EXPECT_EQ(out.out, reply.substr(4, reply.size() - 6) + "\n");
  }
}

TEST_F(FtpScriptTest, PassiveReplyIsCapturedWithoutParentheses) {
  Server().AddRule({"PASV", "227 Entering Passive Mode (10,0,0,5,4,1).\r\n"});
  ftp_session* s = Open();
  ASSERT_EQ(open_result_, 1);
  EXPECT_EQ(ftp_command(s, "PASV\r\n"), 2);
  EXPECT_STREQ(s->pasv_text, "10,0,0,5,4,1");
  ftp_close(s);
  Finish();
}

TEST_F(FtpScriptTest, ActiveServerThatNeverConnectsIsAborted) {
  FtpScriptServer& server = Server();
  server.AddRule({"RETR", "150 Opening data connection\r\n", FtpAction::kNeverConnect});
  ftp_session* s = ftp_make("127.0.0.1", "cam", "secret", server.port());
  ASSERT_NE(s, nullptr);
  timeval start{};
  timeval stop{};
  int result = -1;
  harness::CaptureStdio([&] {
    gettimeofday(&start, nullptr);
    result = getfile(s, LocalPath("never").c_str(), "never");
    gettimeofday(&stop, nullptr);
  });
  const double elapsed =
      static_cast<double>(stop.tv_sec - start.tv_sec) + (stop.tv_usec - start.tv_usec) / 1e6;
  EXPECT_EQ(result, 0);  // counts as done for a caller testing for < 0
  EXPECT_EQ(s->reply_code, -1);
  EXPECT_EQ(s->data_fd, -1);
  EXPECT_GT(elapsed, 1.9);
  EXPECT_LT(elapsed, 4.0);
  ftp_close(s);
  const Commands& commands = Finish();
  ASSERT_EQ(commands.size(), 7u);
  EXPECT_EQ(commands[4], "RETR never");
  EXPECT_EQ(commands[5], "ABOR");
  const std::string abort_bytes(
      "\xff\xf4\xff\xf2"
      "ABOR\r\n");
  const std::size_t at = server.raw().find(abort_bytes);
  ASSERT_NE(at, std::string::npos);
  // The urgent byte is the second IAC: the mark sits right before it.
  ASSERT_EQ(server.urgent_marks().size(), 1u);
  EXPECT_EQ(server.urgent_marks()[0], at + 2);
}

TEST_F(FtpScriptTest, UserAccepted230SendsNoPassword) {
  Server().AddRule({"USER", "230 No password needed\r\n"});
  ftp_session* s = nullptr;
  s = ftp_make("127.0.0.1", "anonymous", "x", server_->port());
  ASSERT_NE(s, nullptr);
  ftp_close(s);
  EXPECT_EQ(Finish(), (Commands{"USER anonymous", "TYPE I", "QUIT"}));
}

TEST_F(FtpScriptTest, PasswordWantedButNoneGivenFailsSilently) {
  Server();
  ftp_session* s = ftp_create(0, 1, 0, server_->port());
  ASSERT_NE(s, nullptr);
  int result = 1;
  const auto out = harness::CaptureStdio([&] { result = ftp_open(s, "127.0.0.1", "cam", nullptr, nullptr); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(out.err, "");
  ftp_close(s);
  EXPECT_EQ(Finish(), (Commands{"USER cam", "QUIT"}));
}

TEST_F(FtpScriptTest, AsciiReceiveTurnsCrLfIntoLfAndCountsBareLinefeeds) {
  for (const int strip : {1, 0}) {
    FtpScriptServer& server = Server();
    server.set_data("A\r\nB\nC");
    ftp_session* s = Open();  // ASCII type after login
    ASSERT_EQ(open_result_, 1);
    s->strip_cr = strip;
    const std::string local = LocalPath(strip ? "stripped" : "kept");
    int result = -1;
    const auto out = harness::CaptureStdio([&] { result = getfile(s, local.c_str(), "text"); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(ReadFile(local), strip ? "A\nB\nC" : "A\r\nB\nC");
    EXPECT_EQ(out.out,
              "WARNING! 1 bare linefeeds received in ASCII mode\n"
              "File may not have transferred correctly.\n");
    ftp_close(s);
    const Commands& commands = Finish();
    ASSERT_EQ(commands.size(), 5u);
    EXPECT_EQ(commands[3], "RETR text");  // no TYPE: ASCII already
  }
}

TEST_F(FtpScriptTest, RepliesOneBytePerSegment) {
  FtpScriptServer& server = Server("220-Slow\r\n220 server\r\n");
  server.set_byte_per_segment(true);
  server.set_data(std::string(100000, 'x'));
  ftp_session* s = ftp_make("127.0.0.1", "cam", "secret", server.port());
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(ftp_mkd(s, "CAM1"), 1);
  EXPECT_EQ(s->reply_code, 257);
  EXPECT_EQ(getfile(s, LocalPath("big").c_str(), "big"), 0);
  EXPECT_EQ(ReadFile(LocalPath("big")), std::string(100000, 'x'));
  ftp_close(s);
  EXPECT_EQ(Finish().size(), 7u);
}

TEST_F(FtpScriptTest, PutMemSendsTheBlockExactly) {
  FtpScriptServer& server = Server();
  ftp_session* s = ftp_make("127.0.0.1", "cam", "secret", server.port());
  ASSERT_NE(s, nullptr);
  static const char kBlock[] = "helloftp\r\n";
  EXPECT_EQ(ftp_put_mem(s, 0, kBlock, 10, "helloftp.txt"), 1);
  EXPECT_EQ(ftp_put_mem(s, 'a', kBlock, 0, "empty.txt"), 0);
  ftp_close(s);
  const Commands& commands = Finish();
  EXPECT_EQ(server.stored(), "helloftp\r\n");
  ASSERT_EQ(commands.size(), 8u);
  EXPECT_EQ(commands[4], "STOR helloftp.txt");
  EXPECT_EQ(commands[6], "APPE empty.txt");
}

TEST_F(FtpScriptTest, MemoryNameKeepsTheWholeAddress) {
  FtpScriptServer& server = Server();
  ftp_session* s = ftp_make("127.0.0.1", "cam", "secret", server.port());
  ASSERT_NE(s, nullptr);
  // A heap block: on 64-bit hosts its address needs more than 32 bits.
  char* block = static_cast<char*>(std::malloc(5));
  std::memcpy(block, "abcde", 5);
  char name[kFtpMemNameSize];
  ftp_mem_name(name, block, 5);
  EXPECT_EQ(ftp_send(s, "STOR", name, "mem.bin", 0), 1);
  // A text that names no block is refused.
  EXPECT_EQ(ftp_send(s, "STOR", "+nonsense", "bad.bin", 0), 0);
  EXPECT_EQ(s->reply_code, -1);
  std::free(block);
  ftp_close(s);
  Finish();
  EXPECT_EQ(server.stored(), "abcde");
}

TEST_F(FtpScriptTest, OverlongCommandIsRefusedNotCut) {
  Server();
  ftp_session* s = Open();
  ASSERT_EQ(open_result_, 1);
  const std::string dir(300, 'd');
  EXPECT_EQ(ftp_command(s, "MKD %s\r\n", dir.c_str()), 0);
  EXPECT_EQ(s->reply_code, -1);
  EXPECT_EQ(ftp_mkd(s, dir.c_str()), 0);
  ftp_close(s);
  EXPECT_EQ(Finish(), (Commands{"USER cam", "PASS secret", "QUIT"}));
}

TEST_F(FtpScriptTest, PassiveDownloadUsesTheAnnouncedAddress) {
  FtpScriptServer& server = Server();
  server.set_data("passive bytes");
  ftp_session* s = ftp_create(1, 1, 0, server.port());
  ASSERT_NE(s, nullptr);
  ASSERT_EQ(ftp_open(s, "127.0.0.1", "cam", "secret", nullptr), 1);
  ASSERT_EQ(ftp_binary(s), 1);
  EXPECT_EQ(getfile(s, LocalPath("p").c_str(), "p"), 0);
  EXPECT_EQ(ReadFile(LocalPath("p")), "passive bytes");
  ftp_close(s);
  const Commands& commands = Finish();
  ASSERT_EQ(commands.size(), 6u);
  EXPECT_EQ(commands[3], "PASV");
  EXPECT_EQ(commands[4], "RETR p");
}

TEST_F(FtpScriptTest, MissingLocalDirectoryFailsBeforeAnyTransfer) {
  Server();
  ftp_session* s = ftp_make("127.0.0.1", "cam", "secret", server_->port());
  ASSERT_NE(s, nullptr);
  int result = 0;
  const std::string local = LocalPath("missing/file");
  const auto out = harness::CaptureStdio([&] { result = getfile(s, local.c_str(), "file"); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(out.err, "local: " + LocalPath("missing") + ": No such file or directory\n");
  ftp_close(s);
  EXPECT_EQ(Finish(), (Commands{"USER cam", "PASS secret", "TYPE I", "QUIT"}));
}

TEST_F(FtpScriptTest, UniqueNamesCountUpToTen) {
  const std::string base = LocalPath("x");
  close(creat(base.c_str(), 0644));
  EXPECT_EQ(std::string(ftp_unique_name(base.c_str())), base + ".1");
  for (int n = 1; n <= 9; ++n) close(creat((base + "." + std::to_string(n)).c_str(), 0644));
  EXPECT_EQ(std::string(ftp_unique_name(base.c_str())), base + ".10");
  const auto out =
      harness::CaptureStdio([&] { EXPECT_EQ(ftp_unique_name((dir_ + "/no/x").c_str()), nullptr); });
  EXPECT_EQ(out.err, "local: " + dir_ + "/no: No such file or directory\n");
}

TEST_F(FtpScriptTest, ReceiveUniqueNeverOverwrites) {
  FtpScriptServer& server = Server();
  server.set_data("new");
  const std::string local = LocalPath("keep");
  close(creat(local.c_str(), 0644));
  ftp_session* s = ftp_make("127.0.0.1", "cam", "secret", server.port());
  ASSERT_NE(s, nullptr);
  s->recv_unique = 1;
  EXPECT_EQ(getfile(s, local.c_str(), "keep"), 0);
  EXPECT_EQ(ReadFile(local), "");
  EXPECT_EQ(ReadFile(local + ".1"), "new");
  ftp_close(s);
  Finish();
}

TEST_F(FtpScriptTest, ControlPortDefaultsToTheServicesEntry) {
  ftp_session* s = ftp_create(0, 1, 0, 0);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(ntohs(s->ctrl_port), 21);
  EXPECT_EQ(s->data_fd, -1);
  EXPECT_EQ(s->use_port_cmd, -1);
  EXPECT_EQ(s->strip_cr, 1);
  ftp_free(s);
  s = ftp_create(1, 1, 4000, 2121);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(ntohs(s->ctrl_port), 2121);
  EXPECT_EQ(s->fixed_data_port, 0);  // only in active mode
  ftp_free(s);
}

TEST_F(FtpScriptTest, MkdirsStopsAtTheFirstRefusal) {
  FtpScriptServer& server = Server();
  server.AddRule({"MKD", "257 ok\r\n"});
  server.AddRule({"MKD", "550 exists\r\n"});
  ftp_session* s = ftp_make("127.0.0.1", "cam", "secret", server.port());
  ASSERT_NE(s, nullptr);
  int result = 0;
  harness::CaptureStdio([&] { result = ftp_mkdirs(s, "base/dir", 16); });
  EXPECT_EQ(result, -1);
  ftp_close(s);
  EXPECT_EQ(Finish(),
            (Commands{"USER cam", "PASS secret", "TYPE I", "CWD base/dir", "MKD 1st", "MKD 2nd", "QUIT"}));
}

}  // namespace

namespace {

TEST_F(FtpScriptTest, ListingSwitchesToAsciiAndWritesToStandardOutput) {
  FtpScriptServer& server = Server();
  server.set_data("a.jpg\r\nb.jpg\r\n");
  ftp_session* s = ftp_make("localhost", "cam", "secret", server.port());
  ASSERT_NE(s, nullptr);
  int result = -1;
  const auto out = harness::CaptureStdio([&] { result = ftp_recv(s, "NLST", "-", nullptr, "w", 0); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(out.out, "a.jpg\nb.jpg\n");
  EXPECT_EQ(s->cur_type, kFtpTypeAscii);
  EXPECT_EQ(s->type, kFtpTypeImage);
  ftp_close(s);
  const Commands& commands = Finish();
  ASSERT_EQ(commands.size(), 7u);
  EXPECT_EQ(commands[3], "TYPE A");
  EXPECT_EQ(commands[5], "NLST");
}

TEST_F(FtpScriptTest, DebugEchoHidesThePassword) {
  Server();
  ftp_session* s = ftp_create(0, 1, 0, server_->port());
  ASSERT_NE(s, nullptr);
  s->debug = 1;
  const auto out =
      harness::CaptureStdio([&] { EXPECT_EQ(ftp_open(s, "127.0.0.1", "cam", "secret", nullptr), 1); });
  EXPECT_EQ(out.out, "---> USER cam\r\n\n---> PASS XXXX\n");
  s->debug = 0;
  const auto again =
      harness::CaptureStdio([&] { EXPECT_EQ(ftp_open(s, "127.0.0.1", "cam", "x", nullptr), 0); });
  EXPECT_EQ(again.out, "Already connected to 127.0.0.1, use close first.\n");
  EXPECT_EQ(s->reply_code, -1);
  ftp_close(s);
  Finish();
}

TEST_F(FtpScriptTest, RefusedConnectionFailsWithTheSystemText) {
  int port = 0;
  {
    FtpScriptServer& server = Server();
    port = server.port();
    server_.reset();  // nobody listens on the port any more
  }
  ftp_session* s = nullptr;
  const auto out = harness::CaptureStdio([&] { s = ftp_make("127.0.0.1", "cam", "secret", port); });
  EXPECT_EQ(s, nullptr);
  EXPECT_EQ(out.err, "ftp: connect: Connection refused\n");
}

}  // namespace

namespace {

std::vector<unsigned long long> g_pauses;
void RecordPause(unsigned long long microseconds) { g_pauses.push_back(microseconds); }

TEST_F(FtpScriptTest, ThirdPartyTransferBetweenTwoServers) {
  FtpScriptServer& primary = Server();
  FtpScriptServer secondary;
  secondary.set_data("moved directly");
  ftp_session* s = ftp_make("127.0.0.1", "cam", "secret", primary.port());
  ASSERT_NE(s, nullptr);
  ftp_switch_conn(s, 1);
  s->ctrl_port = htons(static_cast<uint16_t>(secondary.port()));
  ASSERT_EQ(ftp_open(s, "127.0.0.1", "cam", "secret", nullptr), 1);
  ASSERT_EQ(ftp_binary(s), 1);
  s->verbose = 0;
  g_pauses.clear();
  platform::SetSleeper(RecordPause);
  int result = 0;
  const auto out = harness::CaptureStdio([&] { result = getfile(s, "copy.bin", "original.bin"); });
  platform::SetSleeper(nullptr);
  EXPECT_EQ(result, -1);  // a receive through the secondary never counts as local
  EXPECT_EQ(out.out, "local: copy.bin remote: original.bin\n");
  EXPECT_EQ(g_pauses, std::vector<unsigned long long>{2000000});
  ftp_switch_conn(s, 0);
  ftp_close(s);
  secondary.Stop();
  const Commands& commands = Finish();
  EXPECT_EQ(primary.stored(), "moved directly");
  ASSERT_EQ(commands.size(), 6u);
  EXPECT_TRUE(commands[3].starts_with("PORT 127,0,0,1,"));
  EXPECT_EQ(commands[4], "STOR copy.bin");
  const Commands& other = secondary.commands();
  ASSERT_EQ(other.size(), 6u);
  EXPECT_EQ(other[3], "PASV");
  EXPECT_EQ(other[4], "RETR original.bin");
}

}  // namespace

// A host name with two addresses, the first of which refuses connections,
// cannot be had from the system's resolver here; this name stands for one.
// Every other name goes to the real resolver.
namespace {

constexpr const char* kTwoAddressHost = "two-addresses.ftp.test";

}  // namespace

extern "C" hostent* gethostbyname(const char* name) {
  if (std::strcmp(name, kTwoAddressHost) == 0) {
    static in_addr addresses[2];
    static char* list[3];
    static char official[] = "two-addresses.ftp.test";
    static hostent entry;
    inet_aton("127.0.0.2", &addresses[0]);  // nothing listens there
    inet_aton("127.0.0.1", &addresses[1]);
    list[0] = reinterpret_cast<char*>(&addresses[0]);
    list[1] = reinterpret_cast<char*>(&addresses[1]);
    list[2] = nullptr;
    entry.h_name = official;
    entry.h_aliases = &list[2];
    entry.h_addrtype = AF_INET;
    entry.h_length = sizeof(in_addr);
    entry.h_addr_list = list;
    return &entry;
  }
  using Resolver = hostent* (*)(const char*);
  static const auto real = reinterpret_cast<Resolver>(dlsym(RTLD_NEXT, "gethostbyname"));
  return real(name);
}

namespace {

TEST_F(FtpScriptTest, EachAddressOfAHostNameIsTried) {
  Server();
  ftp_session* s = ftp_create(0, 1, 0, server_->port());
  ASSERT_NE(s, nullptr);
  int result = 0;
  const auto out =
      harness::CaptureStdio([&] { result = ftp_open(s, kTwoAddressHost, "cam", "secret", nullptr); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(out.err, "ftp: connect to address 127.0.0.2: Connection refused\n");
  EXPECT_EQ(out.out, "Trying 127.0.0.1...\n");
  EXPECT_STREQ(s->host_name, kTwoAddressHost);
  ftp_close(s);
  EXPECT_EQ(Finish(), (Commands{"USER cam", "PASS secret", "QUIT"}));
}

}  // namespace

namespace {

TEST_F(FtpScriptTest, UploadRestartSendsTheRestAndIsUsedOnce) {
  FtpScriptServer& server = Server();
  server.AddRule({"REST", "350 Restarting at 4\r\n"});
  ftp_session* s = ftp_make("127.0.0.1", "cam", "secret", server.port());
  ASSERT_NE(s, nullptr);
  static const char kBlock[] = "0123456789";
  s->restart_offset = 4;
  EXPECT_EQ(ftp_put_mem(s, 0, kBlock, 10, "part.bin"), 1);
  EXPECT_EQ(s->restart_offset, 0);
  ftp_close(s);
  const Commands& commands = Finish();
  EXPECT_EQ(server.stored(), "456789");
  ASSERT_EQ(commands.size(), 7u);
  EXPECT_EQ(commands[4], "REST 4");
  EXPECT_EQ(commands[5], "STOR part.bin");
}

}  // namespace

// The FTP client against a scripted server, one row a scenario: what the
// server answers, what the client does, the commands the server received and
// what the client reported. Then the FTP handlers through the real executable
// against the simulator's FTP server (sim/devices.py ftpd, pyftpdlib).
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "ftp/client/ftp_internal.h"
#include "ftp/ftp_ops.h"
#include "harness/cgi_case.h"
#include "harness/device_root.h"
#include "harness/ftp_script_server.h"
#include "harness/in_process.h"
#include "harness/process.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace harness;  // NOLINT: the test is written in the harness's terms
using Names = std::set<std::string>;

// --- The client against the scripted server ----------------------------------

// A row's client steps, blank-separated, run on a fresh session (not
// connected, verbose 0) with a device root as the host root. Each adds what
// it returns to the row's result: login (ftp_open, ftp_binary), open
// (ftp_open alone), mkd:DIR, cwd:DIR, cmd:LINE, get:NAME and read:NAME (a
// file of the root's /tmp), make:NAME (writes "old" into NAME and NAME.1 to
// NAME.98 there), nlst (to standard output), put:NAME=BYTES,
// appe:NAME=BYTES, data (ftp_data_init), quit, and a field of the session;
// FIELD=N sets the field (restart=N the restart offset, deadline=N the
// seconds the session may take from its creation) and adds nothing.
const std::map<std::string, int ftp_session::*> kFields = {
    {"verbose", &ftp_session::verbose},           {"debug", &ftp_session::debug},
    {"deadline", &ftp_session::deadline_seconds}, {"passive", &ftp_session::passive},
    {"strip_cr", &ftp_session::strip_cr},         {"code", &ftp_session::reply_code},
    {"recv_unique", &ftp_session::recv_unique},   {"fd", &ftp_session::data_fd},
    {"connected", &ftp_session::connected},       {"cur_type", &ftp_session::cur_type},
    {"port_cmd", &ftp_session::use_port_cmd}};

std::string Step(ftp_session* s, const std::string& op, const std::string& arg, const DeviceRoot& root) {
  const std::string local = "/tmp/" + arg, name = arg.substr(0, arg.find('=')),
                    bytes = arg.substr(arg.find('=') + 1);
  if (kFields.contains(op)) return std::to_string(s->*kFields.at(op));
  if (op == "read") return root.Read(local);
  int result = 0;
  if (op == "login" || op == "open")
    result = ftp_open(s, "127.0.0.1", "cam", "secret", nullptr) && (op == "open" || ftp_binary(s));
  if (op == "mkd" || op == "cwd") result = (op == "mkd" ? ftp_mkd : ftp_cwd)(s, arg.c_str());
  if (op == "cmd") result = ftp_command(s, "%s\r\n", arg.c_str());
  if (op == "get") result = getfile(s, local.c_str(), arg.c_str());
  for (int n = 0; n < 99 && op == "make"; ++n)
    root.Write(local + (n > 0 ? "." + std::to_string(n) : ""), "old");
  if (op == "nlst") result = ftp_recv(s, "NLST", "-", nullptr, "w", 0);
  if (op == "data" || op == "quit") result = (op == "data" ? ftp_data_init : ftp_quit)(s);
  if (op == "put" || op == "appe")
    result = ftp_put_mem(s, op == "appe" ? 'a' : 0, bytes.data(), bytes.size(), name.c_str());
  return std::to_string(result);
}

// The row's steps on a fresh session with the server at the port.
int RunSteps(int port, const std::string& steps, const DeviceRoot& root, std::string& result) {
  ftp_session* s = ftp_create(0, 1, 0, port);
  s->verbose = 0;
  std::istringstream in(steps);
  for (std::string step; std::getline(in, step, ' ');) {
    const std::size_t cut = step.find_first_of(":=");
    const std::string op = step.substr(0, cut), arg = cut == step.npos ? "" : step.substr(cut + 1);
    if (cut != step.npos && step[cut] == '=')
      op == "restart" ? void(s->restart_offset = std::stol(arg)) : void(s->*kFields.at(op) = std::stoi(arg));
    else
      result += " " + Step(s, op, arg, root);
  }
  ftp_close(s);
  result.erase(0, 1);
  return 0;
}

struct ClientRow {
  const char* name;
  FtpScript script;
  std::string steps;
  std::string sent;  // the commands, each ended by "|"; "PORT 127,0,0,1" stands for any PORT to this host
  std::string result;
  std::string out;     // standard output, then standard error ("[]" for a line number)
  std::string stored;  // what the server received in uploads
};
ClientRow C(const char* name, const FtpScript& script, const std::string& steps, const std::string& sent,
            const std::string& result, const std::string& out = "", const std::string& stored = "") {
  return {name, script, steps, sent, result, out, stored};
}
void PrintTo(const ClientRow& row, std::ostream* out) { *out << row.name; }

const std::string kPort = "PORT 127,0,0,1", kP = kPort + "|";
const std::string kIn = "USER cam|PASS secret|TYPE I|";  // the commands of login

const std::string kLost = "ftplib_glob[]:sgetc() error\n";
// A greeting a byte every `ms`, whole only after the row's deadline: each wait
// restarts with every byte, the deadline ends the session all the same.
ClientRow Late(const char* name, const std::string& greeting, int ms) {
  return C(name, {greeting, {}, {}, ms}, "deadline=2 login", "", "0", kLost);
}
const ClientRow kClientRows[] = {
    // The client refuses the Telnet options the server asks for (DO 1, WILL 3);
    // the reply it echoes into the page is escaped and cut at 1 KiB.
    C("MultiLineRepliesAreOneReplyAndTelnetOptionsAreRefused",
      {"220-Wel\377\375\001come\r\n inner line\r\n220-still going\r\n220 Re\377\373\003ady\r\n",
       {{"HELP", "214-Commands: <b>&" + std::string(1100, 'x') + "\r\n USER PASS\r\n214 Help OK\r\n"}}},
      "login verbose=1 cmd:HELP code verbose=0", "\377\374\001\377\376\003" + kIn + "HELP|QUIT|", "1 2 214",
      "214-Commands: &lt;b&gt;&amp;" + std::string(1006, 'x') + "\n\n\n"),
    C("FiveSecondsOfSilenceLookLikeALostServer", {.rules = {{"NOOP", "", FtpAct::kSilent}}},
      "login data cmd:NOOP code fd connected", kIn + kP + "NOOP|QUIT|", "1 0 4 421 -1 1", kLost),
    Late("TricklingGreetingEndsAtTheDeadline", "220 \r\n", 1000),
    Late("EndlessContinuationEndsAtTheDeadline", "220-" + std::string(120, '\n') + "220 \r\n", 50),
    Late("EndlessReplyLineEndsAtTheDeadline", "220 " + std::string(120, 'x') + "\r\n", 50),
    C("SilentDataConnectionEndsAtTheDeadline", {.rules = {{"RETR", "150 Sending\r\n", FtpAct::kNoData}}},
      "deadline=2 passive=1 login get:x", kIn + "PASV|RETR x|QUIT|", "1 -1",
      "netin: Connection timed out\n" + kLost + kLost),
    C("ServerClosingWith421",
      {.rules = {{"CWD", "421 Service closing control connection\r\n", FtpAct::kDrop}}},
      "login verbose=1 cwd:pub quit code verbose=0", kIn + "CWD pub|", "1 0 0 221",
      "421 Service closing control connection\n"),
    C("GreetingRefusedMakesNoSession", {"421 Too many users\r\n"}, "login", "", "0"),
    C("DebugEchoHidesThePassword", {}, "debug=1 open debug=0 open code", "USER cam|PASS secret|QUIT|",
      "1 0 -1", "---> USER cam\r\n\n---> PASS XXXX\nAlready connected to 127.0.0.1, use close first.\n"),
    // Only a 500 is retried as XMKD; an overlong command is not sent at all.
    C("MkdFallsBackToXmkdOn500Only",
      {.rules = {{"MKD", "500 MKD not understood\r\n"}, {"MKD", "550 CAM2: File exists\r\n"}}},
      "login mkd:CAM1 code mkd:CAM2 code mkd:" + std::string(300, 'd') + " code",
      kIn + "MKD CAM1|XMKD CAM1|MKD CAM2|QUIT|", "1 1 200 0 550 0 -1",
      "MKD not understood\nCAM2: File exists\n"),
    // Without PORT the data socket would need the control connection's own
    // port, which is taken: the first transfer cannot start.
    C("PortRefusedFallsBackOnceThenSendsPortAgain",
      {.rules = {{"PORT", "500 PORT not understood\r\n"}, {"PORT", "200 ok\r\n"}, {"PORT", "500 no\r\n"}},
       .data = "payload"},
      "login get:one get:two read:two get:three port_cmd", kIn + kP + kP + "RETR two|" + kP + "QUIT|",
      "1 -1 0 payload -1 1", "PORT not understood\nno\nftp: bind: Address already in use\n"),
    C("ActiveServerThatNeverConnectsIsAborted",
      {.rules = {{"RETR", "150 Opening data connection\r\n", FtpAct::kNoData}}}, "login get:never code fd",
      kIn + kP + "RETR never|\377\364<urgent>\377\362ABOR|QUIT|",
      "1 0 -1 -1"),  // IAC IP, IAC DM
    C("ActiveDataFromElsewhereIsRefused", {.rules = {{"RETR", "150 \r\n", FtpAct::kIntrude}}, .data = "ok"},
      "login get:f read:f", kIn + kP + "RETR f|QUIT|", "1 0 ok", "ftp: data from 127.0.0.2 refused\n"),
    C("PassiveAsciiReceiveTurnsCrLfIntoLfAndCountsBareLinefeeds", {.data = "A\r\nB\nC"},
      "passive=1 open get:strip strip_cr=0 get:keep read:strip read:keep",
      "USER cam|PASS secret|PASV|RETR strip|PASV|RETR keep|QUIT|", "1 0 0 A\nB\nC A\r\nB\nC",
      "WARNING! 1 bare linefeeds received in ASCII mode\nFile may not have transferred correctly.\n"
      "WARNING! 1 bare linefeeds received in ASCII mode\nFile may not have transferred correctly.\n"),
    // keep, keep.1 to keep.98 exist: the download goes to keep.99, the next
    // one finds no name.
    C("ReceiveUniqueNeverOverwritesAndCountsUpTo99", {.data = "new"},
      "login make:keep recv_unique=1 get:keep get:keep read:keep read:keep.99", kIn + kP + "RETR keep|QUIT|",
      "1 0 0 -1 old new", "runique: can't find unique file name.\n"),
    C("ListingSwitchesToAsciiAndWritesToStandardOutput", {.data = "a.jpg\r\nb.jpg\r\n"},
      "login nlst cur_type", kIn + "TYPE A|" + kP + "NLST|QUIT|", "1 0 1", "a.jpg\nb.jpg\n"),
    C("UploadsSendBlocksFromTheRestartPointOnce", {},
      "login put:hello.txt=helloftp\r\n restart=4 appe:part.bin=0123456789 put:empty.bin=",
      kIn + kP + "STOR hello.txt|" + kP + "REST 4|APPE part.bin|" + kP + "STOR empty.bin|QUIT|", "1 1 1 0",
      "", "helloftp\r\n456789"),
};

class Client : public testing::TestWithParam<ClientRow> {};

TEST_P(Client, Scenario) {
  const ClientRow& row = GetParam();
  const auto descriptors = std::distance(fs::directory_iterator("/proc/self/fd"), {});
  DeviceRoot root;
  root.MakeCurrent();
  FtpScriptServer server(row.script);
  std::string result;
  const auto run = RunInProcess([&] { return RunSteps(server.port, row.steps, root, result); });
  server.Stop();
  EXPECT_EQ(result, row.result);
  EXPECT_EQ(run.out + std::regex_replace(run.err, std::regex("\\[\\d+\\]"), "[]"), row.out);
  EXPECT_EQ(std::regex_replace(server.commands, std::regex(kPort + ",\\d+,\\d+"), kPort), row.sent);
  EXPECT_EQ(server.stored, row.stored);
  EXPECT_EQ(std::distance(fs::directory_iterator("/proc/self/fd"), {}), descriptors) << "descriptors leaked";
}

INSTANTIATE_TEST_SUITE_P(Ftp, Client, testing::ValuesIn(kClientRows),
                         [](const auto& info) { return std::string(info.param.name); });

// --- The handlers against the simulator's FTP server -------------------------

// The bytes of every file on the server: an ASCII transfer would change them.
std::string Bytes(const std::string& name) { return name + ":\r\n\n\xff\0."s; }

Names Seq(const char* format, int first, int last, Names names = {}) {
  char name[16];
  for (int n = first; n <= last; ++n) names.insert((std::snprintf(name, sizeof name, format, n), name));
  return names;
}

// sim/devices.py ftpd on a free port for the whole test process (user cam,
// password secret): its files in the directory "in" of its home, beside a
// day directory made already; its journal goes to a root of its own.
struct Ftpd {
  DeviceRoot root;
  std::string home = root.Host("/home");
  int pid = 0, port = 0;
  std::FILE* out = nullptr;
  Ftpd() {
    for (const std::string& name : Seq("f%d", 0, 9, {"a.jpg", "c.jpg"}))
      root.Write("/home/in/" + name, Bytes(name));
    fs::create_directory(home + "/1st");
    // The shell's pid is the server's: it execs it.
    const std::string command = "echo $$; exec /usr/bin/python3 " NXCGI_SOURCE_DIR "/sim/devices.py ftpd ";
    out = popen((command + root.path() + " " + home + " 0 cam secret").c_str(), "r");
    std::fscanf(out, "%d %d", &pid, &port);
  }
  ~Ftpd() {
    kill(pid, SIGTERM);
    pclose(out);
  }
};

// The names in a directory; a file's name is followed by "=" and its bytes.
Names List(const std::string& dir) {
  Names names;
  for (const auto& entry : fs::directory_iterator(dir))
    names.insert(entry.path().filename().string() +
                 (entry.is_regular_file() ? "=" + Contents(std::fopen(entry.path().c_str(), "rb")) : ""));
  return names;
}
// The files a download leaves in a local directory.
std::vector<Put> Got(const Names& names) {
  std::vector<Put> puts;
  for (const std::string& name : names) puts.push_back(File("/tmp/" + name, Bytes(name)));
  return puts;
}

// A request through the real executable; "@" in the form stands for the
// server's port. The row's own remote directory, named after it, must list
// `remote` afterwards. Every nxftpmkdir.cgi row starts with both upload
// services of module 1 pointed at the server, that directory as their base
// directory.
struct HandlerRow {
  CgiCase c;
  Names remote = {};
};
void PrintTo(const HandlerRow& row, std::ostream* out) { *out << row.c.name; }

HandlerRow B(const char* name, const std::string& form, const std::vector<Put>& before,
             const std::vector<Put>& after, const std::string& answer, std::optional<std::string> err = {}) {
  return {{name, "nxftpbinget.cgi", form, before, after, answer, {}, err}};
}
HandlerRow M(const char* name, const std::string& mode, const std::vector<Put>& before,
             const std::string& answer, const Names& remote = {}) {
  return {{name, "nxftpmkdir.cgi", "NxModId=1&NxCgiVer=1&FtpMode=" + mode, before, {}, answer}, remote};
}
std::string BinGetError(const std::string& message) { return Alert("nxftpbinget.cgi", message + "\n"); }
std::string MkDirError(const std::string& message) { return Alert("nxftpmkdir.cgi", message); }

const std::string kSig = "/opt/vsb/etc/NxConf/NxModId1/FtpSigSvcConf.bin";
const std::string kDur = "/opt/vsb/etc/NxConf/NxModId1/FtpDurSvcConf.bin";
const std::string kNames = "/etc/sysconfig/names.conf";
const std::string kLogin = "NxCgiVer=1&ServerIp=127.0.0.1&User=cam&Passwd=secret&FtpCtrlPort=@&RemoteDir=in/";
const std::string kMakeError = "ftp_make(127.0.0.1,cam,****) ERROR", kDirsError = "ftp_mkdirs() ERROR";
const std::string kHost32 = "127.0.0.1" + std::string(23, '0');

const HandlerRow kHandlerRows[] = {
    B("BinGetFetchesTheFirstEightNamesInBinaryOverwriting",
      kLogin + "&FileNames=a.jpg,,c.jpg,f0,f1,f2,f3,f4,f5,f6&LocalDir=/tmp/", {File("/tmp/a.jpg", "old")},
      Got(Seq("f%d", 0, 5, {"a.jpg", "c.jpg"})), kHeader),
    B("BinGetStopsAtAMissingFile", kLogin + "&FileNames=a.jpg,b.jpg,c.jpg&LocalDir=/tmp/", {}, Got({"a.jpg"}),
      "No such file or directory.\n" + BinGetError("getfile ERROR received 1 files: excepted 3 ")),
    B("BinGetIntoAMissingLocalDirectory", kLogin + "&FileNames=f0&LocalDir=/nodir/", {}, {},
      BinGetError("getfile ERROR received 0 files: excepted 1 "),
      "local: /nodir: No such file or directory\n"),
    B("BinGetWithoutFileNames", kLogin + "&LocalDir=/tmp/", {}, {}, BinGetError(kMakeError)),
    B("BinGetLoginRefused",
      "NxCgiVer=1&ServerIp=127.0.0.1&User=cam&Passwd=wrong&FtpCtrlPort=@&FileNames=f0&LocalDir=/tmp/", {}, {},
      "Authentication failed.\n" + BinGetError(kMakeError), "Login failed.\n"),
    // Without a port: the services database's ftp port (21), where nothing
    // listens (the row skips itself where something does).
    B("BinGetWithoutPortConnectsToTheFtpService",
      "NxCgiVer=1&ServerIp=127.0.0.1&User=cam&Passwd=secret&FileNames=f0&LocalDir=/tmp/", {}, {},
      BinGetError(kMakeError), "ftp: connect: Connection refused\n"),
    B("BinGetRefusesAHostLongerThanItsSlot",
      "NxCgiVer=1&ServerIp=" + kHost32 + "&User=cam&Passwd=secret&FtpCtrlPort=@&FileNames=f0&LocalDir=/tmp/",
      {}, {}, BinGetError("ftp_make(" + kHost32 + ",cam,****) ERROR"), ""),
    M("MkDirCameras", "sig", {U32(kSig, 212, 1)}, kHeader, Seq("CAM%d", 1, 6)),
    M("MkDirDays", "dur", {U32(kDur, 216, 16)}, kHeader, Seq("%dth", 4, 31, {"1st", "2nd", "3rd"})),
    M("MkDirOtherSchemesUploadTheTestFile", "dur", {U32(kDur, 216, 2)}, kHeader,
      {"helloftp.txt=helloftp\r\n"}),
    M("MkDirServerName", "sig",
      {U32(kSig, 212, 256), File(kNames, "#SERVER_NAME=z\nSERVER_NAMES=y\nSERVER_NAME = \"cam-07\" # cam\n")},
      kHeader, {"cam-07"}),
    M("MkDirServerNameOf64IsRefused", "sig",
      {U32(kSig, 212, 256), File(kNames, "SERVER_NAME=" + std::string(64, 'n'))}, MkDirError(kDirsError)),
    M("MkDirNoServerNameMakesNothing", "sig", {U32(kSig, 212, 256), File(kNames, "HOST=x\n")}, kHeader),
    // No base directory: the days go to the server's home, which holds a 1st.
    M("MkDirFailsAtAnExistingDirectory", "sig", {U32(kSig, 212, 16), Str(kSig, 136, "")},
      "File exists.\n" + MkDirError(kDirsError)),
    M("MkDirMissingBaseDirectory", "sig", {U32(kSig, 212, 1), Str(kSig, 136, "nowhere")},
      "No such file or directory.\n" + MkDirError(kDirsError)),
    M("MkDirLoginRefusedHidesTheStoredPassword", "sig", {Str(kSig, 104, "wrong")},
      "Authentication failed.\n" + MkDirError(kMakeError)),
    M("MkDirNoServerIp", "sig", {Str(kSig, 8, "")}, MkDirError("Have no Server Ip ERROR")),
    M("MkDirUnknownMode", "SIG", {}, MkDirError("Invaled FtpMode = SIG")),
    M("MkDirMissingServiceFile", "dur", {Gone(kDur)}, MkDirError("LoadSvcCfgFile(1,SSVCID_SFTP) ERROR")),
};

class Handler : public testing::TestWithParam<HandlerRow> {};

TEST_P(Handler, Request) {
  static const Ftpd ftpd;
  ASSERT_GT(ftpd.port, 0) << "sim/devices.py ftpd did not start (apt-get install python3-pyftpdlib)";
  const HandlerRow& row = GetParam();
  CgiCase c = row.c;
  // The one nxftpbinget.cgi row without the server's port ("@") expects
  // nothing to listen on the ftp port.
  if (c.cgi == "nxftpbinget.cgi"s && c.form.find('@') == c.form.npos &&
      RunProgram({"bash", "-c", ": </dev/tcp/127.0.0.1/21"}).exit_status == 0)
    GTEST_SKIP() << "something listens on 127.0.0.1:21, the ftp port";
  const std::string dir = ftpd.home + "/" + c.name;
  fs::remove_all(dir);
  fs::create_directory(dir);
  c.form = std::regex_replace(c.form, std::regex("@"), std::to_string(ftpd.port));
  for (const auto& [file, at] : {std::pair{kSig, 222}, {kDur, 226}})
    if (c.cgi == "nxftpmkdir.cgi"s)
      c.before.insert(c.before.begin(),
                      {Str(file, 8, "127.0.0.1"), Str(file, 72, "cam"), Str(file, 104, "secret"),
                       Str(file, 136, c.name), U16(file, at, ftpd.port)});
  RunCase(c);
  EXPECT_EQ(List(dir), row.remote);
}

INSTANTIATE_TEST_SUITE_P(Ftp, Handler, testing::ValuesIn(kHandlerRows),
                         [](const auto& info) { return std::string(info.param.c.name); });

}  // namespace

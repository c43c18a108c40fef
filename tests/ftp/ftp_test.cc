// The FTP client against a scripted server, one row a scenario: what the
// server answers, what the client does, the commands the server received and
// what the client reported. Then the FTP handlers through the real executable
// against the simulator's FTP server (sim/devices.py ftpd, pyftpdlib).
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "ftp/client/ftp_internal.h"
#include "ftp/ftp_ops.h"
#include "harness/cgi_case.h"
#include "harness/ftp_script_server.h"
#include "harness/in_process.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace harness;  // NOLINT: the test is written in the harness's terms
using Names = std::set<std::string>;

std::string Read(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}
std::string TempDir() {
  std::string dir = fs::temp_directory_path() / "nxcgi-ftp-XXXXXX";
  return mkdtemp(dir.data());
}

// --- The client against the scripted server ----------------------------------

// A row's client steps, blank-separated, run on a fresh session (not
// connected, verbose 0). Each adds what it returns to the row's result:
// login (ftp_open, ftp_binary), open (ftp_open alone), mkd:DIR, cwd:DIR,
// cmd:LINE, get:NAME and read:NAME (a file of the local directory), make:NAME
// (writes "old" there), nlst (to standard output), put:NAME=BYTES,
// appe:NAME=BYTES, data (ftp_data_init), quit, and a field of the session;
// FIELD=N sets the field (restart=N the restart offset) and adds nothing.
const std::map<std::string, int ftp_session::*> kFields = {
    {"verbose", &ftp_session::verbose},   {"debug", &ftp_session::debug},
    {"passive", &ftp_session::passive},   {"strip_cr", &ftp_session::strip_cr},
    {"code", &ftp_session::reply_code},   {"recv_unique", &ftp_session::recv_unique},
    {"fd", &ftp_session::data_fd},        {"connected", &ftp_session::connected},
    {"cur_type", &ftp_session::cur_type}, {"port_cmd", &ftp_session::use_port_cmd}};

std::string Step(ftp_session* s, const std::string& op, const std::string& arg, const std::string& local) {
  if (kFields.contains(op)) return std::to_string(s->*kFields.at(op));
  if (op == "read") return Read(local);
  int result = 0;
  if (op == "login") result = ftp_open(s, "127.0.0.1", "cam", "secret", nullptr) && ftp_binary(s);
  if (op == "open") result = ftp_open(s, "127.0.0.1", "cam", "secret", nullptr);
  if (op == "mkd" || op == "cwd") result = (op == "mkd" ? ftp_mkd : ftp_cwd)(s, arg.c_str());
  if (op == "cmd") result = ftp_command(s, "%s\r\n", arg.c_str());
  if (op == "get") result = getfile(s, local.c_str(), arg.c_str());
  if (op == "make") result = static_cast<bool>(std::ofstream(local) << "old");
  if (op == "nlst") result = ftp_recv(s, "NLST", "-", nullptr, "w", 0);
  if (op == "data" || op == "quit") result = (op == "data" ? ftp_data_init : ftp_quit)(s);
  const std::size_t cut = arg.find('=');
  const std::string name = arg.substr(0, cut), bytes = arg.substr(cut + 1);
  if (op == "put" || op == "appe")
    result = ftp_put_mem(s, op == "appe" ? 'a' : 0, bytes.data(), bytes.size(), name.c_str());
  return std::to_string(result);
}

std::string RunSteps(ftp_session* s, const std::string& steps, const std::string& dir) {
  std::istringstream in(steps);
  std::string result;
  for (std::string step; std::getline(in, step, ' ');) {
    const std::size_t cut = step.find_first_of(":=");
    const std::string op = step.substr(0, cut), arg = cut == step.npos ? "" : step.substr(cut + 1);
    if (cut != step.npos && step[cut] == '=')
      op == "restart" ? void(s->restart_offset = std::stol(arg)) : void(s->*kFields.at(op) = std::stoi(arg));
    else
      result += " " + Step(s, op, arg, dir + "/" + arg);
  }
  return result.substr(result.empty() ? 0 : 1);
}

struct ClientRow {
  const char* name;
  FtpScript script;
  std::string steps;
  std::string sent;  // the commands, each ended by "|"; "PORT 127,0,0,1" stands for any PORT to this host
  std::string result;
  std::string out = "";  // standard output, then standard error ("[]" for a line number)
  std::string stored = "";
};
void PrintTo(const ClientRow& row, std::ostream* out) { *out << row.name; }

using C = ClientRow;
const std::string kPort = "PORT 127,0,0,1", kP = kPort + "|";
const std::string kIn = "USER cam|PASS secret|TYPE I|";  // the commands of login

const ClientRow kClientRows[] = {
    C("MultiLineRepliesAreOneReply",
      {"220-Welcome\r\n inner line\r\n220-still going\r\n220 Ready\r\n",
       {{"HELP", "214-Commands:\r\n USER PASS\r\n214 Help OK\r\n"}}},
      "login verbose=1 cmd:HELP code verbose=0", kIn + "HELP|QUIT|", "1 2 214",
      "214-Commands:\n USER PASS\n214 Help OK\n"),
    C("TelnetOptionsAreRefused", {"220 Hel\xff\xfd\x01lo\xff\xfb\x03\r\n"}, "login",
      "\xff\xfc\x01\xff\xfe\x03" + kIn + "QUIT|", "1"),
    C("FiveSecondsOfSilenceLookLikeALostServer", {.rules = {{"NOOP", "", FtpAct::kSilent}}},
      "login data cmd:NOOP code fd connected", kIn + kP + "NOOP|QUIT|", "1 0 4 421 -1 1",
      "ftplib_glob[]:sgetc() error\n"),
    C("ServerClosingWith421",
      {.rules = {{"CWD", "421 Service closing control connection\r\n", FtpAct::kDrop}}},
      "login verbose=1 cwd:pub quit code verbose=0", kIn + "CWD pub|", "1 0 0 221",
      "421 Service closing control connection\n"),
    C("GreetingRefusedMakesNoSession", {"421 Too many users\r\n"}, "login", "", "0"),
    C("DebugEchoHidesThePassword", {}, "debug=1 open debug=0 open code", "USER cam|PASS secret|QUIT|",
      "1 0 -1", "---> USER cam\r\n\n---> PASS XXXX\nAlready connected to 127.0.0.1, use close first.\n"),
    C("MkdFallsBackToXmkdOn500", {.rules = {{"MKD", "500 MKD not understood\r\n"}}}, "login mkd:CAM1 code",
      kIn + "MKD CAM1|XMKD CAM1|QUIT|", "1 1 200", "MKD not understood\n"),
    C("MkdRefusedIsNotRetried", {.rules = {{"MKD", "550 CAM1: File exists\r\n"}}}, "login mkd:CAM1 code",
      kIn + "MKD CAM1|QUIT|", "1 0 550", "CAM1: File exists\n"),
    C("OverlongCommandIsRefusedNotCut", {}, "login mkd:" + std::string(300, 'd') + " code", kIn + "QUIT|",
      "1 0 -1"),
    // Without PORT the data socket would need the control connection's own
    // port, which is taken: the first transfer cannot start.
    C("PortRefusedFallsBackOnceThenSendsPortAgain",
      {.rules = {{"PORT", "500 PORT not understood\r\n"}, {"PORT", "200 ok\r\n"}, {"PORT", "500 no\r\n"}},
       .data = "payload"},
      "login get:one get:two read:two get:three port_cmd", kIn + kP + kP + "RETR two|" + kP + "QUIT|",
      "1 -1 0 payload -1 1", "PORT not understood\nno\nftp: bind: Address already in use\n"),
    C("PassiveDownloadUsesTheAnnouncedAddress", {.data = "passive bytes"}, "passive=1 login get:p read:p",
      kIn + "PASV|RETR p|QUIT|", "1 0 passive bytes"),
    C("ActiveServerThatNeverConnectsIsAborted",
      {.rules = {{"RETR", "150 Opening data connection\r\n", FtpAct::kNoData}}}, "login get:never code fd",
      kIn + kP + "RETR never|\377\364<urgent>\377\362ABOR|QUIT|", "1 0 -1 -1"),  // IAC IP, IAC DM
    C("AsciiReceiveTurnsCrLfIntoLfAndCountsBareLinefeeds", {.data = "A\r\nB\nC"},
      "open get:strip strip_cr=0 get:keep read:strip read:keep",
      "USER cam|PASS secret|" + kP + "RETR strip|" + kP + "RETR keep|QUIT|", "1 0 0 A\nB\nC A\r\nB\nC",
      "WARNING! 1 bare linefeeds received in ASCII mode\nFile may not have transferred correctly.\n"
      "WARNING! 1 bare linefeeds received in ASCII mode\nFile may not have transferred correctly.\n"),
    C("ReceiveUniqueNeverOverwrites", {.data = "new"},
      "login make:keep recv_unique=1 get:keep read:keep read:keep.1", kIn + kP + "RETR keep|QUIT|",
      "1 1 0 old new"),
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
  const std::string dir = TempDir();
  FtpScriptServer server(row.script);
  std::string result;
  const auto run = RunInProcess([&] {
    ftp_session* s = ftp_create(0, 1, 0, server.port);
    s->verbose = 0;
    result = RunSteps(s, row.steps, dir);
    ftp_close(s);
    return 0;
  });
  server.Stop();
  fs::remove_all(dir);
  std::string sent;
  for (const std::string& command : server.commands)
    sent += (command.starts_with(kPort) ? kPort : command) + "|";
  EXPECT_EQ(result, row.result);
  EXPECT_EQ(run.out + std::regex_replace(run.err, std::regex("\\[\\d+\\]"), "[]"), row.out);
  EXPECT_EQ(sent, row.sent);
  EXPECT_EQ(server.stored, row.stored);
  EXPECT_EQ(std::distance(fs::directory_iterator("/proc/self/fd"), {}), descriptors) << "descriptors leaked";
}

INSTANTIATE_TEST_SUITE_P(Ftp, Client, testing::ValuesIn(kClientRows),
                         [](const auto& info) { return std::string(info.param.name); });

// --- The handlers against the simulator's FTP server -------------------------

// The bytes of every file on the server: an ASCII transfer would change them.
std::string Bytes(const std::string& name) { return name + ":\r\n\n\xff\0."s; }

// sim/devices.py ftpd on a free port for the whole test process (user cam,
// password secret); its journal goes to a root of its own.
struct Ftpd {
  std::string root = TempDir(), home = root + "/home";
  int pid = 0, port = 0;
  std::FILE* out = nullptr;
  Ftpd() {
    fs::create_directories(root + "/var/log");
    fs::create_directories(home + "/pub");
    for (const char* name :
         {"f0", "f1", "f2", "f3", "f4", "f5", "f6", "f7", "f8", "f9", "pub/a.jpg", "pub/c.jpg"})
      std::ofstream(home + "/" + name) << Bytes(fs::path(name).filename());
    // The shell's pid is the server's: it execs it.
    const std::string command = "echo $$; exec /usr/bin/python3 " NXCGI_SOURCE_DIR "/sim/devices.py ftpd ";
    out = popen((command + root + " " + home + " 0 cam secret").c_str(), "r");
    std::fscanf(out, "%d %d", &pid, &port);
  }
  ~Ftpd() {
    kill(pid, SIGTERM);
    pclose(out);
    fs::remove_all(root);
  }
};

// The names in a directory; a file's name is followed by "=" and its bytes.
Names List(const std::string& dir) {
  Names names;
  for (const auto& entry : fs::directory_iterator(dir))
    names.insert(entry.path().filename().string() +
                 (entry.is_regular_file() ? "=" + Read(entry.path()) : ""));
  return names;
}
Names Seq(const char* format, int first, int last, Names names = {}) {
  char name[16];
  for (int n = first; n <= last; ++n) names.insert((std::snprintf(name, sizeof name, format, n), name));
  return names;
}
// The files a download leaves in a local directory.
std::vector<Put> Got(const std::vector<std::string>& names) {
  std::vector<Put> puts;
  for (const std::string& name : names) puts.push_back(File("/tmp/" + name, Bytes(name)));
  return puts;
}

// A request through the real executable; "@" in the form stands for the
// server's port. The row's own remote directory, named after it and holding
// `existing` first, must list `remote` afterwards. Every nxftpmkdir.cgi row
// starts with both upload services of module 1 pointed at the server, that
// directory as their base directory.
struct HandlerRow {
  CgiCase c;
  Names remote = {}, existing = {};
};
void PrintTo(const HandlerRow& row, std::ostream* out) { *out << row.c.name; }

HandlerRow B(const char* name, const std::string& form, const std::vector<Put>& before,
             const std::vector<Put>& after, const std::string& answer, std::optional<std::string> err = {}) {
  return {{name, "nxftpbinget.cgi", form, before, after, answer, {}, err}};
}
HandlerRow M(const char* name, const std::string& mode, const std::vector<Put>& before,
             const std::string& answer, const Names& remote = {}, const Names& existing = {}) {
  return {
      {name, "nxftpmkdir.cgi", "NxModId=1&NxCgiVer=1&FtpMode=" + mode, before, {}, answer}, remote, existing};
}
std::string BinGetError(const std::string& message) { return Alert("nxftpbinget.cgi", message + "\n"); }
std::string MkDirError(const std::string& message) { return Alert("nxftpmkdir.cgi", message); }

const std::string kSig = "/opt/vsb/etc/NxConf/NxModId1/FtpSigSvcConf.bin";
const std::string kDur = "/opt/vsb/etc/NxConf/NxModId1/FtpDurSvcConf.bin";
const std::string kNames = "/etc/sysconfig/names.conf";
const std::string kLogin = "NxCgiVer=1&ServerIp=127.0.0.1&User=cam&Passwd=secret&FtpCtrlPort=@";
const std::string kMakeError = "ftp_make(127.0.0.1,cam,secret) ERROR", kDirsError = "ftp_mkdirs() ERROR";
const std::string kHost32 = "127.0.0.1" + std::string(23, '0');

const HandlerRow kHandlerRows[] = {
    B("BinGetFetchesTheListInBinaryOverwriting",
      kLogin + "&FileNames=a.jpg,c.jpg&LocalDir=/tmp/&RemoteDir=pub/", {File("/tmp/a.jpg", "old")},
      Got({"a.jpg", "c.jpg"}), kHeader),
    B("BinGetTakesTheFirstEightNames", kLogin + "&FileNames=f0,,f1,f2,f3,f4,f5,f6,f7,f8,f9&LocalDir=/tmp/",
      {}, Got({"f0", "f1", "f2", "f3", "f4", "f5", "f6", "f7"}), kHeader),
    B("BinGetStopsAtAMissingFile", kLogin + "&FileNames=a.jpg,b.jpg,c.jpg&LocalDir=/tmp/&RemoteDir=pub/", {},
      Got({"a.jpg"}),
      "No such file or directory.\n" + BinGetError("getfile ERROR received 1 files: excepted 3 ")),
    B("BinGetIntoAMissingLocalDirectory", kLogin + "&FileNames=f0&LocalDir=/nodir/", {}, {},
      BinGetError("getfile ERROR received 0 files: excepted 1 "),
      "local: /nodir: No such file or directory\n"),
    B("BinGetWithoutFileNames", kLogin + "&LocalDir=/tmp/", {}, {}, BinGetError(kMakeError)),
    B("BinGetLoginRefused",
      "NxCgiVer=1&ServerIp=127.0.0.1&User=cam&Passwd=wrong&FtpCtrlPort=@&FileNames=f0&LocalDir=/tmp/", {}, {},
      "Authentication failed.\n" + BinGetError("ftp_make(127.0.0.1,cam,wrong) ERROR"), "Login failed.\n"),
    // Without a port: the services database's ftp port (21), where nothing listens.
    B("BinGetWithoutPortConnectsToTheFtpService",
      "NxCgiVer=1&ServerIp=127.0.0.1&User=cam&Passwd=secret&FileNames=f0&LocalDir=/tmp/", {}, {},
      BinGetError(kMakeError), "ftp: connect: Connection refused\n"),
    B("BinGetRefusesAHostLongerThanItsSlot",
      "NxCgiVer=1&ServerIp=" + kHost32 + "&User=cam&Passwd=secret&FtpCtrlPort=@&FileNames=f0&LocalDir=/tmp/",
      {}, {}, BinGetError("ftp_make(" + kHost32 + ",cam,secret) ERROR"), ""),
    M("MkDirCameras", "sig", {U32(kSig, 212, 1)}, kHeader, Seq("CAM%d", 1, 6)),
    M("MkDirWeekdays", "dur", {U32(kDur, 216, 4)}, kHeader,
      {"SUN", "MON", "TUE", "WED", "THU", "FRI", "SAT"}),
    M("MkDirMonths", "sig", {U32(kSig, 212, 8)}, kHeader,
      {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"}),
    M("MkDirDays", "dur", {U32(kDur, 216, 16)}, kHeader, Seq("%dth", 4, 31, {"1st", "2nd", "3rd"})),
    M("MkDirHours", "sig", {U32(kSig, 212, 32)}, kHeader, Seq("%02d", 0, 23)),
    M("MkDirOtherSchemesUploadTheTestFile", "dur", {U32(kDur, 216, 2)}, kHeader,
      {"helloftp.txt=helloftp\r\n"}),
    M("MkDirServerName", "sig",
      {U32(kSig, 212, 256), File(kNames, "HOST=x\nSERVER_NAME = \"cam-07\" # cam\n")}, kHeader, {"cam-07"}),
    M("MkDirServerNameOf64IsRefused", "sig",
      {U32(kSig, 212, 256), File(kNames, "SERVER_NAME=" + std::string(64, 'n'))}, MkDirError(kDirsError)),
    M("MkDirNoServerNameMakesNothing", "sig",
      {U32(kSig, 212, 256), File(kNames, "SERVER_NAMES=y\n#SERVER_NAME=z\n")}, kHeader),
    M("MkDirNoNamesFileMakesNothing", "sig", {U32(kSig, 212, 256), Gone(kNames)}, kHeader),
    M("MkDirStopsAtTheFirstExistingDirectory", "sig", {U32(kSig, 212, 16)},
      "File exists.\n" + MkDirError(kDirsError), {"1st"}, {"1st"}),
    M("MkDirMissingBaseDirectory", "sig", {U32(kSig, 212, 1), Str(kSig, 136, "nowhere")},
      "No such file or directory.\n" + MkDirError(kDirsError)),
    M("MkDirLoginRefused", "sig", {Str(kSig, 104, "wrong")},
      "Authentication failed.\n" + MkDirError("ftp_make(127.0.0.1,cam,wrong) ERROR")),
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
  const std::string dir = ftpd.home + "/" + c.name;
  fs::remove_all(dir);
  fs::create_directory(dir);
  for (const std::string& name : row.existing) fs::create_directory(dir + "/" + name);
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

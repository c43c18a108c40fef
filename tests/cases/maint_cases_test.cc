// The maintenance handlers, the dispatcher's epilogue and the request layer
// through the real executable: held images removed, text files written,
// shell commands run inside the root, and how a request reaches a handler.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <optional>

#include "harness/cgi_case.h"
#include "harness/device_root.h"
#include "harness/process.h"

namespace {

using namespace harness;  // the row builders

const std::string kNote = "/etc/note.txt", kMark = "/tmp/NxConfChg", kToX = Redirect("/x.html");

std::string Held(int module, int port, const char* name) {
  return "/tmp/advbuf/keep/mod" + std::to_string(module) + "/hold/port" + std::to_string(port) + "/" + name;
}
const Puts kHeld = {File(Held(1, 2, "a.jpg"), "j"), File(Held(1, 2, "b.jpg"), "j"),
                    File(Held(1, 1, "c.jpg"), "j"), File(Held(0, 0, "d.jpg"), "j")};
// A refusal that changes nothing; `page` comes before the alert.
CgiCase Fails(const char* name, const char* cgi, const std::string& form, const std::string& error = "",
              const Puts& before = {}, const std::string& page = "") {
  return CgiCase(name, cgi, form, before, {}, kHeader + page + Alert(cgi, error), {}, "");
}
CgiCase HoldRefused(const char* name, const std::string& form, const std::string& field) {
  return Fails(name, "nxiholdcln.cgi", form, "", kHeld, "nxiholdcln.cgi: invalid " + field + "\n");
}

// The epilogue after a request that succeeds: RetPage (and more fields),
// with the page /web/ok.html.
CgiCase Page(const char* name, const std::string& fields, const std::string& page) {
  return CgiCase(name, "nxevtnote.cgi", "RetPage=" + fields,
                 {File("/web/ok.html", "<p>ok</p>\n"), File("/secret.txt", "s")}, {}, kHeader + page);
}
std::string Script(const std::string& ids) { return "<script language=javascript>\n" + ids + "</script>\n"; }

// The save command's stub, as shell text inside the root.
const std::string S = "$NXCGI_ROOT/usr/sbin/savecfg";
CgiCase Commands(const char* name, const std::string& form, const std::string& err,
                 const Lines& journal = {}) {
  return CgiCase(name, "nxdosyscmd.cgi", "NxCgiVer=1&" + form, {}, {}, kHeader, journal, err);
}
std::string Echoes(int count, const char* separator, const char* suffix) {
  std::string text;
  for (int i = 1; i <= count; ++i) text += "echo " + std::to_string(i) + (i < count ? separator : suffix);
  return text;
}

class Maint : public testing::TestWithParam<CgiCase> {};
TEST_P(Maint, Request) { RunCase(GetParam()); }

INSTANTIATE_TEST_SUITE_P(
    Requests, Maint,
    testing::Values(
        CgiCase("HeldImagesOfOnePort", "nxiholdcln.cgi", "NxCgiVer=1&NxModId=65537&PortId=2", kHeld,
                {Gone(Held(1, 2, "a.jpg")), Gone(Held(1, 2, "b.jpg"))}, kHeader),
        CgiCase("HeldImagesOfModuleZero", "nxiholdcln.cgi", "NxCgiVer=0&NxModId=0&PortId=0x0", kHeld,
                {Gone(Held(0, 0, "d.jpg"))}, kHeader),
        HoldRefused("HoldPortFour", "NxCgiVer=1&NxModId=1&PortId=4", "PortId=4"),
        HoldRefused("HoldNoModule", "NxCgiVer=1&PortId=2", "NxModId="),
        HoldRefused("HoldVersionTwo", "NxCgiVer=2&NxModId=1&PortId=2", "NxCgiVer=2"),
        CgiCase("TextCreatedWithLineFeeds", "nxsettextfile.cgi",
                "CreateOption=1&TextFilePath=/etc/note.txt&TextContents=a%0D%0Ab%0D%0A", {},
                {File(kNote, "a\nb\n")}, kHeader),
        CgiCase("TextOf2047Rewritten", "nxsettextfile.cgi",
                "TextFilePath=/etc/note.txt&TextContents=" + std::string(2047, 'y'), {File(kNote, "old")},
                {File(kNote, std::string(2047, 'y'))}, kHeader),
        CgiCase("TextEmptiedThenCommandThenEpilogue", "nxsettextfile.cgi",
                "CreateOption=1&TextFilePath=/etc/note.txt&TextContents=&DoCommand=" + S +
                    "+after&SaveCfg=YES",
                {File(kNote, "old")}, {File(kNote, "")}, kHeader,
                {"/usr/sbin/savecfg after", "/usr/sbin/savecfg"}),
        Fails("TextMissingWithoutCreateOption", "nxsettextfile.cgi",
              "TextFilePath=/etc/note.txt&TextContents=n",
              "File not exist File Path = [/etc/note.txt]<br>\n"),
        Fails("TextThatCannotBeCreatedRunsNothing", "nxsettextfile.cgi",
              "CreateOption=1&TextFilePath=/no/dir/n.txt&TextContents=x&DoCommand=" + S),
        Fails("TextWithoutPath", "nxsettextfile.cgi", "CreateOption=1&TextContents=new",
              "Invalid TextFilePath = []<br>\n", {File(kNote, "old")}),
        Fails("TextOf2048", "nxsettextfile.cgi",
              "TextFilePath=/etc/note.txt&TextContents=" + std::string(2048, 'x'),
              "Invalid TextContents = [" + std::string(1023 - 24, 'x'), {File(kNote, "old")}),
        CgiCase("EventNoteCut", "nxevtnote.cgi", "Evt=ABCDEFGHIJ&Valu1=123456789012345&Valu3=z&RetPage=", {},
                {}, kHeader, {}, "Evt=ABCDEFG, Valu1=12345678901, Valu2,=, Valu3=z\n"),
        // The start pauses a second.
        CgiCase("AdvSvcStart", "nxadvsvc.cgi", "NxCgiVer=1&AdvSvcStart=1", {}, {}, kHeader,
                {"/etc/init.d/advsvc start"}),
        Fails("FailureSkipsTheEpilogue", "nxadvsvc.cgi",
              "NxCgiVer=1&AdvSvcStart=&SaveCfg=YES&RetReDir=/x.html"),
        Commands("LastInBackground", "Command=" + S + "+a;" + S + "+b;true",
                 S + " a > /dev/null\n" + S + " b > /dev/null\ntrue > /dev/null &\n",
                 {"/usr/sbin/savecfg a", "/usr/sbin/savecfg b"}),
        Commands("AllInForegroundEmptyPiecesSkipped", "RetOpt=1&Command=;;" + S + "+a;;+" + S + "+b+;",
                 S + " a > /dev/null\n " + S + " b  > /dev/null\n",
                 {"/usr/sbin/savecfg a", "/usr/sbin/savecfg b"}),
        Commands("SixteenAtMost", "RetOpt=1&Command=" + Echoes(20, ";", ""),
                 Echoes(16, " > /dev/null\n", " > /dev/null\n")),
        CgiCase("OutputOfTheFirstCommand", "nxdosyscmd.cgi", "NxCgiVer=1&RetOpt=2&Command=echo+hi;echo+not",
                {}, {}, kHeader + "hi\n"),
        Fails("CommandsNeedAVersion", "nxdosyscmd.cgi", "NxCgiVer=2&Command=true"),
        Fails("EmptyCommandFails", "nxdosyscmd.cgi", "NxCgiVer=1&Command="),
        CgiCase("EpilogueSavesMarksAndJoinsTheRelativePage", "nxevtnote.cgi",
                "SaveCfg=YES&NxMkChg=YES&RetPage=ok.html&NxModId=-12&PortId=0x1F",
                {File("/web/ok.html", "<p>ok</p>\n")}, {File(kMark, "")},
                kHeader + Script("var NXMODID = -12;\nvar PORTID = 0x1F;\n") + "<p>ok</p>\n",
                {"/usr/sbin/savecfg"}),
        Page("IdsOtherThanNumbersAreWrittenAsTheirNumbers", "ok.html&NxModId=1%3Balert(1)&PortId=x%22y",
             Script("var NXMODID = 1;\nvar PORTID = 0;\n") + "<p>ok</p>\n"),
        Page("PageOutsideTheWebRoot", "../secret.txt", Script("") + "Page Open Error (/web/../secret.txt)"),
        Page("PageThatIsADirectory", "/img", Script("") + "Page Open Error (/web/img)"),
        Page("PageNameEscaped", "%3Cb%3E%22.html",
             Script("") + "Page Open Error (/web/&lt;b&gt;&quot;.html)"),
        Page("RedirectRelativeKept", "&RetReDir=up/x.html%3Fa%3D1%26b%3D2", Redirect("up/x.html?a=1&b=2")),
        Page("RedirectCannotEndItsString", "&RetReDir=/x%22%3B%5C%3C/script%3E",
             Redirect("/x\\\";\\\\<\\/script>")),
        Fails("AlertTextCannotEndItsString", "nxsettextfile.cgi",
              "TextFilePath=/etc/a%22%3C/script%3E%3C!--.txt&TextContents=n",
              "File not exist File Path = [/etc/a\\\"<\\/script>\\x3C!--.txt]<br>\n"),
        CgiCase("EpilogueOnlyExactYesThenRedirect", "nxevtnote.cgi",
                "SaveCfg=Yes&NxMkChg=YES%20&NxRmChg=YES&RetPage=/none.html&RetReDir=/x.html",
                {File(kMark, "")}, {Gone(kMark)},
                kHeader + "<script language=javascript>\n</script>\nPage Open Error (/web/none.html)" +
                    kToX)),
    [](const auto& info) { return std::string(info.param.name); });

// How the request reaches the form: nxevtnote.cgi logs its Evt field
// (nullptr: the request fails, with status 255, and nothing is written).
TEST(MaintRequest, MethodsTypesAndLengths) {
  const char* const form = "application/x-www-form-urlencoded";
  const std::tuple<const char*, const char*, std::optional<std::string>, const char*> rows[] = {
      {"POST", "APPLICATION/X-WWW-FORM-URLENCODED", {}, "x"},
      {"POST", "text/plain", {}, ""},
      {"POST", "application/x-www-form-urlencoded; charset=UTF-8", "99", ""},
      {"POST", form, "20", nullptr},
      {"POST", form, "-3", nullptr},
      {"POST", form, "9223372036854775807", nullptr},
      {"get", "", "-5", "x"},
      {"PUT", "", {}, ""},
      {"", "", {}, ""}};
  for (const auto& [method, type, length, evt] : rows) {
    CgiRequest request;
    request.cgi = "nxevtnote.cgi", request.form = "Evt=x";
    request.method = method, request.content_type = type, request.content_length = length;
    const ProcessResult result = RunCgi(request);
    SCOPED_TRACE(std::string(method) + " " + type + " " + length.value_or("-"));
    EXPECT_EQ(result.exit_status, evt ? 0 : 255);
    EXPECT_EQ(result.out, evt ? kHeader : "");
    // (A sanitizer may warn on stderr about a length it cannot allocate.)
    if (evt) {
      EXPECT_EQ(result.err, "Evt=" + std::string(evt) + ", Valu1=, Valu2,=, Valu3=\n");
    }
  }
}

// The name after the last "/" picks the handler, exactly as written.
TEST(MaintRequest, ProgramNames) {
  for (const auto& [argv0, out] : {std::pair{"nxevtnote.cgi", kHeader},
                                   {"/a/b/NXEVTNOTE.CGI", "NOT Found Cgi Func: NXEVTNOTE.CGI<br>\n"},
                                   {"/usr/lib/cgi-bin/", "NOT Found Cgi Func: <br>\n"}}) {
    const ProcessResult result = RunCgi({.cgi = "nxevtnote.cgi", .argv0 = argv0});
    EXPECT_EQ(std::to_string(result.exit_status) + result.out, "0" + out) << argv0;
  }
}

// Something planted where a file belongs: a link leads nowhere (a missing
// target is not made, a folder keeps its files); a FIFO gets the handler's
// ordinary answer at once.
TEST(MaintRequest, PlantedLinksAndFifosAreNeitherFollowedNorWaitedFor) {
  using Row = std::tuple<const char*, std::string, std::string, std::string, std::string>;
  const std::string nx = "/opt/vsb/etc/NxConf/", ptz = "NxCgiVer=1&PtzDeviceId=1", fifo;
  for (const auto& [cgi, form, planted, target, answer] :
       std::vector<Row>{{"nxevtnote.cgi", "NxMkChg=YES", "/tmp/NxConfChg", "/etc/x", kHeader},
                        {"nxptzset.cgi", ptz, "/tmp/ChkPtzConfChg", "/etc/x", kHeader},
                        {"nxiholdcln.cgi", "NxCgiVer=1&NxModId=1&PortId=2",
                         "/tmp/advbuf/keep/mod1/hold/port2", nx, kHeader},
                        {"nxptzset.cgi", ptz, nx + "PtzModel.bin", fifo, kHeader},
                        {"nxptzset.cgi", ptz, "/tmp/ChkPtzConfChg", fifo, kHeader},
                        {"nxcamgpctl.cgi", "CamGpioFlk=1", nx + "camgpctl.conf", fifo,
                         kHeader + Alert("nxcamgpctl.cgi", "")},
                        {"nxisensconf.cgi", "NxCgiVer=1&CeUdpPort=9", "/opt/vsb/etc/NxIsensNe.conf", fifo,
                         kHeader + Alert("nxisensconf.cgi", "")}}) {
    DeviceRoot root;
    std::filesystem::remove_all(root.Host(planted));
    target.empty() ? void(mkfifo(root.Host(planted).c_str(), 0600))
                   : std::filesystem::create_symlink(root.Host(target), root.Host(planted));
    EXPECT_EQ(Post(cgi, form, root.path()).out, answer) << planted;
    // Afterwards /etc/x is still missing, the folder keeps a file, the FIFO is still there.
    const std::string probe = target == nx     ? nx + "NxModId1/FtpSigSvcConf.bin"
                              : target.empty() ? planted
                                               : target;
    EXPECT_EQ(root.Exists(probe), target != "/etc/x") << planted;
  }
}

// Redirects off the site, as a browser reads them, get the alert page.
TEST(MaintRequest, RedirectsOffTheSiteAreRefused) {
  for (const auto& [target, shown] : {std::pair{"%20%01JavaScript:x", " \x01JavaScript:x"},
                                      {"java%09script:x", "java\tscript:x"},
                                      {"/%09/evil.example", "/\t/evil.example"},
                                      {"//evil.example", "//evil.example"},
                                      {"/%5Cevil.example", "/\\\\evil.example"},
                                      {"http:x", "http:x"}}) {
    DeviceRoot root;
    EXPECT_EQ(Post("nxevtnote.cgi", std::string("RetReDir=") + target, root.path()).out,
              Alert("nxevtnote.cgi", std::string("Invalid RetReDir = [") + shown + "]"))
        << target;
  }
}

// A request's "Proxy:" header reaches the environment as HTTP_PROXY: the
// commands run must not take it for their proxy; the rest stays.
TEST(MaintRequest, CommandsDoNotSeeTheProxyHeader) {
  DeviceRoot root;
  CgiRequest request;
  request.cgi = "nxdosyscmd.cgi", request.root = root.path();
  request.form = "NxCgiVer=1&RetOpt=2&Command=echo+${HTTP_PROXY-none}+${http_proxy-none}+$HTTP_USER_AGENT";
  request.env = {
      {"HTTP_PROXY", "http://a:8080"}, {"http_proxy", "http://a:8080"}, {"HTTP_USER_AGENT", "browser"}};
  EXPECT_EQ(RunCgi(request).out, kHeader + "none none browser\n");
}

}  // namespace

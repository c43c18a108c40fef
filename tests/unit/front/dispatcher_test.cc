#include "front/dispatcher.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <sstream>
#include <string>

#include "harness/in_process.h"
#include "harness/sandbox.h"

namespace {

constexpr const char* kErrorPageHead =
    "Content-type: text/html\r\n\r\n<html>\n<head>\n<script language=javascript>\n";
constexpr const char* kErrorPageTail = "history.go(-1);\n</script>\n</head>\n</html>\n";

int g_calls = 0;
bool g_buffer_was_zero = false;

int FailsWithMessage(char* err_msg) {
  ++g_calls;
  g_buffer_was_zero = std::all_of(err_msg, err_msg + kCgiErrMsgSize, [](char c) { return c == 0; });
  std::strcpy(err_msg, "Error PortId : 4\n");
  return -1;
}
int FailsSilently(char*) { return -1; }
int AnswersItself(char*) {
  std::printf("HTTP/1.1 204 OK\r\n");
  return 0;
}
int Succeeds(char*) {
  std::printf("Content-type: text/html\r\n\r\n");
  return 1;
}
int FillsWholeBuffer(char* err_msg) {
  std::memset(err_msg, 'x', kCgiErrMsgSize);
  return -1;
}

constexpr CgiHandlerEntry kTestTable[] = {
    {"fails.cgi", "", FailsWithMessage}, {"silent.cgi", "", FailsSilently},
    {"answers.cgi", "", AnswersItself},  {"ok.cgi", "", Succeeds},
    {"full.cgi", "", FillsWholeBuffer},  {"missing.cgi", "", nullptr},
    {"fails.cgi", "", FailsSilently},    {nullptr, nullptr, nullptr},
};

harness::InProcessResult Dispatch(harness::InProcess& process, const char* argv0) {
  harness::InProcessResult result;
  char* argv[] = {const_cast<char*>(argv0), nullptr};
  const harness::Captured captured =
      process.Capture([&] { result.result = CgiDispatchWithTable(argv0 ? 1 : 0, argv, kTestTable); });
  result.out = captured.out;
  result.err = captured.err;
  return result;
}

TEST(Dispatcher, FailureGivesTheAlertPageQuotingTheBuffer) {
  harness::InProcess process;
  g_calls = 0;
  const auto result = Dispatch(process, "/cgi-bin/fails.cgi");
  EXPECT_EQ(result.result, 0);
  EXPECT_EQ(g_calls, 1);  // the first row of a name wins
  EXPECT_TRUE(g_buffer_was_zero);
  EXPECT_EQ(result.out, std::string(kErrorPageHead) +
                            "alert(\"fails.cgi Cgi Func:[Error PortId : 4\n] return ERROR!!!\");\n" +
                            kErrorPageTail);
}

TEST(Dispatcher, EmptyBufferGivesEmptyBrackets) {
  harness::InProcess process;
  const auto result = Dispatch(process, "silent.cgi");
  EXPECT_EQ(result.out, std::string(kErrorPageHead) + "alert(\"silent.cgi Cgi Func:[] return ERROR!!!\");\n" +
                            kErrorPageTail);
}

TEST(Dispatcher, FullBufferIsQuotedUpTo1023Bytes) {
  harness::InProcess process;
  const auto result = Dispatch(process, "full.cgi");
  EXPECT_NE(result.out.find("[" + std::string(1023, 'x') + "]"), std::string::npos);
}

TEST(Dispatcher, UnknownAndUnimplementedNamesAnswerOneLine) {
  harness::InProcess process;
  EXPECT_EQ(Dispatch(process, "/cgi-bin/FAILS.CGI").out, "NOT Found Cgi Func: FAILS.CGI<br>\n");
  EXPECT_EQ(Dispatch(process, "missing.cgi").out, "NOT Found Cgi Func: missing.cgi<br>\n");
  EXPECT_EQ(Dispatch(process, "/a/b/").out, "NOT Found Cgi Func: <br>\n");
}

TEST(Dispatcher, NoArgumentsWritesNothing) {
  harness::InProcess process;
  const auto result = Dispatch(process, nullptr);
  EXPECT_EQ(result.result, 0);
  EXPECT_EQ(result.out, "");
}

TEST(Dispatcher, ResultZeroIsFollowedByNothing) {
  harness::InProcess process;
  process.SetForm("RetPage=/x.html&RetReDir=/y&SaveCfg=YES");
  const auto result = Dispatch(process, "answers.cgi");
  EXPECT_EQ(result.out, "HTTP/1.1 204 OK\r\n");
  EXPECT_TRUE(process.commands().empty());
}

class Epilogue : public testing::Test {
 protected:
  void SetUp() override { setenv("NXCGI_ROOT", sandbox_.path().c_str(), 1); }
  void TearDown() override { unsetenv("NXCGI_ROOT"); }
  harness::SandboxRoot sandbox_;
  harness::InProcess process_;
};

TEST_F(Epilogue, RunsCommandsInOrderBeforeThePage) {
  sandbox_.WriteFile("/web/mail.html", "<p>mail</p>\n");
  process_.SetForm("SaveCfg=YES&NxRmChg=YES&NxMkChg=YES&RetPage=/mail.html&NxModId=1&PortId=2");
  const auto result = Dispatch(process_, "ok.cgi");
  EXPECT_EQ(result.out,
            "Content-type: text/html\r\n\r\n<script language=javascript>\nvar NXMODID = 1;\nvar PORTID = 2;\n"
            "</script>\n<p>mail</p>\n");
  EXPECT_EQ(process_.commands(), (std::vector<std::string>{"/usr/sbin/savecfg > /dev/null 2>/dev/null",
                                                           "touch /tmp/NxConfChg", "rm /tmp/NxConfChg"}));
  EXPECT_EQ(process_.host_commands().front(), sandbox_.path() + "/usr/sbin/savecfg > /dev/null 2>/dev/null");
}

TEST_F(Epilogue, OnlyExactYesRunsACommand) {
  process_.SetForm("SaveCfg=yes&NxMkChg=YES%20&NxRmChg=");
  const auto result = Dispatch(process_, "ok.cgi");
  EXPECT_TRUE(process_.commands().empty());
  EXPECT_EQ(result.out, "Content-type: text/html\r\n\r\n");
}

struct PageCase {
  const char* form;
  const char* body;
};

class EpiloguePages : public Epilogue, public testing::WithParamInterface<PageCase> {};

TEST_P(EpiloguePages, AnswerAfterTheHandlersHeader) {
  sandbox_.WriteFile("/web/setup/port.html", "PAGE");
  process_.SetForm(GetParam().form);
  EXPECT_EQ(Dispatch(process_, "ok.cgi").out,
            std::string("Content-type: text/html\r\n\r\n") + GetParam().body);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, EpiloguePages,
    testing::Values(
        PageCase{"RetPage=/setup/port.html", "<script language=javascript>\n</script>\nPAGE"},
        PageCase{"RetPage=setup/port.html", "<script language=javascript>\n</script>\nPAGE"},
        PageCase{"RetPage=setup/port.html&NxModId=2",
                 "<script language=javascript>\nvar NXMODID = 2;\n</script>\nPAGE"},
        PageCase{"RetPage=setup/port.html&NxModId=abc&PortId=x%22y",
                 "<script language=javascript>\nvar NXMODID = abc;\nvar PORTID = x\"y;\n</script>\nPAGE"},
        PageCase{"RetPage=/none.html",
                 "<script language=javascript>\n</script>\nPage Open Error (/web/none.html)"},
        PageCase{
            "RetReDir=/index.html%3Fa=1",
            "<html>\n<head>\n<script language=javascript>\nlocation.href=\"/index.html?a=1\";\n</script>\n"
            "</head>\n<body>\n</body>\n</html>\n"},
        PageCase{"RetPage=none.html&RetReDir=x",
                 "<script language=javascript>\n</script>\nPage Open Error (/web/none.html)<html>\n<head>\n"
                 "<script language=javascript>\nlocation.href=\"x\";\n</script>\n</head>\n<body>\n</body>\n"
                 "</html>\n"},
        PageCase{"RetPage=", ""}));

TEST(HandlerTable, HoldsTheInstalledNamesOnceEach) {
  std::set<std::string> names;
  for (const CgiHandlerEntry& row : CgiHandlerRows()) {
    ASSERT_NE(row.name, nullptr);
    EXPECT_TRUE(names.insert(row.name).second) << row.name;
    EXPECT_EQ(CgiFindHandler(kCgiHandlerTable, row.name), &row);
  }
  EXPECT_EQ(names.size(), 37u);
  EXPECT_EQ(kCgiHandlerTable[CgiHandlerRows().size()].name, nullptr);
  EXPECT_EQ(kCgiHandlerTable[CgiHandlerRows().size()].handler, nullptr);
}

TEST(HandlerTable, InstallStepReadsTheSameNames) {
  // The install step extracts the names from the table's source lines.
  std::set<std::string> installed;
  std::stringstream list(NXCGI_INSTALLED_CGI_NAMES);
  for (std::string name; std::getline(list, name, ',');) installed.insert(name);
  std::set<std::string> table;
  for (const CgiHandlerEntry& row : CgiHandlerRows()) table.insert(row.name);
  EXPECT_EQ(installed, table);
}

}  // namespace

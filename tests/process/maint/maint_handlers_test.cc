// The maintenance handlers run as the real executable in a sandbox root:
// files removed and written, commands seen by the journaling stubs, and the
// exact answer bytes.
#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <chrono>
#include <ostream>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "harness/expected_pages.h"
#include "harness/process.h"
#include "harness/sandbox.h"

namespace {

using harness::ErrorPage;
using harness::kHtmlHeader;
using Lines = std::vector<std::string>;

std::vector<std::string> TmpEntries(const harness::SandboxRoot& root, const std::string& prefix) {
  std::vector<std::string> names;
  DIR* directory = opendir(root.Host("/tmp").c_str());
  if (directory == nullptr) return names;
  while (dirent* entry = readdir(directory)) {
    if (std::string(entry->d_name).rfind(prefix, 0) == 0) names.emplace_back(entry->d_name);
  }
  closedir(directory);
  return names;
}

std::string Encoded(const std::string& text) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string encoded;
  for (const unsigned char byte : text) {
    if (std::isalnum(byte) != 0) {
      encoded += static_cast<char>(byte);
    } else {
      encoded += {'%', kHex[byte >> 4], kHex[byte & 15]};
    }
  }
  return encoded;
}

// A command line that reaches the journal: the sandbox's stub save command.
std::string Stub(const std::string& argument) { return "$NXCGI_ROOT/usr/sbin/savecfg " + argument; }
std::string Journaled(const std::string& argument) { return "/usr/sbin/savecfg " + argument; }

// --- nxiholdcln.cgi ---------------------------------------------------------

struct IholdCase {
  const char* name;
  const char* query;
  const char* page_line;  // null: success
  const char* cleared;    // the port directory emptied on success
};

// Test names carry the case name; a parameter prints as its name.
void PrintTo(const IholdCase& c, std::ostream* out) { *out << c.name; }

const IholdCase kIholdCases[] = {
    {"ModuleOnePortTwo", "NxCgiVer=1&NxModId=1&PortId=2", nullptr, "/tmp/advbuf/keep/mod1/hold/port2"},
    {"ModuleLow16Bits", "NxCgiVer=0&NxModId=65537&PortId=2", nullptr, "/tmp/advbuf/keep/mod1/hold/port2"},
    {"ModuleZeroPortZero", "NxCgiVer=1&NxModId=0&PortId=0x0", nullptr, "/tmp/advbuf/keep/mod0/hold/port0"},
    {"PortFour", "NxCgiVer=1&NxModId=1&PortId=4", "nxiholdcln.cgi: invalid PortId=4\n", nullptr},
    {"PortNegative", "NxCgiVer=1&NxModId=1&PortId=-1", "nxiholdcln.cgi: invalid PortId=-1\n", nullptr},
    {"NoPort", "NxCgiVer=1&NxModId=1", "nxiholdcln.cgi: invalid PortId=\n", nullptr},
    {"ModuleFour", "NxCgiVer=1&NxModId=4&PortId=2", "nxiholdcln.cgi: invalid NxModId=4\n", nullptr},
    {"NoModule", "NxCgiVer=1&PortId=2", "nxiholdcln.cgi: invalid NxModId=\n", nullptr},
    {"NoVersion", "NxModId=1&PortId=2", "nxiholdcln.cgi: invalid NxCgiVer=\n", nullptr},
    {"BadVersion", "NxCgiVer=2&NxModId=1&PortId=2", "nxiholdcln.cgi: invalid NxCgiVer=2\n", nullptr},
};

class IholdClnTest : public testing::TestWithParam<IholdCase> {};

TEST_P(IholdClnTest, ClearsOnlyTheNamedPort) {
  const IholdCase& c = GetParam();
  harness::SandboxRoot root;
  const Lines held = {"/tmp/advbuf/keep/mod1/hold/port2/a.jpg", "/tmp/advbuf/keep/mod1/hold/port2/b.jpg",
                      "/tmp/advbuf/keep/mod0/hold/port0/c.jpg", "/tmp/advbuf/keep/mod1/hold/port1/d.jpg"};
  for (const std::string& file : held) root.WriteFile(file, "jpg");

  const harness::ProcessResult result = harness::GetCgi("nxiholdcln.cgi", c.query, root.path());

  if (c.page_line == nullptr) {
    EXPECT_EQ(result.out, kHtmlHeader);
  } else {
    EXPECT_EQ(result.out, kHtmlHeader + c.page_line + ErrorPage("nxiholdcln.cgi", ""));
  }
  for (const std::string& file : held) {
    const bool cleared = c.cleared != nullptr && file.rfind(std::string(c.cleared) + "/", 0) == 0;
    EXPECT_EQ(root.Exists(file), !cleared) << file;
  }
  EXPECT_TRUE(root.Exists("/tmp/advbuf/keep/mod1/hold/port2"));
}

INSTANTIATE_TEST_SUITE_P(Cases, IholdClnTest, testing::ValuesIn(kIholdCases),
                         [](const testing::TestParamInfo<IholdCase>& info) { return info.param.name; });

// --- nxsettextfile.cgi ------------------------------------------------------

struct TextFileCase {
  const char* name;
  std::string body;      // POST body
  const char* existing;  // contents of /etc/note.txt before, null: absent
  std::string message;   // empty: success
  const char* after;     // contents of /etc/note.txt after, null: absent
};

void PrintTo(const TextFileCase& c, std::ostream* out) { *out << c.name; }

const std::string kTooLong(2048, 'x');
const std::string kLongest(2047, 'y');

const TextFileCase kTextFileCases[] = {
    {"CreatesWithLineFeeds", "CreateOption=1&TextFilePath=/etc/note.txt&TextContents=a%0D%0Ab%0D%0A", nullptr,
     "", "a\nb\n"},
    {"TruncatesToEmpty", "CreateOption=1&TextFilePath=/etc/note.txt&TextContents=", "old text", "", ""},
    {"RewritesExisting", "TextFilePath=/etc/note.txt&TextContents=new", "old text", "", "new"},
    {"LongestContents", "TextFilePath=/etc/note.txt&TextContents=" + kLongest, "old", "", kLongest.c_str()},
    {"MissingWithoutCreate", "TextFilePath=/etc/note.txt&TextContents=new", nullptr,
     "File not exist File Path = [/etc/note.txt]<br>\n", nullptr},
    {"CreateOptionZero", "CreateOption=0&TextFilePath=/etc/note.txt&TextContents=new", nullptr,
     "File not exist File Path = [/etc/note.txt]<br>\n", nullptr},
    {"NoPath", "CreateOption=1&TextContents=new", "old", "Invalid TextFilePath = []<br>\n", "old"},
    {"NoContents", "TextFilePath=/etc/note.txt", "old", "Invalid TextContents = []<br>\n", "old"},
    {"ContentsTooLong", "TextFilePath=/etc/note.txt&TextContents=" + kTooLong, "old",
     ("Invalid TextContents = [" + kTooLong).substr(0, 1023), "old"},
};

class SetTextFileTest : public testing::TestWithParam<TextFileCase> {};

TEST_P(SetTextFileTest, WritesTheFileOrLeavesItUntouched) {
  const TextFileCase& c = GetParam();
  harness::SandboxRoot root;
  if (c.existing != nullptr) root.WriteFile("/etc/note.txt", c.existing);

  const harness::ProcessResult result = harness::PostCgi("nxsettextfile.cgi", c.body, root.path());

  EXPECT_EQ(result.out,
            c.message.empty() ? kHtmlHeader : kHtmlHeader + ErrorPage("nxsettextfile.cgi", c.message));
  if (c.after == nullptr) {
    EXPECT_FALSE(root.Exists("/etc/note.txt"));
  } else {
    EXPECT_EQ(root.ReadFile("/etc/note.txt"), c.after);
  }
  EXPECT_TRUE(root.Journal().empty());
}

INSTANTIATE_TEST_SUITE_P(Cases, SetTextFileTest, testing::ValuesIn(kTextFileCases),
                         [](const testing::TestParamInfo<TextFileCase>& info) { return info.param.name; });

TEST(SetTextFile, RunsDoCommandAfterWritingAndThenTheEpilogue) {
  harness::SandboxRoot root;
  root.WriteFile("/web/ok.html", "<p>ok</p>\n");

  const harness::ProcessResult result = harness::PostCgi(
      "nxsettextfile.cgi",
      "CreateOption=1&TextFilePath=/etc/note.txt&TextContents=hello&DoCommand=" + Stub("after") +
          "&SaveCfg=YES&RetPage=/ok.html",
      root.path());

  EXPECT_EQ(result.out, kHtmlHeader + "<script language=javascript>\n</script>\n<p>ok</p>\n");
  EXPECT_EQ(root.ReadFile("/etc/note.txt"), "hello");
  EXPECT_EQ(root.Journal(), (Lines{Journaled("after"), "/usr/sbin/savecfg"}));
}

TEST(SetTextFile, FileThatCannotBeCreatedGivesAnEmptyMessage) {
  harness::SandboxRoot root;

  const harness::ProcessResult result = harness::PostCgi(
      "nxsettextfile.cgi",
      "CreateOption=1&TextFilePath=/no/such/dir/note.txt&TextContents=x&DoCommand=" + Encoded(Stub("x")),
      root.path());

  EXPECT_EQ(result.out, kHtmlHeader + ErrorPage("nxsettextfile.cgi", ""));
  EXPECT_TRUE(root.Journal().empty());
}

// --- nxevtnote.cgi ----------------------------------------------------------

TEST(EvtNote, LogsTheNoteCutToItsFields) {
  struct Case {
    const char* query;
    const char* line;
  };
  const Case cases[] = {
      {"Evt=DI1&Valu1=on&Valu2=2&Valu3=three", "Evt=DI1, Valu1=on, Valu2,=2, Valu3=three\n"},
      {"", "Evt=, Valu1=, Valu2,=, Valu3=\n"},
      {"Evt=ABCDEFGHIJ&Valu1=123456789012345&Valu3=z", "Evt=ABCDEFG, Valu1=12345678901, Valu2,=, Valu3=z\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.query);
    harness::SandboxRoot root;

    const harness::ProcessResult result = harness::GetCgi("nxevtnote.cgi", c.query, root.path());

    EXPECT_EQ(result.out, kHtmlHeader);
    EXPECT_EQ(result.err, c.line);
  }
}

// --- nxadvsvc.cgi -----------------------------------------------------------

TEST(AdvSvc, StartsOrStopsTheService) {
  struct Case {
    const char* query;
    bool fails;
    Lines journal;
  };
  const Case cases[] = {
      {"NxCgiVer=1&AdvSvcStart=1", false, {"/etc/init.d/advsvc start"}},
      {"NxCgiVer=0&AdvSvcStart=0x0", false, {"/etc/init.d/advsvc stop"}},
      {"NxCgiVer=1&AdvSvcStart=", true, {}},
      {"NxCgiVer=2&AdvSvcStart=1", true, {}},
      {"AdvSvcStart=1", true, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.query);
    harness::SandboxRoot root;

    const harness::ProcessResult result = harness::GetCgi("nxadvsvc.cgi", c.query, root.path());

    EXPECT_EQ(result.out, c.fails ? kHtmlHeader + ErrorPage("nxadvsvc.cgi", "") : kHtmlHeader);
    EXPECT_EQ(root.Journal(), c.journal);
  }
}

// --- nxdosyscmd.cgi ---------------------------------------------------------

TEST(DoSysCmd, ReturnsTheOutputOfOneCommand) {
  harness::SandboxRoot root;

  const harness::ProcessResult result =
      harness::GetCgi("nxdosyscmd.cgi", "NxCgiVer=1&RetOpt=2&Command=echo%20hi%3Becho%20not", root.path());

  EXPECT_EQ(result.out, kHtmlHeader + "hi\n");
  EXPECT_TRUE(std::regex_match(result.err, std::regex("echo hi > /tmp/dosyscmdout[0-9]+\n"))) << result.err;
  EXPECT_TRUE(TmpEntries(root, "dosyscmdout").empty());
}

TEST(DoSysCmd, LostOutputFileIsAPageError) {
  harness::SandboxRoot root;
  // The shell has created the output file by the time the command runs.
  const std::string command = "find $NXCGI_ROOT/tmp -name 'dosyscmdout*' -delete";

  const harness::ProcessResult result =
      harness::GetCgi("nxdosyscmd.cgi", "NxCgiVer=1&RetOpt=7&Command=" + Encoded(command), root.path());

  const std::string head = kHtmlHeader + "Page Error (/tmp/dosyscmdout";
  const std::string tail = ")" + ErrorPage("nxdosyscmd.cgi", "");
  ASSERT_GT(result.out.size(), head.size() + tail.size());
  EXPECT_EQ(result.out.substr(0, head.size()), head);
  EXPECT_EQ(result.out.substr(result.out.size() - tail.size()), tail);
  const std::string pid = result.out.substr(head.size(), result.out.size() - head.size() - tail.size());
  EXPECT_TRUE(std::regex_match(pid, std::regex("[0-9]+"))) << pid;
}

struct SysCmdCase {
  const char* name;
  std::string query;
  std::string stderr_lines;
  Lines journal;
};

void PrintTo(const SysCmdCase& c, std::ostream* out) { *out << c.name; }

std::string Joined(const std::vector<std::string>& commands) {
  std::string text;
  for (const std::string& command : commands) text += (text.empty() ? "" : ";") + command;
  return text;
}

std::string Numbers(int count) {
  std::vector<std::string> commands;
  for (int i = 1; i <= count; ++i) commands.push_back("echo " + std::to_string(i));
  return Joined(commands);
}

std::string NumberLines(int count) {
  std::string lines;
  for (int i = 1; i <= count; ++i) lines += "echo " + std::to_string(i) + " > /dev/null\n";
  return lines;
}

const SysCmdCase kSysCmdCases[] = {
    {"LastInBackground",
     "NxCgiVer=1&Command=" + Encoded(Joined({Stub("a"), Stub("b"), Stub("c")})),
     Stub("a") + " > /dev/null\n" + Stub("b") + " > /dev/null\n" + Stub("c") + " > /dev/null &\n",
     {Journaled("a"), Journaled("b"), Journaled("c")}},
    {"AllInForeground",
     "NxCgiVer=1&RetOpt=1&Command=" + Encoded(Joined({Stub("a"), Stub("b"), Stub("c")})),
     Stub("a") + " > /dev/null\n" + Stub("b") + " > /dev/null\n" + Stub("c") + " > /dev/null\n",
     {Journaled("a"), Journaled("b"), Journaled("c")}},
    {"SingleCommandInBackground",
     "NxCgiVer=1&RetOpt=0&Command=" + Encoded(Stub("one")),
     Stub("one") + " > /dev/null &\n",
     {Journaled("one")}},
    {"EmptyPiecesSkipped",
     "NxCgiVer=1&RetOpt=1&Command=" + Encoded(";;" + Stub("a") + ";; " + Stub("b") + " ;"),
     Stub("a") + " > /dev/null\n " + Stub("b") + "  > /dev/null\n",
     {Journaled("a"), Journaled("b")}},
    {"OnlySixteenRun", "NxCgiVer=1&RetOpt=1&Command=" + Encoded(Numbers(20)), NumberLines(16), {}},
    {"OnlySeparators", "NxCgiVer=1&RetOpt=2&Command=%3B%3B%3B", "", {}},
};

class DoSysCmdTest : public testing::TestWithParam<SysCmdCase> {};

TEST_P(DoSysCmdTest, RunsTheCommandsOfItsMode) {
  const SysCmdCase& c = GetParam();
  harness::SandboxRoot root;

  const harness::ProcessResult result = harness::GetCgi("nxdosyscmd.cgi", c.query, root.path());

  EXPECT_EQ(result.out, kHtmlHeader);
  EXPECT_EQ(result.err, c.stderr_lines);
  // A command in the background may still be on its way to the journal.
  for (int wait = 0; wait < 100 && root.Journal().size() < c.journal.size(); ++wait) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  EXPECT_EQ(root.Journal(), c.journal);
}

INSTANTIATE_TEST_SUITE_P(Cases, DoSysCmdTest, testing::ValuesIn(kSysCmdCases),
                         [](const testing::TestParamInfo<SysCmdCase>& info) { return info.param.name; });

TEST(DoSysCmd, RefusesWithoutVersionOrCommand) {
  for (const char* query : {"Command=true", "NxCgiVer=2&Command=true", "NxCgiVer=1", "NxCgiVer=1&Command="}) {
    SCOPED_TRACE(query);
    harness::SandboxRoot root;

    const harness::ProcessResult result = harness::GetCgi("nxdosyscmd.cgi", query, root.path());

    EXPECT_EQ(result.out, kHtmlHeader + ErrorPage("nxdosyscmd.cgi", ""));
    EXPECT_EQ(result.err, "");
  }
}

}  // namespace

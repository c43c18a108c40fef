// nxchghwoption.cgi and nxuartset.cgi: the product string read from the
// driver text, the exact flash-utility command lines in the journal, and
// form text that tries to run commands of its own.
#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <ostream>
#include <string>
#include <vector>

#include "harness/expected_pages.h"
#include "harness/process.h"
#include "harness/sandbox.h"

namespace {

using harness::ErrorPage;
using harness::kHtmlHeader;
using Lines = std::vector<std::string>;

constexpr const char* kDriverText = "/proc/driver/kv_basic_conf";
constexpr const char* kBasicConf =
    "BOARD=7\nKVF_STR0=\"ZERO\";\nKVF_STR10=\"TENTEN\";\nKVF_STR1=\"ABC123\";\nKVF_STR2=\"TWO\";\n";

// Runs the CGI with the sandbox as working directory, so that relative names
// in shell text land there.
harness::ProcessResult RunIn(const harness::SandboxRoot& root, const std::string& cgi,
                             const std::string& query) {
  char previous[4096];
  if (getcwd(previous, sizeof previous) == nullptr) previous[0] = '\0';
  if (chdir(root.path().c_str()) != 0) ADD_FAILURE() << "chdir";
  harness::ProcessResult result = harness::GetCgi(cgi, query, root.path());
  if (previous[0] != '\0' && chdir(previous) != 0) ADD_FAILURE() << "chdir back";
  return result;
}

bool HasWorkingCopies(const harness::SandboxRoot& root) {
  DIR* directory = opendir(root.Host("/tmp").c_str());
  if (directory == nullptr) return false;
  bool found = false;
  while (dirent* entry = readdir(directory)) {
    if (std::string(entry->d_name).rfind("kvll_conf_", 0) == 0) found = true;
  }
  closedir(directory);
  return found;
}

struct HwOptionCase {
  const char* name;
  std::string driver_text;  // empty: no driver text at all
  const char* query;
  const char* error;  // null: success
  Lines journal;
};

// Test names carry the case name; a parameter prints as its name.
void PrintTo(const HwOptionCase& c, std::ostream* out) { *out << c.name; }

const HwOptionCase kHwOptionCases[] = {
    {"WritesInside",
     kBasicConf,
     "Offset=3&String=XY",
     nullptr,
     {"/usr/sbin/fuc -sh sft-string offset=1 data=ABCXY3"}},
    {"WritesAtTheEnd",
     kBasicConf,
     "Offset=4&String=XY",
     nullptr,
     {"/usr/sbin/fuc -sh sft-string offset=1 data=ABC1XY"}},
    {"OffsetAbsentWritesFromStart",
     kBasicConf,
     "String=XY",
     nullptr,
     {"/usr/sbin/fuc -sh sft-string offset=1 data=XYC123"}},
    {"HexOffset",
     kBasicConf,
     "Offset=0x2&String=Z",
     nullptr,
     {"/usr/sbin/fuc -sh sft-string offset=1 data=ABZ123"}},
    {"OffsetLow16Bits",
     kBasicConf,
     "Offset=65537&String=Q",
     nullptr,
     {"/usr/sbin/fuc -sh sft-string offset=1 data=AQC123"}},
    {"WholeString",
     kBasicConf,
     "Offset=0&String=abcdef",
     nullptr,
     {"/usr/sbin/fuc -sh sft-string offset=1 data=abcdef"}},
    {"TooLong", kBasicConf, "Offset=5&String=XY", "Too long string parameter error<br>\n", {}},
    {"HugeOffset", kBasicConf, "Offset=65535&String=X", "Too long string parameter error<br>\n", {}},
    {"NoString", kBasicConf, "Offset=1", "Have no string parameter error<br>\n", {}},
    {"EmptyString", kBasicConf, "Offset=1&String=", "Have no string parameter error<br>\n", {}},
    {"NoDriverText", "", "String=XY", "PnCodeUtilRead() error<br>\n", {}},
    {"OnlySlotTen", "KVF_STR10=\"TENTEN\";\n", "String=XY", "PnCodeUtilRead() error<br>\n", {}},
    {"NoEndMark", "KVF_STR1=\"ABC123\n", "String=XY", "PnCodeUtilRead() error<br>\n", {}},
    {"ProductOf63",
     "KVF_STR1=\"" + std::string(63, 'p') + "\";",
     "Offset=62&String=Q",
     nullptr,
     {"/usr/sbin/fuc -sh sft-string offset=1 data=" + std::string(62, 'p') + "Q"}},
    {"ProductOf64Refused",
     "KVF_STR1=\"" + std::string(64, 'p') + "\";",
     "String=Q",
     "PnCodeUtilRead() error<br>\n",
     {}},
    {"BeyondFirst1023Bytes",
     std::string(1014, '#') + "KVF_STR1=\"ABC\";",
     "String=Q",
     "PnCodeUtilRead() error<br>\n",
     {}},
    {"Within1023Bytes",
     std::string(1008, '#') + "KVF_STR1=\"ABC\";",
     "String=Q",
     nullptr,
     {"/usr/sbin/fuc -sh sft-string offset=1 data=QBC"}},
    // Blanks and quotes are the flash utility's business, not the shell's.
    {"BlanksStayOneArgument",
     kBasicConf,
     "String=A%20B",
     nullptr,
     {"/usr/sbin/fuc -sh sft-string offset=1 data=A B123"}},
};

class ChgHwOptionTest : public testing::TestWithParam<HwOptionCase> {};

TEST_P(ChgHwOptionTest, StoresTheChangedProductString) {
  const HwOptionCase& c = GetParam();
  harness::SandboxRoot root;
  if (!c.driver_text.empty()) root.WriteFile(kDriverText, c.driver_text);

  const harness::ProcessResult result = RunIn(root, "nxchghwoption.cgi", c.query);

  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.out,
            c.error == nullptr ? kHtmlHeader : kHtmlHeader + ErrorPage("nxchghwoption.cgi", c.error));
  EXPECT_EQ(root.Journal(), c.journal);
  EXPECT_FALSE(HasWorkingCopies(root));
}

INSTANTIATE_TEST_SUITE_P(Cases, ChgHwOptionTest, testing::ValuesIn(kHwOptionCases),
                         [](const testing::TestParamInfo<HwOptionCase>& info) { return info.param.name; });

TEST(ChgHwOption, ReportsMissingStartMarkOnStandardError) {
  harness::SandboxRoot root;
  root.WriteFile(kDriverText, "KVF_STR10=\"TENTEN\";\n");

  const harness::ProcessResult result = RunIn(root, "nxchghwoption.cgi", "String=XY");

  EXPECT_NE(result.err.find("kvt_get_and_init_pn_code():strstr(KVF_STR1=\") error for start\n"),
            std::string::npos)
      << result.err;
}

TEST(ChgHwOption, RemovesRmFilesAfterStoring) {
  harness::SandboxRoot root;
  root.WriteFile(kDriverText, kBasicConf);
  root.WriteFile("/old1.txt", "1");
  root.WriteFile("/old2.txt", "2");
  root.WriteFile("/keep.txt", "3");

  const harness::ProcessResult result =
      RunIn(root, "nxchghwoption.cgi", "Offset=0&String=Z&RmFiles=old*.txt&RetReDir=/done.html");

  EXPECT_EQ(result.out, kHtmlHeader +
                            "<html>\n<head>\n<script language=javascript>\nlocation.href=\"/done.html\";\n"
                            "</script>\n</head>\n<body>\n</body>\n</html>\n");
  EXPECT_EQ(root.Journal(), Lines{"/usr/sbin/fuc -sh sft-string offset=1 data=ZBC123"});
  EXPECT_FALSE(root.Exists("/old1.txt"));
  EXPECT_FALSE(root.Exists("/old2.txt"));
  EXPECT_TRUE(root.Exists("/keep.txt"));
}

TEST(ChgHwOption, FailureRunsNothingAndRemovesNothing) {
  harness::SandboxRoot root;
  root.WriteFile(kDriverText, kBasicConf);
  root.WriteFile("/old1.txt", "1");

  RunIn(root, "nxchghwoption.cgi", "Offset=5&String=XY&RmFiles=old1.txt");

  EXPECT_TRUE(root.Journal().empty());
  EXPECT_TRUE(root.Exists("/old1.txt"));
}

TEST(ChgHwOption, InjectedTextRunsOnlyTheFlashUtility) {
  const std::string product(63, 'p');
  // ;touch X;$(touch Y)`touch Z`'
  const std::string injected = "%3Btouch%20X%3B%24(touch%20Y)%60touch%20Z%60%27";
  const std::string plain = ";touch X;$(touch Y)`touch Z`'";
  harness::SandboxRoot root;
  root.WriteFile(kDriverText, "KVF_STR1=\"" + product + "\";");

  const harness::ProcessResult result = RunIn(root, "nxchghwoption.cgi", "Offset=10&String=" + injected);

  EXPECT_EQ(result.out, kHtmlHeader);
  std::string stored = product;
  stored.replace(10, plain.size(), plain);
  EXPECT_EQ(root.Journal(), Lines{"/usr/sbin/fuc -sh sft-string offset=1 data=" + stored});
  for (const char* name : {"/X", "/Y", "/Z"}) EXPECT_FALSE(root.Exists(name)) << name;
}

struct UartSetCase {
  const char* name;
  const char* query;
  const char* body;  // after the header
  Lines journal;
};

void PrintTo(const UartSetCase& c, std::ostream* out) { *out << c.name; }

const UartSetCase kUartSetCases[] = {
    {"FirstPortOnly",
     "NxCgiVer=1&Ttys0_Mode=rs485",
     "",
     {"/usr/sbin/fuc -sh sft-config offset=0 data=/r,/."}},
    {"BothPorts",
     "NxCgiVer=0&Ttys0_Mode=2&Ttys1_Mode=4w",
     "",
     {"/usr/sbin/fuc -sh sft-config offset=0 data=/2,/4"}},
    {"NeitherPort", "NxCgiVer=0x10000", "", {"/usr/sbin/fuc -sh sft-config offset=0 data=/.,/."}},
    {"EmptyModes",
     "NxCgiVer=1&Ttys0_Mode=&Ttys1_Mode=",
     "",
     {"/usr/sbin/fuc -sh sft-config offset=0 data=/.,/."}},
    {"NoVersion", "Ttys0_Mode=r", " CgiVer is error ffff\n", {}},
    {"BadVersion", "NxCgiVer=2&Ttys0_Mode=r", " CgiVer is error 0002\n", {}},
    {"QuoteAndSemicolon",
     "NxCgiVer=1&Ttys0_Mode=%27x&Ttys1_Mode=%3Btouch%20X",
     "",
     {"/usr/sbin/fuc -sh sft-config offset=0 data=/',/;"}},
    {"CommandSubstitution",
     "NxCgiVer=1&Ttys0_Mode=%24(touch%20X)&Ttys1_Mode=%60touch%20X%60",
     "",
     {"/usr/sbin/fuc -sh sft-config offset=0 data=/$,/`"}},
};

class UartSetTest : public testing::TestWithParam<UartSetCase> {};

TEST_P(UartSetTest, StoresThePortModes) {
  const UartSetCase& c = GetParam();
  harness::SandboxRoot root;

  const harness::ProcessResult result = RunIn(root, "nxuartset.cgi", c.query);

  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.out, kHtmlHeader + c.body);
  EXPECT_EQ(root.Journal(), c.journal);
  EXPECT_FALSE(root.Exists("/X"));
}

INSTANTIATE_TEST_SUITE_P(Cases, UartSetTest, testing::ValuesIn(kUartSetCases),
                         [](const testing::TestParamInfo<UartSetCase>& info) { return info.param.name; });

}  // namespace

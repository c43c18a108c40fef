// nxuoutset.cgi: UartOutConf.bin of the configuration root edited field by
// field, byte for byte, and the serial output service restarted.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "harness/bytes.h"
#include "harness/device_root.h"
#include "harness/expected_pages.h"
#include "harness/process.h"
#include "harness/sandbox.h"

namespace {

using harness::Bytes;
using Lines = std::vector<std::string>;

constexpr const char* kUartOutConf = "/opt/vsb/etc/NxConf/UartOutConf.bin";
const Lines kRestart = {"/etc/init.d/uartsvc restart"};

struct UartOutCase {
  const char* name;
  std::size_t file_size;  // 0: no file at all
  const char* query;
  void (*expect)(Bytes&);  // null: the request fails and the file stays as it was
};

void PrintTo(const UartOutCase& c, std::ostream* out) { *out << c.name; }

const UartOutCase kCases[] = {
    {"OnlyParity", 12, "NxCgiVer=1&ParityBit=E", [](Bytes& b) { harness::PutU8(b, 10, 0x45); }},
    {"NothingGivenRewritesAsRead", 12, "NxCgiVer=0", [](Bytes&) {}},
    {"AllCutToWidth", 12,
     "NxCgiVer=1&Mode485On=0x12345&BaudRate=70000&DataBit=300&StopBit=-1&ParityBit=Odd&X10Mode=0x1ff",
     [](Bytes& b) {
       harness::PutU16(b, 4, 0x2345);
       harness::PutU16(b, 6, 4464);
       harness::PutU8(b, 8, 0x2c);
       harness::PutU8(b, 9, 0xff);
       harness::PutU8(b, 10, 'O');
       harness::PutU8(b, 11, 0xff);
     }},
    {"EmptyFieldsKeep", 12, "NxCgiVer=1&BaudRate=&ParityBit=&DataBit=7",
     [](Bytes& b) { harness::PutU8(b, 8, 7); }},
    {"VersionByLowBits", 12, "NxCgiVer=0x10001&StopBit=2", [](Bytes& b) { harness::PutU8(b, 9, 2); }},
    {"VersionMissing", 12, "ParityBit=E", nullptr},
    {"VersionTwo", 12, "NxCgiVer=2&ParityBit=E", nullptr},
    {"ShortFile", 11, "NxCgiVer=1&ParityBit=E", nullptr},
    {"NoFile", 0, "NxCgiVer=1&ParityBit=E", nullptr},
};

class UartOutSetTest : public testing::TestWithParam<UartOutCase> {};

TEST_P(UartOutSetTest, FileAnswerAndRestart) {
  const UartOutCase& c = GetParam();
  harness::SandboxRoot root;
  harness::MakeDeviceRoot(root);
  const Bytes start = harness::PatternBytes(c.file_size);
  if (c.file_size == 0) {
    root.Remove(kUartOutConf);
  } else {
    root.WriteFile(kUartOutConf, start);
  }

  const harness::ProcessResult result = harness::GetCgi("nxuoutset.cgi", c.query, root.path());

  EXPECT_EQ(result.exit_status, 0);
  if (c.file_size == 0) {
    EXPECT_FALSE(root.Exists(kUartOutConf));
  }
  if (c.expect == nullptr) {
    EXPECT_EQ(result.out, harness::kHtmlHeader + harness::ErrorPage("nxuoutset.cgi", ""));
    if (c.file_size != 0) {
      EXPECT_EQ(harness::DescribeDifference(start, root.ReadFile(kUartOutConf)), "");
    }
    EXPECT_TRUE(root.Journal().empty());
    return;
  }
  Bytes expected = start;
  c.expect(expected);
  EXPECT_EQ(result.out, harness::kHtmlHeader);
  EXPECT_EQ(harness::DescribeDifference(expected, root.ReadFile(kUartOutConf)), "");
  EXPECT_EQ(root.Journal(), kRestart);
}

INSTANTIATE_TEST_SUITE_P(Cases, UartOutSetTest, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<UartOutCase>& info) { return info.param.name; });

TEST(UartOutSet, EpilogueFollowsTheRestart) {
  harness::SandboxRoot root;
  harness::MakeDeviceRoot(root);
  const harness::ProcessResult result =
      harness::PostCgi("nxuoutset.cgi", "NxCgiVer=1&BaudRate=3&SaveCfg=YES&RetReDir=/uart.html", root.path());
  EXPECT_EQ(result.out, harness::kHtmlHeader +
                            "<html>\n<head>\n<script language=javascript>\nlocation.href=\"/uart.html\";\n"
                            "</script>\n</head>\n<body>\n</body>\n</html>\n");
  EXPECT_EQ(root.Journal(), (Lines{"/etc/init.d/uartsvc restart", "/usr/sbin/savecfg"}));
  EXPECT_EQ(harness::GetU16(root.ReadFile(kUartOutConf), 6), 3);
}

}  // namespace

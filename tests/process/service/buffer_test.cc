// Image buffer, keep ratio and dial-up settings through the real executable.
#include <gtest/gtest.h>

#include <string>

#include "harness/bytes.h"
#include "harness/device_root.h"
#include "harness/expected_pages.h"
#include "harness/process.h"

namespace {

using harness::Bytes;

const std::string kHeader = harness::kHtmlHeader;
constexpr const char* kImgBuf = "/opt/vsb/etc/NxConf/NxModId1/ImgBufConf.bin";
constexpr const char* kRdsk = "/opt/vsb/etc/NxConf/RdskBuffConf.bin";
constexpr const char* kDialUp = "/opt/vsb/etc/NxConf/DialUpConf.bin";

std::string ErrorPage(const std::string& cgi) { return kHeader + harness::ErrorPage(cgi, ""); }

struct BufferCase {
  const char* test_name;
  const char* cgi;
  const char* file;
  std::size_t size;  // of the file on disk
  std::string form;
  std::string answer;      // whole answer
  void (*expect)(Bytes&);  // null: the file is untouched (not even rewritten)
};

class BufferSettings : public testing::TestWithParam<BufferCase> {};

TEST_P(BufferSettings, Answer) {
  const BufferCase& c = GetParam();
  harness::DeviceRoot root;
  Bytes start = harness::PatternBytes(c.size);
  if (std::string(c.file) == kRdsk) {
    for (uint32_t i = 0; i < 4; ++i) harness::PutU32(start, 4 * i, 7 + i);
  }
  root.WriteFile(c.file, start);
  const harness::ProcessResult result = harness::PostCgi(c.cgi, c.form, root.path());
  EXPECT_EQ(result.out, c.answer);
  Bytes expected = start;
  if (c.expect != nullptr) c.expect(expected);
  EXPECT_EQ(harness::DescribeDifference(expected, root.ReadFile(c.file)), "");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BufferSettings,
    testing::Values(
        BufferCase{"PortPair", "nxibufdevport.cgi", kImgBuf, 36,
                   "NxModId=65537&NxCgiVer=1&PortId=2&PreBuffDepth=5&PerPauseTime=6", kHeader,
                   [](Bytes& b) {
                     harness::PutU32(b, 4 + 16, 5);
                     harness::PutU32(b, 8 + 16, 6);
                   }},
        BufferCase{"PortAboveThreeFails", "nxibufdevport.cgi", kImgBuf, 36,
                   "NxModId=1&NxCgiVer=1&PortId=4&PreBuffDepth=5", ErrorPage("nxibufdevport.cgi"), nullptr},
        BufferCase{"PortShortFileFails", "nxibufdevport.cgi", kImgBuf, 35,
                   "NxModId=1&NxCgiVer=1&PortId=0&PreBuffDepth=5", ErrorPage("nxibufdevport.cgi"), nullptr},
        BufferCase{"AllPortsOnlyPauseTime3", "nxibufdev.cgi", kImgBuf, 36,
                   "NxModId=1&NxCgiVer=1&PauseTime3=9", kHeader, [](Bytes& b) { harness::PutU32(b, 32, 9); }},
        BufferCase{"AllPorts", "nxibufdev.cgi", kImgBuf, 36,
                   "NxModId=1&NxCgiVer=1&BuffDepth0=1&PauseTime0=2&BuffDepth1=3&BuffDepth2=5&PauseTime2=6",
                   kHeader,
                   [](Bytes& b) {
                     harness::PutU32(b, 4, 1);
                     harness::PutU32(b, 8, 2);
                     harness::PutU32(b, 12, 3);
                     harness::PutU32(b, 20, 5);
                     harness::PutU32(b, 24, 6);
                   }},
        BufferCase{"AllPortsVersionMissing", "nxibufdev.cgi", kImgBuf, 36, "NxModId=1&BuffDepth0=1",
                   kHeader + "Invalid CgiVer = ffff<br>\n", nullptr},
        BufferCase{"AllPortsVersionTwo", "nxibufdev.cgi", kImgBuf, 36,
                   "NxModId=1&NxCgiVer=0x20002&BuffDepth0=1", kHeader + "Invalid CgiVer = 0002<br>\n",
                   nullptr},
        BufferCase{"AllPortsModuleMissing", "nxibufdev.cgi", kImgBuf, 36, "NxCgiVer=1&BuffDepth0=1",
                   kHeader + "Invalid NxModId = -1<br>\n", nullptr},
        BufferCase{"AllPortsModuleFour", "nxibufdev.cgi", kImgBuf, 36, "NxModId=4&NxCgiVer=1",
                   kHeader + "Invalid NxModId = 4<br>\n", nullptr},
        BufferCase{"AllPortsShortFile", "nxibufdev.cgi", kImgBuf, 20, "NxModId=1&NxCgiVer=1&BuffDepth0=1",
                   kHeader + "CfgFileRead(ImgBufConf.bin) error <br>\n", nullptr},
        BufferCase{"RatioEqualToStoredWritesNothing", "nxrdskbuff.cgi", kRdsk, 48,
                   "NxCgiVer=1&KeepPerTempRatio1=8", kHeader, nullptr},
        BufferCase{"NegativeRatioIsIgnored", "nxrdskbuff.cgi", kRdsk, 48, "NxCgiVer=1&KeepPerTempRatio2=-5",
                   kHeader, nullptr},
        BufferCase{"NewRatioClearsBothTables", "nxrdskbuff.cgi", kRdsk, 48, "NxCgiVer=1&KeepPerTempRatio2=0",
                   kHeader,
                   [](Bytes& b) {
                     harness::PutU32(b, 8, 0);
                     harness::PutZeros(b, 16, 32);
                   }},
        BufferCase{"RatioVersionMissingFails", "nxrdskbuff.cgi", kRdsk, 48, "KeepPerTempRatio2=0",
                   ErrorPage("nxrdskbuff.cgi"), nullptr},
        BufferCase{"MediaType", "nxdialup.cgi", kDialUp, 8, "NxCgiVer=1&MediaType=3", kHeader,
                   [](Bytes& b) { harness::PutU32(b, 4, 3); }},
        BufferCase{"DialUpWithoutMediaTypeRewritesUnchanged", "nxdialup.cgi", kDialUp, 8, "NxCgiVer=1",
                   kHeader, [](Bytes&) {}},
        BufferCase{"DialUpShortFileFails", "nxdialup.cgi", kDialUp, 7, "NxCgiVer=1&MediaType=3",
                   ErrorPage("nxdialup.cgi"), nullptr}),
    [](const auto& info) { return std::string(info.param.test_name); });

}  // namespace

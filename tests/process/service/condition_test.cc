// nxcondcfg.cgi through the real executable: which record of which table a
// request edits, the reset of what is not given, and the fixed values.
#include <gtest/gtest.h>

#include <string>

#include "harness/bytes.h"
#include "harness/device_root.h"
#include "harness/expected_pages.h"
#include "harness/process.h"

namespace {

using harness::Bytes;

const std::string kHeader = harness::kHtmlHeader;
const std::string kErrorAnswer = kHeader + harness::ErrorPage("nxcondcfg.cgi", "");

struct Service {
  const char* file;
  std::size_t size;
  std::size_t first_table;  // condition table of entry 0
  std::size_t entry_size;   // 0: one table only
};

constexpr Service kServices[] = {
    {"MailConf.bin", 4572, 396 + 348, 1044},
    {"DiCgiConf.bin", 4304, 496 + 256, 952},
    {"FtpSigSvcConf.bin", 3076, 228 + 16, 712},
    {"nTimeConf.bin", 772, 76, 0},
    {"ImgHoldConf.bin", 2840, 8 + 12, 708},
    {"DOutSvcConf.bin", 2808, 8 + 4, 700},
    {"FtpDurSvcConf.bin", 3032, 232 + 4, 700},
    {"AoipConf.bin", 788, 92, 0},
    {"CallConf.bin", 704, 8, 0},
};

std::size_t RecordOffset(int service, int entry, int cond) {
  const Service& s = kServices[service];
  return s.first_table + (s.entry_size != 0 ? s.entry_size * entry : 0) + 232 * cond;
}

std::string FilePath(int service) {
  return std::string("/opt/vsb/etc/NxConf/NxModId2/") + kServices[service].file;
}

void PutFixedValues(Bytes& b, std::size_t record) {
  harness::PutU8(b, record + 8, 0xff);
  harness::PutU8(b, record + 9, 0xff);
  harness::PutU8(b, record + 10, 0xff);
  harness::PutU32(b, record + 28, 1);
  harness::PutU32(b, record + 40, 0);
  harness::PutU32(b, record + 52, 1);
  harness::PutU8(b, record + 100, 0);
}

// Offsets of the time fields in the order SMon, SDay, SHour, SMin, EMon, EDay, EHour, EMin.
constexpr std::size_t kTimeOffsets[] = {20, 32, 44, 56, 24, 36, 48, 60};
// Weekday, LevelHig, LevelHig_AuxEvent, LevelLow, EdgeRise, EdgeFall.
constexpr std::size_t kFlagOffsets[] = {64, 84, 88, 92, 68, 76};

struct ConditionCase {
  const char* test_name;
  std::string form;  // besides NxCgiVer=1&NxModId=2
  int service;
  int entry;  // -1: the request fails and no file changes
  int cond;
  void (*extra)(Bytes&, std::size_t record);  // changes beyond reset and fixed values
};

class ConditionRecords : public testing::TestWithParam<ConditionCase> {};

TEST_P(ConditionRecords, EditOneRecord) {
  const ConditionCase& c = GetParam();
  harness::DeviceRoot root;
  const Bytes start = harness::PatternBytes(kServices[c.service].size, 5);
  root.WriteFile(FilePath(c.service), start);

  const harness::ProcessResult result =
      harness::PostCgi("nxcondcfg.cgi", "NxCgiVer=1&NxModId=2&" + c.form, root.path());

  Bytes expected = start;
  if (c.entry < 0) {
    EXPECT_EQ(result.out, kErrorAnswer);
  } else {
    EXPECT_EQ(result.out, kHeader);
    const std::size_t record = RecordOffset(c.service, c.entry, c.cond);
    for (std::size_t offset : kTimeOffsets) harness::PutU32(expected, record + offset, 0xffffffff);
    for (std::size_t offset : kFlagOffsets) harness::PutU32(expected, record + offset, 0);
    PutFixedValues(expected, record);
    if (c.extra != nullptr) c.extra(expected, record);
  }
  EXPECT_EQ(harness::DescribeDifference(expected, root.ReadFile(FilePath(c.service))), "");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ConditionRecords,
    testing::Values(
        ConditionCase{"OnlyIdsResetsTimesAndFlags", "SvcId=0&MinId=1&CondId=0", 0, 1, 0, nullptr},
        ConditionCase{"AllFields",
                      "SvcId=0&MinId=3&CondId=1&Used=1&Desc=front%20door&SMon=1&SDay=2&SHour=3&SMin=4&EMon=5"
                      "&EDay=6&EHour=7&EMin=8&Weekday=0x7f&LevelHig=1&LevelHig_AuxEvent=2&LevelLow=3"
                      "&EdgeRise=4&EdgeFall=5",
                      0, 3, 1,
                      [](Bytes& b, std::size_t r) {
                        harness::PutU32(b, r + 4, 1);
                        harness::PutString(b, r + 104, "front door");
                        for (uint32_t i = 0; i < 8; ++i) harness::PutU32(b, r + kTimeOffsets[i], i + 1);
                        harness::PutU32(b, r + 64, 0x7f);
                        for (uint32_t i = 1; i < 6; ++i) harness::PutU32(b, r + kFlagOffsets[i], i);
                      }},
        ConditionCase{"ThirdRecordOfTheTable", "SvcId=2&MinId=3&CondId=2&SMon=12", 2, 3, 2,
                      [](Bytes& b, std::size_t r) { harness::PutU32(b, r + 20, 12); }},
        ConditionCase{"EmptyTimeCountsAsNotGiven", "SvcId=1&MinId=0&CondId=0&SMon=&EMin=-5", 1, 0, 0,
                      [](Bytes& b, std::size_t r) { harness::PutU32(b, r + 60, 0xfffffffb); }},
        ConditionCase{"DescOf127IsStored", "SvcId=4&MinId=2&CondId=1&Desc=" + std::string(127, 'd'), 4, 2, 1,
                      [](Bytes& b, std::size_t r) { harness::PutString(b, r + 104, std::string(127, 'd')); }},
        ConditionCase{"DescOf128KeepsTheOld", "SvcId=5&MinId=1&CondId=0&Desc=" + std::string(128, 'd'), 5, 1,
                      0, nullptr},
        ConditionCase{"SingleTableIgnoresTheEntry", "SvcId=8&MinId=5&CondId=0&Used=3", 8, 0, 0,
                      [](Bytes& b, std::size_t r) { harness::PutU32(b, r + 4, 3); }},
        ConditionCase{"NTimeTable", "SvcId=3&MinId=0&CondId=2", 3, 0, 2, nullptr},
        ConditionCase{"AoipTable", "SvcId=7&MinId=4&CondId=1", 7, 0, 1, nullptr},
        ConditionCase{"IntervalFtpTable", "SvcId=6&MinId=3&CondId=0", 6, 3, 0, nullptr},
        ConditionCase{"CondIdThreeFails", "SvcId=0&MinId=0&CondId=3", 0, -1, 0, nullptr},
        ConditionCase{"CondIdMinusOneFails", "SvcId=0&MinId=0&CondId=-1", 0, -1, 0, nullptr},
        ConditionCase{"CondIdMissingFails", "SvcId=0&MinId=0", 0, -1, 0, nullptr},
        ConditionCase{"SvcIdNineFails", "SvcId=9&MinId=0&CondId=0", 0, -1, 0, nullptr},
        ConditionCase{"SvcIdMissingFails", "MinId=0&CondId=0", 0, -1, 0, nullptr},
        ConditionCase{"MinIdSixFails", "SvcId=0&MinId=6&CondId=0", 0, -1, 0, nullptr},
        ConditionCase{"MinIdMissingFails", "SvcId=0&CondId=0", 0, -1, 0, nullptr},
        ConditionCase{"MinIdFourOfAPortServiceIsRefused", "SvcId=0&MinId=4&CondId=0", 0, -1, 0, nullptr},
        ConditionCase{"MinIdFiveOfAPortServiceIsRefused", "SvcId=6&MinId=5&CondId=2", 6, -1, 0, nullptr}),
    [](const auto& info) { return std::string(info.param.test_name); });

TEST(ConditionRecords, VersionIsCheckedAndModuleRange) {
  harness::DeviceRoot root;
  const Bytes start = harness::PatternBytes(704);
  root.WriteFile("/opt/vsb/etc/NxConf/NxModId3/CallConf.bin", start);
  for (const char* form :
       {"NxModId=3&SvcId=8&MinId=0&CondId=0", "NxCgiVer=2&NxModId=3&SvcId=8&MinId=0&CondId=0",
        "NxCgiVer=1&NxModId=4&SvcId=8&MinId=0&CondId=0", "NxCgiVer=1&SvcId=8&MinId=0&CondId=0"}) {
    EXPECT_EQ(harness::PostCgi("nxcondcfg.cgi", form, root.path()).out, kErrorAnswer) << form;
  }
  EXPECT_EQ(root.ReadFile("/opt/vsb/etc/NxConf/NxModId3/CallConf.bin"), start);
  EXPECT_EQ(
      harness::PostCgi("nxcondcfg.cgi", "NxCgiVer=1&NxModId=65539&SvcId=8&MinId=0&CondId=0", root.path()).out,
      kHeader);
  EXPECT_NE(root.ReadFile("/opt/vsb/etc/NxConf/NxModId3/CallConf.bin"), start);
}

}  // namespace

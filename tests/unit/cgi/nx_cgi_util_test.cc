#include "cgi/nx_cgi_util.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "harness/in_process.h"

namespace {

struct NumberCase {
  const char* text;
  int32_t value;
};

class NumberConversion : public testing::TestWithParam<NumberCase> {};

TEST_P(NumberConversion, StrToNum) { EXPECT_EQ(StrToNum(GetParam().text), GetParam().value); }

INSTANTIATE_TEST_SUITE_P(Cases, NumberConversion,
                         testing::Values(NumberCase{"0x1F", 31}, NumberCase{"0X1f", 31},
                                         NumberCase{"0x0x1f", 31}, NumberCase{"0x1g2", 1},
                                         NumberCase{"0x", 0}, NumberCase{"017", 17}, NumberCase{"  42", 42},
                                         NumberCase{"-1", -1}, NumberCase{"abc", 0}, NumberCase{"", 0},
                                         NumberCase{"12abc", 12}, NumberCase{"+7", 7},
                                         NumberCase{"0xFFFFFFFF", -1}, NumberCase{"0x100000001", 1},
                                         NumberCase{"99999999999", INT32_MAX},
                                         NumberCase{"-99999999999", INT32_MIN}));

TEST(HexStrToNum, SkipsOnePrefixAndStopsAtTheFirstNonDigit) {
  EXPECT_EQ(HexStrToNum("ff"), 0xffu);
  EXPECT_EQ(HexStrToNum("0xAbC"), 0xabcu);
  EXPECT_EQ(HexStrToNum("0x0xf"), 0u);
  EXPECT_EQ(HexStrToNum("12 34"), 0x12u);
}

struct CheckCase {
  const char* form;
  int result;
  uint32_t stored;
  const char* message;
};

class VersionCheck : public testing::TestWithParam<CheckCase> {};

TEST_P(VersionCheck, AcceptsLow16BitsZeroOrOne) {
  harness::InProcess process;
  const CheckCase& c = GetParam();
  process.SetForm(c.form);
  char err_msg[kCgiErrMsgSize] = {};
  uint16_t version = 0xBEEF;
  EXPECT_EQ(CgiGetNCheckVersion(&version, err_msg), c.result);
  EXPECT_EQ(version, c.stored);
  EXPECT_STREQ(err_msg, c.message);
}

INSTANTIATE_TEST_SUITE_P(Cases, VersionCheck,
                         testing::Values(CheckCase{"NxCgiVer=1", 1, 1, ""},
                                         CheckCase{"NxCgiVer=0x0001", 1, 1, ""},
                                         CheckCase{"NxCgiVer=0", 1, 0, ""},
                                         CheckCase{"NxCgiVer=2", 0, 2, "Error NxCgiVer : 0002\n"},
                                         CheckCase{"NxCgiVer=65537", 1, 1, ""},
                                         CheckCase{"NxCgiVer=-1", 0, 0xffff, "Error NxCgiVer : ffff\n"},
                                         CheckCase{"", 0, 0xBEEF, "Error NxCgiVer  (not found)\n"},
                                         CheckCase{"NxCgiVer=", 0, 0xBEEF, "Error NxCgiVer  (not found)\n"}));

class PortCheck : public testing::TestWithParam<CheckCase> {};

TEST_P(PortCheck, AcceptsZeroToThree) {
  harness::InProcess process;
  const CheckCase& c = GetParam();
  process.SetForm(c.form);
  char err_msg[kCgiErrMsgSize] = {};
  uint32_t port = 77;
  EXPECT_EQ(CgiGetNCheckPortId(&port, err_msg), c.result);
  EXPECT_EQ(port, c.stored);
  EXPECT_STREQ(err_msg, c.message);
}

INSTANTIATE_TEST_SUITE_P(Cases, PortCheck,
                         testing::Values(CheckCase{"PortId=3", 1, 3, ""},
                                         CheckCase{"PortId=4", 0, 4, "Error PortId : 4\n"},
                                         CheckCase{"PortId=-1", 0, 0xffffffffu, "Error PortId : -1\n"},
                                         CheckCase{"PortId=0x2", 1, 2, ""},
                                         CheckCase{"NxModId=1", 0, 77, "Error PortId (not found)\n"}));

TEST(ModuleCheck, StoresAnyValueWithoutRangeTest) {
  harness::InProcess process;
  char err_msg[kCgiErrMsgSize] = {};
  uint32_t module = 0;
  process.SetForm("NxModId=65537");
  EXPECT_EQ(CgiGetNCheckModuleId(&module, err_msg), 1);
  EXPECT_EQ(module, 65537u);
  process.SetForm(std::string("NxModId=") + std::string(128, '1'));  // too long: counts as missing
  EXPECT_EQ(CgiGetNCheckModuleId(&module, err_msg), 0);
  EXPECT_STREQ(err_msg, "Error NxModId (not found)\n");
}

TEST(GetAndCheck, NullTargetsAreReportedOnStandardError) {
  harness::InProcess process;
  char err_msg[kCgiErrMsgSize] = {};
  const harness::Captured captured = process.Capture([&] {
    EXPECT_EQ(CgiGetNCheckModuleId(nullptr, err_msg), 0);
    EXPECT_EQ(CgiGetNCheckPortId(nullptr, err_msg), 0);
    EXPECT_EQ(CgiGetNCheckVersion(nullptr, err_msg), 0);
  });
  EXPECT_NE(captured.err.find("[CgiGetNCheckModuleId:NxCgiUtil("), std::string::npos);
  EXPECT_NE(captured.err.find(")]\ta_moduleId is NULL\n"), std::string::npos);
  EXPECT_NE(captured.err.find("[CgiGetNCheckPortId:NxCgiUtil("), std::string::npos);
  EXPECT_NE(captured.err.find(")]\ta_portId is NULL\n"), std::string::npos);
  EXPECT_NE(captured.err.find(")]\ta_version is NULL\n"), std::string::npos);
  EXPECT_STREQ(err_msg, "");
}

TEST(CompareAndUpdate, IntegerWidthsAndChangeReport) {
  harness::InProcess process;
  process.SetForm("v=65535&big=0x1234567&neg=-2");
  int16_t short_value = 0;
  EXPECT_EQ(CgiCheckFieldOfShortType(&short_value, "v", nullptr), 1);
  EXPECT_EQ(short_value, -1);
  EXPECT_EQ(CgiCheckFieldOfShortType(&short_value, "v", nullptr), 0);

  uint16_t ushort_value = 0;
  EXPECT_EQ(CgiCheckFieldOfUShortType(&ushort_value, "big", nullptr), 1);
  EXPECT_EQ(ushort_value, 0x4567);

  uint8_t uchar_value = 0;
  EXPECT_EQ(CgiCheckFieldOfUCharType(&uchar_value, "neg", nullptr), 1);
  EXPECT_EQ(uchar_value, 0xfe);
  char char_value = static_cast<char>(0xfe);
  EXPECT_EQ(CgiCheckFieldOfCharType(&char_value, "neg", nullptr), 0);

  uint32_t uint_value = 5;
  EXPECT_EQ(CgiCheckFieldOfUIntType(&uint_value, "neg", nullptr), 1);
  EXPECT_EQ(uint_value, 0xfffffffeu);
  int32_t int_value = -2;
  EXPECT_EQ(CgiCheckFieldOfIntType(&int_value, "neg", nullptr), 0);
}

TEST(CompareAndUpdate, MissingFieldKeepsTargetAndReportsOnlyWithABuffer) {
  harness::InProcess process;
  process.SetForm("empty=");
  char err_msg[kCgiErrMsgSize] = {};
  uint32_t value = 9;
  EXPECT_EQ(CgiCheckFieldOfUIntType(&value, "empty", err_msg), 0);
  EXPECT_EQ(value, 9u);
  EXPECT_STREQ(err_msg, "field empty is not found\n");
  const harness::Captured captured =
      process.Capture([&] { EXPECT_EQ(CgiCheckFieldOfUIntType(&value, "absent", nullptr), 0); });
  EXPECT_EQ(captured.err, "");
  const harness::Captured null_target =
      process.Capture([&] { EXPECT_EQ(CgiCheckFieldOfUIntType(nullptr, "x", nullptr), 0); });
  EXPECT_NE(null_target.err.find("[CgiCheckFieldOfUIntType:NxCgiUtil("), std::string::npos);
  EXPECT_NE(null_target.err.find(")]\tfield x is NULL\n"), std::string::npos);
}

TEST(CompareAndUpdate, StringIsCutToSizeAndStillReportsAChange) {
  harness::InProcess process;
  process.SetForm("s=abcdefghij&same=abc");
  char target[8] = "";
  EXPECT_EQ(CgiCheckFieldOfStringType(target, sizeof target, "s", nullptr), 1);
  EXPECT_STREQ(target, "abcdefg");
  EXPECT_EQ(CgiCheckFieldOfStringType(target, sizeof target, "s", nullptr), 1);
  char same[8] = "abc";
  EXPECT_EQ(CgiCheckFieldOfStringType(same, sizeof same, "same", nullptr), 0);
}

TEST(CompareAndUpdate, IndexVariantsReadNameFollowedByIndex) {
  harness::InProcess process;
  process.SetForm("Port3=7&Port=1");
  uint32_t value = 0;
  EXPECT_EQ(CgiCheckFieldOfUIntTypeWithIndex(&value, "Port", 3, nullptr), 1);
  EXPECT_EQ(value, 7u);
  int16_t short_value = 0;
  EXPECT_EQ(CgiCheckFieldOfShortTypeWithIndex(&short_value, "Port", 2, nullptr), 0);
  char err_msg[kCgiErrMsgSize] = {};
  EXPECT_EQ(CgiCheckFieldOfUCharTypeWithIndex(nullptr, "Port", 4, err_msg), 0);
  const std::string long_name(200, 'n');
  const harness::Captured captured = process.Capture(
      [&] { EXPECT_EQ(CgiCheckFieldOfIntTypeWithIndex(nullptr, long_name.c_str(), 12, nullptr), 0); });
  EXPECT_NE(captured.err.find(")]\tfail to make name(" + long_name + ") with index(12)\n"),
            std::string::npos);
}

}  // namespace

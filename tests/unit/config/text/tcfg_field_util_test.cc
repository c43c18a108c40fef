// Typed name=value fields of a Tcfg.
#include "config/text/tcfg_field_util.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "unit/config/text/tcfg_test_support.h"

namespace {

using tcfg_test::CfgPtr;
using tcfg_test::Err;
using tcfg_test::MemCfg;
using tcfg_test::Rows;
using Lines = std::vector<std::string>;

class TcfgFieldFileTest : public tcfg_test::DeviceRootTest {};

// Rewriting a file from nothing: the file holds exactly the appended lines.
TEST_F(TcfgFieldFileTest, AppendedFieldsAreTheWholeFile) {
  constexpr const char* kPath = "/opt/vsb/etc/esmta.conf";
  root_.WriteFile(kPath, "STALE=1\n");
  CfgPtr cfg(new_cfg(kPath));
  ASSERT_NE(cfg, nullptr);
  EXPECT_EQ(AppendIntFieldOfTcfg(cfg.get(), "PORT", 25), 1);
  EXPECT_EQ(AppendStringFieldOfTcfg(cfg.get(), "SERVER", "mail.example.com"), 1);
  EXPECT_EQ(AppendIntFieldOfTcfg(cfg.get(), "RETRY", -1), 1);
  EXPECT_EQ(AppendStringFieldOfTcfg(cfg.get(), "USER", ""), 1);
  EXPECT_EQ(save_cfg(cfg.get()), 0);
  EXPECT_EQ(root_.ReadFile(kPath), "PORT=25\nSERVER=mail.example.com\nRETRY=-1\nUSER=\n");
}

TEST(TcfgFields, AppendRefusesMissingArgumentsAndOverlongLines) {
  CfgPtr cfg = MemCfg("");
  struct Case {
    const char* name;
    std::string value;
    int result;
    const char* err;
  };
  const Case cases[] = {
      {"N", std::string(125, 'v'), 1, ""},
      {"N", std::string(126, 'v'), 0, "[AppendStringFieldOfTcfg:TcfgFieldUtil(L)]\tfail to make a new line"},
      {"", "v", 0, "[AppendStringFieldOfTcfg:TcfgFieldUtil(L)]\targument is NULL\n"},
      {nullptr, "v", 0, "[AppendStringFieldOfTcfg:TcfgFieldUtil(L)]\targument is NULL\n"},
  };
  for (const Case& c : cases) {
    int result = -1;
    EXPECT_EQ(Err([&] { result = AppendStringFieldOfTcfg(cfg.get(), c.name, c.value.c_str()); }), c.err);
    EXPECT_EQ(result, c.result);
  }
  int result = -1;
  EXPECT_EQ(Err([&] { result = AppendIntFieldOfTcfg(nullptr, "N", 1); }),
            "[AppendIntFieldOfTcfg:TcfgFieldUtil(L)]\targument is NULL\n");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Err([&] { result = AppendIntFieldOfTcfg(cfg.get(), std::string(120, 'n').c_str(), -123456); }),
            "[AppendIntFieldOfTcfg:TcfgFieldUtil(L)]\tfail to make a new line");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(get_row_count(cfg.get()), 1);
}

TEST(TcfgFields, LoadString) {
  CfgPtr cfg = MemCfg("NAME = \"cam one\" # c\nEMPTY=\nLONG=abcdefgh\n");
  char value[8] = "xxx";
  int result = -1;
  EXPECT_EQ(Err([&] { result = LoadStringFieldOfTcfg(cfg.get(), "NAME", value, sizeof value); }), "");
  EXPECT_EQ(result, 1);
  EXPECT_STREQ(value, "cam one");
  EXPECT_EQ(LoadStringFieldOfTcfg(cfg.get(), "EMPTY", value, sizeof value), 1);
  EXPECT_STREQ(value, "");
  EXPECT_EQ(Err([&] { result = LoadStringFieldOfTcfg(cfg.get(), "LONG", value, sizeof value); }),
            "insufficient string buffer size\n"
            "[LoadStringFieldOfTcfg:TcfgFieldUtil(L)]\tthere is no field(LONG)\n");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Err([&] { result = LoadStringFieldOfTcfg(cfg.get(), "NONE", value, sizeof value); }),
            "[LoadStringFieldOfTcfg:TcfgFieldUtil(L)]\tthere is no field(NONE)\n");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Err([&] { result = LoadStringFieldOfTcfg(cfg.get(), "NAME", nullptr, 8); }),
            "[LoadStringFieldOfTcfg:TcfgFieldUtil(L)]\targument is NULL\n");
  EXPECT_EQ(result, 0);
}

TEST(TcfgFields, LoadNumbers) {
  CfgPtr cfg = MemCfg(
      "DEC=42\nNEG=-7\nWORD=abc\nMIXED=12abc\nHEX=0x10\nHUGE=99999999999\nALL=-1\nWRAP=65537\nSHORT=65535\n");
  struct Case {
    const char* name;
    int32_t as_int;
  };
  const Case cases[] = {
      {"DEC", 42}, {"NEG", -7},         {"WORD", 0}, {"MIXED", 12},
      {"HEX", 0},  {"HUGE", INT32_MAX}, {"ALL", -1}, {"WRAP", 65537},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    int32_t value = 99;
    EXPECT_EQ(LoadIntFieldOfTcfg(cfg.get(), c.name, &value), 1);
    EXPECT_EQ(value, c.as_int);
  }
  uint32_t u32 = 0;
  EXPECT_EQ(LoadUIntFieldOfTcfg(cfg.get(), "ALL", &u32), 1);
  EXPECT_EQ(u32, 0xFFFFFFFFu);
  uint16_t u16 = 0;
  EXPECT_EQ(LoadUShortFieldOfTcfg(cfg.get(), "WRAP", &u16), 1);
  EXPECT_EQ(u16, 1);
  int16_t s16 = 0;
  EXPECT_EQ(LoadShortFieldOfTcfg(cfg.get(), "SHORT", &s16), 1);
  EXPECT_EQ(s16, -1);
}

TEST(TcfgFields, FailedLoadsLeaveTheTargetAndSayWhy) {
  CfgPtr cfg = MemCfg("A=1\n");
  int32_t i32 = 5;
  uint32_t u32 = 5;
  uint16_t u16 = 5;
  int16_t s16 = 5;
  int result = -1;
  // The narrower loads go through LoadIntFieldOfTcfg, which names itself.
  const char* missing = "[LoadIntFieldOfTcfg:TcfgFieldUtil(L)]\tthere is no field(B)\n";
  EXPECT_EQ(Err([&] { result = LoadIntFieldOfTcfg(cfg.get(), "B", &i32); }), missing);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Err([&] { result = LoadUIntFieldOfTcfg(cfg.get(), "B", &u32); }), missing);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Err([&] { result = LoadUShortFieldOfTcfg(cfg.get(), "B", &u16); }), missing);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Err([&] { result = LoadShortFieldOfTcfg(cfg.get(), "B", &s16); }), missing);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(i32, 5);
  EXPECT_EQ(u32, 5u);
  EXPECT_EQ(u16, 5);
  EXPECT_EQ(s16, 5);

  EXPECT_EQ(Err([&] { result = LoadIntFieldOfTcfg(nullptr, "A", &i32); }),
            "[LoadIntFieldOfTcfg:TcfgFieldUtil(L)]\targument is NULL\n");
  EXPECT_EQ(Err([&] { result = LoadIntFieldOfTcfg(cfg.get(), "", &i32); }),
            "[LoadIntFieldOfTcfg:TcfgFieldUtil(L)]\targument is NULL\n");
  EXPECT_EQ(Err([&] { result = LoadUIntFieldOfTcfg(cfg.get(), "A", nullptr); }),
            "[LoadUIntFieldOfTcfg:TcfgFieldUtil(L)]\targument is NULL\n");
  EXPECT_EQ(Err([&] { result = LoadUShortFieldOfTcfg(cfg.get(), "A", nullptr); }),
            "[LoadUShortFieldOfTcfg:TcfgFieldUtil(L)]\targument is NULL\n");
  EXPECT_EQ(Err([&] { result = LoadShortFieldOfTcfg(cfg.get(), "A", nullptr); }),
            "[LoadShortFieldOfTcfg:TcfgFieldUtil(L)]\targument is NULL\n");
  EXPECT_EQ(result, 0);
}

}  // namespace

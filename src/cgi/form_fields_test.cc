// The form vocabulary: number conversion, the identification fields' rules
// with their messages, and the compare-and-update family that tells a
// handler whether a record changed.
#include "cgi/form_fields.h"

#include <gtest/gtest.h>

#include "cgi/cgi_request.h"
#include "cgi/err_msg.h"
#include "cgi/nx_cgi_util.h"

namespace {

void SetForm(const std::string& form) {
  CgiFreeForm();
  CgiParseForm(form.data(), form.size());
}

TEST(FormFields, StrToNumAndHexStrToNum) {
  // clang-format off
  const std::tuple<const char*, int32_t, uint32_t> rows[] = {
      {"0x1F", 31, 0x1f},     {"0X1f", 31, 0x1f},       {"0x0x1f", 31, 0},  {"0x1g2", 1, 1},  {"0x", 0, 0},
      {"017", 17, 0x17},      {"  42", 42, 0},          {"-1", -1, 0},      {"abc", 0, 0xabc}, {"", 0, 0},
      {"12abc", 12, 0x12abc}, {"0xFFFFFFFF", -1, ~0u},  {"+7", 7, 0},       {"0x100000001", 1, 1},
      {"99999999999", INT32_MAX, 0x99999999},           {"-99999999999", INT32_MIN, 0}};
  // clang-format on
  for (const auto& [text, number, hex] : rows) {
    EXPECT_EQ(StrToNum(text), number) << text;
    EXPECT_EQ(HexStrToNum(text), hex) << text;
  }
}

// The get-and-check of NxCgiVer (v) or PortId (p) on the form,
// as "<result> <value stored, 77 for none> <message>".
std::string GetAndCheck(char field, const std::string& form) {
  SetForm(form);
  uint32_t id = 77;
  uint16_t version = 77;
  char message[kCgiErrMsgSize] = {};
  const int result = field == 'p' ? CgiGetNCheckPortId(&id, message) : CgiGetNCheckVersion(&version, message);
  return std::to_string(result) + " " + std::to_string(field == 'v' ? version : id) + " " + message;
}

TEST(FormFields, IdentificationFields) {
  // clang-format off
  const std::tuple<char, std::string, std::string> rows[] = {
      {'v', "NxCgiVer=1", "1 1 "},        {'v', "NxCgiVer=0", "1 0 "},     {'v', "NxCgiVer=65537", "1 1 "},
      {'v', "NxCgiVer=2", "0 2 Error NxCgiVer : 0002\n"},     {'v', "NxCgiVer=256", "0 256 Error NxCgiVer : 0100\n"},
      {'v', "NxCgiVer=-1", "0 65535 Error NxCgiVer : ffff\n"}, {'v', "NxCgiVer=", "0 77 Error NxCgiVer  (not found)\n"},
      {'p', "PortId=3", "1 3 "},          {'p', "PortId=0x2", "1 2 "},     {'p', "PortId=4", "0 4 Error PortId : 4\n"},
      {'p', "PortId=65536", "0 65536 Error PortId : 65536\n"},  {'p', "NxModId=1", "0 77 Error PortId (not found)\n"},
      {'p', "PortId=" + std::string(127, '1') + "1", "0 77 Error PortId (not found)\n"}};
  // clang-format on
  for (const auto& [field, form, expected] : rows) EXPECT_EQ(GetAndCheck(field, form), expected) << form;
}

// Compare-and-update cuts the number to the target's width and reports 1
// only when the stored value changed.
TEST(FormFields, CompareAndUpdate) {
  SetForm("v=65535&big=0x1234567&neg=-2&empty=&s=abcdefghij&same=abc");
  int16_t s16 = 0;
  uint16_t u16 = 0;
  uint32_t u32 = 5;
  char message[kCgiErrMsgSize] = {}, text[8] = "", same[8] = "abc";
  EXPECT_EQ(CgiCheckFieldOfShortType(&s16, "v", nullptr), 1);
  EXPECT_EQ(CgiCheckFieldOfShortType(&s16, "v", nullptr), 0);
  EXPECT_EQ(CgiCheckFieldOfUShortType(&u16, "big", nullptr), 1);
  EXPECT_EQ(CgiCheckFieldOfUIntType(&u32, "neg", nullptr), 1);
  EXPECT_EQ(CgiCheckFieldOfUIntType(&u32, "empty", message), 0);
  EXPECT_EQ(std::tuple(s16, u16, u32), std::tuple(int16_t{-1}, uint16_t{0x4567}, 0xfffffffeu));
  EXPECT_STREQ(message, "field empty is not found\n");
  EXPECT_EQ(CgiCheckFieldOfStringType(text, sizeof text, "s", nullptr), 1);
  EXPECT_STREQ(text, "abcdefg");
  EXPECT_EQ(CgiCheckFieldOfStringType(text, sizeof text, "s", nullptr), 1);  // cut short: still differs
  EXPECT_EQ(CgiCheckFieldOfStringType(same, sizeof same, "same", nullptr), 0);
}

}  // namespace

#include "platform/le_bytes.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "config/field_access.h"
#include "config/layouts/mail_conf.h"
#include "config/layouts/uart_out_conf.h"

namespace {

using Bytes = std::array<std::uint8_t, 12>;

TEST(LeBytes, StoresLowByteFirst) {
  Bytes bytes{};
  platform::StoreU32(bytes, 1, 0x11223344);
  platform::StoreU16(bytes, 6, 0xA1B2);
  platform::StoreU8(bytes, 9, 0xEE);
  EXPECT_EQ(bytes, (Bytes{0, 0x44, 0x33, 0x22, 0x11, 0, 0xB2, 0xA1, 0, 0xEE, 0, 0}));
  EXPECT_EQ(platform::LoadU32(bytes, 1), 0x11223344u);
  EXPECT_EQ(platform::LoadU16(bytes, 6), 0xA1B2u);
  EXPECT_EQ(platform::LoadU8(bytes, 9), 0xEEu);
}

TEST(LeBytes, SignedWordsKeepTheirSign) {
  Bytes bytes{};
  platform::StoreI32(bytes, 4, -1);
  EXPECT_EQ(platform::LoadU32(bytes, 4), 0xFFFFFFFFu);
  EXPECT_EQ(platform::LoadI32(bytes, 4), -1);
  platform::StoreI32(bytes, 4, -2147483647 - 1);
  EXPECT_EQ(platform::LoadI32(bytes, 4), -2147483647 - 1);
}

TEST(LeBytes, TextStoreKeepsTheTailAfterTheNul) {
  std::array<std::uint8_t, 8> bytes;
  bytes.fill('x');
  ASSERT_TRUE(platform::StoreText(bytes, 1, 6, "ab"));
  EXPECT_EQ(bytes, (std::array<std::uint8_t, 8>{'x', 'a', 'b', 0, 'x', 'x', 'x', 'x'}));
  EXPECT_EQ(platform::LoadText(bytes, 1, 6), "ab");
}

TEST(LeBytes, PaddedTextStoreZeroesTheRestOfTheField) {
  std::array<std::uint8_t, 8> bytes;
  bytes.fill('x');
  ASSERT_TRUE(platform::StoreTextPadded(bytes, 1, 6, "ab"));
  EXPECT_EQ(bytes, (std::array<std::uint8_t, 8>{'x', 'a', 'b', 0, 0, 0, 0, 'x'}));
}

TEST(LeBytes, TextOfTheFieldsWidthIsRefusedAndNothingStored) {
  std::array<std::uint8_t, 4> bytes{'o', 'l', 'd', 0};
  EXPECT_FALSE(platform::StoreText(bytes, 0, 4, "four"));
  EXPECT_FALSE(platform::StoreTextPadded(bytes, 0, 4, "four"));
  EXPECT_EQ(platform::LoadText(bytes, 0, 4), "old");
  EXPECT_TRUE(platform::StoreText(bytes, 0, 4, "new"));
  EXPECT_EQ(platform::LoadText(bytes, 0, 4), "new");
}

TEST(LeBytes, UnterminatedTextEndsAtTheFieldsEnd) {
  std::array<std::uint8_t, 5> bytes{'a', 'b', 'c', 'd', 'e'};
  EXPECT_EQ(platform::LoadText(bytes, 1, 3), "bcd");
}

TEST(FieldAccess, NumbersAreCutToTheFieldsWidth) {
  std::array<std::uint8_t, config::kMailConf.size> record{};
  constexpr config::FieldRef kSmtpPort = config::MustFind(config::kMailConf, "SmtpPort");
  config::StoreNumber(record, kSmtpPort, 70000);
  EXPECT_EQ(config::LoadNumber(record, kSmtpPort), 4464);
  EXPECT_EQ(record[kSmtpPort.offset - 1], 0);  // the padding byte before it
  EXPECT_EQ(record[kSmtpPort.offset + 2], 0);  // the user id after it

  std::array<std::uint8_t, config::kUartOutConf.size> uart{};
  constexpr config::FieldRef kDataBit = config::MustFind(config::kUartOutConf, "DataBit");
  config::StoreNumber(uart, kDataBit, 0x1234);
  EXPECT_EQ(uart[kDataBit.offset], 0x34);
  EXPECT_EQ(uart[kDataBit.offset + 1], 0);
}

TEST(FieldAccess, SignedFieldsLoadSignExtended) {
  std::array<std::uint8_t, config::kMailConf.size> record{};
  constexpr config::FieldRef kSMon = config::MustFind(config::kMailConf, "Port1.Cond2.SMon");
  constexpr config::FieldRef kQueue = config::MustFind(config::kMailConf, "Port1.QueueCount");
  config::StoreNumber(record, kSMon, -1);
  config::StoreNumber(record, kQueue, -1);
  EXPECT_EQ(config::LoadNumber(record, kSMon), -1);
  EXPECT_EQ(config::LoadNumber(record, kQueue), 0xFFFFFFFFll);
}

}  // namespace

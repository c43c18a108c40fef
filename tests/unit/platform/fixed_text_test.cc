#include "platform/fixed_text.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

// The host root on the device is an empty view without data; appending it
// must leave the text as it was (the sanitizer build catches a null memcpy).
TEST(FixedText, AppendingAnEmptyViewWithoutDataChangesNothing) {
  platform::FixedText<8> text;
  text.Append(std::string_view());
  text.Append("/etc");
  text.Append(std::string_view());
  EXPECT_STREQ(text.c_str(), "/etc");
  EXPECT_FALSE(text.overflow());
}

TEST(FixedText, AppendThatDoesNotFitMarksOverflowAndKeepsTheText) {
  platform::FixedText<8> text;
  text.Append("/opt");
  text.Append("/vsb/etc");
  EXPECT_TRUE(text.overflow());
  EXPECT_STREQ(text.c_str(), "/opt");
}

}  // namespace

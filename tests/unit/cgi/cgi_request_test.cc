#include "cgi/cgi_request.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "harness/in_process.h"

namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

Fields ParsedFields() {
  Fields fields;
  for (const CgiFormEntry* entry = CgiFormHead(); entry != nullptr; entry = entry->next) {
    fields.emplace_back(entry->name, entry->value);
  }
  return fields;
}

struct ParseCase {
  std::string data;
  Fields expected;
};

class FormParsing : public testing::TestWithParam<ParseCase> {};

TEST_P(FormParsing, BuildsEntriesInArrivalOrder) {
  harness::InProcess process;
  const ParseCase& c = GetParam();
  ASSERT_EQ(CgiParseForm(c.data.data(), c.data.size()), 0);
  EXPECT_EQ(ParsedFields(), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FormParsing,
    testing::Values(ParseCase{"a=1&b=2", {{"a", "1"}, {"b", "2"}}}, ParseCase{"a=1&", {{"a", "1"}}},
                    ParseCase{"a=", {{"a", ""}}}, ParseCase{"a=1&a=2", {{"a", "1"}, {"a", "2"}}},
                    ParseCase{"x&y=1", {{"x&y", "1"}}}, ParseCase{"a=1&&b=2", {{"a", "1"}, {"&b", "2"}}},
                    ParseCase{"k", {}}, ParseCase{"", {}}, ParseCase{"a=1&k", {{"a", "1"}}},
                    ParseCase{"a=b=c", {{"a", "b=c"}}}, ParseCase{"n=a+b%41%2", {{"n", "a bA"}}},
                    ParseCase{"%6E%61me=%7e", {{"name", "~"}}}, ParseCase{"v=%zz", {{"v", ""}}},
                    ParseCase{"v=%+1x", {{"v", "\x01x"}}}, ParseCase{"v=%", {{"v", ""}}}));

TEST(FormParsing, ParsesBytesPastAnEmbeddedNul) {
  harness::InProcess process;
  const std::string data("a=1\0&b=2", 8);
  ASSERT_EQ(CgiParseForm(data.data(), data.size()), 0);
  EXPECT_EQ(ParsedFields(), (Fields{{"a", "1"}, {"b", "2"}}));
}

TEST(FormLookup, FirstEntryOfANameWinsAndNamesAreCaseSensitive) {
  harness::InProcess process;
  process.SetForm("a=1&a=2&A=3");
  char value[16];
  EXPECT_EQ(CgiGetField("a", value, sizeof value), CGI_FIELD_OK);
  EXPECT_STREQ(value, "1");
  EXPECT_EQ(CgiGetField("A", value, sizeof value), CGI_FIELD_OK);
  EXPECT_STREQ(value, "3");
  EXPECT_EQ(CgiFindEntry("b"), nullptr);
}

struct FieldCase {
  std::string form;
  int size;
  int field_result;
  std::string field_value;
  int text_result;
  std::string text_value;
};

class FieldCopy : public testing::TestWithParam<FieldCase> {};

TEST_P(FieldCopy, BothAccessors) {
  harness::InProcess process;
  const FieldCase& c = GetParam();
  process.SetForm(c.form);
  std::vector<char> buffer(static_cast<size_t>(c.size), 'Z');
  EXPECT_EQ(CgiGetField("f", buffer.data(), c.size), c.field_result);
  EXPECT_EQ(std::string(buffer.data()), c.field_value);
  std::fill(buffer.begin(), buffer.end(), 'Z');
  EXPECT_EQ(CgiGetTextField("f", buffer.data(), c.size), c.text_result);
  EXPECT_EQ(std::string(buffer.data()), c.text_value);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FieldCopy,
    testing::Values(FieldCase{"f=abc", 16, CGI_FIELD_OK, "abc", CGI_FIELD_OK, "abc"},
                    FieldCase{"g=abc", 16, CGI_FIELD_NOT_FOUND, "", CGI_FIELD_NOT_FOUND, ""},
                    FieldCase{"f=", 16, CGI_FIELD_EMPTY, "", CGI_FIELD_EMPTY, ""},
                    FieldCase{"f=abcdef", 4, CGI_FIELD_TRUNCATED, "abc", CGI_FIELD_TRUNCATED, "abc"},
                    FieldCase{"f=abc", 4, CGI_FIELD_OK, "abc", CGI_FIELD_OK, "abc"},
                    FieldCase{"f=l1%0D%0Al2", 16, CGI_FIELD_OK, "l1l2", CGI_FIELD_OK, "l1\nl2"},
                    FieldCase{"f=a%0D%0D%0Ab", 16, CGI_FIELD_OK, "ab", CGI_FIELD_OK, "a\n\nb"},
                    FieldCase{"f=a%0A%0A%0Db", 16, CGI_FIELD_OK, "ab", CGI_FIELD_OK, "a\n\nb"},
                    FieldCase{"f=%0D%0A%0D", 16, CGI_FIELD_EMPTY, "", CGI_FIELD_OK, "\n\n"},
                    FieldCase{"f=ab%0A", 16, CGI_FIELD_OK, "ab", CGI_FIELD_OK, "ab\n"},
                    // The line breaks would pass the end: the text result is truncated.
                    FieldCase{"f=ab%0A%0A%0A", 4, CGI_FIELD_OK, "ab", CGI_FIELD_TRUNCATED, "ab\n"},
                    FieldCase{"f=abc%0A", 4, CGI_FIELD_OK, "abc", CGI_FIELD_TRUNCATED, "abc"},
                    FieldCase{"f=a%00b", 16, CGI_FIELD_OK, "a", CGI_FIELD_OK, "a"}));

TEST(StrEqNoCase, ComparesLettersIgnoringCase) {
  EXPECT_EQ(CgiStrEqNoCase("POST", "post"), 1);
  EXPECT_EQ(CgiStrEqNoCase("Post", "pOsT"), 1);
  EXPECT_EQ(CgiStrEqNoCase("post", "posts"), 0);
  EXPECT_EQ(CgiStrEqNoCase("", ""), 1);
  EXPECT_EQ(CgiStrEqNoCase("[", "{"), 0);  // only letters fold
}

TEST(ContentType, WritesTheHeaderAndTheBlankLine) {
  const harness::Captured captured = harness::CaptureStdio([] { CgiPrintContentType("text/html"); });
  EXPECT_EQ(captured.out, "Content-type: text/html\r\n\r\n");
}

}  // namespace

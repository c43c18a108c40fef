// The form as the web server hands it over: url-decoded into entries in
// arrival order, and read by the two field accessors with their result codes.
#include "cgi/cgi_request.h"

#include <gtest/gtest.h>

namespace {

using namespace std::literals;

void SetForm(std::string_view form) {
  CgiFreeForm();
  CgiParseForm(form.data(), form.size());
}

TEST(CgiRequest, ParsesAndUnescapesTheForm) {
  const std::pair<std::string_view, std::string> rows[] = {
      {"a=1&b=2", "a=1;b=2;"},     {"a=1&", "a=1;"},          {"a=1&a=2", "a=1;a=2;"},
      {"x&y=1", "x&y=1;"},         {"a=1&&b=2", "a=1;&b=2;"}, {"k", ""},
      {"a=1&k", "a=1;"},           {"a=b=c", "a=b=c;"},       {"n=a+b%41%2", "n=a bA;"},
      {"%6E%61me=%7e", "name=~;"}, {"v=%zz", "v=;"},          {"v=%+1x", "v=\x01x;"},
      {"a=1\0&b=2"sv, "a=1;b=2;"}};
  for (const auto& [form, entries] : rows) {
    SetForm(form);
    std::string parsed;
    for (const CgiFormEntry* e = CgiFormHead(); e != nullptr; e = e->next)
      parsed += e->name + "="s + e->value + ";";
    EXPECT_EQ(parsed, entries) << form;
  }
}

// CgiGetField drops line breaks; CgiGetTextField turns each run of CR and LF
// into as many LFs as the larger of the two counts.
TEST(CgiRequest, FieldAccessors) {
  constexpr int kOk = CGI_FIELD_OK, kCut = CGI_FIELD_TRUNCATED, kEmpty = CGI_FIELD_EMPTY,
                kNone = CGI_FIELD_NOT_FOUND;
  // The form, the buffer size, and the result and value of each accessor.
  // clang-format off
  const std::tuple<const char*, int, int, const char*, int, const char*> rows[] = {
      {"f=1&f=2", 16, kOk, "1", kOk, "1"},                {"g=abc&F=x", 16, kNone, "", kNone, ""},
      {"f=", 16, kEmpty, "", kEmpty, ""},                 {"f=abcdef", 4, kCut, "abc", kCut, "abc"},
      {"f=abc", 4, kOk, "abc", kOk, "abc"},               {"f=l1%0D%0Al2", 16, kOk, "l1l2", kOk, "l1\nl2"},
      {"f=a%0D%0D%0Ab", 16, kOk, "ab", kOk, "a\n\nb"},    {"f=a%0A%0A%0Db", 16, kOk, "ab", kOk, "a\n\nb"},
      {"f=%0D%0A%0D", 16, kEmpty, "", kOk, "\n\n"},       {"f=ab%0A%0A%0A", 4, kOk, "ab", kCut, "ab\n"},
      {"f=a%00b", 16, kOk, "a", kOk, "a"}};
  // clang-format on
  for (const auto& [form, size, result, value, text_result, text] : rows) {
    SetForm(form);
    std::string got(size, 'Z'), got_text(size, 'Z');
    EXPECT_EQ(CgiGetField("f", got.data(), size), result) << form;
    EXPECT_EQ(CgiGetTextField("f", got_text.data(), size), text_result) << form;
    EXPECT_EQ(got.c_str() + "|"s + got_text.c_str(), value + "|"s + text) << form;
  }
}

}  // namespace

// The text configuration library as rows of (file text, operation,
// expected): the file is loaded from below a device root, the operation run,
// and its outcome written as "<result> <value>", or for an edit as
// "<result>|<the file as saved afterwards>". (split_string is tried by the
// nxftpbinget.cgi rows of tests/ftp, on its list of file names.)
#include <gtest/gtest.h>

#include "config/text/tcfg_field_util.h"
#include "config/text/tcfg_util.h"
#include "harness/device_root.h"

namespace {

using namespace std::literals;

constexpr const char* kConf = "/etc/t.conf";

// A row's operation and its arguments: a key, value or text (a, b) and
// numbers (i, j), each operation taking them as Apply shows.
struct Row {
  std::string text, op;
  const char *a = "", *b = "";
  int i = 0, j = 0;
};

// Values are read through a buffer of 16 bytes.
std::string Apply(const harness::DeviceRoot& root, Tcfg* cfg, const Row& r) {
  char value[16] = "untouched";
  const auto got = [&](int result) { return std::to_string(result) + " " + value; };
  const auto saved = [&](int result) {
    return std::to_string(result) + "|" + (save_cfg(cfg) == 0 ? root.Read(kConf) : "(not saved)");
  };
  if (r.op == "get") return got(find_value(cfg, r.a, value, sizeof value, nullptr, nullptr, r.i, r.j));
  if (r.op == "set") return saved(replace_value(cfg, r.a, r.b, r.i, r.j));
  if (r.op == "col") return got(get_col(cfg, r.i, r.j, r.b, value, sizeof value));
  if (r.op == "setcol") return saved(set_col(cfg, r.i, r.j, r.b, r.a));
  if (r.op == "save") return saved(get_row_count(cfg));
  if (r.op == "addint") return saved(AppendIntFieldOfTcfg(cfg, r.a, r.i));
  if (r.op == "addstr") return saved(AppendStringFieldOfTcfg(cfg, r.a, r.b));
  if (r.op == "loadstr") return got(LoadStringFieldOfTcfg(cfg, r.a, value, sizeof value));
  int32_t number = 5;  // load
  return LoadIntFieldOfTcfg(cfg, r.a, &number) ? std::to_string(number) : "not loaded";
}

const std::string k127(127, 'v'), kTail = "#" + std::string(126, 'c');

// clang-format off
const std::pair<Row, std::string> kRows[] = {
    // Keys: a separator must follow; quotes, ";" and "#" end a value.
    {{"PORT=1\nPORT2=5\n", "get", "PORT"}, "0 1"},           {{"PORT2=5\nPORT=1\n", "get", "PORT"}, "1 1"},
    {{"KEY\tv\n", "get", "KEY"}, "0 v"},                     {{"KEY\t = \t=v\n", "get", "KEY"}, "0 v"},
    {{"KEY word and more\n", "get", "KEY"}, "0 word and more"}, {{"N = 'abc def' ; c\n", "get", "N"}, "0 abc def"},
    {{"N=\"x y\"#c\n", "get", "N"}, "0 x y"},                {{"K=a b ;x\n", "get", "K"}, "0 a b "},
    {{"KEY\n", "get", "KEY"}, "-1 "},                        {{" KEY=1\n#KEY=2\nKEYX=3\n", "get", "KEY"}, "-1 "},
    {{"K=abcdefghijklmno\n", "get", "K"}, "0 abcdefghijklmno"}, {{"K=abcdefghijklmnop\n", "get", "K"}, "-1 "},
    {{"LONGKEYNAME=1\nLONGKEYNAM", "get", "LONGKEYNAM"}, "-1 "},
    {{"A_VERY_LONG_KEY_NAXE_X=1\nA_VERY_LONG_KEY_NAME_X\t2\n", "get", "A_VERY_LONG_KEY_NAME_X"}, "1 2"},
    {{"K=a\nX=1\nK=b\nK=c\n", "get", "K", "", 1}, "2 b"},    {{"K=a\nX=1\nK=b\nK=c\n", "get", "K", "", 1, 1}, "3 c"},
    {{"K=a\nK=b\n", "get", "K", "", 0, 2}, "-1 untouched"},
    // Replacing keeps key, quotes, comment and up to 127 characters after the value.
    {{"A=0\nN = 'abc def' ; c\n", "set", "N", "xyz"}, "0|A=0\nN = 'xyz' ; c\n"},
    {{"KEY\t=\t\"1\";x\r\n", "set", "KEY", ""}, "0|KEY\t=\t\"\";x\n"},
    {{"K=1\nK=2\nK=3\n", "set", "K", "b", 1}, "0|K=1\nK=b\nK=3\n"}, {{"K=1\n", "set", "K", "d", 1}, "-1|K=1\n"},
    {{"K=1\nK=2\nK=3\n", "set", "K", "c", 0, 2}, "0|K=1\nK=2\nK=c\n"},
    {{"K=" + k127 + "\n", "set", "K", "new"}, "0|K=new\n"},   {{"K=" + k127 + "v\n", "set", "K", "new"}, "-1|K=" + k127 + "v\n"},
    {{"K=1" + kTail + "\n", "set", "K", "new"}, "0|K=new" + kTail + "\n"},
    {{"K=1" + kTail + "c\n", "set", "K", "new"}, "-1|K=1" + kTail + "c\n"},
    // Columns: runs of delimiters count as one; one leading quote is skipped.
    {{"first\na,,b\n", "col", "", ",", 1, 1}, "1 b"},       {{"a,,b\n", "col", "", ",", 0, 2}, "-1 "},
    {{"\"x y\",z\n", "col", "", ","}, "0 x y"},              {{"abcdefghijklmnop,b\n", "col", "", ","}, "-1 "},
    {{"\"old\",1\n", "setcol", "new", ","}, "0|\"new\",1\n"}, {{"k v # c\n", "setcol", "", " ", 0, 1}, "0|k  # c\n"},
    // Loading splits at CR and LF, drops empty lines, stops at a NUL; saving ends every row in LF.
    {{"", "save"}, "0|"},                                    {{"A=1\r\n\r\nB=2\r\n", "save"}, "2|A=1\nB=2\n"},
    {{"A=1\rB=2", "save"}, "2|A=1\nB=2\n"},                  {{"\n\n  A = 1 \n", "save"}, "1|  A = 1 \n"},
    {{"A=1\nB\0=2\nC=3\n"s, "save"}, "2|A=1\nB\n"},
    // Typed fields.
    {{"", "addint", "PORT", "", -25}, "1|PORT=-25\n"},       {{"", "addstr", "HOST", "mail"}, "1|HOST=mail\n"},
    {{"", "addstr", "N", k127.c_str()}, "0|"},               {{"N = \"cam one\" # c\n", "loadstr", "N"}, "1 cam one"},
    {{"N=1\n", "loadstr", "M"}, "0 "},                       {{"N=-1\n", "load", "N"}, "-1"},
    {{"N=12abc\n", "load", "N"}, "12"},                      {{"N=99999999999\n", "load", "N"}, "2147483647"},
    {{"N=1\n", "load", "M"}, "not loaded"}};
// clang-format on

TEST(Tcfg, Rows) {
  harness::DeviceRoot root;
  root.MakeCurrent();
  for (const auto& [row, expected] : kRows) {
    root.Write(kConf, row.text);
    Tcfg* cfg = new_cfg(kConf);
    EXPECT_GE(load_cfg(cfg), 0) << row.text;
    EXPECT_EQ(Apply(root, cfg, row), expected) << testing::PrintToString(row.text) << " " << row.op;
    free_cfg(cfg);
  }
}

}  // namespace

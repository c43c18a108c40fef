// Key, column and substring look-ups of Tcfg rows and the replacement of what
// they find.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "config/text/tcfg_util.h"
#include "unit/config/text/tcfg_test_support.h"

namespace {

using tcfg_test::CfgPtr;
using tcfg_test::Err;
using tcfg_test::MemCfg;
using tcfg_test::Rows;
using Lines = std::vector<std::string>;

// --- key look-up ----------------------------------------------------------------

struct KeyCase {
  const char* text;
  const char* key;
  int row;  // -1: not found
  const char* value;
};

TEST(TcfgKeys, LookupRules) {
  const KeyCase cases[] = {
      {"PORT=1\nPORT2=5\n", "PORT", 0, "1"},
      {"PORT=1\nPORT2=5\n", "PORT2", 1, "5"},
      {"PORT=1\nPORT2=5\n", "POR", -1, ""},
      {"PORT2=5\nPORT=1\n", "PORT", 1, "1"},
      {"PORT2=5\nPORT=1\n", "PORT2", 0, "5"},
      {"PORT2=5\nPORT=1\n", "POR", -1, ""},
      {"NAME = 'abc def' ; comment\n", "NAME", 0, "abc def"},
      {"NAME=\"x y\" # c\n", "NAME", 0, "x y"},
      {"KEY=\n", "KEY", 0, ""},
      {"KEY\n", "KEY", -1, ""},
      {"KEY word and more\n", "KEY", 0, "word and more"},
      {"KEY\t = \t=v\n", "KEY", 0, "v"},
      {"KEY=a b  ;x\n", "KEY", 0, "a b  "},
      {"KEY=a#b\n", "KEY", 0, "a"},
      {"KEY=''\n", "KEY", 0, ""},
      {" KEY=1\n#KEY=2\nKEYX=3\n", "KEY", -1, ""},
      {"#KEY=2\nKEY=4\n", "KEY", 1, "4"},
      {"A=1\n", "", -1, ""},
      {"=v\n", "", 0, "v"},
      {"", "KEY", -1, ""},
      // Long keys are compared a word at a time within the loaded text.
      {"LONGKEYNAME_X=2\nLONGKEYNAME=1\n", "LONGKEYNAME", 1, "1"},
      {"LONGKEYNAME=1\nLONGKEYNAM", "LONGKEYNAM", -1, ""},
      {"LONGKEYNAME=1\nLONGKEYNAM", "LONGKEYNAME", 0, "1"},
      {"LONGKEY\nLONGKEYNAME=1", "LONGKEYNAME", 1, "1"},
      {"A_VERY_LONG_KEY_NAXE_X=1\nA_VERY_LONG_KEY_NAME_X=2\n", "A_VERY_LONG_KEY_NAME_X", 1, "2"},
      {"A_VERY_LONG_KEY_NAME_Y=1\nA_VERY_LONG_KEY_NAME_X\t2\n", "A_VERY_LONG_KEY_NAME_X", 1, "2"},
      {"XVERY_LONG_KEY_NAME_X=1\n", "A_VERY_LONG_KEY_NAME_X", -1, ""},
  };
  for (const KeyCase& c : cases) {
    SCOPED_TRACE(std::string(c.text) + " / " + c.key);
    CfgPtr cfg = MemCfg(c.text);
    ASSERT_NE(cfg, nullptr);
    char value[32] = "untouched";
    int offset = -1;
    int length = -1;
    EXPECT_EQ(find_value(cfg.get(), c.key, value, sizeof value, &offset, &length, 0, 0), c.row);
    if (cfg->row_count > 0) {
      EXPECT_STREQ(value, c.value);
    }
    if (c.row >= 0) {
      EXPECT_EQ(std::string(cfg->rows[c.row] + offset, static_cast<std::size_t>(length)), c.value);
      EXPECT_EQ(get_value(cfg.get(), c.key, value, sizeof value), c.row);
    }
  }
}

TEST(TcfgKeys, CarriageReturnEndsAValueInAnEditedLine) {
  CfgPtr cfg = MemCfg("");
  ASSERT_EQ(append_line(cfg.get(), "KEY=v\r"), 0);
  char value[8];
  EXPECT_EQ(get_value(cfg.get(), "KEY", value, sizeof value), 0);
  EXPECT_STREQ(value, "v");
}

TEST(TcfgKeys, OccurrenceAndStartRow) {
  CfgPtr cfg = MemCfg("K=first\nX=1\nK=second\nK=third\n");
  char value[16];
  EXPECT_EQ(get_value(cfg.get(), "K", value, sizeof value), 0);
  EXPECT_STREQ(value, "first");
  EXPECT_EQ(get_nth_value(cfg.get(), "K", value, sizeof value, 1), 2);
  EXPECT_STREQ(value, "second");
  EXPECT_EQ(get_nth_value(cfg.get(), "K", value, sizeof value, 3), -1);
  EXPECT_STREQ(value, "");
  EXPECT_EQ(get_value_from_row(cfg.get(), "K", value, sizeof value, 1), 2);
  EXPECT_STREQ(value, "second");
  EXPECT_EQ(find_value(cfg.get(), "K", value, sizeof value, nullptr, nullptr, 1, 1), 3);
  EXPECT_STREQ(value, "third");
  // A start row at or past the row count fails before the buffer is touched.
  std::strcpy(value, "keep");
  EXPECT_EQ(get_value_from_row(cfg.get(), "K", value, sizeof value, 4), -1);
  EXPECT_STREQ(value, "keep");
}

TEST(TcfgKeys, ValueMustFitWithItsNul) {
  struct SizeCase {
    const char* text;
    std::size_t size;
    int row;
    const char* err;
  };
  const SizeCase cases[] = {
      {"K=abcd\n", 5, 0, ""}, {"K=abcde\n", 5, -1, "insufficient string buffer size\n"},
      {"K=\n", 1, 0, ""},     {"K=a\n", 1, -1, "insufficient string buffer size\n"},
      {"K=a\n", 2, 0, ""},
  };
  for (const SizeCase& c : cases) {
    SCOPED_TRACE(c.text);
    CfgPtr cfg = MemCfg(c.text);
    char value[8] = "xxxxxxx";
    int row = 0;
    EXPECT_EQ(Err([&] { row = get_value(cfg.get(), "K", value, c.size); }), c.err);
    EXPECT_EQ(row, c.row);
    if (row < 0) {
      EXPECT_STREQ(value, "");
    }
  }
}

// --- replacement ------------------------------------------------------------------

struct ReplaceCase {
  const char* line;
  const char* key;
  const char* value;
  const char* result;
};

TEST(TcfgKeys, ReplacementKeepsEverythingAroundTheValue) {
  const ReplaceCase cases[] = {
      {"NAME = 'abc def' ; comment", "NAME", "xyz", "NAME = 'xyz' ; comment"},
      {"KEY=\"old\" # note", "KEY", "new", "KEY=\"new\" # note"},
      {"KEY=", "KEY", "v", "KEY=v"},
      {"KEY word", "KEY", "other words", "KEY other words"},
      {"KEY=long old value", "KEY", "", "KEY="},
      {"KEY\t=\t1;x", "KEY", "22", "KEY\t=\t22;x"},
  };
  for (const ReplaceCase& c : cases) {
    SCOPED_TRACE(c.line);
    CfgPtr cfg = MemCfg(std::string("A=0\n") + c.line + "\n");
    ASSERT_EQ(set_value(cfg.get(), c.key, c.value), 0);
    EXPECT_EQ(Rows(cfg.get()), (Lines{"A=0", c.result}));
    EXPECT_EQ(cfg->owned[1], cfg->rows[1]);
    EXPECT_EQ(cfg->owned[0], nullptr);
  }
}

TEST(TcfgKeys, ReplaceNthFromRowAndAgain) {
  CfgPtr cfg = MemCfg("K=1\nK=2\nK=3\n");
  EXPECT_EQ(set_nth_value(cfg.get(), "K", "b", 1), 0);
  EXPECT_EQ(set_value_from_row(cfg.get(), "K", "c", 2), 0);
  EXPECT_EQ(replace_value(cfg.get(), "K", "bb", 1, 0), 0);  // replaces an owned line
  EXPECT_EQ(set_value(cfg.get(), "K", "a"), 0);
  EXPECT_EQ(Rows(cfg.get()), (Lines{"K=a", "K=bb", "K=c"}));
  EXPECT_EQ(set_nth_value(cfg.get(), "K", "d", 3), -1);
  EXPECT_EQ(set_value(cfg.get(), "NONE", "d"), -1);
  EXPECT_EQ(Rows(cfg.get()), (Lines{"K=a", "K=bb", "K=c"}));
}

TEST(TcfgKeys, ReplacementLimits) {
  const std::string value127(127, 'v');
  const std::string tail127 = "#" + std::string(126, 'c');
  struct LimitCase {
    std::string line;
    int result;
    const char* err;
  };
  const LimitCase cases[] = {
      {"K=" + value127, 0, ""},
      {"K=" + value127 + "v", -1, "insufficient string buffer size\n"},
      {"K=1" + tail127, 0, ""},
      {"K=1" + tail127 + "c", -1, ""},
  };
  for (const LimitCase& c : cases) {
    SCOPED_TRACE(c.line.size());
    CfgPtr cfg = MemCfg(c.line);
    int result = 0;
    EXPECT_EQ(Err([&] { result = set_value(cfg.get(), "K", "new"); }), c.err);
    EXPECT_EQ(result, c.result);
    if (result < 0) {
      EXPECT_EQ(Rows(cfg.get()), Lines{c.line});
      EXPECT_EQ(cfg->owned[0], nullptr);
    }
  }
}

// --- get_str_after ------------------------------------------------------------------

TEST(TcfgStrAfter, CopiesUpToTheFirstStopCharacter) {
  CfgPtr cfg = MemCfg("domain local\nnameserver 10.0.0.1 # dns\nsearch a.b;c\n");
  struct Case {
    const char* search;
    const char* stops;
    std::size_t size;
    int result;
    const char* value;
    const char* err;
  };
  const Case cases[] = {
      {"nameserver ", " #", 32, 0, "10.0.0.1", ""},
      {"server", "#", 32, 0, " 10.0.0.1 ", ""},
      {"search ", ";", 32, 0, "a.b", ""},
      {"search ", "", 32, 0, "a.b;c", ""},
      {"local", " ", 32, 0, "", ""},
      {"nameserver ", " ", 9, 0, "10.0.0.1", ""},
      {"nameserver ", " ", 8, -1, "", "insufficient string buffer size\n"},
      {"gateway", " ", 32, -1, "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.search);
    char value[32] = "xxx";
    int result = 0;
    EXPECT_EQ(Err([&] { result = get_str_after(cfg.get(), c.search, c.stops, value, c.size); }), c.err);
    EXPECT_EQ(result, c.result);
    EXPECT_STREQ(value, c.value);
  }
}

// --- columns --------------------------------------------------------------------------

struct ColCase {
  const char* line;
  int col;
  const char* delimiters;
  int result;
  const char* value;
  const char* err;
};

TEST(TcfgCols, ColumnRules) {
  const ColCase cases[] = {
      {"a,,b", 0, ",", 0, "a", ""},        {"a,,b", 1, ",", 0, "b", ""},
      {"a,,b", 2, ",", -1, "", ""},        {",a", 0, ",", 0, "a", ""},
      {"\"x y\",z", 0, ",", 0, "x y", ""}, {"'q'r,z", 0, ",", 0, "q", ""},
      {"\",z", 0, ",", 0, "", ""},         {"eth0  10.0.0.1\t24", 2, " \t", 0, "24", ""},
      {"a b", 0, "", 0, "a b", ""},        {"a,b", 129, ",", -1, "", "too large col\n"},
      {"a,b", 128, ",", -1, "", ""},       {"a,b", -1, ",", -1, "", ""},
  };
  for (const ColCase& c : cases) {
    SCOPED_TRACE(std::string(c.line) + " col " + std::to_string(c.col));
    CfgPtr cfg = MemCfg(std::string("first\n") + c.line + "\n");
    char value[16] = "xxx";
    int result = 0;
    EXPECT_EQ(Err([&] { result = get_col(cfg.get(), 1, c.col, c.delimiters, value, sizeof value); }), c.err);
    EXPECT_EQ(result, c.result < 0 ? -1 : 1);
    EXPECT_STREQ(value, c.value);
  }
}

TEST(TcfgCols, AtMost128Columns) {
  std::string line;
  for (int i = 0; i < 130; ++i) line += std::to_string(i) + ",";
  CfgPtr cfg = MemCfg(line);
  char value[8];
  EXPECT_EQ(get_col(cfg.get(), 0, 127, ",", value, sizeof value), 0);
  EXPECT_STREQ(value, "127");
  EXPECT_EQ(get_col(cfg.get(), 0, 128, ",", value, sizeof value), -1);
}

TEST(TcfgCols, NullSlotsAndBufferSize) {
  CfgPtr cfg = MemCfg("abc,d\n");
  char value[8] = "xxx";
  int result = 0;
  EXPECT_EQ(Err([&] { result = get_col(cfg.get(), 1, 0, ",", value, sizeof value); }), "");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(get_col(cfg.get(), kTcfgMaxRows, 0, ",", value, sizeof value), -1);
  EXPECT_EQ(set_col(cfg.get(), 1, 0, ",", "x"), -1);
  EXPECT_EQ(set_col(cfg.get(), -1, 0, ",", "x"), -1);
  EXPECT_EQ(Err([&] { result = get_col(cfg.get(), 0, 0, ",", value, 3); }),
            "insufficient string buffer size\n");
  EXPECT_EQ(result, -1);
  EXPECT_STREQ(value, "");
  EXPECT_EQ(get_col(cfg.get(), 0, 0, ",", value, 4), 0);
  EXPECT_STREQ(value, "abc");
}

TEST(TcfgCols, SetColumnSplicesInPlace) {
  struct Case {
    const char* line;
    int col;
    const char* delimiters;
    const char* value;
    int result;
    const char* after;
  };
  const Case cases[] = {
      {"a,,b", 1, ",", "x", 0, "a,,x"},
      {"a,,b", 0, ",", "long", 0, "long,,b"},
      {"\"old\",1", 0, ",", "new", 0, "\"new\",1"},
      {"k v # c", 1, " ", "", 0, "k  # c"},
      {"a,,b", 2, ",", "x", -1, "a,,b"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    CfgPtr cfg = MemCfg(c.line);
    EXPECT_EQ(set_col(cfg.get(), 0, c.col, c.delimiters, c.value), c.result);
    EXPECT_EQ(Rows(cfg.get()), Lines{c.after});
  }
}

TEST(TcfgCols, MatchOnAKeyColumn) {
  CfgPtr cfg = MemCfg("eth0 1 up\n\"eth1\" 2 down\neth0 3 down\neth00 4 up\n");
  char value[8] = "xxx";
  EXPECT_EQ(get_col_by_match(cfg.get(), 0, "eth0", 1, " ", value, sizeof value), 0);
  EXPECT_STREQ(value, "1");
  EXPECT_EQ(find_col_match(cfg.get(), 0, "eth0", 2, " ", value, sizeof value, 1), 2);
  EXPECT_STREQ(value, "down");
  EXPECT_EQ(get_col_by_match(cfg.get(), 0, "eth1", 1, " ", value, sizeof value), 1);
  EXPECT_STREQ(value, "2");
  EXPECT_EQ(find_col_match(cfg.get(), 0, "eth0", 1, " ", value, sizeof value, 2), -1);
  EXPECT_STREQ(value, "");
  std::strcpy(value, "xxx");
  EXPECT_EQ(get_col_by_match(cfg.get(), 0, "eth", 1, " ", value, sizeof value), -1);
  EXPECT_STREQ(value, "");
  EXPECT_EQ(get_col_by_match(cfg.get(), 0, "eth0", 5, " ", value, sizeof value), -1);

  EXPECT_EQ(set_col_by_match(cfg.get(), 0, "eth0", 2, " ", "off"), 0);
  EXPECT_EQ(set_col_by_match(cfg.get(), 0, "eth0", 1, " ", "33", 1), 0);
  EXPECT_EQ(set_col_by_match(cfg.get(), 0, "eth9", 1, " ", "9"), -1);
  EXPECT_EQ(Rows(cfg.get()), (Lines{"eth0 1 off", "\"eth1\" 2 down", "eth0 33 down", "eth00 4 up"}));
  int result = 0;
  EXPECT_EQ(Err([&] { result = get_col_by_match(cfg.get(), 129, "eth0", 1, " ", value, sizeof value); }),
            "too large col\n");
  EXPECT_EQ(result, -1);
}

// --- malformed input -----------------------------------------------------------------

// Random bytes drawn from the characters the parsers care about, through every
// operation: nothing may crash or run outside the rows (run under a sanitizer
// build to see the latter).
TEST(TcfgMalformed, RandomTextThroughEveryOperation) {
  const char alphabet[] = {'\n', '\r', '\0', '=', ' ', '\t', '"', '\'', '#', ';', ',', 'K', 'E', 'Y', '1'};
  std::mt19937 random(20261123);
  for (int round = 0; round < 400; ++round) {
    // Every other round mostly letters, so that long rows occur too.
    std::string text(random() % 300, ' ');
    for (char& c : text) {
      c = round % 2 == 1 && random() % 8 != 0 ? 'a' : alphabet[random() % sizeof alphabet];
      // Every third round LF is the only line end and there is no NUL.
      if (round % 3 == 0 && (c == '\r' || c == '\0')) c = c == '\r' ? '\n' : 'a';
    }
    CfgPtr cfg = MemCfg(text);
    ASSERT_NE(cfg, nullptr);
    ASSERT_EQ(Rows(cfg.get()), tcfg_test::ExpectedRows(text));
    char value[16];
    (void)harness::CaptureStdio([&] {
      for (const char* key : {"K", "KEY", "KEY1", "", "KEY1KEY1", "KEYKEYKEYKEYKEY11"}) {
        for (int n = 0; n < 3; ++n) find_value(cfg.get(), key, value, sizeof value, nullptr, nullptr, n, n);
        replace_value(cfg.get(), key, "v\"'#", 1, 0);
        set_value(cfg.get(), key, "");
      }
      for (int row = 0; row < 6; ++row) {
        get_line(cfg.get(), row, value, sizeof value);
        for (int col = 0; col < 4; ++col) {
          get_col(cfg.get(), row, col, ", =", value, sizeof value);
          set_col(cfg.get(), row, col, ",", "c");
        }
      }
      find_col_match(cfg.get(), 0, "KEY", 1, "=", value, sizeof value, 0);
      set_col_by_match(cfg.get(), 1, "1", 0, " ", "z");
      get_str_after(cfg.get(), "=", "#;", value, sizeof value);
      dump_cfg(cfg.get());
    });
  }
}

}  // namespace

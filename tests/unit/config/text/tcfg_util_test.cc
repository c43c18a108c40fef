// The Tcfg object and its file: creation, loading, saving, rows and splitting.
#include "config/text/tcfg_util.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "unit/config/text/tcfg_test_support.h"

namespace {

using tcfg_test::BlankLines;
using tcfg_test::CfgPtr;
using tcfg_test::Err;
using tcfg_test::ExpectedRows;
using tcfg_test::MemCfg;
using tcfg_test::Rows;
using Lines = std::vector<std::string>;

constexpr const char* kConf = "/opt/vsb/etc/test.conf";

std::string Joined(const Lines& rows) {
  std::string text;
  for (const std::string& row : rows) text += row + "\n";
  return text;
}

class TcfgFileTest : public tcfg_test::DeviceRootTest {};

// --- new_cfg and create_cfg_file -------------------------------------------

TEST_F(TcfgFileTest, MissingFileWithoutCreateFlagIsRefused) {
  for (const bool one_argument : {true, false}) {
    Tcfg* cfg = nullptr;
    const std::string err = Err([&] { cfg = one_argument ? new_cfg(kConf) : new_cfg(kConf, 0); });
    EXPECT_EQ(cfg, nullptr);
    EXPECT_EQ(err, "[new_cfg:tcfg_util(L)]\t/opt/vsb/etc/test.conf does not exist\n");
    EXPECT_FALSE(root_.Exists(kConf));
  }
}

TEST_F(TcfgFileTest, CreateFlagMakesEmptyFileWithMode0744BelowTheRoot) {
  const mode_t saved_mask = umask(022);
  Tcfg* raw = nullptr;
  const std::string err = Err([&] { raw = new_cfg(kConf, 1); });
  umask(saved_mask);
  CfgPtr cfg(raw);
  ASSERT_NE(cfg, nullptr);
  EXPECT_EQ(err, "");
  EXPECT_STREQ(cfg->path, kConf);
  EXPECT_EQ(cfg->size, 0u);
  struct stat status;
  ASSERT_EQ(stat(root_.Host(kConf).c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0744u);
  EXPECT_EQ(status.st_size, 0);
  EXPECT_NE(access(kConf, F_OK), 0);  // nothing outside the root
  EXPECT_EQ(load_cfg(cfg.get()), 0);
}

TEST_F(TcfgFileTest, CreateFailureReportsBothSteps) {
  Tcfg* cfg = nullptr;
  const std::string err = Err([&] { cfg = new_cfg("/no/such/dir/x.conf", 1); });
  EXPECT_EQ(cfg, nullptr);
  EXPECT_EQ(err,
            "[create_cfg_file:tcfg_util(L)]\tfail to open /no/such/dir/x.conf. errno: 2\n"
            "[new_cfg:tcfg_util(L)]\tfail to create /no/such/dir/x.conf\n");
}

TEST_F(TcfgFileTest, PathOf255CharactersIsKeptAnd256IsRefused) {
  const std::string directory = "/opt/vsb/etc/" + std::string(120, 'd');
  for (const std::size_t length : {std::size_t{255}, std::size_t{256}}) {
    const std::string path = directory + "/" + std::string(length - directory.size() - 1, 'f');
    ASSERT_EQ(path.size(), length);
    root_.WriteFile(path, "A=1\n");
    Tcfg* raw = nullptr;
    const std::string err = Err([&] { raw = new_cfg(path.c_str()); });
    CfgPtr cfg(raw);
    if (length == 255) {
      ASSERT_NE(cfg, nullptr);
      EXPECT_EQ(err, "");
      EXPECT_EQ(std::string(cfg->path), path);
      EXPECT_EQ(load_cfg(cfg.get()), 1);
    } else {
      EXPECT_EQ(cfg, nullptr);
      EXPECT_EQ(err, "[new_cfg:tcfg_util(L)]\tso long file path\n");
    }
  }
}

// --- load_cfg ----------------------------------------------------------------

struct LoadCase {
  const char* name;
  std::string bytes;
  Lines rows;
  std::string saved;
};

void PrintTo(const LoadCase& c, std::ostream* os) { *os << c.name; }

class TcfgLoadTest : public tcfg_test::DeviceRootTest, public ::testing::WithParamInterface<LoadCase> {};

TEST_P(TcfgLoadTest, LoadsRowsAndSavesThemEndedByLf) {
  const LoadCase& c = GetParam();
  CfgPtr cfg = Loaded(kConf, c.bytes);
  ASSERT_NE(cfg, nullptr);
  EXPECT_EQ(get_row_count(cfg.get()), static_cast<int>(c.rows.size()));
  EXPECT_EQ(Rows(cfg.get()), c.rows);
  EXPECT_EQ(save_cfg(cfg.get()), 0);
  EXPECT_EQ(root_.ReadFile(kConf), c.saved);
}

INSTANTIATE_TEST_SUITE_P(
    Files, TcfgLoadTest,
    ::testing::Values(LoadCase{"Empty", "", {}, ""},
                      LoadCase{"CrLfWithEmptyLine", "A=1\r\n\r\nB=2\r\n", {"A=1", "B=2"}, "A=1\nB=2\n"},
                      LoadCase{"NoFinalLineEnd", "A=1\nB=2", {"A=1", "B=2"}, "A=1\nB=2\n"},
                      LoadCase{"OnlyLineEnds", "\n\r\n\r\r\n", {}, ""},
                      LoadCase{"CrAlone", "A=1\rB=2\r", {"A=1", "B=2"}, "A=1\nB=2\n"},
                      LoadCase{"LeadingEmptyLines", "\n\n  A = 1 \n", {"  A = 1 "}, "  A = 1 \n"},
                      LoadCase{
                          "NulEndsTheText", std::string("A=1\nB\0=2\nC=3\n", 12), {"A=1", "B"}, "A=1\nB\n"},
                      LoadCase{"QuotesAndComments",
                               "# head\nNAME=\"x\" ; c\n",
                               {"# head", "NAME=\"x\" ; c"},
                               "# head\nNAME=\"x\" ; c\n"}),
    [](const ::testing::TestParamInfo<LoadCase>& info) { return std::string(info.param.name); });

TEST_F(TcfgFileTest, MissingFileAtLoadLeavesNoRows) {
  CfgPtr cfg = Loaded(kConf, "A=1\n");
  ASSERT_NE(cfg, nullptr);
  root_.Remove(kConf);
  int result = 0;
  const std::string err = Err([&] { result = load_cfg(cfg.get()); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(err, "[load_cfg:tcfg_util(L)]\tfail to open /opt/vsb/etc/test.conf. errno: 2\n");
  EXPECT_EQ(get_row_count(cfg.get()), 0);
}

TEST_F(TcfgFileTest, FileThatShrankFailsAndOneThatGrewIsReadToItsOldSize) {
  root_.WriteFile(kConf, "A=1\nB=2\n");
  CfgPtr shrank(new_cfg(kConf));
  CfgPtr grew(new_cfg(kConf));
  ASSERT_NE(shrank, nullptr);
  ASSERT_NE(grew, nullptr);

  root_.WriteFile(kConf, "A=1\n");
  int result = 0;
  const std::string err = Err([&] { result = load_cfg(shrank.get()); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(err, "[load_cfg:tcfg_util(L)]\tfail to read /opt/vsb/etc/test.conf. errno: 0\n");
  EXPECT_EQ(get_row_count(shrank.get()), 0);

  root_.WriteFile(kConf, "A=1\nB=2\nC=3\n");
  EXPECT_EQ(load_cfg(grew.get()), 2);
  EXPECT_EQ(Rows(grew.get()), (Lines{"A=1", "B=2"}));
}

TEST_F(TcfgFileTest, ReloadDropsEditedRows) {
  CfgPtr cfg = Loaded(kConf, "A=1\nB=2\n");
  ASSERT_NE(cfg, nullptr);
  ASSERT_EQ(set_value(cfg.get(), "A", "9"), 0);
  ASSERT_EQ(append_line(cfg.get(), "C=3"), 0);
  EXPECT_EQ(load_cfg(cfg.get()), 2);
  EXPECT_EQ(Rows(cfg.get()), (Lines{"A=1", "B=2"}));
  EXPECT_EQ(cfg->owned[0], nullptr);
  EXPECT_EQ(cfg->owned[2], nullptr);
}

TEST_F(TcfgFileTest, LinesBeyondTheTableAreIgnored) {
  std::string text;
  for (int i = 0; i < 40000; ++i) text += "K" + std::to_string(i) + "=" + std::to_string(i) + "\n";
  CfgPtr cfg = Loaded(kConf, text);
  ASSERT_NE(cfg, nullptr);
  EXPECT_EQ(get_row_count(cfg.get()), kTcfgMaxRows);
  EXPECT_STREQ(cfg->rows[kTcfgMaxRows - 1], "K32767=32767");
  char value[16];
  EXPECT_EQ(get_value(cfg.get(), "K32767", value, sizeof value), kTcfgMaxRows - 1);
  EXPECT_EQ(get_value(cfg.get(), "K32768", value, sizeof value), -1);
  EXPECT_EQ(append_line(cfg.get(), "X=1"), -1);
  EXPECT_EQ(get_row_count(cfg.get()), kTcfgMaxRows);
}

TEST_F(TcfgFileTest, LongLineWithoutLineEndIsOneRow) {
  const std::string line = "BIG=" + std::string(100 * 1024, 'v');
  CfgPtr cfg = Loaded(kConf, line);
  ASSERT_NE(cfg, nullptr);
  ASSERT_EQ(get_row_count(cfg.get()), 1);
  EXPECT_EQ(std::string(cfg->rows[0]), line);
  char small[128];
  int result = 0;
  EXPECT_EQ(Err([&] { result = get_value(cfg.get(), "BIG", small, sizeof small); }),
            "insufficient string buffer size\n");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(Err([&] { result = get_line(cfg.get(), 0, small, sizeof small); }), "length is very small\n");
  EXPECT_EQ(result, -1);
  // The replaced value is read through a 128-byte buffer first.
  EXPECT_EQ(Err([&] { result = set_value(cfg.get(), "BIG", "x"); }), "insufficient string buffer size\n");
  EXPECT_EQ(result, -1);
}

// Every prefix of a sample file loads as its lines and saves back as them.
TEST_F(TcfgFileTest, EveryCutOfASampleFileLoadsAndSaves) {
  const std::string sample =
      "# sample\r\nHOST = \"cam 1\" ; name\r\n\r\nPORT=80\nPORT2 8080\n'x'\n,a,,b\r\rKEY=\n=\nEND";
  const std::string lf_only = "\n\nA=1\n\nB 2\n# c\nC=\"x\" ; y\n,,a,b\nEND";
  const std::string with_nul = std::string("A=1\nB=\"", 7) + '\0' + "\"\nC=3\r\n";
  std::vector<std::string> cuts;
  for (const std::string* text : {&sample, &lf_only, &with_nul}) {
    for (std::size_t length = 0; length <= text->size(); ++length) cuts.push_back(text->substr(0, length));
  }
  for (const std::string& bytes : cuts) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    CfgPtr cfg = Loaded(kConf, bytes);
    ASSERT_NE(cfg, nullptr);
    const Lines expected = ExpectedRows(bytes);
    EXPECT_EQ(Rows(cfg.get()), expected);
    CfgPtr mem = MemCfg(bytes);
    EXPECT_EQ(Rows(mem.get()), expected);
    ASSERT_EQ(save_cfg(cfg.get()), 0);
    EXPECT_EQ(root_.ReadFile(kConf), Joined(expected));
    char value[64];
    get_value(cfg.get(), "PORT2", value, sizeof value);
    for (int row = 0; row < 12; ++row) get_col(cfg.get(), row, 1, ",", value, sizeof value);
    set_value(cfg.get(), "HOST", "other");
    set_value(cfg.get(), "KEY", "k");
    set_col_by_match(cfg.get(), 0, "a", 1, ",", "c");
    EXPECT_EQ(get_row_count(cfg.get()), static_cast<int>(expected.size()));
  }
}

// --- save_cfg ----------------------------------------------------------------

TEST_F(TcfgFileTest, AppendingToANeverLoadedObjectSavesOnlyTheAppendedLines) {
  root_.WriteFile(kConf, "OLD=1\nOLD=2\n");
  CfgPtr cfg(new_cfg(kConf));
  ASSERT_NE(cfg, nullptr);
  ASSERT_EQ(append_line(cfg.get(), "A=1"), 0);
  ASSERT_EQ(append_line(cfg.get(), ""), 0);
  ASSERT_EQ(append_line(cfg.get(), "B = two words"), 0);
  EXPECT_EQ(save_cfg(cfg.get()), 0);
  EXPECT_EQ(root_.ReadFile(kConf), "A=1\n\nB = two words\n");
}

TEST_F(TcfgFileTest, SaveWritesEditedRowsInOrder) {
  CfgPtr cfg = Loaded(kConf, "A=1\r\nB=\"2\" # two\r\nC 3\r\n");
  ASSERT_NE(cfg, nullptr);
  ASSERT_EQ(set_value(cfg.get(), "B", "22"), 0);
  ASSERT_EQ(set_line(cfg.get(), 0, "A=0"), 0);
  ASSERT_EQ(append_line(cfg.get(), "D=4"), 0);
  EXPECT_EQ(save_cfg(cfg.get()), 0);
  EXPECT_EQ(root_.ReadFile(kConf), "A=0\nB=\"22\" # two\nC 3\nD=4\n");
}

TEST_F(TcfgFileTest, SaveOpenFailureGoesThroughPerror) {
  CfgPtr cfg = Loaded("/opt/vsb/etc/sub/x.conf", "A=1\n");
  ASSERT_NE(cfg, nullptr);
  root_.Remove("/opt/vsb/etc/sub");
  int result = 0;
  EXPECT_EQ(Err([&] { result = save_cfg(cfg.get()); }), "open error: No such file or directory\n");
  EXPECT_EQ(result, -1);
  EXPECT_FALSE(root_.Exists("/opt/vsb/etc/sub"));
}

TEST_F(TcfgFileTest, MemoryObjectHasNoPathToLoadOrSave) {
  CfgPtr cfg = MemCfg("A=1\r\nB=2");
  ASSERT_NE(cfg, nullptr);
  EXPECT_STREQ(cfg->path, "");
  EXPECT_EQ(cfg->size, 8u);
  EXPECT_EQ(Rows(cfg.get()), (Lines{"A=1", "B=2"}));
  int result = 0;
  EXPECT_EQ(Err([&] { result = save_cfg(cfg.get()); }), "open error: No such file or directory\n");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(Err([&] { result = load_cfg(cfg.get()); }), "[load_cfg:tcfg_util(L)]\tfail to open . errno: 2\n");
  EXPECT_EQ(result, -1);
}

TEST_F(TcfgFileTest, DumpListsRowsOnStderr) {
  CfgPtr cfg = MemCfg("A=1\nB=2\n");
  ASSERT_NE(cfg, nullptr);
  int result = -1;
  EXPECT_EQ(Err([&] { result = dump_cfg(cfg.get()); }), "[00] A=1\n[01] B=2\n");
  EXPECT_EQ(result, 0);
}

// --- rows ----------------------------------------------------------------------

TEST(TcfgRows, SetLineKeepsTheRowCountAndRefusesRowsOutsideTheTable) {
  CfgPtr cfg = MemCfg("A=1\n");
  ASSERT_NE(cfg, nullptr);
  EXPECT_EQ(set_line(cfg.get(), 0, "A=2"), 0);
  EXPECT_EQ(set_line(cfg.get(), 0, "A=3"), 0);  // frees the first copy
  EXPECT_EQ(set_line(cfg.get(), 5, "F=5"), 0);
  EXPECT_EQ(get_row_count(cfg.get()), 1);
  EXPECT_EQ(Rows(cfg.get()), (Lines{"A=3"}));
  char line[16];
  EXPECT_EQ(get_line(cfg.get(), 5, line, sizeof line), 3);
  EXPECT_STREQ(line, "F=5");
  for (const int row : {-1, kTcfgMaxRows}) {
    int result = 0;
    EXPECT_EQ(Err([&] { result = set_line(cfg.get(), row, "X"); }), "invalid row\n");
    EXPECT_EQ(result, -1);
  }
}

TEST(TcfgRows, GetLineChecksRowBufferAndLength) {
  CfgPtr cfg = MemCfg("ABCD\n");
  ASSERT_NE(cfg, nullptr);
  char line[8];
  int result = 0;
  EXPECT_EQ(Err([&] { result = get_line(cfg.get(), 0, line, 5); }), "");
  EXPECT_EQ(result, 4);
  EXPECT_STREQ(line, "ABCD");
  EXPECT_EQ(Err([&] { result = get_line(cfg.get(), 0, line, 4); }), "length is very small\n");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(Err([&] { result = get_line(cfg.get(), kTcfgMaxRows, line, sizeof line); }),
            "invalid row or NULL line_buff\n");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(Err([&] { result = get_line(cfg.get(), 0, nullptr, 8); }), "invalid row or NULL line_buff\n");
  EXPECT_EQ(result, -1);
  // A slot that was never set.
  EXPECT_EQ(Err([&] { result = get_line(cfg.get(), 1, line, sizeof line); }), "");
  EXPECT_EQ(result, -1);
}

// --- split_string and split_bytes --------------------------------------------

struct SplitCase {
  std::string text;
  const char* delimiters;
  int max_count;
  Lines pieces;
};

TEST(TcfgSplit, SplitStringSkipsEmptyPiecesAndStopsAtTheMaximum) {
  const SplitCase cases[] = {
      {"a,,b", ",", 8, {"a", "b"}},  {"", ",", 8, {}},
      {",,,", ",", 8, {}},           {" a\tb  c ", " \t", 8, {"a", "b", "c"}},
      {"a b c", " ", 2, {"a", "b"}}, {"abc", "", 8, {"abc"}},
      {"x;y", ",", 8, {"x;y"}},
  };
  for (const SplitCase& c : cases) {
    SCOPED_TRACE(c.text);
    std::string text = c.text;
    char* pieces[8] = {};
    const int count = split_string(text.data(), c.delimiters, pieces, c.max_count);
    EXPECT_EQ(Lines(pieces, pieces + count), c.pieces);
  }
  std::string text = "a b c";
  char* pieces[2];
  ASSERT_EQ(split_string(text.data(), " ", pieces, 2), 2);
  EXPECT_STREQ(pieces[1] + 2, "c");  // the rest stays untouched
}

TEST(TcfgSplit, SplitBytesConvertsEachPieceToEightBits) {
  std::string text = "0x1F. 10..300.abc.-1.0X0a";
  uint8_t bytes[8] = {};
  ASSERT_EQ(split_bytes(text.data(), ".", bytes, 8), 6);
  EXPECT_EQ(std::vector<int>(bytes, bytes + 6), (std::vector<int>{31, 10, 44, 0, 255, 10}));
  std::string ip = "192.168.0.1.77";
  ASSERT_EQ(split_bytes(ip.data(), ".", bytes, 4), 4);
  EXPECT_EQ(std::vector<int>(bytes, bytes + 4), (std::vector<int>{192, 168, 0, 1}));
}

}  // namespace

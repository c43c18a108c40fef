// nxuoutctr.cgi requests that fail before any queue is touched.
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "harness/expected_pages.h"
#include "harness/process.h"
#include "harness/sandbox.h"

namespace {

struct RefusedCase {
  const char* name;
  const char* query;
  const char* message;
};

// Test names carry the case name; a parameter prints as its name.
void PrintTo(const RefusedCase& c, std::ostream* out) { *out << c.name; }

const RefusedCase kRefusedCases[] = {
    {"NoVersion", "Length=0", "Invalied NxCgiVer=65535"},
    {"EmptyVersion", "NxCgiVer=&Length=0", "Invalied NxCgiVer=65535"},
    {"BadVersion", "NxCgiVer=2", "Invalied NxCgiVer=2"},
    {"BadVersionLow16", "NxCgiVer=0x1ffff", "Invalied NxCgiVer=65535"},
    {"LengthWithoutData", "NxCgiVer=1&Length=1", "Have No Data"},
    {"TooFewPieces", "NxCgiVer=1&Length=3&Data=1,2", "Invalied Data=1"},
    {"TooFewPiecesLeadingCommas", "NxCgiVer=1&Length=3&Data=,,7,8", "Invalied Data=,,7"},
    {"OnlyCommas", "NxCgiVer=1&Length=1&Data=,,,", "Invalied Data=,,,"},
};

class UartOutCtrRefusedTest : public testing::TestWithParam<RefusedCase> {};

TEST_P(UartOutCtrRefusedTest, ShowsTheReason) {
  const RefusedCase& c = GetParam();
  harness::SandboxRoot root;

  const harness::ProcessResult result = harness::GetCgi("nxuoutctr.cgi", c.query, root.path());

  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.out, harness::ErrorPage("nxuoutctr.cgi", c.message));
  EXPECT_EQ(result.err, "");
}

INSTANTIATE_TEST_SUITE_P(Cases, UartOutCtrRefusedTest, testing::ValuesIn(kRefusedCases),
                         [](const testing::TestParamInfo<RefusedCase>& info) { return info.param.name; });

}  // namespace

// The service images are process-wide: in-process tests get them zeroed, as
// a new process has them, through the harness's state resets.
#include <gtest/gtest.h>

#include <algorithm>

#include "config/svc_cfg_file.h"
#include "harness/in_process.h"

namespace {

const bool kRegistered = [] {
  harness::AddStateReset(ClearSvcImages);
  return true;
}();

TEST(SvcImageReset, InProcessRunsStartWithEmptyImages) {
  ASSERT_TRUE(kRegistered);
  for (int id = 0; id < kSvcCount; ++id) std::fill(SvcImage(id).begin(), SvcImage(id).end(), 0x5A);
  harness::InProcess run;
  for (int id = 0; id < kSvcCount; ++id) {
    const std::span<std::uint8_t> image = SvcImage(id);
    EXPECT_TRUE(std::all_of(image.begin(), image.end(), [](std::uint8_t b) { return b == 0; })) << id;
  }
}

}  // namespace

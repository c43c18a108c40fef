// The FTP client's local side: unique local names (device paths, looked up
// below the host root).
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "ftp/client/ftp_internal.h"
#include "harness/in_process.h"

namespace {

TEST(FtpUniqueName, CountsUpTo99BelowTheHostRoot) {
  std::string root = std::filesystem::temp_directory_path() / "nxcgi-unique-XXXXXX";
  ASSERT_NE(mkdtemp(root.data()), nullptr);
  std::filesystem::create_directory(root + "/tmp");
  setenv("NXCGI_ROOT", root.c_str(), 1);
  std::string names;
  const auto run = harness::RunInProcess([&] {
    for (int n = 0; n <= 99; ++n) {  // x, then x.1 to x.99 exist
      std::ofstream(root + "/tmp/x" + (n > 0 ? "." + std::to_string(n) : ""));
      const char* unique = n == 0 || n >= 98 ? ftp_unique_name("/tmp/x") : "";
      names += unique != nullptr ? unique : "none";
    }
    return 0;
  });
  unsetenv("NXCGI_ROOT");
  std::filesystem::remove_all(root);
  EXPECT_EQ(names, "/tmp/x.1/tmp/x.99none");
  EXPECT_EQ(run.out, "runique: can't find unique file name.\n");
}

}  // namespace

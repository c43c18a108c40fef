// Replacing configuration files through a temporary file and a rename.
#include "platform/config_write.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <filesystem>

#include "harness/device_root.h"

namespace {

namespace fs = std::filesystem;
constexpr const char* kConf = "/cfg/x.conf";

platform::WriteStatus Write(const char* device_path, const std::string& bytes) {
  return platform::WriteConfigFile(device_path, bytes.data(), bytes.size());
}

// The file a link leads to is replaced and keeps its mode; temporaries of
// processes that are gone (99999999: beyond any pid) are removed. A write
// that fails half-way (at the file size limit) leaves the file it replaces.
TEST(ConfigWrite, ReplacesTheFileBehindItsLinksWholeOrNotAtAll) {
  harness::DeviceRoot root;
  root.MakeCurrent();
  const std::string temp = "/data/.real.conf.nxcgi-tmp.";
  const std::string kept[] = {temp + std::to_string(getppid()), temp + std::to_string(getpid()),
                              temp + "none", "/data/.x.conf.nxcgi-tmp.99999999", "/data/real.conf"};
  for (const std::string& path : kept) root.Write(path, "leftover", 0604);
  for (const std::string& path : {temp + "99999999", temp + "99999999.3"}) root.Write(path, "leftover");
  fs::create_directory(root.Host("/cfg"));
  fs::create_symlink("../data/real.conf", root.Host("/cfg/rel.conf"));
  fs::create_symlink(root.Host("/cfg/rel.conf"), root.Host(kConf));
  EXPECT_EQ(Write(kConf, "new\n"), platform::WriteStatus::kOk);
  EXPECT_EQ(fs::status(root.Host("/data/real.conf")).permissions(), fs::perms(0604));
  EXPECT_TRUE(fs::is_symlink(root.Host(kConf)));
  for (const std::string& path : kept) EXPECT_TRUE(root.Exists(path)) << path;
  rlimit saved;
  getrlimit(RLIMIT_FSIZE, &saved);
  const rlimit small{4, saved.rlim_max};
  const sighandler_t handler = signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  const platform::WriteStatus failed = Write(kConf, "0123456789");
  setrlimit(RLIMIT_FSIZE, &saved);
  signal(SIGXFSZ, handler);
  EXPECT_EQ(failed, platform::WriteStatus::kWriteFailed);
  EXPECT_EQ(root.Read("/data/real.conf"), "new\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(root.Host("/data")), {}), 5);
}

}  // namespace

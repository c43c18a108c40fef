#include "config/svc_cfg_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>

#include "harness/capture.h"
#include "unit/config/cfg_root_fixture.h"

namespace {

using config_test::Pattern;

class SvcCfgFileTest : public config_test::CfgRootTest {
 protected:
  void SetUp() override {
    CfgRootTest::SetUp();
    ClearSvcImages();
  }
  static std::string DevicePath(int module, int id) {
    return "/opt/vsb/etc/NxConf/NxModId" + std::to_string(module) + "/" + FindSvcFile(id)->file_name;
  }
  static std::uint32_t Size(int id) { return FindSvcFile(id)->layout->size; }
  static std::string Image(int id) {
    const std::span<std::uint8_t> image = SvcImage(id);
    return {image.begin(), image.end()};
  }
  std::set<std::string> AllFiles() const {
    std::set<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(sandbox_.path())) {
      files.insert(entry.path().string());
    }
    return files;
  }
};

TEST_F(SvcCfgFileTest, LoadYieldsTheConditionTableOfTheEntry) {
  for (int id = 0; id < kSvcCount; ++id) {
    sandbox_.WriteFile(DevicePath(1, id), Pattern(Size(id), id));
    for (int entry = 0; entry < 4; ++entry) {
      EXPECT_EQ(LoadSvcCfgFile(1, id, entry),
                SvcImage(id).data() + SvcCondTableOffset(*FindSvcFile(id)->layout, entry))
          << id << " " << entry;
    }
    EXPECT_EQ(Image(id), Pattern(Size(id), id)) << id;
    EXPECT_EQ(SvcImage(id).size(), Size(id));
  }
  EXPECT_EQ(LoadSvcCfgFile(1, SSVCID_SFTP, 3), SvcImage(SSVCID_SFTP).data() + 2380);
  for (int entry : {0, 3, 5})
    EXPECT_EQ(LoadSvcCfgFile(1, SSVCID_CALL, entry), SvcImage(SSVCID_CALL).data() + 8);
}

TEST_F(SvcCfgFileTest, EntriesPastTheLastPortAreRefused) {
  for (int id : {SSVCID_MAIL, SSVCID_DICGI, SSVCID_SFTP, SSVCID_IHOLD, SSVCID_DOUT, SSVCID_DFTP}) {
    sandbox_.WriteFile(DevicePath(0, id), Pattern(Size(id), id));
    EXPECT_EQ(LoadSvcCfgFile(0, id, 4), nullptr) << id;
    EXPECT_EQ(LoadSvcCfgFile(0, id, -1), nullptr) << id;
  }
  for (int id : {SSVCID_NTIME, SSVCID_AOIP}) {
    sandbox_.WriteFile(DevicePath(0, id), Pattern(Size(id), id));
    EXPECT_EQ(LoadSvcCfgFile(0, id, 5), LoadSvcCfgFile(0, id, 0)) << id;
  }
}

// Only a file of at least the record's size loads; of a longer one the
// record's size is read.
TEST_F(SvcCfgFileTest, FilesCutAtEveryLengthAreRefused) {
  for (int id = 0; id < kSvcCount; ++id) {
    const std::string whole = Pattern(Size(id) + 1, id + 40);
    sandbox_.WriteFile(DevicePath(2, id), whole);
    EXPECT_NE(LoadSvcCfgFile(2, id, 0), nullptr) << id;
    EXPECT_EQ(Image(id), whole.substr(0, Size(id))) << id;
    const std::string host = sandbox_.Host(DevicePath(2, id));
    for (std::uint32_t length = Size(id); length-- > 0;) {
      ASSERT_EQ(truncate(host.c_str(), length), 0);
      ASSERT_EQ(LoadSvcCfgFile(2, id, 0), nullptr) << id << " cut at " << length;
    }
  }
}

TEST_F(SvcCfgFileTest, MissingFilesAndUnknownServicesLoadNothing) {
  EXPECT_EQ(LoadSvcCfgFile(0, SSVCID_MAIL, 0), nullptr);
  sandbox_.WriteFile(DevicePath(0, SSVCID_MAIL), Pattern(Size(SSVCID_MAIL), 1));
  EXPECT_EQ(LoadSvcCfgFile(0, 9, 0), nullptr);
  EXPECT_EQ(LoadSvcCfgFile(0, -1, 0), nullptr);
}

TEST_F(SvcCfgFileTest, ModuleMinusOneLoadsFromTheRoot) {
  sandbox_.WriteFile("/opt/vsb/etc/NxConf/AoipConf.bin", Pattern(Size(SSVCID_AOIP), 9));
  EXPECT_EQ(LoadSvcCfgFile(-1, SSVCID_AOIP, 0), SvcImage(SSVCID_AOIP).data() + 92);
  EXPECT_EQ(SaveSvcCfgFile(-1, SSVCID_AOIP), static_cast<int>(Size(SSVCID_AOIP)));
}

TEST_F(SvcCfgFileTest, SaveWritesTheWholeImageAndDropsALongerFilesTail) {
  sandbox_.WriteFile(DevicePath(1, SSVCID_DOUT), Pattern(Size(SSVCID_DOUT) + 5, 3));
  ASSERT_NE(LoadSvcCfgFile(1, SSVCID_DOUT, 2), nullptr);
  SvcImage(SSVCID_DOUT)[100] ^= 0xFF;
  int result = 0;
  const harness::Captured captured = harness::CaptureStdio([&] { result = SaveSvcCfgFile(1, SSVCID_DOUT); });
  EXPECT_EQ(result, static_cast<int>(Size(SSVCID_DOUT)));
  EXPECT_EQ(captured.out, "");
  EXPECT_EQ(Read(DevicePath(1, SSVCID_DOUT)), Image(SSVCID_DOUT));
}

TEST_F(SvcCfgFileTest, ImagesAreKeptPerServiceForTheModuleLoadedLast) {
  sandbox_.WriteFile(DevicePath(1, SSVCID_MAIL), Pattern(Size(SSVCID_MAIL), 11));
  sandbox_.WriteFile(DevicePath(2, SSVCID_MAIL), Pattern(Size(SSVCID_MAIL), 12));
  sandbox_.WriteFile(DevicePath(1, SSVCID_DICGI), Pattern(Size(SSVCID_DICGI), 13));
  ASSERT_NE(LoadSvcCfgFile(1, SSVCID_MAIL, 0), nullptr);
  ASSERT_NE(LoadSvcCfgFile(1, SSVCID_DICGI, 0), nullptr);
  ASSERT_NE(LoadSvcCfgFile(2, SSVCID_MAIL, 0), nullptr);
  EXPECT_EQ(Image(SSVCID_MAIL), Pattern(Size(SSVCID_MAIL), 12));
  EXPECT_EQ(Image(SSVCID_DICGI), Pattern(Size(SSVCID_DICGI), 13));
  // Saving writes to the module named, whatever was loaded.
  EXPECT_EQ(SaveSvcCfgFile(3, SSVCID_MAIL), static_cast<int>(Size(SSVCID_MAIL)));
  EXPECT_EQ(Mode("/opt/vsb/etc/NxConf/NxModId3"), 0755);
  EXPECT_EQ(Read(DevicePath(3, SSVCID_MAIL)), Pattern(Size(SSVCID_MAIL), 12));
}

TEST_F(SvcCfgFileTest, UnknownServiceIdsSaveNothing) {
  const std::set<std::string> before = AllFiles();
  int nine = 0, minus_one = 0;
  const harness::Captured captured = harness::CaptureStdio([&] {
    nine = SaveSvcCfgFile(0, 9);
    minus_one = SaveSvcCfgFile(0, -1);
  });
  EXPECT_EQ(nine, -1);
  EXPECT_EQ(minus_one, -1);
  EXPECT_EQ(captured.out, "");
  EXPECT_EQ(AllFiles(), before);
}

TEST_F(SvcCfgFileTest, SaveReportsADirectoryItCannotMake) {
  sandbox_.WriteFile("/opt/vsb/etc/NxConf/NxModId2", "in the way");
  int result = 0;
  const harness::Captured captured = harness::CaptureStdio([&] { result = SaveSvcCfgFile(2, SSVCID_CALL); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(captured.out, "dir /opt/vsb/etc/NxConf/NxModId2 make error\n");
}

}  // namespace

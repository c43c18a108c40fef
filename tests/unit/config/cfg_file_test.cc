#include "config/cfg_file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "harness/capture.h"
#include "unit/config/cfg_root_fixture.h"

namespace {

using config_test::AsBytes;
using config_test::Pattern;

class CfgFileTest : public config_test::CfgRootTest {};

TEST_F(CfgFileTest, ModuleMinusOneUsesTheConfigurationRoot) {
  const std::string bytes = Pattern(8, 1);
  EXPECT_EQ(CfgFileWrite(-1, "DialUpConf.bin", AsBytes(bytes)), 8);
  EXPECT_EQ(Read("/opt/vsb/etc/NxConf/DialUpConf.bin"), bytes);
  std::vector<std::uint8_t> buffer(8);
  EXPECT_EQ(CfgFileRead(-1, "DialUpConf.bin", buffer), 8);
  EXPECT_EQ(std::string(buffer.begin(), buffer.end()), bytes);
}

TEST_F(CfgFileTest, ModuleThreeUsesItsOwnDirectoryMadeWithMode0755) {
  const std::string bytes = Pattern(36, 2);
  harness::Captured captured;
  int result = 0;
  captured = harness::CaptureStdio([&] { result = CfgFileWrite(3, "ImgBufConf.bin", AsBytes(bytes)); });
  EXPECT_EQ(result, 36);
  EXPECT_EQ(captured.out, "");
  EXPECT_EQ(Mode("/opt/vsb/etc/NxConf/NxModId3"), 0755);
  EXPECT_EQ(Read("/opt/vsb/etc/NxConf/NxModId3/ImgBufConf.bin"), bytes);
  std::vector<std::uint8_t> buffer(36);
  EXPECT_EQ(CfgFileRead(3, "ImgBufConf.bin", buffer), 36);
  EXPECT_EQ(CfgFileRead(2, "ImgBufConf.bin", buffer), -1);
}

TEST_F(CfgFileTest, MissingParentsOfTheModuleDirectoryAreMadeToo) {
  sandbox_.Remove("/opt");
  EXPECT_EQ(CfgFileWrite(2, "CallConf.bin", AsBytes(Pattern(704, 3))), 704);
  for (const char* directory :
       {"/opt", "/opt/vsb", "/opt/vsb/etc", "/opt/vsb/etc/NxConf", "/opt/vsb/etc/NxConf/NxModId2"}) {
    EXPECT_EQ(Mode(directory), 0755) << directory;
  }
}

TEST_F(CfgFileTest, ReadReturnsTheCountAndPrintsNothing) {
  sandbox_.WriteFile("/opt/vsb/etc/NxConf/NxModId0/Short.bin", "abc");
  sandbox_.WriteFile("/opt/vsb/etc/NxConf/NxModId0/Long.bin", "0123456789");
  std::vector<std::uint8_t> buffer(6, 'x');
  int missing = 0, shorter = 0, longer = 0;
  const harness::Captured captured = harness::CaptureStdio([&] {
    missing = CfgFileRead(0, "Missing.bin", buffer);
    shorter = CfgFileRead(0, "Short.bin", buffer);
    longer = CfgFileRead(0, "Long.bin", buffer);
  });
  EXPECT_EQ(missing, -1);
  EXPECT_EQ(shorter, 3);
  EXPECT_EQ(longer, 6);
  EXPECT_EQ(std::string(buffer.begin(), buffer.end()), "012345");
  EXPECT_EQ(captured.out, "");
  EXPECT_EQ(captured.err, "");
}

TEST_F(CfgFileTest, WriteTruncatesALongerFile) {
  sandbox_.WriteFile("/opt/vsb/etc/NxConf/UartOutConf.bin", Pattern(40, 4));
  EXPECT_EQ(CfgFileWrite(-1, "UartOutConf.bin", AsBytes(Pattern(12, 5))), 12);
  EXPECT_EQ(Read("/opt/vsb/etc/NxConf/UartOutConf.bin"), Pattern(12, 5));
}

TEST_F(CfgFileTest, DirectoryThatCannotBeMadeIsReportedWithItsDevicePath) {
  sandbox_.WriteFile("/opt/vsb/etc/NxConf/NxModId1", "not a directory");
  int result = 0;
  const harness::Captured captured =
      harness::CaptureStdio([&] { result = CfgFileWrite(1, "MailConf.bin", AsBytes(Pattern(4, 6))); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(captured.out, "dir /opt/vsb/etc/NxConf/NxModId1 make error\n");
}

TEST_F(CfgFileTest, FileThatCannotBeOpenedIsReportedWithErrno) {
  sandbox_.MakeDirectory("/opt/vsb/etc/NxConf/NxModId0/MailConf.bin");
  int result = 0;
  const harness::Captured captured =
      harness::CaptureStdio([&] { result = CfgFileWrite(0, "MailConf.bin", AsBytes(Pattern(4, 7))); });
  EXPECT_EQ(result, -1);
  // EISDIR, 21.
  EXPECT_EQ(captured.out, " File /opt/vsb/etc/NxConf/NxModId0/MailConf.bin is not opened errno = 00000015\n");
}

TEST_F(CfgFileTest, MakeCfgDirPathMakesEveryComponent) {
  EXPECT_EQ(MakeCfgDirPath("/"), 0);
  EXPECT_EQ(MakeCfgDirPath(""), 0);
  EXPECT_EQ(MakeCfgDirPath("/a//b/c/"), 0);
  EXPECT_EQ(Mode("/a"), 0755);
  EXPECT_EQ(Mode("/a/b"), 0755);
  EXPECT_EQ(Mode("/a/b/c"), 0755);
  EXPECT_EQ(MakeCfgDirPath("/a/b/c"), 0);  // all there already
}

TEST_F(CfgFileTest, MakeCfgDirPathStopsAtTheFirstFailureAndKeepsWhatItMade) {
  const std::string too_long(300, 'x');
  EXPECT_EQ(MakeCfgDirPath(("/made/" + too_long + "/deeper").c_str()), -1);
  EXPECT_TRUE(IsDirectory("/made"));
  sandbox_.WriteFile("/plain", "file");
  EXPECT_EQ(MakeCfgDirPath("/plain/sub"), -1);
}

}  // namespace

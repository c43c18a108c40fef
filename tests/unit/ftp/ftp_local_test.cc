// Parts of the FTP client that need no server: the memory-block source, the
// console texts of type handling, toggles and the rate report.
#include <gtest/gtest.h>
#include <sys/time.h>

#include <cstring>
#include <string>

#include "ftp/client/ftp_client.h"
#include "ftp/client/ftp_internal.h"
#include "ftp/client/ftp_mem_file.h"
#include "harness/capture.h"

namespace {

TEST(FtpMemFile, ReadsBytesAndBlocksUpToItsLength) {
  const unsigned char bytes[] = {'a', 0xff, 'c'};
  ftp_mem_file file{bytes, 0, sizeof bytes};
  EXPECT_EQ(ftp_mem_getc(&file), 'a');
  EXPECT_EQ(ftp_mem_getc(&file), 0xff);
  char block[8] = {};
  EXPECT_EQ(ftp_mem_read(block, 1, sizeof block, &file), 1);  // cut to what is left
  EXPECT_EQ(block[0], 'c');
  EXPECT_EQ(ftp_mem_getc(&file), -1);
  EXPECT_EQ(ftp_mem_read(block, 1, sizeof block, &file), 0);
  EXPECT_EQ(ftp_mem_read(nullptr, 1, 1, &file), -1);
  ftp_mem_file empty{nullptr, 0, 0};
  EXPECT_EQ(ftp_mem_read(block, 1, 1, &empty), -1);
}

TEST(FtpMemFile, SeekStaysInsideTheBlock) {
  const unsigned char bytes[] = {'a', 'b', 'c', 'd'};
  ftp_mem_file file{bytes, 0, sizeof bytes};
  EXPECT_EQ(ftp_mem_seek(&file, 2), 2);
  EXPECT_EQ(ftp_mem_getc(&file), 'c');
  EXPECT_EQ(ftp_mem_seek(&file, 4), 3);
  EXPECT_EQ(ftp_mem_seek(&file, 100), 3);
  EXPECT_EQ(ftp_mem_getc(&file), 'd');
}

TEST(FtpMemName, CarriesEveryAddressBit) {
  if constexpr (sizeof(void*) < 8) GTEST_SKIP() << "32-bit addresses";
  char name[kFtpMemNameSize];
  ftp_mem_name(name, reinterpret_cast<const void*>(0x00007f1234567890ULL), 10);
  EXPECT_STREQ(name, "+0x00007f1234567890:0x0000000a");
}

class FtpLocalTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ftp_reset_process_state();
    s_ = ftp_create(0, 1, 0, 0);
    ASSERT_NE(s_, nullptr);
  }
  void TearDown() override { ftp_free(s_); }
  ftp_session* s_ = nullptr;
};

TEST_F(FtpLocalTest, UnknownTypesAreReportedWithoutACommand) {
  const auto out = harness::CaptureStdio([&] {
    EXPECT_EQ(ftp_set_type(s_, "octal"), 0);
    EXPECT_EQ(s_->reply_code, -1);
    s_->cur_type = kFtpTypeAscii;
    ftp_change_type(s_, 7, 0);
    ftp_change_type(s_, kFtpTypeAscii, 0);  // already the server's type: nothing
  });
  EXPECT_EQ(out.out, "octal: unknown mode\nftp: internal error: unknown type 7\n");
  EXPECT_EQ(s_->cur_type, kFtpTypeAscii);
}

TEST_F(FtpLocalTest, TogglesPrintAndLeaveTheirValueInTheReplyCode) {
  const auto out = harness::CaptureStdio([&] {
    ftp_toggle_strip_cr(s_);
    EXPECT_EQ(s_->reply_code, 0);
    ftp_toggle_strip_cr(s_);
    EXPECT_EQ(s_->reply_code, 1);
    ftp_toggle_glob(s_);
    ftp_toggle_port_cmd(s_);  // -1 counts as on
  });
  EXPECT_EQ(
      out.out,
      "Carriage Return stripping off.\nCarriage Return stripping on.\nGlobbing on.\nUse of PORT cmds off.\n");
}

TEST_F(FtpLocalTest, RateReportOnlyWhenVerbose) {
  const timeval start{10, 900000};
  const timeval stop{12, 900000};
  s_->verbose = 0;
  auto out = harness::CaptureStdio([&] { ftp_report_rate(s_, "received", 2048, &start, &stop); });
  EXPECT_EQ(out.out, "");
  s_->verbose = 1;
  out = harness::CaptureStdio([&] {
    ftp_report_rate(s_, "received", 2048, &start, &stop);
    ftp_report_rate(s_, "sent", 512, &start, &start);  // no time passed: divide by 1
  });
  EXPECT_EQ(out.out,
            "2048 bytes received in 2 secs (1 Kbytes/sec)\n512 bytes sent in 0 secs (0.5 Kbytes/sec)\n");
}

TEST_F(FtpLocalTest, NothingConnectedMeansNothingToQuit) {
  EXPECT_EQ(ftp_disconnect(s_), 1);
  EXPECT_EQ(ftp_quit(s_), 1);
}

}  // namespace

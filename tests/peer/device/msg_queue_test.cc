// The message-queue wrappers on real private queues: the bytes that cross
// the queue, the silent refusals and the errno lines.
#include "platform/msg_queue.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/msg.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "harness/capture.h"

namespace {

using Bytes = std::vector<uint8_t>;

class PrivateQueue : public testing::Test {
 protected:
  PrivateQueue() : queue_(MsgQCreate(IPC_PRIVATE)) {}
  ~PrivateQueue() override { MsgQRemove(queue_); }

  int queue_;
};

struct HostMessage {
  long type;
  uint8_t text[512];
};

TEST_F(PrivateQueue, SendCarriesTheTextAfterTheFourByteType) {
  ASSERT_GE(queue_, 0);
  const Bytes message = {0x01, 0x00, 0x02, 0x00, 'a', 'b', 'c'};

  ASSERT_EQ(AdvMgSndMsgQ(queue_, message), 0);

  HostMessage received;
  ASSERT_EQ(msgrcv(queue_, &received, sizeof received.text, 0, IPC_NOWAIT), 3);
  EXPECT_EQ(received.type, 0x20001);
  EXPECT_EQ(Bytes(received.text, received.text + 3), Bytes({'a', 'b', 'c'}));
}

TEST_F(PrivateQueue, ReceiveGivesTypeAndTextAndTheirLength) {
  ASSERT_GE(queue_, 0);
  HostMessage sent{0x1234567, {9, 8, 7, 6, 5}};
  ASSERT_EQ(msgsnd(queue_, &sent, 5, 0), 0);

  std::array<uint8_t, platform::kMsgBufferSize> buffer{};
  ASSERT_EQ(AdvMgRcvMsgQ(queue_, buffer), 9);
  EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + 9), Bytes({0x67, 0x45, 0x23, 0x01, 9, 8, 7, 6, 5}));
}

TEST_F(PrivateQueue, TryReceiveIsQuietWhileNothingWaits) {
  ASSERT_GE(queue_, 0);
  std::array<uint8_t, platform::kMsgBufferSize> buffer{};
  int result = -2;

  const harness::Captured captured = harness::CaptureStdio([&] { result = AdvMgTryRcvMsgQ(queue_, buffer); });

  EXPECT_EQ(result, 0);
  EXPECT_EQ(captured.err, "");
}

TEST_F(PrivateQueue, RefusalsAreSilentAndSendNothing) {
  ASSERT_GE(queue_, 0);
  const Bytes zero_type(8, 0);
  Bytes too_big(257, 0);
  too_big[0] = 1;
  const Bytes largest = [] {
    Bytes bytes(256, 0x55);
    bytes[0] = 1;
    bytes[1] = bytes[2] = bytes[3] = 0;
    return bytes;
  }();
  int zero_result = 0;
  int big_result = 0;
  int largest_result = -1;

  const harness::Captured captured = harness::CaptureStdio([&] {
    zero_result = AdvMgSndMsgQ(queue_, zero_type);
    big_result = AdvMgSndMsgQ(queue_, too_big);
    largest_result = AdvMgSndMsgQ(queue_, largest);
  });

  EXPECT_EQ(zero_result, -1);
  EXPECT_EQ(big_result, -1);
  EXPECT_EQ(largest_result, 0);
  EXPECT_EQ(captured.err, "");
  HostMessage received;
  EXPECT_EQ(msgrcv(queue_, &received, sizeof received.text, 0, IPC_NOWAIT), 252);
  EXPECT_EQ(msgrcv(queue_, &received, sizeof received.text, 0, IPC_NOWAIT), -1);
}

TEST_F(PrivateQueue, ReplyLongerThanTheBufferIsAnError) {
  ASSERT_GE(queue_, 0);
  HostMessage sent{1, {}};
  ASSERT_EQ(msgsnd(queue_, &sent, 257, 0), 0);
  std::array<uint8_t, platform::kMsgBufferSize> buffer{};
  int result = 0;

  const harness::Captured captured = harness::CaptureStdio([&] { result = AdvMgRcvMsgQ(queue_, buffer); });

  EXPECT_EQ(result, -1);
  EXPECT_EQ(captured.err,
            "AdvMgRcvMsgQ ERROR !!!\nThe message text length is greater than msgsz and  MSG_NOER ROR isn't "
            "asserted in msgflg.\n");
}

TEST(MsgQueueErrors, InvalidQueueLines) {
  const Bytes message = {1, 0, 0, 0, 'x'};
  std::array<uint8_t, platform::kMsgBufferSize> buffer{};
  int send_result = 0;
  int receive_result = 0;

  const harness::Captured captured = harness::CaptureStdio([&] {
    send_result = AdvMgSndMsgQ(-1, message);
    receive_result = AdvMgTryRcvMsgQ(-1, buffer);
  });

  EXPECT_EQ(send_result, -1);
  EXPECT_EQ(receive_result, -1);
  EXPECT_EQ(
      captured.err,
      "AdvMgSndMsgQ ERROR !!!\nInvalid msqid value, or nonpositive mtype value, or  invalid msgsz  value  "
      "(less  than 0 or greater than the system value MSGMAX).\n"
      "AdvMgRcvMsgQ ERROR !!!\nIllegal msgqid value, or msgsz less than 0.\n");
}

}  // namespace

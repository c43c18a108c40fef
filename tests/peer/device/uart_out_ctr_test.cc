// nxuoutctr.cgi against a fake serial output service on the real request
// queue: the service records each request as it arrives and answers on the
// request's reply queue with what the test chooses.
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/msg.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "handlers/handler.h"
#include "harness/expected_pages.h"
#include "harness/in_process.h"
#include "harness/process.h"
#include "harness/sandbox.h"

namespace {

using Bytes = std::vector<uint8_t>;
using harness::ErrorPage;
using harness::kHtmlHeader;

constexpr key_t kRequestKey = 0x20030922;
constexpr long kRequestType = 0x20001;
constexpr std::size_t kRequestText = 220;

struct QueueMessage {
  long type;
  uint8_t text[8192];
};

uint32_t Le32(const Bytes& bytes, std::size_t offset) {
  return bytes[offset] | bytes[offset + 1] << 8 | bytes[offset + 2] << 16 | uint32_t{bytes[offset + 3]} << 24;
}

void PutLe32(Bytes& bytes, std::size_t offset, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[offset + i] = static_cast<uint8_t>(value >> (8 * i));
}

// Message text of a reply: the 220 bytes after the type, Length at 16 and
// the received bytes from 20.
Bytes ReplyText(int32_t length, const Bytes& data, std::size_t text_size = kRequestText) {
  Bytes text(text_size, 0);
  PutLe32(text, 16, static_cast<uint32_t>(length));
  std::copy(data.begin(), data.end(), text.begin() + 20);
  return text;
}

int QueueCount() {
  std::ifstream in("/proc/sysvipc/msg");
  int lines = 0;
  for (std::string line; std::getline(in, line);) ++lines;
  return lines - 1;  // the heading
}

void RemoveRequestQueue() {
  const int leftover = msgget(kRequestKey, 0);
  if (leftover >= 0) msgctl(leftover, IPC_RMID, nullptr);
}

struct Request {
  long type;
  Bytes text;  // exactly as received
};

// Answers each request with the reply text the test chooses (none: stays
// silent).
using Responder = std::function<std::optional<Bytes>(const Request&)>;

class FakeUartOutService {
 public:
  explicit FakeUartOutService(Responder responder) : responder_(std::move(responder)) {
    RemoveRequestQueue();
    queue_ = msgget(kRequestKey, IPC_CREAT | IPC_EXCL | 0666);
    if (queue_ < 0) ADD_FAILURE() << "request queue: " << std::strerror(errno);
    worker_ = std::thread([this] { Serve(); });
  }
  ~FakeUartOutService() {
    msgctl(queue_, IPC_RMID, nullptr);  // ends the worker's receive
    worker_.join();
  }

  std::vector<Request> requests() {
    std::lock_guard lock(mutex_);
    return requests_;
  }

  // The requests once there are `count` of them, or what came within ten
  // seconds: a request the handler gave up on may still be on its way.
  std::vector<Request> WaitForRequests(std::size_t count) {
    std::unique_lock lock(mutex_);
    arrived_.wait_for(lock, std::chrono::seconds(10), [&] { return requests_.size() >= count; });
    return requests_;
  }

 private:
  void Serve() {
    QueueMessage message;
    for (;;) {
      const ssize_t size = msgrcv(queue_, &message, sizeof message.text, 0, 0);
      if (size < 0) {
        if (errno == EINTR) continue;
        return;
      }
      Request request{message.type, Bytes(message.text, message.text + size)};
      {
        std::lock_guard lock(mutex_);
        requests_.push_back(request);
      }
      arrived_.notify_all();
      const std::optional<Bytes> reply = responder_(request);
      if (!reply || request.text.size() < 4) continue;
      QueueMessage answer;
      answer.type = 1;
      std::copy(reply->begin(), reply->end(), answer.text);
      msgsnd(static_cast<int>(Le32(request.text, 0)), &answer, reply->size(), 0);
    }
  }

  Responder responder_;
  int queue_ = -1;
  std::thread worker_;
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::vector<Request> requests_;
};

// The text a request should carry: the fields after the type, then Data.
Bytes RequestText(int32_t rx_length, int32_t rx_wait_tm, int32_t tx_mode, int32_t length, const Bytes& data) {
  Bytes text(kRequestText, 0);
  PutLe32(text, 4, static_cast<uint32_t>(rx_length));
  PutLe32(text, 8, static_cast<uint32_t>(rx_wait_tm));
  PutLe32(text, 12, static_cast<uint32_t>(tx_mode));
  PutLe32(text, 16, static_cast<uint32_t>(length));
  std::copy(data.begin(), data.end(), text.begin() + 20);
  return text;
}

struct RequestCase {
  const char* name;
  const char* query;
  Bytes expected;  // the text without RetMsgQId (its first 4 bytes zeroed)
};

// Test names carry the case name; a parameter prints as its name.
void PrintTo(const RequestCase& c, std::ostream* out) { *out << c.name; }

const RequestCase kRequestCases[] = {
    {"NothingToSend", "NxCgiVer=1", RequestText(0, 0, 0, 0, {})},
    {"AllFields", "NxCgiVer=1&TxMode=2&Length=3&Data=1,,0x41,A&RxLength=5&RxWaitTm=100",
     RequestText(5, 100, 2, 3, {0x01, 0x41, 0x41})},
    {"ByteCutToEightBits", "NxCgiVer=0&Length=1&Data=300", RequestText(0, 0, 0, 1, {0x2c})},
    {"PiecesBeyondLengthIgnored", "NxCgiVer=1&Length=2&Data=9,8,7,6", RequestText(0, 0, 0, 2, {9, 8})},
    {"LengthZeroIgnoresData", "NxCgiVer=1&Length=0&Data=zzz&TxMode=0x10", RequestText(0, 0, 16, 0, {})},
    {"NegativeFields", "NxCgiVer=1&RxLength=-1&TxMode=-2", RequestText(-1, 0, -2, 0, {})},
    {"CharactersByFirstByte", "NxCgiVer=1&Length=3&Data=Abc,%20x,z",
     RequestText(0, 0, 0, 3, {'A', ' ', 'z'})},
};

class RequestBytesTest : public testing::TestWithParam<RequestCase> {};

TEST_P(RequestBytesTest, ServiceReceivesTheRequestAndAnswerIsNoContent) {
  const RequestCase& c = GetParam();
  FakeUartOutService service([](const Request&) { return ReplyText(0, {}); });
  harness::SandboxRoot root;
  const int queues_before = QueueCount();

  const harness::ProcessResult result = harness::GetCgi("nxuoutctr.cgi", c.query, root.path());

  EXPECT_EQ(result.out, harness::kNoContent);
  EXPECT_EQ(result.err, "");
  const std::vector<Request> requests = service.requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].type, kRequestType);
  ASSERT_EQ(requests[0].text.size(), kRequestText);
  Bytes text = requests[0].text;
  EXPECT_GE(static_cast<int32_t>(Le32(text, 0)), 0) << "RetMsgQId";
  PutLe32(text, 0, 0);
  EXPECT_EQ(text, c.expected);
  EXPECT_EQ(QueueCount(), queues_before);
}

INSTANTIATE_TEST_SUITE_P(Cases, RequestBytesTest, testing::ValuesIn(kRequestCases),
                         [](const testing::TestParamInfo<RequestCase>& info) { return info.param.name; });

struct ReplyCase {
  const char* name;
  Bytes reply_text;
  std::string answer;
};

void PrintTo(const ReplyCase& c, std::ostream* out) { *out << c.name; }

const ReplyCase kReplyCases[] = {
    {"ThreeBytes", ReplyText(3, {0x01, 0x02, 0xff}), kHtmlHeader + "\nRXLENGTH=3\nRXDATA=0x01,0x02,0xff;\n"},
    {"OneByte", ReplyText(1, {0x2c}), kHtmlHeader + "\nRXLENGTH=1\nRXDATA=0x2c;\n"},
    {"ShortReplyText", ReplyText(2, {0xab, 0xcd}, 22), kHtmlHeader + "\nRXLENGTH=2\nRXDATA=0xab,0xcd;\n"},
    {"FullLengthOfData", ReplyText(200, Bytes(200, 0x7e)),
     [] {
       std::string text = kHtmlHeader + "\nRXLENGTH=200\nRXDATA=";
       for (int i = 0; i < 199; ++i) text += "0x7e,";
       return text + "0x7e;\n";
     }()},
    {"NoData", ReplyText(0, {}), harness::kNoContent},
    {"NegativeLength", ReplyText(-1, {}), ErrorPage("nxuoutctr.cgi", "Invalied DataLeng=-1")},
    {"LengthBeyondArrivedBytes", ReplyText(5, {1, 2}, 22), ErrorPage("nxuoutctr.cgi", "Invalied DataLeng=5")},
    {"ReplyTooLongForTheChannel", Bytes(300, 0),
     ErrorPage("nxuoutctr.cgi", "Reply from serial output service lost")},
    {"ReplyWithoutLength", Bytes(8, 0),
     ErrorPage("nxuoutctr.cgi", "Short reply from serial output service (12 bytes)")},
};

class ReplyRenderingTest : public testing::TestWithParam<ReplyCase> {};

TEST_P(ReplyRenderingTest, AnswersWithWhatArrived) {
  const ReplyCase& c = GetParam();
  FakeUartOutService service([&c](const Request&) { return c.reply_text; });
  harness::SandboxRoot root;

  const harness::ProcessResult result =
      harness::GetCgi("nxuoutctr.cgi", "NxCgiVer=1&Length=1&Data=7&RxLength=3", root.path());

  EXPECT_EQ(result.out, c.answer);
  EXPECT_EQ(service.requests().size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Cases, ReplyRenderingTest, testing::ValuesIn(kReplyCases),
                         [](const testing::TestParamInfo<ReplyCase>& info) { return info.param.name; });

TEST(UartOutCtrPeer, EpilogueFollowsReceivedData) {
  FakeUartOutService service([](const Request&) { return ReplyText(1, {0x41}); });
  harness::SandboxRoot root;

  const harness::ProcessResult result =
      harness::GetCgi("nxuoutctr.cgi", "NxCgiVer=1&RetReDir=/x.html", root.path());

  EXPECT_EQ(result.out, kHtmlHeader + "\nRXLENGTH=1\nRXDATA=0x41;\n" +
                            "<html>\n<head>\n<script language=javascript>\nlocation.href=\"/x.html\";\n"
                            "</script>\n</head>\n<body>\n</body>\n</html>\n");
}

TEST(UartOutCtrPeer, SilentServiceTimesOutAndReplyQueueIsRemoved) {
  FakeUartOutService service([](const Request&) { return std::nullopt; });
  harness::SandboxRoot root;
  const int queues_before = QueueCount();

  const harness::ProcessResult result =
      harness::GetCgi("nxuoutctr.cgi", "NxCgiVer=1&RxLength=4", root.path());

  EXPECT_EQ(result.out, ErrorPage("nxuoutctr.cgi", "No reply from serial output service within 3000 ms"));
  EXPECT_EQ(service.requests().size(), 1u);
  EXPECT_EQ(QueueCount(), queues_before);
}

// In-process the pauses are only recorded, so the whole allowance can be
// counted without waiting for it.
TEST(UartOutCtrPeer, WaitGrowsWithRxWaitTmUpToACap) {
  struct Case {
    const char* form;
    unsigned wait_ms;
  };
  FakeUartOutService service([](const Request&) { return std::nullopt; });
  for (const Case& c : {Case{"NxCgiVer=1", 3000}, Case{"NxCgiVer=1&RxWaitTm=500", 3500},
                        Case{"NxCgiVer=1&RxWaitTm=-5", 3000}, Case{"NxCgiVer=1&RxWaitTm=999999", 60000}}) {
    SCOPED_TRACE(c.form);
    harness::InProcess run;
    run.SetForm(c.form);

    const harness::InProcessResult result = run.RunHandler(NxCgi_UartOutCtrFunc);

    EXPECT_EQ(result.result, -1);
    EXPECT_EQ(result.err_msg,
              "No reply from serial output service within " + std::to_string(c.wait_ms) + " ms");
    EXPECT_EQ(run.sleeps(), std::vector<unsigned long long>(c.wait_ms / 10, 10000));
  }
  EXPECT_EQ(service.WaitForRequests(4).size(), 4u);
}

TEST(UartOutCtrPeer, NoServiceAnswersAtOnceWithoutLeavingQueues) {
  RemoveRequestQueue();
  harness::SandboxRoot root;

  const harness::ProcessResult first = harness::GetCgi("nxuoutctr.cgi", "NxCgiVer=1", root.path());
  EXPECT_EQ(first.out, ErrorPage("nxuoutctr.cgi", "Serial output service not reachable: request not sent"));
  EXPECT_EQ(first.err,
            "AdvMgSndMsgQ ERROR !!!\nInvalid msqid value, or nonpositive mtype value, or  invalid msgsz  "
            "value  (less  than 0 or greater than the system value MSGMAX).\n");

  const int queues_before = QueueCount();
  for (int i = 0; i < 200; ++i) {
    const harness::ProcessResult result =
        harness::GetCgi("nxuoutctr.cgi", "NxCgiVer=1&Length=1&Data=1", root.path());
    ASSERT_EQ(result.out, first.out) << "request " << i;
  }
  EXPECT_EQ(QueueCount(), queues_before);
}

}  // namespace

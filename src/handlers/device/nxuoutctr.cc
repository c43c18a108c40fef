// nxuoutctr.cgi: one request to the serial output service over its message
// queue, and its reply.
#include <sys/ipc.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "config/uart_out_msg.h"
#include "handlers/handler.h"
#include "platform/msg_queue.h"
#include "platform/request_end.h"
#include "platform/sleep.h"

namespace {

struct NumberField {
  const char* name;
  std::size_t offset;
};

// Read in this order; each one given goes to its request field.
constexpr NumberField kNumberFields[] = {
    {"TxMode", config::kUartOutTxMode},
    {"Length", config::kUartOutLength},
    {"RxLength", config::kUartOutRxLength},
    {"RxWaitTm", config::kUartOutRxWaitTm},
};

// The reply wait is bounded: a service that is stopped, or a request that
// never reached it, must not hold a CGI process (and its reply queue)
// forever. The service may itself spend RxWaitTm (milliseconds) collecting
// received bytes before it answers, so that time is granted on top of the
// base allowance; the cap keeps a wild RxWaitTm from doing the same harm.
// The receive does not block; it is retried after each short pause.
constexpr unsigned kReplyBaseWaitMs = 3000;
constexpr unsigned kReplyMaxWaitMs = 60000;
constexpr unsigned kReplyPollMs = 10;

unsigned ReplyWaitMs(int32_t rx_wait_tm) {
  unsigned wait = kReplyBaseWaitMs;
  if (rx_wait_tm > 0) wait += static_cast<unsigned>(rx_wait_tm);
  return wait < kReplyMaxWaitMs ? wait : kReplyMaxWaitMs;
}

// Splits Data at commas into up to `length` bytes and returns how many were
// taken. A piece that starts with a digit is a number cut to 8 bits, any
// other piece gives the code of its first character. *shown is the text as
// far as the end of its first piece, as a refusal quotes it.
int ParseData(std::string_view text, int32_t length, std::span<uint8_t, config::kUartOutDataSize> data,
              std::string_view* shown) {
  int taken = 0;
  std::size_t position = 0;
  *shown = text;
  while (taken < length && static_cast<std::size_t>(taken) < data.size()) {
    while (position < text.size() && text[position] == ',') ++position;
    if (position == text.size()) break;
    std::size_t end = text.find(',', position);
    if (end == std::string_view::npos) end = text.size();
    if (taken == 0) *shown = std::string_view(text.data(), end);

    char piece[kFieldBufferSize];
    const std::size_t piece_size = end - position;
    std::memcpy(piece, text.data() + position, piece_size);
    piece[piece_size] = '\0';
    data[static_cast<std::size_t>(taken)] = std::isdigit(static_cast<unsigned char>(piece[0]))
                                                ? static_cast<uint8_t>(StrToNum(piece))
                                                : static_cast<uint8_t>(piece[0]);
    ++taken;
    position = end;
  }
  return taken;
}

enum class Exchange { kReplied, kNotSent, kTimedOut, kLost };

// A request the service never took is taken back, so that a service that
// stopped reading is not left with a queue full of requests nobody waits
// for (and would carry them out when it reads again). The messages around
// it are sent again in their order.
void TakeBackRequest(int request_queue, int reply_queue) {
  const int count = MsgQCount(request_queue);
  bool taken = false;
  for (int i = 0; i < count; ++i) {
    config::UartOutMsg queued;
    const int size = AdvMgTryRcvMsgQ(request_queue, queued.bytes);
    if (size <= 0) return;
    if (!taken && queued.Get(config::kUartOutRetMsgQId) == reply_queue) {
      taken = true;
      continue;
    }
    AdvMgSndMsgQ(request_queue, std::span(queued.bytes).first(static_cast<std::size_t>(size)));
  }
}

// Sends the request and waits for the reply into the same buffer, both
// within wait_ms: the full queue of a service that stopped reading holds the
// request no longer than a silent service. The reply queue is removed here
// on every path, and by a signal that ends the request first.
Exchange SendAndWait(config::UartOutMsg& message, int reply_queue, unsigned wait_ms, int* reply_size) {
  platform::RemoveQueueAtEnd(reply_queue);
  message.Set(config::kUartOutRetMsgQId, reply_queue);
  const int request_queue = MsgQGet(config::kUartOutRequestKey);
  Exchange outcome = Exchange::kNotSent;
  bool sent = false, done = false;
  const unsigned tries = wait_ms / kReplyPollMs;
  for (unsigned attempt = 0; attempt <= tries && !done; ++attempt) {
    if (!sent) {
      const int sending = AdvMgSndMsgQ(request_queue, message.Request());
      sent = sending == 0;
      done = sending < 0;
      if (sent) outcome = Exchange::kTimedOut;
    }
    if (sent) {
      const int received = AdvMgTryRcvMsgQ(reply_queue, message.bytes);
      if (received > 0) *reply_size = received;
      if (received != 0) outcome = received > 0 ? Exchange::kReplied : Exchange::kLost;
      done = received != 0;
    }
    if (!done && attempt < tries) platform::SleepMicroseconds(kReplyPollMs * 1000);
  }
  if (outcome == Exchange::kTimedOut) TakeBackRequest(request_queue, reply_queue);
  MsgQRemove(reply_queue);
  platform::ForgetQueueAtEnd();
  return outcome;
}

void PrintReply(std::span<const uint8_t> received) {
  std::printf("\nRXLENGTH=%d", static_cast<int>(received.size()));
  std::printf("\nRXDATA=");
  for (std::size_t i = 0; i + 1 < received.size(); ++i) std::printf("0x%02x,", received[i]);
  std::printf("0x%02x;\n", received.back());
}

}  // namespace

int NxCgi_UartOutCtrFunc(char* err_msg) {
  config::UartOutMsg message;
  char value[kFieldBufferSize];

  const IdField version = ReadVersionField();
  if (!IsAcceptedVersion(version)) {
    CgiSetErrMsg(err_msg, "Invalied NxCgiVer=%d", version.ValueOr(0xffff));
    return -1;
  }

  message.Set(config::kUartOutType, static_cast<int32_t>(config::kUartOutRequestType));
  for (const NumberField& field : kNumberFields) {
    if (ReadGivenField(field.name, value)) message.Set(field.offset, StrToNum(value));
  }

  const int32_t length = message.Get(config::kUartOutLength);
  if (length > 0) {
    if (!ReadGivenField("Data", value)) {
      CgiSetErrMsg(err_msg, "Have No Data");
      return -1;
    }
    std::string_view shown;
    if (ParseData(value, length, message.Data(), &shown) != length) {
      CgiSetErrMsg(err_msg, "Invalied Data=%.*s", static_cast<int>(shown.size()), shown.data());
      return -1;
    }
  }

  const int reply_queue = MsgQCreate(IPC_PRIVATE);
  if (reply_queue == -1) {
    CgiSetErrMsg(err_msg, "Invalied RetMsgQId=%d", -1);
    return -1;
  }

  const unsigned wait_ms = ReplyWaitMs(message.Get(config::kUartOutRxWaitTm));
  int reply_size = 0;
  switch (SendAndWait(message, reply_queue, wait_ms, &reply_size)) {
    case Exchange::kReplied:
      break;
    case Exchange::kNotSent:
      CgiSetErrMsg(err_msg, "Serial output service not reachable: request not sent");
      return -1;
    case Exchange::kTimedOut:
      CgiSetErrMsg(err_msg, "No reply from serial output service within %u ms", wait_ms);
      return -1;
    case Exchange::kLost:
      CgiSetErrMsg(err_msg, "Reply from serial output service lost");
      return -1;
  }

  if (reply_size < static_cast<int>(config::kUartOutData)) {
    CgiSetErrMsg(err_msg, "Short reply from serial output service (%d bytes)", reply_size);
    return -1;
  }
  // Only bytes that arrived are reported: a Length beyond the reply's text is
  // as invalid as a negative one.
  const int32_t received = message.Get(config::kUartOutLength);
  if (received < 0 || received > reply_size - static_cast<int>(config::kUartOutData)) {
    CgiSetErrMsg(err_msg, "Invalied DataLeng=%d", received);
    return -1;
  }
  if (received == 0) {
    std::printf("HTTP/1.1 204 OK\r\n");
    CgiPrintContentType("text/html");
    return 0;
  }
  CgiPrintContentType("text/html");
  PrintReply(std::span(message.bytes).subspan(config::kUartOutData, static_cast<std::size_t>(received)));
  return 1;
}

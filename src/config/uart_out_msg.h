// UartOutMsg, the request and reply of the serial output service: 224 bytes,
// little-endian, the message type first. The reply may carry up to the
// channel's largest text, so the buffer holds a whole channel message.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/le_bytes.h"
#include "platform/msg_queue.h"

namespace config {

// The request queue belongs to the serial output service.
inline constexpr key_t kUartOutRequestKey = 0x20030922;
inline constexpr uint32_t kUartOutRequestType = 0x20001;
inline constexpr std::size_t kUartOutMsgSize = 224;
inline constexpr std::size_t kUartOutDataSize = 200;

// Offsets of the 32-bit fields and of the data bytes.
inline constexpr std::size_t kUartOutType = 0;
inline constexpr std::size_t kUartOutRetMsgQId = 4;
inline constexpr std::size_t kUartOutRxLength = 8;
inline constexpr std::size_t kUartOutRxWaitTm = 12;
inline constexpr std::size_t kUartOutTxMode = 16;
inline constexpr std::size_t kUartOutLength = 20;
inline constexpr std::size_t kUartOutData = 24;

struct UartOutMsg {
  std::array<uint8_t, platform::kMsgBufferSize> bytes{};

  int32_t Get(std::size_t offset) const { return static_cast<int32_t>(platform::LoadU32(bytes, offset)); }
  void Set(std::size_t offset, int32_t value) {
    platform::StoreU32(bytes, offset, static_cast<uint32_t>(value));
  }
  std::span<uint8_t, kUartOutDataSize> Data() {
    return std::span(bytes).subspan<kUartOutData, kUartOutDataSize>();
  }
  std::span<const uint8_t> Request() const { return std::span(bytes).first(kUartOutMsgSize); }
};

}  // namespace config

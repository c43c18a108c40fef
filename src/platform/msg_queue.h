// The System V message-queue channel to the device daemons. A message is
// handled as the bytes the daemons exchange: a 32-bit little-endian message
// type followed by the message text. The C library's message buffer starts
// with a long, which is 8 bytes on 64-bit hosts; the wrappers convert, so the
// text that crosses the queue is the same on every platform.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace platform {

inline constexpr std::size_t kMsgTypeSize = 4;
// The largest message text the wrappers handle.
inline constexpr std::size_t kMsgMaxText = 256;
// A receive buffer: the type and the largest text.
inline constexpr std::size_t kMsgBufferSize = kMsgTypeSize + kMsgMaxText;

}  // namespace platform

// The identifier of an existing queue, or -1.
int MsgQGet(key_t key);
// The identifier of a new (or existing) queue with mode 0666, or -1.
int MsgQCreate(key_t key);
int MsgQRemove(int msgq_id);
// How many messages wait in the queue; -1 when it cannot be read.
int MsgQCount(int msgq_id);

// Sends the message (type first; its size counts the 4-byte type) without
// waiting. A zero type or a size above 256 is refused without a word. 0, 1
// when the queue is full (nothing said), or -1 with the reason on standard
// error.
int AdvMgSndMsgQ(int msgq_id, std::span<const uint8_t> message);
// Waits for the first message of any type. The text length + 4, or -1 with
// the reason on standard error.
int AdvMgRcvMsgQ(int msgq_id, std::span<uint8_t, platform::kMsgBufferSize> message);
// The same without waiting: 0 when no message is there yet.
int AdvMgTryRcvMsgQ(int msgq_id, std::span<uint8_t, platform::kMsgBufferSize> message);

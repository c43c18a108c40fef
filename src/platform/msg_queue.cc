#include "platform/msg_queue.h"

#include <sys/ipc.h>
#include <sys/msg.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/le_bytes.h"

namespace {

// The C library's view of a message.
struct HostMessage {
  long type;
  char text[platform::kMsgMaxText];
};

struct ErrnoLine {
  int number;
  const char* text;
};

constexpr ErrnoLine kSendLines[] = {
    {EINTR,
     "Sleeping  on  a  full  message  queue condition, the process received a signal that had to be "
     "caught.\n"},
    {EAGAIN,
     "The  message  can't  be sent due to the msg_qbytes limit for the queue and IPC_NOWAIT was "
     "asserted in mgsflg.\n"},
    {ENOMEM, "The system has not enough memory to make a copy of the supplied msgbuf.\n"},
    {EACCES, "The calling process has no write access permissions on the message queue.\n"},
    {EFAULT, "The address pointed to by msgp isn't accessible.\n"},
    {EINVAL,
     "Invalid msqid value, or nonpositive mtype value, or  invalid msgsz  value  (less  than 0 or "
     "greater than the system value MSGMAX).\n"},
    {EIDRM, "The message queue was removed.\n"},
};

constexpr ErrnoLine kReceiveLines[] = {
    {EINTR,
     "While  the  process  was  sleeping to receive a message, theprocess received a signal that had "
     "to be caught.\n"},
    {E2BIG, "The message text length is greater than msgsz and  MSG_NOER ROR isn't asserted in msgflg.\n"},
    {EACCES, "The  calling  process  has no read access permissions on themessage queue.\n"},
    {EFAULT, "The address pointed to by msgp isn't accessible.\n"},
    {EINVAL, "Illegal msgqid value, or msgsz less than 0.\n"},
    {ENOMSG,
     "IPC_NOWAIT was asserted in msgflg  and  no  message  of  the requested type existed on the "
     "message queue.\n"},
    {EIDRM, "The message queue was removed.\n"},
};

const char* LineFor(std::span<const ErrnoLine> lines, int number) {
  for (const ErrnoLine& line : lines) {
    if (line.number == number) return line.text;
  }
  return nullptr;
}

int Receive(int msgq_id, std::span<uint8_t, platform::kMsgBufferSize> message, int flags) {
  HostMessage host;
  const ssize_t length = msgrcv(msgq_id, &host, sizeof host.text, 0, flags);
  if (length < 0) {
    const int number = errno;
    if (number == ENOMSG && (flags & IPC_NOWAIT) != 0) return 0;
    std::fputs("AdvMgRcvMsgQ ERROR !!!\n", stderr);
    if (const char* line = LineFor(kReceiveLines, number)) {
      std::fputs(line, stderr);
    } else {
      std::fprintf(stderr, "Unknowen errno = 0x%08x \n", static_cast<unsigned>(number));
    }
    errno = number;
    return -1;
  }
  platform::StoreU32(message, 0, static_cast<uint32_t>(host.type));
  std::memcpy(message.data() + platform::kMsgTypeSize, host.text, static_cast<std::size_t>(length));
  return static_cast<int>(length) + static_cast<int>(platform::kMsgTypeSize);
}

}  // namespace

int MsgQGet(key_t key) { return msgget(key, 0); }

int MsgQCreate(key_t key) { return msgget(key, IPC_CREAT | 0666); }

int MsgQRemove(int msgq_id) { return msgctl(msgq_id, IPC_RMID, nullptr); }

int MsgQCount(int msgq_id) {
  msqid_ds status;
  return msgctl(msgq_id, IPC_STAT, &status) == 0 ? static_cast<int>(status.msg_qnum) : -1;
}

int AdvMgSndMsgQ(int msgq_id, std::span<const uint8_t> message) {
  if (message.size() < platform::kMsgTypeSize || message.size() > platform::kMsgMaxText) return -1;
  const auto type = static_cast<int32_t>(platform::LoadU32(message, 0));
  if (type == 0) return -1;

  HostMessage host;
  host.type = type;
  const std::size_t text_size = message.size() - platform::kMsgTypeSize;
  std::memcpy(host.text, message.data() + platform::kMsgTypeSize, text_size);
  // Never waits: a full queue is the caller's to wait on, within its time.
  if (msgsnd(msgq_id, &host, text_size, IPC_NOWAIT) == 0) return 0;

  const int number = errno;
  if (number == EAGAIN) return 1;
  std::fputs("AdvMgSndMsgQ ERROR !!!\n", stderr);
  if (const char* line = LineFor(kSendLines, number)) std::fputs(line, stderr);
  errno = number;
  return -1;
}

int AdvMgRcvMsgQ(int msgq_id, std::span<uint8_t, platform::kMsgBufferSize> message) {
  return Receive(msgq_id, message, 0);
}

int AdvMgTryRcvMsgQ(int msgq_id, std::span<uint8_t, platform::kMsgBufferSize> message) {
  return Receive(msgq_id, message, IPC_NOWAIT);
}

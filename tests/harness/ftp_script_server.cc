#include "harness/ftp_script_server.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace harness {
namespace {

constexpr int kPollStepMs = 50;
constexpr int kDataWaitMs = 5000;

int ListenOnLoopback(int& port) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) throw std::runtime_error("socket");
  const int on = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) < 0 || listen(fd, 4) < 0) {
    close(fd);
    throw std::runtime_error("bind/listen");
  }
  socklen_t length = sizeof address;
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  port = ntohs(address.sin_port);
  return fd;
}

// Waits until fd is readable; false on time-out or stop.
bool WaitReadable(int fd, int limit_ms, const std::atomic<bool>& stopping) {
  for (int waited = 0; limit_ms < 0 || waited < limit_ms; waited += kPollStepMs) {
    pollfd entry{fd, POLLIN, 0};
    if (poll(&entry, 1, kPollStepMs) > 0) return true;
    if (stopping && limit_ms < 0) return false;
  }
  return false;
}

std::string Verb(const std::string& line) {
  std::string verb = line.substr(0, line.find(' '));
  for (char& c : verb) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  return verb;
}

}  // namespace

int CountOpenDescriptors() {
  DIR* dir = opendir("/proc/self/fd");
  if (dir == nullptr) return -1;
  int count = 0;
  while (readdir(dir) != nullptr) ++count;
  closedir(dir);
  return count - 3;  // ".", ".." and the directory's own descriptor
}

FtpScriptServer::FtpScriptServer(std::string greeting) : greeting_(std::move(greeting)) {
  listener_ = ListenOnLoopback(port_);
  thread_ = std::thread([this] { Serve(); });
}

FtpScriptServer::~FtpScriptServer() { Stop(); }

void FtpScriptServer::Stop() {
  if (stopped_) return;
  stopped_ = true;
  stopping_ = true;
  if (thread_.joinable()) thread_.join();
  close(listener_);
  if (pasv_listener_ >= 0) close(pasv_listener_);
  pasv_listener_ = -1;
}

void FtpScriptServer::Serve() {
  if (!WaitReadable(listener_, -1, stopping_)) return;
  const int control = accept(listener_, nullptr, nullptr);
  if (control < 0) return;
  const int on = 1;
  setsockopt(control, SOL_SOCKET, SO_OOBINLINE, &on, sizeof on);
  setsockopt(control, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  Session(control);
  close(control);
}

bool FtpScriptServer::SendText(int fd, const std::string& text) {
  if (!byte_per_segment_)
    return send(fd, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
  for (char c : text) {
    if (send(fd, &c, 1, MSG_NOSIGNAL) != 1) return false;
    usleep(2000);
  }
  return true;
}

int FtpScriptServer::OpenData() {
  if (pasv_listener_ >= 0) {
    if (!WaitReadable(pasv_listener_, kDataWaitMs, stopping_)) return -1;
    const int fd = accept(pasv_listener_, nullptr, nullptr);
    close(pasv_listener_);
    pasv_listener_ = -1;
    return fd;
  }
  unsigned h1, h2, h3, h4, p1, p2;
  if (std::sscanf(port_arg_.c_str(), "%u,%u,%u,%u,%u,%u", &h1, &h2, &h3, &h4, &p1, &p2) != 6) return -1;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl((h1 << 24) | (h2 << 16) | (h3 << 8) | h4);
  address.sin_port = htons(static_cast<uint16_t>(p1 * 256 + p2));
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) < 0) {
    close(fd);
    return -1;
  }
  return fd;
}

std::string FtpScriptServer::DefaultReply(const std::string& verb, FtpAction& action) {
  action = FtpAction::kReply;
  if (verb == "USER") return "331 Password required\r\n";
  if (verb == "PASS") return "230 Logged in\r\n";
  if (verb == "TYPE") return "200 Type set\r\n";
  if (verb == "PORT") return "200 PORT command successful\r\n";
  if (verb == "PASV") {
    int port = 0;
    if (pasv_listener_ >= 0) close(pasv_listener_);
    pasv_listener_ = ListenOnLoopback(port);
    char text[96];
    std::snprintf(text, sizeof text, "227 Entering Passive Mode (127,0,0,1,%d,%d).\r\n", port / 256,
                  port % 256);
    return text;
  }
  if (verb == "RETR" || verb == "LIST" || verb == "NLST") {
    action = FtpAction::kSendData;
    return "150 Opening data connection\r\n";
  }
  if (verb == "STOR" || verb == "STOU" || verb == "APPE") {
    action = FtpAction::kReceiveData;
    return "150 Ok to send data\r\n";
  }
  if (verb == "CWD" || verb == "XCWD" || verb == "DELE" || verb == "RMD" || verb == "XRMD") {
    return "250 Okay\r\n";
  }
  if (verb == "MKD" || verb == "XMKD") return "257 Created\r\n";
  if (verb == "NOOP") return "200 NOOP ok\r\n";
  if (verb == "ABOR") return "426 Connection closed; transfer aborted\r\n226 ABOR command successful\r\n";
  if (verb == "QUIT") {
    action = FtpAction::kDrop;
    return "221 Goodbye\r\n";
  }
  return "500 Unknown command\r\n";
}

void FtpScriptServer::Session(int control) {
  if (!SendText(control, greeting_)) return;
  std::string line;
  int telnet_skip = 0;  // bytes of a Telnet sequence still to drop
  for (;;) {
    if (!WaitReadable(control, -1, stopping_)) return;
    if (sockatmark(control) == 1) urgent_marks_.push_back(raw_.size());
    char block[512];
    const ssize_t got = recv(control, block, sizeof block, 0);
    if (got <= 0) return;
    for (ssize_t i = 0; i < got; ++i) {
      const unsigned char c = static_cast<unsigned char>(block[i]);
      raw_.push_back(static_cast<char>(c));
      if (telnet_skip > 0) {
        --telnet_skip;
        if (telnet_skip == 0 && c >= 251 && c <= 254) telnet_skip = 1;  // option byte follows
        continue;
      }
      if (c == 255) {
        telnet_skip = 1;
        continue;
      }
      if (c != '\n') {
        line.push_back(static_cast<char>(c));
        continue;
      }
      if (!line.empty() && line.back() == '\r') line.pop_back();
      commands_.push_back(line);
      const std::string verb = Verb(line);
      const std::string argument = line.size() > verb.size() + 1 ? line.substr(verb.size() + 1) : "";
      line.clear();

      FtpAction action;
      std::string reply = DefaultReply(verb, action);
      for (FtpRule& rule : rules_) {
        if (rule.times != 0 && rule.verb == verb) {
          if (rule.times > 0) --rule.times;
          reply = rule.reply;
          action = rule.action;
          break;
        }
      }
      if (verb == "PORT") port_arg_ = argument;
      if (action == FtpAction::kSilence) continue;
      if (!reply.empty() && !SendText(control, reply)) return;
      if (action == FtpAction::kDrop) return;
      if (action == FtpAction::kSendData || action == FtpAction::kReceiveData) {
        const int data = OpenData();
        if (data < 0) {
          SendText(control, "425 Can't open data connection\r\n");
          continue;
        }
        data_connected_ = true;
        if (action == FtpAction::kSendData) {
          send(data, data_.data(), data_.size(), MSG_NOSIGNAL);
        } else {
          while (WaitReadable(data, kDataWaitMs, stopping_)) {
            const ssize_t n = recv(data, block, sizeof block, 0);
            if (n <= 0) break;
            stored_.append(block, static_cast<std::size_t>(n));
          }
        }
        close(data);
        if (!SendText(control, "226 Transfer complete\r\n")) return;
      }
    }
  }
}

}  // namespace harness

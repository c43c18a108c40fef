#include "harness/ftp_script_server.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace harness {
namespace {

// The replies to the commands no rule answers ("|VERB reply"); any other
// command is accepted with "200 Okay".
const std::string kReplies =
    "|USER 331 Password required\r\n|REST 350 Restarting\r\n|RETR 150 Sending\r\n|NLST 150 Sending\r\n"
    "|STOR 150 Send it\r\n|APPE 150 Send it\r\n|ABOR 426 Transfer aborted\r\n226 ABOR done\r\n|";

std::string DefaultReply(const std::string& verb) {
  const std::size_t at = kReplies.find("|" + verb + " "), start = at + verb.size() + 2;
  return at == kReplies.npos ? "200 Okay\r\n" : kReplies.substr(start, kReplies.find('|', start) - start);
}

int Listen(int& port) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t length = sizeof address;
  bind(fd, reinterpret_cast<sockaddr*>(&address), length);
  listen(fd, 4);
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  port = ntohs(address.sin_port);
  return fd;
}

bool Readable(int fd) {
  pollfd entry{fd, POLLIN, 0};
  return poll(&entry, 1, 10000) > 0;
}

// After PASV (an empty PORT text) the client connects to the listener that
// took the control connection; after PORT the server connects (from `from`).
int OpenData(const std::string& port_text, int listener, in_addr_t from = INADDR_ANY) {
  if (port_text.empty()) return Readable(listener) ? accept(listener, nullptr, nullptr) : -1;
  unsigned high = 0, low = 0;
  std::sscanf(port_text.c_str(), " %*u,%*u,%*u,%*u,%u,%u", &high, &low);
  sockaddr_in address{AF_INET, htons(static_cast<uint16_t>(high * 256 + low)), {htonl(INADDR_LOOPBACK)}, {}},
      local{AF_INET, 0, {htonl(from)}, {}};
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof local);
  connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
  return fd;
}

}  // namespace

FtpScriptServer::FtpScriptServer(FtpScript script_in) : script(std::move(script_in)) {
  listener = Listen(port);
  thread = std::jthread([this] { Session(); });
}

void FtpScriptServer::Session() {
  const int control = Readable(listener) ? accept(listener, nullptr, nullptr) : -1, on = 1;
  setsockopt(control, SOL_SOCKET, SO_OOBINLINE, &on, sizeof on);
  const auto say = [&](const std::string& text) { send(control, text.data(), text.size(), MSG_NOSIGNAL); };
  for (std::size_t at = 0;
       at < script.greeting.size() && send(control, &script.greeting[at], 1, MSG_NOSIGNAL) == 1; ++at)
    std::this_thread::sleep_for(std::chrono::milliseconds(script.drip_ms));
  std::string line, port_text;
  char block[4096];
  for (ssize_t got = control >= 0; got > 0 && Readable(control);) {
    if (sockatmark(control) == 1) line += "<urgent>";
    line.append(block, std::max<ssize_t>(got = recv(control, block, sizeof block, 0), 0));
    for (std::size_t end; got > 0 && (end = line.find("\r\n")) != std::string::npos; line.erase(0, end + 2)) {
      commands += line.substr(0, end) + "|";
      // The verb: the capitals after any Telnet bytes.
      const std::size_t from = line.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ");
      const std::string verb = line.substr(from, std::min(line.find(' ', from), end) - from);
      FtpRule rule{verb, DefaultReply(verb)};
      if (verb == "PASV")
        rule.reply = "227 Entering Passive Mode (127,0,0,1," + std::to_string(port / 256) + "," +
                     std::to_string(port % 256) + ").\r\n";
      if (verb == "PORT" || verb == "PASV") port_text = line.substr(4, end - 4);  // empty after PASV
      auto& rules = script.rules;
      const auto scripted = std::find_if(rules.begin(), rules.end(), [&](auto& r) { return r.verb == verb; });
      if (scripted != rules.end()) rule = *scripted, rules.erase(scripted);
      if (rule.act != FtpAct::kSilent) say(rule.reply);
      if (rule.act == FtpAct::kDrop) got = 0;
      if (!rule.reply.starts_with("150") || rule.act == FtpAct::kNoData) continue;
      const int other = rule.act == FtpAct::kIntrude ? OpenData(port_text, listener, 0x7f000002) : -1;
      if (other >= 0) send(other, "injected", 8, MSG_NOSIGNAL), close(other);
      const int data = OpenData(port_text, listener);
      if (verb == "RETR" || verb == "NLST") send(data, script.data.data(), script.data.size(), MSG_NOSIGNAL);
      for (ssize_t n; (verb == "STOR" || verb == "APPE") && (n = recv(data, block, sizeof block, 0)) > 0;)
        stored.append(block, static_cast<std::size_t>(n));
      close(data);
      say("226 Transfer complete\r\n");
    }
  }
  close(control);
  close(listener);
}

}  // namespace harness

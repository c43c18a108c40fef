// Preparing the data connection: a passive connection to the server's PASV
// address, or an active listening socket announced with PORT.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "ftp/client/ftp_internal.h"

namespace {

constexpr int kTosThroughput = 0x08;
constexpr int kAcceptWaitSeconds = 2;

void SetDebugOption(const ftp_session* s) {
  if ((s->socket_options & 1) == 0) return;
  const int on = 1;
  if (setsockopt(s->data_fd, SOL_SOCKET, SO_DEBUG, &on, sizeof on) < 0)
    std::perror("ftp: setsockopt (ignored)");
}

int PassiveInit(ftp_session* s) {
  if (s->data_fd >= 0) close(s->data_fd);
  s->data_fd = socket(AF_INET, SOCK_STREAM, 0);
  if (s->data_fd < 0) {
    std::perror("ftp: socket");
    return 1;
  }
  SetDebugOption(s);
  if (ftp_command(s, "PASV\r\n") != 2) {
    std::printf("Passive mode refused.\n");
    std::fflush(stdout);
    ftp_close_socket(s->data_fd, SHUT_RDWR);
    return 1;
  }
  long a1, a2, a3, a4, p1, p2;
  if (std::sscanf(s->pasv_text, "%ld,%ld,%ld,%ld,%ld,%ld", &a1, &a2, &a3, &a4, &p1, &p2) < 6) {
    std::printf("Passive mode address scan failure. Shouldn't happen!\n");
    std::fflush(stdout);
    ftp_close_socket(s->data_fd, SHUT_RDWR);
    return 1;
  }
  std::memset(&s->data_addr, 0, sizeof s->data_addr);
  s->data_addr.sin_family = AF_INET;
  auto* address = reinterpret_cast<unsigned char*>(&s->data_addr.sin_addr);
  address[0] = static_cast<unsigned char>(a1);
  address[1] = static_cast<unsigned char>(a2);
  address[2] = static_cast<unsigned char>(a3);
  address[3] = static_cast<unsigned char>(a4);
  s->data_addr.sin_port = htons(static_cast<uint16_t>(p1 * 256 + p2));
  if (ftp_connect_socket(s, s->data_fd, s->data_addr) < 0) {
    std::perror("ftp: connect");
    ftp_close_socket(s->data_fd, SHUT_RDWR);
    return 1;
  }
  ftp_set_tos(s->data_fd, kTosThroughput);
  return 0;
}

int ActiveInit(ftp_session* s) {
  bool fell_back = false;
  for (;;) {
    s->data_addr = s->local_ctrl_addr;
    if (s->use_port_cmd != 0) s->data_addr.sin_port = 0;
    if (s->data_fd != -1) close(s->data_fd);
    s->data_fd = socket(AF_INET, SOCK_STREAM, 0);
    if (s->data_fd < 0) {
      std::perror("ftp: socket");
      if (fell_back) s->use_port_cmd = 1;
      return 1;
    }
    const char* failure = nullptr;
    socklen_t length = sizeof s->data_addr;
    if (s->fixed_data_port != 0) {
      const int on = 1;
      if (setsockopt(s->data_fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) < 0) {
        failure = "ftp: setsockopt (reuse address)";
      }
      s->data_addr.sin_port = htons(static_cast<uint16_t>(s->fixed_data_port));
    }
    if (failure == nullptr &&
        bind(s->data_fd, reinterpret_cast<const sockaddr*>(&s->data_addr), sizeof s->data_addr) < 0) {
      failure = "ftp: bind";
    }
    if (failure == nullptr) {
      SetDebugOption(s);
      if (getsockname(s->data_fd, reinterpret_cast<sockaddr*>(&s->data_addr), &length) < 0) {
        failure = "ftp: getsockname";
      }
    }
    if (failure != nullptr) {
      std::perror(failure);
      ftp_close_socket(s->data_fd, SHUT_RDWR);
      if (fell_back) s->use_port_cmd = 1;
      return 1;
    }
    if (listen(s->data_fd, 1) < 0) std::perror("ftp: listen");

    if (s->use_port_cmd != 0) {
      const auto* a = reinterpret_cast<const unsigned char*>(&s->data_addr.sin_addr);
      const auto* p = reinterpret_cast<const unsigned char*>(&s->data_addr.sin_port);
      const int reply = ftp_command(s, "PORT %d,%d,%d,%d,%d,%d\r\n", a[0], a[1], a[2], a[3], p[0], p[1]);
      if (reply == 5 && s->use_port_cmd == -1) {
        s->use_port_cmd = 0;
        fell_back = true;
        continue;
      }
      if (reply == 2) return 0;
      // Nobody will connect to a socket the server did not accept.
      ftp_close_socket(s->data_fd, SHUT_RDWR);
      return 1;
    }
    if (fell_back) s->use_port_cmd = 1;
    ftp_set_tos(s->data_fd, kTosThroughput);
    return 0;
  }
}

}  // namespace

int ftp_data_init(ftp_session* s) { return s->passive ? PassiveInit(s) : ActiveInit(s); }

int ftp_data_accept(ftp_session* s) {
  if (s->passive) return s->data_fd;
  int accepted = -1;
  while (accepted < 0) {
    if (!ftp_wait_readable(s, s->data_fd, kAcceptWaitSeconds)) {
      ftp_close_socket(s->data_fd, SHUT_RDWR);
      return -1;
    }
    sockaddr_in from{};
    socklen_t length = sizeof from;
    accepted = accept(s->data_fd, reinterpret_cast<sockaddr*>(&from), &length);
    if (accepted < 0) {
      std::perror("ftp: accept");
      ftp_close_socket(s->data_fd, SHUT_RDWR);
      return -1;
    }
    // Any user of a host on the way may connect to the announced port: only
    // the server's address may fill the download. The wait goes on.
    if (from.sin_addr.s_addr != s->peer_addr.sin_addr.s_addr) {
      std::fprintf(stderr, "ftp: data from %s refused\n", inet_ntoa(from.sin_addr));
      ftp_close_socket(accepted, SHUT_RDWR);
    }
  }
  close(s->data_fd);
  s->data_fd = accepted;
  ftp_set_tos(s->data_fd, kTosThroughput);
  return s->data_fd;
}

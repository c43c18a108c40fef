// Opening and closing the control connection: connect with address
// fallback, greeting, login, QUIT, and the reaction to a lost server.
#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "ftp/client/ftp_internal.h"

namespace {

constexpr int kTosLowDelay = 0x10;

int NewControlSocket(int family) {
  const int fd = socket(family, SOCK_STREAM, 0);
  if (fd < 0) {
    std::perror("ftp: socket");
    return -1;
  }
  const int on = 1;
  if (setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) < 0) {
    std::perror("ftp: setsockopt TCP_NODELAY (ignored)");
  }
  return fd;
}

}  // namespace

void ftp_set_tos(int fd, int tos) {
  if (setsockopt(fd, IPPROTO_IP, IP_TOS, &tos, sizeof tos) < 0) std::perror("ftp: setsockopt TOS (ignored)");
}

void ftp_close_socket(int& fd, int how) {
  if (fd < 0) return;
  shutdown(fd, how);
  close(fd);
  fd = -1;
}

int ftp_connect_socket(const ftp_session* s, int fd, const sockaddr_in& to) {
  const int wait = ftp_wait_ms(s, 0);
  // A zero limit would be no limit at all.
  if (wait == 0) {
    errno = ETIMEDOUT;
    return -1;
  }
  // Linux ends a connect() by the send time-out; without one an address that
  // never answers holds it for about two minutes.
  const timeval limit{wait / 1000, wait % 1000 * 1000};
  (void)setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  const int result = connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to);
  if (result < 0 && errno == EINPROGRESS) errno = ETIMEDOUT;
  return result;
}

char* ftp_connect(ftp_session* s, const char* host, uint16_t ctrl_port_net) {
  std::memset(&s->peer_addr, 0, sizeof s->peer_addr);
  const hostent* entry = nullptr;
  int family = AF_INET;
  if (inet_aton(host, &s->peer_addr.sin_addr) != 0) {
    std::snprintf(g_ftp_host_name, sizeof g_ftp_host_name, "%s", host);
  } else {
    entry = gethostbyname(host);
    if (entry == nullptr || entry->h_addr_list[0] == nullptr) {
      std::fprintf(stderr, "ftp: %s: ", host);
      s->reply_code = -1;
      return nullptr;
    }
    family = entry->h_addrtype;
    std::size_t length = static_cast<std::size_t>(entry->h_length);
    if (length > sizeof s->peer_addr.sin_addr) length = sizeof s->peer_addr.sin_addr;
    std::memcpy(&s->peer_addr.sin_addr, entry->h_addr_list[0], length);
    std::snprintf(g_ftp_host_name, sizeof g_ftp_host_name, "%s", entry->h_name);
  }
  s->peer_addr.sin_family = static_cast<sa_family_t>(family);
  s->host_name = g_ftp_host_name;

  int fd = NewControlSocket(family);
  if (fd < 0) {
    s->reply_code = -1;
    return nullptr;
  }
  s->peer_addr.sin_port = ctrl_port_net;
  int next_address = 1;
  while (ftp_connect_socket(s, fd, s->peer_addr) < 0) {
    if (entry != nullptr && entry->h_addr_list[next_address] != nullptr) {
      const int failure = errno;
      std::fprintf(stderr, "ftp: connect to address %s: ", inet_ntoa(s->peer_addr.sin_addr));
      std::fprintf(stderr, "%s\n", std::strerror(failure));
      std::size_t length = static_cast<std::size_t>(entry->h_length);
      if (length > sizeof s->peer_addr.sin_addr) length = sizeof s->peer_addr.sin_addr;
      std::memcpy(&s->peer_addr.sin_addr, entry->h_addr_list[next_address], length);
      ++next_address;
      std::printf("Trying %s...\n", inet_ntoa(s->peer_addr.sin_addr));
      std::fflush(stdout);
      close(fd);
      fd = NewControlSocket(family);
      if (fd < 0) {
        s->reply_code = -1;
        return nullptr;
      }
      continue;
    }
    std::perror("ftp: connect");
    s->reply_code = -1;
    close(fd);
    return nullptr;
  }

  socklen_t length = sizeof s->local_ctrl_addr;
  if (getsockname(fd, reinterpret_cast<sockaddr*>(&s->local_ctrl_addr), &length) < 0) {
    std::perror("ftp: getsockname");
    s->reply_code = -1;
    close(fd);
    return nullptr;
  }
  ftp_set_tos(fd, kTosLowDelay);
  s->ctrl_in = fd;
  s->ctrl_out = fd;
  if (s->verbose) {
    std::printf("Connected to %s.\n", s->host_name);
    std::fflush(stdout);
  }
  if (ftp_read_reply(s, 0) > 2) {
    shutdown(fd, SHUT_RDWR);
    s->reply_code = -1;
    close(fd);
    // Nothing may later write to or close a descriptor number reused elsewhere.
    s->ctrl_in = -1;
    s->ctrl_out = -1;
    return nullptr;
  }
  const int on = 1;
  if (setsockopt(fd, SOL_SOCKET, SO_OOBINLINE, &on, sizeof on) < 0 && s->debug)
    std::perror("ftp: setsockopt");
  return s->host_name;
}

int ftp_open(ftp_session* s, const char* host, const char* user, const char* password, const char* account) {
  if (s->connected) {
    std::printf("Already connected to %s, use close first.\n", s->host_name);
    std::fflush(stdout);
    s->reply_code = -1;
    return 0;
  }
  if (ftp_connect(s, host, s->ctrl_port) == nullptr) return 0;
  s->connected = 1;
  std::strcpy(s->type_name, "ascii");
  s->type = kFtpTypeAscii;
  s->cur_type = kFtpTypeAscii;
  std::strcpy(s->form_name, "non-print");
  s->form = 1;
  std::strcpy(s->mode_name, "stream");
  s->mode = 1;
  std::strcpy(s->byte_name, "8");
  std::strcpy(s->struct_name, "file");
  s->stru = 1;
  s->byte_size = 8;
  if (s->autologin) return ftp_login(s, host, user, password, account);
  return 1;
}

int ftp_login(ftp_session* s, const char* /*host*/, const char* user, const char* password,
              const char* account) {
  bool account_sent = false;
  int reply = ftp_command(s, "USER %s\r\n", user != nullptr ? user : "");
  if (reply == 3) {
    if (password == nullptr) return 0;
    reply = ftp_command(s, "PASS %s\r\n", password);
    // Without an account nothing more is sent; the login then fails.
    if (reply == 3 && account != nullptr) {
      reply = ftp_command(s, "ACCT %s\r\n", account);
      account_sent = true;
    }
  }
  if (reply != 2) {
    std::fprintf(stderr, "Login failed.\n");
    return 0;
  }
  if (account != nullptr && !account_sent) (void)ftp_command(s, "ACCT %s\r\n", account);
  return 1;
}

int ftp_disconnect(ftp_session* s) {
  if (!s->connected) return 1;
  const int reply = ftp_command(s, "QUIT\r\n");
  if (s->ctrl_out >= 0) {
    const bool same = s->ctrl_in == s->ctrl_out;
    ftp_close_socket(s->ctrl_out, SHUT_WR);
    if (same) s->ctrl_in = -1;
  }
  s->connected = 0;
  ftp_close_socket(s->data_fd, SHUT_RDWR);
  return reply == 2 ? 1 : 0;
}

int ftp_quit(ftp_session* s) {
  int result = 1;
  if (s->connected) result = ftp_disconnect(s);
  ftp_switch_conn(s, 1);
  if (s->connected) result = ftp_disconnect(s);
  return result;
}

void ftp_lost_peer(ftp_session* s) {
  if (s->connected && s->data_fd >= 0) ftp_close_socket(s->data_fd, SHUT_RDWR);
  ftp_switch_conn(s, 1);
  ftp_switch_conn(s, 0);
}

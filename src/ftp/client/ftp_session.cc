// Session life: creation, release and the connection-state slots that let a
// session hold a second server connection.
#include <arpa/inet.h>
#include <netdb.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "ftp/client/ftp_internal.h"

char g_ftp_host_name[kFtpHostNameSize];
char g_ftp_unique_name[kFtpUniqueNameSize];

namespace {

// The per-connection part of a session.
struct ConnState {
  int connected;
  char host[64];
  sockaddr_in peer_addr;
  sockaddr_in local_ctrl_addr;
  int ctrl_in;
  int ctrl_out;
  int type;
  int cur_type;
  int cmd_pending;
  int store_unique;
  int recv_unique;
  int name_map_flag;
  int name_translate_flag;
  int name_case_flag;
  char name_in[17];
  char name_out[17];
  char text_a[kFtpConnTextSize];
  char text_b[kFtpConnTextSize];
};

// [0] the primary connection while the secondary is active, [1] the reverse.
ConnState g_slots[2];

void SaveState(const ftp_session* s, ConnState& slot) {
  slot.connected = s->connected;
  if (s->host_name != nullptr) {
    std::snprintf(slot.host, sizeof slot.host, "%s", s->host_name);
  } else {
    slot.host[0] = '\0';
  }
  slot.peer_addr = s->peer_addr;
  slot.local_ctrl_addr = s->local_ctrl_addr;
  slot.ctrl_in = s->ctrl_in;
  slot.ctrl_out = s->ctrl_out;
  slot.type = s->type;
  slot.cur_type = s->cur_type;
  slot.cmd_pending = s->cmd_pending;
  slot.store_unique = s->store_unique;
  slot.recv_unique = s->recv_unique;
  slot.name_map_flag = s->name_map_flag;
  slot.name_translate_flag = s->name_translate_flag;
  slot.name_case_flag = s->name_case_flag;
  std::memcpy(slot.name_in, s->name_in, sizeof slot.name_in);
  std::memcpy(slot.name_out, s->name_out, sizeof slot.name_out);
  std::memcpy(slot.text_a, s->conn_text_a, kFtpConnTextSize);
  std::memcpy(slot.text_b, s->conn_text_b, kFtpConnTextSize);
}

void LoadState(ftp_session* s, const ConnState& slot) {
  s->connected = slot.connected;
  if (slot.host[0] != '\0') {
    std::snprintf(g_ftp_host_name, sizeof g_ftp_host_name, "%s", slot.host);
    s->host_name = g_ftp_host_name;
  } else {
    s->host_name = nullptr;
  }
  s->peer_addr = slot.peer_addr;
  s->local_ctrl_addr = slot.local_ctrl_addr;
  s->ctrl_in = slot.ctrl_in;
  s->ctrl_out = slot.ctrl_out;
  s->type = slot.type;
  s->cur_type = slot.cur_type;
  s->cmd_pending = slot.cmd_pending;
  s->store_unique = slot.store_unique;
  s->recv_unique = slot.recv_unique;
  s->name_map_flag = slot.name_map_flag;
  s->name_translate_flag = slot.name_translate_flag;
  s->name_case_flag = slot.name_case_flag;
  std::memcpy(s->name_in, slot.name_in, sizeof slot.name_in);
  std::memcpy(s->name_out, slot.name_out, sizeof slot.name_out);
  std::memcpy(s->conn_text_a, slot.text_a, kFtpConnTextSize);
  std::memcpy(s->conn_text_b, slot.text_b, kFtpConnTextSize);
}

void FreeParts(ftp_session* s) {
  std::free(s->conn_text_a);
  std::free(s->conn_text_b);
  std::free(s->work_buf);
  std::free(s->xfer_buf);
  std::free(s);
}

}  // namespace

ftp_session* ftp_create(int passive, int autologin, int fixed_data_port, int ctrl_port) {
  auto* s = static_cast<ftp_session*>(std::calloc(1, sizeof(ftp_session)));
  if (s == nullptr) return nullptr;
  s->work_buf = static_cast<char*>(std::calloc(1, kFtpWorkBufferSize));
  s->conn_text_a = static_cast<char*>(std::calloc(1, kFtpConnTextSize));
  s->conn_text_b = static_cast<char*>(std::calloc(1, kFtpConnTextSize));
  if (s->work_buf == nullptr || s->conn_text_a == nullptr || s->conn_text_b == nullptr) {
    FreeParts(s);
    return nullptr;
  }
  // The service entry must exist even when the caller names the port.
  const servent* service = getservbyname("ftp", "tcp");
  if (service == nullptr) {
    std::fprintf(stderr, "ftp: ftp/tcp: unknown service\n");
    FreeParts(s);
    return nullptr;
  }
  s->ctrl_port = ctrl_port != 0 ? htons(static_cast<uint16_t>(ctrl_port & 0xffff))
                                : static_cast<uint16_t>(service->s_port);
  s->autologin = autologin;
  s->passive = passive;
  s->verbose = isatty(STDIN_FILENO) ? 1 : 0;
  s->strip_cr = 1;
  s->use_port_cmd = -1;
  s->cmd_pending = 0;
  s->data_fd = -1;
  s->fixed_data_port = passive == 0 ? fixed_data_port : 0;
  std::strcpy(s->struct_name, "file");
  s->stru = 1;
  std::strcpy(s->form_name, "non-print");
  s->form = 1;
  std::strcpy(s->mode_name, "stream");
  s->mode = 1;
  std::strcpy(s->byte_name, "8");
  s->byte_size = 8;
  clock_gettime(CLOCK_MONOTONIC, &s->started);
  s->deadline_seconds = kFtpRequestSeconds;
  return s;
}

void ftp_free(ftp_session* s) {
  if (s == nullptr) return;
  FreeParts(s);
}

void ftp_switch_conn(ftp_session* s, int to_secondary) {
  if (to_secondary != 0) {
    if (s->secondary_active) return;
    SaveState(s, g_slots[0]);
    LoadState(s, g_slots[1]);
    s->secondary_active = 1;
  } else {
    if (!s->secondary_active) return;
    SaveState(s, g_slots[1]);
    LoadState(s, g_slots[0]);
    s->secondary_active = 0;
  }
}

void ftp_reset_process_state() {
  std::memset(g_ftp_host_name, 0, sizeof g_ftp_host_name);
  std::memset(g_ftp_unique_name, 0, sizeof g_ftp_unique_name);
  std::memset(g_slots, 0, sizeof g_slots);
}

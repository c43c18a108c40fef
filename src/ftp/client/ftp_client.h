// The FTP client (its diagnostics name it ftplib_glob), the one header for
// users of the library: the FTP operations and the tests. It talks to a
// remote server on behalf of the FTP handlers. The whole state of one
// connection lives in an ftp_session; a few buffers are process-wide (host
// name, connection-state slots, unique local name), so one session at a time
// per process.
//
// The client behaves like an interactive command-line client: it echoes
// server replies, progress and diagnostics on standard output and standard
// error according to `verbose` and `debug`. In a CGI process standard output
// is the page.
#pragma once

#include <netinet/in.h>
#include <sys/time.h>

#include <cstddef>
#include <cstdint>
#include <ctime>

// Transfer type codes of the type table.
inline constexpr int kFtpTypeAscii = 1;
inline constexpr int kFtpTypeEbcdic = 2;
inline constexpr int kFtpTypeImage = 3;
inline constexpr int kFtpTypeLocal = 4;

inline constexpr std::size_t kFtpCommandSize = 256;
inline constexpr std::size_t kFtpWorkBufferSize = 4096;
inline constexpr std::size_t kFtpConnTextSize = 512;
// What a whole request may take. Each wait of the client has a limit of its
// own (10 s at most), but a server restarts it with every byte it sends.
inline constexpr int kFtpRequestSeconds = 60;

struct ftp_session {
  int hash_marks;
  int progress_ticks;
  int use_port_cmd;  // -1 send PORT (not known yet), 1 send PORT, 0 send none
  int fixed_data_port;
  int verbose;
  int connected;
  int debug;
  int autologin;
  int secondary_active;
  int store_unique;
  int recv_unique;
  int reply_code;
  int strip_cr;
  char pasv_text[64];
  int passive;
  char type_name[32];
  int type;
  int cur_type;
  char struct_name[32];
  int stru;
  char form_name[32];
  int form;
  char mode_name[32];
  int mode;
  char byte_name[32];
  int byte_size;
  char* host_name;     // points into the process-wide host-name buffer
  uint16_t ctrl_port;  // network byte order
  int cmd_pending;
  int socket_options;  // bit 0: SO_DEBUG on data sockets
  int ctrl_in;
  int ctrl_out;
  int data_fd;
  sockaddr_in peer_addr;
  sockaddr_in data_addr;
  sockaddr_in local_ctrl_addr;
  long restart_offset;
  char* xfer_buf;
  int xfer_buf_size;

  // Name-translation settings kept per connection by ftp_switch_conn; the
  // system never sets them.
  int name_map_flag;
  int name_translate_flag;
  int name_case_flag;
  char name_in[17];
  char name_out[17];
  int glob_names;  // console toggle only

  char* work_buf;     // kFtpWorkBufferSize bytes
  char* conn_text_a;  // kFtpConnTextSize bytes, saved per connection
  char* conn_text_b;  // kFtpConnTextSize bytes, saved per connection

  // Every wait ends by deadline_seconds after started (CLOCK_MONOTONIC, set
  // by ftp_create); kFtpRequestSeconds unless the caller changes it.
  timespec started;
  int deadline_seconds;
};

// Session and control connection.
ftp_session* ftp_create(int passive, int autologin, int fixed_data_port, int ctrl_port);
int ftp_open(ftp_session* s, const char* host, const char* user, const char* password, const char* account);
char* ftp_connect(ftp_session* s, const char* host, uint16_t ctrl_port_net);
int ftp_login(ftp_session* s, const char* host, const char* user, const char* password, const char* account);
__attribute__((format(printf, 2, 3))) int ftp_command(ftp_session* s, const char* format, ...);
int ftp_read_reply(ftp_session* s, int expect_eof);
int ftp_disconnect(ftp_session* s);
int ftp_quit(ftp_session* s);
void ftp_free(ftp_session* s);
void ftp_lost_peer(ftp_session* s);
void ftp_switch_conn(ftp_session* s, int to_secondary);

// Transfer types and console toggles.
int ftp_set_type(ftp_session* s, const char* name);
int ftp_binary(ftp_session* s);
int ftp_ascii(ftp_session* s);
int ftp_tenex(ftp_session* s);
void ftp_change_type(ftp_session* s, int code, int show);
void ftp_toggle_strip_cr(ftp_session* s);
void ftp_toggle_glob(ftp_session* s);
void ftp_toggle_port_cmd(ftp_session* s);

// One-command operations.
int ftp_cwd(ftp_session* s, const char* dir);
int ftp_mkd(ftp_session* s, const char* dir);
int ftp_rmd(ftp_session* s, const char* dir);
int ftp_chmod(ftp_session* s, const char* mode, const char* file);
int ftp_rename(ftp_session* s, const char* from, const char* to);
int ftp_delete(ftp_session* s, const char* file);

// Transfers.
int ftp_put_mem(ftp_session* s, int append, const void* block, unsigned length, const char* remote);
int ftp_put(ftp_session* s, int append, const char* local, const char* remote);
int getfile(ftp_session* s, const char* local, const char* remote);
int ftp_abort(ftp_session* s, int data_socket);
int ftp_third_party(ftp_session* s, const char* command, const char* local, const char* remote);

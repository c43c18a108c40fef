// Transfer types (the type table, TYPE commands) and the console toggles.
#include <array>
#include <cstdio>
#include <cstring>

#include "ftp/client/ftp_internal.h"

namespace {

struct TypeRow {
  const char* name;
  const char* letter;
  int code;
  const char* argument;  // second TYPE argument; empty in every row
};

constexpr std::array<TypeRow, 5> kTypes{{
    {"ascii", "A", kFtpTypeAscii, ""},
    {"binary", "I", kFtpTypeImage, ""},
    {"image", "I", kFtpTypeImage, ""},
    {"ebcdic", "E", kFtpTypeEbcdic, ""},
    {"tenex", "L", kFtpTypeLocal, ""},
}};

const TypeRow* FindByName(const char* name) {
  for (const TypeRow& row : kTypes) {
    if (std::strcmp(row.name, name) == 0) return &row;
  }
  return nullptr;
}

const TypeRow* FindByCode(int code) {
  for (const TypeRow& row : kTypes) {
    if (row.code == code) return &row;
  }
  return nullptr;
}

void Toggle(ftp_session* s, int& flag, const char* what) {
  flag = !flag;
  std::printf("%s %s.\n", what, flag ? "on" : "off");
  std::fflush(stdout);
  s->reply_code = flag;
}

}  // namespace

int ftp_set_type(ftp_session* s, const char* name) {
  const TypeRow* row = FindByName(name);
  if (row == nullptr) {
    std::printf("%s: unknown mode\n", name);
    std::fflush(stdout);
    s->reply_code = -1;
    return 0;
  }
  const int reply = row->argument[0] != '\0' ? ftp_command(s, "TYPE %s %s\r\n", row->letter, row->argument)
                                             : ftp_command(s, "TYPE %s\r\n", row->letter);
  if (reply != 2) return 0;
  std::snprintf(s->type_name, sizeof s->type_name, "%s", row->name);
  s->type = row->code;
  s->cur_type = row->code;
  return 1;
}

int ftp_binary(ftp_session* s) { return ftp_set_type(s, "binary"); }
int ftp_ascii(ftp_session* s) { return ftp_set_type(s, "ascii"); }
int ftp_tenex(ftp_session* s) { return ftp_set_type(s, "tenex"); }

void ftp_change_type(ftp_session* s, int code, int show) {
  if (code == 0) code = kFtpTypeImage;
  if (code == s->cur_type) return;
  const int saved_verbose = s->verbose;
  const int saved_ticks = s->progress_ticks;
  if (!show && !s->debug) s->verbose = 0;
  s->progress_ticks = 0;
  const TypeRow* row = FindByCode(code);
  if (row == nullptr) {
    std::printf("ftp: internal error: unknown type %d\n", code);
    std::fflush(stdout);
  } else {
    const int reply = code == kFtpTypeLocal && s->byte_name[0] != '\0'
                          ? ftp_command(s, "TYPE %s %s\r\n", row->letter, s->byte_name)
                          : ftp_command(s, "TYPE %s\r\n", row->letter);
    if (reply == 2) s->cur_type = code;
  }
  s->verbose = saved_verbose;
  s->progress_ticks = saved_ticks;
}

void ftp_toggle_strip_cr(ftp_session* s) { Toggle(s, s->strip_cr, "Carriage Return stripping"); }
void ftp_toggle_glob(ftp_session* s) { Toggle(s, s->glob_names, "Globbing"); }
void ftp_toggle_port_cmd(ftp_session* s) { Toggle(s, s->use_port_cmd, "Use of PORT cmds"); }

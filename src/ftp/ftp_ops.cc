#include "ftp/ftp_ops.h"

#include <array>
#include <cstdio>
#include <span>

#include "ftp/server_name.h"

namespace {

constexpr std::size_t kServerNameSize = 64;

// A scheme is a list of fixed names followed by a numbered range.
struct DirScheme {
  int flag;
  std::span<const char* const> names;
  const char* format;  // null: no numbered part
  int first;
  int last;
};

constexpr std::array<const char*, 7> kWeekdays{"SUN", "MON", "TUE", "WED", "THU", "FRI", "SAT"};
constexpr std::array<const char*, 12> kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<const char*, 3> kFirstDays{"1st", "2nd", "3rd"};

constexpr std::array<DirScheme, 5> kSchemes{{
    {kDirSchemeCameras, {}, "CAM%d", 1, 6},
    {kDirSchemeWeekdays, kWeekdays, nullptr, 0, 0},
    {kDirSchemeMonths, kMonths, nullptr, 0, 0},
    {kDirSchemeDays, kFirstDays, "%dth", 4, 31},
    {kDirSchemeHours, {}, "%02d", 0, 23},
}};

int MakeSchemeDirs(ftp_session* s, const DirScheme& scheme) {
  for (const char* name : scheme.names) {
    if (!ftp_mkd(s, name)) return -1;
  }
  if (scheme.format == nullptr) return 0;
  for (int n = scheme.first; n <= scheme.last; ++n) {
    char name[16];
    std::snprintf(name, sizeof name, scheme.format, n);
    if (!ftp_mkd(s, name)) return -1;
  }
  return 0;
}

int MakeServerNameDir(ftp_session* s) {
  char name[kServerNameSize];
  const int read = ftp_read_server_name(name, sizeof name);
  if (read == kServerNameNoFile) return 0;
  // A directory under a cut name would not be the one the services use.
  if (read == kServerNameTooLong) return -1;
  if (name[0] == '\0') return 0;
  return ftp_mkd(s, name) ? 0 : -1;
}

constexpr char kTestFileName[] = "helloftp.txt";
constexpr char kTestFileText[] = "helloftp\r\n";

}  // namespace

ftp_session* ftp_make(const char* host, const char* user, const char* password, int ctrl_port) {
  ftp_session* s = ftp_create(0, 1, 0, ctrl_port);
  if (s == nullptr) {
    std::fprintf(stderr, "ftp_create() ERROR\n");
    return nullptr;
  }
  if (ftp_open(s, host, user, password, nullptr) && ftp_binary(s)) return s;
  ftp_quit(s);
  ftp_free(s);
  return nullptr;
}

void ftp_close(ftp_session* s) {
  if (s == nullptr) return;
  ftp_quit(s);
  ftp_free(s);
}

int ftp_mkdirs(ftp_session* s, const char* base_dir, int scheme) {
  if (base_dir != nullptr && base_dir[0] != '\0' && !ftp_cwd(s, base_dir)) return -1;
  for (const DirScheme& row : kSchemes) {
    if (row.flag == scheme) return MakeSchemeDirs(s, row);
  }
  if (scheme == kDirSchemeServerName) return MakeServerNameDir(s);
  return ftp_put_mem(s, 0, kTestFileText, sizeof kTestFileText - 1, kTestFileName) == 0 ? -1 : 0;
}

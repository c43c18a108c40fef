// The Tcfg object, its file, its rows and the piece splitters.
#include "config/text/tcfg_util.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cgi/form_fields.h"
#include "config/text/tcfg_text.h"
#include "platform/config_write.h"
#include "platform/diag.h"
#include "platform/file_lock.h"
#include "platform/host_root.h"
#include "platform/regular_file.h"

namespace {

constexpr const char* kSource = "tcfg_util";
constexpr std::size_t kMaxPathLength = kTcfgPathSize - 1;

char* CopyLine(const char* text) {
  const std::size_t length = std::strlen(text);
  char* line = static_cast<char*>(std::malloc(length + 1));
  if (line == nullptr) {
    std::perror("malloc error");
    return nullptr;
  }
  std::memcpy(line, text, length + 1);
  return line;
}

void ShowOwnedLine(Tcfg* cfg, int row, char* line) {
  std::free(cfg->owned[row]);
  cfg->owned[row] = line;
  cfg->rows[row] = line;
}

// Drops the rows in use; their owned lines go with them. Returns how many
// rows there were.
int ForgetRows(Tcfg* cfg) {
  const int count = cfg->row_count;
  for (int i = 0; i < count; ++i) {
    if (cfg->owned[i] != nullptr) {
      std::free(cfg->owned[i]);
      cfg->owned[i] = nullptr;
    }
  }
  std::memset(cfg->rows, 0, sizeof cfg->rows[0] * static_cast<std::size_t>(count));
  cfg->row_count = 0;
  return count;
}

// Rows just split from the content hide whatever owned line a slot from
// `from` on still held (one set beyond the old row count): release it.
void ReleaseHiddenLines(Tcfg* cfg, int from) {
  for (int i = from; i < cfg->row_count; ++i) {
    if (cfg->owned[i] != nullptr) {
      std::free(cfg->owned[i]);
      cfg->owned[i] = nullptr;
    }
  }
}

// The next piece at the cursor, terminated in place, or null at the end.
char* NextPiece(char*& cursor, const tcfg_text::DelimiterSet& delimiters) {
  char* p = cursor;
  while (delimiters.IsDelimiter(*p)) ++p;
  if (*p == '\0') {
    cursor = p;
    return nullptr;
  }
  char* const piece = p;
  while (delimiters.IsOrdinary(*p)) ++p;
  if (*p != '\0') *p++ = '\0';
  cursor = p;
  return piece;
}

}  // namespace

int create_cfg_file(const char* path) {
  const platform::HostPath host = platform::MapPath(path);
  const int fd = open(host.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0744);
  if (fd < 0) {
    NX_DIAG(kSource, "fail to open %s. errno: %d\n", path, errno);
    return -1;
  }
  close(fd);
  return 0;
}

Tcfg* new_cfg(const char* path, int create_flag) {
  if (path == nullptr) {
    NX_DIAG(kSource, "%s\n", "argument is NULL");
    return nullptr;
  }
  // An object is made to edit its file: hold the file's edit lock until the
  // save (or free_cfg), and only then look at the file, which another
  // request's save may have replaced while this one waited. A lock taken
  // here with no object made to end it is given up at once.
  const int locks_before = platform::HeldFileLockCount();
  if (platform::LockFileForEdit(path) == platform::EditLock::kBusy) {
    NX_DIAG(kSource, "%s is being edited by another request\n", path);
    return nullptr;
  }
  const auto give_up_lock = [&] {
    if (platform::HeldFileLockCount() > locks_before) platform::UnlockFile(path);
  };
  const platform::HostPath host = platform::MapPath(path);
  struct stat status;
  bool found = stat(host.c_str(), &status) == 0;
  if (!found && create_flag != 0) {
    if (create_cfg_file(path) != 0) {
      NX_DIAG(kSource, "fail to create %s\n", path);
      give_up_lock();
      return nullptr;
    }
    found = stat(host.c_str(), &status) == 0;
  }
  if (!found) {
    NX_DIAG(kSource, "%s does not exist\n", path);
    give_up_lock();
    return nullptr;
  }
  Tcfg* cfg = static_cast<Tcfg*>(std::calloc(1, sizeof(Tcfg)));
  // A file too big for the 32-bit size cannot get its content buffer either.
  if (cfg == nullptr || status.st_size < 0 || static_cast<uint64_t>(status.st_size) >= UINT32_MAX) {
    std::free(cfg);
    NX_DIAG(kSource, "%s\n", "malloc error");
    give_up_lock();
    return nullptr;
  }
  cfg->size = static_cast<uint32_t>(status.st_size);
  const std::size_t path_length = std::strlen(path);
  if (path_length > kMaxPathLength) {
    NX_DIAG(kSource, "so long file path\n");
    std::free(cfg);
    give_up_lock();
    return nullptr;
  }
  std::memcpy(cfg->path, path, path_length + 1);
  cfg->content = static_cast<char*>(std::calloc(std::size_t{cfg->size} + 1, 1));
  if (cfg->content == nullptr) {
    NX_DIAG(kSource, "%s\n", "malloc error");
    std::free(cfg);
    give_up_lock();
    return nullptr;
  }
  return cfg;
}

Tcfg* new_cfg(const char* path) { return new_cfg(path, 0); }

Tcfg* create_mem_cfg(const char* buffer, uint32_t length) {
  if (buffer == nullptr && length > 0) {
    NX_DIAG(kSource, "%s\n", "argument is NULL");
    return nullptr;
  }
  Tcfg* cfg = static_cast<Tcfg*>(std::calloc(1, sizeof(Tcfg)));
  char* content = static_cast<char*>(std::malloc(std::size_t{length} + 1));
  if (cfg == nullptr || content == nullptr) {
    std::free(cfg);
    std::free(content);
    NX_DIAG(kSource, "%s\n", "malloc error");
    return nullptr;
  }
  if (length > 0) std::memcpy(content, buffer, length);
  content[length] = '\0';
  cfg->size = length;
  cfg->content = content;
  cfg->row_count = tcfg_text::SplitLines(content, length, cfg->rows, kTcfgMaxRows);
  return cfg;
}

int load_cfg(Tcfg* cfg) {
  if (cfg == nullptr || cfg->content == nullptr) {
    NX_DIAG(kSource, "%s\n", "argument is NULL");
    return -1;
  }
  const int old_row_count = ForgetRows(cfg);
  const platform::HostPath host = platform::MapPath(cfg->path);
  const int fd = platform::OpenRegularFile(host.c_str());
  if (fd < 0) {
    NX_DIAG(kSource, "fail to open %s. errno: %d\n", cfg->path, errno);
    return -1;
  }
  // A short read (the file shrank) leaves errno as it was: start from 0.
  errno = 0;
  const ssize_t got = read(fd, cfg->content, cfg->size);
  if (got < 0 || static_cast<std::size_t>(got) != cfg->size) {
    const int read_errno = errno;
    NX_DIAG(kSource, "fail to read %s. errno: %d\n", cfg->path, read_errno);
    close(fd);
    return -1;
  }
  cfg->content[cfg->size] = '\0';
  close(fd);
  cfg->row_count = tcfg_text::SplitLines(cfg->content, cfg->size, cfg->rows, kTcfgMaxRows);
  ReleaseHiddenLines(cfg, old_row_count);
  return cfg->row_count;
}

int save_cfg(Tcfg* cfg) {
  if (cfg == nullptr) return -1;
  std::size_t total = 0;
  for (int i = 0; i < cfg->row_count; ++i) {
    if (cfg->rows[i] != nullptr) total += std::strlen(cfg->rows[i]) + 1;
  }
  char* text = static_cast<char*>(std::malloc(total + 1));
  if (text == nullptr) {
    NX_DIAG(kSource, "%s\n", "malloc error");
    return -1;
  }
  char* next = text;
  for (int i = 0; i < cfg->row_count; ++i) {
    const char* row = cfg->rows[i];
    if (row == nullptr) continue;
    const std::size_t length = std::strlen(row);
    std::memcpy(next, row, length);
    next[length] = '\n';
    next += length + 1;
  }
  const platform::WriteStatus status = platform::WriteConfigFile(cfg->path, text, total);
  const int write_errno = errno;
  std::free(text);
  if (status == platform::WriteStatus::kOpenFailed) {
    errno = write_errno;
    std::perror("open error");
    return -1;
  }
  return status == platform::WriteStatus::kOk ? 0 : -1;
}

void free_cfg(Tcfg* cfg) {
  if (cfg == nullptr) return;
  // Not saved (or saved, and the lock already went with the old file): no
  // edit of the file follows from this object.
  if (cfg->path[0] != '\0') platform::UnlockFile(cfg->path);
  for (char* line : cfg->owned) std::free(line);
  std::free(cfg->content);
  std::free(cfg);
}

int dump_cfg(Tcfg* cfg) {
  if (cfg == nullptr) return 0;
  for (int i = 0; i < cfg->row_count; ++i) {
    if (cfg->rows[i] != nullptr) std::fprintf(stderr, "[%02d] %s\n", i, cfg->rows[i]);
  }
  return 0;
}

int get_row_count(Tcfg* cfg) { return cfg == nullptr ? -1 : cfg->row_count; }

int append_line(Tcfg* cfg, const char* text) {
  if (cfg == nullptr || text == nullptr || cfg->row_count >= kTcfgMaxRows) return -1;
  char* line = CopyLine(text);
  if (line == nullptr) return -1;
  ShowOwnedLine(cfg, cfg->row_count, line);
  ++cfg->row_count;
  return 0;
}

int set_line(Tcfg* cfg, int row, const char* text) {
  if (row < 0 || row >= kTcfgMaxRows) {
    std::fputs("invalid row\n", stderr);
    return -1;
  }
  if (cfg == nullptr || text == nullptr) return -1;
  char* line = CopyLine(text);
  if (line == nullptr) return -1;
  ShowOwnedLine(cfg, row, line);
  return 0;
}

int get_line(Tcfg* cfg, int row, char* buffer, std::size_t buffer_size) {
  if (row < 0 || row >= kTcfgMaxRows || buffer == nullptr) {
    std::fputs("invalid row or NULL line_buff\n", stderr);
    return -1;
  }
  if (cfg == nullptr || cfg->rows[row] == nullptr) return -1;
  const std::size_t length = std::strlen(cfg->rows[row]);
  if (length >= buffer_size) {
    std::fputs("length is very small\n", stderr);
    return -1;
  }
  std::memcpy(buffer, cfg->rows[row], length + 1);
  return static_cast<int>(length);
}

int split_string(char* text, const char* delimiters, char** pieces, int max_count) {
  if (text == nullptr || pieces == nullptr) return 0;
  const tcfg_text::DelimiterSet set(delimiters);
  char* cursor = text;
  int count = 0;
  while (count < max_count) {
    char* piece = NextPiece(cursor, set);
    if (piece == nullptr) break;
    pieces[count++] = piece;
  }
  return count;
}

int split_bytes(char* text, const char* delimiters, uint8_t* bytes, int max_count) {
  if (text == nullptr || bytes == nullptr) return 0;
  const tcfg_text::DelimiterSet set(delimiters);
  char* cursor = text;
  int count = 0;
  while (count < max_count) {
    const char* piece = NextPiece(cursor, set);
    if (piece == nullptr) break;
    bytes[count++] = static_cast<uint8_t>(StrToNum(piece));
  }
  return count;
}

// nxftpbinget.cgi: files named in a comma list fetched into a local directory.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "config/text/tcfg_util.h"
#include "ftp/ftp_ops.h"
#include "handlers/handler.h"

namespace {

constexpr int kMaxFiles = 8;

struct BinGetRecord {
  char host[32];
  char user[32];
  char password[32];
  char local_dir[64];
  char remote_dir[64];
  char local_path[96];
  char remote_path[96];
  int ctrl_port;
};

enum class SlotRead { kAbsent, kStored, kTooLong };

// A present field goes into its slot whole. A value that fits the field
// buffer but not the slot is refused rather than cut: a cut host, user or
// directory would name a different one.
SlotRead ReadIntoSlot(const char* name, char* field, std::span<char> slot) {
  if (CgiGetField(name, field, kFieldBufferSize) != CGI_FIELD_OK) return SlotRead::kAbsent;
  const std::size_t length = std::strlen(field);
  if (length >= slot.size()) return SlotRead::kTooLong;
  std::memcpy(slot.data(), field, length + 1);
  return SlotRead::kStored;
}

// "dir" followed by "name" into the path slot; false when it would not fit.
bool JoinPath(std::span<char> path, const char* dir, const char* name) {
  const int written = std::snprintf(path.data(), path.size(), "%s%s", dir, name);
  return written >= 0 && static_cast<std::size_t>(written) < path.size();
}

// The session's failure with the host and user, the password hidden. They
// are read again from the form: the same texts as the record's, except that
// a value refused for its slot is shown whole.
void ReportMakeError(char* err_msg) {
  char host[kFieldBufferSize] = {};
  char user[kFieldBufferSize] = {};
  if (CgiGetField("ServerIp", host, kFieldBufferSize) != CGI_FIELD_OK) host[0] = '\0';
  if (CgiGetField("User", user, kFieldBufferSize) != CGI_FIELD_OK) user[0] = '\0';
  CgiSetErrMsg(err_msg, "ftp_make(%s,%s,%s) ERROR\n", host, user, kHiddenPassword);
}

// Fills the record from the form; false when a value does not fit its slot.
// The handler then gives up before connecting, as when no session is made.
bool ReadRecord(BinGetRecord* record, char* field) {
  bool fits = true;
  fits &= ReadIntoSlot("ServerIp", field, record->host) != SlotRead::kTooLong;
  fits &= ReadIntoSlot("User", field, record->user) != SlotRead::kTooLong;
  fits &= ReadIntoSlot("Passwd", field, record->password) != SlotRead::kTooLong;
  fits &= ReadIntoSlot("LocalDir", field, record->local_dir) != SlotRead::kTooLong;
  fits &= ReadIntoSlot("RemoteDir", field, record->remote_dir) != SlotRead::kTooLong;
  if (CgiGetField("FtpCtrlPort", field, kFieldBufferSize) == CGI_FIELD_OK)
    record->ctrl_port = StrToNum(field);
  return fits;
}

// Fetches the names in order; the count received before the first failure.
// A joined path that does not fit its slot counts as a failed download.
int FetchFiles(ftp_session* s, BinGetRecord* record, std::span<char* const> names) {
  int received = 0;
  for (const char* name : names) {
    if (!JoinPath(record->local_path, record->local_dir, name) ||
        !JoinPath(record->remote_path, record->remote_dir, name)) {
      break;
    }
    if (getfile(s, record->local_path, record->remote_path) < 0) break;
    ++received;
  }
  return received;
}

}  // namespace

int NxCgi_FtpBinGetCgifunc(char* err_msg) {
  const IdField version = ReadVersionField();
  if (!IsAcceptedVersion(version)) {
    CgiSetErrMsg(err_msg, "Invaled NxCgiVer = %d\n", version.ValueOr(0xffff));
    return -1;
  }

  char field[kFieldBufferSize] = {};

  auto* record = static_cast<BinGetRecord*>(std::calloc(1, sizeof(BinGetRecord)));
  if (record == nullptr) {
    CgiSetErrMsg(err_msg, "NxCgi_FtpBinGetCgifunc: malloc error\n");
    return -1;
  }
  if (!ReadRecord(record, field)) {
    ReportMakeError(err_msg);
    std::free(record);
    return -1;
  }

  ftp_session* s = ftp_make(record->host, record->user, record->password, record->ctrl_port);
  if (s == nullptr || CgiGetField("FileNames", field, kFieldBufferSize) != CGI_FIELD_OK) {
    ReportMakeError(err_msg);
    ftp_close(s);
    std::free(record);
    return -1;
  }

  char* names[kMaxFiles] = {};
  const int count = split_string(field, ",", names, kMaxFiles);
  const int received = FetchFiles(s, record, std::span<char* const>(names, static_cast<std::size_t>(count)));
  ftp_close(s);
  std::free(record);
  if (received != count) {
    CgiSetErrMsg(err_msg, "getfile ERROR received %d files: excepted %d \n", received, count);
    return -1;
  }
  CgiPrintContentType("text/html");
  return 1;
}

// nxesmtaset.cgi: the mail (esmta.conf) and SMS (smsta.conf) settings of the
// transmitter daemon mailtxd, key by key, then the daemon restarted. Only
// keys the files already hold are changed.
#include <cstdio>
#include <cstring>
#include <span>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "config/text/tcfg_owner.h"
#include "handlers/handler.h"
#include "platform/command.h"

namespace {

constexpr int kNameSize = 32;

enum class OnEmpty { kKeep, kClear };
enum class Value { kAsGiven, kYesNo };  // kYesNo: "yes" for exactly yes, else "no"

// One key, or an indexed run of keys: form field and key names followed by
// the decimal index 0 .. count - 1.
struct SettingRow {
  const char* form_name;
  const char* key;
  OnEmpty on_empty;
  Value value = Value::kAsGiven;
  int count = 0;  // 0: a single key, names used as they are
};

constexpr SettingRow kMailSettings[] = {
    {"Service", "SERVICE", OnEmpty::kKeep, Value::kYesNo},
    {"Server", "SERVER", OnEmpty::kClear},
    {"Sender", "SENDER", OnEmpty::kClear},
    {"AuthLogin", "AUTH_LOGIN", OnEmpty::kKeep},
    {"UserId", "USERID", OnEmpty::kClear},
    {"Passwd", "PASSWD", OnEmpty::kClear},
    {"JpegSize", "JPEG_SIZE", OnEmpty::kKeep},
    {"JpegCount", "JPEG_COUNT", OnEmpty::kKeep},
    {"JpegPause", "JPEG_PAUSE", OnEmpty::kKeep},
    {"Recipient", "RECIPIENT", OnEmpty::kClear, Value::kAsGiven, 4},
    {"ExtraParm", "EXTRA_PARM", OnEmpty::kClear, Value::kAsGiven, 8},
};

constexpr SettingRow kSmsSettings[] = {
    {"SmsService", "SERVICE", OnEmpty::kKeep, Value::kYesNo},
    {"SmsServer", "SERVER", OnEmpty::kClear},
    {"SmsSender", "SENDER", OnEmpty::kClear},
    {"SmsAuthLogin", "AUTH_LOGIN", OnEmpty::kKeep},
    {"SmsUserId", "USERID", OnEmpty::kClear},
    {"SmsPasswd", "PASSWD", OnEmpty::kClear},
    {"SmsRecipient", "RECIPIENT", OnEmpty::kClear, Value::kAsGiven, 4},
    {"SmsExtraParm", "EXTRA_PARM", OnEmpty::kClear, Value::kAsGiven, 8},
};

struct SettingsFile {
  const char* path;
  std::span<const SettingRow> rows;
  bool stop_when_unreadable;  // the rest of the request is skipped too
};

constexpr SettingsFile kFiles[] = {
    {"/opt/vsb/etc/esmta.conf", kMailSettings, true},
    {"/opt/vsb/etc/smsta.conf", kSmsSettings, false},
};

// One form field onto one key. A value given whole sets the key, an empty
// one clears it where the row says so; absent or cut short changes nothing.
void ApplyField(Tcfg* cfg, const SettingRow& row, const char* form_name, const char* key) {
  char value[kFieldBufferSize];
  switch (CgiGetField(form_name, value, sizeof value)) {
    case CGI_FIELD_OK:
      if (row.value == Value::kYesNo) {
        set_value(cfg, key, std::strcmp(value, "yes") == 0 ? "yes" : "no");
      } else {
        set_value(cfg, key, value);
      }
      break;
    case CGI_FIELD_EMPTY:
      if (row.on_empty == OnEmpty::kClear) set_value(cfg, key, "");
      break;
    default:
      break;
  }
}

void ApplyRow(Tcfg* cfg, const SettingRow& row) {
  if (row.count == 0) {
    ApplyField(cfg, row, row.form_name, row.key);
    return;
  }
  for (int i = 0; i < row.count; ++i) {
    char form_name[kNameSize];
    char key[kNameSize];
    std::snprintf(form_name, sizeof form_name, "%s%d", row.form_name, i);
    std::snprintf(key, sizeof key, "%s%d", row.key, i);
    ApplyField(cfg, row, form_name, key);
  }
}

// Edits and saves one file; false when it could not be read, and then
// nothing is written (saving an object without rows would empty it).
bool StoreFile(const SettingsFile& file) {
  TcfgOwner cfg(new_cfg(file.path, 0));
  if (cfg.get() == nullptr || load_cfg(cfg.get()) < 0) return false;
  for (const SettingRow& row : file.rows) ApplyRow(cfg.get(), row);
  save_cfg(cfg.get());
  return true;
}

}  // namespace

// Never fails: a file that cannot be read shows as an HTML comment in the
// page.
int NxCgi_EsmtaSetFunc(char*) {
  CgiPrintContentType("text/html");
  for (const SettingsFile& file : kFiles) {
    if (StoreFile(file)) continue;
    std::printf("<!--Failed to create cfg[%s]-->", file.path);
    if (file.stop_when_unreadable) return 1;
  }
  platform::RunServiceScript("/etc/init.d/mailtxd", "restart");
  return 1;
}

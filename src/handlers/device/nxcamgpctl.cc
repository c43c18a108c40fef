// nxcamgpctl.cgi: camera control lines pulsed or set through the GPIO
// device, or the camera switches stored and applied.
#include <cstdint>
#include <cstdio>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "config/text/tcfg_owner.h"
#include "handlers/handler.h"
#include "platform/command.h"
#include "platform/gpio_lines.h"
#include "platform/sleep.h"

namespace {

constexpr uint32_t kDefaultPulseMicroseconds = 100000;

enum class Action { kPulse, kSet };

struct OpModeRow {
  int32_t op_mode;
  Action action;
  bool inverted_start;   // the pulse starts with the complement of ToggleCode
  uint32_t end_pattern;  // what the lines hold after the pulse
};

constexpr OpModeRow kOpModes[] = {
    {1, Action::kPulse, true, 0xFF},
    {2, Action::kPulse, false, 0},
    {3, Action::kSet, false, 0},
};

uint32_t NumberOr(const char* name, uint32_t fallback) {
  char value[kFieldBufferSize];
  return ReadGivenField(name, value) ? static_cast<uint32_t>(StrToNum(value)) : fallback;
}

int RunDeviceMode(const OpModeRow& row, char* err_msg) {
  uint32_t first = 0;
  uint32_t duration = 0;
  if (row.action == Action::kPulse) {
    const uint32_t toggle = NumberOr("ToggleCode", 0);
    duration = NumberOr("uSecDuration", kDefaultPulseMicroseconds);
    first = row.inverted_start ? ~toggle : toggle;
  } else {
    first = NumberOr("StateCode", 0);
  }

  platform::GpioLines lines;
  if (!lines.is_open()) {
    CgiSetErrMsg(err_msg, "/dev/kv_gpio device open error<br>\n");
    return -1;
  }
  lines.Write(first);
  if (row.action == Action::kPulse) {
    platform::SleepMicroseconds(duration);
    lines.Write(row.end_pattern);
  }
  return 0;
}

constexpr const char* kSettingsFile = "/opt/vsb/etc/NxConf/camgpctl.conf";

struct SettingRow {
  const char* form_name;
  const char* key;
};

// Applied in this order; a key the file lacks is not added.
constexpr SettingRow kSettings[] = {
    {"CamGpioFlk", "FLK"},
    {"CamGpioAgc", "AGC"},
    {"CamGpioBlc", "BLC"},
    {"CamGpioElc", "ELC"},
};

// Stores the given switches; false when the file could not be read, and
// then nothing is written (saving an object without rows would empty it).
bool StoreSettings() {
  TcfgOwner cfg(new_cfg(kSettingsFile, 0));
  if (cfg.get() == nullptr) {
    std::fputs("Failed to create cfg", stderr);
    return false;
  }
  if (load_cfg(cfg.get()) < 0) return false;
  for (const SettingRow& row : kSettings) {
    char value[kFieldBufferSize];
    if (ReadGivenField(row.form_name, value)) set_value(cfg.get(), row.key, value);
  }
  save_cfg(cfg.get());
  return true;
}

// The settings mode: the four camera switches stored in camgpctl.conf as
// submitted, then the apply tool run. Fails with an empty error buffer.
int RunSettingsMode() {
  CgiPrintContentType("text/html");
  if (!StoreSettings()) return -1;
  platform::ShellCommand apply;
  apply.Path("/opt/vsb/bin/camgpctl").Text(" >/dev/null");
  platform::RunCommand(apply);
  return 1;
}

}  // namespace

int NxCgi_CamGpCtlFunc(char* err_msg) {
  char value[kFieldBufferSize];
  const int32_t op_mode = ReadGivenField("OpMode", value) ? StrToNum(value) : 0;
  if (op_mode == 0) return RunSettingsMode();

  for (const OpModeRow& row : kOpModes) {
    if (row.op_mode != op_mode) continue;
    if (RunDeviceMode(row, err_msg) < 0) return -1;
    std::printf("HTTP/1.1 204 OK\r\n");
    CgiPrintContentType("text/html");
    return 0;
  }
  CgiSetErrMsg(err_msg, "Invalid OpMode error <br>\n");
  return -1;
}

#include <cstdint>
#include <cstdio>

#include "cgi/cgi_request.h"
#include "front/handler_table.h"
#include "front/nx_cgi_util.h"
#include "handlers/device/device_handlers.h"
#include "handlers/device/gpio_lines.h"
#include "handlers/form_fields.h"
#include "platform/sleep.h"

namespace {

constexpr int kFieldSize = 128;
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
  char value[kFieldSize];
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

  device::GpioLines lines;
  if (!lines.is_open()) {
    std::snprintf(err_msg, kCgiErrMsgSize, "/dev/kv_gpio device open error<br>\n");
    return -1;
  }
  lines.Write(first);
  if (row.action == Action::kPulse) {
    platform::SleepMicroseconds(duration);
    lines.Write(row.end_pattern);
  }
  return 0;
}

// The settings mode: FLK, AGC, BLC and ELC of camgpctl.conf from CamGpioFlk,
// CamGpioAgc, CamGpioBlc and CamGpioElc, then "/opt/vsb/bin/camgpctl".
int RunSettingsMode() {
  CgiPrintContentType("text/html");
  // TODO(camgpctl.conf): store the four settings through the text
  // configuration library once it is in the tree (nothing saved when
  // load_cfg fails), run the apply tool and return 1. Until then the
  // settings mode fails and leaves the file untouched.
  return -1;
}

}  // namespace

int NxCgi_CamGpCtlFunc(char* err_msg) {
  char value[kFieldSize];
  const int32_t op_mode = ReadGivenField("OpMode", value) ? StrToNum(value) : 0;
  if (op_mode == 0) return RunSettingsMode();

  for (const OpModeRow& row : kOpModes) {
    if (row.op_mode != op_mode) continue;
    if (RunDeviceMode(row, err_msg) < 0) return -1;
    std::printf("HTTP/1.1 204 OK\r\n");
    CgiPrintContentType("text/html");
    return 0;
  }
  std::snprintf(err_msg, kCgiErrMsgSize, "Invalid OpMode error <br>\n");
  return -1;
}

// Every binary configuration file the system knows, with its layout: the
// nine service files, the buffer and link files, the PTZ, sensor and serial
// output files, and the two model catalogues (whose layout is the fixed part
// of one record).
#pragma once

#include <span>
#include <string_view>

#include "config/layouts/buffer_link_conf.h"
#include "config/layouts/di_cgi_conf.h"
#include "config/layouts/ftp_svc_conf.h"
#include "config/layouts/mail_conf.h"
#include "config/layouts/ptz_conf.h"
#include "config/layouts/ptz_model.h"
#include "config/layouts/sensor_conf.h"
#include "config/layouts/sensor_model.h"
#include "config/layouts/small_svc_conf.h"
#include "config/layouts/uart_out_conf.h"
#include "config/record_layout.h"

namespace config {

enum class FileScope : std::uint8_t {
  kModule,  // one file in each module directory NxModId<m>
  kRoot,    // one file in the configuration root
};

enum class FileKind : std::uint8_t {
  kRecord,     // exactly one record of the layout's size
  kCatalogue,  // a sequence of records, each the layout's fixed part plus data
};

struct KnownFile {
  const char* file_name;
  const Layout* layout;
  FileScope scope;
  FileKind kind;
};

// Service files first, in service id order.
inline constexpr KnownFile kKnownFiles[] = {
    {"MailConf.bin", &kMailConf, FileScope::kModule, FileKind::kRecord},
    {"DiCgiConf.bin", &kDiCgiConf, FileScope::kModule, FileKind::kRecord},
    {"FtpSigSvcConf.bin", &kFtpSigSvcConf, FileScope::kModule, FileKind::kRecord},
    {"nTimeConf.bin", &kNTimeConf, FileScope::kModule, FileKind::kRecord},
    {"ImgHoldConf.bin", &kImgHoldConf, FileScope::kModule, FileKind::kRecord},
    {"DOutSvcConf.bin", &kDOutSvcConf, FileScope::kModule, FileKind::kRecord},
    {"FtpDurSvcConf.bin", &kFtpDurSvcConf, FileScope::kModule, FileKind::kRecord},
    {"AoipConf.bin", &kAoipConf, FileScope::kModule, FileKind::kRecord},
    {"CallConf.bin", &kCallConf, FileScope::kModule, FileKind::kRecord},
    {"ImgBufConf.bin", &kImgBufConf, FileScope::kModule, FileKind::kRecord},
    {"RdskBuffConf.bin", &kRdskBuffConf, FileScope::kRoot, FileKind::kRecord},
    {"DialUpConf.bin", &kDialUpConf, FileScope::kRoot, FileKind::kRecord},
    {"PtzConf.bin", &kPtzConf, FileScope::kRoot, FileKind::kRecord},
    {"SensorConf.bin", &kSensorConf, FileScope::kRoot, FileKind::kRecord},
    {"UartOutConf.bin", &kUartOutConf, FileScope::kRoot, FileKind::kRecord},
    {"PtzModel.bin", &kPtzModel, FileScope::kRoot, FileKind::kCatalogue},
    {"SensorModel.bin", &kSensorModel, FileScope::kRoot, FileKind::kCatalogue},
};

// The entry of a file name, or of a layout name ("MailConf"); null if none.
constexpr const KnownFile* FindKnownFile(std::string_view name) {
  for (const KnownFile& file : kKnownFiles) {
    if (std::string_view(file.file_name) == name || file.layout->name == name) return &file;
  }
  return nullptr;
}

}  // namespace config

#include "config/svc_cfg_file.h"

#include <cstddef>
#include <cstring>

#include "config/cfg_file.h"

namespace {

// The nine images together, in service id order.
struct SvcImages {
  std::uint8_t mail[config::kMailConf.size];
  std::uint8_t di_cgi[config::kDiCgiConf.size];
  std::uint8_t ftp_sig[config::kFtpSigSvcConf.size];
  std::uint8_t n_time[config::kNTimeConf.size];
  std::uint8_t img_hold[config::kImgHoldConf.size];
  std::uint8_t d_out[config::kDOutSvcConf.size];
  std::uint8_t ftp_dur[config::kFtpDurSvcConf.size];
  std::uint8_t aoip[config::kAoipConf.size];
  std::uint8_t call[config::kCallConf.size];
};

SvcImages g_svc_images;

constexpr std::size_t kImageOffsets[kSvcCount] = {
    offsetof(SvcImages, mail),    offsetof(SvcImages, di_cgi),   offsetof(SvcImages, ftp_sig),
    offsetof(SvcImages, n_time),  offsetof(SvcImages, img_hold), offsetof(SvcImages, d_out),
    offsetof(SvcImages, ftp_dur), offsetof(SvcImages, aoip),     offsetof(SvcImages, call),
};

}  // namespace

std::span<std::uint8_t> SvcImage(int service_id) {
  const SvcFile* file = FindSvcFile(service_id);
  if (file == nullptr) return {};
  return {reinterpret_cast<std::uint8_t*>(&g_svc_images) + kImageOffsets[service_id], file->layout->size};
}

void ClearSvcImages() { std::memset(&g_svc_images, 0, sizeof g_svc_images); }

std::uint8_t* LoadSvcCfgFile(int module_id, int service_id, int entry_index) {
  const SvcFile* file = FindSvcFile(service_id);
  if (file == nullptr) return nullptr;
  const std::span<std::uint8_t> image = SvcImage(service_id);
  if (!CfgFileLoadRecord(module_id, file->file_name, image)) return nullptr;
  // An entry past the last port (the condition form accepts up to 5) would
  // put the table outside the record: refuse it rather than hand out an
  // address past the image.
  const config::FieldRef ports = config::FindField(*file->layout, "Port");
  if (ports.found() && (entry_index < 0 || entry_index >= static_cast<int>(ports.count))) return nullptr;
  const std::uint32_t table = SvcCondTableOffset(*file->layout, entry_index);
  return image.data() + table;
}

int SaveSvcCfgFile(int module_id, int service_id) {
  const SvcFile* file = FindSvcFile(service_id);
  if (file == nullptr) return -1;
  return CfgFileWrite(module_id, file->file_name, SvcImage(service_id));
}

void EndSvcCfgEdit(int module_id, int service_id) {
  const SvcFile* file = FindSvcFile(service_id);
  if (file != nullptr) CfgFileEndEdit(module_id, file->file_name);
}

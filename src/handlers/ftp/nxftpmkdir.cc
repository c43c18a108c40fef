// nxftpmkdir.cgi: the server of an upload service tried with the directories
// of the service's naming scheme (or the test file).
#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "config/field_access.h"
#include "config/layouts/ftp_svc_conf.h"
#include "config/svc_cfg_file.h"
#include "ftp/ftp_ops.h"
#include "handlers/handler.h"

namespace {

// Host, user and password go through the same 32-byte login texts as the
// download's, the base directory through 64 bytes.
constexpr std::size_t kLoginTextSize = 32;
constexpr std::size_t kDirTextSize = 64;

// The header fields the handler reads, for one of the two upload services.
struct UploadService {
  const char* mode;
  int service_id;
  config::FieldRef server_ip;
  config::FieldRef user;
  config::FieldRef password;
  config::FieldRef ctrl_port;
  config::FieldRef base_dir;
  config::FieldRef dir_name_flag;
};

constexpr UploadService kUploadServices[] = {
    {"sig", SSVCID_SFTP, config::MustFind(config::kFtpSigSvcConf, "ServerIp"),
     config::MustFind(config::kFtpSigSvcConf, "User"), config::MustFind(config::kFtpSigSvcConf, "Passwd"),
     config::MustFind(config::kFtpSigSvcConf, "FtpCtrlPort"),
     config::MustFind(config::kFtpSigSvcConf, "BaseDir"),
     config::MustFind(config::kFtpSigSvcConf, "DirNameFlag")},
    {"dur", SSVCID_DFTP, config::MustFind(config::kFtpDurSvcConf, "ServerIp"),
     config::MustFind(config::kFtpDurSvcConf, "User"), config::MustFind(config::kFtpDurSvcConf, "Passwd"),
     config::MustFind(config::kFtpDurSvcConf, "FtpCtrlPort"),
     config::MustFind(config::kFtpDurSvcConf, "BaseDir"),
     config::MustFind(config::kFtpDurSvcConf, "DirNameFlag")},
};

const UploadService* FindService(const char* mode) {
  for (const UploadService& service : kUploadServices) {
    if (std::strcmp(service.mode, mode) == 0) return &service;
  }
  return nullptr;
}

// Copies a text of the image into a terminated buffer; false when it does not
// fit (a field filled to its last byte has no terminator and never fits).
bool CopyText(std::string_view text, std::span<char> out) {
  if (text.size() >= out.size()) return false;
  std::memcpy(out.data(), text.data(), text.size());
  out[text.size()] = '\0';
  return true;
}

struct ServiceLogin {
  char host[kLoginTextSize];
  char user[kLoginTextSize];
  char password[kLoginTextSize];
  char base_dir[kDirTextSize];
  int ctrl_port;
  int scheme;
};

// Checks the module id, the version and the mode; the service, or null with
// the message.
const UploadService* ReadRequest(char* err_msg, int* module_id) {
  const IdField module = ReadModuleIdField();
  if (!IsValidId(module)) {
    CgiSetErrMsg(err_msg, "Invaled NxModId = %d", module.ValueOr(-1));
    return nullptr;
  }
  *module_id = static_cast<int>(module.value);
  const IdField version = ReadVersionField();
  if (!IsAcceptedVersion(version)) {
    CgiSetErrMsg(err_msg, "Invaled NxCgiVer = %d", version.ValueOr(0xffff));
    return nullptr;
  }
  char field[kFieldBufferSize] = {};
  if (CgiGetField("FtpMode", field, kFieldBufferSize) != CGI_FIELD_OK) field[0] = '\0';
  const UploadService* service = FindService(field);
  if (service == nullptr) CgiSetErrMsg(err_msg, "Invaled FtpMode = %s", field);
  return service;
}

// Takes the header fields from the loaded image. A host, user or password
// longer than 31 characters is refused as a failed connection and a base
// directory longer than 63 as a failed directory step, before connecting:
// cut short they would name a different host or directory.
bool ReadServiceLogin(const UploadService& service, std::span<const uint8_t> image, ServiceLogin* login,
                      char* err_msg) {
  const std::string_view host = config::LoadText(image, service.server_ip);
  const std::string_view user = config::LoadText(image, service.user);
  const std::string_view password = config::LoadText(image, service.password);
  if (host.empty()) {
    CgiSetErrMsg(err_msg, "Have no Server Ip ERROR");
    return false;
  }
  if (!CopyText(host, login->host) || !CopyText(user, login->user) || !CopyText(password, login->password)) {
    CgiSetErrMsg(err_msg, "ftp_make(%.*s,%.*s,%s) ERROR", static_cast<int>(host.size()), host.data(),
                 static_cast<int>(user.size()), user.data(), kHiddenPassword);
    return false;
  }
  if (!CopyText(config::LoadText(image, service.base_dir), login->base_dir)) {
    CgiSetErrMsg(err_msg, "ftp_mkdirs() ERROR");
    return false;
  }
  login->ctrl_port = static_cast<int>(config::LoadNumber(image, service.ctrl_port));
  login->scheme = static_cast<int>(config::LoadNumber(image, service.dir_name_flag));
  return true;
}

}  // namespace

int NxCgi_FtpMkDirCgifunc(char* err_msg) {
  int module_id = 0;
  const UploadService* service = ReadRequest(err_msg, &module_id);
  if (service == nullptr) return -1;
  if (LoadSvcCfgFile(module_id, service->service_id, 0) == nullptr) {
    CgiSetErrMsg(err_msg, "LoadSvcCfgFile(%d,SSVCID_SFTP) ERROR", module_id);
    return -1;
  }
  // The service file is only read: let the requests that edit it go on
  // while the FTP session runs.
  EndSvcCfgEdit(module_id, service->service_id);
  ServiceLogin login{};
  if (!ReadServiceLogin(*service, SvcImage(service->service_id), &login, err_msg)) return -1;

  ftp_session* s = ftp_make(login.host, login.user, login.password, login.ctrl_port);
  if (s == nullptr) {
    CgiSetErrMsg(err_msg, "ftp_make(%s,%s,%s) ERROR", login.host, login.user, kHiddenPassword);
    return -1;
  }
  const int made = ftp_mkdirs(s, login.base_dir, login.scheme);
  ftp_close(s);
  if (made < 0) {
    CgiSetErrMsg(err_msg, "ftp_mkdirs() ERROR");
    return -1;
  }
  CgiPrintContentType("text/html");
  return 1;
}

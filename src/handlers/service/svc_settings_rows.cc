// The fourteen service settings handlers (nxmailsvc.cgi ... nxcall.cgi):
// each is its service, its level and its field list; the fields' offsets and
// widths come from the record layouts.
#include "cgi/form_fields.h"
#include "config/layouts/known_files.h"
#include "config/svc_files.h"
#include "handlers/handler.h"
#include "handlers/service/svc_settings.h"

namespace {

using K = SettingsKind;
using R = SettingsRule;
using config::Layout;

consteval SettingsField Number(const Layout& layout, const char* name, R rule = R::kPlain,
                               uint32_t limit = 0) {
  return {name, config::MustFind(layout, name), K::kNumber, rule, limit};
}

consteval SettingsField String(const Layout& layout, const char* name, R rule = R::kPlain) {
  return {name, config::MustFind(layout, name), K::kString, rule};
}

consteval SettingsField Text(const Layout& layout, const char* name) {
  return {name, config::MustFind(layout, name), K::kText};
}

// Caps a count at the count stored at another field of the same block.
consteval SettingsField CappedBy(const Layout& layout, const char* name, const char* cap) {
  return {name, config::MustFind(layout, name), K::kNumber, R::kCapAtField, 0, config::MustFind(layout, cap)};
}

constexpr SettingsField kMailFields[] = {
    Number(config::kMailConf, "EnableSvc"),  String(config::kMailConf, "SmtpServer"),
    Number(config::kMailConf, "SmtpPort"),   Number(config::kMailConf, "AuthLogin"),
    String(config::kMailConf, "UserId"),     String(config::kMailConf, "PassWd"),
    String(config::kMailConf, "Sender"),     String(config::kMailConf, "Recipient0"),
    String(config::kMailConf, "Recipient1"), String(config::kMailConf, "Recipient2"),
};

constexpr SettingsField kMailPortFields[] = {
    Number(config::kMailPortEntry, "ImageCount", R::kCapAt, 10),
    CappedBy(config::kMailPortEntry, "QueueCount", "ImageCount"),
    Number(config::kMailPortEntry, "PauseTime"),
    String(config::kMailPortEntry, "Subject"),
    String(config::kMailPortEntry, "TextMessage0"),
    String(config::kMailPortEntry, "TextMessage1"),
    String(config::kMailPortEntry, "TextMessage2"),
    String(config::kMailPortEntry, "TextMessage3"),
    Number(config::kMailPortEntry, "ValueCatType0", R::kCategory),
    Number(config::kMailPortEntry, "ValueCatType1", R::kCategory),
    Number(config::kMailPortEntry, "ValueCatType2", R::kCategory),
    Number(config::kMailPortEntry, "ValueCatType3", R::kCategory),
};

constexpr SettingsField kDiCgiFields[] = {
    Number(config::kDiCgiConf, "EnableSvc"),
    Text(config::kDiCgiConf, "CgiPath"),
    String(config::kDiCgiConf, "IpAddrMain"),
    String(config::kDiCgiConf, "IpAddrAux1"),
    String(config::kDiCgiConf, "IpAddrAux2"),
    String(config::kDiCgiConf, "IpAddrAux3"),
    Number(config::kDiCgiConf, "SvcPort"),
    Number(config::kDiCgiConf, "SvcMode"),
    String(config::kDiCgiConf, "User", R::kEmptyKeeps),
    String(config::kDiCgiConf, "Passwd", R::kEmptyKeeps),
};

constexpr SettingsField kDiCgiPortFields[] = {Text(config::kDiCgiPortEntry, "CgiName")};

// The two upload services share their fields; the interval record adds
// SeqModulo after Passwd.
#define NX_FTP_FIELDS_BEFORE_SEQ(layout)                                              \
  Number(layout, "EnableSvc"), String(layout, "ServerIp"), String(layout, "BaseDir"), \
      String(layout, "BaseFile"), String(layout, "User"), String(layout, "Passwd")
#define NX_FTP_FIELDS_AFTER_SEQ(layout)                                                         \
  Number(layout, "DirNameFlag"), Number(layout, "FileNameFlag"), Number(layout, "PassiveMode"), \
      Number(layout, "DateDescMode"), Number(layout, "FtpCtrlPort"), Number(layout, "FixedPort")

constexpr SettingsField kFtpSigFields[] = {
    NX_FTP_FIELDS_BEFORE_SEQ(config::kFtpSigSvcConf),
    NX_FTP_FIELDS_AFTER_SEQ(config::kFtpSigSvcConf),
};

constexpr SettingsField kFtpDurFields[] = {
    NX_FTP_FIELDS_BEFORE_SEQ(config::kFtpDurSvcConf),
    Number(config::kFtpDurSvcConf, "SeqModulo", R::kZeroBecomesOne),
    NX_FTP_FIELDS_AFTER_SEQ(config::kFtpDurSvcConf),
};

#undef NX_FTP_FIELDS_BEFORE_SEQ
#undef NX_FTP_FIELDS_AFTER_SEQ

constexpr SettingsField kFtpSigPortFields[] = {
    Number(config::kFtpSigPortEntry, "ImageCount", R::kCapAt, 256),
    CappedBy(config::kFtpSigPortEntry, "QueueCount", "ImageCount"),
    Number(config::kFtpSigPortEntry, "PauseTime"),
    Number(config::kFtpSigPortEntry, "ReadyTime"),
};

constexpr SettingsField kFtpDurPortFields[] = {Number(config::kFtpDurPortEntry, "PauseTime")};

constexpr SettingsField kIholdFields[] = {Number(config::kImgHoldConf, "EnableSvc")};
constexpr SettingsField kIholdPortFields[] = {
    Number(config::kImgHoldPortEntry, "ImageCount"),
    Number(config::kImgHoldPortEntry, "QueueCount"),
    Number(config::kImgHoldPortEntry, "PauseTime"),
};

constexpr SettingsField kDoutFields[] = {Number(config::kDOutSvcConf, "EnableSvc")};
constexpr SettingsField kDoutPortFields[] = {Number(config::kDOutPortEntry, "DoDuration")};

constexpr SettingsField kAoipFields[] = {
    Number(config::kAoipConf, "EnableSvc"),  String(config::kAoipConf, "Server", R::kEmptyKeeps),
    Number(config::kAoipConf, "RegisterId"), Number(config::kAoipConf, "HttpAoip"),
    Number(config::kAoipConf, "NvcpAoip"),   Number(config::kAoipConf, "VdcpAoip"),
    Number(config::kAoipConf, "ReseAoip"),
};

constexpr SettingsField kCallFields[] = {Number(config::kCallConf, "EnableSvc")};

constexpr ServiceSettingsHandler Module(int service_id, std::span<const SettingsField> fields,
                                        int value_buffer_size = kFieldBufferSize) {
  return {service_id, false, false, false, value_buffer_size, fields};
}

constexpr ServiceSettingsHandler Port(int service_id, std::span<const SettingsField> fields,
                                      bool port_id_low16 = false, int value_buffer_size = kFieldBufferSize,
                                      bool reports_failures = false) {
  return {service_id, true, port_id_low16, reports_failures, value_buffer_size, fields};
}

}  // namespace

int NxCgi_MailSvcCfgFunc(char*) { return RunServiceSettings(Module(SSVCID_MAIL, kMailFields)); }
int NxCgi_MailSvcPortCfgFunc(char*) {
  return RunServiceSettings(Port(SSVCID_MAIL, kMailPortFields, true, kFieldBufferSize, true));
}
int NxCgi_DiCgiSvcCfgFunc(char*) {
  return RunServiceSettings(Module(SSVCID_DICGI, kDiCgiFields, kWideFieldBufferSize));
}
int NxCgi_DiCgiSvcPortCfgFunc(char*) {
  return RunServiceSettings(Port(SSVCID_DICGI, kDiCgiPortFields, true, kWideFieldBufferSize));
}
int NxCgi_FtpSigSvcCfgFunc(char*) { return RunServiceSettings(Module(SSVCID_SFTP, kFtpSigFields)); }
int NxCgi_FtpSigSvcPortCfgFunc(char*) { return RunServiceSettings(Port(SSVCID_SFTP, kFtpSigPortFields)); }
int NxCgi_FtpDurSvcCfgFunc(char*) { return RunServiceSettings(Module(SSVCID_DFTP, kFtpDurFields)); }
int NxCgi_FtpDurSvcPortCfgFunc(char*) { return RunServiceSettings(Port(SSVCID_DFTP, kFtpDurPortFields)); }
int NxCgi_IholdSvcCfgFunc(char*) { return RunServiceSettings(Module(SSVCID_IHOLD, kIholdFields)); }
int NxCgi_IholdSvcPortCfgFunc(char*) { return RunServiceSettings(Port(SSVCID_IHOLD, kIholdPortFields)); }
int NxCgi_DoSvcCfgFunc(char*) { return RunServiceSettings(Module(SSVCID_DOUT, kDoutFields)); }
int NxCgi_DoSvcPortCfgFunc(char*) { return RunServiceSettings(Port(SSVCID_DOUT, kDoutPortFields)); }
int NxCgi_AoipCfgFunc(char*) { return RunServiceSettings(Module(SSVCID_AOIP, kAoipFields)); }
int NxCgi_CallCfgFunc(char*) { return RunServiceSettings(Module(SSVCID_CALL, kCallFields)); }

#include "tools/nxconf/device_tree.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "config/cfg_file.h"
#include "config/layouts/known_files.h"
#include "platform/config_write.h"
#include "tools/nxconf/factory_defaults.h"
#include "tools/nxconf/sample_catalogues.h"
#include "tools/nxconf/tool_error.h"

namespace nxconf {
namespace {

constexpr int kModuleCount = 4;
constexpr int kPortCount = 4;

constexpr const char* kDirectories[] = {
    "/web",        "/web/img",       "/var/run",  "/var/log",     "/tmp",
    "/etc/init.d", "/etc/sysconfig", "/usr/sbin", "/opt/vsb/bin", "/opt/vsb/etc/NxConf",
    "/dev",        "/proc/driver",
};

struct TextFile {
  const char* device_path;
  const char* contents;
};

constexpr TextFile kTextFiles[] = {
    {"/opt/vsb/etc/NxIsensNe.conf", "VERSION=0\nNE_UDP_PORT=12002\nCE_UDP_PORT=12001\nCE_IP_ADDRESS=\n"},
    {"/opt/vsb/etc/NxConf/camgpctl.conf", "FLK=0\nAGC=1\nBLC=0\nELC=0\n"},
    {"/opt/vsb/etc/esmta.conf",
     "SERVICE=no\nSERVER=\nSENDER=\nAUTH_LOGIN=no\nUSERID=\nPASSWD=\n"
     "JPEG_SIZE=0\nJPEG_COUNT=1\nJPEG_PAUSE=0\n"
     "RECIPIENT0=\nRECIPIENT1=\nRECIPIENT2=\nRECIPIENT3=\n"
     "EXTRA_PARM0=\nEXTRA_PARM1=\nEXTRA_PARM2=\nEXTRA_PARM3=\n"
     "EXTRA_PARM4=\nEXTRA_PARM5=\nEXTRA_PARM6=\nEXTRA_PARM7=\n"},
    {"/opt/vsb/etc/smsta.conf",
     "SERVICE=no\nSERVER=\nSENDER=\nAUTH_LOGIN=no\nUSERID=\nPASSWD=\n"
     "RECIPIENT0=\nRECIPIENT1=\nRECIPIENT2=\nRECIPIENT3=\n"
     "EXTRA_PARM0=\nEXTRA_PARM1=\nEXTRA_PARM2=\nEXTRA_PARM3=\n"
     "EXTRA_PARM4=\nEXTRA_PARM5=\nEXTRA_PARM6=\nEXTRA_PARM7=\n"},
    {"/etc/sysconfig/names.conf", "SERVER_NAME=nxserver\n"},
    {"/proc/driver/kv_basic_conf",
     "KVF_VERSION=3;\n"
     "KVF_STR0=\"NX-4000\";\n"
     "KVF_STR1=\"ABC123\";\n"
     "KVF_STR2=\"REV-B\";\n"
     "KVF_STR3=\"0000\";\n"
     "KVF_STR4=\"\";\n"
     "KVF_STR5=\"EU\";\n"
     "KVF_STR6=\"\";\n"
     "KVF_STR7=\"SAMPLE\";\n"},
};

void MakeDirectory(const char* device_path) {
  if (MakeCfgDirPath(device_path) != 0)
    Die("cannot make directory %s: %s", device_path, std::strerror(errno));
}

void WriteDeviceFile(const char* device_path, const void* bytes, std::size_t size) {
  if (platform::WriteConfigFile(device_path, bytes, size) != platform::WriteStatus::kOk) {
    Die("cannot write %s: %s", device_path, std::strerror(errno));
  }
}

void WriteCfgFile(int module_id, std::string_view file_name, const Bytes& bytes) {
  const std::string name(file_name);
  if (CfgFileWrite(module_id, name.c_str(), bytes) != static_cast<int>(bytes.size())) {
    Die("cannot write %s of module %d", name.c_str(), module_id);
  }
}

}  // namespace

int InitDeviceTree(const std::string& root) {
  if (root.empty()) Die("init needs a root directory");
  if (mkdir(root.c_str(), 0755) != 0 && errno != EEXIST)
    Die("cannot make %s: %s", root.c_str(), std::strerror(errno));
  setenv("NXCGI_ROOT", root.c_str(), 1);

  for (const char* directory : kDirectories) MakeDirectory(directory);
  for (int m = 0; m < kModuleCount; ++m) {
    for (int p = 0; p < kPortCount; ++p) {
      char path[96];
      std::snprintf(path, sizeof path, "/tmp/advbuf/keep/mod%d/hold/port%d", m, p);
      MakeDirectory(path);
    }
  }

  int written = 0;
  for (const config::KnownFile& file : config::kKnownFiles) {
    if (file.kind == config::FileKind::kCatalogue) {
      const Bytes catalogue =
          file.layout == &config::kPtzModel ? SamplePtzModelCatalogue() : SampleSensorModelCatalogue();
      WriteCfgFile(kCfgRootModule, file.file_name, catalogue);
      const std::string factory_copy = "/web/img/" + std::string(file.file_name);
      WriteDeviceFile(factory_copy.c_str(), catalogue.data(), catalogue.size());
      written += 2;
      continue;
    }
    const Bytes record = DefaultRecord(*file.layout);
    if (file.scope == config::FileScope::kRoot) {
      WriteCfgFile(kCfgRootModule, file.file_name, record);
      ++written;
    } else {
      for (int m = 0; m < kModuleCount; ++m) WriteCfgFile(m, file.file_name, record);
      written += kModuleCount;
    }
  }
  for (const TextFile& text : kTextFiles) {
    WriteDeviceFile(text.device_path, text.contents, std::strlen(text.contents));
    ++written;
  }
  return written;
}

}  // namespace nxconf

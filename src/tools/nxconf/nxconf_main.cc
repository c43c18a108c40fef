// nxconf: a developer's tool for the device's binary configuration files.
//
//   nxconf dump FILE [--type NAME]          every field as JSON
//   nxconf set FILE [--type NAME] FIELD=VALUE ...
//                                           change named fields in place
//   nxconf init ROOT                        a factory-default device tree
//
// FILE is a host path; its type comes from its name (MailConf.bin, ...)
// unless --type names one (a file name or a record name: MailConf).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tools/nxconf/device_tree.h"
#include "tools/nxconf/json_dump.h"
#include "tools/nxconf/record_access.h"
#include "tools/nxconf/tool_error.h"

namespace nxconf {
namespace {

constexpr const char* kUsage =
    "usage: nxconf dump FILE [--type NAME] | nxconf set FILE [--type NAME] FIELD=VALUE... | nxconf init ROOT";

struct FileArgs {
  std::string path;
  std::string type;
  std::vector<std::string> rest;
};

FileArgs ParseFileArgs(int argc, char** argv, const char* command) {
  FileArgs args;
  for (int i = 2; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--type") {
      if (i + 1 >= argc) Die("%s: --type needs a name", command);
      args.type = argv[++i];
    } else if (arg.starts_with("--type=")) {
      args.type = arg.substr(7);
    } else if (args.path.empty()) {
      args.path = arg;
    } else {
      args.rest.push_back(arg);
    }
  }
  if (args.path.empty()) Die("%s: no FILE given; %s", command, kUsage);
  return args;
}

int Dump(int argc, char** argv) {
  const FileArgs args = ParseFileArgs(argc, argv, "dump");
  if (!args.rest.empty()) Die("dump: unexpected argument '%s'", args.rest.front().c_str());
  const LoadedFile file = LoadKnownFile(args.path, args.type);
  const std::string json = DumpJson(file);
  std::fwrite(json.data(), 1, json.size(), stdout);
  return 0;
}

int Set(int argc, char** argv) {
  const FileArgs args = ParseFileArgs(argc, argv, "set");
  if (args.rest.empty()) Die("set: no FIELD=VALUE given");
  LoadedFile file = LoadKnownFile(args.path, args.type);
  // Every assignment is checked before the file is written, so a refusal
  // leaves it untouched.
  for (const std::string& assignment : args.rest) {
    const std::size_t equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0) {
      Die("set: '%s' is not FIELD=VALUE", assignment.c_str());
    }
    const std::string_view path(assignment.data(), equals);
    const std::string_view value(assignment.data() + equals + 1, assignment.size() - equals - 1);
    const config::FieldRef ref = ResolveField(file, path);
    StoreValue(file.bytes, ref, path, value, file.path.c_str());
  }
  WriteFileBytes(file.path, file.bytes);
  return 0;
}

int Init(int argc, char** argv) {
  if (argc != 3) Die("init: %s", kUsage);
  const int written = InitDeviceTree(argv[2]);
  std::printf("nxconf: %d files written below %s\n", written, argv[2]);
  return 0;
}

}  // namespace
}  // namespace nxconf

int main(int argc, char** argv) {
  if (argc < 2) nxconf::Die("%s", nxconf::kUsage);
  const std::string command = argv[1];
  if (command == "help" || command == "--help" || command == "-h") {
    std::printf("%s\n", nxconf::kUsage);
    return 0;
  }
  if (command == "init") return nxconf::Init(argc, argv);
  // FILE arguments are host paths: keep the platform layer from mapping them.
  unsetenv("NXCGI_ROOT");
  if (command == "dump") return nxconf::Dump(argc, argv);
  if (command == "set") return nxconf::Set(argc, argv);
  nxconf::Die("unknown command '%s'; %s", command.c_str(), nxconf::kUsage);
}

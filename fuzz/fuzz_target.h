// What every harness uses: the entry point it defines (libFuzzer drives it in
// the fuzz build, replay_main.cc runs it over the kept inputs in the tests),
// Check, the headers, and the sandbox of the harnesses that run handlers.
// (The product headers bring <cstdint> and <netinet/in.h> with their
// interfaces.)
#pragma once

#include <sys/msg.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "cgi/cgi_request.h"
#include "config/svc_cfg_file.h"
#include "front/dispatcher.h"
#include "ftp/client/ftp_internal.h"
#include "platform/command.h"
#include "platform/file_lock.h"
#include "platform/sleep.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);

// A broken promise of the code under test stops the run as a sanitizer finding does.
inline void Check(bool condition) { condition ? void() : __builtin_trap(); }

// What the code under test prints (pages, echoed replies) goes nowhere.
inline const int kept_stderr = dup(2);
inline const bool quiet = std::freopen("/dev/null", "w", stdout) != nullptr;

namespace fs = std::filesystem;

// The device root the catalogue and dispatcher harnesses run handlers over:
// made by sim/make_device_root.sh once per process, before main, and copied
// afresh after every input, so that an input behaves the same whatever ran
// before it.
//
// What keeps a run inside the sandbox:
// - NXCGI_ROOT maps every absolute device path below the root, and during a
//   run the working directory is the root's /scratch (relative paths);
// - commands are answered as done, never run; pauses are skipped;
// - forms whose texts hold ".." are not run (they would climb out);
// - the pid files whose numbers the handlers signal are directories, so that
//   they can be neither written nor read;
// - FTP servers, in the forms and in the upload services' files, are
//   127.0.0.1 at a port bound and never listened on: connections are refused.
struct Sandbox {
  Sandbox() {
    // Bound but never listened on: connections are refused at once, and nobody else can take the port.
    const int refusing = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t length = sizeof address;
    bind(refusing, reinterpret_cast<sockaddr*>(&address), length);
    getsockname(refusing, reinterpret_cast<sockaddr*>(&address), &length);
    port = std::to_string(ntohs(address.sin_port));
    const std::string command =
        "bash " NXCGI_SOURCE_DIR "/sim/make_device_root.sh " NXCGI_BUILD_DIR " " + factory + " && cd " +
        factory + " && for f in opt/vsb/etc/NxConf/*/Ftp*SvcConf.bin; do ${NXCONF:-" +
        NXCGI_BUILD_DIR "/bin/nxconf} set $f ServerIp=127.0.0.1 FtpCtrlPort=" + port +
        " >/dev/null || exit 1; done && mkdir scratch var/run/nxcamctld.pid var/run/isensd.pid";
    if (!quiet || port == "0" || std::system(command.c_str()) != 0) std::abort();
    fs::copy(factory, root, fs::copy_options::recursive);
    setenv("NXCGI_ROOT", root.c_str(), 1);
    platform::SetCommandRunner([](const char*, const char*) { return 0; });
    platform::SetSleeper([](unsigned long long) {});
  }
  ~Sandbox() { fs::remove_all(base); }
  // In memory when it can be: every run copies the tree.
  std::string base =
      mkdtemp(((fs::is_directory("/dev/shm") ? "/dev/shm" : "/tmp") + std::string("/nxfuzz-XXXXXX")).data());
  std::string factory = base + "/factory", root = base + "/root", port;  // port: refuses every FTP connection
};

// Defined, and so made before main, by the harnesses that run handlers.
extern const Sandbox sandbox;

// Runs the CGI over the url-encoded form in the sandbox, then copies the root
// afresh and puts the process-wide state back as a new process has it.
inline void RunCgi(const char* cgi_name, const char* form, std::size_t length) {
  static const fs::path outside = fs::current_path();  // libFuzzer's relative paths start there
  fs::current_path(sandbox.root + "/scratch");
  // Two dots with only CR and LF between them: the single-line accessor drops those.
  static const std::regex climbing("\\.[\r\n]*\\.");
  bool safe = CgiParseForm(form, length) == 0;
  for (CgiFormEntry* e = CgiFormHead(); e != nullptr; e = e->next) {
    for (const char* text : {e->name, e->value}) safe &= !std::regex_search(text, climbing);
    if (!strcmp(e->name, "ServerIp")) free(std::exchange(e->value, strdup("127.0.0.1")));
    if (!strcmp(e->name, "FtpCtrlPort")) free(std::exchange(e->value, strdup(sandbox.port.c_str())));
  }
  char* argv[] = {const_cast<char*>(cgi_name), nullptr};
  if (safe) CgiDispatch(1, argv);
  CgiFreeForm();
  ClearSvcImages();
  ftp_reset_process_state();
  platform::UnlockAllFiles();
  fs::current_path(outside);
  std::error_code removed, copied;
  if (fs::remove_all(sandbox.root, removed); !removed)
    fs::copy(sandbox.factory, sandbox.root, fs::copy_options::recursive, copied);
  // libFuzzer sends the standard error of the code under test nowhere: the
  // reason goes to the log through a copy made before, and the run stops.
  if (removed || copied) {
    dprintf(kept_stderr, "sandbox: %s failed: %s\n", removed ? "removing the root" : "copying the factory",
            (removed ? removed : copied).message().c_str());
    std::abort();
  }
}

// Edits one key of a text configuration file in the order the handlers do
// (new_cfg, load_cfg, set_value, save_cfg, free_cfg), so that the text
// write path can be run, traced and killed as a process of its own.
//
// Usage: tcfg_edit DEVICE_PATH KEY VALUE (below NXCGI_ROOT)
// Exit status 0 after a save, 1 when the save failed, 2 when the file could
// not be loaded or the key is not in it.
#include <cstdio>

#include "config/text/tcfg_util.h"

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: tcfg_edit DEVICE_PATH KEY VALUE\n");
    return 2;
  }
  Tcfg* cfg = new_cfg(argv[1], 0);
  if (cfg == nullptr) return 2;
  if (load_cfg(cfg) < 0 || set_value(cfg, argv[2], argv[3]) != 0) {
    free_cfg(cfg);
    return 2;
  }
  const int saved = save_cfg(cfg);
  free_cfg(cfg);
  std::printf(saved == 0 ? "saved\n" : "save failed\n");
  return saved == 0 ? 0 : 1;
}

// Downloads one file with the FTP client (getfile, binary type) and prints
// the seconds it took; used by bench/ftp_download.sh.
//
// Usage: ftp_download HOST PORT USER PASSWORD REMOTE LOCAL active|passive
#include <sys/time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ftp/client/ftp_client.h"

int main(int argc, char** argv) {
  if (argc != 8) {
    std::fprintf(stderr, "usage: %s HOST PORT USER PASSWORD REMOTE LOCAL active|passive\n", argv[0]);
    return 2;
  }
  const int passive = std::strcmp(argv[7], "passive") == 0 ? 1 : 0;
  ftp_session* s = ftp_create(passive, 1, 0, std::atoi(argv[2]));
  if (s == nullptr) return 1;
  if (!ftp_open(s, argv[1], argv[3], argv[4], nullptr) || !ftp_binary(s)) {
    ftp_quit(s);
    ftp_free(s);
    return 1;
  }
  timeval start{};
  timeval stop{};
  gettimeofday(&start, nullptr);
  const int result = getfile(s, argv[6], argv[5]);
  gettimeofday(&stop, nullptr);
  ftp_quit(s);
  ftp_free(s);
  if (result < 0) return 1;
  std::printf("%.3f\n",
              static_cast<double>(stop.tv_sec - start.tv_sec) + (stop.tv_usec - start.tv_usec) / 1e6);
  return 0;
}

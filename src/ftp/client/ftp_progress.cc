// What a transfer tells the console: hash marks, progress ticks and the
// transfer rate.
#include <cstdio>

#include "ftp/client/ftp_internal.h"

namespace {

constexpr long kHashStep = 1024;
constexpr long kTickStep = 10240;

}  // namespace

void ftp_marks_step(const ftp_session* s, ftp_marks& marks, long bytes, bool allowed) {
  if (!allowed) return;
  if (s->hash_marks) {
    while (bytes >= marks.threshold) {
      std::putchar('#');
      marks.threshold += kHashStep;
    }
    std::fflush(stdout);
  }
  if (s->progress_ticks && bytes >= marks.threshold) {
    std::printf("\rBytes transferred: %ld", bytes);
    std::fflush(stdout);
    while (bytes >= marks.threshold) marks.threshold += kTickStep;
  }
}

void ftp_marks_done(const ftp_session* s, const ftp_marks& marks, long bytes, bool allowed, bool binary) {
  if (s->hash_marks && bytes > 0) {
    if (bytes < (binary ? kHashStep : marks.threshold)) std::putchar('#');
    std::putchar('\n');
  }
  if (s->progress_ticks && allowed) std::printf("\rBytes transferred: %ld\n", bytes);
  std::fflush(stdout);
}

void ftp_report_rate(ftp_session* s, const char* direction, long bytes, const timeval* start,
                     const timeval* stop) {
  if (!s->verbose) return;
  long seconds = stop->tv_sec - start->tv_sec;
  long microseconds = stop->tv_usec - start->tv_usec;
  if (microseconds < 0) {
    --seconds;
    microseconds += 1000000;
  }
  const float elapsed = static_cast<float>(seconds) + static_cast<float>(microseconds) / 1000000.0f;
  const float rate = static_cast<float>(bytes) / (elapsed != 0.0f ? elapsed : 1.0f);
  std::printf("%ld bytes %s in %.3g secs (%.2g Kbytes/sec)\n", bytes, direction, static_cast<double>(elapsed),
              static_cast<double>(rate / 1024.0f));
  std::fflush(stdout);
}

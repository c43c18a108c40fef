#include "platform/sleep.h"

#include <unistd.h>

namespace platform {
namespace {

void RealSleep(unsigned long long microseconds) {
  // usleep is only defined below one second on some C libraries.
  if (microseconds >= 1000000ULL && microseconds % 1000000ULL == 0) {
    unsigned left = static_cast<unsigned>(microseconds / 1000000ULL);
    while (left > 0) left = sleep(left);
    return;
  }
  while (microseconds >= 1000000ULL) {
    usleep(999999);
    microseconds -= 999999;
  }
  usleep(static_cast<useconds_t>(microseconds));
}

Sleeper g_sleeper = RealSleep;

}  // namespace

void SleepSeconds(unsigned seconds) { g_sleeper(seconds * 1000000ULL); }
void SleepMicroseconds(unsigned microseconds) { g_sleeper(microseconds); }
void SetSleeper(Sleeper sleeper) { g_sleeper = sleeper != nullptr ? sleeper : RealSleep; }

}  // namespace platform

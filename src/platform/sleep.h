// Every pause the system makes goes through here, so in-process tests can
// record pauses instead of waiting.
#pragma once

namespace platform {

void SleepSeconds(unsigned seconds);
void SleepMicroseconds(unsigned microseconds);

// Replaces the sleeper; null restores the real one. The argument is in
// microseconds for both calls.
using Sleeper = void (*)(unsigned long long microseconds);
void SetSleeper(Sleeper sleeper);

}  // namespace platform

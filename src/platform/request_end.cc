#include "platform/request_end.h"

#include <sys/msg.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace platform {
namespace {

constexpr int kEndingSignals[] = {SIGTERM, SIGHUP, SIGINT, SIGPIPE};

volatile sig_atomic_t g_queue = -1;
volatile sig_atomic_t g_leads_group = 0;

// Async-signal-safe: called from the signal handler as well as at exit.
void EndWhatWasStarted() {
  if (g_queue >= 0) msgctl(g_queue, IPC_RMID, nullptr);
  g_queue = -1;
  if (g_leads_group != 0) {
    signal(SIGTERM, SIG_IGN);  // the group's signal is for the others
    kill(0, SIGTERM);
  }
}

void EndRequest(int signal_number) {
  EndWhatWasStarted();
  _exit(128 + signal_number);
}

void InstallOnce() {
  static bool installed = false;
  if (installed) return;
  installed = true;
  struct sigaction ending = {};
  ending.sa_handler = EndRequest;
  sigemptyset(&ending.sa_mask);
  for (const int number : kEndingSignals) sigaddset(&ending.sa_mask, number);
  for (const int number : kEndingSignals) sigaction(number, &ending, nullptr);
  std::atexit(EndWhatWasStarted);
}

}  // namespace

void EndCommandsWithRequest() {
  if (g_leads_group != 0) return;
  // A session leader already leads its group, and setpgid refuses it.
  if (setpgid(0, 0) != 0 && getpgrp() != getpid()) return;
  InstallOnce();
  g_leads_group = 1;
}

void RemoveQueueAtEnd(int queue_id) {
  InstallOnce();
  g_queue = queue_id;
}

void ForgetQueueAtEnd() { g_queue = -1; }

}  // namespace platform

// Requests that edit one service file at the same time, through the real
// executable: four processes each setting their own port's PauseTime in the
// mail service file 200 times end with every port at its last value, while a
// reader polling the file never sees anything but a whole record; the same
// for four processes editing their own keys of one text file; requests
// killed with SIGKILL at random moments leave the old or the new file and
// hold up no other request.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "hardening_support.h"
#include "harness/bytes.h"

namespace {

constexpr const char* kMailConf = "/opt/vsb/etc/NxConf/NxModId1/MailConf.bin";
constexpr const char* kMailDir = "/opt/vsb/etc/NxConf/NxModId1";
constexpr std::size_t kMailSize = 4572;
constexpr int kWorkers = 4;
constexpr int kRequestsPerWorker = 200;

constexpr std::size_t PauseTimeAt(int port) { return 396 + 1044 * static_cast<std::size_t>(port) + 344; }

harness::Bytes MailStart() {
  harness::Bytes bytes = harness::PatternBytes(kMailSize, 9);
  for (int p = 0; p < 4; ++p) {
    harness::PutU32(bytes, 396 + 1044 * p + 336, 2);  // QueueCount
    harness::PutU32(bytes, 396 + 1044 * p + 340, 4);  // ImageCount
    harness::PutU32(bytes, PauseTimeAt(p), 0);        // below every value the requests set
  }
  return bytes;
}

std::string PauseQuery(int port, int value) {
  return "NxModId=1&NxCgiVer=1&PortId=" + std::to_string(port) + "&PauseTime=" + std::to_string(value);
}

// The image with every PauseTime field blanked: what no request changes.
harness::Bytes Unedited(harness::Bytes bytes) {
  for (int p = 0; p < 4; ++p) harness::PutU32(bytes, PauseTimeAt(p), 0);
  return bytes;
}

double Seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

void SleepMicroseconds(long microseconds) {
  const timespec pause{microseconds / 1000000, (microseconds % 1000000) * 1000};
  nanosleep(&pause, nullptr);
}

// Device path of a worker's result file.
std::string WorkerResult(int port) { return "/tmp/worker-" + std::to_string(port); }

// Forks a process that runs body and exits with its result.
pid_t Fork(int (*body)(const harness::SandboxRoot&, int), const harness::SandboxRoot& root, int arg) {
  const pid_t pid = fork();
  if (pid == 0) _exit(body(root, arg));
  return pid;
}

int ExitCode(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 255;
}

// One worker: its own port's PauseTime set to 1, 2, ... kRequestsPerWorker.
// After each request its value must be in the file: nobody else sets that
// field, so anything else is an edit lost to another request's save. Writes
// "<failed requests> <lost edits>" to its result file.
int EditPort(const harness::SandboxRoot& root, int port) {
  int failures = 0, lost = 0;
  for (int i = 1; i <= kRequestsPerWorker; ++i) {
    const harness::ProcessResult result =
        harness::GetCgi("nxmailsvcport.cgi", PauseQuery(port, i), root.path());
    if (result.exit_status != 0 || result.out != "Content-type: text/html\r\n\r\n") ++failures;
    const harness::Bytes now = root.ReadFile(kMailConf);
    if (now.size() != kMailSize || harness::GetU32(now, PauseTimeAt(port)) != static_cast<uint32_t>(i))
      ++lost;
  }
  std::FILE* out = std::fopen(root.Host(WorkerResult(port)).c_str(), "w");
  if (out == nullptr) return 1;
  std::fprintf(out, "%d %d\n", failures, lost);
  std::fclose(out);
  return 0;
}

// The reader: opens and reads the whole file until the stop file appears.
// Writes "<reads> <bad> <regressions>" to the result file; a read is bad
// when its size is not the record's or a byte that no request edits has
// changed; a regression is a PauseTime smaller than one read before, which
// only a save of an image loaded before another request's save can make
// (a lost edit, even when a later save repairs it).
int PollFile(const harness::SandboxRoot& root, int) {
  const std::string path = root.Host(kMailConf);
  const std::string stop = root.Host("/tmp/stop-reader");
  const harness::Bytes unedited = Unedited(MailStart());
  long reads = 0, bad = 0, regressions = 0;
  uint32_t last[4] = {};
  std::string buffer(kMailSize + 64, '\0');
  while (access(stop.c_str(), F_OK) != 0) {
    const int fd = open(path.c_str(), O_RDONLY);
    if (fd < 0) {
      ++bad;
      continue;
    }
    std::size_t size = 0;
    ssize_t got;
    while ((got = read(fd, buffer.data() + size, buffer.size() - size)) > 0)
      size += static_cast<std::size_t>(got);
    close(fd);
    ++reads;
    if (size != kMailSize || Unedited(buffer.substr(0, kMailSize)) != unedited) {
      ++bad;
    } else {
      for (int port = 0; port < 4; ++port) {
        const uint32_t pause = harness::GetU32(buffer, PauseTimeAt(port));
        if (pause < last[port]) ++regressions;
        last[port] = pause;
      }
    }
    SleepMicroseconds(100);  // leave the processor to the requests
  }
  std::FILE* out = std::fopen(root.Host("/tmp/reader-result").c_str(), "w");
  if (out == nullptr) return 1;
  std::fprintf(out, "%ld %ld %ld\n", reads, bad, regressions);
  std::fclose(out);
  return 0;
}

// These tests are about locking, not about storage: their sandbox lies on
// tmpfs where there is one, so that 800 fsyncs of a disk do not make up the
// run time (the strace tests check the flushes).
class ConcurrentEdits : public testing::Test {
 protected:
  ConcurrentEdits() : memory_root_(hardening::SandboxOnTmpfs()) {}
  hardening::ScopedTmpdir memory_root_;
  harness::SandboxRoot root;
};

TEST_F(ConcurrentEdits, EveryFieldOfEveryProcessTakesEffect) {
  root.WriteFile(kMailConf, MailStart());
  const pid_t reader = Fork(PollFile, root, 0);

  const auto start = std::chrono::steady_clock::now();
  std::vector<pid_t> workers;
  for (int port = 0; port < kWorkers; ++port) workers.push_back(Fork(EditPort, root, port));
  for (const pid_t worker : workers) ASSERT_EQ(ExitCode(worker), 0);
  const double elapsed = Seconds(start);
  int failed_requests = 0, lost_edits = 0;
  for (int port = 0; port < kWorkers; ++port) {
    int failed = -1, lost = -1;
    std::sscanf(root.ReadFile(WorkerResult(port)).c_str(), "%d %d", &failed, &lost);
    failed_requests += failed;
    lost_edits += lost;
  }

  root.WriteFile("/tmp/stop-reader", "");
  ASSERT_EQ(ExitCode(reader), 0);
  long reads = -1, bad = -1, regressions = -1;
  std::sscanf(root.ReadFile("/tmp/reader-result").c_str(), "%ld %ld %ld", &reads, &bad, &regressions);

  const harness::Bytes final_file = root.ReadFile(kMailConf);
  ASSERT_EQ(final_file.size(), kMailSize);
  int lost_at_end = 0;
  for (int port = 0; port < kWorkers; ++port) {
    const uint32_t pause = harness::GetU32(final_file, PauseTimeAt(port));
    EXPECT_EQ(pause, static_cast<uint32_t>(kRequestsPerWorker)) << "port " << port;
    lost_at_end += pause == kRequestsPerWorker ? 0 : 1;
  }
  EXPECT_EQ(lost_edits, 0);
  EXPECT_EQ(Unedited(final_file), Unedited(MailStart()));
  EXPECT_EQ(failed_requests, 0);
  EXPECT_GT(reads, 0);
  EXPECT_EQ(bad, 0);
  EXPECT_EQ(regressions, 0);
  EXPECT_EQ(hardening::TempFiles(root.Host(kMailDir)), std::vector<std::string>{});
  std::printf(
      "[ figures  ] %d processes x %d requests = %d requests in %.2f s (%.1f ms each) below %s: edits "
      "lost %d (fields not at their last value at the end: %d), failed requests %d; reader: %ld reads, "
      "%ld not a whole record, %ld fields gone back\n",
      kWorkers, kRequestsPerWorker, kWorkers * kRequestsPerWorker, elapsed,
      elapsed * 1000 / (kWorkers * kRequestsPerWorker), root.path().c_str(), lost_edits, lost_at_end,
      failed_requests, reads, bad, regressions);
}

// The text path: four processes each setting their own key of one text file
// through the text configuration library. Values grow from one digit to
// three, so the file's size changes under the waiting processes: each must
// read the file its lock guards, whole.
constexpr const char* kTextConf = "/opt/vsb/etc/esmta.conf";
constexpr int kTextEditsPerWorker = 60;

bool HasLine(const std::string& text, const std::string& line) {
  return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

int EditKey(const harness::SandboxRoot& root, int worker) {
  const std::string key = "KEY" + std::to_string(worker);
  int failures = 0, lost = 0;
  for (int i = 1; i <= kTextEditsPerWorker; ++i) {
    const std::string value = std::to_string(i * 11);
    if (hardening::Run(hardening::TcfgEdit(root, kTextConf, key, value)).exit_status != 0) ++failures;
    if (!HasLine(root.ReadFile(kTextConf), key + "=" + value)) ++lost;
  }
  std::FILE* out = std::fopen(root.Host(WorkerResult(worker)).c_str(), "w");
  if (out == nullptr) return 1;
  std::fprintf(out, "%d %d\n", failures, lost);
  std::fclose(out);
  return 0;
}

TEST_F(ConcurrentEdits, TextFileEditsOfDifferentKeysAllTakeEffect) {
  root.WriteFile(kTextConf, "# transmitter\r\nKEY0=0\r\nKEY1=0\r\nKEY2=0\r\nKEY3=0\r\nEND=yes\r\n");
  const auto start = std::chrono::steady_clock::now();
  std::vector<pid_t> workers;
  for (int worker = 0; worker < kWorkers; ++worker) workers.push_back(Fork(EditKey, root, worker));
  for (const pid_t worker : workers) ASSERT_EQ(ExitCode(worker), 0);
  const double elapsed = Seconds(start);
  int failed = 0, lost = 0;
  for (int worker = 0; worker < kWorkers; ++worker) {
    int worker_failed = -1, worker_lost = -1;
    std::sscanf(root.ReadFile(WorkerResult(worker)).c_str(), "%d %d", &worker_failed, &worker_lost);
    failed += worker_failed;
    lost += worker_lost;
  }
  const std::string last = std::to_string(kTextEditsPerWorker * 11);
  EXPECT_EQ(root.ReadFile(kTextConf), "# transmitter\nKEY0=" + last + "\nKEY1=" + last + "\nKEY2=" + last +
                                          "\nKEY3=" + last + "\nEND=yes\n");
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(lost, 0);
  EXPECT_EQ(hardening::TempFiles(root.Host("/opt/vsb/etc")), std::vector<std::string>{});
  std::printf(
      "[ figures  ] text file: %d processes x %d edits = %d edits in %.2f s, edits lost %d, failed %d\n",
      kWorkers, kTextEditsPerWorker, kWorkers * kTextEditsPerWorker, elapsed, lost, failed);
}

// A request started with its output thrown away, to be killed.
pid_t StartRequest(const harness::SandboxRoot& root, const std::string& query) {
  std::vector<std::string> env = {"GATEWAY_INTERFACE=CGI/1.1", "REQUEST_METHOD=GET", "QUERY_STRING=" + query,
                                  "NXCGI_ROOT=" + root.path()};
  std::vector<char*> envp;
  for (std::string& var : env) envp.push_back(var.data());
  envp.push_back(nullptr);
  std::string argv0 = "/cgi-bin/nxmailsvcport.cgi";
  char* argv[] = {argv0.data(), nullptr};
  const pid_t pid = fork();
  if (pid == 0) {
    const int null = open("/dev/null", O_RDWR);
    dup2(null, STDIN_FILENO);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    execve(NXCGI_BINARY, argv, envp.data());
    _exit(127);
  }
  return pid;
}

// The requests that are killed edit ports 0 to 2; meanwhile a worker edits
// port 3 and must lose no edit: a killed request's lock dies with it.
harness::Bytes WithoutPort3(harness::Bytes bytes) {
  harness::PutU32(bytes, PauseTimeAt(3), 0);
  return bytes;
}

TEST_F(ConcurrentEdits, RequestsKilledAtRandomMomentsLeaveTheOldOrTheNewFile) {
  root.WriteFile(kMailConf, MailStart());

  // How long a whole request takes here, to spread the kills over it.
  const auto timing = std::chrono::steady_clock::now();
  constexpr int kTimingRuns = 5;
  for (int i = 0; i < kTimingRuns; ++i) {
    harness::GetCgi("nxmailsvcport.cgi", PauseQuery(0, 1000 + i), root.path());
  }
  const long request_us = static_cast<long>(Seconds(timing) * 1e6 / kTimingRuns);
  harness::Bytes current = WithoutPort3(root.ReadFile(kMailConf));

  const pid_t worker = Fork(EditPort, root, 3);
  constexpr int kKills = 100;
  std::mt19937 random(20261123);
  std::uniform_int_distribution<long> delay(0, request_us + request_us / 2);
  int kept_old = 0, saved_new = 0, wrong = 0;
  for (int i = 1; i <= kKills; ++i) {
    harness::Bytes wanted = current;
    harness::PutU32(wanted, PauseTimeAt(i % 3), static_cast<uint32_t>(i));
    const pid_t request = StartRequest(root, PauseQuery(i % 3, i));
    SleepMicroseconds(delay(random));
    kill(request, SIGKILL);
    ExitCode(request);
    const harness::Bytes now = WithoutPort3(root.ReadFile(kMailConf));
    if (now == current) {
      ++kept_old;
    } else if (now == wanted) {
      ++saved_new;
    } else {
      ++wrong;
      ADD_FAILURE() << "kill " << i << ": " << harness::DescribeDifference(wanted, now);
    }
    current = now;
  }
  ASSERT_EQ(ExitCode(worker), 0);
  int worker_failed = -1, worker_lost = -1;
  std::sscanf(root.ReadFile(WorkerResult(3)).c_str(), "%d %d", &worker_failed, &worker_lost);
  EXPECT_EQ(worker_failed, 0);
  EXPECT_EQ(worker_lost, 0);
  EXPECT_EQ(harness::GetU32(root.ReadFile(kMailConf), PauseTimeAt(3)),
            static_cast<uint32_t>(kRequestsPerWorker));

  // The temporary files of killed requests go with the next save.
  ASSERT_EQ(harness::GetCgi("nxmailsvcport.cgi", PauseQuery(1, 7), root.path()).exit_status, 0);
  EXPECT_EQ(harness::GetU32(root.ReadFile(kMailConf), PauseTimeAt(1)), 7u);
  EXPECT_EQ(hardening::TempFiles(root.Host(kMailDir)), std::vector<std::string>{});
  std::printf(
      "[ figures  ] %d requests killed within %ld us: %d left the old file, %d the new one, %d anything "
      "else; "
      "meanwhile %d edits of another port: %d lost, %d failed\n",
      kKills, request_us + request_us / 2, kept_old, saved_new, wrong, kRequestsPerWorker, worker_lost,
      worker_failed);
}

}  // namespace

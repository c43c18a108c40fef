// Speed of the text configuration library on a file of 32768 lines, in ns per
// line, beside the plain floor of the same work: read() + memchr line count
// for loading, one write() of the same bytes for saving. The target for
// load_cfg + get_value is at most three times the plain count.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "config/text/tcfg_util.h"
#include "platform/host_root.h"

namespace {

constexpr int kLines = kTcfgMaxRows;
constexpr const char* kLoadPath = "/opt/vsb/etc/bench.conf";
constexpr const char* kSavePath = "/opt/vsb/etc/bench-saved.conf";
constexpr const char* kLastKey = "PARAM_32767";

std::string g_root;
std::string g_text;
// Final wall and CPU ns per line of each benchmark, for the summary.
std::map<std::string, std::pair<double, double>> g_per_line;

// Wall and CPU time of this process, so that figures taken on a busy machine
// can be told apart from time spent waiting.
struct Stamp {
  double wall_ns;
  double cpu_ns;
};

Stamp Now() {
  timespec wall;
  timespec cpu;
  clock_gettime(CLOCK_MONOTONIC, &wall);
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &cpu);
  return {wall.tv_sec * 1e9 + wall.tv_nsec, cpu.tv_sec * 1e9 + cpu.tv_nsec};
}

std::string HostPath(const char* device_path) { return platform::MapPath(device_path).c_str(); }

void WriteFileOrDie(const std::string& host_path, const std::string& text) {
  FILE* file = std::fopen(host_path.c_str(), "wb");
  if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file) != text.size() ||
      std::fclose(file) != 0) {
    std::perror(host_path.c_str());
    std::exit(1);
  }
}

void MakeFixture() {
  char pattern[] = "/tmp/tcfg-bench-XXXXXX";
  if (mkdtemp(pattern) == nullptr) {
    std::perror("mkdtemp");
    std::exit(1);
  }
  g_root = pattern;
  setenv("NXCGI_ROOT", g_root.c_str(), 1);
  std::filesystem::create_directories(g_root + "/opt/vsb/etc");
  char line[64];
  for (int i = 0; i < kLines; ++i) {
    std::snprintf(line, sizeof line, "PARAM_%05d=\"value %05d\"\n", i, i);
    g_text += line;
  }
  WriteFileOrDie(HostPath(kLoadPath), g_text);
  WriteFileOrDie(HostPath(kSavePath), g_text);
}

// Reports the CPU and wall time per line of the iterations just run.
void SetPerLine(benchmark::State& state, const char* name, Stamp start) {
  const Stamp end = Now();
  const double lines = static_cast<double>(state.iterations()) * kLines;
  const double cpu = (end.cpu_ns - start.cpu_ns) / lines;
  const double wall = (end.wall_ns - start.wall_ns) / lines;
  state.counters["cpu_ns_per_line"] = cpu;
  state.counters["wall_ns_per_line"] = wall;
  g_per_line[name] = {wall, cpu};
}

void BM_PlainReadCountLines(benchmark::State& state) {
  const std::string path = HostPath(kLoadPath);
  std::vector<char> buffer(g_text.size() + 1);
  const Stamp start = Now();
  for (auto _ : state) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t got = read(fd, buffer.data(), g_text.size());
    close(fd);
    int lines = 0;
    const char* p = buffer.data();
    const char* end = p + (got > 0 ? got : 0);
    while (const void* newline = std::memchr(p, '\n', static_cast<std::size_t>(end - p))) {
      ++lines;
      p = static_cast<const char*>(newline) + 1;
    }
    benchmark::DoNotOptimize(lines);
  }
  SetPerLine(state, "plain read+memchr", start);
}

void BM_LoadCfgGetLastValue(benchmark::State& state) {
  Tcfg* cfg = new_cfg(kLoadPath);
  char value[64];
  const Stamp start = Now();
  for (auto _ : state) {
    const int rows = load_cfg(cfg);
    const int row = get_value(cfg, kLastKey, value, sizeof value);
    if (rows != kLines || row != kLines - 1) state.SkipWithError("load or lookup failed");
    benchmark::DoNotOptimize(value);
  }
  SetPerLine(state, "load_cfg+get_value", start);
  free_cfg(cfg);
}

// What a request does: the whole object's life around one look-up.
void BM_NewLoadGetFree(benchmark::State& state) {
  char value[64];
  const Stamp start = Now();
  for (auto _ : state) {
    Tcfg* cfg = new_cfg(kLoadPath);
    const int rows = load_cfg(cfg);
    const int row = get_value(cfg, kLastKey, value, sizeof value);
    free_cfg(cfg);
    if (rows != kLines || row != kLines - 1) state.SkipWithError("load or lookup failed");
    benchmark::DoNotOptimize(value);
  }
  SetPerLine(state, "new+load+get+free", start);
}

void BM_PlainWrite(benchmark::State& state) {
  const std::string path = HostPath(kSavePath);
  const Stamp start = Now();
  for (auto _ : state) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const ssize_t written = write(fd, g_text.data(), g_text.size());
    close(fd);
    benchmark::DoNotOptimize(written);
  }
  SetPerLine(state, "plain write", start);
}

void BM_SaveCfg(benchmark::State& state) {
  Tcfg* cfg = new_cfg(kSavePath);
  load_cfg(cfg);
  set_value(cfg, "PARAM_00100", "changed");  // one owned line among the rest
  const Stamp start = Now();
  for (auto _ : state) {
    if (save_cfg(cfg) != 0) state.SkipWithError("save failed");
  }
  SetPerLine(state, "save_cfg", start);
  free_cfg(cfg);
}

BENCHMARK(BM_PlainReadCountLines);
BENCHMARK(BM_LoadCfgGetLastValue);
BENCHMARK(BM_NewLoadGetFree);
BENCHMARK(BM_PlainWrite);
BENCHMARK(BM_SaveCfg);

void PrintSummary() {
  const auto plain_read = g_per_line["plain read+memchr"];
  const auto plain_write = g_per_line["plain write"];
  std::printf("\nns per line, %d lines, %zu bytes (ratio: to the plain floor of the same work)\n", kLines,
              g_text.size());
  std::printf("  %-20s %10s %7s %10s %7s\n", "", "cpu", "ratio", "wall", "ratio");
  const struct {
    const char* name;
    std::pair<double, double> floor;
  } rows[] = {
      {"plain read+memchr", plain_read}, {"load_cfg+get_value", plain_read},
      {"new+load+get+free", plain_read}, {"plain write", plain_write},
      {"save_cfg", plain_write},
  };
  for (const auto& row : rows) {
    const auto [wall, cpu] = g_per_line[row.name];
    std::printf("  %-20s %10.2f %6.2fx %10.2f %6.2fx\n", row.name, cpu,
                row.floor.second > 0 ? cpu / row.floor.second : 0.0, wall,
                row.floor.first > 0 ? wall / row.floor.first : 0.0);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  MakeFixture();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  PrintSummary();
  std::error_code ignored;
  std::filesystem::remove_all(g_root, ignored);
  return 0;
}

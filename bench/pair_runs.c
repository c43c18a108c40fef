/* Runs two programs alternately, ROUNDS times each, with standard input from
 * a file and standard output to /dev/null, and prints the median wall time of
 * each (microseconds), the median of the per-pair ratios A/B, and the largest
 * peak resident size of A and of B (KiB, from wait4).
 *
 * Usage: pair_runs ROUNDS INPUT ARGV0_A PATH_A ARGV0_B PATH_B
 * Output: "A_US B_US RATIO A_MAXRSS_KIB B_MAXRSS_KIB"
 * The environment (the CGI variables) is passed to both programs. */
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static double NowUs(void) {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t.tv_sec * 1e6 + t.tv_nsec / 1e3;
}

/* Returns the wall time in microseconds; *max_rss_kib gets the peak. */
static double RunOnce(const char* input, const char* argv0, const char* path, long* max_rss_kib) {
  const double start = NowUs();
  const pid_t pid = fork();
  if (pid < 0) {
    perror("fork");
    exit(2);
  }
  if (pid == 0) {
    const int in = open(input, O_RDONLY);
    const int out = open("/dev/null", O_WRONLY);
    if (in < 0 || out < 0) _exit(126);
    dup2(in, 0);
    dup2(out, 1);
    dup2(out, 2);
    char* argv[] = {(char*)argv0, NULL};
    execv(path, argv);
    _exit(127);
  }
  int status = 0;
  struct rusage usage;
  if (wait4(pid, &status, 0, &usage) != pid) {
    perror("wait4");
    exit(2);
  }
  const double stop = NowUs();
  if (WIFEXITED(status) && WEXITSTATUS(status) == 127) {
    fprintf(stderr, "cannot run %s\n", path);
    exit(2);
  }
  if (usage.ru_maxrss > *max_rss_kib) *max_rss_kib = usage.ru_maxrss;
  return stop - start;
}

static int CompareDoubles(const void* a, const void* b) {
  const double x = *(const double*)a;
  const double y = *(const double*)b;
  return x < y ? -1 : x > y;
}

static double Median(double* values, int count) {
  qsort(values, count, sizeof *values, CompareDoubles);
  return count % 2 ? values[count / 2] : (values[count / 2 - 1] + values[count / 2]) / 2;
}

int main(int argc, char** argv) {
  if (argc != 7) {
    fprintf(stderr, "usage: pair_runs ROUNDS INPUT ARGV0_A PATH_A ARGV0_B PATH_B\n");
    return 2;
  }
  const int rounds = atoi(argv[1]);
  if (rounds < 1) return 2;
  double* a = malloc(sizeof(double) * rounds);
  double* b = malloc(sizeof(double) * rounds);
  double* ratio = malloc(sizeof(double) * rounds);
  long rss_a = 0;
  long rss_b = 0;
  /* Warm the page cache and the file system once. */
  RunOnce(argv[2], argv[3], argv[4], &rss_a);
  RunOnce(argv[2], argv[5], argv[6], &rss_b);
  for (int i = 0; i < rounds; ++i) {
    /* Alternate which one goes first, so neither always follows the other. */
    if (i % 2 == 0) {
      a[i] = RunOnce(argv[2], argv[3], argv[4], &rss_a);
      b[i] = RunOnce(argv[2], argv[5], argv[6], &rss_b);
    } else {
      b[i] = RunOnce(argv[2], argv[5], argv[6], &rss_b);
      a[i] = RunOnce(argv[2], argv[3], argv[4], &rss_a);
    }
    ratio[i] = a[i] / b[i];
  }
  printf("%.1f %.1f %.3f %ld %ld\n", Median(a, rounds), Median(b, rounds), Median(ratio, rounds), rss_a,
         rss_b);
  return 0;
}

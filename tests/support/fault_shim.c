// A library for LD_PRELOAD that makes writes of a program fail, or ends the program at one of them.
//
//   FAULTS=CALLS:WHEN:WHAT
//     CALLS  write, sync, truncate, rename, unlink or all
//     WHEN   5 (only the fifth), 5+ (the fifth and all after it) or /5 (each fifth); 0 for none
//     WHAT   ENOSPC, EIO or EINTR: the call fails so and does nothing
//            short: half of the bytes are written, which is no error
//            before, after: SIGKILL at the call; torn: half of the bytes and SIGKILL
//   FAULTS_LOG=FILE  gets a line for each call: CALL FUNCTION FILE, and 1 if something was done to
//   it
//
// Standard input, output and error are left alone. Only calls of the program itself are met, not
// those within the C library.
//
// Used and tested by tests/index_faults_test.py.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

enum action { PASS, FAIL, SHORT, BEFORE, AFTER, TORN };

static char calls[16];
static unsigned long first = 0;
static char repeats = 0;  // '+', '/' or none
static enum action wanted = PASS;
static int error_number = 0;
static int log_file = -1;
static atomic_ulong count = 0;

static void set_action(const char* what) {
  static const struct {
    const char* name;
    enum action action;
    int error;
  } ROWS[] = {{"ENOSPC", FAIL, ENOSPC}, {"EIO", FAIL, EIO},    {"EINTR", FAIL, EINTR},
              {"short", SHORT, 0},      {"before", BEFORE, 0}, {"after", AFTER, 0},
              {"torn", TORN, 0}};
  for (size_t i = 0; i < sizeof ROWS / sizeof *ROWS; ++i) {
    if (strcmp(what, ROWS[i].name) != 0) continue;
    wanted = ROWS[i].action;
    error_number = ROWS[i].error;
    return;
  }
  abort();
}

__attribute__((constructor)) static void read_environment(void) {
  const char* const faults = getenv("FAULTS");
  const char* const log = getenv("FAULTS_LOG");
  if (log) log_file = open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (!faults) return;
  char when[32];
  char what[16];
  if (sscanf(faults, "%15[^:]:%31[^:]:%15s", calls, when, what) != 3) abort();
  repeats = when[0] == '/' ? '/' : 0;
  char* end = NULL;
  first = strtoul(when + (repeats != 0), &end, 10);
  if (*end == '+') repeats = '+';
  set_action(what);
}

static void log_call(const char* call, const char* function, const char* file, int is_hit) {
  if (log_file < 0) return;
  char line[512];
  const int size = snprintf(line, sizeof line, "%s %s %s %d\n", call, function, file, is_hit);
  syscall(SYS_write, log_file, line, (size_t)size < sizeof line ? (size_t)size : sizeof line);
}

// Counts the call, and gives what is to be done to it.
static enum action action_at(const char* call, const char* function, const char* file) {
  int is_hit = 0;
  if (strcmp(calls, "all") == 0 || strcmp(calls, call) == 0) {
    const unsigned long number = atomic_fetch_add(&count, 1) + 1;
    is_hit = first != 0 && (repeats == '+'   ? number >= first
                            : repeats == '/' ? number % first == 0
                                             : number == first);
  }
  log_call(call, function, file, is_hit);
  if (is_hit && wanted == BEFORE) kill(getpid(), SIGKILL);
  return is_hit ? wanted : PASS;
}

static enum action action_of(const char* call, const char* function, int file) {
  if (file < 3) return PASS;
  char link[64];
  char name[256];
  snprintf(link, sizeof link, "/proc/self/fd/%d", file);
  const ssize_t size = log_file < 0 ? 0 : readlink(link, name, sizeof name - 1);
  name[size > 0 ? size : 0] = '\0';
  return action_at(call, function, name);
}

static long failed(void) {
  errno = error_number;
  return -1;
}

static long ended(long result) {
  kill(getpid(), SIGKILL);
  return result;
}

static ssize_t put(const char* function, int file, const void* bytes, size_t size, off_t place) {
  const enum action action = action_of("write", function, file);
  if (action == FAIL) return failed();
  if ((action == SHORT || action == TORN) && size > 1) size /= 2;
  const ssize_t written = place < 0 ? syscall(SYS_write, file, bytes, size)
                                    : syscall(SYS_pwrite64, file, bytes, size, place);
  return action == AFTER || action == TORN ? ended(written) : written;
}

static int simple(const char* call, const char* function, int file, long (*real)(int, off_t),
                  off_t argument) {
  const enum action action = action_of(call, function, file);
  if (action == FAIL) return (int)failed();
  const long result = real(file, argument);
  return (int)(action == AFTER || action == TORN ? ended(result) : result);
}

static long real_fsync(int file, off_t unused) {
  (void)unused;
  return syscall(SYS_fsync, file);
}
static long real_fdatasync(int file, off_t unused) {
  (void)unused;
  return syscall(SYS_fdatasync, file);
}
static long real_ftruncate(int file, off_t size) { return syscall(SYS_ftruncate, file, size); }

ssize_t write(int file, const void* bytes, size_t size) {
  return put("write", file, bytes, size, -1);
}
ssize_t pwrite(int file, const void* bytes, size_t size, off_t place) {
  return put("pwrite", file, bytes, size, place);
}
ssize_t pwrite64(int file, const void* bytes, size_t size, off64_t place) {
  return put("pwrite64", file, bytes, size, place);
}
// Writes the first piece only, which pwritev may do.
ssize_t pwritev(int file, const struct iovec* pieces, int pieces_size, off_t place) {
  (void)pieces_size;
  return put("pwritev", file, pieces->iov_base, pieces->iov_len, place);
}
int fsync(int file) { return simple("sync", "fsync", file, real_fsync, 0); }
int fdatasync(int file) { return simple("sync", "fdatasync", file, real_fdatasync, 0); }
int ftruncate(int file, off_t size) {
  return simple("truncate", "ftruncate", file, real_ftruncate, size);
}
int ftruncate64(int file, off64_t size) {
  return simple("truncate", "ftruncate64", file, real_ftruncate, size);
}

static int by_name(const char* call, const char* function, const char* shown, long number,
                   int old_folder, const char* old_path, int new_folder, const char* new_path) {
  const enum action action = action_at(call, function, shown);
  if (action == FAIL) return (int)failed();
  const long result = syscall(number, old_folder, old_path, new_folder, new_path, 0);
  return (int)(action == AFTER || action == TORN ? ended(result) : result);
}

int rename(const char* from, const char* to) {
  return by_name("rename", "rename", to, SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to);
}
int renameat(int from_folder, const char* from, int to_folder, const char* to) {
  return by_name("rename", "renameat", to, SYS_renameat2, from_folder, from, to_folder, to);
}
int unlink(const char* path) {
  return by_name("unlink", "unlink", path, SYS_unlinkat, AT_FDCWD, path, 0, NULL);
}

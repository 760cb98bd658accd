// libccaddin_fault_injector.so: loaded with LD_PRELOAD into a till (or ccaddin-till) running
// a sale, it stops the process at a chosen step, so that an integrator can see what the
// till and the add-in leave behind after a crash or on a full disk. A step
// is a call that changes a file under CCADDIN_FAULT_ROOT (creating or opening for writing,
// writing, syncing, renaming, removing, making a folder): between two steps nothing
// durable changes, so stopping before each step in turn reaches every state a crash or a
// full disk can leave behind.
//   CCADDIN_FAULT_AT=N     the step to act on (0: only count; the count is written to
//                          standard error at exit as "fault-injector steps=N")
//   CCADDIN_FAULT_MODE=kill        the process is killed (SIGKILL) just before step N
//   CCADDIN_FAULT_MODE=disk-full   from step N on, every write that needs space fails ENOSPC
//   CCADDIN_FAULT_SKIP=TEXT:TEXT   files whose path holds one of the texts are not watched
//   CCADDIN_FAULT_EVERY_WRITE=1    each piece written is a step (by default the pieces
//                                  written one after another to one file are one step)
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

const char* root = nullptr;
size_t root_size = 0;
long fault_at = 0;
bool kill_mode = false;
long steps = 0;
const char* skip = nullptr;
bool every_write = false;
int last_written_fd = -1;

__attribute__((constructor)) void Init() {
  root = std::getenv("CCADDIN_FAULT_ROOT");
  root_size = root != nullptr ? std::strlen(root) : 0;
  const char* at = std::getenv("CCADDIN_FAULT_AT");
  fault_at = at != nullptr ? std::atol(at) : 0;
  const char* mode = std::getenv("CCADDIN_FAULT_MODE");
  kill_mode = mode != nullptr && std::strcmp(mode, "kill") == 0;
  skip = std::getenv("CCADDIN_FAULT_SKIP");
  every_write = std::getenv("CCADDIN_FAULT_EVERY_WRITE") != nullptr;
}

__attribute__((destructor)) void Report() {
  char line[64];
  const int n = std::snprintf(line, sizeof line, "fault-injector steps=%ld\n", steps);
  if (fault_at == 0 && n > 0) (void)!::write(2, line, static_cast<size_t>(n));
}

bool Skipped(const char* path) {
  char text[256];
  for (const char* from = skip; from != nullptr && *from != '\0';) {
    const char* end = std::strchr(from, ':');
    const size_t size = end != nullptr ? static_cast<size_t>(end - from) : std::strlen(from);
    std::snprintf(text, sizeof text, "%.*s", static_cast<int>(size), from);
    if (size != 0 && std::strstr(path, text) != nullptr) return true;
    from = end != nullptr ? end + 1 : nullptr;
  }
  return false;
}

bool Watched(const char* path) {
  return root_size != 0 && path != nullptr && std::strncmp(path, root, root_size) == 0 &&
         !Skipped(path);
}

bool WatchedFd(int fd) {
  char link[64];
  char path[4096];
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
  const ssize_t n = ::readlink(link, path, sizeof path - 1);
  if (n <= 0) return false;
  path[n] = '\0';
  return Watched(path);
}

// Counts a step; true when it must fail (the disk is full from the chosen step on).
bool Step(bool needs_space, int written_fd = -1) {
  const bool same_write = written_fd >= 0 && written_fd == last_written_fd && !every_write;
  last_written_fd = written_fd;
  if (!same_write) ++steps;
  if (fault_at == 0 || steps < fault_at) return false;
  if (kill_mode) {
    if (steps == fault_at && !same_write) ::kill(::getpid(), SIGKILL);
    return false;
  }
  if (!needs_space) return false;
  errno = ENOSPC;
  return true;
}

template <typename F>
F Next(const char* name) {
  return reinterpret_cast<F>(::dlsym(RTLD_NEXT, name));
}

bool OpensForWriting(int flags) {
  return (flags & (O_WRONLY | O_RDWR | O_CREAT | O_TRUNC | O_APPEND)) != 0;
}

bool Exists(const char* path) {
  struct stat st;
  return ::lstat(path, &st) == 0;
}

int OpenStep(const char* path, int flags) {
  if (!Watched(path) || !OpensForWriting(flags)) return 0;
  return Step((flags & O_CREAT) != 0 && !Exists(path)) ? -1 : 0;
}

}  // namespace

extern "C" {

// The mode argument exists only when the flags create a file.
#define CCADDIN_MODE(flags)                     \
  mode_t mode = 0;                              \
  if (((flags) & (O_CREAT | O_TMPFILE)) != 0) { \
    va_list args;                               \
    va_start(args, flags);                      \
    mode = va_arg(args, mode_t);                \
    va_end(args);                               \
  }

int open(const char* path, int flags, ...) {
  CCADDIN_MODE(flags);
  if (OpenStep(path, flags) != 0) return -1;
  return Next<int (*)(const char*, int, ...)>("open")(path, flags, mode);
}
int open64(const char* path, int flags, ...) {
  CCADDIN_MODE(flags);
  if (OpenStep(path, flags) != 0) return -1;
  return Next<int (*)(const char*, int, ...)>("open64")(path, flags, mode);
}
int openat(int dir, const char* path, int flags, ...) {
  CCADDIN_MODE(flags);
  if (OpenStep(path, flags) != 0) return -1;
  return Next<int (*)(int, const char*, int, ...)>("openat")(dir, path, flags, mode);
}
int openat64(int dir, const char* path, int flags, ...) {
  CCADDIN_MODE(flags);
  if (OpenStep(path, flags) != 0) return -1;
  return Next<int (*)(int, const char*, int, ...)>("openat64")(dir, path, flags, mode);
}

FILE* fopen(const char* path, const char* mode) {
  const bool writing = std::strpbrk(mode, "wa+") != nullptr;
  if (writing && Watched(path) && Step(!Exists(path))) return nullptr;
  return Next<FILE* (*)(const char*, const char*)>("fopen")(path, mode);
}
FILE* fopen64(const char* path, const char* mode) {
  const bool writing = std::strpbrk(mode, "wa+") != nullptr;
  if (writing && Watched(path) && Step(!Exists(path))) return nullptr;
  return Next<FILE* (*)(const char*, const char*)>("fopen64")(path, mode);
}

ssize_t write(int fd, const void* data, size_t size) {
  if (WatchedFd(fd) && Step(size > 0, fd)) return -1;
  return Next<ssize_t (*)(int, const void*, size_t)>("write")(fd, data, size);
}
ssize_t pwrite64(int fd, const void* data, size_t size, off64_t at) {
  if (WatchedFd(fd) && Step(size > 0, fd)) return -1;
  return Next<ssize_t (*)(int, const void*, size_t, off64_t)>("pwrite64")(fd, data, size, at);
}
ssize_t pwrite(int fd, const void* data, size_t size, off_t at) {
  if (WatchedFd(fd) && Step(size > 0, fd)) return -1;
  return Next<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite")(fd, data, size, at);
}
size_t fwrite(const void* data, size_t size, size_t count, FILE* file) {
  if (WatchedFd(::fileno(file)) && Step(size * count > 0, ::fileno(file))) return 0;
  return Next<size_t (*)(const void*, size_t, size_t, FILE*)>("fwrite")(data, size, count, file);
}
int fsync(int fd) {
  if (WatchedFd(fd) && Step(true)) return -1;
  return Next<int (*)(int)>("fsync")(fd);
}
int fdatasync(int fd) {
  if (WatchedFd(fd) && Step(true)) return -1;
  return Next<int (*)(int)>("fdatasync")(fd);
}
int rename(const char* from, const char* to) {
  if (Watched(to)) (void)Step(false);
  return Next<int (*)(const char*, const char*)>("rename")(from, to);
}
int renameat2(int from_dir, const char* from, int to_dir, const char* to, unsigned flags) {
  if (Watched(to)) (void)Step(false);
  return Next<int (*)(int, const char*, int, const char*, unsigned)>("renameat2")(
      from_dir, from, to_dir, to, flags);
}
int unlink(const char* path) {
  if (Watched(path)) (void)Step(false);
  return Next<int (*)(const char*)>("unlink")(path);
}
int remove(const char* path) {
  if (Watched(path)) (void)Step(false);
  return Next<int (*)(const char*)>("remove")(path);
}
int mkdir(const char* path, mode_t mode) {
  if (Watched(path) && Step(true)) return -1;
  return Next<int (*)(const char*, mode_t)>("mkdir")(path, mode);
}

}  // extern "C"

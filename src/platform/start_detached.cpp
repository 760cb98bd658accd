// The real Env's detached process start, kept apart from the clock because it is the
// one place that forks inside the till's process.
#include <fcntl.h>
#include <linux/close_range.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "platform/env.h"

namespace ccaddin {

namespace {

// Between fork and exec the till may have had other threads, so the children below use
// async-signal-safe calls only.
[[noreturn]] void ReportAndExit(int report_fd, int error) {
  ssize_t ignored = write(report_fd, &error, sizeof error);
  (void)ignored;
  _exit(127);
}

[[noreturn]] void RunDetached(const char* program, int report_fd) {
  // The new session has no controlling terminal; the grandchild below is not its leader,
  // so it can never acquire one, and its parent exits at once so that init adopts it.
  setsid();
  const pid_t pid = fork();
  if (pid < 0) ReportAndExit(report_fd, errno);
  if (pid > 0) _exit(0);

  const int null = open("/dev/null", O_RDWR);
  if (null < 0) ReportAndExit(report_fd, errno);
  for (int fd = 0; fd <= 2; ++fd) {
    if (dup2(null, fd) < 0) ReportAndExit(report_fd, errno);
  }
  if (null > 2) close(null);

  // The till's signal mask and ignored signals would otherwise pass to the script.
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  struct sigaction dfl {};
  dfl.sa_handler = SIG_DFL;
  for (int sig = 1; sig < NSIG; ++sig) sigaction(sig, &dfl, nullptr);

  // The script must not hold the till's files, sockets or serial port. Marking them
  // close-on-exec rather than closing them keeps the report pipe open until exec.
  if (syscall(SYS_close_range, 3U, ~0U, CLOSE_RANGE_CLOEXEC) != 0) {
    for (int fd = 3; fd < 65536; ++fd) {
      if (fd != report_fd) fcntl(fd, F_SETFD, FD_CLOEXEC);
    }
  }

  char* const argv[] = {const_cast<char*>(program), nullptr};
  execv(program, argv);
  ReportAndExit(report_fd, errno);
}

}  // namespace

bool Env::StartDetached(const std::string& program, std::string* error) {
  const auto fail = [&](int e) {
    if (error) *error = std::strerror(e);
    return false;
  };
  // The grandchild writes its errno here when it cannot start; a successful exec closes
  // the pipe, which is how we know the program runs.
  int report[2];
  if (pipe2(report, O_CLOEXEC) != 0) return fail(errno);
  const pid_t middle = fork();
  if (middle < 0) {
    const int e = errno;
    close(report[0]);
    close(report[1]);
    return fail(e);
  }
  if (middle == 0) {
    close(report[0]);
    RunDetached(program.c_str(), report[1]);
  }
  close(report[1]);
  // The middle process exits straight after its fork; reaping it leaves no zombie.
  // ECHILD means the till ignores SIGCHLD and the kernel has reaped it already.
  int status = 0;
  while (waitpid(middle, &status, 0) < 0 && errno == EINTR) {
  }
  int child_error = 0;
  ssize_t n = 0;
  while ((n = read(report[0], &child_error, sizeof child_error)) < 0 && errno == EINTR) {
  }
  close(report[0]);
  if (n == static_cast<ssize_t>(sizeof child_error)) return fail(child_error);
  return true;
}

}  // namespace ccaddin

// Test helper: a null-modem cable made of two pseudo-terminals joined by socat. What the
// component writes to near() comes out at the far end, which the test reads raw as a
// device would. Header-only; the socat process lives as long as the object.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "support/temp_dir.h"

namespace ccaddin::testing {

class SocatLine {
 public:
  SocatLine() : near_(dir_.file("ttyA")), far_(dir_.file("ttyB")) {
    using namespace std::chrono_literals;
    pid_ = fork();
    if (pid_ == 0) {
      const int null = open("/dev/null", O_WRONLY);
      dup2(null, 2);
      execlp("socat", "socat", ("pty,raw,echo=0,link=" + near_).c_str(),
             ("pty,raw,echo=0,link=" + far_).c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (!(std::filesystem::exists(near_) && std::filesystem::exists(far_)) &&
           std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(10ms);
    }
    far_fd_ = open(far_.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (far_fd_ >= 0) {
      termios t{};
      tcgetattr(far_fd_, &t);
      cfmakeraw(&t);
      tcsetattr(far_fd_, TCSANOW, &t);
    }
  }
  ~SocatLine() {
    if (far_fd_ >= 0) close(far_fd_);
    if (pid_ > 0) {
      kill(pid_, SIGTERM);
      waitpid(pid_, nullptr, 0);
    }
  }
  SocatLine(const SocatLine&) = delete;
  SocatLine& operator=(const SocatLine&) = delete;

  [[nodiscard]] bool ready() const { return far_fd_ >= 0; }
  [[nodiscard]] const std::string& near() const { return near_; }

  // Everything that reaches the far end until `count` bytes have come or `wait` passes.
  [[nodiscard]] std::string ReceiveAtFar(size_t count,
                                         std::chrono::milliseconds wait = std::chrono::seconds(2)) const {
    std::string got;
    const auto deadline = std::chrono::steady_clock::now() + wait;
    char buffer[4096];
    while (got.size() < count && std::chrono::steady_clock::now() < deadline) {
      pollfd p{far_fd_, POLLIN, 0};
      if (poll(&p, 1, 20) > 0) {
        const ssize_t n = read(far_fd_, buffer, sizeof buffer);
        if (n > 0) got.append(buffer, static_cast<size_t>(n));
      }
    }
    return got;
  }

 private:
  TempDir dir_;
  std::string near_;
  std::string far_;
  pid_t pid_ = -1;
  int far_fd_ = -1;
};

}  // namespace ccaddin::testing

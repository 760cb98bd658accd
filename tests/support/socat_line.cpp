#include "support/socat_line.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

namespace ccaddin::testing {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

SocatLine::SocatLine() {
  near_ = dir_.file("ttyA");
  far_ = dir_.file("ttyB");
  pid_ = fork();
  if (pid_ == 0) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, 2);
    execlp("socat", "socat", ("pty,raw,echo=0,link=" + near_).c_str(),
           ("pty,raw,echo=0,link=" + far_).c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  const auto deadline = Clock::now() + 5s;
  while (!(std::filesystem::exists(near_) && std::filesystem::exists(far_)) &&
         Clock::now() < deadline) {
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

SocatLine::~SocatLine() {
  if (far_fd_ >= 0) close(far_fd_);
  Stop();
}

void SocatLine::Stop() {
  if (pid_ <= 0) return;
  kill(pid_, SIGTERM);
  waitpid(pid_, nullptr, 0);
  pid_ = 0;
}

void SocatLine::SendFromFar(const std::string& bytes) const {
  ASSERT_EQ(write(far_fd_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
}

std::string SocatLine::ReceiveAtFar(size_t count, std::chrono::milliseconds wait) const {
  std::string got;
  const auto deadline = Clock::now() + wait;
  char buffer[4096];
  while (got.size() < count && Clock::now() < deadline) {
    pollfd p{far_fd_, POLLIN, 0};
    if (poll(&p, 1, 20) > 0) {
      const ssize_t n = read(far_fd_, buffer, sizeof buffer);
      if (n > 0) got.append(buffer, static_cast<size_t>(n));
    }
  }
  return got;
}

}  // namespace ccaddin::testing

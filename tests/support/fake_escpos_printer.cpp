#include "support/fake_escpos_printer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

namespace ccaddin::testing {
namespace {

constexpr char kStatusRequest[] = "\x10\x04\x01";

int ListenOnLoopback(uint16_t& port) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) throw std::runtime_error("socket");
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof addr;
  if (bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || listen(fd, 4) != 0 ||
      getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &size) != 0) {
    close(fd);
    throw std::runtime_error("bind/listen");
  }
  port = ntohs(addr.sin_port);
  return fd;
}

}  // namespace

FakeEscPosPrinter::FakeEscPosPrinter(FakePrinterBehaviour behaviour) : behaviour_(behaviour) {
  listen_fd_ = ListenOnLoopback(port_);
  if (pipe(wake_fds_) != 0) throw std::runtime_error("pipe");
  thread_ = std::thread([this] { Serve(); });
}

FakeEscPosPrinter::~FakeEscPosPrinter() {
  const char stop = 'x';
  (void)!write(wake_fds_[1], &stop, 1);
  thread_.join();
  close(listen_fd_);
  close(wake_fds_[0]);
  close(wake_fds_[1]);
}

uint16_t FakeEscPosPrinter::UnusedPort() {
  uint16_t port = 0;
  close(ListenOnLoopback(port));
  return port;
}

std::string FakeEscPosPrinter::received() const {
  std::lock_guard lock(mutex_);
  return received_;
}

int FakeEscPosPrinter::connections() const {
  std::lock_guard lock(mutex_);
  return connections_;
}

std::string FakeEscPosPrinter::WaitFor(size_t count) const {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, std::chrono::seconds(2), [&] { return received_.size() >= count; });
  return received_;
}

void FakeEscPosPrinter::Serve() {
  for (;;) {
    pollfd p[2] = {{listen_fd_, POLLIN, 0}, {wake_fds_[0], POLLIN, 0}};
    if (poll(p, 2, -1) < 0) continue;
    if (p[1].revents != 0) return;
    const int fd = accept4(listen_fd_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) continue;
    {
      std::lock_guard lock(mutex_);
      ++connections_;
    }
    ServeConnection(fd);
    close(fd);
  }
}

void FakeEscPosPrinter::ServeConnection(int fd) {
  std::string mine;  // this connection's bytes, to find requests split over reads
  size_t scanned = 0;
  for (;;) {
    pollfd p[2] = {{fd, POLLIN, 0}, {wake_fds_[0], POLLIN, 0}};
    if (poll(p, 2, -1) < 0) continue;
    if (p[1].revents != 0) return;
    char buffer[4096];
    size_t room = sizeof buffer;
    if (behaviour_.hang_up_after) room = std::min(room, *behaviour_.hang_up_after - mine.size());
    const ssize_t n = read(fd, buffer, room);
    if (n <= 0) return;
    mine.append(buffer, static_cast<size_t>(n));
    {
      std::lock_guard lock(mutex_);
      received_.append(buffer, static_cast<size_t>(n));
    }
    changed_.notify_all();
    if (behaviour_.hang_up_after && mine.size() >= *behaviour_.hang_up_after) return;
    for (size_t at; (at = mine.find(kStatusRequest, scanned, 3)) != std::string::npos;) {
      scanned = at + 3;
      if (behaviour_.status) {
        const char status = static_cast<char>(*behaviour_.status);
        (void)!write(fd, &status, 1);
      }
    }
  }
}

}  // namespace ccaddin::testing

// A receipt printer on the loopback network for tests: listens on 127.0.0.1 (a port the
// system picks), takes one connection at a time, keeps every byte it receives, answers
// real-time status requests, and can hang up or fall silent on demand. Runs its own
// thread; every wait is bounded.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace ccaddin::testing {

struct FakePrinterBehaviour {
  // The status byte sent for each DLE EOT 1; nothing means the request is ignored.
  std::optional<uint8_t> status = 0x12;  // online, no error
  // Hang up once this many bytes have come over the connection.
  std::optional<size_t> hang_up_after;
};

class FakeEscPosPrinter {
 public:
  explicit FakeEscPosPrinter(FakePrinterBehaviour behaviour = {});
  ~FakeEscPosPrinter();
  FakeEscPosPrinter(const FakeEscPosPrinter&) = delete;
  FakeEscPosPrinter& operator=(const FakeEscPosPrinter&) = delete;

  [[nodiscard]] uint16_t port() const { return port_; }
  [[nodiscard]] std::string uri() const { return "tcp://127.0.0.1:" + std::to_string(port_); }
  // Every byte received so far, over all connections.
  [[nodiscard]] std::string received() const;
  // Waits (up to two seconds) until `count` bytes have come, then returns them all.
  [[nodiscard]] std::string WaitFor(size_t count) const;
  [[nodiscard]] int connections() const;

  // A loopback port on which nothing listens, for refused connections.
  [[nodiscard]] static uint16_t UnusedPort();

 private:
  void Serve();
  void ServeConnection(int fd);

  FakePrinterBehaviour behaviour_;
  int listen_fd_ = -1;
  int wake_fds_[2] = {-1, -1};
  uint16_t port_ = 0;
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::string received_;
  int connections_ = 0;
  std::thread thread_;
};

}  // namespace ccaddin::testing

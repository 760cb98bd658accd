// A null-modem cable for tests: two pseudo-terminals joined by a socat process that the
// object starts and stops. The test reaches near() through the code under test and
// plays the device at the far end, which is opened raw as a device would be. Waits
// (for socat to come up, for bytes to arrive) are bounded.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

#include "support/temp_dir.h"

namespace ccaddin::testing {

class SocatLine {
 public:
  SocatLine();
  ~SocatLine();
  SocatLine(const SocatLine&) = delete;
  SocatLine& operator=(const SocatLine&) = delete;

  // Ends socat: both terminals go away, as when the cable is pulled.
  void Stop();

  [[nodiscard]] bool ready() const { return far_fd_ >= 0; }
  [[nodiscard]] const std::string& near() const { return near_; }
  [[nodiscard]] const TempDir& dir() const { return dir_; }

  void SendFromFar(const std::string& bytes) const;
  // Everything that reaches the far end until `count` bytes have come or `wait` passes.
  [[nodiscard]] std::string ReceiveAtFar(
      size_t count, std::chrono::milliseconds wait = std::chrono::seconds(2)) const;

 private:
  TempDir dir_;
  std::string near_;
  std::string far_;
  pid_t pid_ = -1;
  int far_fd_ = -1;
};

}  // namespace ccaddin::testing

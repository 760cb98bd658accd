#include "receipts/escpos_printer.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <functional>

#include "platform/serial.h"
#include "platform/trap.h"

namespace ccaddin {

// Its operations throw Failure (a CodedFailure when the result code matters).
class PrinterLink {
 public:
  virtual ~PrinterLink() = default;
  virtual void Write(const std::string& bytes) = 0;
  // One byte from the device, or nothing when none came within timeout_ms.
  virtual std::optional<uint8_t> ReadByte(int32_t timeout_ms) = 0;
};

namespace {

// A failure that carries the result code the caller should see.
class CodedFailure : public Failure {
 public:
  CodedFailure(int32_t code, const std::string& text) : Failure(text), code_(code) {}
  [[nodiscard]] int32_t code() const { return code_; }

 private:
  int32_t code_;
};

// Windows-1252 0x80-0xFF to the printer's power-on table (code page 437); characters
// that table lacks print as "?".
constexpr std::array<uint8_t, 128> kCp1252ToCp437 = {
    0x3F, 0x3F, 0x3F, 0x9F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F,
    0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F,
    0xFF, 0xAD, 0x9B, 0x9C, 0x3F, 0x9D, 0x3F, 0x3F, 0x3F, 0x3F, 0xA6, 0xAE, 0xAA, 0x3F, 0x3F, 0x3F,
    0xF8, 0xF1, 0xFD, 0x3F, 0x3F, 0xE6, 0x3F, 0xFA, 0x3F, 0x3F, 0xA7, 0xAF, 0xAC, 0xAB, 0x3F, 0xA8,
    0x3F, 0x3F, 0x3F, 0x3F, 0x8E, 0x8F, 0x92, 0x80, 0x3F, 0x90, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F,
    0x3F, 0xA5, 0x3F, 0x3F, 0x3F, 0x3F, 0x99, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x9A, 0x3F, 0x3F, 0xE1,
    0x85, 0xA0, 0x83, 0x3F, 0x84, 0x86, 0x91, 0x87, 0x8A, 0x82, 0x88, 0x89, 0x8D, 0xA1, 0x8C, 0x8B,
    0x3F, 0xA4, 0x95, 0xA2, 0x93, 0x3F, 0x94, 0xF6, 0x3F, 0x97, 0xA3, 0x96, 0x81, 0x3F, 0x3F, 0x98,
};

std::string ErrnoText() {
  return std::strerror(errno);
}

// Waits for `events` on fd; false when the time ran out.
bool WaitFor(int fd, short events, int32_t timeout_ms) {
  pollfd p{fd, events, 0};
  for (;;) {
    const int n = poll(&p, 1, timeout_ms);
    if (n > 0) return true;
    if (n == 0) return false;
    if (errno != EINTR) ThrowErrno();
  }
}

class FdLink : public PrinterLink {
 public:
  explicit FdLink(int fd, int32_t timeout_ms) : fd_(fd), timeout_ms_(timeout_ms) {}
  ~FdLink() override { close(fd_); }
  FdLink(const FdLink&) = delete;
  FdLink& operator=(const FdLink&) = delete;

  void Write(const std::string& bytes) override {
    size_t done = 0;
    while (done < bytes.size()) {
      if (!WaitFor(fd_, POLLOUT, timeout_ms_)) {
        throw CodedFailure(OPOS_E_TIMEOUT, "The printer stopped taking data");
      }
      const ssize_t n = is_socket_
                            ? send(fd_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL)
                            : write(fd_, bytes.data() + done, bytes.size() - done);
      if (n < 0) {
        if (errno == EINTR || errno == EAGAIN) continue;
        throw CodedFailure(OPOS_E_FAILURE, "Connection lost - " + ErrnoText());
      }
      done += static_cast<size_t>(n);
    }
  }

  std::optional<uint8_t> ReadByte(int32_t timeout_ms) override {
    for (;;) {
      if (!WaitFor(fd_, POLLIN, timeout_ms)) return std::nullopt;
      uint8_t byte = 0;
      const ssize_t n = read(fd_, &byte, 1);
      if (n == 1) return byte;
      if (n == 0) throw CodedFailure(OPOS_E_FAILURE, "Connection closed by the printer");
      if (errno != EINTR && errno != EAGAIN) {
        throw CodedFailure(OPOS_E_FAILURE, "Connection lost - " + ErrnoText());
      }
    }
  }

  void set_socket() { is_socket_ = true; }

 private:
  int fd_;
  int32_t timeout_ms_;
  bool is_socket_ = false;
};

std::unique_ptr<PrinterLink> ConnectTcp(const PrinterMapping& m, int32_t timeout_ms) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int rc = getaddrinfo(m.host.c_str(), std::to_string(m.port).c_str(), &hints, &found);
  if (rc != 0) throw CodedFailure(OPOS_E_NOHARDWARE, gai_strerror(rc));
  std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, freeaddrinfo);
  std::string last_error = "No address";
  for (const addrinfo* a = found; a != nullptr; a = a->ai_next) {
    const int fd =
        socket(a->ai_family, a->ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, a->ai_protocol);
    if (fd < 0) ThrowErrno();
    auto link = std::make_unique<FdLink>(fd, m.timeout_ms);
    link->set_socket();
    // Each call ends with a small status request whose answer the call waits for;
    // without this it would sit out the delayed acknowledgement of the data before it.
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (connect(fd, a->ai_addr, a->ai_addrlen) == 0) return link;
    if (errno != EINPROGRESS) {
      last_error = ErrnoText();
      continue;
    }
    if (!WaitFor(fd, POLLOUT, timeout_ms)) {
      throw CodedFailure(OPOS_E_TIMEOUT, "No answer from the printer");
    }
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size);
    if (error == 0) return link;
    last_error = std::strerror(error);
  }
  throw CodedFailure(OPOS_E_NOHARDWARE, last_error);
}

std::unique_ptr<PrinterLink> OpenDeviceFile(const PrinterMapping& m) {
  // Two-way only when the status check needs answers; a write-only device file such as
  // a line printer node refuses O_RDWR.
  const int mode = m.status_check ? O_RDWR : O_WRONLY;
  const int fd = open(m.path.c_str(), mode | O_NOCTTY | O_CLOEXEC | O_NONBLOCK | O_APPEND);
  if (fd < 0) throw CodedFailure(OPOS_E_NOHARDWARE, ErrnoText());
  return std::make_unique<FdLink>(fd, m.timeout_ms);
}

class SerialLink : public PrinterLink {
 public:
  explicit SerialLink(const TConnectionInfo& info) {
    serial_.Initialise(info);
    if (serial_.Connect() != 0 || serial_.Configure() != 0) {
      throw CodedFailure(OPOS_E_NOHARDWARE, serial_.strErrorMessage());
    }
  }
  ~SerialLink() override { serial_.Disconnect(); }
  SerialLink(const SerialLink&) = delete;
  SerialLink& operator=(const SerialLink&) = delete;

  void Write(const std::string& bytes) override {
    if (serial_.WriteData(bytes, false, 0, 0) != 0) {
      throw CodedFailure(OPOS_E_FAILURE, serial_.strErrorMessage());
    }
  }
  std::optional<uint8_t> ReadByte(int32_t) override {
    std::string got;
    if (serial_.ReadData(got, 1) != 0)
      throw CodedFailure(OPOS_E_FAILURE, serial_.strErrorMessage());
    if (got.empty()) return std::nullopt;
    return static_cast<uint8_t>(got[0]);
  }

 private:
  TSerial serial_;
};

}  // namespace

EscPosPrinter::EscPosPrinter() = default;
EscPosPrinter::~EscPosPrinter() = default;

std::string EscPosPrinter::ToDeviceText(const std::string& text, int32_t codepage) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<uint8_t>(text[i]);
    if (c == '\r') {
      // CR alone and CR LF both end one line: an ESC/POS printer ignores CR, and
      // receipts end their lines in CR alone when the line feed setting is off.
      out += '\n';
      if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
    } else if (c >= 0x80 && codepage == 437) {
      out += static_cast<char>(kCp1252ToCp437[c - 0x80]);
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

std::string EscPosPrinter::Describe() const {
  return "Printer \"" + device_name_ + "\" (" + (mapping_ ? mapping_->device : "") + ")";
}

int32_t EscPosPrinter::Fail(int32_t code, const std::string& description) {
  result_code_ = code;
  error_message_ = description;
  return code;
}

int32_t EscPosPrinter::Run(const char* operation, int32_t failure_code,
                           const std::function<void()>& body) {
  try {
    body();
    result_code_ = OPOS_SUCCESS;
    return result_code_;
  } catch (const CodedFailure& e) {
    if (e.code() == OPOS_E_FAILURE || e.code() == OPOS_E_TIMEOUT) {
      // The link is no longer trustworthy: what was sent may be half a receipt, so the
      // next receipt must claim and enable (and so reset the printer) afresh.
      link_.reset();
      enabled_ = false;
    }
    return Fail(e.code(), std::string(operation) + ": " + Describe() + ": " + e.what());
  } catch (...) {
    std::string text;
    try {
      text = std::string(operation) + ": " + Describe() + ": " + DescribeCurrentException();
    } catch (...) {
    }
    return Fail(failure_code, text);
  }
}

void EscPosPrinter::Send(const std::string& bytes) {
  link_->Write(bytes);
  if (mapping_->status_check) CheckStatus();
}

// The printer answers a real-time status request only after it has taken every byte
// sent before it, so an answer proves the receipt arrived whole.
void EscPosPrinter::CheckStatus() {
  link_->Write(std::string(escpos::kStatusRequest));
  const std::optional<uint8_t> status = link_->ReadByte(mapping_->timeout_ms);
  if (!status) throw CodedFailure(OPOS_E_TIMEOUT, "The printer did not answer a status request");
  // Bits 1 and 4 are always set and bit 7 clear in a printer status byte.
  if ((*status & 0x93) != 0x12)
    throw CodedFailure(OPOS_E_FAILURE, "Unexpected answer from the printer");
  if ((*status & 0x08) != 0) throw CodedFailure(OPOS_E_OFFLINE, "The printer is offline");
}

int32_t EscPosPrinter::Open(const std::string& strDeviceName) {
  if (mapping_) return Fail(OPOS_E_ILLEGAL, "Open: " + Describe() + " is already open");
  device_name_ = strDeviceName;
  std::string error;
  mapping_ = LookUpPrinter(strDeviceName, error);
  if (!mapping_) return Fail(OPOS_E_NOEXIST, "Open: " + error);
  result_code_ = OPOS_SUCCESS;
  return result_code_;
}

int32_t EscPosPrinter::ClaimDevice(int32_t lTimeout) {
  if (!mapping_) return Fail(OPOS_E_CLOSED, "ClaimDevice: the printer is not open");
  return Run("ClaimDevice", OPOS_E_NOHARDWARE, [&] {
    if (link_) return;
    const int32_t timeout = lTimeout < 0 ? mapping_->timeout_ms : lTimeout;
    switch (mapping_->kind) {
      case PrinterMapping::Kind::kTcp:
        link_ = ConnectTcp(*mapping_, timeout);
        break;
      case PrinterMapping::Kind::kFile:
        link_ = OpenDeviceFile(*mapping_);
        break;
      case PrinterMapping::Kind::kSerial:
        link_ = std::make_unique<SerialLink>(mapping_->serial);
        break;
    }
  });
}

int32_t EscPosPrinter::DeviceEnabled(bool bEnabled) {
  if (!mapping_) return Fail(OPOS_E_CLOSED, "DeviceEnabled: the printer is not open");
  if (!link_) return Fail(OPOS_E_NOTCLAIMED, "DeviceEnabled: " + Describe() + " is not claimed");
  return Run("DeviceEnabled", OPOS_E_FAILURE, [&] {
    if (bEnabled && !enabled_) {
      std::string reset(escpos::kInitialise);
      if (mapping_->codepage == 1252) reset += escpos::kSelectWindows1252;
      Send(reset);
    }
    enabled_ = bEnabled;
  });
}

int32_t EscPosPrinter::PrintNormal(int32_t lStation, const std::string& strData) {
  if (!mapping_) return Fail(OPOS_E_CLOSED, "PrintNormal: the printer is not open");
  if (!link_) return Fail(OPOS_E_NOTCLAIMED, "PrintNormal: " + Describe() + " is not claimed");
  if (!enabled_) return Fail(OPOS_E_DISABLED, "PrintNormal: " + Describe() + " is not enabled");
  if (lStation != PTR_S_RECEIPT) {
    return Fail(OPOS_E_ILLEGAL, "PrintNormal: " + Describe() + " has only a receipt station");
  }
  return Run("PrintNormal", OPOS_E_FAILURE,
             [&] { Send(ToDeviceText(strData, mapping_->codepage)); });
}

int32_t EscPosPrinter::CutPaper(int32_t lPercentage) {
  if (!mapping_) return Fail(OPOS_E_CLOSED, "CutPaper: the printer is not open");
  if (!link_) return Fail(OPOS_E_NOTCLAIMED, "CutPaper: " + Describe() + " is not claimed");
  if (!enabled_) return Fail(OPOS_E_DISABLED, "CutPaper: " + Describe() + " is not enabled");
  if (lPercentage < 1 || lPercentage > 100) {
    return Fail(OPOS_E_ILLEGAL, "CutPaper: the percentage must be 1 to 100");
  }
  return Run("CutPaper", OPOS_E_FAILURE, [&] {
    Send(std::string(lPercentage == 100 ? escpos::kFullCut : escpos::kPartialCut));
  });
}

int32_t EscPosPrinter::ReleaseDevice() {
  if (!mapping_) return Fail(OPOS_E_CLOSED, "ReleaseDevice: the printer is not open");
  if (!link_) return Fail(OPOS_E_NOTCLAIMED, "ReleaseDevice: " + Describe() + " is not claimed");
  link_.reset();
  enabled_ = false;
  result_code_ = OPOS_SUCCESS;
  return result_code_;
}

int32_t EscPosPrinter::Close() {
  if (!mapping_) return Fail(OPOS_E_CLOSED, "Close: the printer is not open");
  link_.reset();
  enabled_ = false;
  mapping_.reset();
  result_code_ = OPOS_SUCCESS;
  return result_code_;
}

}  // namespace ccaddin

#include "platform/serial.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "platform/env.h"
#include "platform/long_bit_map.h"
#include "platform/trap.h"

namespace ccaddin {

namespace {

constexpr const char* kDefaultPortsDir = "/etc/ccaddin/ports";

// The device time-outs are the line's own and run in real time whatever clock the
// component is given, like the time-outs a serial driver keeps: a virtual clock must not
// make a silent printer answer instantly or hang for ever.
using DeviceClock = std::chrono::steady_clock;

int RemainingMs(DeviceClock::time_point deadline) {
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(deadline - DeviceClock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

// "COMn" with n >= 1, in any letter case; 0 for any other name.
int ComPortNumber(const std::string& name) {
  if (name.size() < 4 || name.size() > 8) return 0;
  if (std::toupper(static_cast<unsigned char>(name[0])) != 'C' ||
      std::toupper(static_cast<unsigned char>(name[1])) != 'O' ||
      std::toupper(static_cast<unsigned char>(name[2])) != 'M') {
    return 0;
  }
  int number = 0;
  for (size_t i = 3; i < name.size(); ++i) {
    if (!std::isdigit(static_cast<unsigned char>(name[i]))) return 0;
    number = number * 10 + (name[i] - '0');
  }
  return number;
}

}  // namespace

TSerial::~TSerial() {
  ClosePort();
}

std::string TSerial::DevicePathFor(const std::string& strComPort) {
  if (!strComPort.empty() && strComPort[0] == '/') return strComPort;
  const int number = ComPortNumber(strComPort);
  if (number == 0) return "/dev/" + strComPort;
  const char* dir = std::getenv("CCADDIN_PORTS_DIR");
  const std::filesystem::path link =
      std::filesystem::path(dir != nullptr && *dir != '\0' ? dir : kDefaultPortsDir) /
      ("COM" + std::to_string(number));
  std::error_code ec;
  if (std::filesystem::exists(std::filesystem::symlink_status(link, ec))) return link.string();
  return "/dev/ttyS" + std::to_string(number - 1);
}

void TSerial::Initialise(const TConnectionInfo& oConnInfo) {
  TrapVoid(error_message_, "TSerialComms.Initialise() Failed - ", [&] {
    ClosePort();
    conn_info_ = oConnInfo;
  });
}

int16_t TSerial::Fail(const char* text, int error_code) {
  error_message_ = text;
  if (error_code != 0) error_code_ = error_code;
  return 1;
}

int16_t TSerial::Connect() {
  return Trap(error_message_, "TSerialComms.Connect() Failed - ", int16_t{1}, [&]() -> int16_t {
    if (fd_ >= 0) return Fail("COM Port is already opened", 0);
    const std::string failed = "Failed opening COM Port " + conn_info_.strComPort;
    // Non-blocking: a port without carrier must not hang the open. Close-on-exec: a
    // process the till starts must not inherit the port (nor its lock).
    const int fd = open(DevicePathFor(conn_info_.strComPort).c_str(),
                        O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return Fail(failed.c_str(), errno);
    // The lock keeps out every other TSerial, root or not; TIOCEXCL keeps out other
    // programs that merely open the device. TIOCEXCL also proves it is a terminal.
    int error = 0;
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
      error = errno == EWOULDBLOCK ? EBUSY : errno;
    } else if (ioctl(fd, TIOCEXCL) != 0) {
      error = errno;
    }
    if (error != 0) {
      close(fd);
      return Fail(failed.c_str(), error);
    }
    fd_ = fd;
    return 0;
  });
}

int16_t TSerial::Configure() {
  const int16_t status = Trap(error_message_, "TSerialComms.SetPortInfoSettings() Failed - ",
                              int16_t{1}, [&] { return SetPortInfoSettings(); });
  if (status != 0) return status;
  return Trap(error_message_, "TSerialComms.SetTimeouts() Failed - ", int16_t{1},
              [&] { return SetTimeouts(); });
}

int16_t TSerial::SetPortInfoSettings() {
  constexpr const char* kReadFailed = "Failed retrieving DCB settings for opened port";
  constexpr const char* kWriteFailed = "Failed setting opened port with DCB settings";
  if (fd_ < 0) return Fail(kReadFailed, EBADF);
  termios t{};
  int32_t baud = 0;
  if (tcgetattr(fd_, &t) != 0) return Fail(kReadFailed, errno);
  if (const int e = ReadLineSpeed(fd_, &baud); e != 0) return Fail(kReadFailed, e);
  dcb_ = CommStateFromTermios(t, baud);

  const TConnectionInfo& c = conn_info_;
  dcb_.BaudRate = c.lBaudRate;
  switch (c.lDatabits) {
    case 0:
      dcb_.ByteSize = 4;
      break;
    case 1:
      dcb_.ByteSize = 5;
      break;
    case 2:
      dcb_.ByteSize = 6;
      break;
    case 3:
      dcb_.ByteSize = 7;
      break;
    default:
      dcb_.ByteSize = 8;
      break;
  }
  switch (c.lParity) {
    case 0:
      dcb_.Parity = kEvenParity;
      break;
    case 1:
      dcb_.Parity = kOddParity;
      break;
    case 2:
      dcb_.Parity = kNoParity;
      break;
    case 4:
      dcb_.Parity = kMarkParity;
      break;
    default:
      dcb_.Parity = kSpaceParity;
      break;
  }
  switch (c.lStopbit) {
    case 0:
      dcb_.StopBits = kOneStopBit;
      break;
    case 1:
      dcb_.StopBits = kOne5StopBits;
      break;
    default:
      dcb_.StopBits = kTwoStopBits;
      break;
  }

  TLongBitMap flags;
  flags.SetBitMap(dcb_.Flags);
  const auto handshake = [&](int32_t low_bit) {
    flags.SetField(low_bit, false);
    flags.SetField(low_bit + 1, true);  // the value 2: handshake
  };
  switch (c.lFlowControl) {
    case 0:
      flags.SetField(kDcbOutX, false);
      flags.SetField(kDcbInX, false);
      flags.SetField(kDcbOutxCtsFlow, false);
      flags.SetField(kDcbOutxDsrFlow, false);
      break;
    case 1:
      flags.SetField(kDcbOutX, false);
      flags.SetField(kDcbInX, false);
      flags.SetField(kDcbOutxDsrFlow, false);
      flags.SetField(kDcbOutxCtsFlow, true);
      handshake(kDcbRtsControlLow);
      break;
    case 3:
      flags.SetField(kDcbOutX, true);
      flags.SetField(kDcbInX, true);
      flags.SetField(kDcbOutxCtsFlow, false);
      flags.SetField(kDcbOutxDsrFlow, false);
      dcb_.XonChar = 17;   // DC1
      dcb_.XoffChar = 19;  // DC3
      break;
    default:
      flags.SetField(kDcbOutX, false);
      flags.SetField(kDcbInX, false);
      flags.SetField(kDcbOutxCtsFlow, false);
      flags.SetField(kDcbOutxDsrFlow, true);
      handshake(kDcbDtrControlLow);
      break;
  }
  dcb_.Flags = flags.GetBitMap();

  if (const int e = ApplyCommState(dcb_, &t); e != 0) return Fail(kWriteFailed, e);
  if (tcsetattr(fd_, TCSANOW, &t) != 0) return Fail(kWriteFailed, errno);
  if (const int e = WriteLineSpeed(fd_, dcb_.BaudRate); e != 0) return Fail(kWriteFailed, e);
  return 0;
}

int16_t TSerial::SetTimeouts() {
  constexpr const char* kFailed = "Failed setting serial timeout values";
  if (fd_ < 0) return Fail(kFailed, EBADF);
  // Reads and writes wait through poll with their own deadlines; the terminal's own
  // read time-out is set to the same second so that no read on this port can block
  // longer, whoever makes it.
  termios t{};
  if (tcgetattr(fd_, &t) != 0) return Fail(kFailed, errno);
  t.c_cc[VMIN] = 0;
  t.c_cc[VTIME] = kReadTimeoutMs / 100;
  if (tcsetattr(fd_, TCSANOW, &t) != 0) return Fail(kFailed, errno);
  return 0;
}

bool TSerial::WritePiece(const char* data, size_t size) {
  const auto deadline = DeviceClock::now() + std::chrono::milliseconds(kWriteTimeoutMs);
  size_t done = 0;
  while (done < size) {
    const ssize_t n = write(fd_, data + done, size - done);
    if (n > 0) {
      done += static_cast<size_t>(n);
      continue;
    }
    if (n < 0 && errno != EAGAIN && errno != EINTR) {
      error_code_ = errno;
      return false;
    }
    // The device buffer is full (the far end is slow, or held us with XOFF or CTS).
    const int wait_ms = RemainingMs(deadline);
    if (wait_ms == 0) {
      error_code_ = ETIMEDOUT;
      return false;
    }
    pollfd p{fd_, POLLOUT, 0};
    if (poll(&p, 1, wait_ms) < 0 && errno != EINTR) {
      error_code_ = errno;
      return false;
    }
  }
  return true;
}

int16_t TSerial::WriteData(const std::string& strData, bool bSendChunks, int32_t lChunkSize,
                           int32_t lInterChunkSleep) {
  return Trap(error_message_, "TSerialComms.WriteData() Failed - ", int16_t{1}, [&]() -> int16_t {
    if (fd_ < 0) return Fail("Port closed", 0);
    const size_t piece =
        bSendChunks ? (lChunkSize > 0 ? static_cast<size_t>(lChunkSize) : 0) : strData.size();
    size_t start = 0;
    do {
      const size_t size = std::min(piece, strData.size() - start);
      if (size == 0) return Fail("Empty buffer passed. No data to write", 0);
      if (!WritePiece(strData.data() + start, size)) {
        return Fail("Failed writing data to the opened port", 0);
      }
      start += size;
      if (bSendChunks && start < strData.size()) CurrentEnv()->Sleep(lInterChunkSleep);
    } while (start < strData.size());
    return 0;
  });
}

int16_t TSerial::ReadData(std::string& strData, int32_t lNumBytesToRead) {
  return Trap(error_message_, "TSerialComms.ReadData() Failed - ", int16_t{1}, [&]() -> int16_t {
    if (fd_ < 0) return Fail("Port closed", 0);
    if (lNumBytesToRead <= 0) return Fail("Number of bytes to read must be greater than 0", 0);
    strData.clear();
    constexpr const char* kFailed = "Failed reading data from the opened port";
    const auto wanted = static_cast<size_t>(lNumBytesToRead);
    const auto deadline = DeviceClock::now() + std::chrono::milliseconds(kReadTimeoutMs);
    std::string buffer(std::min<size_t>(wanted, 4096), '\0');
    bool hung_up = false;
    while (strData.size() < wanted) {
      const ssize_t n = read(fd_, buffer.data(), std::min(buffer.size(), wanted - strData.size()));
      if (n > 0) {
        strData.append(buffer.data(), static_cast<size_t>(n));
        continue;
      }
      if (n < 0 && errno != EAGAIN && errno != EINTR) return Fail(kFailed, errno);
      // The line went away (adapter unplugged, far end closed): nothing more will come,
      // and polling again would only spin until the deadline.
      if (hung_up) return Fail(kFailed, EIO);
      const int wait_ms = RemainingMs(deadline);
      if (wait_ms == 0) break;
      pollfd p{fd_, POLLIN, 0};
      if (poll(&p, 1, wait_ms) < 0 && errno != EINTR) return Fail(kFailed, errno);
      hung_up = (p.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
    }
    return 0;
  });
}

void TSerial::ClearInputBuffer() {
  if (fd_ >= 0) tcflush(fd_, TCIFLUSH);
}

void TSerial::ClearOutputBuffer() {
  if (fd_ >= 0) tcflush(fd_, TCOFLUSH);
}

int16_t TSerial::Disconnect() {
  if (fd_ < 0) return Fail("Failed closing COM Port", EBADF);
  ioctl(fd_, TIOCNXCL);
  const int fd = fd_;
  // Linux releases the descriptor even when close reports an error; never retry.
  fd_ = -1;
  if (close(fd) != 0) return Fail("Failed closing COM Port", errno);
  return 0;
}

void TSerial::ClosePort() {
  if (fd_ < 0) return;
  ioctl(fd_, TIOCNXCL);
  close(fd_);
  fd_ = -1;
}

}  // namespace ccaddin

// TSerial: one serial port for the directly attached serial devices (the serial receipt
// printer). It owns the open port from Connect to Disconnect (or its own end) and holds
// the port exclusively against every other TSerial in any process. Reads and writes
// block the calling thread for at most about one second each; chunked writes also sleep
// between chunks through the Env.
#pragma once

#include <cstdint>
#include <string>

#include "platform/comm_state.h"
#include "platform/connection_info.h"

namespace ccaddin {

// Call order: Initialise, Connect, Configure, then any number of WriteData, ReadData and
// clears, then Disconnect. Every operation traps its failures: it returns 1 (0 on
// success) and leaves the text in strErrorMessage and, for a failed system call, its
// errno in lErrorCode. A later success clears neither.
class TSerial {
 public:
  TSerial() = default;
  ~TSerial();
  TSerial(const TSerial&) = delete;
  TSerial& operator=(const TSerial&) = delete;

  // Keeps a copy of the record. A port still open from an earlier record is closed: it
  // would otherwise stay locked with nobody able to close it.
  void Initialise(const TConnectionInfo& oConnInfo);

  // Opens the port named by strComPort for reading and writing, and locks it
  // exclusively (an advisory lock every TSerial honours, plus the terminal's own
  // exclusive mode, which keeps out other programs that do not run as root).
  [[nodiscard]] int16_t Connect();

  // Applies speed, framing and flow control, then the time-outs. Where Linux cannot do
  // what the settings ask, see ApplyCommState: 4 data bits and impossible stop-bit
  // combinations fail; DTR/DSR handshaking runs the line without hardware handshake.
  [[nodiscard]] int16_t Configure();

  // Writes the bytes as they are, in one piece or in pieces of lChunkSize bytes with a
  // pause of lInterChunkSleep ms between pieces. Each piece must be taken by the device
  // within one second. An empty text, or a chunk size below 1, is an empty piece and
  // fails without writing anything.
  [[nodiscard]] int16_t WriteData(const std::string& strData, bool bSendChunks, int32_t lChunkSize,
                                  int32_t lInterChunkSleep);

  // One read of up to lNumBytesToRead bytes: returns when that many have arrived or one
  // second after the call, whichever comes first. Fewer bytes, or none, is a success.
  [[nodiscard]] int16_t ReadData(std::string& strData, int32_t lNumBytesToRead);

  // Discard what the port holds unread, and what it has not sent yet.
  void ClearInputBuffer();
  void ClearOutputBuffer();

  int16_t Disconnect();

  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }
  [[nodiscard]] int32_t lErrorCode() const { return error_code_; }

  // The control block as last read from and written to the port.
  [[nodiscard]] const CommState& comm_state() const { return dcb_; }

  // The device behind a port name: "COMn" (any letter case) is the link
  // $CCADDIN_PORTS_DIR/COMn when it exists (folder /etc/ccaddin/ports unless the
  // variable is set), else /dev/ttyS<n-1>; a path starting with "/" is used as it is;
  // any other name is looked up in /dev.
  [[nodiscard]] static std::string DevicePathFor(const std::string& strComPort);

  // Device time-outs, real time as the kernel counts it.
  static constexpr int32_t kReadTimeoutMs = 1000;
  static constexpr int32_t kWriteTimeoutMs = 1000;

 private:
  [[nodiscard]] int16_t SetPortInfoSettings();
  [[nodiscard]] int16_t SetTimeouts();
  [[nodiscard]] bool WritePiece(const char* data, size_t size);
  [[nodiscard]] int16_t Fail(const char* text, int error_code);
  void ClosePort();

  TConnectionInfo conn_info_;
  int fd_ = -1;
  CommState dcb_;
  std::string error_message_;
  int32_t error_code_ = 0;
};

}  // namespace ccaddin

// TConnectionInfo: the plain record of line parameters that the caller fills from the
// serial printer settings and hands to TSerial.Initialise, which keeps a copy. The
// network fields belong to a network link and are not used by TSerial. Nothing is
// defaulted: every field is zero, empty or false until set.
#pragma once

#include <cstdint>
#include <string>

namespace ccaddin {

struct TConnectionInfo {
  // "COM1" ... or a device path such as "/dev/ttyUSB0" (see TSerial::DevicePathFor).
  std::string strComPort;
  int32_t lBaudRate = 0;
  // 0 even, 1 odd, 2 none, 3 space, 4 mark; any other value space.
  int32_t lParity = 0;
  // 0 four bits, 1 five, 2 six, 3 seven; any other value eight.
  int32_t lDatabits = 0;
  // 0 one stop bit, 1 one and a half; any other value two.
  int32_t lStopbit = 0;
  // 0 none, 1 RTS/CTS, 3 XON/XOFF; 2 or any other value DTR/DSR.
  int32_t lFlowControl = 0;

  std::string strIPAddress1;
  std::string strIPAddress2;
  std::string strIPAddress3;
  int32_t lIPPortNo1 = 0;
  int32_t lIPPortNo2 = 0;
  int32_t lIPPortNo3 = 0;
  int32_t lConnectionAttempts = 0;
  int32_t lConnectTimeout = 0;
  int32_t lSendAttempts = 0;
  int32_t lReadAttempts = 0;
  int32_t lAckTimeout = 0;
  int32_t lMaxReadTimeout = 0;
  bool bDelayPackets = false;
  bool bBlockedSocket = false;
  bool bIpToSerial = false;
};

}  // namespace ccaddin

// The serial line's device control block: the record (speed, framing, a flag word of
// handshake bits, XON/XOFF characters) that TSerial reads from the port, changes and
// writes back, and its translation to and from a Linux terminal's termios. Pure data and
// functions; the only system calls are the speed ioctls on a descriptor the caller owns.
#pragma once

#include <termios.h>

#include <cstdint>

namespace ccaddin {

// Bit numbers of the flag word. They keep the layout of the Windows control block so
// that settings and logs mean the same on both platforms; two-bit fields hold a
// *Control value below.
inline constexpr int32_t kDcbBinary = 0;
inline constexpr int32_t kDcbParity = 1;
inline constexpr int32_t kDcbOutxCtsFlow = 2;
inline constexpr int32_t kDcbOutxDsrFlow = 3;
inline constexpr int32_t kDcbDtrControlLow = 4;
inline constexpr int32_t kDcbDtrControlHigh = 5;
inline constexpr int32_t kDcbDsrSensitivity = 6;
inline constexpr int32_t kDcbTxContinueOnXoff = 7;
inline constexpr int32_t kDcbOutX = 8;
inline constexpr int32_t kDcbInX = 9;
inline constexpr int32_t kDcbRtsControlLow = 12;
inline constexpr int32_t kDcbRtsControlHigh = 13;

inline constexpr int32_t kLineControlDisable = 0;
inline constexpr int32_t kLineControlEnable = 1;
inline constexpr int32_t kLineControlHandshake = 2;

// Operating-system codes of the control block.
inline constexpr uint8_t kNoParity = 0;
inline constexpr uint8_t kOddParity = 1;
inline constexpr uint8_t kEvenParity = 2;
inline constexpr uint8_t kMarkParity = 3;
inline constexpr uint8_t kSpaceParity = 4;
inline constexpr uint8_t kOneStopBit = 0;
inline constexpr uint8_t kOne5StopBits = 1;
inline constexpr uint8_t kTwoStopBits = 2;

struct CommState {
  int32_t BaudRate = 0;
  int32_t Flags = 0;
  uint8_t ByteSize = 8;
  uint8_t Parity = kNoParity;
  uint8_t StopBits = kOneStopBit;
  char XonChar = 17;
  char XoffChar = 19;
};

// The value of a two-bit control field (DTR or RTS) of a flag word, and the flag word
// with that field replaced.
[[nodiscard]] int32_t LineControl(int32_t flags, int32_t low_bit);
[[nodiscard]] int32_t WithLineControl(int32_t flags, int32_t low_bit, int32_t value);

// The block that describes a terminal's current settings (speed read separately).
[[nodiscard]] CommState CommStateFromTermios(const termios& t, int32_t baud_rate);

// Puts the terminal into raw mode (no echo, no line editing, no character translation,
// modem status lines ignored) with the block's framing and flow control. Returns 0, or
// EINVAL for what no Linux serial driver can do or what the original serial driver
// refuses: 4 data bits, 1.5 stop bits with 6 to 8 data bits, 2 stop bits with 5, and
// unknown codes. DSR/DTR handshaking has no termios equivalent: the block keeps the flags
// but the line runs without hardware handshake (DTR simply stays raised).
[[nodiscard]] int ApplyCommState(const CommState& state, termios* t);

// Line speed in bits per second, any positive value (standard rates through the usual
// codes, others as a custom rate where the driver supports one). 0 or the errno.
[[nodiscard]] int ReadLineSpeed(int fd, int32_t* baud_rate);
[[nodiscard]] int WriteLineSpeed(int fd, int32_t baud_rate);

}  // namespace ccaddin

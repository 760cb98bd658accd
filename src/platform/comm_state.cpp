#include "platform/comm_state.h"

#include <cerrno>

namespace ccaddin {

namespace {

void SetBit(int32_t& flags, int32_t bit, bool on) {
  const uint32_t mask = uint32_t{1} << bit;
  auto word = static_cast<uint32_t>(flags);
  word = on ? (word | mask) : (word & ~mask);
  flags = static_cast<int32_t>(word);
}

bool Bit(int32_t flags, int32_t bit) {
  return ((static_cast<uint32_t>(flags) >> bit) & 1U) != 0;
}

}  // namespace

int32_t LineControl(int32_t flags, int32_t low_bit) {
  return static_cast<int32_t>((static_cast<uint32_t>(flags) >> low_bit) & 3U);
}

int32_t WithLineControl(int32_t flags, int32_t low_bit, int32_t value) {
  SetBit(flags, low_bit, (value & 1) != 0);
  SetBit(flags, low_bit + 1, (value & 2) != 0);
  return flags;
}

CommState CommStateFromTermios(const termios& t, int32_t baud_rate) {
  CommState s;
  s.BaudRate = baud_rate;
  switch (t.c_cflag & CSIZE) {
    case CS5:
      s.ByteSize = 5;
      break;
    case CS6:
      s.ByteSize = 6;
      break;
    case CS7:
      s.ByteSize = 7;
      break;
    default:
      s.ByteSize = 8;
      break;
  }
  if ((t.c_cflag & PARENB) == 0) {
    s.Parity = kNoParity;
  } else if ((t.c_cflag & CMSPAR) != 0) {
    s.Parity = (t.c_cflag & PARODD) != 0 ? kMarkParity : kSpaceParity;
  } else {
    s.Parity = (t.c_cflag & PARODD) != 0 ? kOddParity : kEvenParity;
  }
  // A UART asked for two stop bits on 5-bit characters sends one and a half.
  if ((t.c_cflag & CSTOPB) == 0) {
    s.StopBits = kOneStopBit;
  } else {
    s.StopBits = s.ByteSize == 5 ? kOne5StopBits : kTwoStopBits;
  }
  const bool rts_cts = (t.c_cflag & CRTSCTS) != 0;
  int32_t flags = 0;
  SetBit(flags, kDcbBinary, true);
  SetBit(flags, kDcbParity, (t.c_iflag & INPCK) != 0);
  SetBit(flags, kDcbOutxCtsFlow, rts_cts);
  flags = WithLineControl(flags, kDcbDtrControlLow, kLineControlEnable);
  flags = WithLineControl(flags, kDcbRtsControlLow,
                          rts_cts ? kLineControlHandshake : kLineControlEnable);
  SetBit(flags, kDcbOutX, (t.c_iflag & IXON) != 0);
  SetBit(flags, kDcbInX, (t.c_iflag & IXOFF) != 0);
  s.Flags = flags;
  s.XonChar = static_cast<char>(t.c_cc[VSTART]);
  s.XoffChar = static_cast<char>(t.c_cc[VSTOP]);
  return s;
}

int ApplyCommState(const CommState& state, termios* t) {
  tcflag_t size = 0;
  switch (state.ByteSize) {
    case 5:
      size = CS5;
      break;
    case 6:
      size = CS6;
      break;
    case 7:
      size = CS7;
      break;
    case 8:
      size = CS8;
      break;
    default:
      return EINVAL;
  }
  tcflag_t parity = 0;
  switch (state.Parity) {
    case kNoParity:
      break;
    case kOddParity:
      parity = PARENB | PARODD;
      break;
    case kEvenParity:
      parity = PARENB;
      break;
    // Mark and space are "stick" parity: the parity bit is always 1 or always 0.
    case kMarkParity:
      parity = PARENB | CMSPAR | PARODD;
      break;
    case kSpaceParity:
      parity = PARENB | CMSPAR;
      break;
    default:
      return EINVAL;
  }
  tcflag_t stop = 0;
  switch (state.StopBits) {
    case kOneStopBit:
      break;
    // termios has one "more than one stop bit" switch; on 5-bit characters the UART
    // makes it one and a half, which is the only size where 1.5 exists at all.
    case kOne5StopBits:
      if (state.ByteSize != 5) return EINVAL;
      stop = CSTOPB;
      break;
    case kTwoStopBits:
      if (state.ByteSize == 5) return EINVAL;
      stop = CSTOPB;
      break;
    default:
      return EINVAL;
  }

  // Raw: bytes pass unchanged both ways (receipts carry ESC sequences and binary).
  t->c_iflag &=
      ~(IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON | IXOFF | IXANY | INPCK);
  t->c_oflag &= ~OPOST;
  t->c_lflag &= ~(ECHO | ECHONL | ICANON | ISIG | IEXTEN);
  t->c_cflag &= ~(CSIZE | PARENB | PARODD | CMSPAR | CSTOPB | CRTSCTS);
  // Printers rarely drive carrier detect; without CLOCAL the port would hang up on it.
  t->c_cflag |= CREAD | CLOCAL | size | parity | stop;

  // Linux has one switch for both RTS/CTS directions. Output flow on CTS decides it: an
  // RTS handshake field left over from an earlier setting must not turn it back on.
  if (Bit(state.Flags, kDcbOutxCtsFlow)) t->c_cflag |= CRTSCTS;
  if (Bit(state.Flags, kDcbOutX)) t->c_iflag |= IXON;
  if (Bit(state.Flags, kDcbInX)) t->c_iflag |= IXOFF;
  t->c_cc[VSTART] = static_cast<cc_t>(state.XonChar);
  t->c_cc[VSTOP] = static_cast<cc_t>(state.XoffChar);
  return 0;
}

}  // namespace ccaddin

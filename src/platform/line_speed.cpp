// The kernel's termios2 interface is the only way to read and set an arbitrary line
// speed, and its header cannot share a translation unit with <termios.h>; this file keeps
// the two apart.
#include <asm/ioctls.h>
#include <asm/termbits.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstdint>

namespace ccaddin {

namespace {

struct StandardRate {
  int32_t rate;
  unsigned int code;
};

constexpr StandardRate kStandardRates[] = {
    {50, B50},           {75, B75},           {110, B110},         {134, B134},
    {150, B150},         {200, B200},         {300, B300},         {600, B600},
    {1200, B1200},       {1800, B1800},       {2400, B2400},       {4800, B4800},
    {9600, B9600},       {19200, B19200},     {38400, B38400},     {57600, B57600},
    {115200, B115200},   {230400, B230400},   {460800, B460800},   {500000, B500000},
    {576000, B576000},   {921600, B921600},   {1000000, B1000000}, {1152000, B1152000},
    {1500000, B1500000}, {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000},
    {3500000, B3500000}, {4000000, B4000000},
};

}  // namespace

int ReadLineSpeed(int fd, int32_t* baud_rate) {
  termios2 t{};
  if (ioctl(fd, TCGETS2, &t) != 0) return errno;
  *baud_rate = static_cast<int32_t>(t.c_ospeed);
  return 0;
}

int WriteLineSpeed(int fd, int32_t baud_rate) {
  // Speed 0 means "hang up" to a terminal; no other value below 1 means anything.
  if (baud_rate <= 0) return EINVAL;
  termios2 t{};
  if (ioctl(fd, TCGETS2, &t) != 0) return errno;
  unsigned int code = BOTHER;
  for (const StandardRate& r : kStandardRates) {
    if (r.rate == baud_rate) code = r.code;
  }
  // Input speed follows the output speed (no separate input code).
  t.c_cflag &= ~(CBAUD | (CBAUD << IBSHIFT));
  t.c_cflag |= code;
  t.c_ospeed = static_cast<speed_t>(baud_rate);
  t.c_ispeed = static_cast<speed_t>(baud_rate);
  if (ioctl(fd, TCSETS2, &t) != 0) return errno;
  return 0;
}

}  // namespace ccaddin

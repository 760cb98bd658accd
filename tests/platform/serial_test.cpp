#include "platform/serial.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "platform/virtual_env.h"
#include "support/processes.h"
#include "support/socat_line.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

using testing::SocatLine;

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

TConnectionInfo Line(const std::string& port, int32_t baud = 9600, int32_t parity = 2,
                     int32_t databits = 4, int32_t stopbit = 0, int32_t flow = 0) {
  TConnectionInfo info;
  info.strComPort = port;
  info.lBaudRate = baud;
  info.lParity = parity;
  info.lDatabits = databits;
  info.lStopbit = stopbit;
  info.lFlowControl = flow;
  return info;
}

class SerialLineTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(line_.ready()) << "socat pty pair did not come up"; }

  void Open(const TConnectionInfo& info) {
    serial_.Initialise(info);
    ASSERT_EQ(serial_.Connect(), 0) << serial_.strErrorMessage();
    ASSERT_EQ(serial_.Configure(), 0) << serial_.strErrorMessage();
  }

  SocatLine line_;
  TSerial serial_;
};

struct MappingCase {
  TConnectionInfo settings;  // port filled in by the test
  int32_t speed;
  tcflag_t cflags;  // of PARODD | CMSPAR | CSTOPB | CRTSCTS
  tcflag_t iflags;  // of IXON | IXOFF
  uint8_t byte_size, parity, stop_bits;
  int32_t dtr_control, rts_control;
  bool cts_flow, dsr_flow;
};

// A pseudo-terminal keeps speed, stop bits, stick/odd parity and flow control exactly as
// set, but always reports 8 data bits without parity: byte size and parity enable are
// checked on the control block and through ApplyCommState below instead.
TEST_F(SerialLineTest, EveryConnectionSettingReachesTheDevice) {
  const tcflag_t kCflags = PARODD | CMSPAR | CSTOPB | CRTSCTS;
  // The cases run in order on one terminal: a control field that a setting leaves alone
  // keeps what the device showed (the RTS handshake after case 2, as on Windows).
  const MappingCase cases[] = {
      {Line("", 9600, 0, 9, 0, 0), 9600, 0, 0, 8, kEvenParity, kOneStopBit, 1, 1, false, false},
      {Line("", 19200, 1, 3, 2, 1), 19200, PARODD | CSTOPB | CRTSCTS, 0, 7, kOddParity,
       kTwoStopBits, 1, 2, true, false},
      {Line("", 115200, 2, 8, 5, 3), 115200, CSTOPB, IXON | IXOFF, 8, kNoParity, kTwoStopBits, 1, 2,
       false, false},
      {Line("", 4800, 3, 2, 0, 2), 4800, CMSPAR, 0, 6, kSpaceParity, kOneStopBit, 2, 1, false,
       true},
      {Line("", 2400, 4, 1, 1, 7), 2400, CMSPAR | PARODD | CSTOPB, 0, 5, kMarkParity, kOne5StopBits,
       2, 1, false, true},
      {Line("", 14400, 9, 4, 0, 0), 14400, CMSPAR, 0, 8, kSpaceParity, kOneStopBit, 1, 1, false,
       false},
  };
  for (const MappingCase& c : cases) {
    SCOPED_TRACE(::testing::Message() << "baud " << c.settings.lBaudRate << " parity "
                                      << c.settings.lParity << " flow " << c.settings.lFlowControl);
    // A second descriptor opened before the port is locked sees the same terminal.
    const int observer = open(line_.near().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    ASSERT_GE(observer, 0);
    TConnectionInfo info = c.settings;
    info.strComPort = line_.near();
    {
      TSerial serial;
      serial.Initialise(info);
      ASSERT_EQ(serial.Connect(), 0) << serial.strErrorMessage();
      ASSERT_EQ(serial.Configure(), 0) << serial.strErrorMessage();

      termios t{};
      ASSERT_EQ(tcgetattr(observer, &t), 0);
      int32_t speed = 0;
      ASSERT_EQ(ReadLineSpeed(observer, &speed), 0);
      EXPECT_EQ(speed, c.speed);
      EXPECT_EQ(t.c_cflag & kCflags, c.cflags);
      EXPECT_EQ(t.c_iflag & (IXON | IXOFF), c.iflags);
      EXPECT_EQ(t.c_cc[VMIN], 0);
      EXPECT_EQ(t.c_cc[VTIME], 10);

      const CommState& dcb = serial.comm_state();
      EXPECT_EQ(dcb.ByteSize, c.byte_size);
      EXPECT_EQ(dcb.Parity, c.parity);
      EXPECT_EQ(dcb.StopBits, c.stop_bits);
      EXPECT_EQ(LineControl(dcb.Flags, kDcbDtrControlLow), c.dtr_control);
      EXPECT_EQ(LineControl(dcb.Flags, kDcbRtsControlLow), c.rts_control);
      EXPECT_EQ((dcb.Flags >> kDcbOutxCtsFlow) & 1, c.cts_flow ? 1 : 0);
      EXPECT_EQ((dcb.Flags >> kDcbOutxDsrFlow) & 1, c.dsr_flow ? 1 : 0);
      EXPECT_EQ((dcb.Flags >> kDcbOutX) & 1, (c.iflags & IXON) ? 1 : 0);
    }
    close(observer);
  }
}

TEST(CommState, FramingTranslatesBothWaysAndImpossibleFramingIsRefused) {
  for (uint8_t size : {5, 6, 7, 8}) {
    for (uint8_t parity : {kNoParity, kOddParity, kEvenParity, kMarkParity, kSpaceParity}) {
      CommState s;
      s.ByteSize = size;
      s.Parity = parity;
      s.StopBits = size == 5 ? kOne5StopBits : kTwoStopBits;
      termios t{};
      t.c_lflag = ICANON | ECHO;
      ASSERT_EQ(ApplyCommState(s, &t), 0);
      const CommState back = CommStateFromTermios(t, 1200);
      EXPECT_EQ(back.ByteSize, size);
      EXPECT_EQ(back.Parity, parity);
      EXPECT_EQ(back.StopBits, s.StopBits);
      EXPECT_EQ(t.c_lflag & ICANON, 0u);
    }
  }
  const auto refused = [](uint8_t size, uint8_t stop) {
    CommState s;
    s.ByteSize = size;
    s.StopBits = stop;
    termios t{};
    return ApplyCommState(s, &t) == EINVAL;
  };
  EXPECT_TRUE(refused(4, kOneStopBit));
  EXPECT_TRUE(refused(8, kOne5StopBits));
  EXPECT_TRUE(refused(5, kTwoStopBits));
  EXPECT_FALSE(refused(5, kOneStopBit));
}

TEST_F(SerialLineTest, SettingsLinuxCannotHonourFailConfigure) {
  for (const TConnectionInfo& info :
       {Line(line_.near(), 9600, 2, 0), Line(line_.near(), 9600, 2, 4, 1), Line(line_.near(), 0)}) {
    TSerial serial;
    serial.Initialise(info);
    ASSERT_EQ(serial.Connect(), 0);
    EXPECT_EQ(serial.Configure(), 1);
    EXPECT_EQ(serial.strErrorMessage(), "Failed setting opened port with DCB settings");
    EXPECT_EQ(serial.lErrorCode(), EINVAL);
  }
}

TEST_F(SerialLineTest, BytesPassUnchangedBothWays) {
  Open(Line(line_.near(), 115200));
  const std::string bytes("Total \xA3 12.50\r\n\x1b!\x00\x11\x13\xff", 20);
  ASSERT_EQ(serial_.WriteData(bytes, false, 0, 0), 0) << serial_.strErrorMessage();
  EXPECT_EQ(line_.ReceiveAtFar(bytes.size()), bytes);

  line_.SendFromFar("ACK\n");
  std::string got = "left over";
  const auto start = Clock::now();
  ASSERT_EQ(serial_.ReadData(got, 4), 0);
  EXPECT_EQ(got, "ACK\n");
  EXPECT_LT(SecondsSince(start), 0.9) << "a complete read must not wait for the time-out";
}

TEST_F(SerialLineTest, ReadsEndAfterAboutOneSecond) {
  Open(Line(line_.near()));
  std::string got = "left over";
  auto start = Clock::now();
  ASSERT_EQ(serial_.ReadData(got, 10), 0) << serial_.strErrorMessage();
  EXPECT_EQ(got, "");
  EXPECT_GT(SecondsSince(start), 0.5);
  EXPECT_LT(SecondsSince(start), 3.0);

  // Fewer bytes than asked for is not a failure; the clock of a virtual Env does not
  // shorten the device's own time-out.
  VirtualEnv env;
  ScopedEnv scoped(&env);
  line_.SendFromFar("abc");
  start = Clock::now();
  ASSERT_EQ(serial_.ReadData(got, 10), 0);
  EXPECT_EQ(got, "abc");
  EXPECT_GT(SecondsSince(start), 0.5);
  EXPECT_LT(SecondsSince(start), 3.0);
}

TEST_F(SerialLineTest, ChunksAreWrittenOneAtATimeWithPausesBetween) {
  Open(Line(line_.near()));
  VirtualEnv env;
  ScopedEnv scoped(&env);
  // Each pause is the moment to look at the far end: exactly the pieces so far arrived.
  std::vector<std::string> seen_in_pauses;
  env.RunAfter(250, [&] { seen_in_pauses.push_back(line_.ReceiveAtFar(5, 500ms)); });
  env.RunAfter(500, [&] { seen_in_pauses.push_back(line_.ReceiveAtFar(5, 500ms)); });
  ASSERT_EQ(serial_.WriteData("ABCDEFGHIJ", true, 4, 250), 0) << serial_.strErrorMessage();
  EXPECT_EQ(seen_in_pauses, (std::vector<std::string>{"ABCD", "EFGH"}));
  EXPECT_EQ(line_.ReceiveAtFar(2), "IJ");
  EXPECT_EQ(env.slept_ms(), 500) << "a pause between pieces, none after the last";

  // A whole number of chunks, and a chunk larger than the text.
  ASSERT_EQ(serial_.WriteData("12345678", true, 4, 10), 0);
  ASSERT_EQ(serial_.WriteData("xyz", true, 100, 10), 0);
  EXPECT_EQ(line_.ReceiveAtFar(11), "12345678xyz");
  EXPECT_EQ(env.slept_ms(), 510);
}

TEST_F(SerialLineTest, WriteGivesUpAfterAboutOneSecondWhileHeldByXoff) {
  Open(Line(line_.near(), 9600, 2, 4, 0, 3));
  line_.SendFromFar("\x13");  // DC3: the device's buffer is full
  std::this_thread::sleep_for(300ms);
  const auto start = Clock::now();
  EXPECT_EQ(serial_.WriteData("held", false, 0, 0), 1);
  EXPECT_GT(SecondsSince(start), 0.5);
  EXPECT_LT(SecondsSince(start), 3.0);
  EXPECT_EQ(serial_.strErrorMessage(), "Failed writing data to the opened port");
  EXPECT_EQ(serial_.lErrorCode(), ETIMEDOUT);

  line_.SendFromFar("\x11");  // DC1: go on
  std::this_thread::sleep_for(300ms);
  ASSERT_EQ(serial_.WriteData("flows", false, 0, 0), 0) << serial_.strErrorMessage();
  EXPECT_EQ(line_.ReceiveAtFar(5), "flows");
}

TEST_F(SerialLineTest, ClearInputDiscardsWhatArrivedBefore) {
  Open(Line(line_.near()));
  line_.SendFromFar("stale");
  std::this_thread::sleep_for(300ms);
  serial_.ClearInputBuffer();
  serial_.ClearOutputBuffer();
  line_.SendFromFar("fresh");
  std::string got;
  ASSERT_EQ(serial_.ReadData(got, 5), 0);
  EXPECT_EQ(got, "fresh");
  ASSERT_EQ(serial_.WriteData("still open", false, 0, 0), 0);
  EXPECT_EQ(line_.ReceiveAtFar(10), "still open");
}

TEST_F(SerialLineTest, FailureTextsOfMisuse) {
  serial_.Initialise(Line(line_.near()));
  std::string got = "x";
  EXPECT_EQ(serial_.WriteData("abc", false, 0, 0), 1);
  EXPECT_EQ(serial_.strErrorMessage(), "Port closed");
  EXPECT_EQ(serial_.ReadData(got, 1), 1);
  EXPECT_EQ(serial_.strErrorMessage(), "Port closed");
  EXPECT_EQ(serial_.Configure(), 1);
  EXPECT_EQ(serial_.strErrorMessage(), "Failed retrieving DCB settings for opened port");
  EXPECT_EQ(serial_.Disconnect(), 1);
  EXPECT_EQ(serial_.strErrorMessage(), "Failed closing COM Port");

  ASSERT_EQ(serial_.Connect(), 0);
  EXPECT_EQ(serial_.Connect(), 1);
  EXPECT_EQ(serial_.strErrorMessage(), "COM Port is already opened");
  ASSERT_EQ(serial_.Configure(), 0);
  EXPECT_EQ(serial_.ReadData(got, 0), 1);
  EXPECT_EQ(serial_.strErrorMessage(), "Number of bytes to read must be greater than 0");
  EXPECT_EQ(serial_.WriteData("", false, 0, 0), 1);
  EXPECT_EQ(serial_.strErrorMessage(), "Empty buffer passed. No data to write");
  EXPECT_EQ(serial_.WriteData("", true, 4, 0), 1);
  EXPECT_EQ(serial_.WriteData("abc", true, 0, 0), 1);
  EXPECT_EQ(serial_.strErrorMessage(), "Empty buffer passed. No data to write");
  // None of that disturbed the open port.
  ASSERT_EQ(serial_.WriteData("ok", false, 0, 0), 0);
  EXPECT_EQ(line_.ReceiveAtFar(2), "ok");
  EXPECT_EQ(serial_.Disconnect(), 0);
  EXPECT_EQ(serial_.WriteData("abc", false, 0, 0), 1);
  EXPECT_EQ(serial_.strErrorMessage(), "Port closed");

  for (const std::string& bad : {std::string("/nonexistent/ttyS0"), line_.dir().Write("f", "")}) {
    TSerial other;
    other.Initialise(Line(bad));
    EXPECT_EQ(other.Connect(), 1);
    EXPECT_EQ(other.strErrorMessage(), "Failed opening COM Port " + bad);
    EXPECT_NE(other.lErrorCode(), 0);
  }
}

TEST_F(SerialLineTest, LostLineFailsTheRead) {
  Open(Line(line_.near()));
  line_.Stop();
  std::string got;
  EXPECT_EQ(serial_.ReadData(got, 4), 1);
  EXPECT_EQ(serial_.strErrorMessage(), "Failed reading data from the opened port");
  EXPECT_EQ(serial_.lErrorCode(), EIO);
}

// 0 when a TSerial in a separate process cannot open the port, as expected while this
// process holds it; 1 when it could; 2 when it failed with the wrong text or code.
int ConnectFromAnotherProcess(const std::string& port) {
  return testing::RunInChild([&] {
    TSerial other;
    other.Initialise(Line(port));
    if (other.Connect() == 0) return 1;
    return other.strErrorMessage() == "Failed opening COM Port " + port &&
                   other.lErrorCode() == EBUSY
               ? 0
               : 2;
  });
}

TEST_F(SerialLineTest, PortIsExclusiveAcrossProcessesUntilReleased) {
  const int observer = open(line_.near().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
  ASSERT_GE(observer, 0);
  {
    TSerial holder;
    holder.Initialise(Line(line_.near()));
    ASSERT_EQ(holder.Connect(), 0);
    EXPECT_EQ(ConnectFromAnotherProcess(line_.near()), 0);

    TSerial same_process;
    same_process.Initialise(Line(line_.near()));
    EXPECT_EQ(same_process.Connect(), 1);
    EXPECT_EQ(same_process.lErrorCode(), EBUSY);
    int exclusive = 0;
    ASSERT_EQ(ioctl(observer, TIOCGEXCL, &exclusive), 0);
    EXPECT_EQ(exclusive, 1);

    // Re-initialising releases the port the record had opened.
    holder.Initialise(Line(line_.near()));
    EXPECT_EQ(ConnectFromAnotherProcess(line_.near()), 1);
    ASSERT_EQ(holder.Connect(), 0);
    EXPECT_EQ(ConnectFromAnotherProcess(line_.near()), 0);
  }  // the holder's end closes the port
  int exclusive = 1;
  ASSERT_EQ(ioctl(observer, TIOCGEXCL, &exclusive), 0);
  EXPECT_EQ(exclusive, 0);
  EXPECT_EQ(ConnectFromAnotherProcess(line_.near()), 1);
  close(observer);
}

TEST_F(SerialLineTest, ComPortNamesMapToDevices) {
  EXPECT_EQ(TSerial::DevicePathFor("/dev/ttyUSB0"), "/dev/ttyUSB0");
  EXPECT_EQ(TSerial::DevicePathFor("ttyACM1"), "/dev/ttyACM1");

  const char* saved = std::getenv("CCADDIN_PORTS_DIR");
  const std::string saved_value = saved ? saved : "";
  setenv("CCADDIN_PORTS_DIR", line_.dir().path().c_str(), 1);
  EXPECT_EQ(TSerial::DevicePathFor("COM1"), "/dev/ttyS0");
  EXPECT_EQ(TSerial::DevicePathFor("com12"), "/dev/ttyS11");
  EXPECT_EQ(TSerial::DevicePathFor("COM"), "/dev/COM");
  std::filesystem::create_symlink(line_.near(), line_.dir().file("COM7"));
  EXPECT_EQ(TSerial::DevicePathFor("Com7"), line_.dir().file("COM7"));

  // The link is followed to the real line.
  Open(Line("COM7"));
  ASSERT_EQ(serial_.WriteData("via COM7", false, 0, 0), 0);
  EXPECT_EQ(line_.ReceiveAtFar(8), "via COM7");
  if (saved) {
    setenv("CCADDIN_PORTS_DIR", saved_value.c_str(), 1);
  } else {
    unsetenv("CCADDIN_PORTS_DIR");
  }
}

}  // namespace
}  // namespace ccaddin

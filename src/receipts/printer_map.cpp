#include "receipts/printer_map.h"

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "platform/dispatch.h"
#include "platform/trap.h"

namespace ccaddin {
namespace {

using nlohmann::json;

int32_t IntField(const json& entry, const char* key, int32_t fallback) {
  if (!entry.contains(key)) return fallback;
  const json& v = entry.at(key);
  if (!v.is_number_integer()) throw Failure(std::string("\"") + key + "\" must be a whole number");
  return v.get<int32_t>();
}

std::string TextField(const json& entry, const char* key, const std::string& fallback) {
  if (!entry.contains(key)) return fallback;
  const json& v = entry.at(key);
  if (!v.is_string()) throw Failure(std::string("\"") + key + "\" must be a text");
  return v.get<std::string>();
}

// Line settings in the TConnectionInfo codes, from the words an installer writes.
void ReadSerialSettings(const json& entry, TConnectionInfo& info) {
  info.lBaudRate = IntField(entry, "baud", 9600);
  const std::string parity = TextField(entry, "parity", "N");
  const char p = parity.empty() ? 'N' : static_cast<char>(std::toupper(parity[0]));
  info.lParity = p == 'E' ? 0 : p == 'O' ? 1 : p == 'S' ? 3 : p == 'M' ? 4 : 2;
  const int32_t databits = IntField(entry, "databits", 8);
  if (databits < 5 || databits > 8) throw Failure("\"databits\" must be 5 to 8");
  info.lDatabits = databits - 4;
  double stop = 1;
  if (entry.contains("stopbits")) {
    if (!entry.at("stopbits").is_number()) throw Failure("\"stopbits\" must be 1, 1.5 or 2");
    stop = entry.at("stopbits").get<double>();
  }
  if (stop != 1 && stop != 1.5 && stop != 2) throw Failure("\"stopbits\" must be 1, 1.5 or 2");
  info.lStopbit = stop == 1 ? 0 : stop == 1.5 ? 1 : 2;
  const std::string flow = FoldMemberName(TextField(entry, "flow", "none"));
  if (flow == "none") {
    info.lFlowControl = 0;
  } else if (flow == "rtscts") {
    info.lFlowControl = 1;
  } else if (flow == "xonxoff") {
    info.lFlowControl = 3;
  } else {
    throw Failure("\"flow\" must be none, rtscts or xonxoff");
  }
}

PrinterMapping ReadEntry(const json& entry) {
  if (!entry.is_object()) throw Failure("the entry must be an object");
  PrinterMapping m;
  m.device = TextField(entry, "device", "");
  if (m.device.empty()) throw Failure("\"device\" is missing");
  if (m.device.rfind("tcp://", 0) == 0) {
    m.kind = PrinterMapping::Kind::kTcp;
    const std::string rest = m.device.substr(6);
    const size_t colon = rest.rfind(':');
    if (colon == std::string::npos || colon == 0)
      throw Failure("\"device\" must read tcp://host:port");
    m.host = rest.substr(0, colon);
    const std::string port = rest.substr(colon + 1);
    char* end = nullptr;
    const long n = std::strtol(port.c_str(), &end, 10);
    if (port.empty() || *end != '\0' || n < 1 || n > 65535)
      throw Failure("bad TCP port in \"device\"");
    m.port = static_cast<uint16_t>(n);
    m.status_check = true;
  } else if (m.device.rfind("serial:", 0) == 0) {
    m.kind = PrinterMapping::Kind::kSerial;
    m.serial.strComPort = m.device.substr(7);
    if (m.serial.strComPort.empty()) throw Failure("\"device\" names no serial port");
    ReadSerialSettings(entry, m.serial);
  } else {
    m.kind = PrinterMapping::Kind::kFile;
    m.path = m.device;
  }
  m.codepage = IntField(entry, "codepage", 1252);
  if (m.codepage != 1252 && m.codepage != 437) throw Failure("\"codepage\" must be 1252 or 437");
  if (entry.contains("status")) {
    if (!entry.at("status").is_boolean()) throw Failure("\"status\" must be true or false");
    m.status_check = entry.at("status").get<bool>();
  }
  m.timeout_ms = IntField(entry, "timeout_ms", 5000);
  if (m.timeout_ms < 1) throw Failure("\"timeout_ms\" must be positive");
  return m;
}

}  // namespace

std::string PrinterMapPath() {
  const char* env = std::getenv("CCADDIN_PRINTERS");
  return env != nullptr && *env != '\0' ? env : "/etc/ccaddin/printers.json";
}

std::optional<PrinterMapping> LookUpPrinter(const std::string& name, std::string& error) {
  const std::string path = PrinterMapPath();
  std::optional<PrinterMapping> found;
  const bool ok = Trap(error, "", false, [&] {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw Failure("Printer mapping file " + path + " cannot be read");
    std::stringstream content;
    content << in.rdbuf();
    const json doc = json::parse(content.str(), nullptr, false);
    if (doc.is_discarded() || !doc.is_object()) {
      throw Failure("Printer mapping file " + path + " is not a JSON object");
    }
    for (const auto& [key, entry] : doc.items()) {
      if (!MemberNamesEqual(key, name)) continue;
      try {
        found = ReadEntry(entry);
      } catch (const Failure& e) {
        throw Failure("Printer \"" + key + "\" in " + path + ": " + e.what());
      }
      return true;
    }
    throw Failure("No printer named \"" + name + "\" in " + path);
  });
  if (!ok) return std::nullopt;
  return found;
}

}  // namespace ccaddin

#include "demo_site.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "reg_admin.h"

namespace ccaddin {

namespace {

namespace fs = std::filesystem;

void SetValue(const std::string& db, const std::string& name, const std::string& value) {
  std::ostringstream out, err;
  if (RunRegAdmin({"--db", db, "set", name, value}, out, err) != kExitOk) {
    throw std::runtime_error(err.str());
  }
}

void WriteNew(const fs::path& file, const std::string& text) {
  std::ofstream out(file);
  out << text;
  if (!out.flush()) throw std::runtime_error("cannot write " + file.string());
}

}  // namespace

std::optional<int32_t> ParseAmount(const std::string& text) {
  const size_t dot = text.find('.');
  const std::string whole = text.substr(0, dot);
  const std::string fraction = dot == std::string::npos ? "" : text.substr(dot + 1);
  if (whole.empty() || whole.size() > 8 || fraction.size() > 2) return std::nullopt;
  if (dot != std::string::npos && fraction.empty()) return std::nullopt;
  for (const char c : whole + fraction) {
    if (c < '0' || c > '9') return std::nullopt;
  }
  int64_t minor = std::stoll(whole) * 100;
  if (!fraction.empty()) minor += std::stoll(fraction) * (fraction.size() == 1 ? 10 : 1);
  if (minor > INT32_MAX) return std::nullopt;
  return static_cast<int32_t>(minor);
}

std::string PrepareDemoSite(const std::string& folder, std::ostream& out) {
  const fs::path root = fs::absolute(folder).lexically_normal();
  if (fs::exists(root) && !fs::is_directory(root)) {
    throw std::runtime_error(root.string() + " exists and is not a folder");
  }
  fs::create_directories(root / "config");
  fs::create_directories(root / "receipts");
  const std::string db = (root / "registry.db").string();
  if (!fs::exists(db)) {
    std::ostringstream ignored, err;
    if (RunRegAdmin({"--db", db, "init"}, ignored, err) != kExitOk) {
      throw std::runtime_error(err.str());
    }
    SetValue(db, "ConfigFileLocation", (root / "config").string() + "/");
    SetValue(db, "ConfigFileName", "qlclient.json");
    SetValue(db, "ReceiptFileLocation", (root / "receipts").string() + "/");
    SetValue(db, "BaseCurrency", "826");
    SetValue(db, "BaseCurrencyName", "GBP");
    SetValue(db, "BaseCurrencyExponent", "2");
    SetValue(db, "CashbackEnabled", "1");
    SetValue(db, "ExternalSwipe", "1");
    SetValue(db, "SaveReceipts", "1");
    SetValue(db, "DeleteReceiptDays", "30");
  } else {
    std::ostringstream ignored, err;
    if (RunRegAdmin({"--db", db, "list"}, ignored, err) != kExitOk) {
      std::string why = err.str();
      while (!why.empty() && (why.back() == '\n' || why.back() == '\r')) why.pop_back();
      throw std::runtime_error("the demo site's settings store " + db + " cannot be read (" + why +
                               "); move " + root.string() + " away to make a fresh demo site");
    }
  }
  const fs::path config = root / "config" / "qlclient.json";
  if (!fs::exists(config)) {
    WriteNew(config,
             "{\n  \"store\": \"qlsim-server.sqlite\",\n"
             "  \"terminal\": {\"terminalId\": \"DEMO0001\"}\n}\n");
  }
  // The window's settings come with the printer map, so a site made before the demo till
  // existed gets them once, and a merchant's later edits stay.
  const fs::path printers = root / "config" / "printers.json";
  if (!fs::exists(printers)) {
    SetValue(db, "CardReaderStatusEnabled", "1");
    SetValue(db, "CardEnquiryEnabled", "1");
    SetValue(db, "PrinterType", "1");
    SetValue(db, "OPOSPrinterDeviceName", kDemoPrinterName);
    const fs::path paper = root / "printer.out";
    WriteNew(paper, "");  // the printer's device is a file that must exist
    std::string device;
    for (const char c : paper.string()) {
      if (c == '"' || c == '\\') device += '\\';
      device += c;
    }
    WriteNew(printers,
             std::string("{\"") + kDemoPrinterName + "\": {\"device\": \"" + device + "\"}}\n");
  }
  out << "Demo site: " << root.string() << "\n";
  return db;
}

}  // namespace ccaddin

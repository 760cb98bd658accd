#include "receipts/generate_report.h"

#include <charconv>
#include <limits>
#include <string_view>
#include <unordered_map>

#include "payment/credit_card_common.h"
#include "platform/csv_record.h"
#include "platform/file_system.h"
#include "platform/trap.h"
#include "receipts/receipt.h"

namespace ccaddin {
namespace {

constexpr size_t kWidth = 40;
constexpr const char* kCrLf = "\r\n";

constexpr std::string_view kGenerateReportFailed = "TGenerateReport.GenerateReport() Failed - ";
constexpr std::string_view kPopulateFailed = "TGenerateReport.PopulateTotalStructure() Failed - ";
constexpr std::string_view kPrintFailed = "TGenerateReport.PrintReport() Failed - ";
constexpr std::string_view kPrintReceiptFailed = "TReceipt.PrintReceipt() Failed - ";

const std::string& Dashes() {
  static const std::string dashes(kWidth, '-');
  return dashes;
}

// VB's Mid$: 1-based, and a start or length past the end gives what is there.
std::string Mid(const std::string& text, size_t start, size_t length) {
  if (start == 0 || start > text.size()) return {};
  return text.substr(start - 1, length);
}

std::string TrimBlanks(std::string_view text) {
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  const size_t last = text.find_last_not_of(' ');
  return std::string(text.substr(first, last - first + 1));
}

// Upper case of Windows-1252 text, accented letters included, as the till's own
// upper-casing does; group names come from the server and may carry them.
std::string UpperCase(std::string text) {
  for (char& c : text) {
    const auto b = static_cast<unsigned char>(c);
    if ((b >= 'a' && b <= 'z') || (b >= 0xE0 && b <= 0xFE && b != 0xF7)) {
      c = static_cast<char>(b - 0x20);
    } else if (b == 0x9A || b == 0x9C || b == 0x9E) {
      c = static_cast<char>(b - 0x10);
    } else if (b == 0xFF) {
      c = static_cast<char>(0x9F);
    }
  }
  return text;
}

// Totals are 32-bit on the printed report, as in the server's own figures; a sum that
// does not fit is a failure rather than a wrapped total.
int32_t Checked(int64_t value) {
  if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max()) {
    throw Failure("Overflow");
  }
  return static_cast<int32_t>(value);
}

int32_t ParseAmount(const std::string& field, int64_t line_no) {
  const std::string text = TrimBlanks(field);
  std::string_view digits = text;
  if (digits.starts_with("+") && !digits.starts_with("+-")) digits.remove_prefix(1);
  int32_t value = 0;
  const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (digits.empty() || ec != std::errc() || end != digits.data() + digits.size()) {
    // A field of any length may stand there; the message shows enough to find it.
    const std::string shown = field.size() > 20 ? field.substr(0, 20) + "..." : field;
    throw Failure("Invalid amount \"" + shown + "\" on line " + std::to_string(line_no) +
                  " of the report data file");
  }
  return value;
}

bool IsBlank(const std::string& line) {
  return line.find_first_not_of(" \t\r") == std::string::npos;
}

// Lines of one report sequence (the card report or the fuel card summary).
class ReportText {
 public:
  void Add(const std::string& line) {
    text_ += line;
    text_ += kCrLf;
  }
  [[nodiscard]] const std::string& text() const { return text_; }

  void AddSequence(const TTillInformation& till, const std::string& date_name,
                   const std::string& title, const std::vector<TReportTotals>& totals,
                   int32_t exponent) {
    for (const std::string* line :
         {&till.strMerchantName, &till.strAddressLine1, &till.strAddressLine2,
          &till.strAddressLine3, &till.strSitePhoneNumber}) {
      if (!line->empty()) Add(*line);
    }
    // The server names its data files TMP_YYYYMMDD_HHMMSS.txt.
    const std::string date =
        Mid(date_name, 11, 2) + "-" + Mid(date_name, 9, 2) + "-" + Mid(date_name, 5, 4);
    const std::string time = Mid(date_name, 14, 2) + ":" + Mid(date_name, 16, 2);
    Add(TReceipt::JoinLeftRight(date + " " + time, "TILL " + till.strTillNumber));
    Add("");
    Add(TReceipt::CentreText(title));

    int64_t count = 0, sale = 0, cashback = 0, refund = 0;
    for (const TReportTotals& group : totals) {
      Add(Dashes());
      Add(TReceipt::JoinLeftRight(UpperCase(group.strGroupName),
                                  "COUNT=" + std::to_string(group.lCount)));
      Add(Dashes());
      Add(TReceipt::JoinLeftRight("SALE", TReceipt::FormatAmount(group.lSaleTotal, exponent)));
      if (group.lCashbackTotal > 0) {
        Add(TReceipt::JoinLeftRight("CASHBACK",
                                    TReceipt::FormatAmount(group.lCashbackTotal, exponent)));
      }
      Add(TReceipt::JoinLeftRight("REFUND",
                                  "-" + TReceipt::FormatAmount(group.lRefundTotal, exponent)));
      Add(Dashes());
      const int32_t net =
          Checked(int64_t{group.lSaleTotal} + group.lCashbackTotal - group.lRefundTotal);
      Add(TReceipt::JoinLeftRight("TOTAL", TReceipt::FormatAmount(net, exponent)));
      Add(Dashes());
      Add("");
      count += group.lCount;
      sale += group.lSaleTotal;
      cashback += group.lCashbackTotal;
      refund += group.lRefundTotal;
    }
    if (totals.empty()) {
      Add(Dashes());
      Add(TReceipt::CentreText("NO TRANSACTIONS"));
      Add(Dashes());
    }

    Add(Dashes());
    Add(TReceipt::JoinLeftRight("TOTAL COUNT", std::to_string(Checked(count))));
    Add(TReceipt::JoinLeftRight("TOTAL SALE", TReceipt::FormatAmount(Checked(sale), exponent)));
    Add(TReceipt::JoinLeftRight("TOTAL CASHBACK",
                                TReceipt::FormatAmount(Checked(cashback), exponent)));
    Add(TReceipt::JoinLeftRight("TOTAL REFUND",
                                "-" + TReceipt::FormatAmount(Checked(refund), exponent)));
    Add(Dashes());
    Add(TReceipt::JoinLeftRight(
        "TOTAL",
        TReceipt::FormatAmount(
            Checked(Checked(sale) + int64_t{Checked(cashback)} - Checked(refund)), exponent)));
    Add(Dashes());
    Add(TReceipt::CentreText("END OF REPORT"));
    Add(Dashes());
  }

 private:
  std::string text_;
};

std::string FolderPath(const std::string& folder) {
  if (folder.empty() || folder.back() == '/') return folder;
  return folder + "/";
}

}  // namespace

int32_t TGenerateReport::PopulateTotalStructure(const std::string& strDataFilePath,
                                                std::vector<TReportTotals>& totals) {
  FileSystem fs;
  int32_t handle = 0;
  if (fs.FileExists(strDataFilePath)) fs.OpenFile(strDataFilePath, 0, handle);
  if (handle < 1) {
    error_message_ = "Failed opening report file " + strDataFilePath;
    return kFailure;
  }
  const int32_t result = Trap(error_message_, kPopulateFailed, kFailure, [&] {
    std::vector<TReportTotals> table;
    std::unordered_map<std::string, size_t> index;  // group name -> entry of the table
    std::string line;
    std::vector<std::string> fields;
    CSVRecord csv;
    int64_t line_no = 0;
    while (!fs.Eof(handle)) {
      if (fs.ReadData(handle, line, true, 0) != 0) throw Failure(fs.strErrorMessage());
      if (++line_no == 1 || IsBlank(line)) continue;
      int16_t field_count = 0;
      if (csv.BreakOutFields(fields, field_count, line) != 0) throw Failure(csv.strErrorMessage());
      if (field_count < 6) {
        // The system's own text, set without the operation's prefix.
        error_message_ = "Invalid number of fields in report record";
        return kFailure;
      }
      const std::string& kind = fields[2];
      auto [it, added] = index.try_emplace(fields[5], table.size());
      if (added) table.push_back(TReportTotals{fields[5]});
      TReportTotals& group = table[it->second];
      if (kind == "A" || kind == "B") {
        group.lSaleTotal = Checked(int64_t{group.lSaleTotal} + ParseAmount(fields[3], line_no));
      }
      if (kind == "B") {
        group.lCashbackTotal =
            Checked(int64_t{group.lCashbackTotal} + ParseAmount(fields[4], line_no));
      }
      if (kind == "F") {
        group.lRefundTotal = Checked(int64_t{group.lRefundTotal} + ParseAmount(fields[3], line_no));
      }
      group.lCount = Checked(int64_t{group.lCount} + 1);
    }
    totals = std::move(table);
    return kSuccess;
  });
  fs.CloseFile(handle);
  return result;
}

int32_t TGenerateReport::WriteReportFile(const TTillInformation& oTillInfo,
                                         const std::string& strReportLocation,
                                         const std::string& strDataFile,
                                         const std::string& strFuelDataFile, bool bXReport,
                                         int32_t lCurrencyExponent, bool bMemoryOnly) {
  report_.clear();
  return Trap(error_message_, kGenerateReportFailed, kFailure, [&] {
    const std::string folder = FolderPath(strReportLocation);
    ReportText text;
    std::vector<TReportTotals> totals;
    if (PopulateTotalStructure(folder + strDataFile, totals) != kSuccess) return kFailure;
    text.AddSequence(oTillInfo, strDataFile,
                     bXReport ? "CREDIT CARD X-REPORT" : "CREDIT CARD Z-REPORT", totals,
                     lCurrencyExponent);
    if (!strFuelDataFile.empty()) {
      std::vector<TReportTotals> fuel;
      if (PopulateTotalStructure(folder + strFuelDataFile, fuel) != kSuccess) return kFailure;
      // The fuel data file is requested together with the card one and carries the same
      // date and time after a longer prefix ("TMP_FUEL_"), so the card file's name dates
      // both parts of the report.
      text.AddSequence(oTillInfo, strDataFile, "FUEL CARD SUMMARY REPORT", fuel, lCurrencyExponent);
    }
    if (bMemoryOnly) {
      report_ = text.text();
      return kSuccess;
    }

    const std::string path =
        folder + "RPT_" + (strDataFile.size() > 4 ? strDataFile.substr(4) : "");
    FileSystem fs;
    int32_t handle = 0;
    fs.OpenFile(path, 1, handle);
    if (handle < 1) {
      error_message_ = "Failed opeing report file " + path;
      return kFailure;
    }
    const std::string& all = text.text();
    size_t start = 0;
    while (start < all.size()) {
      const size_t end = all.find(kCrLf, start);
      if (fs.WriteData(handle, all.substr(start, end - start), true) != 0) {
        const std::string reason = fs.strErrorMessage();
        fs.CloseFile(handle);
        (void)fs.DeleteFile(path);
        throw Failure(reason);
      }
      start = end + 2;
    }
    fs.CloseFile(handle);
    report_ = all;
    report_file_ = path;
    return kSuccess;
  });
}

int32_t TGenerateReport::GenerateReport(PosPrinter* oPrinter, const TTillInformation& oTillInfo,
                                        const std::string& strReportLocation,
                                        const std::string& strDataFile,
                                        const std::string& strFuelDataFile, bool bXReport) {
  const int32_t exponent = Shared().lBaseCurrencyExponent;
  if (WriteReportFile(oTillInfo, strReportLocation, strDataFile, strFuelDataFile, bXReport,
                      exponent, false) != kSuccess) {
    return kFailure;
  }
  return PrintReport(oPrinter, report_file_);
}

int32_t TGenerateReport::PrintReport(PosPrinter* oPrinter, const std::string& strReportFile) {
  return Trap(error_message_, kPrintFailed, kFailure, [&] {
    // Printed as a merchant copy would be, without the till's receipt texts, and cut off
    // after it: a report is a document of its own.
    TReceipt printer;
    if (printer.PrintReceipt(oPrinter, true, strReportFile, "", false, true, false) != 0) {
      std::string reason = printer.strErrorMessage();
      if (reason.starts_with(kPrintReceiptFailed)) reason.erase(0, kPrintReceiptFailed.size());
      throw Failure(reason);
    }
    return kSuccess;
  });
}

}  // namespace ccaddin

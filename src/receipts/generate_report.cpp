#include "receipts/generate_report.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <string_view>
#include <unordered_map>

#include "payment/credit_card_common.h"
#include "platform/csv_record.h"
#include "platform/file_system.h"
#include "platform/text_rules.h"
#include "platform/trap.h"
#include "receipts/receipt.h"

namespace ccaddin {
namespace {

constexpr size_t kWidth = 40;
constexpr const char* kCrLf = "\r\n";
// Data files are read in blocks of this size.
constexpr int32_t kReadBlock = 128 * 1024;

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

// Totals are 32-bit on the printed report, as in the server's own figures; a sum that
// does not fit is a failure rather than a wrapped total.
int32_t Checked(int64_t value) {
  if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max()) {
    throw Failure("Overflow");
  }
  return static_cast<int32_t>(value);
}

// A whole number of minor units: optional spaces around it, one "+" or "-" before it
// (not both), digits only, within 32 bits.
int32_t ParseAmount(std::string_view field, int64_t line_no) {
  const char* p = field.data();
  const char* end = p + field.size();
  while (p < end && *p == ' ') ++p;
  while (end > p && end[-1] == ' ') --end;
  if (p < end && *p == '+' && !(p + 1 < end && p[1] == '-')) ++p;
  const bool negative = p < end && *p == '-';
  if (negative) ++p;
  // One beyond the largest magnitude, so that the loop stops before it can wrap.
  constexpr uint64_t kLimit = uint64_t{1} << 31;
  uint64_t magnitude = 0;
  bool valid = p < end;
  for (; p < end; ++p) {
    const auto digit = static_cast<unsigned>(static_cast<unsigned char>(*p) - '0');
    magnitude = magnitude * 10 + digit;
    if (digit > 9 || magnitude > kLimit) {
      valid = false;
      break;
    }
  }
  if (valid && (negative ? magnitude <= kLimit : magnitude < kLimit)) {
    return negative ? static_cast<int32_t>(-static_cast<int64_t>(magnitude))
                    : static_cast<int32_t>(magnitude);
  }
  // A field of any length may stand there; the message shows enough to find it.
  const std::string shown =
      field.size() > 20 ? std::string(field.substr(0, 20)) + "..." : std::string(field);
  throw Failure("Invalid amount \"" + shown + "\" on line " + std::to_string(line_no) +
                " of the report data file");
}

bool IsBlank(std::string_view line) {
  for (char c : line) {
    if (c != ' ' && c != '\t' && c != '\r') return false;
  }
  return true;
}

// Looks a group up by the view of its name in the record, without making a string.
// The lookup runs for every record, so the name is read a word at a time rather than
// a byte at a time: two words that may overlap cover a name of up to sixteen bytes.
struct NameHash {
  using is_transparent = void;
  static uint64_t Word(const char* p) {
    uint64_t word = 0;
    std::memcpy(&word, p, sizeof word);
    return word;
  }
  static uint64_t HalfWord(const char* p) {
    uint32_t half = 0;
    std::memcpy(&half, p, sizeof half);
    return half;
  }
  static uint64_t Mix(uint64_t hash, uint64_t word) {
    hash = (hash ^ word) * 0x9E3779B97F4A7C15ull;
    return hash ^ (hash >> 29);
  }
  size_t operator()(std::string_view name) const noexcept {
    const char* p = name.data();
    const size_t n = name.size();
    uint64_t hash = Mix(0, n);
    if (n >= 8) {
      for (size_t i = 0; i + 8 < n; i += 8) hash = Mix(hash, Word(p + i));
      hash = Mix(hash, Word(p + n - 8));
    } else if (n >= 4) {
      hash = Mix(hash, HalfWord(p) << 32 | HalfWord(p + n - 4));
    } else if (n > 0) {
      hash = Mix(hash, static_cast<unsigned char>(p[0]) << 16 |
                           static_cast<unsigned char>(p[n / 2]) << 8 |
                           static_cast<unsigned char>(p[n - 1]));
    }
    return static_cast<size_t>(hash);
  }
};

// Adds the records of one data file up, line by line, as the file is read.
class TotalsReader {
 public:
  // One line of the file without its line end, in a buffer the reader may rewrite.
  // False when it is a record of fewer than six fields; throws on any other fault.
  bool AddLine(char* text, size_t size) {
    if (++line_no_ == 1 || IsBlank(std::string_view(text, size))) return true;
    // The whole record is split before anything is added up, so that a record that
    // cannot be split fails as such whatever its first fields hold.
    // Fields after the sixth are read into the last slot and dropped.
    std::string_view fields[7];
    int count = 0;
    CsvFieldReader reader(text, size);
    try {
      while (reader.Next(fields[count < 6 ? count : 6])) ++count;
    } catch (const Failure& e) {
      throw Failure(std::string(CSVRecord::kBreakOutFailed) + e.what());
    }
    if (count < 6) return false;

    const std::string_view kind = fields[2];
    const std::string_view name = fields[5];
    auto it = index_.find(name);
    if (it == index_.end()) {
      it = index_.emplace(std::string(name), table_.size()).first;
      table_.push_back(TReportTotals{std::string(name)});
    }
    TReportTotals& group = table_[it->second];
    if (kind == "A" || kind == "B") {
      group.lSaleTotal = Checked(int64_t{group.lSaleTotal} + ParseAmount(fields[3], line_no_));
    }
    if (kind == "B") {
      group.lCashbackTotal =
          Checked(int64_t{group.lCashbackTotal} + ParseAmount(fields[4], line_no_));
    }
    if (kind == "F") {
      group.lRefundTotal = Checked(int64_t{group.lRefundTotal} + ParseAmount(fields[3], line_no_));
    }
    group.lCount = Checked(int64_t{group.lCount} + 1);
    return true;
  }

  [[nodiscard]] std::vector<TReportTotals>& table() { return table_; }

 private:
  std::vector<TReportTotals> table_;
  std::unordered_map<std::string, size_t, NameHash, std::equal_to<>> index_;
  int64_t line_no_ = 0;
};

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
    TotalsReader reader;
    const auto too_few_fields = [&] {
      // The system's own text, set without the operation's prefix.
      error_message_ = "Invalid number of fields in report record";
      return kFailure;
    };
    // Lines end at LF, and a CR just before it goes with it (files written on
    // Windows), as FileSystem reads lines. The file is read in large blocks and its
    // lines are added up where they lie; only a line that runs across the end of a
    // block is put together in `partial`, so memory stays the same whatever the size
    // of the file.
    const auto add_line = [&](char* text, char* lf) {
      if (lf > text && lf[-1] == '\r') --lf;
      return reader.AddLine(text, static_cast<size_t>(lf - text));
    };
    std::string block;
    std::string partial;
    while (!fs.Eof(handle)) {
      if (fs.ReadData(handle, block, false, kReadBlock) != 0) throw Failure(fs.strErrorMessage());
      char* next = block.data();
      char* const end = next + block.size();
      for (;;) {
        auto* lf = static_cast<char*>(std::memchr(next, '\n', static_cast<size_t>(end - next)));
        if (lf == nullptr) break;
        if (!partial.empty()) {
          partial.append(next, static_cast<size_t>(lf - next));
          if (!add_line(partial.data(), partial.data() + partial.size())) return too_few_fields();
          partial.clear();
        } else if (!add_line(next, lf)) {
          return too_few_fields();
        }
        next = lf + 1;
      }
      partial.append(next, static_cast<size_t>(end - next));
    }
    // The last line may end without a line end; a CR there is then part of it.
    if (!partial.empty() && !reader.AddLine(partial.data(), partial.size())) {
      return too_few_fields();
    }
    totals = std::move(reader.table());
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
    const std::string folder = FolderWithSeparator(strReportLocation);
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

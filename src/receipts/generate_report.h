// X and Z reports: reads the totals data file that the payment server's report request
// left in the report folder, adds the card transactions up per card group, writes the
// 40-column report text as an "RPT_" file beside it and prints it like a receipt.
// One object per report; it blocks on the disk and, when printing, on the printer.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ccaddin/records.h"

namespace ccaddin {

class PosPrinter;

// The totals of one card group, in minor units.
struct TReportTotals {
  std::string strGroupName;
  int32_t lSaleTotal = 0;
  int32_t lCashbackTotal = 0;
  int32_t lRefundTotal = 0;
  int32_t lCount = 0;
};

class TGenerateReport {
 public:
  // Results of the operations below.
  static constexpr int32_t kSuccess = 0;
  static constexpr int32_t kFailure = 1;

  // Writes the report file of strDataFile (and strFuelDataFile), names in the report
  // folder strReportLocation, with the configured lBaseCurrencyExponent (Shared()), then
  // prints it with the receipt printer routines on the configured printer. oPrinter is
  // the window's POS printer control, or null for one made for the call. A report that
  // fails to print stays on disk, so it can be printed again. 0 success, 1 failure.
  [[nodiscard]] int32_t GenerateReport(PosPrinter* oPrinter, const TTillInformation& oTillInfo,
                                       const std::string& strReportLocation,
                                       const std::string& strDataFile,
                                       const std::string& strFuelDataFile, bool bXReport);

  // Prints a report file as a receipt is printed (without the till's receipt texts) and
  // cuts the paper after it.
  [[nodiscard]] int32_t PrintReport(PosPrinter* oPrinter, const std::string& strReportFile);

  // Reads strDataFilePath into one entry per card group, in order of first appearance.
  // The first line is the heading; blank lines are not records. A record with fewer
  // than six fields, an amount that is not a whole number, or a total beyond 32 bits
  // fails the whole file: a report that left a transaction out would look right and be
  // wrong. On failure `totals` is left as it was.
  [[nodiscard]] int32_t PopulateTotalStructure(const std::string& strDataFilePath,
                                               std::vector<TReportTotals>& totals);

  // Composes the report of strDataFile (and, when not empty, the fuel card summary of
  // strFuelDataFile), both names of files in strReportLocation, into strReport (lines
  // end in CR LF), with amounts of lCurrencyExponent decimals. Unless bMemoryOnly, the
  // text is then written to strReportLocation & "RPT_" & strDataFile from its fifth
  // character on, whose path is left in strReportFileName. Nothing is written unless
  // both data files were read completely; a write that fails part-way removes the file.
  [[nodiscard]] int32_t WriteReportFile(const TTillInformation& oTillInfo,
                                        const std::string& strReportLocation,
                                        const std::string& strDataFile,
                                        const std::string& strFuelDataFile, bool bXReport,
                                        int32_t lCurrencyExponent, bool bMemoryOnly);

  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }
  // The last composed report; empty after a failure.
  [[nodiscard]] const std::string& strReport() const { return report_; }
  // Full path of the report file last written.
  [[nodiscard]] const std::string& strReportFileName() const { return report_file_; }

 private:
  std::string error_message_;
  std::string report_;
  std::string report_file_;
};

}  // namespace ccaddin

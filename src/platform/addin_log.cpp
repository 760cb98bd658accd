#include "platform/addin_log.h"

#include <utility>

#include "platform/pad_extract.h"
#include "platform/text_rules.h"
#include "platform/trap.h"

#ifndef CCADDIN_VERSION_MAJOR
#error "the build must define the component's version numbers"
#endif

namespace ccaddin {

namespace {

constexpr int32_t kLabelWidth = 30;
constexpr int16_t kPadSpacesRight = 1;

// "INPUT  : " or "OUTPUT : " and the label, padded so the "=" signs line up.
std::string LabelPart(const char* direction, const std::string& label) {
  return direction + PadExtract::PadString(label, kPadSpacesRight, kLabelWidth);
}

// The text for `code` in a table indexed by code; nullptr outside the table.
template <size_t N>
const char* ByCode(const char* const (&texts)[N], int32_t code) {
  return code >= 0 && static_cast<size_t>(code) < N ? texts[code] : nullptr;
}

std::string Amount(int32_t value) {
  return std::to_string(value) + " (in lowest denomination)";
}

std::string TrueFalse(bool value) {
  return value ? "TRUE" : "FALSE";
}

// Every CR LF pair becomes the visible marker, so a whole receipt stays on one line.
std::string FlattenLines(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
      out += "<CR><LF>";
      ++i;
    } else {
      out += text[i];
    }
  }
  return out;
}

}  // namespace

void TAddinLog::StartLog(const std::string& strLogFileDir, bool bSupressInitialLogMsg) noexcept {
  Quietly([&] {
    auto log = std::make_unique<Logging>();
    // An empty folder stays empty: the writer then drops every line.
    log->strLogPath(FolderWithSeparator(strLogFileDir));
    log->strLogFile(kJournalFileName);
    log->bLoggingEnabled(true);
    log->bArchiveLogFile(true);
    oLogging_ = std::move(log);
    if (!bSupressInitialLogMsg) {
      Line("*** Tamberin CreditCard Add-in called by client... (v" +
           std::to_string(CCADDIN_VERSION_MAJOR) + "." + std::to_string(CCADDIN_VERSION_MINOR) +
           "." + std::to_string(CCADDIN_VERSION_REVISION) + ")");
    }
  });
}

void TAddinLog::LogStartTransaction(bool bSale, int32_t lSaleValue, int32_t lGratuityValue,
                                    int32_t lCashbackValue, bool bSplitTendering,
                                    int32_t lTenderIndex, bool bNonGuiTransaction,
                                    const std::string& strProducts) noexcept {
  Quietly([&] {
    if (bNonGuiTransaction) Line("INPUT  : Non GUI Transaction");
    if (bSplitTendering) {
      Input("Split tendering", "TRUE");
      Input("Tender index", std::to_string(lTenderIndex));
    }
    Input("Transaction type", bSale ? "SALE" : "REFUND");
    Input("Sale/Refund amount", Amount(lSaleValue));
    Input("Gratuity amount", Amount(lGratuityValue));
    Input("Cashback amount", Amount(lCashbackValue));
    if (!strProducts.empty()) Input("Products", strProducts);
    if (lSaleValue < 1) {
      Line("ERROR  : Transaction value must be greater than 0 (zero) - aborting transaction");
    }
  });
}

void TAddinLog::LogConfirm(int32_t lConfirmType, const std::string& strTransactionReference,
                           const std::string& strAuthCode) noexcept {
  Quietly([&] {
    const char* type = lConfirmType == CONFIRMTYPE_AUTHORISED ? "AUTHORISED"
                       : lConfirmType == CONFIRMTYPE_DECLINED ? "DECLINED"
                                                              : "CANCELLED";
    Line(std::string("CONFIRM TRANSACTION : Type=") + type +
         ", TransactionReference=" + strTransactionReference + ", AuthCode=" + strAuthCode);
  });
}

void TAddinLog::LogKeyPress(const std::string& strFormName, const std::string& strControlName,
                            int16_t iKeyAscii, int32_t lButtonIndex) noexcept {
  Quietly([&] {
    Line("FORM=" + strFormName + ", CONTROL=" + strControlName + ", KEYASCII=" +
         std::to_string(iKeyAscii) + ", BUTTONINDEX=" + std::to_string(lButtonIndex));
  });
}

void TAddinLog::LogError(const std::string& strErrorMessage) noexcept {
  Quietly([&] { Line("ERROR  : " + strErrorMessage); });
}

void TAddinLog::LogOperatorScript(const std::string& strText) noexcept {
  Quietly([&] { Line("SCRIPT : " + strText); });
}

void TAddinLog::LogEndTransaction(const TTransactionInfo& oTxInfo) noexcept {
  Quietly([&] {
    // Values that begin with "=" carry the separator themselves.
    auto coded = [&](const std::string& label, const char* value_with_separator) {
      Line(LabelPart("OUTPUT : ", label) + value_with_separator);
    };

    static constexpr const char* kResponses[] = {nullptr, "=Authorised", "=Declined",
                                                 "=Cancelled (at accept/reject stage by the user)",
                                                 "=Referred"};
    static constexpr const char* kVerifications[] = {"=None", "=Pin verified", "=Signature",
                                                     "=pin and signature"};
    // Tapped cards (4) and unknown methods have no journal text.
    static constexpr const char* kEntryMethods[] = {"=None", "=Keyed", "=Swiped", "=Chip"};

    const char* response = ByCode(kResponses, oTxInfo.lResponseCode);
    coded("Response", response != nullptr ? response : "=Aborted by operator");
    Output("Cash back amount", Amount(oTxInfo.lCashbackAmount));
    if (const char* text = ByCode(kVerifications, oTxInfo.lCustomerVerification)) {
      coded("Customer verification", text);
    }
    if (const char* text = ByCode(kEntryMethods, oTxInfo.lDataEntryMethod)) {
      coded("Data entry method", text);
    }
    Output("Transaction Reference", std::to_string(oTxInfo.lTransactionRefNo));
    Output("Authorisation code", oTxInfo.strAuthorisationCode);
    Output("Currency code", oTxInfo.strCurrencyCode);
    Output("Emv application id", oTxInfo.strEmvAppicationId);
    Output("Emv application label", oTxInfo.strEmvAppicationLabel);
    Output("Merchant number", oTxInfo.strMerchantNo);
    Output("Pan first 6 digits", oTxInfo.strPanFirst6Digits);
    Output("Pan last 4 digits", oTxInfo.strPanLast4Digits);
    Output("Scheme name", oTxInfo.strSchemeName);
    Output("Terminal id", oTxInfo.strTerminalId);
    Output("Card Class", oTxInfo.lCardClass == TRANSINFO_CC_FUEL ? "FUEL" : "CREDIT/DEBIT");
    Output("Fuel Bunker Card", TrueFalse(oTxInfo.bFuelBunkerCard));
    Output("Fuel Print Bunker Tottal", TrueFalse(oTxInfo.bPrintFuelBunkerTotal));
    Output("Not Allowed Fuel Products", oTxInfo.strFuelProducts);
    Output("Customer Mileage", std::to_string(oTxInfo.lCustomerMileage));
    Output("Customer Registraion", oTxInfo.strCustomerRegNo);
    Output("Token", oTxInfo.strToken.empty() ? "" : "TOKEN RETURNED TO CLIENT");
    Output("Customer Receipt", FlattenLines(oTxInfo.strCustomerReceipt));
  });
}

void TAddinLog::LogRunTask(int32_t lTask) noexcept {
  Quietly([&] {
    static constexpr const char* kTasks[] = {"UPLOAD OFFLINE TRANSACTIONS", "TMS CALL",
                                             "CLOSE BATCH"};
    const char* known = ByCode(kTasks, lTask);
    // An unknown task still tells support what was asked.
    const std::string name = known != nullptr ? known : std::to_string(lTask);
    Line("Run task [" + name + "]");
  });
}

void TAddinLog::LogVoidTransaction(int32_t lTransactionReference) noexcept {
  Quietly([&] { Line("Void transaction [" + std::to_string(lTransactionReference) + "]"); });
}

void TAddinLog::LogDuplicateReceipt(int32_t lTransactionReference) noexcept {
  Quietly([&] { Line("Duplicate receipt [" + std::to_string(lTransactionReference) + "]"); });
}

void TAddinLog::LogReport(int32_t lReportType, bool bCloseBatch) noexcept {
  Quietly([&] {
    if (lReportType == REPORTHOOK_RT_XREPORT) {
      Line("Generate report [X-REPORT]");
    } else {
      Line(std::string("Generate report [Z-REPORT], Closebatch=") +
           (bCloseBatch ? "True" : "False"));
    }
  });
}

void TAddinLog::LogFuelBalanceStart() noexcept {
  Quietly([&] { Line("Starting Fuel Balance Enquiry"); });
}

void TAddinLog::LogFuelBalanceEnd(const std::string& strCardNumber, const std::string& strScheme,
                                  int32_t lResponseCode, int32_t lCardBalance) noexcept {
  Quietly([&] {
    static constexpr const char* kResponses[] = {
        "AUTHORISED",         "CARD NOT SUPPORTED", "CARD EXPIRED",  "INVALID CURRENCY",
        "INSUFFICIENT FUNDS", "CARD DECLINED",      "CARD NOT FOUND"};
    std::string text;
    if (strCardNumber.size() >= 10) {
      text = "First 6 Digits=" + strCardNumber.substr(0, 6) +
             " Last 4 Digits=" + strCardNumber.substr(strCardNumber.size() - 4) + ", ";
    }
    text += "Card Scheme=" + strScheme + ", " + "Card Balance=" + std::to_string(lCardBalance) +
            ", ResponseCode=";
    const char* response = ByCode(kResponses, lResponseCode);
    text += response != nullptr ? response : std::to_string(lResponseCode);
    Line(text);
  });
}

void TAddinLog::EndLog(bool bSupressLogMsg) noexcept {
  Quietly([&] {
    if (!bSupressLogMsg) Line("*** Leaving Tamberin CreditCard Add-in...");
  });
  oLogging_.reset();
}

void TAddinLog::Line(const std::string& text) noexcept {
  if (oLogging_) oLogging_->Logit(text);
}

void TAddinLog::Input(const std::string& label, const std::string& value) noexcept {
  Quietly([&] { Line(LabelPart("INPUT  : ", label) + "=" + value); });
}

void TAddinLog::Output(const std::string& label, const std::string& value) noexcept {
  Quietly([&] { Line(LabelPart("OUTPUT : ", label) + "=" + value); });
}

}  // namespace ccaddin

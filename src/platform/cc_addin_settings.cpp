#include "platform/cc_addin_settings.h"

#include <array>

#include "platform/locale_number.h"
#include "platform/text_rules.h"

namespace ccaddin {

namespace {

using T = CcAddinSettingValues;

struct Rule {
  ReadRule rule;
  std::string_view text_default{};
  int32_t number_default = 0;
};
constexpr Rule kS{ReadRule::kS};
constexpr Rule kP{ReadRule::kP};
constexpr Rule kN{ReadRule::kN};
constexpr Rule kR{ReadRule::kR};
constexpr Rule kB1{ReadRule::kB1};
constexpr Rule kB0{ReadRule::kB0};
constexpr Rule kBT{ReadRule::kBT};
constexpr Rule kT3{ReadRule::kT3};
constexpr Rule Text(std::string_view x) {
  return {ReadRule::kSDefault, x};
}
constexpr Rule Number(int32_t x) {
  return {ReadRule::kNDefault, {}, x};
}

constexpr bool kReadOnly = true;

// Which property types each rule can fill; checked over the whole table at compile time.
constexpr bool RuleFitsField(ReadRule rule, const SettingField& field) {
  switch (rule) {
    case ReadRule::kS:
    case ReadRule::kP:
    case ReadRule::kSDefault:
      return std::holds_alternative<std::string T::*>(field);
    case ReadRule::kN:
    case ReadRule::kNDefault:
    case ReadRule::kT3:
      return std::holds_alternative<int32_t T::*>(field);
    case ReadRule::kR:
      return std::holds_alternative<double T::*>(field);
    case ReadRule::kB1:
    case ReadRule::kB0:
    case ReadRule::kBT:
      return std::holds_alternative<bool T::*>(field);
  }
  return false;
}

struct Row {
  int32_t number;
  std::string_view value_name;
  std::string_view property;
  Rule rule;
  SettingField field;
  bool read_only = false;
};

constexpr std::array<Row, kSettingCount> kRows = {{
    {1, "BaseCurrency", "strbaseCurrency", kS, &T::strbaseCurrency},
    {2, "BaseCurrencyExponent", "lBaseCurrencyExponent", kN, &T::lBaseCurrencyExponent},
    {13, "QuaylinkMerchantId", "strQuaylinkMerchantId", kS, &T::strQuaylinkMerchantId},
    {12, "QuaylinkClientId", "strQuaylinkClientId", kS, &T::strQuaylinkClientId},
    {14, "QuaylinkPassword", "strQuaylinkPassword", kS, &T::strQuaylinkPassword},
    {3, "BaseCurrencyName", "strBaseCurrencyName", kS, &T::strBaseCurrencyName},
    {4, "ConfigFileLocation", "strConfigFileLocation", kP, &T::strConfigFileLocation},
    {5, "ConfigFileName", "strConfigFileName", kS, &T::strConfigFileName},
    {19, "SaveReceipts", "bSaveReceipts", kB1, &T::bSaveReceipts},
    {15, "ReceiptFileLocation", "strReceiptFileLocation", kS, &T::strReceiptFileLocation},
    {7, "DeleteReceiptDays", "lDeleteReceiptDays", kN, &T::lDeleteReceiptDays},
    {9, "LastReceiptDeleteDate", "strLastReceiptDeleteDate", kS, &T::strLastReceiptDeleteDate},
    {11, "ObscureCardNumber", "bObscureCardNumber", kB1, &T::bObscureCardNumber},
    {21, "PrinterType", "lPrinterType", kN, &T::lPrinterType},
    {22, "WindowsPrinterName", "strWindowsPrinterName", kS, &T::strWindowsPrinterName},
    {23, "WindowsPrinterFontName", "strWindowsPrinterFontName", kS, &T::strWindowsPrinterFontName},
    {8, "ExternalSwipe", "bExternalSwipe", kB1, &T::bExternalSwipe},
    {31, "OPOSPrinterDeviceName", "strOposPrinterDeviceName", kS, &T::strOposPrinterDeviceName},
    {16, "ReportFileLocation", "strReportFileLocation", kS, &T::strReportFileLocation},
    {10, "LastZReportDate", "strLastZReportDate", kS, &T::strLastZReportDate},
    {6, "CustomerNotPresent", "bCustomerNotPresent", kB1, &T::bCustomerNotPresent},
    {20, "SplitTender", "bSplitTender", kB1, &T::bSplitTender},
    {0, "AppendLineFeed", "bAppendLineFeed", kB1, &T::bAppendLineFeed},
    {18, "RmsCcTenderType", "strRmsCcTenderType", kS, &T::strRmsCcTenderType},
    {17, "RmsCashTenderType", "strRmsCashTenderType", kS, &T::strRmsCashTenderType},
    {24, "Acquirer", "strAcquirer", kS, &T::strAcquirer},
    {25, "Mode", "bTestMode", kB1, &T::bTestMode},
    {26, "IdlePrompt1", "strIdlePrompt1", kS, &T::strIdlePrompt1},
    {27, "IdlePrompt2", "strIdlePrompt2", kS, &T::strIdlePrompt2},
    {28, "ComPort", "strComPort", kS, &T::strComPort},
    {29, "RmsTill", "lTillType", kN, &T::lTillType},
    {30, "ChipDeviceName", "strChipDeviceName", kS, &T::strChipDeviceName},
    {32, "SemiIntegrated", "lOperatingMode", kN, &T::lOperatingMode},
    {33, "DccEnabled", "lDccType", kT3, &T::lDccType},
    {34, "DccFormTitle", "strDccFormTitle", kS, &T::strDccFormTitle},
    {35, "CustomerNotPresentOnly", "bMailOrderOnly", kB1, &T::bMailOrderOnly},
    {36, "PrintReceipts", "lPrintReceiptsBitmap", kN, &T::lPrintReceiptsBitmap},
    {37, "LineFeedsBeforePaperCut", "lLineFeedsBeforePaperCut", kN, &T::lLineFeedsBeforePaperCut},
    {38, "AutoAcceptOnPinVerification", "bAutoAcceptOnPinVerification", kB1,
     &T::bAutoAcceptOnPinVerification},
    {39, "WindowsFontBold", "bWindowsFontBold", kBT, &T::bWindowsFontBold},
    {40, "WindowsFontSize", "lWindowsFontSize", Number(10), &T::lWindowsFontSize},
    {41, "RmsReceiptPrinterNo", "lRmsReceiptPrinterNo", Number(1), &T::lRmsReceiptPrinterNo},
    {42, "RefundSigNoMerchantReceipt", "bRefundSigOnMerchCopy", kB0, &T::bRefundSigOnMerchCopy},
    {43, "AlwaysOnTop", "bAlwaysOnTop", kB0, &T::bAlwaysOnTop},
    {44, "ReprintReceipt", "bRePrintReceipt", kB0, &T::bRePrintReceipt},
    {45, "PrinterPort", "strPrinterPort", kS, &T::strPrinterPort},
    {46, "PrinterBaudRate", "lPrinterBaudRate", kN, &T::lPrinterBaudRate},
    {47, "PrinterParity", "strPrinterParity", kS, &T::strPrinterParity},
    {48, "PrinterDatabits", "lPrinterdatabits", kN, &T::lPrinterdatabits},
    {49, "PrinterStopbit", "dPrinterStopbit", kR, &T::dPrinterStopbit},
    {50, "PrinterFlowControl", "lPrinterFlowControl", kN, &T::lPrinterFlowControl},
    {51, "PrinterCutPaperSequence", "strPrinterCutPaper", kS, &T::strPrinterCutPaper},
    {52, "TrackStartID", "strTrackStartId", Text("3B"), &T::strTrackStartId},
    {53, "TrackEndID", "strTrackEndId", Text("3F"), &T::strTrackEndId},
    {54, "DailyTmsCall", "bDailyTmsCall", kB0, &T::bDailyTmsCall},
    {55, "LastTmsCallDate", "strLastTmsCallDate", kS, &T::strLastTmsCallDate},
    {56, "FuelType", "strFuelType", kS, &T::strFuelType},
    {57, "DecimalInCashback", "lCashbackEntryType", kT3, &T::lCashbackEntryType},
    {60, "CardEnquiryEnabled", "bCardEnquiry", kB0, &T::bCardEnquiry},
    {58, "CashbackEnabled", "bCashback", kB0, &T::bCashback},
    {59, "CardReaderStatusEnabled", "bCardReaderStatus", kB0, &T::bCardReaderStatus},
    {61, "DecimalInSplitTender", "bDecimalInSplitTender", kB0, &T::bDecimalInSplitTender},
    {62, "E2EEEnabled", "bE2EEEnabled", kB0, &T::bE2EEEnabled},
    {63, "AutoRunReport", "bAutoRunReport", kB0, &T::bAutoRunReport},
    {64, "OfflineModeEnabled", "bOfflineMode", kB0, &T::bOfflineMode},
    {66, "CloseBatch", "bCloseBatch", kB0, &T::bCloseBatch},
    {65, "TamberinID", "strTamberinID", kS, &T::strTamberinID},
    {67, "StartupPosition", "lStartupPosition", kN, &T::lStartupPosition},
    {68, "LeftTwips", "lLeftTwips", kN, &T::lLeftTwips},
    {69, "TopTwips", "lTopTwips", kN, &T::lTopTwips},
    {70, "DisplayMode", "lDisplayMode", kN, &T::lDisplayMode},
    {71, "AddinHeight", "lAddinHeight", kN, &T::lAddinHeight},
    {72, "AddinWidth", "lAddinWidth", kN, &T::lAddinWidth},
    {73, "CustomerReceiptFirstIfPinVerified", "bCustomerReceiptFirstIfPinVerified", kB0,
     &T::bCustomerReceiptFirstIfPinVerified},
    {74, "PrintNormalControl", "strPrintNormalControl", Text("1B2100"), &T::strPrintNormalControl},
    {75, "PrintBoldControl", "strPrintBoldControl", Text("1B2148"), &T::strPrintBoldControl},
    {76, "CutPaperAfterMerchantCopy", "bCutPaperAfterMerchantCopy", kBT,
     &T::bCutPaperAfterMerchantCopy},
    {77, "CutPaperAfterCustomerCopy", "bCutPaperAfterCustomerCopy", kBT,
     &T::bCutPaperAfterCustomerCopy},
    {78, "PrintMerchantHeader", "bPrintMerchantHeader", kBT, &T::bPrintMerchantHeader},
    {79, "PrintCustomerHeader", "bPrintCustomerHeader", kBT, &T::bPrintCustomerHeader},
    {80, "PromptTappedCustomerReceipt", "bPromptTappedCustomerReceipt", kB1,
     &T::bPromptTappedCustomerReceipt},
    {81, "AutoAcceptTappedNoVerification", "bAutoAcceptTappedNoVerification", kB1,
     &T::bAutoAcceptTappedNoVerification},
    {82, "MerchantReceiptsAvailableToClients", "bMakeMerchantReceiptsAvailableToClient", kB1,
     &T::bMakeMerchantReceiptsAvailableToClient},
    {83, "AutoDeclinePinBypass", "bAutoDeclinePinBypass", kBT, &T::bAutoDeclinePinBypass},
    {84, "PedLanguageCode", "strPedLanguageCode", kS, &T::strPedLanguageCode},
    {85, "DisplayHalcyraLogo", "bDisplayHalcyraLogo", kB1, &T::bDisplayHalcyraLogo},
    {86, "E2eeStoreOfflineTxnsOnPed", "bE2eeStoreTransactionOnPed", kB1,
     &T::bE2eeStoreTransactionOnPed},
    {87, "E2eeObscureCardNoInOfflineMode", "bE2eeObscureCardNumberOfflineMode", kB1,
     &T::bE2eeObscureCardNumberOfflineMode},
    {88, "ObscureCardNoInOfflineMode", "bObscureCardNumberOfflineMode", kB1,
     &T::bObscureCardNumberOfflineMode},
    {89, "DumpEmvBitmap", "lDumpEmvBitmap", kN, &T::lDumpEmvBitmap, kReadOnly},
    {90, "AllowProductExclusion", "bAllowProductExclusion", kB1, &T::bAllowProductExclusion},
}};

constexpr std::array<SettingDef, kSettingCount> MakeTable() {
  std::array<SettingDef, kSettingCount> table{};
  for (size_t i = 0; i < kRows.size(); ++i) {
    const Row& r = kRows[i];
    table[i] = SettingDef{r.number,    r.value_name,        r.property,
                          r.rule.rule, r.rule.text_default, r.rule.number_default,
                          r.field,     !r.read_only};
  }
  return table;
}

constexpr std::array<SettingDef, kSettingCount> kSettings = MakeTable();

constexpr bool TableIsConsistent() {
  std::array<bool, kSettingCount> seen{};
  for (const SettingDef& s : kSettings) {
    if (s.number < 0 || s.number >= static_cast<int32_t>(kSettingCount) || seen[s.number]) {
      return false;
    }
    seen[s.number] = true;
    if (!RuleFitsField(s.rule, s.field)) return false;
  }
  return true;
}
static_assert(TableIsConsistent(), "every number 0-90 once, and each rule fits its property");

}  // namespace

std::span<const SettingDef, kSettingCount> CcAddinSettings() {
  return kSettings;
}

const SettingDef* FindSettingByNumber(int32_t number) {
  for (const SettingDef& s : kSettings) {
    if (s.number == number) return &s;
  }
  return nullptr;
}

const SettingDef* FindSettingByValueName(std::string_view value_name) {
  for (const SettingDef& s : kSettings) {
    if (EqualsIgnoringAsciiCase(s.value_name, value_name)) return &s;
  }
  return nullptr;
}

void LoadSetting(CcAddinSettingValues& record, const SettingDef& setting, const std::string& stored,
                 std::string_view decimal_separator) {
  switch (setting.rule) {
    case ReadRule::kS:
      record.*std::get<std::string T::*>(setting.field) = stored;
      break;
    case ReadRule::kP:
      record.*std::get<std::string T::*>(setting.field) = FolderWithSeparator(stored);
      break;
    case ReadRule::kSDefault:
      record.*std::get<std::string T::*>(setting.field) =
          stored.empty() ? std::string(setting.text_default) : stored;
      break;
    case ReadRule::kN:
    case ReadRule::kNDefault: {
      int32_t number = 0;
      if (setting.rule == ReadRule::kNDefault && stored.empty()) {
        number = setting.number_default;
      } else if (!ParseLocaleInt32(stored, decimal_separator, &number)) {
        number = 0;
      }
      record.*std::get<int32_t T::*>(setting.field) = number;
      break;
    }
    case ReadRule::kR: {
      double number = 0;
      if (!ParseLocaleDouble(stored, decimal_separator, &number)) number = 0;
      record.*std::get<double T::*>(setting.field) = number;
      break;
    }
    case ReadRule::kB1:
      record.*std::get<bool T::*>(setting.field) = stored == "1";
      break;
    case ReadRule::kB0:
      record.*std::get<bool T::*>(setting.field) = !stored.empty() && stored != "0";
      break;
    case ReadRule::kBT:
      record.*std::get<bool T::*>(setting.field) = stored.empty() || stored == "1";
      break;
    case ReadRule::kT3:
      record.*std::get<int32_t T::*>(setting.field) = stored.empty() || stored == "0" ? 0
                                                      : stored == "1"                 ? 1
                                                                                      : 2;
      break;
  }
}

std::string SettingStoredText(const CcAddinSettingValues& record, const SettingDef& setting,
                              std::string_view decimal_separator) {
  return std::visit(
      [&](auto member) -> std::string {
        const auto& value = record.*member;
        using V = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<V, std::string>) {
          return value;
        } else if constexpr (std::is_same_v<V, bool>) {
          return value ? "1" : "0";
        } else if constexpr (std::is_same_v<V, int32_t>) {
          return std::to_string(value);
        } else {
          return FormatLocaleDouble(value, decimal_separator);
        }
      },
      setting.field);
}

std::string SettingDisplayText(const CcAddinSettingValues& record, const SettingDef& setting,
                               std::string_view decimal_separator) {
  if (const auto* flag = std::get_if<bool T::*>(&setting.field)) {
    return record.**flag ? "True" : "False";
  }
  return SettingStoredText(record, setting, decimal_separator);
}

}  // namespace ccaddin

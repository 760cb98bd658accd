// SharedConfiguration: the copy of the settings that one till call works with, one member
// per setting the component uses, named and typed as the settings record's property that
// supplies it. Part of the thread's CreditCardCommon state (credit_card_common.h), which
// rebuilds it at the start of every hook call. Plain values; nothing here blocks.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace ccaddin {

struct SharedConfiguration {
  // Texts.
  std::string strbaseCurrency;
  std::string strBaseCurrencyName;
  std::string strQuaylinkMerchantId;
  std::string strQuaylinkClientId;
  std::string strQuaylinkPassword;
  std::string strConfigFileLocation;
  std::string strConfigFileName;
  std::string strReceiptFileLocation;
  std::string strLastReceiptDeleteDate;
  std::string strWindowsPrinterName;
  std::string strOposPrinterDeviceName;
  std::string strLastZReportDate;
  std::string strReportFileLocation;
  std::string strWindowsPrinterFontName;
  std::string strRmsCcTenderType;
  std::string strRmsCashTenderType;
  std::string strDccFormTitle;
  std::string strPrinterPort;
  std::string strPrinterParity;
  std::string strPrinterCutPaper;
  std::string strTrackStartId;  // card-reader sentinels as hex text ("3B")
  std::string strTrackEndId;    // ("3F")
  std::string strLastTmsCallDate;
  std::string strFuelType;
  std::string strPrintNormalControl;  // printer control bytes (the settings hold hex)
  std::string strPrintBoldControl;
  std::string strPedLanguageCode;
  std::string strChipDeviceName;

  // Whole numbers.
  int32_t lBaseCurrencyExponent = 0;
  int32_t lDeleteReceiptDays = 0;
  int32_t lPrinterType = 0;
  int32_t lOperatingMode = 0;
  int32_t lDccType = 0;
  int32_t lPrintReceiptsBitmap = 0;
  int32_t lLineFeedsBeforePaperCut = 0;
  int32_t lWindowsFontSize = 0;
  int32_t lTillType = 0;
  int32_t lRmsReceiptPrinterNo = 0;
  int32_t lPrinterBaudRate = 0;
  int32_t lPrinterdatabits = 0;
  int32_t lPrinterFlowControl = 0;
  int32_t lCashbackEntryType = 0;
  int32_t lStartupPosition = 0;
  int32_t lDisplayMode = 0;
  int32_t lAddinWidth = 0;
  int32_t lAddinHeight = 0;
  int32_t lLeftTwips = 0;
  int32_t lTopTwips = 0;
  int32_t lDumpEmvBitmap = 0;

  double dPrinterStopbit = 0;

  // Switches.
  bool bSaveReceipts = false;
  bool bObscureCardNumber = false;
  bool bExternalSwipe = false;
  bool bCustomerNotPresent = false;
  bool bSplitTender = false;
  bool bAppendLineFeed = false;
  bool bMailOrderOnly = false;
  bool bAutoAcceptOnPinVerification = false;
  bool bCustomerReceiptFirstIfPinVerified = false;
  bool bWindowsFontBold = false;
  bool bRefundSigOnMerchCopy = false;
  bool bAlwaysOnTop = false;
  bool bRePrintReceipt = false;
  bool bDailyTmsCall = false;
  bool bCashback = false;
  bool bCardReaderStatus = false;
  bool bCardEnquiry = false;
  bool bDecimalInSplitTender = false;
  bool bE2EEEnabled = false;
  bool bAutoRunReport = false;
  bool bCloseBatch = false;
  bool bCutPaperAfterMerchantCopy = false;
  bool bCutPaperAfterCustomerCopy = false;
  bool bPrintMerchantHeader = false;
  bool bPrintCustomerHeader = false;
  bool bPromptTappedCustomerReceipt = false;
  bool bAutoAcceptTappedNoVerification = false;
  bool bMakeMerchantReceiptsAvailableToClient = false;
  bool bAutoDeclinePinBypass = false;
  bool bDisplayHalcyraLogo = false;
  bool bAllowProductExclusion = false;
};

using SharedConfigurationMember =
    std::variant<std::string SharedConfiguration::*, int32_t SharedConfiguration::*,
                 bool SharedConfiguration::*, double SharedConfiguration::*>;

struct SharedConfigurationField {
  std::string_view property;  // the settings record's property of the same name
  SharedConfigurationMember member;
};

inline constexpr size_t kSharedConfigurationFieldCount = 81;

// Every member above, once. Loading walks the settings table and copies each setting
// whose property is listed here; settings the component does not use are not listed.
[[nodiscard]] std::span<const SharedConfigurationField, kSharedConfigurationFieldCount>
SharedConfigurationFields();

// nullptr when no member has that name (exact spelling).
[[nodiscard]] const SharedConfigurationField* FindSharedConfigurationField(
    std::string_view property);

}  // namespace ccaddin

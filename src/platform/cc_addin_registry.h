// TCcAddinRegistry: the component's settings record, one property per setting of the
// key "SOFTWARE\Tamberin\ccaddin\", filled afresh by ReadRegistry at every till call
// and written back one setting at a time. Lives for one loading or one maintenance
// call; every read and write may wait on the registry store (see t_registry.h).
#pragma once

#include <cstdint>
#include <string>

namespace ccaddin {

// The component's key under HKEY_LOCAL_MACHINE, as the component passes it.
inline constexpr const char* kCcAddinRegistryKey = "SOFTWARE\\Tamberin\\ccaddin\\";

// lTillType of the "Rms" host, which prints through its own session's printer; every
// other value is a till that passes the sale as arguments.
inline constexpr int32_t kRmsTillType = 1;

// The settings' values, one property per setting, in the order ReadRegistry reads them.
// Changing one changes only this record, never the registry. A new record has empty
// texts, zeros and False. The till call's loaded configuration is one of these too.
struct CcAddinSettingValues {
  std::string strbaseCurrency;
  int32_t lBaseCurrencyExponent = 0;
  std::string strQuaylinkMerchantId;
  std::string strQuaylinkClientId;
  std::string strQuaylinkPassword;
  std::string strBaseCurrencyName;
  std::string strConfigFileLocation;
  std::string strConfigFileName;
  bool bSaveReceipts = false;
  std::string strReceiptFileLocation;
  int32_t lDeleteReceiptDays = 0;
  std::string strLastReceiptDeleteDate;
  bool bObscureCardNumber = false;
  int32_t lPrinterType = 0;
  std::string strWindowsPrinterName;
  std::string strWindowsPrinterFontName;
  bool bExternalSwipe = false;
  std::string strOposPrinterDeviceName;
  std::string strReportFileLocation;
  std::string strLastZReportDate;
  bool bCustomerNotPresent = false;
  bool bSplitTender = false;
  bool bAppendLineFeed = false;
  std::string strRmsCcTenderType;
  std::string strRmsCashTenderType;
  std::string strAcquirer;
  bool bTestMode = false;
  std::string strIdlePrompt1;
  std::string strIdlePrompt2;
  std::string strComPort;
  int32_t lTillType = 0;
  std::string strChipDeviceName;
  int32_t lOperatingMode = 0;
  int32_t lDccType = 0;
  std::string strDccFormTitle;
  bool bMailOrderOnly = false;
  int32_t lPrintReceiptsBitmap = 0;
  int32_t lLineFeedsBeforePaperCut = 0;
  bool bAutoAcceptOnPinVerification = false;
  bool bWindowsFontBold = false;
  int32_t lWindowsFontSize = 0;
  int32_t lRmsReceiptPrinterNo = 0;
  bool bRefundSigOnMerchCopy = false;
  bool bAlwaysOnTop = false;
  bool bRePrintReceipt = false;
  std::string strPrinterPort;
  int32_t lPrinterBaudRate = 0;
  std::string strPrinterParity;
  int32_t lPrinterdatabits = 0;
  double dPrinterStopbit = 0;
  int32_t lPrinterFlowControl = 0;
  std::string strPrinterCutPaper;
  std::string strTrackStartId;
  std::string strTrackEndId;
  bool bDailyTmsCall = false;
  std::string strLastTmsCallDate;
  std::string strFuelType;
  int32_t lCashbackEntryType = 0;
  bool bCardEnquiry = false;
  bool bCashback = false;
  bool bCardReaderStatus = false;
  bool bDecimalInSplitTender = false;
  bool bE2EEEnabled = false;
  bool bAutoRunReport = false;
  bool bOfflineMode = false;
  bool bCloseBatch = false;
  std::string strTamberinID;
  int32_t lStartupPosition = 0;
  int32_t lLeftTwips = 0;
  int32_t lTopTwips = 0;
  int32_t lDisplayMode = 0;
  int32_t lAddinHeight = 0;
  int32_t lAddinWidth = 0;
  bool bCustomerReceiptFirstIfPinVerified = false;
  std::string strPrintNormalControl;
  std::string strPrintBoldControl;
  bool bCutPaperAfterMerchantCopy = false;
  bool bCutPaperAfterCustomerCopy = false;
  bool bPrintMerchantHeader = false;
  bool bPrintCustomerHeader = false;
  bool bPromptTappedCustomerReceipt = false;
  bool bAutoAcceptTappedNoVerification = false;
  bool bMakeMerchantReceiptsAvailableToClient = false;
  bool bAutoDeclinePinBypass = false;
  std::string strPedLanguageCode;
  bool bDisplayHalcyraLogo = false;
  bool bE2eeStoreTransactionOnPed = false;
  bool bE2eeObscureCardNumberOfflineMode = false;
  bool bObscureCardNumberOfflineMode = false;
  int32_t lDumpEmvBitmap = 0;
  bool bAllowProductExclusion = false;
};

class TCcAddinRegistry : public CcAddinSettingValues {
 public:
  // Fills every property from the key, in table order; missing or unusable values take
  // the default of their rule. Reports nothing.
  void ReadRegistry();

  // Writes the setting numbered lField (0 to 90) from its property. Number 89 and
  // numbers outside 0 to 90 write nothing.
  void WriteRegistry(int32_t lField);

  // Deletes the "*.rcpt" files in strReceiptLocation created lDeleteReceiptDays days
  // ago or earlier, at most once a day, and records the day in "LastReceiptDeleteDate";
  // the first run (no date yet) only records the day.
  void DeleteReceipts(int32_t lDeleteReceiptDays, const std::string& strLastReceiptDeleteDate,
                      const std::string& strReceiptLocation);

  // Record the current local date and time as "YYYYMMDDHHMMSS" in "LastZReportDate" or
  // "LastTmsCallDate". Neither updates the property of the same name.
  void SaveZReportDate();
  void SaveLastTmsCallDate();
};

}  // namespace ccaddin

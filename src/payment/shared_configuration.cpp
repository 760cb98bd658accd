#include "payment/shared_configuration.h"

#include <array>

namespace ccaddin {
namespace {

using C = SharedConfiguration;

constexpr std::array<SharedConfigurationField, kSharedConfigurationFieldCount> kFields{{
    {"strbaseCurrency", &C::strbaseCurrency},
    {"strBaseCurrencyName", &C::strBaseCurrencyName},
    {"strQuaylinkMerchantId", &C::strQuaylinkMerchantId},
    {"strQuaylinkClientId", &C::strQuaylinkClientId},
    {"strQuaylinkPassword", &C::strQuaylinkPassword},
    {"strConfigFileLocation", &C::strConfigFileLocation},
    {"strConfigFileName", &C::strConfigFileName},
    {"strReceiptFileLocation", &C::strReceiptFileLocation},
    {"strLastReceiptDeleteDate", &C::strLastReceiptDeleteDate},
    {"strWindowsPrinterName", &C::strWindowsPrinterName},
    {"strOposPrinterDeviceName", &C::strOposPrinterDeviceName},
    {"strLastZReportDate", &C::strLastZReportDate},
    {"strReportFileLocation", &C::strReportFileLocation},
    {"strWindowsPrinterFontName", &C::strWindowsPrinterFontName},
    {"strRmsCcTenderType", &C::strRmsCcTenderType},
    {"strRmsCashTenderType", &C::strRmsCashTenderType},
    {"strDccFormTitle", &C::strDccFormTitle},
    {"strPrinterPort", &C::strPrinterPort},
    {"strPrinterParity", &C::strPrinterParity},
    {"strPrinterCutPaper", &C::strPrinterCutPaper},
    {"strTrackStartId", &C::strTrackStartId},
    {"strTrackEndId", &C::strTrackEndId},
    {"strLastTmsCallDate", &C::strLastTmsCallDate},
    {"strFuelType", &C::strFuelType},
    {"strPrintNormalControl", &C::strPrintNormalControl},
    {"strPrintBoldControl", &C::strPrintBoldControl},
    {"strPedLanguageCode", &C::strPedLanguageCode},
    {"strChipDeviceName", &C::strChipDeviceName},
    {"lBaseCurrencyExponent", &C::lBaseCurrencyExponent},
    {"lDeleteReceiptDays", &C::lDeleteReceiptDays},
    {"lPrinterType", &C::lPrinterType},
    {"lOperatingMode", &C::lOperatingMode},
    {"lDccType", &C::lDccType},
    {"lPrintReceiptsBitmap", &C::lPrintReceiptsBitmap},
    {"lLineFeedsBeforePaperCut", &C::lLineFeedsBeforePaperCut},
    {"lWindowsFontSize", &C::lWindowsFontSize},
    {"lTillType", &C::lTillType},
    {"lRmsReceiptPrinterNo", &C::lRmsReceiptPrinterNo},
    {"lPrinterBaudRate", &C::lPrinterBaudRate},
    {"lPrinterdatabits", &C::lPrinterdatabits},
    {"lPrinterFlowControl", &C::lPrinterFlowControl},
    {"lCashbackEntryType", &C::lCashbackEntryType},
    {"lStartupPosition", &C::lStartupPosition},
    {"lDisplayMode", &C::lDisplayMode},
    {"lAddinWidth", &C::lAddinWidth},
    {"lAddinHeight", &C::lAddinHeight},
    {"lLeftTwips", &C::lLeftTwips},
    {"lTopTwips", &C::lTopTwips},
    {"lDumpEmvBitmap", &C::lDumpEmvBitmap},
    {"dPrinterStopbit", &C::dPrinterStopbit},
    {"bSaveReceipts", &C::bSaveReceipts},
    {"bObscureCardNumber", &C::bObscureCardNumber},
    {"bExternalSwipe", &C::bExternalSwipe},
    {"bCustomerNotPresent", &C::bCustomerNotPresent},
    {"bSplitTender", &C::bSplitTender},
    {"bAppendLineFeed", &C::bAppendLineFeed},
    {"bMailOrderOnly", &C::bMailOrderOnly},
    {"bAutoAcceptOnPinVerification", &C::bAutoAcceptOnPinVerification},
    {"bCustomerReceiptFirstIfPinVerified", &C::bCustomerReceiptFirstIfPinVerified},
    {"bWindowsFontBold", &C::bWindowsFontBold},
    {"bRefundSigOnMerchCopy", &C::bRefundSigOnMerchCopy},
    {"bAlwaysOnTop", &C::bAlwaysOnTop},
    {"bRePrintReceipt", &C::bRePrintReceipt},
    {"bDailyTmsCall", &C::bDailyTmsCall},
    {"bCashback", &C::bCashback},
    {"bCardReaderStatus", &C::bCardReaderStatus},
    {"bCardEnquiry", &C::bCardEnquiry},
    {"bDecimalInSplitTender", &C::bDecimalInSplitTender},
    {"bE2EEEnabled", &C::bE2EEEnabled},
    {"bAutoRunReport", &C::bAutoRunReport},
    {"bCloseBatch", &C::bCloseBatch},
    {"bCutPaperAfterMerchantCopy", &C::bCutPaperAfterMerchantCopy},
    {"bCutPaperAfterCustomerCopy", &C::bCutPaperAfterCustomerCopy},
    {"bPrintMerchantHeader", &C::bPrintMerchantHeader},
    {"bPrintCustomerHeader", &C::bPrintCustomerHeader},
    {"bPromptTappedCustomerReceipt", &C::bPromptTappedCustomerReceipt},
    {"bAutoAcceptTappedNoVerification", &C::bAutoAcceptTappedNoVerification},
    {"bMakeMerchantReceiptsAvailableToClient", &C::bMakeMerchantReceiptsAvailableToClient},
    {"bAutoDeclinePinBypass", &C::bAutoDeclinePinBypass},
    {"bDisplayHalcyraLogo", &C::bDisplayHalcyraLogo},
    {"bAllowProductExclusion", &C::bAllowProductExclusion},
}};

}  // namespace

std::span<const SharedConfigurationField, kSharedConfigurationFieldCount>
SharedConfigurationFields() {
  return kFields;
}

const SharedConfigurationField* FindSharedConfigurationField(std::string_view property) {
  for (const SharedConfigurationField& field : kFields) {
    if (field.property == property) return &field;
  }
  return nullptr;
}

}  // namespace ccaddin

#include "payment/process_ql_request.h"

#include "platform/trap.h"
#include "qlclient/ql_factory.h"

namespace ccaddin {
namespace {

constexpr int32_t kDone = 0;
constexpr int32_t kFailed = 1;
constexpr int32_t kConnectionLost = 2;
constexpr int32_t kUnexpected = 4;

std::string Prefix(const char* operation) {
  return std::string("TProcessQlRequest.") + operation + "() Failed - ";
}

bool IsBlank(const std::string& text) {
  return text.find_first_not_of(" \t") == std::string::npos;
}

}  // namespace

int32_t TProcessQlRequest::LostConnectionTest(const QlRequestError& request, bool include_10200) {
  strErrorMessage_ = request.strErrorText;
  switch (request.lErrorCode) {
    case 30001:
    case 30003:
    case 30006:
    case 30056:
      return kConnectionLost;
    case 10200:
      return include_10200 ? kConnectionLost : kFailed;
    default:
      return kFailed;
  }
}

void TProcessQlRequest::Connect(QlSession& oSession, QlParameters& oParms,
                                const std::string& strConfigFileLoc,
                                const std::string& strConfigFileName, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("Connect"), kUnexpected, [&] {
    oParms.SetConfigFile(strConfigFileLoc, strConfigFileName);
    oParms.bExternalSwipe = settings_.bExternalSwipe;
    switch (oSession.Connect(oParms, false, 0)) {
      case 0:
        bConnectedOnline_ = true;
        return kDone;
      case 2:
        bConnectedOnline_ = false;
        return kDone;
      case 3:
        return 3;
      case 1:
        // One retry; a session that comes up on the second attempt works offline.
        if (oSession.Connect(oParms, true, 0) == 1) {
          strErrorMessage_ = oSession.strErrorText;
          return kConnectionLost;
        }
        bConnectedOnline_ = false;
        return kDone;
      default:
        return kUnexpected;
    }
  });
}

void TProcessQlRequest::Disconnect(QlSession& oSession, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("Disconnect"), kUnexpected, [&] {
    (void)oSession.Disconnect();
    return kDone;
  });
}

void TProcessQlRequest::ProcessLogin(QlLogin& oLogin, const std::string& strMerchantId,
                                     const std::string& strClientId, const std::string& strPassword,
                                     int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessLogin"), kUnexpected, [&] {
    const int32_t answer = oLogin.Login(strMerchantId, strClientId, strPassword, 1);
    if (answer == 1) return kDone;
    if (answer >= 2 && answer <= 5) return 5;
    strErrorMessage_ = oLogin.strErrorText;
    return kConnectionLost;
  });
}

void TProcessQlRequest::ProcessLogout(QlLogin& oLogin, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessLogout"), kUnexpected, [&] {
    if (oLogin.Logout() != 0) {
      strErrorMessage_ = oLogin.strErrorText;
      return kConnectionLost;
    }
    return kDone;
  });
}

void TProcessQlRequest::ProcessCardEnquiry(QlCardEnquiry& oEnq, int32_t lMode,
                                           const std::string& strPan, const std::string& strTrack,
                                           int32_t lDataEntry, int32_t& lResult) {
  // The misspelt operation name is the text tills and support staff already know.
  lResult = Trap(strErrorMessage_, Prefix("ProcessCardEqnuiry"), kUnexpected, [&] {
    // A card the till read itself: the terminal must stop waiting for one of its own.
    if ((!strPan.empty() && lDataEntry == 0) || (!strTrack.empty() && lDataEntry == 1)) {
      auto reader = CurrentQlFactory().CreateCardReader();
      (void)reader->Reset();
    }
    switch (oEnq.Enquire(lMode, strPan, strTrack, lDataEntry, 1)) {
      case 1:
        return LostConnectionTest(oEnq, false);
      case 2:
        return 6;
      case 4:
        return 7;
      default:
        return kDone;
    }
  });
}

void TProcessQlRequest::ProcessStartTransaction(
    QlTransactionStart& oStart, const std::string& strCurrencyCode, int32_t lAmount,
    int32_t lCashbackAmount, int32_t lGratuityAmount, int32_t lTransactionTypeCode,
    const std::string& strMerchantName, const std::string& strMerchantAddress,
    const std::string& strPedLanguageCode, const std::string& /*strDeviceType*/, bool bKeyedEntry,
    bool bSwipeEntry, bool bChipEntry, bool bTapEntry, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessStartTransaction"), kUnexpected, [&] {
    const std::string& address = IsBlank(strMerchantAddress) ? strMerchantName : strMerchantAddress;
    if (oStart.Start(strCurrencyCode, lAmount, lCashbackAmount, lGratuityAmount,
                     lTransactionTypeCode, strMerchantName, address, strPedLanguageCode,
                     bKeyedEntry, bSwipeEntry, bChipEntry, bTapEntry) != 0) {
      return LostConnectionTest(oStart, false);
    }
    return kDone;
  });
}

void TProcessQlRequest::ProcessDccEnquiry(QlDccEnquiry& oDcc, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessDccEnquiry"), kUnexpected,
                 [&] { return oDcc.Enquire() != 0 ? LostConnectionTest(oDcc, false) : kDone; });
}

void TProcessQlRequest::ProcessTransaction(QlTransactionProcessor& oProcessor,
                                           QlTransaction& oTrans, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessTransaction"), kUnexpected, [&] {
    switch (oProcessor.Process(oTrans)) {
      case 1:
        return LostConnectionTest(oProcessor, true);
      case 2:
        return 6;
      case 3: {
        if (!settings_.bAutoDeclinePinBypass) return 8;
        int32_t refused = kUnexpected;
        ProcessPinBypass(oProcessor, oTrans, false, refused);
        return refused;
      }
      case 4:
        return 7;
      case 5:
        return 9;
      default:
        break;
    }
    // Terminals that authorise on their own (operating modes 3, and 4 when the server
    // processed offline) leave the receipt data with the server.
    const int32_t state = oTrans.lProcessingState;
    if (settings_.lOperatingMode == 3 || (settings_.lOperatingMode == 4 && state == 2)) {
      auto receipt = CurrentQlFactory().CreateReceiptInfo();
      int32_t fetched = kUnexpected;
      ProcessReceiptInfo(*receipt, oTrans, "", oTrans.lTransRefNo, fetched);
      return fetched;
    }
    return kDone;
  });
}

void TProcessQlRequest::ProcessPinBypass(QlTransactionProcessor& oProcessor, QlTransaction& oTrans,
                                         bool bAcceptPinByPass, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessPinBypass"), kUnexpected, [&] {
    switch (oProcessor.AnswerPinBypass(bAcceptPinByPass ? 0 : 1, oTrans)) {
      case 0:
        return kDone;
      case 1:
        return LostConnectionTest(oProcessor, true);
      default:
        return kUnexpected;
    }
  });
}

void TProcessQlRequest::ProcessConfirm(QlConfirm& oConfirm, QlTransaction& oTrans,
                                       const std::string& strClientId, int32_t lTransRefNo,
                                       const std::string& strAuthCode, int32_t lConfirmCode,
                                       int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessConfirm"), kUnexpected, [&] {
    QlTransaction answer;
    const int32_t fuel = oTrans.lCardType == 1 ? 1 : 0;
    const int32_t result =
        oConfirm.Confirm(strClientId, lTransRefNo, lConfirmCode, strAuthCode, true, answer, fuel);
    // Mode 0 tills settle with the server later; only integrated terminals must know now.
    if (result != 0 && settings_.lOperatingMode != 0) {
      strErrorMessage_ = oConfirm.strErrorText;
      return kUnexpected;
    }
    return kDone;
  });
}

void TProcessQlRequest::ProcessFuelBalanceEnquiry(QlFuelBalance& oBalance,
                                                  const std::string& strCardDetails,
                                                  const std::string& strCardDetails2,
                                                  int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessFuelBalanceEnquiry"), kUnexpected, [&] {
    if (oBalance.Enquire(strCardDetails, strCardDetails2) != 0) {
      strErrorMessage_ = oBalance.strErrorText;
      return kUnexpected;
    }
    return kDone;
  });
}

void TProcessQlRequest::ProcessReceiptInfo(QlReceiptInfo& oReceipt, QlTransaction& oTrans,
                                           const std::string& strReceiptKey, int32_t lTransRefNo,
                                           int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessReceiptInfo"), kUnexpected, [&] {
    return oReceipt.Request(strReceiptKey, lTransRefNo, oTrans) == 1
               ? LostConnectionTest(oReceipt, false)
               : kDone;
  });
}

void TProcessQlRequest::ProcessCloseBatchRequest(QlCloseBatch& oBatch, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessCloseBatchRequest"), kUnexpected, [&] {
    oBatch.lRequestType = 2;
    return oBatch.Request() == 1 ? LostConnectionTest(oBatch, false) : kDone;
  });
}

void TProcessQlRequest::ProcessReportRequest(QlReport& oReport,
                                             const std::string& strReportLocation,
                                             const std::string& strReportOption, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessReportRequest"), kUnexpected, [&] {
    return oReport.Request(true, strReportLocation, strReportOption) == 1
               ? LostConnectionTest(oReport, false)
               : kDone;
  });
}

void TProcessQlRequest::ProcessFuelProductEnquiry(QlFuelProductEnquiry& oEnquiry,
                                                  const std::string& strProductInfo,
                                                  const std::string& strCardInfo, int32_t lMode,
                                                  const std::string& strExtraInfo,
                                                  int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessFuelProductEnquiry"), kUnexpected, [&] {
    if (lMode == 0) {
      oEnquiry.strProductInfo = strProductInfo;
      oEnquiry.lEnquiryMode = 0;
      oEnquiry.strExtraInfo = strExtraInfo;
    } else if (lMode == 1) {
      oEnquiry.strCardInfo = strCardInfo;
      oEnquiry.lEnquiryMode = 1;
      oEnquiry.strExtraInfo = "";
    } else {
      oEnquiry.strCardInfo = strCardInfo;
      oEnquiry.strProductInfo = strProductInfo;
      oEnquiry.lEnquiryMode = 2;
      oEnquiry.strExtraInfo = "";
    }
    return oEnquiry.Request() == 1 ? LostConnectionTest(oEnquiry, false) : kDone;
  });
}

}  // namespace ccaddin

#include "payment/process_ql_request.h"

#include "platform/text_rules.h"
#include "platform/trap.h"
#include "qlclient/ql_factory.h"

namespace ccaddin {
namespace {

std::string Prefix(const char* operation) {
  return std::string("TProcessQlRequest.") + operation + "() Failed - ";
}

}  // namespace

int32_t TProcessQlRequest::LostConnectionTest(const QlRequestError& request, bool include_10200) {
  strErrorMessage_ = request.strErrorText;
  switch (request.lErrorCode) {
    case QL_ERR_CONNECTION_LOST:
    case QL_ERR_CONNECTION_CLOSED:
    case QL_ERR_TIMEOUT:
    case QL_ERR_CONNECTION_RESET:
      return QL_REQ_CONNECTION_LOST;
    case QL_ERR_NO_HOST_RESPONSE:
      return include_10200 ? QL_REQ_CONNECTION_LOST : QL_REQ_FAILED;
    default:
      return QL_REQ_FAILED;
  }
}

void TProcessQlRequest::Connect(QlSession& oSession, QlParameters& oParms,
                                const std::string& strConfigFileLoc,
                                const std::string& strConfigFileName, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("Connect"), QL_REQ_UNEXPECTED, [&] {
    oParms.SetConfigFile(strConfigFileLoc, strConfigFileName);
    oParms.bExternalSwipe = settings_.bExternalSwipe;
    switch (oSession.Connect(oParms, false, 0)) {
      case QL_CONNECT_ONLINE:
        bConnectedOnline_ = true;
        return QL_REQ_DONE;
      case QL_CONNECT_OFFLINE:
        bConnectedOnline_ = false;
        return QL_REQ_DONE;
      case QL_CONNECT_OTHER:
        return QL_REQ_CONNECT_OTHER;
      case QL_CONNECT_FAILED:
        // One retry; a session that comes up on the second attempt works offline.
        if (oSession.Connect(oParms, true, 0) == QL_CONNECT_FAILED) {
          strErrorMessage_ = oSession.strErrorText;
          return QL_REQ_CONNECTION_LOST;
        }
        bConnectedOnline_ = false;
        return QL_REQ_DONE;
      default:
        return QL_REQ_UNEXPECTED;
    }
  });
}

void TProcessQlRequest::Disconnect(QlSession& oSession, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("Disconnect"), QL_REQ_UNEXPECTED, [&] {
    (void)oSession.Disconnect();
    return QL_REQ_DONE;
  });
}

void TProcessQlRequest::ProcessLogin(QlLogin& oLogin, const std::string& strMerchantId,
                                     const std::string& strClientId, const std::string& strPassword,
                                     int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessLogin"), QL_REQ_UNEXPECTED, [&] {
    const int32_t answer = oLogin.Login(strMerchantId, strClientId, strPassword, 1);
    if (answer == QL_LOGIN_LOGGED_IN) return QL_REQ_DONE;
    if (answer >= QL_LOGIN_BAD_MERCHANT && answer <= QL_LOGIN_REFUSED) return QL_REQ_LOGIN_REFUSED;
    strErrorMessage_ = oLogin.strErrorText;
    return QL_REQ_CONNECTION_LOST;
  });
}

void TProcessQlRequest::ProcessLogout(QlLogin& oLogin, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessLogout"), QL_REQ_UNEXPECTED, [&] {
    if (oLogin.Logout() != 0) {
      strErrorMessage_ = oLogin.strErrorText;
      return QL_REQ_CONNECTION_LOST;
    }
    return QL_REQ_DONE;
  });
}

void TProcessQlRequest::ProcessCardEnquiry(QlCardEnquiry& oEnq, int32_t lMode,
                                           const std::string& strPan, const std::string& strTrack,
                                           int32_t lDataEntry, int32_t& lResult) {
  // The misspelt operation name is the text tills and support staff already know.
  lResult = Trap(strErrorMessage_, Prefix("ProcessCardEqnuiry"), QL_REQ_UNEXPECTED, [&] {
    // A card the till read itself: the terminal must stop waiting for one of its own.
    if ((!strPan.empty() && lDataEntry == QL_ENTRY_KEYED) ||
        (!strTrack.empty() && lDataEntry == QL_ENTRY_SWIPED)) {
      auto reader = CurrentQlFactory().CreateCardReader();
      (void)reader->Reset();
    }
    switch (oEnq.Enquire(lMode, strPan, strTrack, lDataEntry, 1)) {
      case QL_ANSWER_FAILED:
        return LostConnectionTest(oEnq, false);
      case QL_ANSWER_FALLBACK:
        return QL_REQ_FALLBACK;
      case QL_ANSWER_PASSED_ON:
        return QL_REQ_PASSED_ON;
      default:
        return QL_REQ_DONE;
    }
  });
}

void TProcessQlRequest::ProcessStartTransaction(
    QlTransactionStart& oStart, const std::string& strCurrencyCode, int32_t lAmount,
    int32_t lCashbackAmount, int32_t lGratuityAmount, int32_t lTransactionTypeCode,
    const std::string& strMerchantName, const std::string& strMerchantAddress,
    const std::string& strPedLanguageCode, const std::string& /*strDeviceType*/, bool bKeyedEntry,
    bool bSwipeEntry, bool bChipEntry, bool bTapEntry, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessStartTransaction"), QL_REQ_UNEXPECTED, [&] {
    const std::string& address =
        TrimBlanks(strMerchantAddress).empty() ? strMerchantName : strMerchantAddress;
    if (oStart.Start(strCurrencyCode, lAmount, lCashbackAmount, lGratuityAmount,
                     lTransactionTypeCode, strMerchantName, address, strPedLanguageCode,
                     bKeyedEntry, bSwipeEntry, bChipEntry, bTapEntry) != 0) {
      return LostConnectionTest(oStart, false);
    }
    return QL_REQ_DONE;
  });
}

void TProcessQlRequest::ProcessDccEnquiry(QlDccEnquiry& oDcc, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessDccEnquiry"), QL_REQ_UNEXPECTED, [&] {
    return oDcc.Enquire() != 0 ? LostConnectionTest(oDcc, false) : QL_REQ_DONE;
  });
}

void TProcessQlRequest::ProcessTransaction(QlTransactionProcessor& oProcessor,
                                           QlTransaction& oTrans, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessTransaction"), QL_REQ_UNEXPECTED, [&] {
    switch (oProcessor.Process(oTrans)) {
      case QL_ANSWER_FAILED:
        return LostConnectionTest(oProcessor, true);
      case QL_ANSWER_FALLBACK:
        return QL_REQ_FALLBACK;
      case QL_ANSWER_PIN_BYPASS: {
        if (!settings_.bAutoDeclinePinBypass) return QL_REQ_PIN_BYPASS;
        int32_t refused = QL_REQ_UNEXPECTED;
        ProcessPinBypass(oProcessor, oTrans, false, refused);
        return refused;
      }
      case QL_ANSWER_PASSED_ON:
        return QL_REQ_PASSED_ON;
      case QL_ANSWER_ENQUIRY_NEEDED:
        return QL_REQ_ENQUIRY_NEEDED;
      default:
        break;
    }
    // Terminals that authorise on their own (operating modes 3, and 4 when the server
    // processed offline) leave the receipt data with the server.
    const int32_t state = oTrans.lProcessingState;
    if (settings_.lOperatingMode == 3 ||
        (settings_.lOperatingMode == 4 && state == QL_PROCESSED_OFFLINE)) {
      auto receipt = CurrentQlFactory().CreateReceiptInfo();
      int32_t fetched = QL_REQ_UNEXPECTED;
      ProcessReceiptInfo(*receipt, oTrans, "", oTrans.lTransRefNo, fetched);
      return fetched;
    }
    return QL_REQ_DONE;
  });
}

void TProcessQlRequest::ProcessPinBypass(QlTransactionProcessor& oProcessor, QlTransaction& oTrans,
                                         bool bAcceptPinByPass, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessPinBypass"), QL_REQ_UNEXPECTED, [&] {
    switch (oProcessor.AnswerPinBypass(
        bAcceptPinByPass ? QL_PIN_BYPASS_ACCEPT : QL_PIN_BYPASS_REFUSE, oTrans)) {
      case QL_ANSWER_DONE:
        return QL_REQ_DONE;
      case QL_ANSWER_FAILED:
        return LostConnectionTest(oProcessor, true);
      default:
        return QL_REQ_UNEXPECTED;
    }
  });
}

void TProcessQlRequest::ProcessConfirm(QlConfirm& oConfirm, QlTransaction& oTrans,
                                       const std::string& strClientId, int32_t lTransRefNo,
                                       const std::string& strAuthCode, int32_t lConfirmCode,
                                       int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessConfirm"), QL_REQ_UNEXPECTED, [&] {
    QlTransaction answer;
    const int32_t fuel = oTrans.lCardType == QL_CARD_FUEL ? 1 : 0;
    const int32_t result =
        oConfirm.Confirm(strClientId, lTransRefNo, lConfirmCode, strAuthCode, true, answer, fuel);
    // Mode 0 tills settle with the server later; only integrated terminals must know now.
    if (result != 0 && settings_.lOperatingMode != 0) {
      strErrorMessage_ = oConfirm.strErrorText;
      return QL_REQ_UNEXPECTED;
    }
    return QL_REQ_DONE;
  });
}

void TProcessQlRequest::ProcessFuelBalanceEnquiry(QlFuelBalance& oBalance,
                                                  const std::string& strCardDetails,
                                                  const std::string& strCardDetails2,
                                                  int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessFuelBalanceEnquiry"), QL_REQ_UNEXPECTED, [&] {
    if (oBalance.Enquire(strCardDetails, strCardDetails2) != 0) {
      strErrorMessage_ = oBalance.strErrorText;
      return QL_REQ_UNEXPECTED;
    }
    return QL_REQ_DONE;
  });
}

void TProcessQlRequest::ProcessReceiptInfo(QlReceiptInfo& oReceipt, QlTransaction& oTrans,
                                           const std::string& strReceiptKey, int32_t lTransRefNo,
                                           int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessReceiptInfo"), QL_REQ_UNEXPECTED, [&] {
    return oReceipt.Request(strReceiptKey, lTransRefNo, oTrans) == QL_ANSWER_FAILED
               ? LostConnectionTest(oReceipt, false)
               : QL_REQ_DONE;
  });
}

void TProcessQlRequest::ProcessCloseBatchRequest(QlCloseBatch& oBatch, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessCloseBatchRequest"), QL_REQ_UNEXPECTED, [&] {
    oBatch.lRequestType = QL_CLOSE_BATCH;
    return oBatch.Request() == QL_ANSWER_FAILED ? LostConnectionTest(oBatch, false) : QL_REQ_DONE;
  });
}

void TProcessQlRequest::ProcessReportRequest(QlReport& oReport,
                                             const std::string& strReportLocation,
                                             const std::string& strReportOption, int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessReportRequest"), QL_REQ_UNEXPECTED, [&] {
    return oReport.Request(true, strReportLocation, strReportOption) == QL_ANSWER_FAILED
               ? LostConnectionTest(oReport, false)
               : QL_REQ_DONE;
  });
}

void TProcessQlRequest::ProcessFuelProductEnquiry(QlFuelProductEnquiry& oEnquiry,
                                                  const std::string& strProductInfo,
                                                  const std::string& strCardInfo, int32_t lMode,
                                                  const std::string& strExtraInfo,
                                                  int32_t& lResult) {
  lResult = Trap(strErrorMessage_, Prefix("ProcessFuelProductEnquiry"), QL_REQ_UNEXPECTED, [&] {
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
    return oEnquiry.Request() == QL_ANSWER_FAILED ? LostConnectionTest(oEnquiry, false)
                                                  : QL_REQ_DONE;
  });
}

}  // namespace ccaddin

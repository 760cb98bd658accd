// The server session's steps: the session start, connect and login with the first
// working state, the start of the transaction on the card terminal, the authorisation
// (after a card enquiry, or straight from an integrated terminal), the status line while
// a request runs, and the end of the session.
#include "payment/credit_card_common.h"
#include "qlclient/ql_codes.h"
#include "qlclient/ql_factory.h"
#include "ui/transaction/frm_transaction.h"

#ifndef CCADDIN_VERSION_MAJOR
#define CCADDIN_VERSION_MAJOR 0
#define CCADDIN_VERSION_MINOR 0
#define CCADDIN_VERSION_REVISION 0
#endif

namespace ccaddin {

namespace {

constexpr int32_t kStatusPollMs = 350;
constexpr const char* kConnectionClosed = "CONNECTION TO SERVER CLOSED";
constexpr const char* kReaderNotAvailable = "CARD READER IS NOT AVAILABLE";

// The customer's presence as the payment transaction carries it (1 present). Named apart
// from the window's customer-present state, which would hide them inside its members.
constexpr int32_t kPresenceCustomerPresent = 1;
constexpr int32_t kPresenceCustomerNotPresent = 2;

}  // namespace

void frmTransaction::BindSessionSteps() {
  OnTimer(tmrStart, &frmTransaction::tmrStart_Timer);
  OnTimer(tmrStatus, &frmTransaction::tmrStatus_Timer);
  OnClick(cmdCancel, &frmTransaction::cmdCancel_Click);
  OnClick(cmdContinueTxn, &frmTransaction::cmdContinueTxn_Click);
  OnClick(cmdRestartTxn, &frmTransaction::cmdRestartTxn_Click);
  OnClick(cmdSplitTender, &frmTransaction::cmdSplitTender_Click);
}

TTender& frmTransaction::Ledger() const {
  const CreditCardCommon& shared = Shared();
  if (!shared.oTender) throw Failure("no tender ledger for this transaction");
  return *shared.oTender;
}

void frmTransaction::ServerFailed(int32_t lResult) {
  bServerError = true;
  strStatusText =
      lResult == QL_REQ_CONNECTION_LOST ? kConnectionClosed : oRequest.strErrorMessage();
}

void frmTransaction::CreateSessionObjects() {
  QlFactory& factory = CurrentQlFactory();
  oSession = factory.CreateSession();
  oParms = factory.CreateParameters();
  oLogin = factory.CreateLogin();
  oEnq = factory.CreateCardEnquiry();
}

void frmTransaction::ReleaseSessionObjects() {
  oTrans.reset();
  oProcessor.reset();
  oEnq.reset();
  oLogin.reset();
  oParms.reset();
  oSession.reset();
}

void frmTransaction::tmrStart_Timer() {
  CreditCardCommon& shared = Shared();
  tmrStart.SetEnabled(false);
  SetState(kConnecting);
  ShowState();
  int32_t next = kError;
  ConnectAndLogin(next);
  SetState(next);

  const bool ordinary =
      !shared.bReceiptMode && !shared.bVoidMode && !shared.bReportMode && !shared.bTokenMode;
  const bool auto_report = shared.bReportMode && shared.bAutoRunReport;
  if (next != kError && shared.lOperatingMode != 0 && ordinary) {
    // An integrated terminal reads the card and runs the transaction itself.
    if (shared.bCustomerNotPresent) {
      SetState(kCustomerPresent);
    } else {
      RunDirectAuthorisation(next);
      SetState(next);
    }
  } else if (next == kError && auto_report) {
    shared.bTransactionComplete = false;
    SetState(kFinished);
  } else if (next != kError && auto_report) {
    cmdCancel.SetEnabled(false);
    RunReport(next);
    SetState(kFinished);
  } else if (next != kError && shared.lOperatingMode == 0 && ordinary && !shared.bMailOrderOnly &&
             shared.bCardReaderStatus) {
    StartCardSession(bRestarted, next);
    SetState(next);
  }
  ShowState();

  if (lState == kFinished || lState == kRestart) {
    // Finished, or the server asked a mail-order or token transaction to start again:
    // closing restarts the session.
    cmdCancel.SetEnabled(true);
    (void)Unload();
  } else if (lState != kError && !shared.bReceiptMode && !shared.bReportMode && !shared.bVoidMode) {
    cmdSplitTender.SetVisible(shared.bSplitTender && !shared.bSplitTenderActive);
  }
}

void frmTransaction::ConnectAndLogin(int32_t& lNextState) {
  CreditCardCommon& shared = Shared();
  lNextState = kError;
  cmdCancel.SetEnabled(false);
  bServerError = false;

  int32_t result = 0;
  oRequest.Connect(*oSession, *oParms, shared.strConfigFileLocation, shared.strConfigFileName,
                   result);
  if (result == QL_REQ_CONNECTION_LOST) {
    strStatusText = oRequest.strErrorMessage();
    bServerError = true;
  } else if (result == QL_REQ_DONE) {
    oRequest.ProcessLogin(*oLogin, shared.strQuaylinkMerchantId, shared.strQuaylinkClientId,
                          shared.strQuaylinkPassword, result);
    if (result == QL_REQ_LOGIN_REFUSED) {
      strStatusText = "LOGIN TO SERVER FAILED";
      bServerError = true;
    } else if (result == QL_REQ_UNEXPECTED || result == QL_REQ_CONNECTION_LOST) {
      strStatusText = kConnectionClosed;
      bServerError = true;
    } else if (shared.bVoidMode) {
      if (shared.lRequestedTransRefNo != 0) {
        bool done = false;
        RunVoid(shared.lRequestedTransRefNo, done);
        lNextState = kFinished;
      } else {
        lNextState = kVoid;
      }
    } else if (shared.bReceiptMode) {
      if (shared.lRequestedTransRefNo != 0) {
        bool done = false;
        PrintDuplicateReceipts(shared.lRequestedTransRefNo, done);
        lNextState = kFinished;
      } else {
        lNextState = kDuplicate;
      }
    } else if (shared.bReportMode) {
      lNextState = kReport;
    } else if (shared.bTokenMode) {
      // The stored card is the till's, given as a number: the till's transaction mode says
      // whether the customer is there.
      bCustomerPresent = shared.lTransactionMode == TAM_TM_CUSTOMERPRESENT;
      lEntryMethod = kEntryKeyed;
      RunCardEnquiry(lNextState);
    } else if (shared.bMailOrderOnly) {
      bCustomerPresent = false;
      if (shared.bE2EEEnabled) {
        // The card number is keyed on the terminal's own keypad.
        SetState(kProcessingCard);
        lEntryMethod = kEntryKeyed;
        ShowState();
        RunCardEnquiry(lNextState);
      } else {
        lNextState = kKeyedNumber;
      }
    } else {
      lNextState = shared.bExternalSwipe ? kExternalSwipe : kCardWait;
    }
  }
  cmdCancel.SetEnabled(true);
}

int32_t frmTransaction::TransactionTypeCode() const {
  switch (Shared().lTransactionType) {
    case TAM_TT_REFUND:
      return QL_TT_REFUND;
    case TAM_TT_PREAUTH:
      return QL_TT_PREAUTH;
    case TAM_TT_FINALAUTH:
      return QL_TT_FINALAUTH;
    default:
      return Ledger().GetCashAmount(Shared().lTenderIndex) > 0 ? QL_TT_SALE_CASHBACK : QL_TT_SALE;
  }
}

void frmTransaction::StartCardSession(bool bRestart, int32_t& lNextState) {
  CreditCardCommon& shared = Shared();
  lNextState = kError;
  cmdCancel.SetEnabled(false);
  if (shared.bFuelBalanceMode) {
    // A balance enquiry reads the card without starting a payment on the terminal.
    strInsertSwipePrompt = shared.bExternalSwipe ? "PLEASE INSERT CARD" : "INSERT OR SWIPE CARD";
    lNextState = lState;
    cmdCancel.SetEnabled(true);
    return;
  }
  const TTillInformation& till = shared.oTillInfo;
  std::string address;
  for (const std::string* line :
       {&till.strAddressLine1, &till.strAddressLine2, &till.strAddressLine3}) {
    if (line->empty()) continue;
    if (!address.empty()) address += ":";
    address += *line;
  }
  TTender& ledger = Ledger();
  const int32_t index = shared.lTenderIndex;
  auto start = CurrentQlFactory().CreateTransactionStart();
  int32_t result = 0;
  // A restart asked for by the server offers the terminal no keyed or tapped card: the
  // server wants the card read again from its chip or stripe.
  oRequest.ProcessStartTransaction(
      *start, shared.strbaseCurrency, ledger.GetSaleAmount(index), ledger.GetCashAmount(index),
      ledger.GetGratuityAmount(index), TransactionTypeCode(), till.strMerchantName, address,
      shared.strPedLanguageCode, shared.strChipDeviceName, !bRestart && shared.bE2EEEnabled,
      shared.bExternalSwipe, true, !bRestart, result);
  switch (result) {
    case QL_REQ_DONE:
      if (start->bContactlessCapable) {
        strInsertSwipePrompt =
            shared.bExternalSwipe ? "INSERT OR TAP CARD" : "INSERT, TAP OR SWIPE CARD";
      } else {
        strInsertSwipePrompt =
            shared.bExternalSwipe ? "PLEASE INSERT CARD" : "INSERT OR SWIPE CARD";
      }
      lNextState = lState;
      break;
    case QL_REQ_FAILED:  // the card reader cannot be used
      if (shared.bE2EEEnabled) {
        bServerError = true;
        strStatusText = kReaderNotAvailable;
      } else {
        lNextState = shared.bExternalSwipe ? kKeyedNumber : kSwipeOnTill;
      }
      break;
    case QL_REQ_CONNECTION_LOST:
    case QL_REQ_UNEXPECTED:
      ServerFailed(result);
      break;
    default:
      break;
  }
  cmdCancel.SetEnabled(true);
}

std::unique_ptr<QlTransaction> frmTransaction::NewTransaction() const {
  const CreditCardCommon& shared = Shared();
  TTender& ledger = Ledger();
  const int32_t index = shared.lTenderIndex;
  auto trans = std::make_unique<QlTransaction>();
  trans->strCurrencyCode = shared.strbaseCurrency;
  trans->lCurrencyExponent = shared.lBaseCurrencyExponent;
  trans->strAmount = std::to_string(ledger.GetSaleAmount(index));
  if (const int32_t gratuity = ledger.GetGratuityAmount(index); gratuity > 0)
    trans->strGratuityAmount = std::to_string(gratuity);
  trans->lTransactionTypeCode = TransactionTypeCode();
  if (trans->lTransactionTypeCode == QL_TT_SALE_CASHBACK)
    trans->strCashbackAmount = std::to_string(ledger.GetCashAmount(index));
  trans->lCustomerPresence =
      bCustomerPresent ? kPresenceCustomerPresent : kPresenceCustomerNotPresent;
  trans->strReferenceText = shared.strReferenceText;
  return trans;
}

// The till's store, till and receipt numbers and the component's version: how the server
// finds the sale again.
std::string frmTransaction::TransactionReference() const {
  const TTillInformation& till = Shared().oTillInfo;
  return till.strStoreNumber + ":" + till.strTillNumber + ":" + till.strReceiptNumber + ":v" +
         std::to_string(CCADDIN_VERSION_MAJOR) + "." + std::to_string(CCADDIN_VERSION_MINOR) + "." +
         std::to_string(CCADDIN_VERSION_REVISION);
}

int32_t frmTransaction::RecordAuthorisation() {
  const CreditCardCommon& shared = Shared();
  TTender& ledger = Ledger();
  (void)ledger.UpdateTransRefNo(shared.lTenderIndex, oTrans->lTransRefNo);
  (void)ledger.UpdateAuthCode(shared.lTenderIndex, oTrans->strAuthCode);
  if (oTrans->lStatus == QL_STATUS_REFERRED) return kReferral;
  PrintTransactionReceipt(true, false);
  if (oTrans->lStatus == QL_STATUS_DECLINED) {
    PrintTransactionReceipt(false, false);
    auto confirm = CurrentQlFactory().CreateConfirm();
    int32_t result = 0;
    oRequest.ProcessConfirm(*confirm, *oTrans, shared.strQuaylinkClientId, oTrans->lTransRefNo, "",
                            QL_CONFIRM_DECLINED, result);
  }
  return kResult;
}

void frmTransaction::RunAuthorisation(int32_t& lNextState) {
  CreditCardCommon& shared = Shared();
  lNextState = kError;
  cmdCancel.SetEnabled(false);

  const bool fuel_card = oEnq->lCardType == QL_CARD_FUEL;
  if (fuel_card) {
    int32_t checked = 0;
    CheckFuelProducts(Ledger().GetSaleAmount(shared.lTenderIndex),
                      oEnq->strTrack.empty() ? oEnq->strPan : oEnq->strTrack, checked);
    if (checked != 0) {
      bServerError = true;
      cmdCancel.SetEnabled(true);
      return;
    }
  }
  if (shared.lDccType == 1 && !fuel_card && oTrans->lEntryMethodCode != QL_ENTRY_TAPPED &&
      oTrans->lTransactionTypeCode != QL_TT_SALE_CASHBACK &&
      oTrans->lTransactionTypeCode != QL_TT_FINALAUTH) {
    RunCurrencyConversionOffer();
  }

  const int32_t before = lState;
  SetState(kProcessing);
  ShowState();
  oTrans->strReference = TransactionReference();
  oProcessor = CurrentQlFactory().CreateTransactionProcessor();
  int32_t result = 0;
  oRequest.ProcessTransaction(*oProcessor, *oTrans, result);
  switch (result) {
    case QL_REQ_DONE:
      lNextState = RecordAuthorisation();
      break;
    case QL_REQ_FAILED:
      // A refusal after the details frame can be corrected there; straight after the
      // card enquiry there is nothing for the operator to correct.
      strStatusText = oRequest.strErrorMessage();
      bServerError = before == kProcessingCard;
      if (!bServerError) lReturnState = kDetails;
      break;
    case QL_REQ_CONNECTION_LOST:
    case QL_REQ_UNEXPECTED:
      ServerFailed(result);
      ReverseLostAuthorisation();
      break;
    case QL_REQ_FALLBACK:
      lNextState = kSwipeOnTill;
      break;
    case QL_REQ_PASSED_ON:
      lNextState = kExternalSwipe;
      break;
    case QL_REQ_PIN_BYPASS:
      lNextState = kPinBypass;
      break;
    case QL_REQ_ENQUIRY_NEEDED:
      lNextState = kRestart;
      break;
    default:
      break;
  }
  cmdCancel.SetEnabled(true);
}

void frmTransaction::RunDirectAuthorisation(int32_t& lNextState) {
  CreditCardCommon& shared = Shared();
  lNextState = kError;
  SetState(kProcessing);
  ShowState();
  oTrans = NewTransaction();
  oTrans->strReference = TransactionReference();
  oProcessor = CurrentQlFactory().CreateTransactionProcessor();
  int32_t result = 0;
  oRequest.ProcessTransaction(*oProcessor, *oTrans, result);
  switch (result) {
    case QL_REQ_DONE:
      if (shared.lOperatingMode != 1) {
        lNextState = RecordAuthorisation();
        break;
      }
      // The terminal settles the transaction with the server itself: the ledger only
      // records how it ended.
      if (oTrans->lStatus == QL_STATUS_AUTHORISED && !oTrans->bCancelled) {
        TTender& ledger = Ledger();
        (void)ledger.UpdateState(shared.lTenderIndex, TTender::kStateAuthorised);
        (void)ledger.UpdateTransRefNo(shared.lTenderIndex, oTrans->lTransRefNo);
        (void)ledger.UpdateAuthCode(shared.lTenderIndex, oTrans->strAuthCode);
      } else if (oTrans->bCancelled) {
        (void)Ledger().UpdateState(shared.lTenderIndex, TTender::kStateCancelled);
        bOperatorCancelled = true;
      }
      lNextState = kFinished;
      break;
    case QL_REQ_FAILED:
      bServerError = true;
      strStatusText = oRequest.strErrorMessage();
      break;
    case QL_REQ_CONNECTION_LOST:
    case QL_REQ_UNEXPECTED:
      ServerFailed(result);
      ReverseLostAuthorisation();
      break;
    default:
      break;
  }
}

void frmTransaction::tmrStatus_Timer() {
  if (oSession) txtStatus.SetText(oSession->GetStatusText());
}

void frmTransaction::EndSession() {
  cmdCancel.SetEnabled(false);
  tmrStatus.SetInterval(kStatusPollMs);
  tmrStatus.SetEnabled(true);
  int32_t result = 0;
  oRequest.ProcessLogout(*oLogin, result);
  oRequest.Disconnect(*oSession, result);
  tmrStatus.SetEnabled(false);
  cmdCancel.SetEnabled(true);
}

}  // namespace ccaddin

// frmTransaction: the always-on-top window in which every interactive card operation runs
// (sale, refund, pre- and final authorisation, token payment, fuel balance, duplicate
// receipts, void, X and Z reports). A hook fills the shared session state (Shared()),
// shows the window modally and reads the outcome back from the same state once it has
// closed. The window owns one payment-server session from load to unload and drives it
// one request at a time; a request blocks (yielding to the loop through the Env), and
// cmdCancel is disabled for as long as one runs, which also refuses closing.
//
// The controller is split by concern, one file each under src/ui/transaction/:
//   frm_transaction_design.cpp  controls, layouts (normal and full-screen)
//   frm_transaction.cpp         load, unload, Cancel, error frame, split tender button
//   state_table.cpp             ShowState and ShowFrame: what each state shows
//   session_steps.cpp           connect and login, start, authorise, status, end
//   card_capture.cpp            the card wait, card buttons, key entry, wedge swipe,
//                               customer-present question
//   details_checks.cpp          card enquiry (or the transaction without one), fuel checks
//   details_frames.cpp          details and cashback frames: filters, rules, Continue
//   settlement.cpp              result frame buttons, confirmation, automatic acceptance
//   outcomes.cpp                referral, PIN bypass, currency offer, re-print
//   window_receipts.cpp         PrintTransactionReceipt, through TransactionReceipts
//   auxiliary_frames.cpp        duplicate, void and report frames, keypad hand-off
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "payment/process_ql_request.h"
#include "payment/tender.h"
#include "qlclient/ql_client.h"
#include "ui/form.h"
#include "ui/transaction/transaction_receipts.h"

namespace ccaddin {

class frmTransaction final : public Form {
 public:
  // The window's states (lState). 2 and 11 are not used.
  enum State : int32_t {
    kConnecting = 1,
    kCardWait = 3,     // the terminal's reader
    kKeyedNumber = 4,  // the operator keys the card number
    kSwipeOnTill = 5,  // the till's own stripe reader
    kError = 6,
    kProcessingCard = 7,  // before the card enquiry
    kDisconnecting = 8,
    kExternalSwipe = 9,  // card wait with an external stripe reader
    kDetails = 10,
    kReferral = 12,
    kResult = 13,
    kProcessing = 14,  // before an authorisation, receipt or void request
    kFinished = 15,
    kPrintingReceipt = 16,
    kDuplicate = 17,
    kReport = 18,
    kPrintingReport = 19,
    kCustomerPresent = 20,
    kCashback = 21,
    kPinBypass = 22,
    kVoid = 23,
    kRestart = 24,  // the server asked for the transaction to start again
  };
  // Every state of the table, in order.
  static constexpr State kStates[] = {
      kConnecting,     kCardWait,       kKeyedNumber,     kSwipeOnTill,     kError,
      kProcessingCard, kDisconnecting,  kExternalSwipe,   kDetails,         kReferral,
      kResult,         kProcessing,     kFinished,        kPrintingReceipt, kDuplicate,
      kReport,         kPrintingReport, kCustomerPresent, kCashback,        kPinBypass,
      kVoid,           kRestart};

  // How the window took the card (lEntryMethod), as it tells the card enquiry.
  enum EntryMethod : int32_t {
    kEntryChip = 0,       // read by the terminal
    kEntryTillTrack = 1,  // track data captured on the till
    kEntrySwiped = 2,     // swiped on the terminal
    kEntryKeyed = 3,
    kEntryTapped = 4,
  };

  frmTransaction();
  ~frmTransaction() override;

  // Every state the window showed, in order (a state shown again right after itself
  // counts once): what a support engineer reads to follow a transaction, and what the
  // scenario tests compare.
  [[nodiscard]] const std::vector<int32_t>& StateTrail() const { return state_trail_; }
  [[nodiscard]] int32_t CurrentState() const { return lState; }

 private:
  // ---- design (frm_transaction_design.cpp) ----
  void Layout();
  // A length of the normal layout in the layout in use (the full-screen layout scales
  // every control, so positions set while the window runs must scale too).
  [[nodiscard]] int32_t Scaled(int32_t twips) const;

  // ---- window life (frm_transaction.cpp) ----
  void Form_Load() override;
  void Form_Unload(int16_t& Cancel) override;
  void cmdCancel_Click();
  void cmdContinueTxn_Click();
  void cmdRestartTxn_Click();
  void cmdSplitTender_Click();
  // Enters a state; ShowState shows it.
  void SetState(int32_t state);
  // The card transaction proper: not a receipt, report, void or fuel balance window.
  [[nodiscard]] bool IsCardTransaction() const;
  // The click of a button whose work is not built yet: it fails, so that no scenario
  // passes through it unnoticed.
  [[noreturn]] void NotBuiltYet_Click();

  // ---- state table (state_table.cpp) ----
  void ShowState();
  void ShowFrame(int32_t lFrame);
  // Enabled text box on the window's background, disabled on the button face.
  void SetFieldEnabled(bool bEnabled, Control& oControl);

  // ---- session steps (session_steps.cpp) ----
  void BindSessionSteps();
  void tmrStart_Timer();
  void tmrStatus_Timer();
  void ConnectAndLogin(int32_t& lNextState);
  void StartCardSession(bool bRestart, int32_t& lNextState);
  void RunAuthorisation(int32_t& lNextState);
  void RunDirectAuthorisation(int32_t& lNextState);
  void EndSession();
  void CreateSessionObjects();
  void ReleaseSessionObjects();
  // A new payment transaction with the current tender's amounts, the base currency, the
  // device transaction code and the customer's presence: what the authorisation sends.
  [[nodiscard]] std::unique_ptr<QlTransaction> NewTransaction() const;
  // The device's transaction code of the current tender (sale with cashback when the
  // tender carries cash).
  [[nodiscard]] int32_t TransactionTypeCode() const;
  // Result 0 of an authorisation: the ledger learns the reference and code; the merchant
  // copy prints unless referred, and a decline also prints the customer copy and is
  // confirmed as declined. The next state: referral or result.
  [[nodiscard]] int32_t RecordAuthorisation();
  // A request failed in a way that leaves the server's session unusable (the connection
  // closed, or the request layer's own error): the error frame with Cancel only.
  void ServerFailed(int32_t lResult);
  // The ledger of the call; the hook always creates one before showing the window.
  TTender& Ledger() const;
  // The till's store, till and receipt numbers and the component's version, as the
  // server files the transaction.
  [[nodiscard]] std::string TransactionReference() const;

  // ---- card capture (card_capture.cpp) ----
  void BindCardCapture();
  void tmrInsertSwipe_Timer();
  void cmdInsertSwipe_Click();
  void cmdChip_Click();
  void cmdSwipe_Click();
  void cmdTap_Click();
  void cmdCPYes_Click();
  void cmdCPNo_Click();
  void txtKeySwipe_Change();
  void txtKeySwipe_KeyPress(int16_t& KeyAscii);
  // The card frame of states 3, 4, 5 and 9.
  void ShowCardFrame();
  // The reader said it is unavailable: the fallback its settings give.
  void ReaderUnavailable();
  void AnswerCustomerPresent(bool bPresent);
  // The text a reader state shows in txtStatus ("" leaves it as it is).
  [[nodiscard]] std::string ReaderStateText(int32_t lReaderState);

  // ---- details and checks (details_checks.cpp, details_frames.cpp) ----
  void BindDetailsChecks();
  void RunCardEnquiry(int32_t& lNextState);
  void CheckFuelProducts(int32_t lSaleAmount, const std::string& strCardData, int32_t& lResult);
  // Enables the details frame's Continue exactly when every enabled field passes its rule.
  void UpdateContinueTransInfo();
  void cmdContinueTransInfo_Click();
  void cmdContinueCashback_Click();
  // The detail fields' key filters: digits only, letters and digits (registration), any
  // key with Enter moving on (postcode, reference text), and the cashback amount.
  void txtDigits_KeyPress(int16_t& KeyAscii);
  void txtReg_KeyPress(int16_t& KeyAscii);
  void txtFreeText_KeyPress(int16_t& KeyAscii);
  void txtCashAmount_KeyPress(int16_t& KeyAscii);
  // The card enquiry sent and its answer read; or, without a card enquiry, the payment
  // transaction built from what the window took itself.
  void SendCardEnquiry(int32_t& lNextState);
  void EvaluateCardEnquiry(int32_t& lNextState);
  void BuildTransactionWithoutEnquiry(int32_t& lNextState);
  // The payment card's detail fields, each enabled when the card asks for it.
  void EnableEntryPromptFields();

  // ---- settling the sale (settlement.cpp) ----
  void BindSettlement();
  void cmdConfirmAuth_Click();
  void cmdConfirmCancel_Click();
  void cmdComplete_Click();
  void SendConfirmation(int32_t& lResult);
  // After an authorisation: the automatic confirmation where the settings allow it,
  // otherwise the state lNextState is shown. A restart request closes the window so
  // that closing restarts the session.
  void FinishAuthorisation(int32_t lNextState);
  // Shows the outcome after a confirmation: the result frame with "Complete" only when
  // receipts may be re-printed, else the window closes.
  void AfterConfirmation();
  // The result frame's captions and buttons (state 13).
  void ShowResult();
  [[nodiscard]] bool IsResultReceiptPrinted();

  // ---- authorisation outcomes (outcomes.cpp) ----
  void BindOutcomes();
  // The referral frame: what the operator reads out to the authorisation centre, and the
  // voice code box.
  void ShowReferral();
  void txtAuthCode_Change();
  void txtAuthCode_KeyPress(int16_t& KeyAscii);
  // The referral's details and the status line are for reading: every key is swallowed.
  void ReadOnly_KeyPress(int16_t& KeyAscii);
  void cmdAuthorise_Click();
  void cmdDecline_Click();
  void cmdAllowPinBypass_Click();
  void cmdDisallowPinBypass_Click();
  // Answers the cardholder's request to bypass the PIN; the next state as an
  // authorisation gives it.
  void RunPinBypass(bool bAllow, int32_t& lNextState);
  void cmdReprint_Click();
  // The server's offer to charge the card in its own currency, shown to the cardholder
  // when the server makes one the till can trust; the choice goes on the transaction.
  void RunCurrencyConversionOffer();
  // The answer to an authorisation was lost (the connection closed, or the request layer
  // failed) after the server may have approved the sale: it is found at the server and
  // cancelled there, so that the till never leaves an approval behind unknowingly.
  void ReverseLostAuthorisation();
  // A confirmation went unanswered: the server may have settled the sale without the
  // window knowing. The sale is cancelled at the server instead.
  void ReverseUnconfirmed();
  // Cancels oCancel at the server; true when the server then holds it cancelled, else
  // false with the server's reason in strWhy.
  [[nodiscard]] bool CancelAtServer(QlTransaction& oCancel, std::string& strWhy);

  // ---- receipts (transaction_receipts.cpp) ----
  void PrintTransactionReceipt(bool bMerchantCopy, bool bDuplicate);

  // ---- auxiliary frames (auxiliary_frames.cpp) ----
  void BindAuxiliaryFrames();
  void RunReport(int32_t& lNextState);
  void PrintDuplicateReceipts(int32_t lTransRefNo, bool& bDone);
  void RunVoid(int32_t lTransRefNo, bool& bDone);

  // ---- controls, in design (tab) order ----
  Control& fraContainer;

  Control& fraGeneric;
  Control& capGenMessage;

  Control& fraInsertSwipe;
  Control& capInsertSwipeMsg;
  Control& txtKeySwipe;
  Control& cmdChip;
  Control& cmdTap;
  Control& cmdSwipe;
  Control& cmdInsertSwipe;
  Control& cmdSplitTender;

  Control& fraError;
  Control& capErrorMsg;
  Control& cmdContinueTxn;
  Control& cmdRestartTxn;

  Control& fraTransInfo;
  Control& lblExpDate;
  Control& txtExpDate;
  Control& lblExpDateFormat;
  Control& lblStartDate;
  Control& txtStartDate;
  Control& lblStartDateFormat;
  Control& lblIssue;
  Control& txtIssue;
  Control& lblCV2;
  Control& txtCV2;
  Control& lblAddress;
  Control& txtAddress;
  Control& lblPostCode;
  Control& txtPostCode;
  Control& lblRefText;
  Control& txtRefText;
  Control& lblReg;
  Control& txtReg;
  Control& lblMileage;
  Control& txtMileage;
  Control& lblProductRestrict;
  Control& txtProductRestrict;
  Control& lblSuppId;
  Control& txtSuppId;
  Control& cmdContinueTransInfo;

  Control& fraReferral;
  Control& lblReferred;
  Control& lblCallVoiceAuth;
  Control& lblVoicePhone;
  Control& txtVoicePhone;
  Control& lblMerchId;
  Control& txtMerchId;
  Control& lblVoicePan;
  Control& txTVoicePan;
  Control& lblVoiceAmount;
  Control& txtVoiceAmount;
  Control& lblVoiceExpDate;
  Control& txtVoiceExpDate;
  Control& lblVoiceStartDate;
  Control& txtVoiceStartDate;
  Control& lblVoiceIssueNo;
  Control& txtVoiceIssueNo;
  Control& lblAuthCode;
  Control& txtAuthCode;
  Control& cmdAuthorise;
  Control& cmdDecline;

  Control& fraConfirm;
  Control& lblConfirm;
  Control& capConfirmState;
  Control& capbankMessage;
  Control& capCv2Avs;
  Control& capCheckSignature;
  Control& cmdConfirmAuth;
  Control& cmdConfirmCancel;
  Control& cmdComplete;

  Control& fraDuplicate;
  Control& lblDuplicate;
  Control& lblDuplicateLast;
  Control& cmdPrintLastReceipt;
  Control& lblDuplicateSeqNo;
  Control& txtEftNo;
  Control& cmdPrintReceipt;

  Control& fraReport;
  Control& capReportType;
  Control& cmdPrintReport;

  Control& fraCustomerPresent;
  Control& lblCustomerPresent;
  Control& cmdCPYes;
  Control& cmdCPNo;

  Control& fraCashback;
  Control& lblCashbackOffer;
  Control& lblCashbackAmount;
  Control& txtCashAmount;
  Control& cmdContinueCashback;

  Control& fraPinByPass;
  Control& lblPinBypass;
  Control& cmdAllowPinBypass;
  Control& cmdDisallowPinBypass;

  Control& fraVoidTransaction;
  Control& lblVoid;
  Control& lblVoidSeqNo;
  Control& txtVoidSeqNo;
  Control& cmdVoidSeqNo;

  // Below the frames.
  Control& txtStatus;
  Control& cmdKeyPad;
  Control& cmdReprint;
  Control& picLogo;
  Control& cmdCancel;

  Control& tmrStart;
  Control& tmrStatus;
  Control& tmrInsertSwipe;

 private:
  // ---- window-level fields (initial values are set again by Form_Load) ----
  int32_t lState = 0;
  int32_t lReturnState = 0;
  std::string strStatusText;
  std::string strInsertSwipePrompt;
  int32_t lEntryMethod = kEntryChip;
  bool bServerError = false;
  bool bOperatorCancelled = false;
  bool bCancelPending = false;
  bool bSplitTenderRequested = false;
  bool bKeyEntryPressed = false;
  bool bChipPressed = false;
  bool bSwipePressed = false;
  bool bTapPressed = false;
  bool bCustomerPresent = true;
  bool bAutoConfirmed = false;
  bool bRestarted = false;
  int32_t lTotalSaleAmount = 0;
  // Re-entry guards: requests yield to the loop, so a second click can arrive while the
  // first one's request runs.
  bool bClosing = false;
  bool bRestarting = false;
  bool bContinuing = false;
  bool bKeyEntering = false;
  bool bConfirming = false;
  bool bConfirmCancelling = false;
  bool bContinuingDetails = false;
  bool bContinuingCashback = false;
  bool bVoiceAnswering = false;
  bool bAnsweringPinBypass = false;
  bool bReprinting = false;
  // Confirmed without the operator: both copies printed with nobody looking between them.
  bool bAcceptedAutomatically = false;
  std::string strSwipeBuffer;
  int32_t lFocusedDetailField = 0;
  bool bLastCopyMerchant = false;
  // The card enquiry's answer, read once when it arrives: which details the card asks for
  // (0 not asked, 1 required, other optional) and how a fuel prompt's value is sent.
  std::array<int32_t, 7> lEntryPrompts{};
  std::array<int32_t, 14> lFuelPrompts{};
  std::array<int32_t, 14> lFuelPromptTypes{};
  int32_t lCv2Length = 0;

  TProcessQlRequest oRequest;
  std::unique_ptr<QlSession> oSession;
  std::unique_ptr<QlParameters> oParms;
  std::unique_ptr<QlLogin> oLogin;
  std::unique_ptr<QlCardEnquiry> oEnq;
  std::unique_ptr<QlTransaction> oTrans;
  std::unique_ptr<QlTransactionProcessor> oProcessor;  // kept for a PIN bypass answer
  TransactionReceipts oReceipts;

  // The layout's scale in thousandths: 1000 in the normal layout.
  int32_t scale_permille_ = 1000;
  std::vector<int32_t> state_trail_;
};

}  // namespace ccaddin

// The window's controls as designed, and the layouts that place them: the normal window
// of 7,995 by 6,350 twips, a window of the size the settings give, and the full-screen
// layout for touch-screen tills, which scales every control (and its font) so that the
// buttons become large targets for a finger.
#include <algorithm>

#include "payment/credit_card_common.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

namespace {

// The container and the frames inside it.
constexpr int32_t kContainerWidth = 7695;
constexpr int32_t kContainerHeight = 5895;
constexpr Twips kFrame{120, 120, 7455, 4200};
constexpr int32_t kInner = 6975;  // a frame's width less its margins

// The normal window.
constexpr int32_t kWindowWidth = 7995;
constexpr int32_t kWindowHeight = 6350;

// Below the frames: the status line, then one row of buttons.
constexpr Twips kStatus{120, 4440, 7455, 420};
constexpr int32_t kRowTop = 4980;
constexpr int32_t kRowHeight = 780;

// Two columns of labelled boxes (details frame, referral frame).
constexpr int32_t kRowPitch = 540;
constexpr int32_t kBoxHeight = 420;

Twips Row(int32_t left, int32_t row, int32_t width, int32_t first_top = 480) {
  return {left, first_top + row * kRowPitch, width, kBoxHeight};
}

const Font kTitle{14, true, Alignment::Centre};
const Font kMessage{12, true, Alignment::Centre};
const Font kText{10, false, Alignment::Left};
const Font kButton{10, true, Alignment::Centre};

}  // namespace

frmTransaction::frmTransaction()
    : Form("frmTransaction", "Credit Card Transaction", {0, 0, kWindowWidth, kWindowHeight}),
      fraContainer(AddFrame("fraContainer", {0, 0, kContainerWidth, kContainerHeight})),
      // ---- generic messages (frames 1, 8, 11) ----
      fraGeneric(AddFrame("fraGeneric", kFrame, "", &fraContainer)),
      capGenMessage(
          AddLabel("capGenMessage", {240, 1440, kInner, 1080}, "PLEASE WAIT", &fraGeneric)),
      // ---- card capture ----
      fraInsertSwipe(AddFrame("fraInsertSwipe", kFrame, "", &fraContainer)),
      capInsertSwipeMsg(
          AddLabel("capInsertSwipeMsg", {240, 240, kInner, 600}, "", &fraInsertSwipe)),
      txtKeySwipe(
          AddTextBox("txtKeySwipe", {240, 960, kInner, 540}, "Card number", &fraInsertSwipe)),
      cmdChip(AddButton("cmdChip", {240, 1680, 1680, 900}, "Chip Card", &fraInsertSwipe)),
      cmdTap(AddButton("cmdTap", {2100, 1680, 1680, 900}, "Tap Card", &fraInsertSwipe)),
      cmdSwipe(AddButton("cmdSwipe", {3960, 1680, 1440, 900}, "Swipe Card", &fraInsertSwipe)),
      cmdInsertSwipe(
          AddButton("cmdInsertSwipe", {5535, 1680, 1680, 900}, "Command1", &fraInsertSwipe)),
      cmdSplitTender(
          AddButton("cmdSplitTender", {240, 3060, 2400, 900}, "Split Tender", &fraInsertSwipe)),
      // ---- error ----
      fraError(AddFrame("fraError", kFrame, "", &fraContainer)),
      capErrorMsg(AddLabel("capErrorMsg", {240, 360, kInner, 2160}, "", &fraError)),
      cmdContinueTxn(
          AddButton("cmdContinueTxn", {240, 2880, 3300, 960}, "Continue Transaction", &fraError)),
      cmdRestartTxn(
          AddButton("cmdRestartTxn", {3915, 2880, 3300, 960}, "Restart Transaction", &fraError)),
      // ---- transaction details: two columns of labelled boxes ----
      fraTransInfo(
          AddFrame("fraTransInfo", kFrame, "EXTRA TRANSACTION INFORMATION", &fraContainer)),
      lblExpDate(AddLabel("lblExpDate", Row(240, 0, 1560), "Expiry Date", &fraTransInfo)),
      txtExpDate(AddTextBox("txtExpDate", Row(1860, 0, 1080), "Expiry Date", &fraTransInfo)),
      lblExpDateFormat(AddLabel("lblExpDateFormat", Row(3000, 0, 780), "(MMYY)", &fraTransInfo)),
      lblStartDate(AddLabel("lblStartDate", Row(240, 1, 1560), "Start Date", &fraTransInfo)),
      txtStartDate(AddTextBox("txtStartDate", Row(1860, 1, 1080), "Start Date", &fraTransInfo)),
      lblStartDateFormat(
          AddLabel("lblStartDateFormat", Row(3000, 1, 780), "(MMYY)", &fraTransInfo)),
      lblIssue(AddLabel("lblIssue", Row(240, 2, 1560), "Issue Number", &fraTransInfo)),
      txtIssue(AddTextBox("txtIssue", Row(1860, 2, 1080), "Issue Number", &fraTransInfo)),
      lblCV2(AddLabel("lblCV2", Row(240, 3, 1560), "CV2 Number", &fraTransInfo)),
      txtCV2(AddTextBox("txtCV2", Row(1860, 3, 1080), "CV2 Number", &fraTransInfo)),
      lblAddress(AddLabel("lblAddress", Row(240, 4, 1560), "Address Digits", &fraTransInfo)),
      txtAddress(AddTextBox("txtAddress", Row(1860, 4, 1080), "Address Digits", &fraTransInfo)),
      lblPostCode(AddLabel("lblPostCode", Row(240, 5, 1560), "Post Code", &fraTransInfo)),
      txtPostCode(AddTextBox("txtPostCode", Row(1860, 5, 1560), "Post Code", &fraTransInfo)),
      lblRefText(AddLabel("lblRefText", Row(3900, 0, 1500), "Reference Text", &fraTransInfo)),
      txtRefText(AddTextBox("txtRefText", Row(5460, 0, 1755), "Reference Text", &fraTransInfo)),
      lblReg(AddLabel("lblReg", Row(3900, 1, 1500), "Car Reg", &fraTransInfo)),
      txtReg(AddTextBox("txtReg", Row(5460, 1, 1755), "Car Reg", &fraTransInfo)),
      lblMileage(AddLabel("lblMileage", Row(3900, 2, 1500), "Mileage", &fraTransInfo)),
      txtMileage(AddTextBox("txtMileage", Row(5460, 2, 1755), "Mileage", &fraTransInfo)),
      lblProductRestrict(
          AddLabel("lblProductRestrict", Row(3900, 3, 1500), "Product Restrict", &fraTransInfo)),
      txtProductRestrict(
          AddTextBox("txtProductRestrict", Row(5460, 3, 1755), "Product Restrict", &fraTransInfo)),
      lblSuppId(AddLabel("lblSuppId", Row(3900, 4, 1500), "Supp ID", &fraTransInfo)),
      txtSuppId(AddTextBox("txtSuppId", Row(5460, 4, 1755), "Supp ID", &fraTransInfo)),
      cmdContinueTransInfo(AddButton("cmdContinueTransInfo", {3900, 3240, 3315, 840},
                                     "Continue Transaction", &fraTransInfo)),
      // ---- referral ----
      fraReferral(AddFrame("fraReferral", kFrame, "", &fraContainer)),
      lblReferred(AddLabel("lblReferred", {240, 120, kInner, 360}, "TRANSACTION HAS BEEN REFERRED",
                           &fraReferral)),
      lblCallVoiceAuth(AddLabel("lblCallVoiceAuth", {240, 480, kInner, 360},
                                "PLEASE CALL FOR VOICE AUTHORISATION", &fraReferral)),
      lblVoicePhone(
          AddLabel("lblVoicePhone", Row(240, 0, 1440, 960), "Phone Number", &fraReferral)),
      txtVoicePhone(
          AddTextBox("txtVoicePhone", Row(1740, 0, 1920, 960), "Phone Number", &fraReferral)),
      lblMerchId(AddLabel("lblMerchId", Row(240, 1, 1440, 960), "Merchant ID", &fraReferral)),
      txtMerchId(AddTextBox("txtMerchId", Row(1740, 1, 1920, 960), "Merchant ID", &fraReferral)),
      lblVoicePan(AddLabel("lblVoicePan", Row(240, 2, 1440, 960), "Card Number", &fraReferral)),
      txTVoicePan(AddTextBox("txTVoicePan", Row(1740, 2, 1920, 960), "Card Number", &fraReferral)),
      lblVoiceAmount(AddLabel("lblVoiceAmount", Row(240, 3, 1440, 960), "Amount", &fraReferral)),
      txtVoiceAmount(AddTextBox("txtVoiceAmount", Row(1740, 3, 1920, 960), "Amount", &fraReferral)),
      lblVoiceExpDate(
          AddLabel("lblVoiceExpDate", Row(3900, 0, 1500, 960), "Expiry Date", &fraReferral)),
      txtVoiceExpDate(
          AddTextBox("txtVoiceExpDate", Row(5460, 0, 1755, 960), "Expiry Date", &fraReferral)),
      lblVoiceStartDate(
          AddLabel("lblVoiceStartDate", Row(3900, 1, 1500, 960), "Start Date", &fraReferral)),
      txtVoiceStartDate(
          AddTextBox("txtVoiceStartDate", Row(5460, 1, 1755, 960), "Start Date", &fraReferral)),
      lblVoiceIssueNo(
          AddLabel("lblVoiceIssueNo", Row(3900, 2, 1500, 960), "Issue No", &fraReferral)),
      txtVoiceIssueNo(
          AddTextBox("txtVoiceIssueNo", Row(5460, 2, 1755, 960), "Issue No", &fraReferral)),
      lblAuthCode(AddLabel("lblAuthCode", {240, 3240 - 600, 2880, kBoxHeight},
                           "Enter Voice Auth Code", &fraReferral)),
      txtAuthCode(AddTextBox("txtAuthCode", {3180, 3240 - 600, 2040, kBoxHeight},
                             "Enter Voice Auth Code", &fraReferral)),
      cmdAuthorise(AddButton("cmdAuthorise", {240, 3240, 3300, 840}, "Authorised", &fraReferral)),
      cmdDecline(AddButton("cmdDecline", {3915, 3240, 3300, 840}, "Declined", &fraReferral)),
      // ---- result and confirmation ----
      fraConfirm(AddFrame("fraConfirm", kFrame, "", &fraContainer)),
      lblConfirm(
          AddLabel("lblConfirm", {240, 120, kInner, 420}, "CONFIRM TRANSACTION", &fraConfirm)),
      capConfirmState(AddLabel("capConfirmState", {240, 600, kInner, 480},
                               "TRANSACTION HAS BEEN AUTHORISED", &fraConfirm)),
      capbankMessage(AddLabel("capbankMessage", {240, 1140, kInner, 420}, "", &fraConfirm)),
      capCv2Avs(AddLabel("capCv2Avs", {240, 1620, kInner, 420}, "", &fraConfirm)),
      capCheckSignature(AddLabel("capCheckSignature", {240, 2100, kInner, 480}, "", &fraConfirm)),
      cmdConfirmAuth(
          AddButton("cmdConfirmAuth", {240, 2940, 3300, 1020}, "Accept Transaction", &fraConfirm)),
      cmdConfirmCancel(AddButton("cmdConfirmCancel", {3915, 2940, 3300, 1020}, "Cancel Transaction",
                                 &fraConfirm)),
      cmdComplete(AddButton("cmdComplete", {2078, 2940, 3300, 1020}, "Complete", &fraConfirm)),
      // ---- duplicate receipts ----
      fraDuplicate(AddFrame("fraDuplicate", kFrame, "", &fraContainer)),
      lblDuplicate(AddLabel("lblDuplicate", {240, 120, kInner, 420}, "PRINT DUPLICATE RECEIPTS",
                            &fraDuplicate)),
      lblDuplicateLast(AddLabel("lblDuplicateLast", {240, 840, 4800, 600},
                                "Print duplicate receipts for last credit card transaction",
                                &fraDuplicate)),
      cmdPrintLastReceipt(AddButton("cmdPrintLastReceipt", {5295, 720, 1920, 840}, "Print Receipts",
                                    &fraDuplicate)),
      lblDuplicateSeqNo(
          AddLabel("lblDuplicateSeqNo", {240, 1920, 4800, 600},
                   "Print duplicate receipts for credit card transaction with sequence number",
                   &fraDuplicate)),
      txtEftNo(AddTextBox("txtEftNo", {240, 2640, 2400, 480}, "Sequence number", &fraDuplicate)),
      cmdPrintReceipt(
          AddButton("cmdPrintReceipt", {5295, 2520, 1920, 840}, "Print Receipts", &fraDuplicate)),
      // ---- report ----
      fraReport(AddFrame("fraReport", kFrame, "", &fraContainer)),
      capReportType(AddLabel("capReportType", {240, 960, kInner, 840},
                             "END OF DAY CREDIT CARD SUMMARY REPORT", &fraReport)),
      cmdPrintReport(
          AddButton("cmdPrintReport", {2430, 2400, 2595, 1020}, "Print Report", &fraReport)),
      // ---- customer present? ----
      fraCustomerPresent(AddFrame("fraCustomerPresent", kFrame, "", &fraContainer)),
      lblCustomerPresent(AddLabel("lblCustomerPresent", {240, 960, kInner, 600},
                                  "IS THE CUSTOMER PRESENT ?", &fraCustomerPresent)),
      cmdCPYes(AddButton("cmdCPYes", {960, 2160, 2520, 1200}, "Yes", &fraCustomerPresent)),
      cmdCPNo(AddButton("cmdCPNo", {3975, 2160, 2520, 1200}, "No", &fraCustomerPresent)),
      // ---- cashback ----
      fraCashback(AddFrame("fraCashback", kFrame, "", &fraContainer)),
      lblCashbackOffer(AddLabel("lblCashbackOffer", {240, 480, kInner, 480},
                                "OFFER CUSTOMER CASHBACK", &fraCashback)),
      lblCashbackAmount(
          AddLabel("lblCashbackAmount", {240, 1500, 3000, 480}, "CASHBACK AMOUNT", &fraCashback)),
      txtCashAmount(
          AddTextBox("txtCashAmount", {3360, 1440, 2400, 540}, "CASHBACK AMOUNT", &fraCashback)),
      cmdContinueCashback(AddButton("cmdContinueCashback", {2070, 2640, 3315, 960},
                                    "Continue Transaction", &fraCashback)),
      // ---- PIN bypass ----
      fraPinByPass(AddFrame("fraPinByPass", kFrame, "", &fraContainer)),
      lblPinBypass(AddLabel("lblPinBypass", {240, 960, kInner, 600},
                            "CUSTOMER WANTS TO BYPASS PIN ENTRY", &fraPinByPass)),
      cmdAllowPinBypass(
          AddButton("cmdAllowPinBypass", {960, 2160, 2520, 1200}, "Allowed", &fraPinByPass)),
      cmdDisallowPinBypass(AddButton("cmdDisallowPinBypass", {3975, 2160, 2520, 1200},
                                     "Not Allowed", &fraPinByPass)),
      // ---- void ----
      fraVoidTransaction(AddFrame("fraVoidTransaction", kFrame, "", &fraContainer)),
      lblVoid(
          AddLabel("lblVoid", {240, 120, kInner, 420}, "VOID TRANSACTION", &fraVoidTransaction)),
      lblVoidSeqNo(AddLabel("lblVoidSeqNo", {240, 960, kInner, 420},
                            "Void transaction with sequence number", &fraVoidTransaction)),
      txtVoidSeqNo(AddTextBox("txtVoidSeqNo", {240, 1560, 2400, 480}, "Sequence number",
                              &fraVoidTransaction)),
      cmdVoidSeqNo(AddButton("cmdVoidSeqNo", {4815, 1440, 2400, 840}, "Void Transaction",
                             &fraVoidTransaction)),
      // ---- below the frames ----
      txtStatus(AddTextBox("txtStatus", kStatus, "Status", &fraContainer)),
      cmdKeyPad(AddButton("cmdKeyPad", {120, kRowTop, 1680, kRowHeight}, "KeyPad", &fraContainer)),
      cmdReprint(AddButton("cmdReprint", {1920, kRowTop, 2400, kRowHeight}, "Re-Print Receipt",
                           &fraContainer)),
      picLogo(AddPicture("picLogo", {4440, kRowTop, 1335, kRowHeight}, &fraContainer)),
      cmdCancel(
          AddButton("cmdCancel", {5895, kRowTop, 1680, kRowHeight}, "&Cancel", &fraContainer)),
      tmrStart(AddTimer("tmrStart", 0, false)),
      tmrStatus(AddTimer("tmrStatus", 0, true)),
      tmrInsertSwipe(AddTimer("tmrInsertSwipe", 0, false)) {
  for (const Control& c : Controls()) {
    Control& control = const_cast<Control&>(c);
    switch (c.Kind()) {
      case ControlKind::Button:
        control.SetFont(kButton);
        break;
      case ControlKind::Label:
      case ControlKind::TextBox:
        control.SetFont(kText);
        break;
      default:
        break;
    }
  }
  for (Control* title : {&capGenMessage, &capInsertSwipeMsg, &capErrorMsg, &lblCustomerPresent,
                         &lblPinBypass, &capReportType, &capConfirmState})
    title->SetFont(kTitle);
  for (Control* heading : {&lblReferred, &lblCallVoiceAuth, &lblConfirm, &lblDuplicate, &lblVoid,
                           &lblCashbackOffer, &capCheckSignature})
    heading->SetFont(kMessage);
  txtKeySwipe.SetFont({14, true, Alignment::Left});
  txtCashAmount.SetFont({14, true, Alignment::Right});
  picLogo.SetCaption("Tamberin");
  // The status line shows what the terminal says; the operator cannot type in it.
  txtStatus.SetTabStop(false);
  for (Control* frame :
       {&fraInsertSwipe, &fraError, &fraTransInfo, &fraReferral, &fraConfirm, &fraDuplicate,
        &fraReport, &fraCustomerPresent, &fraCashback, &fraPinByPass, &fraVoidTransaction})
    frame->SetVisible(false);

  // Escape is Cancel; where Cancel is disabled the state table makes the refusing button
  // the Escape key instead. A scripted operator who runs out takes the first of these
  // that can be used: never one that accepts a payment.
  SetCancelButton(cmdCancel);
  DeclareSafeWayOut(
      {&cmdCancel, &cmdConfirmCancel, &cmdDecline, &cmdDisallowPinBypass, &cmdComplete});

  BindSessionSteps();
  BindCardCapture();
  BindDetailsChecks();
  BindSettlement();
  BindOutcomes();
  BindAuxiliaryFrames();
}

frmTransaction::~frmTransaction() = default;

int32_t frmTransaction::Scaled(int32_t twips) const {
  return static_cast<int32_t>(static_cast<int64_t>(twips) * scale_permille_ / 1000);
}

// Sizes and places the window and its container by lDisplayMode and lStartupPosition.
void frmTransaction::Layout() {
  const CreditCardCommon& shared = Shared();
  const ScreenTwips screen = Screen();
  fraContainer.Move({fraContainer.Geometry().left, fraContainer.Geometry().top, kContainerWidth,
                     kContainerHeight});

  Twips window = Geometry();
  switch (shared.lDisplayMode) {
    case 0:
      window.width = kWindowWidth;
      window.height = kWindowHeight;
      break;
    case 1: {
      // The whole screen, every control scaled by the largest factor that keeps the
      // container on it with a margin.
      window.width = screen.width;
      window.height = screen.height;
      const int64_t across = (int64_t{screen.width} - 480) * 1000 / kContainerWidth;
      const int64_t down = (int64_t{screen.height} - 480) * 1000 / kContainerHeight;
      scale_permille_ = static_cast<int32_t>(std::max<int64_t>(1000, std::min(across, down)));
      break;
    }
    case 2:
      window.width = shared.lAddinWidth != 0 ? shared.lAddinWidth : screen.width;
      window.height = shared.lAddinHeight != 0 ? shared.lAddinHeight : screen.height;
      break;
    default:
      break;
  }
  switch (shared.lStartupPosition) {
    case 0:
      window.left = (screen.width - window.width) / 2;
      window.top = (screen.height - window.height) / 2;
      break;
    case 1:
      window.left = window.top = 0;
      break;
    case 2:
      window.left = screen.width - window.width;
      window.top = 0;
      break;
    case 3:
      window.left = 0;
      window.top = screen.height - window.height;
      break;
    case 4:
      window.left = screen.width - window.width;
      window.top = screen.height - window.height;
      break;
    case 5:
      window.left = shared.lLeftTwips;
      window.top = shared.lTopTwips;
      break;
    default:
      break;
  }
  Move(window);

  if (scale_permille_ != 1000) {
    for (const Control& c : Controls()) {
      if (c.Kind() == ControlKind::Timer) continue;
      Control& control = const_cast<Control&>(c);
      const Twips& at = c.Geometry();
      control.Move({Scaled(at.left), Scaled(at.top), Scaled(at.width), Scaled(at.height)});
      Font font = c.TextFont();
      font.points = Scaled(font.points);
      control.SetFont(font);
    }
  }
  // The container centred in the window (the offsets allow for the window's frame on
  // the till's desktop).
  const Twips& box = fraContainer.Geometry();
  fraContainer.Move({(ScaleWidth() - box.width) / 2 - 40, (ScaleHeight() - box.height) / 2 - 190,
                     box.width, box.height});
}

}  // namespace ccaddin

// The card frame: waiting for the card on the terminal (polling its reader when the
// settings allow), the card buttons for terminals that cannot report their reader, a card
// number keyed at the till, a track swiped through a keyboard-wedge reader, and the
// question whether the customer is present.
#include "payment/credit_card_common.h"
#include "platform/text_box_format.h"
#include "qlclient/ql_codes.h"
#include "qlclient/ql_factory.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

namespace {

constexpr int32_t kReaderPollMs = 200;     // the terminal's reader
constexpr int32_t kTillSwipePollMs = 300;  // a swipe read by the till
constexpr int32_t kStatusPollMs = 350;
constexpr int32_t kShortestCardNumber = 7;  // "Process" needs at least this many digits
constexpr const char* kReaderNotAvailable = "CARD READER IS NOT AVAILABLE";
constexpr const char* kCardMustBeSwiped = "CARD MUST BE SWIPED";

}  // namespace

void frmTransaction::BindCardCapture() {
  OnTimer(tmrInsertSwipe, &frmTransaction::tmrInsertSwipe_Timer);
  OnClick(cmdInsertSwipe, &frmTransaction::cmdInsertSwipe_Click);
  OnClick(cmdChip, &frmTransaction::cmdChip_Click);
  OnClick(cmdSwipe, &frmTransaction::cmdSwipe_Click);
  OnClick(cmdTap, &frmTransaction::cmdTap_Click);
  OnClick(cmdCPYes, &frmTransaction::cmdCPYes_Click);
  OnClick(cmdCPNo, &frmTransaction::cmdCPNo_Click);
  OnChange(txtKeySwipe, &frmTransaction::txtKeySwipe_Change);
  OnKeyPress(txtKeySwipe, &frmTransaction::txtKeySwipe_KeyPress);
}

void frmTransaction::ShowCardFrame() {
  const CreditCardCommon& shared = Shared();
  ShowFrame(kCardWait);
  txtKeySwipe.SetText("");
  cmdKeyPad.SetEnabled(lState == kKeyedNumber);
  if (lState != kCardWait) cmdCancel.SetEnabled(true);
  cmdInsertSwipe.SetCaption(lState == kKeyedNumber ? "Process" : "Key Enter Card");
  cmdInsertSwipe.SetEnabled(lState != kKeyedNumber);
  txtKeySwipe.SetPasswordChar(lState == kKeyedNumber ? 0 : '*');

  // The card buttons stand in for a reader that cannot say what it read.
  const bool card_buttons =
      (lState == kCardWait || lState == kExternalSwipe) && !shared.bCardReaderStatus;
  cmdChip.SetVisible(card_buttons);
  cmdTap.SetVisible(card_buttons);
  if (card_buttons) {
    cmdChip.SetLeft(Scaled(240));
    cmdChip.SetTop(Scaled(1680));
  }
  cmdSwipe.SetVisible(shared.bExternalSwipe &&
                      (lState == kExternalSwipe || lState == kSwipeOnTill));
  if (lState == kSwipeOnTill || (lState == kExternalSwipe && shared.bCardReaderStatus)) {
    cmdSwipe.SetLeft(Scaled(240));
  } else if (lState == kExternalSwipe) {
    cmdSwipe.SetLeft(Scaled(shared.lDisplayMode == 1 ? 3600 : 3960));
  }

  switch (lState) {
    case kCardWait:
    case kExternalSwipe:
      capInsertSwipeMsg.SetCaption(strInsertSwipePrompt);
      txtKeySwipe.SetEnabled(lState == kCardWait);
      tmrInsertSwipe.SetInterval(lState == kCardWait ? kReaderPollMs : kTillSwipePollMs);
      tmrInsertSwipe.SetEnabled(true);
      if (lState == kCardWait) (void)SetFocus(txtKeySwipe);
      break;
    case kSwipeOnTill:
      capInsertSwipeMsg.SetCaption("PLEASE SWIPE CARD");
      txtKeySwipe.SetEnabled(!shared.bExternalSwipe);
      tmrInsertSwipe.SetInterval(kTillSwipePollMs);
      tmrInsertSwipe.SetEnabled(true);
      txtStatus.SetText(strStatusText);
      if (!shared.bExternalSwipe) (void)SetFocus(txtKeySwipe);
      break;
    default:  // kKeyedNumber
      capInsertSwipeMsg.SetCaption("PLEASE KEY CARD NUMBER");
      txtKeySwipe.SetEnabled(true);
      (void)SetFocus(txtKeySwipe);
      break;
  }
}

std::string frmTransaction::ReaderStateText(int32_t lReaderState) {
  switch (lReaderState) {
    case QL_READER_UNAVAILABLE:
      return "CARD READER IS UNAVAILABLE";
    case QL_READER_WAITING:
      return strInsertSwipePrompt;
    case QL_READER_INSERTED:
      return "CARD HAS BEEN INSERTED";
    case QL_READER_OPENED:
      return "CARD HAS BEEN SUCCESSFULLY OPENED";
    case QL_READER_PROCESSING:
      return "PROCESSING...";
    case QL_READER_REMOVE_CARD:
      return "PLEASE REMOVE CARD";
    case QL_READER_SWIPED:
    case QL_READER_SWIPED_ON_DEVICE:
      return "CARD HAS BEEN SWIPED ON DEVICE";
    case QL_READER_SWIPE_ON_TILL:
      return "CARD MUST BE SWIPED ON TILL";
    case QL_READER_NOT_ACCEPTED:
      return "CARD IS NOT ACCEPTED";
    case QL_READER_TAPPED:
      return "CARD HAS BEEN TAPPED";
    case QL_READER_INSERT_ONLY:
    case QL_READER_INSERT_OR_SWIPE:
      // The terminal tells which cards it takes now.
      strInsertSwipePrompt =
          lReaderState == QL_READER_INSERT_ONLY ? "PLEASE INSERT CARD" : "INSERT OR SWIPE CARD";
      capInsertSwipeMsg.SetCaption(strInsertSwipePrompt);
      return strInsertSwipePrompt;
    default:
      return txtStatus.Text();
  }
}

void frmTransaction::ReaderUnavailable() {
  const CreditCardCommon& shared = Shared();
  strStatusText = kReaderNotAvailable;
  if (shared.bE2EEEnabled) {
    // Keyed entry would put the card number on the till, which end-to-end encryption
    // exists to prevent.
    bServerError = true;
    SetState(kError);
  } else if (shared.bExternalSwipe) {
    SetState(shared.bCustomerNotPresent ? kCustomerPresent : kKeyedNumber);
  } else {
    SetState(kSwipeOnTill);
  }
  ShowState();
}

void frmTransaction::tmrInsertSwipe_Timer() {
  CreditCardCommon& shared = Shared();
  tmrInsertSwipe.SetEnabled(false);

  if (bKeyEntryPressed) {
    tmrStatus.SetInterval(kStatusPollMs);
    tmrStatus.SetEnabled(true);
    (void)CurrentQlFactory().CreateCardReader()->Reset();
    tmrStatus.SetEnabled(false);
    if (shared.bCustomerNotPresent) {
      SetState(kCustomerPresent);
      ShowState();
    } else if (shared.bE2EEEnabled) {
      SetState(kProcessingCard);
      lEntryMethod = kEntryKeyed;
    } else {
      SetState(kKeyedNumber);
      ShowState();
    }
  } else if (bSwipePressed) {
    lEntryMethod = kEntrySwiped;
    SetState(kProcessingCard);
  } else if (bChipPressed) {
    lEntryMethod = kEntryChip;
    SetState(kProcessingCard);
  } else if (bTapPressed) {
    lEntryMethod = kEntryTapped;
    SetState(kProcessingCard);
  } else if (!bSplitTenderRequested && (lState == kCardWait || lState == kExternalSwipe) &&
             shared.bCardReaderStatus) {
    auto status = CurrentQlFactory().CreateCardReaderStatus();
    if (status->Poll() != 0) {
      txtStatus.SetText(kReaderNotAvailable);
      ReaderUnavailable();
    } else {
      txtStatus.SetText(ReaderStateText(status->lReaderState));
      switch (status->lReaderState) {
        case QL_READER_NOT_ACCEPTED:
          // Kept for the error frame that the enquiry of this card will end in.
          strStatusText = "CARD NOT ACCPETED - PLEASE USE ANOTHER TENDER";
          break;
        case QL_READER_INSERTED:
        case QL_READER_OPENED:
          lEntryMethod = kEntryChip;
          SetState(kProcessingCard);
          break;
        case QL_READER_TAPPED:
          lEntryMethod = kEntryTapped;
          SetState(kProcessingCard);
          break;
        case QL_READER_SWIPED_ON_DEVICE:
          lEntryMethod = kEntrySwiped;
          SetState(kProcessingCard);
          break;
        case QL_READER_UNAVAILABLE:
          ReaderUnavailable();
          break;
        case QL_READER_SWIPE_ON_TILL:
          strStatusText = kCardMustBeSwiped;
          if (shared.bExternalSwipe) {
            lEntryMethod = kEntrySwiped;
            bSwipePressed = true;
            SetState(kProcessingCard);
          } else {
            SetState(kSwipeOnTill);
            ShowState();
          }
          break;
        default:
          break;
      }
    }
  }

  if (lState == kCardWait || lState == kSwipeOnTill) {
    const std::string track = shared.ExtractTrack2(strSwipeBuffer);
    if (!track.empty()) {
      strSwipeBuffer = track;
      lEntryMethod = kEntryTillTrack;
      SetState(kProcessingCard);
    }
  }
  if (bSplitTenderRequested) shared.bSplitTenderActive = true;

  if (!bCancelPending && !bSplitTenderRequested) {
    if (lState == kProcessingCard) {
      ShowState();
      int32_t next = kError;
      RunCardEnquiry(next);
      FinishAuthorisation(next);
    } else if (lState == kCardWait || lState == kSwipeOnTill || lState == kExternalSwipe) {
      tmrInsertSwipe.SetEnabled(true);
    }
  }
  bKeyEntryPressed = bChipPressed = bSwipePressed = bTapPressed = false;

  if (bCancelPending || bSplitTenderRequested) (void)Unload();
}

void frmTransaction::cmdInsertSwipe_Click() {
  if (bKeyEntering) return;
  bKeyEntering = true;
  bKeyEntryPressed = true;
  if (lState == kKeyedNumber) {
    bKeyEntryPressed = false;
    lEntryMethod = kEntryKeyed;
    SetState(kProcessingCard);
    ShowState();
    int32_t next = kError;
    RunCardEnquiry(next);
    FinishAuthorisation(next);
  } else {
    ShowState();
  }
  bKeyEntering = false;
}

void frmTransaction::cmdChip_Click() {
  bChipPressed = true;
}

void frmTransaction::cmdSwipe_Click() {
  bSwipePressed = true;
}

void frmTransaction::cmdTap_Click() {
  bTapPressed = true;
}

void frmTransaction::txtKeySwipe_Change() {
  if (lState == kKeyedNumber) {
    cmdInsertSwipe.SetEnabled(static_cast<int32_t>(txtKeySwipe.Text().size()) >=
                              kShortestCardNumber);
  }
}

void frmTransaction::txtKeySwipe_KeyPress(int16_t& KeyAscii) {
  if (lState != kKeyedNumber) {
    // A keyboard-wedge reader types the track as keys; the card-wait step looks for it.
    strSwipeBuffer += static_cast<char>(KeyAscii);
    return;
  }
  if (KeyAscii == kKeyEnter) {
    KeyAscii = 0;
    FocusNext();
    return;
  }
  KeyAscii = TextBoxFormat::NumericBox(KeyAscii, static_cast<int16_t>(txtKeySwipe.SelLength()),
                                       static_cast<int16_t>(txtKeySwipe.Text().size()), 0);
}

void frmTransaction::cmdCPYes_Click() {
  AnswerCustomerPresent(true);
}

void frmTransaction::cmdCPNo_Click() {
  AnswerCustomerPresent(false);
}

void frmTransaction::AnswerCustomerPresent(bool bPresent) {
  const CreditCardCommon& shared = Shared();
  bCustomerPresent = bPresent;
  int32_t next = kKeyedNumber;
  if (shared.lOperatingMode != 0) {
    RunDirectAuthorisation(next);
  } else if (shared.bE2EEEnabled) {
    SetState(kProcessingCard);
    lEntryMethod = kEntryKeyed;
    ShowState();
    RunCardEnquiry(next);
  }
  FinishAuthorisation(next);
}

}  // namespace ccaddin

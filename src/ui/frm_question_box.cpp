#include "ui/frm_question_box.h"

#include <algorithm>

#include "payment/credit_card_common.h"
#include "ui/t_windws_form.h"

namespace ccaddin {

namespace {

constexpr int32_t kWidth = 6000;
constexpr int32_t kHeight = 3180;

}  // namespace

frmQuestionBox::frmQuestionBox()
    : Form("frmQuestionBox", "Question", {0, 0, kWidth, kHeight}),
      capTransactionState(AddLabel("capTransactionState", {240, 240, kWidth - 480, 480}, "")),
      capQuestion(AddLabel("capQuestion", {240, 840, kWidth - 480, 1020}, "")),
      cmdYes(AddButton("cmdYes", {840, 2100, 1920, 840}, "Yes")),
      cmdNo(AddButton("cmdNo", {kWidth - 840 - 1920, 2100, 1920, 840}, "No")) {
  capTransactionState.SetFont({12, true, Alignment::Centre});
  capQuestion.SetFont({11, false, Alignment::Centre});
  cmdYes.SetFont({12, true, Alignment::Centre});
  cmdNo.SetFont({12, true, Alignment::Centre});
  // Escape, like closing the window, answers No.
  SetCancelButton(cmdNo);
  DeclareSafeWayOut({&cmdNo});
  OnClick(cmdYes, &frmQuestionBox::cmdYes_Click);
  OnClick(cmdNo, &frmQuestionBox::cmdNo_Click);
}

void frmQuestionBox::Form_Load() {
  CreditCardCommon& shared = Shared();
  capTransactionState.SetCaption(shared.strQuestionTitle);
  capQuestion.SetCaption(shared.strQuestion);
  cmdYes.SetCaption(shared.strQuestionYesCaption);
  cmdNo.SetCaption(shared.strQuestionNoCaption);
  shared.bQuestionAnswer = false;
  if (shared.bAlwaysOnTop) (void)TWindwsForm::SetTopMostWindow(*this, true);
  const ScreenTwips screen = Screen();
  Move({std::max(0, (screen.width - kWidth) / 2), std::max(0, (screen.height - kHeight) / 2),
        kWidth, kHeight});
}

void frmQuestionBox::cmdYes_Click() {
  Shared().bQuestionAnswer = true;
  Unload();
}

void frmQuestionBox::cmdNo_Click() {
  Shared().bQuestionAnswer = false;
  Unload();
}

}  // namespace ccaddin

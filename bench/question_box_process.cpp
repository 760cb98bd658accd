// One process from start to exit: the add-in starts Qt (offscreen), shows frmQuestionBox
// modally through the Qt view, a scripted operator clicks "Yes" through the widgets, and
// the process ends. Measured against bare_qt_dialog by forms_start.py.
#include <string>

#include "payment/credit_card_common.h"
#include "ui/form_catalogue.h"
#include "ui/frm_question_box.h"
#include "ui/qt/qt_form_loop.h"

int main() {
  using namespace ccaddin;
  CreditCardCommon& shared = Shared();
  shared.strQuestionTitle = "TRANSACTION AUTHORISED";
  shared.strQuestion = "Does customer require a receipt?";
  shared.strQuestionYesCaption = "Yes";
  shared.strQuestionNoCaption = "No";
  std::string error;
  QtLoopOptions options;
  options.script = OperatorScript::Parse("click cmdYes\n", "bench", FormCatalogue().Forms(), error);
  QtFormLoop loop(std::move(options));
  frmQuestionBox box;
  if (!loop.ShowModal(box, error)) return 2;
  return shared.bQuestionAnswer ? 0 : 1;
}

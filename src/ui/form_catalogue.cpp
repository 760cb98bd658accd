#include "ui/form_catalogue.h"

#include "ui/frm_dcc.h"
#include "ui/frm_keypad.h"
#include "ui/frm_question_box.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

FormCatalogue::FormCatalogue() {
  Add(std::make_unique<frmKeypad>());
  Add(std::make_unique<frmQuestionBox>());
  Add(std::make_unique<frmDcc>());
  Add(std::make_unique<frmTransaction>());
}

void FormCatalogue::Add(std::unique_ptr<Form> design) {
  views_.push_back(design.get());
  designs_.push_back(std::move(design));
}

}  // namespace ccaddin

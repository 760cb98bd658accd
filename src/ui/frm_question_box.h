// frmQuestionBox: asks the operator a yes/no question with captions the caller chooses.
// The caller sets strQuestionTitle (shown as the state text), strQuestion and the two
// button captions in the shared session state, shows it modally and reads
// bQuestionAnswer after it closed; closing it any other way than by a button is a No.
#pragma once

#include "ui/form.h"

namespace ccaddin {

class frmQuestionBox final : public Form {
 public:
  frmQuestionBox();

 private:
  void Form_Load() override;
  void cmdYes_Click();
  void cmdNo_Click();

  Control& capTransactionState;
  Control& capQuestion;
  Control& cmdYes;
  Control& cmdNo;
};

}  // namespace ccaddin

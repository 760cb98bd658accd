// FormCallScope: what every hook call that may show a window sets up, right after its
// journal opens, for the length of the call: the print decision's questions are asked
// with frmQuestionBox, and an operator script's driver journals what it did in place of
// the operator to this call's journal. While CCADDIN_OPERATOR_SCRIPT is set, the scope
// journals one line saying so, so that a variable left behind on a till is noticed.
// Scopes nest; the innermost one's journal is used. Owns nothing it is given.
#pragma once

#include <memory>

#include "payment/question_service.h"
#include "platform/addin_log.h"

namespace ccaddin {

class FormCallScope {
 public:
  explicit FormCallScope(TAddinLog* journal);
  ~FormCallScope();
  FormCallScope(const FormCallScope&) = delete;
  FormCallScope& operator=(const FormCallScope&) = delete;

 private:
  TAddinLog* previous_journal_;
  std::unique_ptr<QuestionService> question_box_;
  ScopedQuestionService question_scope_;
};

// The journal of the innermost FormCallScope of this thread; nullptr outside one.
[[nodiscard]] TAddinLog* CurrentFormJournal();

// For hooks that show no window: the one journal line while an operator script is set.
void JournalOperatorScript(TAddinLog& journal);

}  // namespace ccaddin

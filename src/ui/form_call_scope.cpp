#include "ui/form_call_scope.h"

#include "payment/credit_card_common.h"
#include "ui/frm_question_box.h"
#include "ui/headless/script_in_force.h"

namespace ccaddin {

namespace {

thread_local TAddinLog* current_journal = nullptr;

// The print decision's question, asked with the question box on the calling thread's
// loop; a box that cannot be shown is a No.
class QuestionBoxService final : public QuestionService {
 public:
  bool Ask(const std::string& strTitle, const std::string& strQuestion,
           const std::string& strYesCaption, const std::string& strNoCaption) override {
    CreditCardCommon& shared = Shared();
    shared.strQuestionTitle = strTitle;
    shared.strQuestion = strQuestion;
    shared.strQuestionYesCaption = strYesCaption;
    shared.strQuestionNoCaption = strNoCaption;
    shared.bQuestionAnswer = false;
    frmQuestionBox box;
    std::string error;
    if (!CurrentFormLoop().ShowModal(box, error)) {
      if (current_journal != nullptr) current_journal->LogError(error);
      return false;
    }
    return shared.bQuestionAnswer;
  }
};

}  // namespace

FormCallScope::FormCallScope(TAddinLog* journal)
    : previous_journal_(current_journal),
      question_box_(std::make_unique<QuestionBoxService>()),
      question_scope_(question_box_.get()) {
  current_journal = journal;
  if (journal != nullptr) JournalOperatorScript(*journal);
}

FormCallScope::~FormCallScope() {
  current_journal = previous_journal_;
}

TAddinLog* CurrentFormJournal() {
  return current_journal;
}

void JournalOperatorScript(TAddinLog& journal) {
  const std::string notice = ScriptInForceNotice();
  if (!notice.empty()) journal.LogOperatorScript(notice);
}

}  // namespace ccaddin

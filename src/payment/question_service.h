// The yes/no question box as a service: shared procedures that must ask the operator
// something (is a receipt wanted for a tapped card?) ask through the service installed on
// the calling thread. The forms install the real box; tests install a stub with a preset
// answer. The installer owns the service; Ask blocks until the operator answers.
#pragma once

#include <string>

namespace ccaddin {

class QuestionService {
 public:
  virtual ~QuestionService() = default;
  // Shows strQuestion under the title strTitle with two buttons; true when the operator
  // chose the first (strYesCaption). Closing the box any other way is a No.
  [[nodiscard]] virtual bool Ask(const std::string& strTitle, const std::string& strQuestion,
                                 const std::string& strYesCaption,
                                 const std::string& strNoCaption) = 0;
};

// The service of the calling thread, or nullptr when none is installed (then nobody can
// answer, and every question counts as answered No).
[[nodiscard]] QuestionService* CurrentQuestionService();

// Installs `service` on the calling thread for its lifetime and restores the previous one.
class ScopedQuestionService {
 public:
  explicit ScopedQuestionService(QuestionService* service);
  ~ScopedQuestionService();
  ScopedQuestionService(const ScopedQuestionService&) = delete;
  ScopedQuestionService& operator=(const ScopedQuestionService&) = delete;

 private:
  QuestionService* previous_;
};

}  // namespace ccaddin

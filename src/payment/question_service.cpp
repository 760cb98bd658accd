#include "payment/question_service.h"

namespace ccaddin {
namespace {

thread_local QuestionService* current_service = nullptr;

}  // namespace

QuestionService* CurrentQuestionService() {
  return current_service;
}

ScopedQuestionService::ScopedQuestionService(QuestionService* service)
    : previous_(current_service) {
  current_service = service;
}

ScopedQuestionService::~ScopedQuestionService() {
  current_service = previous_;
}

}  // namespace ccaddin

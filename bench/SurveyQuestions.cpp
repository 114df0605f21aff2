#include "SurveyQuestions.h"

namespace vlq::bench {

const Json& oneQuestionOfEachKind() {
  static const Json questions = Json::parse(R"({"questions": [
    {"id": "1", "title": "How easy was checkout today?", "answer_mode": "single_choice",
     "choices": [{"id": "a", "value": "Very easy"}, {"id": "b", "value": "Easy enough"},
                 {"id": "c", "value": "A bit confusing"}, {"id": "d", "value": "Hard"}]},
    {"id": "2", "title": "Which features did you use?", "answer_mode": "multi_choice",
     "choices": [{"id": "e", "value": "Saved cards"}, {"id": "f", "value": "Order tracking"},
                 {"id": "g", "value": "Other", "is_other": true}]},
    {"id": "3", "title": "How would you rate the app?", "answer_mode": "rating"}]})");
  return questions;
}

}  // namespace vlq::bench

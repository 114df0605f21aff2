#pragma once

// The surveys of the configuration document that the collector serves, as the plug-in reads them:
// for each survey id the questions that the plug-in shows (the dropped ones left out, by the
// plug-in's own rules), with their titles, modes and choices. Results name questions and choices
// with these texts.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <vlq/host/JsonValue.h>

namespace vlq::collector {

struct ChoiceDefinition {
  Json id;                          // as the document gives it
  std::string answer;               // the id as a response's "answers" carries it: compact JSON
  std::optional<std::string> text;  // "value" when it is a string
  bool isOther = false;
};

struct QuestionDefinition {
  Json id;                           // as the document gives it; null when it has none
  std::int64_t number = 0;           // the integer value a response's "question_id" carries
  std::optional<std::string> title;  // "title" when it is a string
  Json mode;                         // "answer_mode" as given; null when it has none
  bool isRating = false;
  std::vector<ChoiceDefinition> choices;

  bool hasOtherChoice() const;
};

struct SurveyDefinition {
  std::string id;
  // The invitation card's title, when the survey has one: the nearest thing to a survey's name.
  std::optional<std::string> invitationTitle;
  std::vector<QuestionDefinition> questions;
};

class SurveyCatalog {
 public:
  // The surveys of the document `text`; none when there is no document. A document that is not
  // JSON gives no surveys, and readable() then says so.
  static SurveyCatalog fromDocument(const std::optional<std::string>& text);

  bool hasDocument() const { return hasDocument_; }
  bool readable() const { return readable_; }
  // One per survey id that has an entry with a "ui", in the order such entries first appear.
  // Where several entries share an id, the last one with a "ui" is the one a trigger shows, and
  // so the one described.
  const std::vector<SurveyDefinition>& surveys() const { return surveys_; }
  const SurveyDefinition* find(const std::string& surveyId) const;

 private:
  bool hasDocument_ = false;
  bool readable_ = false;
  std::vector<SurveyDefinition> surveys_;
};

// The question of `survey` that an answered element of a response is about, by its index in
// survey.questions: the question whose id has the element's "question_id" as its integer value.
// When several do (ids that are not whole numbers all read 0), the one at the element's place is
// taken if it is among them, else the first. An element without "question_id" is taken to be
// about the question at its place. None when no question matches: the question was removed from
// the document since.
std::optional<std::size_t> questionAnsweredAt(const SurveyDefinition& survey, int position,
                                              std::optional<std::int64_t> questionId);

// The rating level, 1 to 5, that an answer (compact JSON text) holds; none for anything else.
std::optional<int> ratingLevelOf(const std::string& answer);

}  // namespace vlq::collector

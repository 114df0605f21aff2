#pragma once

// The plain records that survey results are computed from, as a results store keeps them: what
// each stored response says, reduced to what the figures need, and each analytics event a host
// uploaded. Neither depends on the configuration document: bodies are matched to its questions
// and choices only when results are asked for, so a document changed later still reads the
// answers given before.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vlq::collector {

// One answered question of a response: an element of the body's "responses" list that holds at
// least one answer.
struct AnsweredQuestion {
  // The element's place in "responses": the plug-in lists the survey's questions in order.
  int position = 0;
  // The element's "question_id" (the question id's integer value); none when it has none.
  std::optional<std::int64_t> questionId;
  // The distinct elements of "answers", in the order given, each as compact JSON text: a choice
  // id "\"c1\"", a rating 4.
  std::vector<std::string> answers;
  // The text typed into the Other field; none when no Other answer came with it.
  std::optional<std::string> otherText;
};

// What the figures need of one stored response.
struct ResponseFacts {
  std::int64_t responseId = 0;  // the store's id: the order in which responses arrived
  std::string appId;
  // The body's "survey_id" when it is a string; none otherwise (such a body counts for no survey).
  std::optional<std::string> surveyId;
  std::string receivedAt;           // ISO 8601 UTC, as stored
  std::string receivedDay;          // its UTC day, "YYYY-MM-DD"
  std::optional<double> timeTaken;  // seconds, when the body holds a finite number
  std::optional<std::string> sessionId;
  std::optional<std::string> deviceUuid;
  std::vector<AnsweredQuestion> answered;
};

// One analytics event as a host uploaded it.
struct SurveyEventRecord {
  std::string appId;
  // The info's "survey_id" when it is a string.
  std::optional<std::string> surveyId;
  std::string name;
  std::int64_t timeMilliseconds = 0;  // when it happened, since 1970
  std::string day;                    // the UTC day of that time
  std::optional<std::string> deviceId;
  std::optional<std::string> sessionId;
  std::string infoJson;  // the info as compact JSON
};

// Inclusive UTC days; an empty bound is open.
struct DayRange {
  std::string from;
  std::string to;
};

}  // namespace vlq::collector

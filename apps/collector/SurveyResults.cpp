#include "collector/SurveyResults.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>

#include <vlq/host/JsonDocument.h>

#include "collector/CalendarDay.h"

namespace vlq::collector {
namespace {

// Days between the first and the last day with responses are listed even when empty, unless the
// span is longer than this (a clock far off), when only the days with responses are.
constexpr std::int64_t kMaxDaysFilled = 3660;

double rounded(double value, int decimals) {
  const double scale = std::pow(10.0, decimals);
  return std::round(value * scale) / scale;
}

Json ratio(std::int64_t part, std::int64_t whole, double scale, int decimals) {
  if (whole <= 0) return nullptr;
  return rounded(scale * static_cast<double>(part) / static_cast<double>(whole), decimals);
}

Json optionalText(const std::optional<std::string>& text) {
  return text ? Json(*text) : Json(nullptr);
}

Json funnelOf(const SurveyTallies& tallies) {
  Json funnel = Json::object();
  for (const FunnelStep& step : kFunnelSteps) {
    std::int64_t count = 0;
    for (const auto& [name, events] : tallies.eventsByName) {
      if (name == step.eventName) count += events;
    }
    funnel[step.key] = count;
  }
  return funnel;
}

Json perDayOf(const SurveyTallies& tallies) {
  Json days = Json::array();
  const auto& perDay = tallies.responsesPerDay;
  if (perDay.empty()) return days;
  const auto first = daysSinceEpoch(perDay.front().first);
  const auto last = daysSinceEpoch(perDay.back().first);
  if (!first || !last || *last - *first > kMaxDaysFilled) {
    for (const auto& [day, count] : perDay)
      days.push_back({{"date", day}, {"responses", count}});
    return days;
  }
  auto next = perDay.begin();
  for (std::int64_t day = *first; day <= *last; ++day) {
    const std::string date = dayAfterEpoch(day);
    std::int64_t count = 0;
    if (next != perDay.end() && next->first == date) count = (next++)->second;
    days.push_back({{"date", date}, {"responses", count}});
  }
  return days;
}

// The answers given to one question of the document, gathered from every place that matched it.
struct QuestionTally {
  std::int64_t answered = 0;
  std::map<std::string, std::int64_t> answers;  // by compact JSON text
  Json others = Json::array();
};

std::vector<QuestionTally> talliesByQuestion(const SurveyDefinition& survey,
                                             const SurveyTallies& tallies) {
  std::vector<QuestionTally> byQuestion(survey.questions.size());
  for (const AnsweredCount& count : tallies.answered) {
    if (auto index = questionAnsweredAt(survey, count.position, count.questionId)) {
      byQuestion[*index].answered += count.responses;
    }
  }
  for (const AnswerCount& count : tallies.answers) {
    if (auto index = questionAnsweredAt(survey, count.position, count.questionId)) {
      byQuestion[*index].answers[count.answer] += count.responses;
    }
  }
  for (const OtherText& other : tallies.otherTexts) {
    if (auto index = questionAnsweredAt(survey, other.position, other.questionId)) {
      byQuestion[*index].others.push_back(other.text);
    }
  }
  return byQuestion;
}

Json ratingOf(const QuestionTally& tally) {
  std::array<std::int64_t, 5> counts{};
  for (const auto& [answer, count] : tally.answers) {
    if (auto level = ratingLevelOf(answer)) counts[static_cast<std::size_t>(*level - 1)] += count;
  }
  std::int64_t total = 0;
  std::int64_t sum = 0;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    total += counts[i];
    sum += counts[i] * static_cast<std::int64_t>(i + 1);
  }
  return {{"counts", counts},
          {"average", ratio(sum, total, 1, 2)},
          {"satisfied_percent", ratio(counts[3] + counts[4], total, 100, 1)}};
}

Json choiceEntry(Json id, const std::optional<std::string>& text, std::int64_t count,
                 std::int64_t answered) {
  const Json percent = ratio(count, answered, 100, 1);
  return {{"id", std::move(id)},
          {"text", optionalText(text)},
          {"count", count},
          {"percent", percent.is_null() ? Json(0) : percent}};
}

Json choicesOf(const QuestionDefinition& question, const QuestionTally& tally) {
  Json choices = Json::array();
  std::set<std::string> listed;
  for (const ChoiceDefinition& choice : question.choices) {
    // A document listing one id twice shows it once.
    if (!listed.insert(choice.answer).second) continue;
    const auto found = tally.answers.find(choice.answer);
    const std::int64_t count = found == tally.answers.end() ? 0 : found->second;
    choices.push_back(choiceEntry(choice.id, choice.text, count, tally.answered));
  }
  std::vector<std::pair<std::string, std::int64_t>> unknown;
  for (const auto& [answer, count] : tally.answers) {
    if (!listed.count(answer)) unknown.emplace_back(answer, count);
  }
  std::stable_sort(unknown.begin(), unknown.end(),
                   [](const auto& a, const auto& b) { return a.second > b.second; });
  for (const auto& [answer, count] : unknown) {
    choices.push_back(choiceEntry(parseJsonDocument(answer).value_or(answer), std::nullopt, count,
                                  tally.answered));
  }
  return choices;
}

Json questionsOf(const SurveyDefinition* survey, const SurveyTallies& tallies) {
  Json questions = Json::array();
  if (!survey) return questions;
  const auto byQuestion = talliesByQuestion(*survey, tallies);
  for (std::size_t i = 0; i < survey->questions.size(); ++i) {
    const QuestionDefinition& question = survey->questions[i];
    const QuestionTally& tally = byQuestion[i];
    Json entry = {{"question_id", question.id},
                  {"title", optionalText(question.title)},
                  {"mode", question.mode},
                  {"answered", tally.answered},
                  {"skipped", std::max<std::int64_t>(0, tallies.responses - tally.answered)}};
    if (question.isRating) {
      entry["rating"] = ratingOf(tally);
    } else {
      entry["choices"] = choicesOf(question, tally);
      entry["others"] = tally.others;
    }
    questions.push_back(std::move(entry));
  }
  return questions;
}

}  // namespace

Json surveyResults(const std::string& surveyId, const SurveyDefinition* survey,
                   const DayRange& days, const SurveyTallies& tallies) {
  Json funnel = funnelOf(tallies);
  const std::int64_t launched = funnel["launched"].get<std::int64_t>();
  return {{"survey_id", surveyId},
          {"from", days.from.empty() ? Json(nullptr) : Json(days.from)},
          {"to", days.to.empty() ? Json(nullptr) : Json(days.to)},
          {"responses", tallies.responses},
          {"funnel", std::move(funnel)},
          {"completion_rate", ratio(tallies.responses, launched, 1, 4)},
          {"median_time_taken",
           tallies.medianTimeTaken ? Json(rounded(*tallies.medianTimeTaken, 3)) : Json(nullptr)},
          {"per_day", perDayOf(tallies)},
          {"questions", questionsOf(survey, tallies)}};
}

}  // namespace vlq::collector

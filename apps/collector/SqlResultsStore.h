#pragma once

// The results store in SQL, whatever the database: the tables, the writes and the reads, through a
// backend that gives the database's connection, its statements and its transactions. The queries
// are plain SQL that SQLite and PostgreSQL both read: numbered parameters ($1), GROUP BY, INSERT
// ... ON CONFLICT. Each figure is a grouped count over an index that starts with the app and the
// survey, so a survey's results cost one pass over its own rows, whatever else the database holds.
// One connection, guarded by a mutex.
//
// A backend provides:
//   Handle, Query                what a statement is made from, and the statement (SqliteQuery's
//                                shape);
//   handle(), changes()          the connection, and the rows the last statement changed;
//   transaction(error, work)     runs `work` in one transaction, false with `error` when it fails;
//   insertRows(rows, tell)       inserts SqlRows; when `tell`, gives the first column of each row
//                                inserted;
//   lastResponseRead()           ResultsStore's, from the database;
//   kKeepsFactsInAnyOrder        ResultsStore's keepsFactsInAnyOrder();
//   beginCatchUp(wait), endCatchUp()   ResultsStore's.

#include <algorithm>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "collector/AnswersText.h"
#include "collector/ResultsStore.h"
#include "collector/SqlRows.h"

namespace vlq::collector {
namespace sql_results {

// The events, and the facts of the responses as they came: one row per response, whose answered
// questions are one column (AnswersText.h) read back for the CSV, and the Other texts apart, for
// the figures. Both are counted per day, and the figures add up the counts: a survey's results
// cost a pass over its days, not over its responses.
inline constexpr const char* kResultsSchema = R"SQL(
CREATE TABLE IF NOT EXISTS survey_event_batches (
  app_id TEXT NOT NULL,
  idempotency_key TEXT NOT NULL,
  body_digest TEXT NOT NULL,
  stored BIGINT NOT NULL,
  received_at TEXT NOT NULL,
  PRIMARY KEY (app_id, idempotency_key));
CREATE TABLE IF NOT EXISTS survey_events (
  app_id TEXT NOT NULL,
  survey_id TEXT,
  name TEXT NOT NULL,
  time_ms BIGINT NOT NULL,
  event_day TEXT NOT NULL,
  device_id TEXT,
  session_id TEXT,
  info TEXT NOT NULL,
  received_at TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS survey_event_days (
  app_id TEXT NOT NULL,
  survey_id TEXT NOT NULL,
  event_day TEXT NOT NULL,
  name TEXT NOT NULL,
  events BIGINT NOT NULL,
  PRIMARY KEY (app_id, survey_id, event_day, name));
CREATE TABLE IF NOT EXISTS result_responses (
  response_id BIGINT PRIMARY KEY,
  app_id TEXT NOT NULL,
  survey_id TEXT,
  received_at TEXT NOT NULL,
  received_day TEXT NOT NULL,
  time_taken DOUBLE PRECISION,
  session_id TEXT,
  device_uuid TEXT,
  answers TEXT NOT NULL);
CREATE INDEX IF NOT EXISTS result_responses_by_survey
  ON result_responses (app_id, survey_id, received_day, time_taken);
CREATE TABLE IF NOT EXISTS result_other_texts (
  response_id BIGINT NOT NULL,
  position INTEGER NOT NULL,
  question_id BIGINT,
  other_text TEXT NOT NULL,
  app_id TEXT NOT NULL,
  survey_id TEXT NOT NULL,
  received_day TEXT NOT NULL);
CREATE INDEX IF NOT EXISTS result_other_texts_by_survey
  ON result_other_texts (app_id, survey_id, response_id);
CREATE TABLE IF NOT EXISTS result_question_days (
  app_id TEXT NOT NULL,
  survey_id TEXT NOT NULL,
  received_day TEXT NOT NULL,
  position INTEGER NOT NULL,
  question_id BIGINT,
  responses BIGINT NOT NULL,
  UNIQUE (app_id, survey_id, received_day, position, question_id));
CREATE TABLE IF NOT EXISTS result_answer_days (
  app_id TEXT NOT NULL,
  survey_id TEXT NOT NULL,
  received_day TEXT NOT NULL,
  position INTEGER NOT NULL,
  question_id BIGINT,
  answer TEXT NOT NULL,
  responses BIGINT NOT NULL,
  UNIQUE (app_id, survey_id, received_day, position, question_id, answer));
)SQL";

// The facts' earlier layout kept every answer in rows of its own, in tables that only it had.
// Facts are derived from the responses, so a database that still has that layout drops every
// table of facts, and the responses are read into the new ones again; the events, kept nowhere
// else, stay.
inline constexpr const char* kEarlierLayoutTable = "result_answer_values";
inline constexpr const char* kDropEarlierFacts =
    "DROP TABLE IF EXISTS result_answer_values; DROP TABLE IF EXISTS result_answers;"
    " DROP TABLE IF EXISTS result_responses; DROP TABLE IF EXISTS result_question_days;"
    " DROP TABLE IF EXISTS result_answer_days; DROP TABLE IF EXISTS result_other_texts;";

// The filter shared by every read of one survey: $1 app, $2 survey, $3 and $4 the first and the
// last day.
#define VLQ_RESPONSES_OF_SURVEY \
  " WHERE app_id = $1 AND survey_id = $2 AND received_day >= $3 AND received_day <= $4"

// Open bounds, as text that sorts before and after every day.
inline constexpr const char* kBeforeEveryDay = "0000-00-00";
inline constexpr const char* kAfterEveryDay = "9999-99-99";

// Binds $1 to $4 to the app, the survey and the range of days.
template <typename Query>
Query& bindSurvey(Query& query, const std::string& appId, const std::string& surveyId,
                  const DayRange& days) {
  query.bind("$1", appId)
      .bind("$2", surveyId)
      .bind("$3", days.from.empty() ? kBeforeEveryDay : days.from.c_str())
      .bind("$4", days.to.empty() ? kAfterEveryDay : days.to.c_str());
  return query;
}

template <typename Query>
std::vector<std::pair<std::string, std::int64_t>> countsByText(Query& query) {
  std::vector<std::pair<std::string, std::int64_t>> counts;
  while (query.step())
    counts.emplace_back(query.text(0), query.integer(1));
  return counts;
}

template <typename Query, typename Handle>
std::optional<double> medianTimeTaken(Handle db, const std::string& appId,
                                      const std::string& surveyId, const DayRange& days) {
  // Read from the survey's index, which holds the times too; the middle is found in memory.
  Query times(db, "SELECT time_taken FROM result_responses" VLQ_RESPONSES_OF_SURVEY
                  " AND time_taken IS NOT NULL");
  bindSurvey(times, appId, surveyId, days);
  std::vector<double> values;
  while (times.step())
    values.push_back(times.optionalReal(0).value_or(0));
  if (values.empty()) return std::nullopt;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  if (values.size() % 2 == 1) return *middle;
  return (*std::max_element(values.begin(), middle) + *middle) / 2;
}

// Counts to add to a table of counts per day, by the rest of its key; each is written with one
// statement at the end of the transaction.
template <typename Key>
using DayCounts = std::map<Key, std::int64_t>;

}  // namespace sql_results

template <typename Backend>
class SqlResultsStore final : public ResultsStore {
 public:
  using Query = typename Backend::Query;

  // A store on `backend`, whose database holds kResultsSchema's tables.
  explicit SqlResultsStore(Backend backend) : backend_(std::move(backend)) {}
  SqlResultsStore(const SqlResultsStore&) = delete;
  SqlResultsStore& operator=(const SqlResultsStore&) = delete;

  std::optional<BatchAnswer> addEventBatch(const std::string& appId,
                                           const std::string& idempotencyKey,
                                           const std::string& bodyDigest,
                                           const std::string& receivedAt, const EventBatch& batch,
                                           std::string& error) override;
  std::int64_t lastResponseRead() override;
  bool keepsFactsInAnyOrder() const override { return Backend::kKeepsFactsInAnyOrder; }
  bool addResponseFacts(const std::vector<ResponseFacts>& facts, std::string& error) override;
  bool beginCatchUp(bool wait) override {
    std::lock_guard lock(mutex_);
    return backend_.beginCatchUp(wait);
  }
  void endCatchUp() override {
    std::lock_guard lock(mutex_);
    backend_.endCatchUp();
  }
  SurveyTallies tallies(const std::string& appId, const std::string& surveyId,
                        const DayRange& days) override;
  void forEachResponse(const std::string& appId, const std::string& surveyId, const DayRange& days,
                       const std::function<void(const ResponseFacts&)>& visit) override;
  std::vector<SurveySummary> surveys(const std::string& appId) override;

 private:
  std::mutex mutex_;
  Backend backend_;  // guarded by mutex_
};

template <typename Backend>
std::optional<ResultsStore::BatchAnswer> SqlResultsStore<Backend>::addEventBatch(
    const std::string& appId, const std::string& idempotencyKey, const std::string& bodyDigest,
    const std::string& receivedAt, const EventBatch& batch, std::string& error) {
  std::lock_guard lock(mutex_);
  BatchAnswer answer;
  answer.stored = static_cast<std::int64_t>(batch.events.size());
  const bool written = backend_.transaction(error, [&] {
    if (!idempotencyKey.empty()) {
      Query claim(backend_.handle(),
                  "INSERT INTO survey_event_batches"
                  " (app_id, idempotency_key, body_digest, stored, received_at)"
                  " VALUES ($1, $2, $3, $4, $5) ON CONFLICT (app_id, idempotency_key) DO NOTHING");
      claim.bind("$1", appId)
          .bind("$2", idempotencyKey)
          .bind("$3", bodyDigest)
          .bind("$4", answer.stored)
          .bind("$5", receivedAt)
          .run();
      if (backend_.changes() == 0) {
        Query first(backend_.handle(),
                    "SELECT body_digest, stored FROM survey_event_batches"
                    " WHERE app_id = $1 AND idempotency_key = $2");
        first.bind("$1", appId).bind("$2", idempotencyKey);
        if (!first.step()) throw std::runtime_error("the batch's key vanished");
        answer.outcome =
            first.text(0) == bodyDigest ? BatchOutcome::repeated : BatchOutcome::conflict;
        answer.stored = first.integer(1);
        return;
      }
    }
    Query insert(backend_.handle(),
                 "INSERT INTO survey_events (app_id, survey_id, name, time_ms, event_day,"
                 " device_id, session_id, info, received_at)"
                 " VALUES ($1, $2, $3, $4, $5, $6, $7, $8, $9)");
    sql_results::DayCounts<std::tuple<std::string, std::string, std::string>>
        perDay;  // survey, day, name
    for (const SurveyEventRecord& event : batch.events) {
      insert.bind("$1", event.appId)
          .bind("$2", event.surveyId)
          .bind("$3", event.name)
          .bind("$4", event.timeMilliseconds)
          .bind("$5", event.day)
          .bind("$6", event.deviceId)
          .bind("$7", event.sessionId)
          .bind("$8", event.infoJson)
          .bind("$9", receivedAt)
          .run();
      if (event.surveyId) ++perDay[{*event.surveyId, event.day, event.name}];
    }
    Query count(backend_.handle(),
                "INSERT INTO survey_event_days (app_id, survey_id, event_day, name, events)"
                " VALUES ($1, $2, $3, $4, $5) ON CONFLICT (app_id, survey_id, event_day, name)"
                " DO UPDATE SET events = survey_event_days.events + excluded.events");
    for (const auto& [key, events] : perDay) {
      const auto& [surveyId, day, name] = key;
      count.bind("$1", appId).bind("$2", surveyId).bind("$3", day).bind("$4", name);
      count.bind("$5", events).run();
    }
  });

  if (!written) return std::nullopt;
  return answer;
}

template <typename Backend>
std::int64_t SqlResultsStore<Backend>::lastResponseRead() {
  std::lock_guard lock(mutex_);
  return backend_.lastResponseRead();
}

template <typename Backend>
bool SqlResultsStore<Backend>::addResponseFacts(const std::vector<ResponseFacts>& facts,
                                                std::string& error) {
  std::lock_guard lock(mutex_);
  return backend_.transaction(error, [&] {
    SqlRows responses("result_responses",
                      {{"response_id", "bigint"},
                       {"app_id", "text"},
                       {"survey_id", "text"},
                       {"received_at", "text"},
                       {"received_day", "text"},
                       {"time_taken", "double precision"},
                       {"session_id", "text"},
                       {"device_uuid", "text"},
                       {"answers", "text"}},
                      "ON CONFLICT (response_id) DO NOTHING");
    for (const ResponseFacts& fact : facts) {
      responses.add({sqlText(fact.responseId), fact.appId, fact.surveyId, fact.receivedAt,
                     fact.receivedDay, sqlText(fact.timeTaken), fact.sessionId, fact.deviceUuid,
                     answersText(fact.answered)});
    }
    // A response kept already (another collector on the same database read it first) is left out
    // of the rest, and its answers count nowhere again.
    std::vector<std::string> inserted = backend_.insertRows(responses, true);
    std::sort(inserted.begin(), inserted.end());

    SqlRows otherTexts("result_other_texts",
                       {{"response_id", "bigint"},
                        {"position", "integer"},
                        {"question_id", "bigint"},
                        {"other_text", "text"},
                        {"app_id", "text"},
                        {"survey_id", "text"},
                        {"received_day", "text"}},
                       "");
    // (app, survey, day, place, question id); an answer's counts add the answer.
    using QuestionKey =
        std::tuple<std::string, std::string, std::string, int, std::optional<std::int64_t>>;
    sql_results::DayCounts<QuestionKey> questionsPerDay;
    sql_results::DayCounts<std::pair<QuestionKey, std::string>> answersPerDay;
    for (const ResponseFacts& fact : facts) {
      const std::string id = *sqlText(fact.responseId);
      if (!fact.surveyId || !std::binary_search(inserted.begin(), inserted.end(), id)) continue;
      for (const AnsweredQuestion& question : fact.answered) {
        if (question.otherText) {
          otherTexts.add({id, sqlText(std::int64_t{question.position}),
                          sqlText(question.questionId), question.otherText, fact.appId,
                          fact.surveyId, fact.receivedDay});
        }
        const QuestionKey key{fact.appId, *fact.surveyId, fact.receivedDay, question.position,
                              question.questionId};
        ++questionsPerDay[key];
        for (const std::string& answer : question.answers)
          ++answersPerDay[{key, answer}];
      }
    }
    backend_.insertRows(otherTexts);

    // A row whose question id is none never conflicts with an earlier one, so such counts may
    // take several rows; the figures add them up all the same.
    SqlRows questionCounts(
        "result_question_days",
        {{"app_id", "text"},
         {"survey_id", "text"},
         {"received_day", "text"},
         {"position", "integer"},
         {"question_id", "bigint"},
         {"responses", "bigint"}},
        "ON CONFLICT (app_id, survey_id, received_day, position, question_id)"
        " DO UPDATE SET responses = result_question_days.responses + excluded.responses");
    for (const auto& [key, count] : questionsPerDay) {
      const auto& [appId, surveyId, day, position, questionId] = key;
      questionCounts.add({appId, surveyId, day, sqlText(std::int64_t{position}),
                          sqlText(questionId), sqlText(count)});
    }
    backend_.insertRows(questionCounts);
    SqlRows answerCounts(
        "result_answer_days",
        {{"app_id", "text"},
         {"survey_id", "text"},
         {"received_day", "text"},
         {"position", "integer"},
         {"question_id", "bigint"},
         {"answer", "text"},
         {"responses", "bigint"}},
        "ON CONFLICT (app_id, survey_id, received_day, position, question_id, answer)"
        " DO UPDATE SET responses = result_answer_days.responses + excluded.responses");
    for (const auto& [key, count] : answersPerDay) {
      const auto& [appId, surveyId, day, position, questionId] = key.first;
      answerCounts.add({appId, surveyId, day, sqlText(std::int64_t{position}), sqlText(questionId),
                        key.second, sqlText(count)});
    }
    backend_.insertRows(answerCounts);
  });
}

template <typename Backend>
SurveyTallies SqlResultsStore<Backend>::tallies(const std::string& appId,
                                                const std::string& surveyId, const DayRange& days) {
  std::lock_guard lock(mutex_);
  SurveyTallies tallies;
  Query perDay(backend_.handle(),
               "SELECT received_day, COUNT(*) FROM result_responses" VLQ_RESPONSES_OF_SURVEY
               " GROUP BY received_day ORDER BY received_day");
  tallies.responsesPerDay =
      sql_results::countsByText(sql_results::bindSurvey(perDay, appId, surveyId, days));
  for (const auto& [day, count] : tallies.responsesPerDay)
    tallies.responses += count;
  tallies.medianTimeTaken =
      sql_results::medianTimeTaken<Query>(backend_.handle(), appId, surveyId, days);

  Query events(backend_.handle(),
               "SELECT name, SUM(events) FROM survey_event_days WHERE app_id = $1"
               " AND survey_id = $2 AND event_day >= $3 AND event_day <= $4 GROUP BY name");
  tallies.eventsByName =
      sql_results::countsByText(sql_results::bindSurvey(events, appId, surveyId, days));

  Query answered(backend_.handle(),
                 "SELECT position, question_id, SUM(responses) FROM "
                 "result_question_days" VLQ_RESPONSES_OF_SURVEY " GROUP BY position, question_id");
  sql_results::bindSurvey(answered, appId, surveyId, days);
  while (answered.step()) {
    tallies.answered.push_back(
        {static_cast<int>(answered.integer(0)), answered.optionalInteger(1), answered.integer(2)});
  }
  Query answers(backend_.handle(),
                "SELECT position, question_id, answer, SUM(responses) FROM "
                "result_answer_days" VLQ_RESPONSES_OF_SURVEY
                " GROUP BY position, question_id, answer");
  sql_results::bindSurvey(answers, appId, surveyId, days);
  while (answers.step()) {
    tallies.answers.push_back({static_cast<int>(answers.integer(0)), answers.optionalInteger(1),
                               answers.text(2), answers.integer(3)});
  }
  Query others(
      backend_.handle(),
      "SELECT position, question_id, other_text FROM result_other_texts" VLQ_RESPONSES_OF_SURVEY
      " ORDER BY response_id DESC");
  sql_results::bindSurvey(others, appId, surveyId, days);
  while (others.step()) {
    tallies.otherTexts.push_back(
        {static_cast<int>(others.integer(0)), others.optionalInteger(1), others.text(2)});
  }
  return tallies;
}

template <typename Backend>
void SqlResultsStore<Backend>::forEachResponse(
    const std::string& appId, const std::string& surveyId, const DayRange& days,
    const std::function<void(const ResponseFacts&)>& visit) {
  std::lock_guard lock(mutex_);
  Query responses(backend_.handle(),
                  "SELECT response_id, received_at, received_day, time_taken, session_id,"
                  " device_uuid, answers FROM result_responses" VLQ_RESPONSES_OF_SURVEY
                  " ORDER BY response_id");
  sql_results::bindSurvey(responses, appId, surveyId, days);
  while (responses.step()) {
    ResponseFacts facts;
    facts.responseId = responses.integer(0);
    facts.appId = appId;
    facts.surveyId = surveyId;
    facts.receivedAt = responses.text(1);
    facts.receivedDay = responses.text(2);
    facts.timeTaken = responses.optionalReal(3);
    facts.sessionId = responses.optionalText(4);
    facts.deviceUuid = responses.optionalText(5);
    facts.answered = answeredFromText(responses.text(6));
    visit(facts);
  }
}

template <typename Backend>
std::vector<SurveySummary> SqlResultsStore<Backend>::surveys(const std::string& appId) {
  std::lock_guard lock(mutex_);
  Query query(backend_.handle(),
              "SELECT survey_id, SUM(responses) FROM ("
              " SELECT survey_id, COUNT(*) AS responses FROM result_responses"
              " WHERE app_id = $1 AND survey_id IS NOT NULL GROUP BY survey_id"
              " UNION ALL"
              " SELECT DISTINCT survey_id, 0 AS responses FROM survey_event_days"
              " WHERE app_id = $1) AS known"
              " GROUP BY survey_id ORDER BY survey_id");
  query.bind("$1", appId);
  std::vector<SurveySummary> surveys;
  while (query.step())
    surveys.push_back({query.text(0), query.integer(1)});
  return surveys;
}

#undef VLQ_RESPONSES_OF_SURVEY

}  // namespace vlq::collector

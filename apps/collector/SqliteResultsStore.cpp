#include "collector/SqliteResultsStore.h"

#include <sqlite3.h>

#include <stdexcept>
#include <utility>

namespace vlq::collector {
namespace {

constexpr const char* kSchema = R"SQL(
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
CREATE INDEX IF NOT EXISTS survey_events_by_survey
  ON survey_events (app_id, survey_id, name, event_day);
CREATE TABLE IF NOT EXISTS result_responses (
  response_id BIGINT PRIMARY KEY,
  app_id TEXT NOT NULL,
  survey_id TEXT,
  received_at TEXT NOT NULL,
  received_day TEXT NOT NULL,
  time_taken DOUBLE PRECISION,
  session_id TEXT,
  device_uuid TEXT);
CREATE INDEX IF NOT EXISTS result_responses_by_survey
  ON result_responses (app_id, survey_id, received_day);
CREATE TABLE IF NOT EXISTS result_answers (
  response_id BIGINT NOT NULL,
  position INTEGER NOT NULL,
  question_id BIGINT,
  other_text TEXT,
  app_id TEXT NOT NULL,
  survey_id TEXT,
  received_day TEXT NOT NULL);
CREATE INDEX IF NOT EXISTS result_answers_by_question
  ON result_answers (app_id, survey_id, position, question_id, received_day);
CREATE INDEX IF NOT EXISTS result_answers_other_texts
  ON result_answers (app_id, survey_id, response_id) WHERE other_text IS NOT NULL;
CREATE TABLE IF NOT EXISTS result_answer_values (
  response_id BIGINT NOT NULL,
  position INTEGER NOT NULL,
  ordinal INTEGER NOT NULL,
  answer TEXT NOT NULL,
  question_id BIGINT,
  app_id TEXT NOT NULL,
  survey_id TEXT,
  received_day TEXT NOT NULL);
CREATE INDEX IF NOT EXISTS result_answer_values_by_answer
  ON result_answer_values (app_id, survey_id, position, question_id, answer, received_day);
)SQL";

// The filter shared by every read of one survey: $1 app, $2 survey, $3 and $4 the first and the
// last day.
#define VLQ_RESPONSES_OF_SURVEY \
  " WHERE app_id = $1 AND survey_id = $2 AND received_day >= $3 AND received_day <= $4"

// Open bounds, as text that sorts before and after every day.
constexpr const char* kBeforeEveryDay = "0000-00-00";
constexpr const char* kAfterEveryDay = "9999-99-99";

// A prepared statement with named parameters; it finalises itself. Any failure throws, so that
// one try block covers a whole transaction.
class Query {
 public:
  Query(sqlite3* db, const char* sql) : db_(db) {
    if (sqlite3_prepare_v2(db, sql, -1, &statement_, nullptr) != SQLITE_OK) fail();
  }
  ~Query() { sqlite3_finalize(statement_); }
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  Query& bind(const char* name, const std::string& text) {
    return check(sqlite3_bind_text(statement_, index(name), text.data(),
                                   static_cast<int>(text.size()), SQLITE_TRANSIENT));
  }
  Query& bind(const char* name, const char* text) { return bind(name, std::string(text)); }
  Query& bind(const char* name, std::int64_t number) {
    return check(sqlite3_bind_int64(statement_, index(name), number));
  }
  Query& bind(const char* name, int number) { return bind(name, std::int64_t{number}); }
  Query& bind(const char* name, const std::optional<std::string>& text) {
    return text ? bind(name, *text) : check(sqlite3_bind_null(statement_, index(name)));
  }
  Query& bind(const char* name, const std::optional<std::int64_t>& number) {
    return number ? bind(name, *number) : check(sqlite3_bind_null(statement_, index(name)));
  }
  Query& bind(const char* name, const std::optional<double>& number) {
    return check(number ? sqlite3_bind_double(statement_, index(name), *number)
                        : sqlite3_bind_null(statement_, index(name)));
  }
  // Binds $1 to $4 to the app, the survey and the range of days.
  Query& bindSurvey(const std::string& appId, const std::string& surveyId, const DayRange& days) {
    return bind("$1", appId)
        .bind("$2", surveyId)
        .bind("$3", days.from.empty() ? kBeforeEveryDay : days.from.c_str())
        .bind("$4", days.to.empty() ? kAfterEveryDay : days.to.c_str());
  }

  // True with a row to read, false at the end.
  bool step() {
    const int result = sqlite3_step(statement_);
    if (result == SQLITE_ROW) return true;
    if (result != SQLITE_DONE) fail();
    return false;
  }
  void run() {
    step();
    sqlite3_reset(statement_);
  }

  std::string text(int column) const {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    return bytes ? std::string(bytes,
                               static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)))
                 : std::string();
  }
  std::optional<std::string> optionalText(int column) const {
    if (isNull(column)) return std::nullopt;
    return text(column);
  }
  std::int64_t integer(int column) const { return sqlite3_column_int64(statement_, column); }
  std::optional<std::int64_t> optionalInteger(int column) const {
    if (isNull(column)) return std::nullopt;
    return integer(column);
  }
  std::optional<double> optionalReal(int column) const {
    if (isNull(column)) return std::nullopt;
    return sqlite3_column_double(statement_, column);
  }

 private:
  bool isNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }
  int index(const char* name) const {
    const int found = sqlite3_bind_parameter_index(statement_, name);
    if (found == 0) throw std::logic_error(std::string("no SQL parameter ") + name);
    return found;
  }
  Query& check(int result) {
    if (result != SQLITE_OK) fail();
    return *this;
  }
  [[noreturn]] void fail() const { throw std::runtime_error(sqlite3_errmsg(db_)); }

  sqlite3* db_;
  sqlite3_stmt* statement_ = nullptr;
};

void execute(sqlite3* db, const char* sql) {
  char* message = nullptr;
  if (sqlite3_exec(db, sql, nullptr, nullptr, &message) != SQLITE_OK) {
    std::string text = message ? message : sqlite3_errmsg(db);
    sqlite3_free(message);
    throw std::runtime_error(text);
  }
}

// Runs `work` in one write transaction; false, with `error` filled, when any of it fails, and
// then nothing of it stays.
template <typename Work>
bool inTransaction(sqlite3* db, std::string& error, Work&& work) {
  try {
    execute(db, "BEGIN IMMEDIATE");
  } catch (const std::exception& e) {
    error = e.what();
    return false;
  }
  try {
    work();
    execute(db, "COMMIT");
    return true;
  } catch (const std::exception& e) {
    error = e.what();
    sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
    return false;
  }
}

std::vector<std::pair<std::string, std::int64_t>> countsByText(Query& query) {
  std::vector<std::pair<std::string, std::int64_t>> counts;
  while (query.step())
    counts.emplace_back(query.text(0), query.integer(1));
  return counts;
}

std::optional<double> medianTimeTaken(sqlite3* db, const std::string& appId,
                                      const std::string& surveyId, const DayRange& days) {
  Query count(db, "SELECT COUNT(time_taken) FROM result_responses" VLQ_RESPONSES_OF_SURVEY);
  count.bindSurvey(appId, surveyId, days);
  const std::int64_t values = count.step() ? count.integer(0) : 0;
  if (values == 0) return std::nullopt;
  // The middle value, or the two middle values of an even count.
  Query middle(db, "SELECT time_taken FROM result_responses" VLQ_RESPONSES_OF_SURVEY
                   " AND time_taken IS NOT NULL ORDER BY time_taken LIMIT $5 OFFSET $6");
  middle.bindSurvey(appId, surveyId, days)
      .bind("$5", std::int64_t{values % 2 == 0 ? 2 : 1})
      .bind("$6", (values - 1) / 2);
  double sum = 0;
  int taken = 0;
  while (middle.step()) {
    sum += middle.optionalReal(0).value_or(0);
    ++taken;
  }
  return taken == 0 ? std::nullopt : std::optional<double>(sum / taken);
}

}  // namespace

std::unique_ptr<SqliteResultsStore> SqliteResultsStore::open(const std::string& path,
                                                             std::string& error) {
  const std::string name = path.empty() ? ":memory:" : path;
  sqlite3* db = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
  if (sqlite3_open_v2(name.c_str(), &db, flags, nullptr) != SQLITE_OK) {
    error = "cannot open database " + name + ": " + (db ? sqlite3_errmsg(db) : "out of memory");
    sqlite3_close(db);
    return nullptr;
  }
  // The response store writes to the same file through its own connection.
  sqlite3_busy_timeout(db, 5000);
  try {
    execute(db, kSchema);
  } catch (const std::exception& e) {
    error = "cannot use database " + name + " for results: " + e.what();
    sqlite3_close(db);
    return nullptr;
  }
  return std::unique_ptr<SqliteResultsStore>(new SqliteResultsStore(db));
}

SqliteResultsStore::~SqliteResultsStore() {
  sqlite3_close(db_);
}

std::optional<ResultsStore::BatchAnswer> SqliteResultsStore::addEventBatch(
    const std::string& appId, const std::string& idempotencyKey, const std::string& bodyDigest,
    const std::string& receivedAt, const EventBatch& batch, std::string& error) {
  std::lock_guard lock(mutex_);
  BatchAnswer answer;
  answer.stored = static_cast<std::int64_t>(batch.events.size());
  const bool written = inTransaction(db_, error, [&] {
    if (!idempotencyKey.empty()) {
      Query claim(db_,
                  "INSERT INTO survey_event_batches"
                  " (app_id, idempotency_key, body_digest, stored, received_at)"
                  " VALUES ($1, $2, $3, $4, $5) ON CONFLICT (app_id, idempotency_key) DO NOTHING");
      claim.bind("$1", appId)
          .bind("$2", idempotencyKey)
          .bind("$3", bodyDigest)
          .bind("$4", answer.stored)
          .bind("$5", receivedAt)
          .run();
      if (sqlite3_changes(db_) == 0) {
        Query first(db_,
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
    Query insert(db_,
                 "INSERT INTO survey_events (app_id, survey_id, name, time_ms, event_day,"
                 " device_id, session_id, info, received_at)"
                 " VALUES ($1, $2, $3, $4, $5, $6, $7, $8, $9)");
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
    }
  });
  if (!written) return std::nullopt;
  return answer;
}

std::int64_t SqliteResultsStore::lastResponseRead() {
  std::lock_guard lock(mutex_);
  Query last(db_, "SELECT MAX(response_id) FROM result_responses");
  return last.step() ? last.optionalInteger(0).value_or(0) : 0;
}

bool SqliteResultsStore::addResponseFacts(const std::vector<ResponseFacts>& facts,
                                          std::string& error) {
  std::lock_guard lock(mutex_);
  return inTransaction(db_, error, [&] {
    Query response(db_,
                   "INSERT INTO result_responses (response_id, app_id, survey_id, received_at,"
                   " received_day, time_taken, session_id, device_uuid)"
                   " VALUES ($1, $2, $3, $4, $5, $6, $7, $8) ON CONFLICT (response_id) DO NOTHING");
    Query answered(db_,
                   "INSERT INTO result_answers (response_id, position, question_id, other_text,"
                   " app_id, survey_id, received_day) VALUES ($1, $2, $3, $4, $5, $6, $7)");
    Query value(db_,
                "INSERT INTO result_answer_values (response_id, position, ordinal, answer,"
                " question_id, app_id, survey_id, received_day)"
                " VALUES ($1, $2, $3, $4, $5, $6, $7, $8)");
    for (const ResponseFacts& fact : facts) {
      response.bind("$1", fact.responseId)
          .bind("$2", fact.appId)
          .bind("$3", fact.surveyId)
          .bind("$4", fact.receivedAt)
          .bind("$5", fact.receivedDay)
          .bind("$6", fact.timeTaken)
          .bind("$7", fact.sessionId)
          .bind("$8", fact.deviceUuid)
          .run();
      // Kept already (another collector on the same file read it first): its answers are too.
      if (sqlite3_changes(db_) == 0) continue;
      for (const AnsweredQuestion& question : fact.answered) {
        answered.bind("$1", fact.responseId)
            .bind("$2", question.position)
            .bind("$3", question.questionId)
            .bind("$4", question.otherText)
            .bind("$5", fact.appId)
            .bind("$6", fact.surveyId)
            .bind("$7", fact.receivedDay)
            .run();
        for (std::size_t ordinal = 0; ordinal < question.answers.size(); ++ordinal) {
          value.bind("$1", fact.responseId)
              .bind("$2", question.position)
              .bind("$3", static_cast<std::int64_t>(ordinal))
              .bind("$4", question.answers[ordinal])
              .bind("$5", question.questionId)
              .bind("$6", fact.appId)
              .bind("$7", fact.surveyId)
              .bind("$8", fact.receivedDay)
              .run();
        }
      }
    }
  });
}

SurveyTallies SqliteResultsStore::tallies(const std::string& appId, const std::string& surveyId,
                                          const DayRange& days) {
  std::lock_guard lock(mutex_);
  SurveyTallies tallies;
  Query perDay(db_, "SELECT received_day, COUNT(*) FROM result_responses" VLQ_RESPONSES_OF_SURVEY
                    " GROUP BY received_day ORDER BY received_day");
  tallies.responsesPerDay = countsByText(perDay.bindSurvey(appId, surveyId, days));
  for (const auto& [day, count] : tallies.responsesPerDay)
    tallies.responses += count;
  tallies.medianTimeTaken = medianTimeTaken(db_, appId, surveyId, days);

  Query events(db_,
               "SELECT name, COUNT(*) FROM survey_events WHERE app_id = $1 AND survey_id = $2"
               " AND event_day >= $3 AND event_day <= $4 GROUP BY name");
  tallies.eventsByName = countsByText(events.bindSurvey(appId, surveyId, days));

  Query answered(
      db_, "SELECT position, question_id, COUNT(*) FROM result_answers" VLQ_RESPONSES_OF_SURVEY
           " GROUP BY position, question_id");
  answered.bindSurvey(appId, surveyId, days);
  while (answered.step()) {
    tallies.answered.push_back(
        {static_cast<int>(answered.integer(0)), answered.optionalInteger(1), answered.integer(2)});
  }
  Query answers(db_,
                "SELECT position, question_id, answer, COUNT(*) FROM "
                "result_answer_values" VLQ_RESPONSES_OF_SURVEY
                " GROUP BY position, question_id, answer");
  answers.bindSurvey(appId, surveyId, days);
  while (answers.step()) {
    tallies.answers.push_back({static_cast<int>(answers.integer(0)), answers.optionalInteger(1),
                               answers.text(2), answers.integer(3)});
  }
  Query others(
      db_, "SELECT position, question_id, other_text FROM result_answers" VLQ_RESPONSES_OF_SURVEY
           " AND other_text IS NOT NULL ORDER BY response_id DESC");
  others.bindSurvey(appId, surveyId, days);
  while (others.step()) {
    tallies.otherTexts.push_back(
        {static_cast<int>(others.integer(0)), others.optionalInteger(1), others.text(2)});
  }
  return tallies;
}

void SqliteResultsStore::forEachResponse(const std::string& appId, const std::string& surveyId,
                                         const DayRange& days,
                                         const std::function<void(const ResponseFacts&)>& visit) {
  std::lock_guard lock(mutex_);
  // Three ordered passes read side by side: the responses, their answered questions and the
  // answers, each by response id.
  Query responses(db_,
                  "SELECT response_id, received_at, received_day, time_taken, session_id,"
                  " device_uuid FROM result_responses" VLQ_RESPONSES_OF_SURVEY
                  " ORDER BY response_id");
  Query questions(db_,
                  "SELECT response_id, position, question_id, other_text FROM "
                  "result_answers" VLQ_RESPONSES_OF_SURVEY " ORDER BY response_id, position");
  Query values(
      db_, "SELECT response_id, position, answer FROM result_answer_values" VLQ_RESPONSES_OF_SURVEY
           " ORDER BY response_id, position, ordinal");
  responses.bindSurvey(appId, surveyId, days);
  questions.bindSurvey(appId, surveyId, days);
  values.bindSurvey(appId, surveyId, days);
  bool moreQuestions = questions.step();
  bool moreValues = values.step();
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
    while (moreQuestions && questions.integer(0) <= facts.responseId) {
      if (questions.integer(0) == facts.responseId) {
        AnsweredQuestion question;
        question.position = static_cast<int>(questions.integer(1));
        question.questionId = questions.optionalInteger(2);
        question.otherText = questions.optionalText(3);
        facts.answered.push_back(std::move(question));
      }
      moreQuestions = questions.step();
    }
    for (AnsweredQuestion& question : facts.answered) {
      while (moreValues && std::make_pair(values.integer(0), static_cast<int>(values.integer(1))) <=
                               std::make_pair(facts.responseId, question.position)) {
        if (values.integer(0) == facts.responseId && values.integer(1) == question.position) {
          question.answers.push_back(values.text(2));
        }
        moreValues = values.step();
      }
    }
    visit(facts);
  }
}

std::vector<SurveySummary> SqliteResultsStore::surveys(const std::string& appId) {
  std::lock_guard lock(mutex_);
  Query query(db_,
              "SELECT survey_id, SUM(responses) FROM ("
              " SELECT survey_id, COUNT(*) AS responses FROM result_responses"
              " WHERE app_id = $1 AND survey_id IS NOT NULL GROUP BY survey_id"
              " UNION ALL"
              " SELECT DISTINCT survey_id, 0 AS responses FROM survey_events"
              " WHERE app_id = $1 AND survey_id IS NOT NULL) AS known"
              " GROUP BY survey_id ORDER BY survey_id");
  query.bind("$1", appId);
  std::vector<SurveySummary> surveys;
  while (query.step())
    surveys.push_back({query.text(0), query.integer(1)});
  return surveys;
}

}  // namespace vlq::collector

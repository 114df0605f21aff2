#pragma once

// Where the collector keeps what survey results are computed from: the analytics events that
// hosts upload, and the facts of each stored response (ResultsRecords.h). A results store is read
// through these few operations only, so that any database can hold the records and give the same
// figures; SqlResultsStore.h holds the one implementation, on SQLite or on PostgreSQL. Every
// operation may be called from any thread.
// A read that the database refuses throws std::runtime_error.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "collector/EventBatch.h"
#include "collector/ResultsRecords.h"

namespace vlq::collector {

// How many responses answered a question at one place of the bodies' "responses" lists.
struct AnsweredCount {
  int position = 0;
  std::optional<std::int64_t> questionId;
  std::int64_t responses = 0;
};

// How many responses gave one answer (compact JSON text) at one place.
struct AnswerCount {
  int position = 0;
  std::optional<std::int64_t> questionId;
  std::string answer;
  std::int64_t responses = 0;
};

struct OtherText {
  int position = 0;
  std::optional<std::int64_t> questionId;
  std::string text;
};

// The counts of one survey over a range of days, before they are matched to its document.
// Responses count by the day they arrived, events by the day they happened.
struct SurveyTallies {
  std::int64_t responses = 0;
  std::vector<std::pair<std::string, std::int64_t>>
      responsesPerDay;  // days with responses, in order
  std::optional<double> medianTimeTaken;
  std::vector<std::pair<std::string, std::int64_t>> eventsByName;
  std::vector<AnsweredCount> answered;
  std::vector<AnswerCount> answers;
  std::vector<OtherText> otherTexts;  // newest first
};

// A survey that an app has data for.
struct SurveySummary {
  std::string surveyId;
  std::int64_t responses = 0;
};

class ResultsStore {
 public:
  virtual ~ResultsStore() = default;

  enum class BatchOutcome {
    stored,    // the events were stored
    repeated,  // the key was used before with the same body: nothing stored this time
    conflict,  // the key was used before with another body: nothing stored
  };
  struct BatchAnswer {
    BatchOutcome outcome = BatchOutcome::stored;
    std::int64_t stored = 0;  // the events the key's first batch stored
  };
  // Stores the events of one uploaded batch, at most once per app and idempotency key (an empty
  // key stores every time); `bodyDigest` tells a repeat from another body under the same key.
  // None, with `error` filled, when the database refuses the write.
  virtual std::optional<BatchAnswer> addEventBatch(const std::string& appId,
                                                   const std::string& idempotencyKey,
                                                   const std::string& bodyDigest,
                                                   const std::string& receivedAt,
                                                   const EventBatch& batch, std::string& error) = 0;

  // The highest response id whose facts are kept; 0 when none are. Responses are read in id
  // order, so every response up to it is kept. (On a database where concurrent writers may
  // commit ids out of order, a store must also find the responses it skipped.)
  virtual std::int64_t lastResponseRead() = 0;
  // Whether facts may be kept in any order: true when lastResponseRead finds the first response
  // without facts whatever was kept after it, so that each process may keep the facts of the
  // responses it stored as they come; false when it takes the highest id kept, so that facts must
  // be kept in id order without gaps.
  virtual bool keepsFactsInAnyOrder() const { return false; }
  // Keeps the facts of responses read from the response store, in id order; facts already kept
  // are left as they are. False, with `error` filled, when the database refuses the write.
  virtual bool addResponseFacts(const std::vector<ResponseFacts>& facts, std::string& error) = 0;

  // Where several processes share the store, one catches up at a time: beginCatchUp waits for
  // the turn (or, when not `wait`, returns false at once when another process has it), and
  // endCatchUp gives it back. A store of one process needs neither.
  virtual bool beginCatchUp(bool /*wait*/) { return true; }
  virtual void endCatchUp() {}

  virtual SurveyTallies tallies(const std::string& appId, const std::string& surveyId,
                                const DayRange& days) = 0;
  // Each response of the survey in the range, in the order received, with its answers.
  virtual void forEachResponse(const std::string& appId, const std::string& surveyId,
                               const DayRange& days,
                               const std::function<void(const ResponseFacts&)>& visit) = 0;
  // The surveys of `appId` that have responses or events, by id.
  virtual std::vector<SurveySummary> surveys(const std::string& appId) = 0;
};

}  // namespace vlq::collector

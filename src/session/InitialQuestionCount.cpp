// The question count of the survey page loaded last. Pages load on the main queue, but a test or
// a tool may read it from another thread, so it is atomic.

#include <atomic>

#include "session/VLQSurveySession.h"

namespace vlq::session {

namespace {
std::atomic<std::int32_t> storedInitialQuestionCount{0};
}  // namespace

std::int32_t initialQuestionCount() {
  return storedInitialQuestionCount.load();
}

void setInitialQuestionCount(std::int32_t count) {
  storedInitialQuestionCount.store(count);
}

}  // namespace vlq::session

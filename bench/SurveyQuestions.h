#pragma once

#include <vlq/host/JsonValue.h>

namespace vlq::bench {

// A survey configuration's questions with one question of each kind: single choice (four
// choices), multiple choice with an Other row, rating.
const Json& oneQuestionOfEachKind();

}  // namespace vlq::bench

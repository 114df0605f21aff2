#pragma once

// A response's answered questions as one text, kept in one column beside the response's other
// facts: a JSON array with one element per answered question,
//   [position, question id or null, [each answer's compact JSON, as a string], Other text or null]
// Each response then costs the results' tables one row, however many questions it answers.

#include <string>
#include <string_view>
#include <vector>

#include "collector/ResultsRecords.h"

namespace vlq::collector {

std::string answersText(const std::vector<AnsweredQuestion>& answered);

// The questions `text` holds; an element without the shape above is left out, and a text that is
// no JSON array gives none.
std::vector<AnsweredQuestion> answeredFromText(std::string_view text);

}  // namespace vlq::collector

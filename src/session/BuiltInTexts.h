#pragma once

// The plug-in's own words on the survey page and the invitation: the button titles, the Other
// field's instruction and every accessibility label and value, in each language the plug-in
// speaks. They are presentation only: the session decides what a press does from its own state,
// never from a title.

#include <cstdint>
#include <string>
#include <string_view>

namespace vlq::session {

struct BuiltInTexts {
  std::string_view language;  // the language subtag: "en", "de", ...
  std::string_view skip;
  std::string_view next;
  std::string_view submit;
  std::string_view otherInstruction;
  std::string_view closeSurvey;
  std::string_view back;
  std::string_view surveyProgress;
  std::string_view questionOf;  // "{1}" is the question's number, "{2}" how many there are
  std::string_view otherAnswer;
  std::string_view ratingOf;  // "{1}" is the level from 1, "{2}" how many levels there are
};

// The texts of a locale tag's language ("de-AT" speaks "de"); English for an empty, unknown or
// malformed tag.
const BuiltInTexts& builtInTextsFor(std::string_view locale);
// The English texts, the page's default.
const BuiltInTexts& englishTexts();

// `pattern` with "{1}" and "{2}" replaced by the two numbers.
std::string fillIn(std::string_view pattern, std::int64_t first, std::int64_t second);

}  // namespace vlq::session

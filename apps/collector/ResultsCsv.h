#pragma once

// A survey's responses as CSV, one row per response, for a spreadsheet:
//
//   received_at,session_id,device_uuid,time_taken,<question title>,<title> (Other),...
//
// one column per question of the document, named by its title, and after each question with an
// Other choice a column "<title> (Other)" with the typed text. A choice column holds the chosen
// texts in the document's order, joined by "; " (an answer the document no longer holds shows
// its id); a rating column holds the level, 1 to 5; a question not answered leaves its cells
// empty.
//
// The text is UTF-8 with a byte-order mark, so that spreadsheets do not take it for another
// encoding, and follows RFC 4180: lines end with CRLF, and a field holding a comma, a quote or a
// line break is quoted, its quotes doubled. A text that a spreadsheet would run as a formula
// (one starting with =, +, -, @, a tab or a carriage return) is written after a single quote,
// so that a typed answer cannot run as one.

#include <string>

#include "collector/ResultsRecords.h"
#include "collector/SurveyCatalog.h"

namespace vlq::collector {

class ResultsCsv {
 public:
  // Starts the text with the header row for the questions of `survey` (null: a survey the
  // document does not hold, which has the first four columns only).
  explicit ResultsCsv(const SurveyDefinition* survey);

  void addResponse(const ResponseFacts& response);
  // The text so far; the writer is left empty.
  std::string take() { return std::move(text_); }

 private:
  const SurveyDefinition* survey_;
  std::string text_;
};

}  // namespace vlq::collector

#pragma once

// The rules for when a survey is due, as the reference host reads them ("targeting" in an entry,
// "recontact_days" at the root): what in them does not mean what it seems to, and when each
// survey is due.

#include "lint/LintReport.h"

namespace vlq::lint {

// Adds the findings about the targeting rules of `document` to `report`, and fills in when each
// survey already summarised in `report` is due.
void lintTargeting(const Json& document, LintReport& report);

}  // namespace vlq::lint

#pragma once

// The survey's own texts per language: "<key>_translations" siblings that the host's sync uses
// to put each text in the user's language. What the linter finds is where a language that some
// texts have is missing from others, so its users would read those texts as written.

#include "lint/LintReport.h"

namespace vlq::lint {

// Adds the findings about the translations in `document` to `report`.
void lintTranslations(const Json& document, LintReport& report);

}  // namespace vlq::lint

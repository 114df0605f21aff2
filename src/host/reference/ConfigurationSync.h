#pragma once

// The "surveys" sync: the configuration document is fetched from its source and stored, byte for
// byte and whether or not it is valid JSON, where the plug-in reads it; a document with
// translations of its texts is stored with them in the user's language (SurveyTranslations.h).

#include <functional>
#include <string>

#include <vlq/host/reference/HttpTransport.h>

namespace vlq::reference {

// Fetches the document at `source` (a file path, a "file://" URL, or an http:// or https:// URL
// answered with status 200) and atomically replaces the file at `destination` with it. Blocks
// until done. A URL is fetched with `credentials`; a certificate it does not accept is reported to
// `log`. With a `locale` and a document that translates its texts, the document is stored with
// the texts in that language (as JSON again); otherwise as it came. Returns false when the document
// could not be fetched or stored; the old file, if any, then stays as it was.
bool syncConfigurationFile(const std::string& source, const std::string& destination,
                           const HttpCredentials& credentials = {},
                           const std::function<void(const std::string&)>& log = {},
                           const std::string& locale = {});

}  // namespace vlq::reference

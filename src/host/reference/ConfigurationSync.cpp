#include "host/reference/ConfigurationSync.h"

#include <optional>

#include <vlq/host/reference/HttpTransport.h>

#include "host/reference/AtomicFile.h"
#include "host/reference/SurveyTranslations.h"

namespace vlq::reference {

namespace {

constexpr std::int64_t kHttpOk = 200;

std::optional<std::string> fetchDocument(const std::string& source,
                                         const HttpCredentials& credentials,
                                         const std::function<void(const std::string&)>& log) {
  if (isHttpUrl(source)) {
    auto outcome = httpGet(source, credentials);
    if (outcome.certificateRejected && log) log("cannot sync: " + outcome.errorMessage);
    if (outcome.status != kHttpOk) return std::nullopt;
    return std::move(outcome.body);
  }
  constexpr std::string_view kFileScheme = "file://";
  if (source.rfind(kFileScheme, 0) == 0) return readWholeFile(source.substr(kFileScheme.size()));
  return readWholeFile(source);
}

}  // namespace

bool syncConfigurationFile(const std::string& source, const std::string& destination,
                           const HttpCredentials& credentials,
                           const std::function<void(const std::string&)>& log,
                           const std::string& locale) {
  const auto document = fetchDocument(source, credentials, log);
  if (!document) return false;
  if (const auto translated = translatedConfiguration(*document, locale)) {
    return writeFileAtomically(destination, *translated);
  }
  return writeFileAtomically(destination, *document);
}

}  // namespace vlq::reference

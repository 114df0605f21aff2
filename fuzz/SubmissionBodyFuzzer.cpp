// Fuzz target: the submission body, built from arbitrary response records (ratings of any value,
// choices with ids of any JSON type, missing choices, any "other" text), any launch and current
// times (NaN and infinities included) and any host values. The body is always a JSON object with
// its keys in the body's order, one response per record, and it always serialises.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include <vlq/host/JsonDocument.h>

#include "FuzzChecks.h"
#include "FuzzInput.h"
#include "model/SubmissionBody.h"

namespace {

using vlq::Json;
using vlq::fuzz::FuzzInput;
using vlq::fuzz::require;

// A JSON value of the input's choosing: none, a text, or a document read from the text.
Json value(FuzzInput& input) {
  switch (input.byte() % 3) {
    case 0:
      return nullptr;
    case 1:
      return input.text();
    default:
      return vlq::parseJsonDocument(input.text()).value_or(nullptr);
  }
}

std::optional<std::string> optionalText(FuzzInput& input) {
  if (input.byte() % 2 == 0) return std::nullopt;
  return input.text();
}

// Host values read from the input once, answered every time they are asked for.
class InputHost : public vlq::VLQController {
 public:
  explicit InputHost(FuzzInput& input)
      : sessionId_(optionalText(input)),
        sessionAttributes_(value(input)),
        appInfo_(value(input)),
        deviceId_(optionalText(input)),
        userAttributes_(value(input)) {}

  vlq::VLQSession session() override { return {sessionId_, sessionAttributes_}; }
  vlq::VLQApplicationInfo appInfo() override { return vlq::VLQApplicationInfo(appInfo_); }
  std::optional<std::string> getDeviceID() override { return deviceId_; }
  vlq::VLQUser user() override { return vlq::VLQUser(userAttributes_); }

 private:
  std::optional<std::string> sessionId_;
  Json sessionAttributes_;
  Json appInfo_;
  std::optional<std::string> deviceId_;
  Json userAttributes_;
};

std::shared_ptr<vlq::VLQSurveyResponseModel> record(FuzzInput& input) {
  const std::uint8_t flags = input.byte();
  if (flags == 0xFF) return nullptr;
  auto made = std::make_shared<vlq::VLQSurveyResponseModel>();
  made->setIsAnswered(flags & 1);
  if (flags & 2) made->setQuestionId(input.number<std::int32_t>());
  made->setAnswer(input.text());
  for (int count = input.byte() % 8; count > 0; --count) {
    const std::uint8_t kind = input.byte() % 4;
    if (kind == 0) {
      made->answers().emplace_back(input.number<std::int64_t>());
    } else if (kind == 1) {
      made->answers().emplace_back(std::shared_ptr<vlq::VLQChoiceModel>());
    } else {
      auto choice = std::make_shared<vlq::VLQChoiceModel>();
      choice->setSurveyId(value(input));
      choice->setIsOther(kind == 3);
      made->answers().emplace_back(std::move(choice));
    }
  }
  return made;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  const Json surveyId = value(input);
  const double launchTime = input.number<double>();
  const double now = input.number<double>();
  InputHost host(input);
  vlq::VLQSurveyResponseModels records;
  for (int count = input.byte() % 6; count > 0; --count)
    records.push_back(record(input));

  bool completed = true;
  const Json body = vlq::buildSubmissionBody(surveyId, records, completed, launchTime, now, host);

  vlq::fuzz::requireSubmissionBody(body);
  const Json& responses = body.at("responses");
  std::size_t present = 0;
  bool allAnswered = true;
  for (const auto& made : records) {
    if (!made) continue;
    const Json& response = responses.at(present++);
    require(response.at("answers").is_array());
    require(response.contains("others") == !made->answers().empty());
    allAnswered = allAnswered && made->isAnswered();
  }
  require(responses.size() == present && body.at("is_completed") == allAnswered);
  require(body.at("launch_time").is_number_integer());
  body.dump(-1, ' ', false, Json::error_handler_t::replace);
  return 0;
}

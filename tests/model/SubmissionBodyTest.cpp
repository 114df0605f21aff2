#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "model/SubmissionBody.h"

namespace vlq {
namespace {

class HostWithValues : public VLQController {
 public:
  VLQSession session() override { return VLQSession("sess-9", Json{{"screen", "home"}}); }
  VLQApplicationInfo appInfo() override {
    return VLQApplicationInfo(Json{{"app_version", "4.2.0"}, {"build", 7}});
  }
  std::optional<std::string> getDeviceID() override { return "dev-1"; }
  VLQUser user() override { return VLQUser(Json{{"plan", "pro"}}); }
};

std::shared_ptr<VLQChoiceModel> makeChoice(const char* id, bool isOther = false) {
  return VLQChoiceModel::initWithChioceDictionary(
      {{"id", id}, {"value", id}, {"is_other", isOther}});
}

std::shared_ptr<VLQSurveyResponseModel> answered(std::int32_t questionId,
                                                 std::vector<VLQAnswer> answers,
                                                 std::string otherText = "") {
  auto record = std::make_shared<VLQSurveyResponseModel>();
  record->setQuestionId(questionId);
  record->setAnswers(std::move(answers));
  record->setAnswer(std::move(otherText));
  record->setIsAnswered(true);
  return record;
}

std::string responsesOf(const VLQSurveyResponseModels& records, bool& completed) {
  return buildResponses(records, completed).dump();
}

TEST(SubmissionBodyTest, ResponsesForEachKindOfAnswer) {
  const auto c1 = makeChoice("c1");
  const auto c9 = makeChoice("c9", true);
  const std::pair<std::shared_ptr<VLQSurveyResponseModel>, std::string> cases[] = {
      {answered(7, {c1}), R"({"question_id":7,"answers":["c1"],"others":[]})"},
      {answered(8, {c9}, "late"),
       R"({"question_id":8,"answers":["c9"],"others":[{"answer":"late","id":"c9"}]})"},
      {answered(9, {std::int64_t{4}}), R"({"question_id":9,"answers":[4],"others":[]})"},
      {answered(10, {c1, c9, c9}, "twice"),
       R"({"question_id":10,"answers":["c1","c9","c9"],"others":[{"answer":"twice","id":"c9"},)"
       R"({"answer":"twice","id":"c9"}]})"},
      // A choice whose "id" is JSON null sends that null, in both lists.
      {answered(12,
                {VLQChoiceModel::initWithChioceDictionary(
                    {{"id", nullptr}, {"value", "Other"}, {"is_other", true}})},
                "x"),
       R"({"question_id":12,"answers":[null],"others":[{"answer":"x","id":null}]})"},
      // Touched and then cleared: answered, but no answers and so no "others".
      {answered(11, {}), R"({"question_id":11,"answers":[]})"},
  };
  for (const auto& [record, expected] : cases) {
    bool completed = true;
    EXPECT_EQ(responsesOf({record}, completed), "[" + expected + "]");
    EXPECT_TRUE(completed);
  }
}

TEST(SubmissionBodyTest, AnUntouchedQuestionHasNoIdAndClearsCompletion) {
  bool completed = true;
  const auto untouched = std::make_shared<VLQSurveyResponseModel>();
  EXPECT_EQ(responsesOf({answered(1, {makeChoice("a")}), untouched}, completed),
            R"([{"question_id":1,"answers":["a"],"others":[]},{"answers":[]}])");
  EXPECT_FALSE(completed);

  // Once cleared it stays cleared, whatever the later records hold.
  EXPECT_EQ(responsesOf({answered(2, {std::int64_t{5}})}, completed),
            R"([{"question_id":2,"answers":[5],"others":[]}])");
  EXPECT_FALSE(completed);
}

TEST(SubmissionBodyTest, WholeBodyInKeyOrderWithTheHostsValues) {
  HostWithValues host;
  bool completed = true;
  const Json body = buildSubmissionBody("s1", {answered(7, {makeChoice("c1")})}, completed,
                                        1'700'000'000'000.0, 1'700'000'012.5, host);
  EXPECT_EQ(body.dump(),
            R"({"survey_id":"s1","session_id":"sess-9",)"
            R"("responses":[{"question_id":7,"answers":["c1"],"others":[]}],"is_completed":true,)"
            R"("app_version":"4.2.0","device_uuid":"dev-1","time_taken":12.5,)"
            R"("launch_time":1700000000000,"user_attributes":{"plan":"pro"},)"
            R"("session_attributes":{"screen":"home"}})");
}

TEST(SubmissionBodyTest, EmptyValuesAreLeftOut) {
  VLQController nullHost;
  bool completed = true;
  const Json body =
      buildSubmissionBody(missingValue(), {std::make_shared<VLQSurveyResponseModel>()}, completed,
                          1000.0, 3.0, nullHost);
  EXPECT_EQ(
      body.dump(),
      R"({"responses":[{"answers":[]}],"is_completed":false,"time_taken":2.0,"launch_time":1000})");
}

TEST(SubmissionBodyTest, TimeTakenIsRoundedToSinglePrecision) {
  EXPECT_EQ(timeTakenSeconds(1'700'000'000'000.0, 1'700'000'012.5), 12.5f);
  EXPECT_EQ(timeTakenSeconds(0.0, 1e300), std::numeric_limits<float>::infinity());
  EXPECT_TRUE(std::isnan(timeTakenSeconds(std::nan(""), 1.0)));

  HostWithValues host;
  bool completed = true;
  const Json body = buildSubmissionBody("s", {}, completed, 0.0, 0.1, host);
  EXPECT_EQ(body["time_taken"].get<double>(), static_cast<double>(0.1f));
}

TEST(SubmissionBodyTest, LaunchTimeTruncatesTowardZeroAndSaturates) {
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(launchTimeMilliseconds(1'700'000'000'000.9), 1'700'000'000'000);
  EXPECT_EQ(launchTimeMilliseconds(-1.9), -1);
  EXPECT_EQ(launchTimeMilliseconds(std::nan("")), 0);
  EXPECT_EQ(launchTimeMilliseconds(1e300), kMax);
  EXPECT_EQ(launchTimeMilliseconds(-1e300), kMin);
  EXPECT_EQ(launchTimeMilliseconds(-9223372036854775808.0), kMin);
}

}  // namespace
}  // namespace vlq

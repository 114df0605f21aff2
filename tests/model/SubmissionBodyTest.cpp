#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "model/SubmissionBody.h"

namespace vlq {
namespace {

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
      // A choice, an Other with its text and a rating are in every scenario's post.
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

// The whole body with every host value, in key order, is checked by the end-to-end scenarios'
// posts.
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

  VLQController host;
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

// Configuration documents come from a server: every shape of bad input must leave the model API
// without an exception and keep every valid sibling.

#include <gtest/gtest.h>

#include <string>

#include "model/DialogConfig.h"
#include "model/VLQQuestionsModel.h"
#include "support/LogCapture.h"

namespace vlq {
namespace {

const Json kValidQuestion = {{"id", "1"},
                             {"title", "Valid"},
                             {"answer_mode", "single_choice"},
                             {"choices", Json::array({{{"id", "c1"}, {"value", "Yes"}}})}};

std::vector<std::string> titles(const VLQQuestionsModel& model) {
  std::vector<std::string> result;
  for (const auto& question : model.questionsArray())
    result.push_back(describe(question->questionTitle()));
  return result;
}

TEST(MalformedConfigurationTest, ContainersOfTheWrongTypeReadAsMissing) {
  testing::LogCapture quiet(2);
  for (const Json& ui :
       {Json("ui"), Json(5), Json::array({kValidQuestion}), Json(), Json{{"questions", "x"}},
        Json{{"questions", 5}}, Json{{"questions", {{"0", kValidQuestion}}}}}) {
    EXPECT_TRUE(VLQQuestionsModel::initWithQuestionDictinary(ui)->questionsArray().empty())
        << ui.dump();
    EXPECT_FALSE(DialogConfig::initWith(ui)->isRoundButton().has_value()) << ui.dump();
  }
  for (const Json& dialog : {Json("circle"), Json(1), Json::array({"circle"})}) {
    EXPECT_FALSE(DialogConfig::initWith({{"dialog_config", dialog}})->isRoundButton().has_value());
  }

  // Bad questions and bad choices beside good ones: only the bad ones go.
  Json choiceless = kValidQuestion;
  choiceless["choices"] = 5;
  Json ratingWithBadChoices = {{"title", "Rate"}, {"answer_mode", "rating"}, {"choices", "none"}};
  Json mixedChoices = kValidQuestion;
  mixedChoices["title"] = "Mixed";
  mixedChoices["choices"] =
      Json::array({7, "c", nullptr, Json::array(), {{"id", "c2"}, {"value", "Ok"}}});
  const Json ui = {
      {"questions", Json::array({5, "question", nullptr, Json::array({kValidQuestion}), choiceless,
                                 ratingWithBadChoices, mixedChoices, kValidQuestion})}};
  const auto model = VLQQuestionsModel::initWithQuestionDictinary(ui);
  EXPECT_EQ(titles(*model), (std::vector<std::string>{"Rate", "Mixed", "Valid"}));
  ASSERT_EQ(model->questionsArray()[1]->choicesArray().size(), 1u);
  EXPECT_EQ(model->questionsArray()[1]->choicesArray()[0]->surveyId(), "c2");
}

TEST(MalformedConfigurationTest, ScalarsOfTheWrongTypeAreKeptAsTheyStand) {
  const Json question = {
      {"id", {{"nested", true}}},
      {"title", 42},
      {"answer_mode", 3},
      {"is_required", "yes"},
      {"randomize_choices", Json::array({1})},
      {"choices", Json::array({{{"id", 9}, {"value", Json::array({"v"})}, {"is_other", "0"}}})}};
  const auto model = VLQQuestionModel::initWithQuestionDictinary(question);
  ASSERT_NE(model, nullptr);
  EXPECT_EQ(model->questionTitle(), 42);
  EXPECT_EQ(model->questionId(), question["id"]);
  EXPECT_TRUE(model->is_required());
  EXPECT_FALSE(model->randomizeChoices());
  ASSERT_EQ(model->choicesArray().size(), 1u);
  EXPECT_EQ(model->choicesArray()[0]->surveyId(), 9);
  EXPECT_FALSE(model->choicesArray()[0]->isOther());
}

}  // namespace
}  // namespace vlq

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "model/DialogConfig.h"
#include "model/VLQQuestionsModel.h"
#include "support/LogCapture.h"

namespace vlq {
namespace {

using testing::LogCapture;

const std::string kDiscardLine =
    "<VLQ DEBUG> Discarding question with empty options "
    "-[VLQQuestionModel initWithQuestionDictinary:]:36\n";

Json choice(const char* id, const char* value) {
  return {{"id", id}, {"value", value}};
}

TEST(ConfigurationTest, QuestionsKeepTheirOrderAndFieldsAndDropTheBadOnes) {
  const Json ui = Json::parse(R"({
    "questions": [
      {"id": "7", "title": "How was it?", "answer_mode": "single_choice", "is_required": true,
       "randomize_choices": "1",
       "choices": [{"id": "c1", "value": "Fine"}, {"id": "c2", "value": ""}, {"value": "No id"},
                   {"id": null, "value": "Null id"}, {"id": "c5", "value": null},
                   {"id": "c9", "value": "Other", "is_other": 1}]},
      {"id": "8", "title": "", "answer_mode": "rating"},
      {"title": "Rate us", "answer_mode": "rating", "choices": []},
      {"id": "9", "title": "Pick", "answer_mode": "multi_choice", "choices": []},
      {"id": "10", "title": null, "answer_mode": "rating"}
    ]})");
  LogCapture capture(0);
  const auto model = VLQQuestionsModel::initWithQuestionDictinary(ui);

  ASSERT_EQ(model->questionsArray().size(), 3u);
  const auto& first = *model->questionsArray()[0];
  EXPECT_EQ(first.questionId(), "7");
  EXPECT_EQ(first.questionTitle(), "How was it?");
  EXPECT_EQ(first.answerMode(), "single_choice");
  EXPECT_TRUE(first.is_required());
  EXPECT_TRUE(first.randomizeChoices());
  EXPECT_FALSE(first.is_Answered());
  EXPECT_FALSE(first.isOtherSelected());
  // A key present with null is there: only an absent or empty "value" and an absent "id" drop.
  ASSERT_EQ(first.choicesArray().size(), 4u);
  EXPECT_EQ(first.choicesArray()[0]->surveyId(), "c1");
  EXPECT_EQ(first.choicesArray()[0]->surveyValue(), "Fine");
  EXPECT_FALSE(first.choicesArray()[0]->isOther());
  EXPECT_TRUE(first.choicesArray()[1]->surveyId().is_null());
  EXPECT_TRUE(first.choicesArray()[2]->surveyValue().is_null());
  EXPECT_TRUE(first.choicesArray()[3]->isOther());
  EXPECT_FALSE(first.choicesArray()[3]->isAnswered());

  // A rating question without choices is kept, even without an id; the empty title and the
  // choice question without choices are dropped, and only the latter writes a line.
  const auto& rating = *model->questionsArray()[1];
  EXPECT_TRUE(isMissing(rating.questionId()));
  EXPECT_TRUE(rating.choicesArray().empty());
  EXPECT_FALSE(rating.is_required());
  EXPECT_TRUE(model->questionsArray()[2]->questionTitle().is_null());
  EXPECT_EQ(capture.lines(), std::vector<std::string>{kDiscardLine});
}

TEST(ConfigurationTest, DiscardLineFollowsTheLogLevel) {
  const Json question = {{"title", "Pick"},
                         {"answer_mode", "single_choice"},
                         {"choices", Json::array({choice("c1", "")})}};
  for (const std::uint64_t level : {0ull, 1ull, 2ull, ~0ull}) {
    LogCapture capture(level);
    EXPECT_EQ(VLQQuestionModel::initWithQuestionDictinary(question), nullptr);
    EXPECT_EQ(capture.lines().size(), level <= 1 ? 1u : 0u) << "LOG_LEVEL " << level;
  }
}

TEST(ConfigurationTest, QuestionIndexRule) {
  Json questions = Json::array();
  for (const char* title : {"One", "Two", "Three"}) {
    questions.push_back({{"title", title}, {"answer_mode", "rating"}});
  }
  const auto model = VLQQuestionsModel::initWithQuestionDictinary({{"questions", questions}});

  EXPECT_EQ(model->getQuestionForIndexPath(2), model->questionsArray()[2]);
  for (const std::int32_t outside : {5, -1, std::numeric_limits<std::int32_t>::min(),
                                     std::numeric_limits<std::int32_t>::max()}) {
    const auto empty = model->getQuestionForIndexPath(outside);
    ASSERT_NE(empty, nullptr) << outside;
    EXPECT_TRUE(isMissing(empty->questionTitle()));
    EXPECT_TRUE(empty->choicesArray().empty());
  }
  EXPECT_THROW(model->getQuestionForIndexPath(3), std::out_of_range);
  const auto none = VLQQuestionsModel::initWithQuestionDictinary(Json::object());
  EXPECT_THROW(none->getQuestionForIndexPath(0), std::out_of_range);
}

TEST(ConfigurationTest, DialogConfigReadsTextsAndTheExactCircleButtonType) {
  const Json ui = Json::parse(R"({"dialog_config": {"button_type": "circle", "yes_text": "Sure",
    "no_text": "Later", "title": "Quick survey", "description": "Two minutes"}})");
  const auto config = DialogConfig::initWith(ui);
  EXPECT_EQ(config->buttonType(), "circle");
  EXPECT_EQ(config->yesText(), "Sure");
  EXPECT_EQ(config->noText(), "Later");
  EXPECT_EQ(config->title(), "Quick survey");
  EXPECT_EQ(config->surveyDescription(), "Two minutes");
  EXPECT_EQ(config->isRoundButton(), true);
  EXPECT_FALSE(config->questionsArray().has_value());

  for (const Json& buttonType : {Json("Circle"), Json("circle "), Json("rect"), Json(1), Json()}) {
    const auto other = DialogConfig::initWith({{"dialog_config", {{"button_type", buttonType}}}});
    EXPECT_EQ(other->isRoundButton(), false) << buttonType.dump();
    EXPECT_TRUE(isMissing(other->yesText()));
  }
  for (const Json& noDialog : {Json::object(), Json{{"dialog_config", nullptr}}}) {
    const auto none = DialogConfig::initWith(noDialog);
    EXPECT_FALSE(none->isRoundButton().has_value()) << noDialog.dump();
    EXPECT_TRUE(isMissing(none->buttonType()));
  }
}

}  // namespace
}  // namespace vlq

// Configuration documents come from a server: every shape of bad input must leave the model API
// without an exception and keep every valid sibling.

#include <gtest/gtest.h>

#include <random>
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

TEST(MalformedConfigurationTest, HugeStringsAndDeepNestingSurvive) {
  const std::string huge(4 << 20, 'x');
  Json deep = "bottom";
  for (int depth = 0; depth < 400; ++depth)
    deep = Json::array({deep, Json::object({{"k", depth}})});

  Json question = kValidQuestion;
  question["title"] = huge;
  question["choices"].push_back({{"id", deep}, {"value", huge}});
  question["extra"] = deep;
  const Json ui = {{"questions", Json::array({question, kValidQuestion})},
                   {"dialog_config", {{"title", deep}}}};

  const auto model = VLQQuestionsModel::initWithQuestionDictinary(ui);
  ASSERT_EQ(model->questionsArray().size(), 2u);
  EXPECT_EQ(model->questionsArray()[0]->questionTitle().get_ref<const std::string&>().size(),
            huge.size());
  EXPECT_EQ(model->questionsArray()[0]->choicesArray()[1]->surveyId(), deep);
  EXPECT_EQ(DialogConfig::initWith(ui)->title(), deep);
}

// Random values of every JSON type, nested a few levels.
Json randomValue(std::mt19937& random, int depth) {
  std::uniform_int_distribution<int> kind(0, depth > 2 ? 6 : 8);
  switch (kind(random)) {
    case 0:
      return nullptr;
    case 1:
      return random() % 2 == 0;
    case 2:
      return static_cast<std::int64_t>(random()) - (1ll << 31);
    case 3:
      return std::uniform_real_distribution<double>(-1e12, 1e12)(random);
    case 4:
      return "";
    case 5:
      return std::to_string(random() % 4);
    case 6: {
      static const char* const kWords[] = {"single_choice", "multi_choice", "rating",
                                           "circle",        "Other",        "x"};
      return kWords[random() % 6];
    }
    case 7: {
      Json array = Json::array();
      for (unsigned i = random() % 4; i > 0; --i)
        array.push_back(randomValue(random, depth + 1));
      return array;
    }
    default: {
      static const char* const kKeys[] = {
          "id",        "title",         "value",       "answer_mode",
          "choices",   "is_other",      "is_required", "randomize_choices",
          "questions", "dialog_config", "button_type", "yes_text"};
      Json object = Json::object();
      for (unsigned i = random() % 6; i > 0; --i)
        object[kKeys[random() % 12]] = randomValue(random, depth + 1);
      return object;
    }
  }
}

// Takes a valid document and replaces random nodes with random values.
void mutate(Json& node, std::mt19937& random) {
  if (random() % 5 == 0) {
    node = randomValue(random, 0);
    return;
  }
  if (node.is_object() || node.is_array()) {
    for (auto& child : node)
      mutate(child, random);
  }
}

TEST(MalformedConfigurationTest, RandomlyDamagedDocumentsNeverThrowAndKeepOnlyValidRecords) {
  testing::LogCapture quiet(0);
  const Json valid = Json::parse(R"({
    "dialog_config": {"button_type": "circle", "yes_text": "Yes", "no_text": "No", "title": "T",
                      "description": "D"},
    "questions": [
      {"id": "1", "title": "Q1", "answer_mode": "single_choice", "is_required": true,
       "choices": [{"id": "a", "value": "A"}, {"id": "o", "value": "Other", "is_other": true}]},
      {"id": "2", "title": "Q2", "answer_mode": "rating"},
      {"id": "3", "title": "Q3", "answer_mode": "multi_choice", "randomize_choices": true,
       "choices": [{"id": "b", "value": "B"}, {"id": "c", "value": "C"}]}
    ]})");
  std::mt19937 random(20261122);
  for (int round = 0; round < 3000; ++round) {
    Json ui = valid;
    mutate(ui, random);
    SCOPED_TRACE(ui.dump());
    std::shared_ptr<VLQQuestionsModel> model;
    ASSERT_NO_THROW(DialogConfig::initWith(ui));
    ASSERT_NO_THROW(model = VLQQuestionsModel::initWithQuestionDictinary(ui));
    for (const auto& question : model->questionsArray()) {
      EXPECT_FALSE(question->questionTitle().is_null());
      EXPECT_FALSE(isEqualToString(question->questionTitle(), ""));
      if (!isEqualToString(question->answerMode(), "rating")) {
        EXPECT_FALSE(question->choicesArray().empty());
      }
      for (const auto& choice : question->choicesArray()) {
        EXPECT_FALSE(choice->surveyId().is_null());
        EXPECT_FALSE(choice->surveyValue().is_null());
        EXPECT_FALSE(isEqualToString(choice->surveyValue(), ""));
      }
    }
  }
}

}  // namespace
}  // namespace vlq

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "LocalHttpServer.h"
#include "host/reference/SamplingHash.h"
#include "host/reference/TargetingEvaluator.h"

namespace vlq::reference {
namespace {

using test::ScratchDirectory;

constexpr double kDay = 86400;

// The evaluator on virtual days, fed what the plug-in would tell the host.
class TargetingMatrixTest : public ::testing::Test {
 protected:
  void SetUp() override { toolkit::setMainRunLoop(loop); }
  void TearDown() override { toolkit::setMainRunLoop(nullptr); }

  void load(const char* document) { evaluator->parseConfiguration(Json::parse(document)); }

  // A trigger for `id`: the plug-in takes it up, its invitation appears, the user accepts (the
  // page opens: the same showing) and the screen is given back.
  void show(const std::string& id) {
    evaluator->triggerRaised();
    evaluator->pluginTraced(TriggerTrace(TriggerStep::Scheduled, id, 0));
    evaluator->appEventLogged("vlq_survey_dialog_launched", {{"survey_id", id}});
    evaluator->appEventLogged("vlq_survey_launched", {{"survey_id", id}});
    evaluator->pluginTraced(TriggerTrace(TriggerStep::Dismissed, id));
    loop->runUntilIdle();
  }
  void answer(const std::string& id) {
    evaluator->responseHandedOver("/v2/api/survey-response?appId=app", {{"survey_id", id}});
  }
  void passDays(double days) { loop->advance(days * kDay); }

  // Each step of the judgement as "id:reason", "id:due" or "none", separated by blanks.
  std::string judge(const std::string& event) {
    std::string text;
    for (const auto& step : evaluator->judge(event).steps) {
      if (!text.empty()) text += " ";
      if (step.kind == TargetingStep::Kind::NoSurveyForEvent) {
        text += "none";
      } else {
        text += step.surveyId + ":" +
                (step.reason ? std::string(notDueReasonName(*step.reason)) : "due");
      }
    }
    return text;
  }

  std::shared_ptr<toolkit::VirtualRunLoop> loop = std::make_shared<toolkit::VirtualRunLoop>();
  ScratchDirectory library;
  std::shared_ptr<TargetingEvaluator> evaluator =
      std::make_shared<TargetingEvaluator>(library.file("history.sqlite"), "device-1",
                                           Json{{"plan", "pro"}, {"country", "NZ"}}, nullptr);
};

TEST_F(TargetingMatrixTest, EachDisplayRuleCountsShowingsAndAnswersOverTheDays) {
  load(R"({"configs": [
    {"_id": "once", "targeting": {"events": ["e-once"], "display": "once"}},
    {"_id": "until", "targeting": {"events": ["e-until"]}},
    {"_id": "two", "targeting": {"events": ["e-two"], "display": "limited", "limit": 2}},
    {"_id": "zero", "targeting": {"events": ["e-zero"], "display": "limited", "limit": 0}},
    {"_id": "always", "targeting": {"events": ["e-always"], "display": "always"}},
    {"_id": "odd", "targeting": {"events": ["e-odd"], "display": "sometimes"}}]})");

  EXPECT_EQ(judge("e-once"), "once:due");
  show("once");
  passDays(400);
  EXPECT_EQ(judge("e-once"), "once:shown-before");

  // Shown, not answered: due again; answered: never again.
  show("until");
  EXPECT_EQ(judge("e-until"), "until:due");
  answer("until");
  passDays(30);
  EXPECT_EQ(judge("e-until"), "until:answered");

  // One trigger is one showing, though its invitation and its page both appeared.
  show("two");
  EXPECT_EQ(judge("e-two"), "two:due");
  show("two");
  passDays(365);
  EXPECT_EQ(judge("e-two"), "two:limit-reached");
  EXPECT_EQ(judge("e-zero"), "zero:limit-reached");

  for (int time = 0; time < 3; ++time) {
    show("always");
    answer("always");
  }
  EXPECT_EQ(judge("e-always"), "always:due");

  // An unknown rule reads as the default.
  answer("odd");
  EXPECT_EQ(judge("e-odd"), "odd:answered");
}

TEST_F(TargetingMatrixTest, AShowingHoldsOtherTargetedSurveysBackForTheirWaitingPeriod) {
  load(R"({"recontact_days": 7, "configs": [
    {"_id": "a", "targeting": {"events": ["a"], "display": "always"}},
    {"_id": "b", "targeting": {"events": ["b"]}},
    {"_id": "no-wait", "targeting": {"events": ["c"], "recontact_days": 0}},
    {"_id": "month", "targeting": {"events": ["d"], "recontact_days": 30}},
    {"_id": "plain"}]})");

  EXPECT_EQ(judge("b"), "b:due");
  show("a");
  // The waiting period keeps other surveys away, not the one shown.
  EXPECT_EQ(judge("a"), "a:due");
  EXPECT_EQ(judge("b"), "b:recontact-wait");
  EXPECT_EQ(judge("c"), "no-wait:due");
  EXPECT_EQ(judge("d"), "month:recontact-wait");

  passDays(6.99);
  EXPECT_EQ(judge("b"), "b:recontact-wait");
  passDays(0.01);
  EXPECT_EQ(judge("b"), "b:due");
  EXPECT_EQ(judge("d"), "month:recontact-wait");
  passDays(23);
  EXPECT_EQ(judge("d"), "month:due");

  // A survey without targeting, shown at the application's own request, starts no wait; a
  // targeted one does, whoever triggered it.
  show("plain");
  EXPECT_EQ(judge("b"), "b:due");
  show("no-wait");
  EXPECT_EQ(judge("b"), "b:recontact-wait");
}

TEST_F(TargetingMatrixTest, RulesAreCheckedInOrderAndEachSurveyJudgedGivesOneStep) {
  load(R"({"recontact_days": 1, "configs": [
    {"_id": "elsewhere", "targeting": {"events": ["go"], "sample_percent": 0,
                                       "attributes": {"country": "AU"}}},
    {"_id": "sampled", "targeting": {"events": ["go"], "sample_percent": 0,
                                     "attributes": {"country": "NZ"}}},
    {"_id": "seen", "targeting": {"events": ["go"], "display": "once"}},
    {"_id": "done", "targeting": {"events": ["go"]}},
    {"_id": "enough", "targeting": {"events": ["go"], "display": "limited", "limit": 1}},
    {"_id": "waiting", "targeting": {"events": ["go"], "display": "always"}},
    {"_id": "due", "targeting": {"events": ["go"], "recontact_days": 0}},
    {"_id": "after", "targeting": {"events": ["go"]}},
    {"_id": "due", "targeting": {"events": ["other"]}},
    {"_id": 5, "targeting": {"events": ["go"]}}]})");
  show("seen");
  show("done");
  answer("done");
  show("enough");

  EXPECT_EQ(judge("go"),
            "elsewhere:attributes sampled:sampled-out seen:shown-before done:answered "
            "enough:limit-reached waiting:recontact-wait due:due");
  // A survey is judged by its first targeted entry alone; no one listens for "nothing".
  EXPECT_EQ(judge("other"), "none");
  EXPECT_EQ(judge("nothing"), "none");

  // Busy comes first, from the plug-in taking a trigger up until the main queue has finished
  // giving the screen back.
  evaluator->triggerRaised();
  evaluator->pluginTraced(TriggerTrace(TriggerStep::Scheduled, "due", 6));
  EXPECT_EQ(judge("go"),
            "elsewhere:busy sampled:busy seen:busy done:busy enough:busy waiting:busy due:busy "
            "after:busy");
  evaluator->pluginTraced(TriggerTrace(TriggerStep::Dismissed, "due"));
  EXPECT_EQ(judge("other"), "none");
  EXPECT_EQ(judge("go").substr(0, 14), "elsewhere:busy");
  loop->runUntilIdle();
  EXPECT_EQ(judge("go").substr(0, 20), "elsewhere:attributes");
}

TEST_F(TargetingMatrixTest, ATriggerCountsOneShowingWhateverAppearsAndTriggersDuringItStartNone) {
  load(R"({"configs": [{"_id": "s", "targeting": {"events": ["e"], "display": "limited",
                                                  "limit": 2}}]})");
  evaluator->triggerRaised();
  evaluator->pluginTraced(TriggerTrace(TriggerStep::Scheduled, "s", 0));
  evaluator->pluginTraced(TriggerTrace(TriggerStep::Scheduled, "s", 1));
  evaluator->appEventLogged("vlq_survey_dialog_launched", {{"survey_id", "s"}});
  // A second trigger while the first is in action: the plug-in ignores it.
  evaluator->triggerRaised();
  evaluator->pluginTraced(TriggerTrace(TriggerStep::Busy, "s"));
  evaluator->appEventLogged("vlq_survey_dialog_launched", {{"survey_id", "s"}});
  evaluator->appEventLogged("vlq_survey_launched", {{"survey_id", "s"}});
  evaluator->appEventLogged("vlq_survey_skip_button_clicked", {{"survey_id", "s"}});
  evaluator->pluginTraced(TriggerTrace(TriggerStep::Dismissed, "s"));
  loop->runUntilIdle();
  EXPECT_EQ(evaluator->history().records().at("s").history.showings, 1);
  EXPECT_EQ(judge("e"), "s:due");

  // Only bodies posted to the survey-response path are answers.
  evaluator->responseHandedOver("/v2/api/other", {{"survey_id", "s"}});
  evaluator->responseHandedOver("/v2/api/survey-response?appId=a", {{"survey_id", 5}});
  EXPECT_FALSE(evaluator->history().records().at("s").history.answered);
}

TEST(SamplingTest, TheHashIsMurmurHash3AndTheBucketOfADeviceAndSurveyNeverChanges) {
  // Published vectors of MurmurHash3_x86_32: any other build or byte order would differ.
  EXPECT_EQ(murmurHash3x86_32("", 0), 0u);
  EXPECT_EQ(murmurHash3x86_32("", 1), 0x514E28B7u);
  EXPECT_EQ(murmurHash3x86_32(std::string_view("\0\0\0\0", 4), 0), 0x2362F9DEu);
  EXPECT_EQ(murmurHash3x86_32("a", 0x9747b28c), 0x7FA09EA6u);
  EXPECT_EQ(murmurHash3x86_32("Hello, world!", 0x9747b28c), 0x24884CBAu);
  EXPECT_EQ(murmurHash3x86_32("The quick brown fox jumps over the lazy dog", 0x9747b28c),
            0x2FA826CDu);
  // The worked example of the documentation, for a service to check its own implementation.
  EXPECT_EQ(murmurHash3x86_32("device-e2e:nps", 0), 2924567539u);
  EXPECT_DOUBLE_EQ(samplingBucket("device-e2e", "nps"), 75.39);
  EXPECT_TRUE(inSample("device-e2e", "nps", 75.4));
  EXPECT_FALSE(inSample("device-e2e", "nps", 75.39));
  EXPECT_EQ(inSample("d", "s", 0), false);
  EXPECT_EQ(inSample("d", "s", 100), true);
}

TEST(SamplingTest, TenThousandDevicesLandWithinOneAndAHalfPointsOfEachShare) {
  std::vector<std::string> devices;
  for (int index = 0; index < 10000; ++index)
    devices.push_back("device-" + std::to_string(index));
  for (const double percent : {1.0, 10.0, 25.0, 33.3, 50.0, 90.0}) {
    for (const char* survey : {"nps", "checkout-feedback"}) {
      int inside = 0;
      for (const auto& device : devices) {
        if (inSample(device, survey, percent)) {
          ++inside;
          // A device in a sample is in every larger one.
          EXPECT_TRUE(inSample(device, survey, percent + 5)) << device;
        }
      }
      EXPECT_NEAR(inside / 100.0, percent, 1.5) << survey << " at " << percent << "%";
    }
  }
  // Surveys sample independently: half of one half is about a quarter.
  int both = 0;
  for (const auto& device : devices)
    both += inSample(device, "nps", 50) && inSample(device, "checkout-feedback", 50);
  EXPECT_NEAR(both / 100.0, 25, 1.5);
}

TEST(AttributesTest, EveryRequiredAttributeMustHoldAnAcceptedValueOfTheSameType) {
  const Json user = Json::parse(R"({"plan": "pro", "seats": 5, "beta": true, "region": null,
                                     "tags": ["a", "b"]})");
  const struct {
    const char* required;
    bool matches;
  } cases[] = {
      {R"({})", true},
      {R"({"plan": "pro"})", true},
      {R"({"plan": ["plus", "pro"], "seats": 5, "beta": true})", true},
      {R"({"seats": 5.0})", true},
      {R"({"region": null})", true},
      {R"({"tags": [["a", "b"]]})", true},
      {R"({"plan": "Pro"})", false},
      {R"({"plan": ["plus"]})", false},
      {R"({"plan": []})", false},
      {R"({"seats": "5"})", false},
      {R"({"beta": 1})", false},
      {R"({"beta": "true"})", false},
      {R"({"country": "NZ"})", false},
      {R"({"country": null})", false},
      {R"({"plan": "pro", "country": "NZ"})", false},
      {R"({"tags": "a"})", false},
      {R"(["plan"])", false},
      {R"("pro")", false},
  };
  for (const auto& test : cases) {
    EXPECT_EQ(attributesMatch(Json::parse(test.required), user), test.matches) << test.required;
  }
  EXPECT_FALSE(attributesMatch(Json::parse(R"({"plan": "pro"})"), Json::array()));
  EXPECT_TRUE(attributesMatch(Json::object(), missingValue()));
}

}  // namespace
}  // namespace vlq::reference

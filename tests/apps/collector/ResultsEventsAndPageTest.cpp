// The collector's intake of uploaded events, and the results page as HTML.

#include <regex>

#include "ResultsFixture.h"

namespace vlq::collector::test {
namespace {

using ResultsEventsTest = ResultsFixture;
using ResultsPageTest = ResultsFixture;

constexpr const char* kDocument = R"({"configs": [
  {"_id": "s<1>", "ui": {"dialog_config": {"title": "Tell us <b>"}, "questions": [
    {"id": "1", "title": "Pick <script>alert(1)</script>", "answer_mode": "single_choice",
     "choices": [{"id": "a", "value": "A & B"}, {"id": "o", "value": "Other", "is_other": true}]},
    {"id": "2", "title": "Rate", "answer_mode": "rating"}]}},
  {"_id": "quiet", "ui": {"questions": []}}]})";

std::int64_t launched(ResultsFixture& fixture, const std::string& appId) {
  return fixture.getJson("/v2/api/results?appId=" + appId + "&survey=s1")["funnel"]["launched"];
}

TEST_F(ResultsEventsTest, ABatchIsStoredOncePerAppAndKeyAndAnotherBodyUnderAKeyIsRefused) {
  start(R"({"configs": []})");
  const Json batch = Json::array(
      {event("vlq_survey_launched", "s1", kMay1), event("vlq_survey_launched", "s1", kMay1 + 1)});
  auto first = postEvents("a", batch, "k-1");
  ASSERT_TRUE(first);
  EXPECT_EQ(first->status, 200);
  EXPECT_EQ(Json::parse(first->body), Json::parse(R"({"stored": 2, "skipped": 0})"));

  auto again = postEvents("a", batch, "k-1");  // the answer was lost; the host sends it again
  ASSERT_TRUE(again);
  EXPECT_EQ(again->status, 200);
  EXPECT_EQ(Json::parse(again->body)["stored"], 2);
  EXPECT_EQ(launched(*this, "a"), 2);

  EXPECT_EQ(
      postEvents("a", Json::array({event("vlq_survey_launched", "s1", kMay1)}), "k-1")->status,
      409);
  EXPECT_EQ(postEvents("b", batch, "k-1")->status, 200);  // keys are each app's own
  EXPECT_EQ(postEvents("a", batch)->status, 200);         // without a key, stored each time
  EXPECT_EQ(launched(*this, "a"), 4);
  EXPECT_EQ(launched(*this, "b"), 2);
  EXPECT_EQ(postEvents("a", batch, std::string(256, 'k'))->status, 400);
}

TEST_F(ResultsEventsTest, WhatIsNoBatchIsRefusedAndWhatIsNoEventIsLeftOut) {
  start(R"({"configs": []})");
  httplib::Client client(baseUrl());
  for (const std::string body : {"", "[]", "{}", R"({"events": {}})", R"({"events": "x"})"}) {
    auto result = client.Post("/v2/api/events?appId=a", body, "application/json");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 400) << body;
  }
  Json tooMany = Json::array();
  for (int i = 0; i < 1001; ++i)
    tooMany.push_back(event("vlq_survey_launched", "s1", kMay1));
  EXPECT_EQ(postEvents("a", tooMany)->status, 400);

  // Elements without a name are left out; an event without a time happened when it arrived.
  auto result = postEvents(
      "a", Json::array({5, Json{{"info", {{"survey_id", "s1"}}}}, Json{{"name", ""}},
                        Json{{"name", "vlq_survey_launched"}, {"info", {{"survey_id", "s1"}}}},
                        Json{{"name", "vlq_survey_launched"}, {"info", "not an object"}}}));
  ASSERT_TRUE(result);
  EXPECT_EQ(Json::parse(result->body), Json::parse(R"({"stored": 2, "skipped": 3})"));
  EXPECT_EQ(launched(*this, "a"), 1);
  EXPECT_EQ(get("/v2/api/events?appId=a")->status, 405);
}

TEST_F(ResultsPageTest, ThePageListsTheSurveysAndShowsTheChosenOneWithEveryTextEscaped) {
  storeReceived(
      "app", "2024-05-01T10:00:00.000Z",
      {{"survey_id", "s<1>"},
       {"responses",
        Json::array({Json{{"question_id", 1},
                          {"answers", {"o"}},
                          {"others", Json::array({Json{{"answer", "<img src=x onerror=alert(1)>"},
                                                       {"id", "o"}}})}}})}});
  storeReceived("app", "2024-05-01T11:00:00.000Z", {{"survey_id", "only-in-data"}});
  start(kDocument);

  auto page = get("/results?appId=app");
  ASSERT_TRUE(page);
  EXPECT_EQ(page->status, 200);
  EXPECT_EQ(page->get_header_value("Content-Type"), "text/html; charset=utf-8");
  EXPECT_NE(page->get_header_value("Content-Security-Policy").find("default-src 'none'"),
            std::string::npos);
  const std::string& html = page->body;
  // The document's surveys in its order, then those known from data only; the first is shown.
  const auto first = html.find(">s&lt;1&gt;</a>");
  const auto quiet = html.find(">quiet</a>");
  const auto dataOnly = html.find(">only-in-data</a>");
  ASSERT_NE(first, std::string::npos);
  EXPECT_LT(first, quiet);
  EXPECT_LT(quiet, dataOnly);
  EXPECT_NE(html.find("aria-current=\"page\">s&lt;1&gt;"), std::string::npos);
  // Nothing from the document or a device is markup.
  EXPECT_EQ(html.find("<script"), std::string::npos);
  EXPECT_EQ(html.find("<img"), std::string::npos);
  EXPECT_EQ(html.find("<b>"), std::string::npos);
  EXPECT_NE(html.find("Pick &lt;script&gt;alert(1)&lt;/script&gt;"), std::string::npos);
  EXPECT_NE(html.find("&lt;img src=x onerror=alert(1)&gt;"), std::string::npos);
  EXPECT_NE(html.find("A &amp; B"), std::string::npos);
  EXPECT_NE(html.find("href=\"/v2/api/results.csv?appId=app&amp;survey=s%3C1%3E\""),
            std::string::npos);
  // Every chart is text as well: bars are hidden from screen readers beside their numbers, and
  // the day chart is an image named by its summary.
  const std::regex svg("<svg[^>]*>");
  for (auto it = std::sregex_iterator(html.begin(), html.end(), svg); it != std::sregex_iterator();
       ++it) {
    const std::string tag = it->str();
    const bool hidden = tag.find("aria-hidden=\"true\"") != std::string::npos;
    const bool named =
        tag.find("role=\"img\" aria-labelledby=\"days-summary\"") != std::string::npos;
    EXPECT_TRUE(hidden || named) << tag;
  }
  EXPECT_NE(html.find("id=\"days-summary\">1 response from 2024-05-01 to 2024-05-01"),
            std::string::npos);

  auto chosen = get("/results?appId=app&survey=quiet&from=2024-05-01");
  ASSERT_TRUE(chosen);
  EXPECT_EQ(chosen->status, 200);
  EXPECT_NE(chosen->body.find("aria-current=\"page\">quiet"), std::string::npos);
  EXPECT_NE(chosen->body.find("value=\"2024-05-01\""), std::string::npos);

  auto badDate = get("/results?appId=app&from=2024-02-31");
  ASSERT_TRUE(badDate);
  EXPECT_EQ(badDate->status, 400);
  EXPECT_NE(badDate->body.find("role=\"alert\""), std::string::npos);
  EXPECT_EQ(get("/results?appId=app&survey=missing")->status, 404);
  auto ask = get("/results");
  ASSERT_TRUE(ask);
  EXPECT_EQ(ask->status, 200);
  EXPECT_NE(ask->body.find("name=\"appId\""), std::string::npos);
  auto style = get("/results/style.css");
  ASSERT_TRUE(style);
  EXPECT_EQ(style->get_header_value("Content-Type"), "text/css; charset=utf-8");
  EXPECT_EQ(get("/results/other.css")->status, 404);
}

}  // namespace
}  // namespace vlq::collector::test

// Survey results computed by a collector from known bodies and events: every figure, the date
// filters, a document changed after the responses arrived, and the CSV export.

#include <atomic>
#include <thread>
#include <vector>

#include "ResultsFixture.h"
#include "collector/CalendarDay.h"

namespace vlq::collector::test {
namespace {

const char* const kDocument = R"({"configs": [
  {"_id": "s1", "ui": {"dialog_config": {"title": "Hi"}, "questions": [
    {"id": "1", "title": "Pick one", "answer_mode": "single_choice", "choices": [
      {"id": "a", "value": "Apple"}, {"id": "b", "value": "Banana"},
      {"id": "o", "value": "Other", "is_other": true}]},
    {"id": "2", "title": "Pick many", "answer_mode": "multi_choice", "choices": [
      {"id": "x", "value": "X"}, {"id": "y", "value": "Y"}, {"id": "z", "value": "Z"}]},
    {"id": "9", "title": "", "answer_mode": "rating"},
    {"id": "3", "title": "Rate", "answer_mode": "rating"}]}},
  {"_id": "s2", "ui": {"questions": [{"id": "1", "title": "Q", "answer_mode": "rating"}]}}]})";

// A body as the plug-in posts it: one element per question, in order; an element with answers
// carries its question's id.
Json body(const std::string& surveyId, const Json& responses, double timeTaken) {
  return {{"survey_id", surveyId}, {"session_id", "session"}, {"responses", responses},
          {"is_completed", true},  {"device_uuid", "device"}, {"time_taken", timeTaken}};
}

Json answered(int questionId, const Json& answers, const Json& others = Json::array()) {
  return {{"question_id", questionId}, {"answers", answers}, {"others", others}};
}

// The "others" list of an element whose Other choice `id` came with `text`.
Json other(const std::string& text, const std::string& id) {
  return Json::array({Json{{"answer", text}, {"id", id}}});
}

const Json kUntouched = {{"answers", Json::array()}};

class ResultsTest : public ResultsFixture {
 protected:
  // Five responses of s1 on 1 and 3 May, and others that must not count.
  void storeResponses() {
    storeReceived("app", "2024-05-01T10:00:00.000Z",
                  body("s1",
                       {answered(1, Json::array({"a"})), answered(2, {"x", "y"}),
                        answered(3, Json::array({5}))},
                       10));
    storeReceived("app", "2024-05-01T23:59:59.999Z",
                  body("s1",
                       {answered(1, Json::array({"o"}), other("Cherry", "o")), kUntouched,
                        answered(3, Json::array({4}))},
                       30));
    storeReceived("app", "2024-05-03T00:00:00.000Z",
                  body("s1",
                       {answered(1, {"a", "a"}, other("", "o")), answered(2, Json::array({"x"})),
                        answered(3, Json::array({1}))},
                       20));
    storeReceived(
        "app", "2024-05-03T08:00:00.000Z",
        body("s1", {answered(1, Json::array({"gone"})), kUntouched, answered(3, Json::array({2}))},
             40));
    storeReceived("app", "2024-05-03T09:00:00.000Z", {{"survey_id", "s1"}, {"responses", 7}});
    storeReceived("app", "2024-05-01T10:00:00.000Z",
                  body("s2", Json::array({answered(1, Json::array({3}))}), 5));
    storeReceived("other-app", "2024-05-01T10:00:00.000Z",
                  body("s1", Json::array({answered(1, Json::array({"b"}))}), 50));
  }

  // The funnel's events on 1 to 3 May, with events of other surveys, apps and names.
  void postFunnelEvents() {
    Json events = Json::array();
    const auto add = [&](const char* name, int times, std::int64_t day) {
      for (int i = 0; i < times; ++i)
        events.push_back(event(name, "s1", kMay1 + day * kDay + i));
    };
    add("vlq_survey_dialog_launched", 4, 0);
    add("vlq_survey_dialog_launched", 2, 2);
    add("vlq_surevy_dialog_yes_clicked", 5, 0);
    add("vlq_surevy_dialog_no_clicked", 1, 1);
    add("vlq_survey_launched", 8, 0);
    add("vlq_survey_close_button_clicked", 1, 2);
    add("vlq_survey_completed", 3, 2);
    add("vlq_survey_+Pick one", 2, 0);
    events.push_back(event("vlq_survey_launched", "s2", kMay1));
    ASSERT_EQ(postEvents("app", events)->status, 200);
    ASSERT_EQ(
        postEvents("other-app", Json::array({event("vlq_survey_launched", "s1", kMay1)}))->status,
        200);
  }
};

TEST_F(ResultsTest, EveryFigureOfASurveyFromKnownBodiesAndEvents) {
  storeResponses();
  start(kDocument);
  postFunnelEvents();

  const Json results = getJson("/v2/api/results?appId=app&survey=s1");
  EXPECT_EQ(results["survey_id"], "s1");
  EXPECT_EQ(results["responses"], 5);
  EXPECT_EQ(results["funnel"], Json::parse(R"({"invitations": 6, "accepted": 5, "declined": 1,
                                                "launched": 8, "closed": 1, "completed": 3})"));
  EXPECT_EQ(results["completion_rate"], 0.625);
  EXPECT_EQ(results["median_time_taken"], 25.0);  // of 10, 20, 30 and 40
  EXPECT_EQ(results["per_day"], Json::parse(R"([{"date": "2024-05-01", "responses": 2},
                                                {"date": "2024-05-02", "responses": 0},
                                                {"date": "2024-05-03", "responses": 3}])"));

  // The document's questions in its order; the one without a title is not one the plug-in shows.
  const Json& questions = results["questions"];
  ASSERT_EQ(questions.size(), 3u);
  EXPECT_EQ(questions[0], Json::parse(R"({
    "question_id": "1", "title": "Pick one", "mode": "single_choice", "answered": 4, "skipped": 1,
    "choices": [{"id": "a", "text": "Apple", "count": 2, "percent": 50.0},
                {"id": "b", "text": "Banana", "count": 0, "percent": 0.0},
                {"id": "o", "text": "Other", "count": 1, "percent": 25.0},
                {"id": "gone", "text": null, "count": 1, "percent": 25.0}],
    "others": ["Cherry"]})"));
  EXPECT_EQ(questions[1]["answered"], 2);
  EXPECT_EQ(questions[1]["skipped"], 3);
  EXPECT_EQ(questions[1]["choices"], Json::parse(R"([
    {"id": "x", "text": "X", "count": 2, "percent": 100.0},
    {"id": "y", "text": "Y", "count": 1, "percent": 50.0},
    {"id": "z", "text": "Z", "count": 0, "percent": 0.0}])"));
  EXPECT_EQ(questions[2], Json::parse(R"({
    "question_id": "3", "title": "Rate", "mode": "rating", "answered": 4, "skipped": 1,
    "rating": {"counts": [1, 1, 0, 1, 1], "average": 3.0, "satisfied_percent": 50.0}})"));

  // Another survey of the same app, and a survey with nothing yet.
  const Json other = getJson("/v2/api/results?appId=app&survey=s2");
  EXPECT_EQ(other["responses"], 1);
  EXPECT_EQ(other["funnel"]["launched"], 1);
  EXPECT_EQ(other["questions"][0]["rating"]["counts"], Json::parse("[0, 0, 1, 0, 0]"));
  const Json empty = getJson("/v2/api/results?appId=nobody&survey=s1");
  EXPECT_EQ(empty["responses"], 0);
  EXPECT_EQ(empty["completion_rate"], nullptr);
  EXPECT_EQ(empty["median_time_taken"], nullptr);
  EXPECT_EQ(empty["per_day"], Json::array());
  EXPECT_EQ(empty["questions"][2]["rating"]["average"], nullptr);
}

TEST_F(ResultsTest, ADatabaseWithTheEarlierLayoutOfFactsReadsItsResponsesAgainAndKeepsItsEvents) {
  storeResponses();
  start(kDocument);
  postFunnelEvents();
  const Json counted = getJson("/v2/api/results?appId=app&survey=s1");
  const std::string csv = get("/v2/api/results.csv?appId=app&survey=s1")->body;
  stop();
  // What an earlier version leaves: a table of answers of its own, and counts this one must not
  // add to.
  database.executeOnResults(
      "CREATE TABLE result_answer_values (response_id BIGINT);"
      " UPDATE result_answer_days SET responses = responses + 100");
  // A server that ran for a while has settled every response it holds; read again, the facts
  // must not be taken for settled.
  if (database.onPostgres()) {
    database.executeOnResults(
        "INSERT INTO result_responses_settled (response_id)"
        " SELECT MAX(id) FROM survey_responses");
  }
  start(kDocument);
  EXPECT_EQ(getJson("/v2/api/results?appId=app&survey=s1"), counted);
  EXPECT_EQ(get("/v2/api/results.csv?appId=app&survey=s1")->body, csv);
}

TEST_F(ResultsTest, DatesFilterResponsesByArrivalAndEventsByWhenTheyHappenedBothEndsIncluded) {
  storeResponses();
  start(kDocument);
  postFunnelEvents();

  const Json first = getJson("/v2/api/results?appId=app&survey=s1&from=2024-05-01&to=2024-05-01");
  EXPECT_EQ(first["from"], "2024-05-01");
  EXPECT_EQ(first["responses"], 2);  // 23:59:59.999 is still the first
  EXPECT_EQ(first["funnel"]["invitations"], 4);
  EXPECT_EQ(first["funnel"]["completed"], 0);
  EXPECT_EQ(first["median_time_taken"], 20.0);
  EXPECT_EQ(first["questions"][0]["others"], Json::array({"Cherry"}));

  const Json later = getJson("/v2/api/results?appId=app&survey=s1&from=2024-05-02");
  EXPECT_EQ(later["to"], nullptr);
  EXPECT_EQ(later["responses"], 3);
  EXPECT_EQ(later["funnel"]["declined"], 1);
  EXPECT_EQ(later["funnel"]["invitations"], 2);
  EXPECT_EQ(later["per_day"], Json::parse(R"([{"date": "2024-05-03", "responses": 3}])"));
  EXPECT_EQ(later["questions"][0]["others"], Json::array());

  EXPECT_EQ(getJson("/v2/api/results?appId=app&survey=s1&to=2024-04-30")["responses"], 0);

  for (const char* query :
       {"from=2024-02-30", "to=2024-5-1", "from=yesterday", "from=2024-05-03&to=2024-05-01"}) {
    auto result = get(std::string("/v2/api/results?appId=app&survey=s1&") + query);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 400) << query;
    EXPECT_TRUE(Json::parse(result->body).contains("error")) << query;
  }
  EXPECT_EQ(get("/v2/api/results?appId=app")->status, 400);
  EXPECT_EQ(get("/v2/api/results?survey=s1")->status, 400);
  EXPECT_EQ(get("/v2/api/results?appId=app&survey=never-heard-of")->status, 404);
  EXPECT_EQ(get("/v2/api/results.csv?appId=app&survey=never-heard-of")->status, 404);
}

TEST_F(ResultsTest, ADocumentChangedAfterTheResponsesArrivedNamesWhatItStillHolds) {
  storeResponses();
  start(kDocument);
  EXPECT_EQ(getJson("/v2/api/results?appId=app&survey=s1")["questions"].size(), 3u);
  stop();

  // Apple is gone, Banana renamed, question 2 removed, the rating moved first and a new question
  // added; the question ids stay what they were.
  start(R"({"configs": [{"_id": "s1", "ui": {"questions": [
    {"id": "3", "title": "Rate us", "answer_mode": "rating"},
    {"id": "5", "title": "New", "answer_mode": "single_choice", "choices": [{"id": "n", "value": "N"}]},
    {"id": "1", "title": "Pick one", "answer_mode": "single_choice", "choices": [
      {"id": "b", "value": "Blueberry"}, {"id": "o", "value": "Other", "is_other": true}]}]}}]})");
  const Json results = getJson("/v2/api/results?appId=app&survey=s1");
  EXPECT_EQ(results["responses"], 5);
  const Json& questions = results["questions"];
  ASSERT_EQ(questions.size(), 3u);
  EXPECT_EQ(questions[0]["title"], "Rate us");
  EXPECT_EQ(questions[0]["rating"]["counts"], Json::parse("[1, 1, 0, 1, 1]"));
  EXPECT_EQ(questions[1]["answered"], 0);
  EXPECT_EQ(questions[1]["skipped"], 5);
  EXPECT_EQ(questions[2]["answered"], 4);
  EXPECT_EQ(questions[2]["choices"], Json::parse(R"([
    {"id": "b", "text": "Blueberry", "count": 0, "percent": 0.0},
    {"id": "o", "text": "Other", "count": 1, "percent": 25.0},
    {"id": "a", "text": null, "count": 2, "percent": 50.0},
    {"id": "gone", "text": null, "count": 1, "percent": 25.0}])"));
  EXPECT_EQ(questions[2]["others"], Json::array({"Cherry"}));

  // A survey the document no longer holds still counts its responses.
  start(R"({"configs": []})");
  const Json orphan = getJson("/v2/api/results?appId=app&survey=s1");
  EXPECT_EQ(orphan["responses"], 5);
  EXPECT_EQ(orphan["questions"], Json::array());
}

TEST_F(ResultsTest, TheCsvHasOneRowPerResponseThatASpreadsheetReadsAsWritten) {
  storeReceived(
      "app", "2024-05-01T10:00:00.000Z",
      body("s1",
           {answered(1, {"o", "a"}, other("Tart, \"sweet\"\nand red", "o")),
            answered(2, {"z", "x", "gone"}), Json::object(), answered(3, Json::array({4}))},
           12.5));
  Json hostile =
      body("s1", Json::array({answered(1, Json::array({"o"}), other("=HYPERLINK(\"x\")", "o"))}),
           3.14159);
  hostile["session_id"] = "-5";
  hostile.erase("device_uuid");
  storeReceived("app", "2024-05-02T10:00:00.000Z", hostile);
  storeReceived("app", "2024-05-03T10:00:00.000Z", {{"survey_id", "s1"}});
  start(kDocument);

  auto result = get("/v2/api/results.csv?appId=app&survey=s1");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 200);
  EXPECT_EQ(result->get_header_value("Content-Type"), "text/csv; charset=utf-8; header=present");
  EXPECT_EQ(result->get_header_value("Content-Disposition"),
            "attachment; filename=\"s1-results.csv\"");
  EXPECT_EQ(result->body,
            "\xEF\xBB\xBF"
            "received_at,session_id,device_uuid,time_taken,Pick one,Pick one (Other),Pick many,"
            "Rate\r\n"
            "2024-05-01T10:00:00.000Z,session,device,12.5,Apple; Other,\"Tart, \"\"sweet\"\"\n"
            "and red\",X; Z; gone,4\r\n"
            "2024-05-02T10:00:00.000Z,'-5,,3.142,Other,\"'=HYPERLINK(\"\"x\"\")\",,\r\n"
            "2024-05-03T10:00:00.000Z,,,,,,,\r\n");

  // The same dates as the figures.
  result = get("/v2/api/results.csv?appId=app&survey=s1&from=2024-05-02&to=2024-05-02");
  ASSERT_TRUE(result);
  EXPECT_EQ(std::count(result->body.begin(), result->body.end(), '\n'), 2);
  EXPECT_EQ(get("/v2/api/results.csv?appId=app&survey=s1&from=2024-13-01")->status, 400);
}

TEST_F(ResultsTest, EveryResponseStoredBeforeARequestCountsOnceWhilePostsArriveAndAfterARestart) {
  start(kDocument);
  constexpr int kPosters = 4;
  constexpr int kPostsEach = 40;
  std::atomic<int> acknowledged{0};
  std::atomic<bool> posting{true};
  std::vector<std::thread> posters;
  for (int poster = 0; poster < kPosters; ++poster) {
    posters.emplace_back([&] {
      httplib::Client client(baseUrl());
      client.set_read_timeout(60);  // a machine busy with other builds may be slow
      for (int n = 0; n < kPostsEach; ++n) {
        const Json posted = body("s1", Json::array({answered(1, Json::array({"b"}))}), n);
        auto result =
            client.Post("/v2/api/survey-response?appId=app", posted.dump(), "application/json");
        if (result && result->status == 200) ++acknowledged;
      }
    });
  }
  // Each read counts at least what was acknowledged before it began, and never more than posted.
  std::thread reader([&] {
    httplib::Client client(baseUrl());
    client.set_read_timeout(60);
    while (posting.load()) {
      const int before = acknowledged.load();
      auto result = client.Get("/v2/api/results?appId=app&survey=s1");
      ASSERT_TRUE(result) << httplib::to_string(result.error());
      ASSERT_EQ(result->status, 200) << result->body;
      const Json results = Json::parse(result->body);
      EXPECT_GE(results["responses"].get<int>(), before);
      EXPECT_LE(results["responses"].get<int>(), kPosters * kPostsEach);
      EXPECT_EQ(results["questions"][0]["answered"], results["responses"]);
    }
  });
  for (auto& poster : posters)
    poster.join();
  posting = false;
  reader.join();
  ASSERT_EQ(acknowledged.load(), kPosters * kPostsEach);

  const Json counted = getJson("/v2/api/results?appId=app&survey=s1");
  EXPECT_EQ(counted["responses"], kPosters * kPostsEach);
  EXPECT_EQ(counted["questions"][0]["choices"][1]["count"], kPosters * kPostsEach);
  start(kDocument);
  EXPECT_EQ(getJson("/v2/api/results?appId=app&survey=s1"), counted);
}

TEST_F(ResultsTest, ResponsesAndResultsGoOnAfterTheDatabaseDropsTheCollectorsConnections) {
  if (!database.onPostgres()) GTEST_SKIP() << "an SQLite file has no connection to drop";
  // Named, so that the test can end the server's side of the collector's connections.
  CollectorServer& collector = start(kDocument, "&application_name=vlq_dropped_link");
  httplib::Client client(baseUrl());
  // Posts under keys, each again until it is answered 200, as a host's outbox does.
  const auto postUntilStored = [&](int n) {
    const Json posted = body("s1", Json::array({answered(1, Json::array({"b"}))}), n);
    const httplib::Headers headers = {{"Idempotency-Key", "key-" + std::to_string(n)}};
    for (int attempt = 0; attempt < 5; ++attempt) {
      auto result = client.Post("/v2/api/survey-response?appId=app", headers, posted.dump(),
                                "application/json");
      if (result && result->status == 200) return true;
    }
    return false;
  };
  // A read the dropped connection failed is answered again once the collector has a new one.
  const auto responsesCounted = [&] {
    for (int attempt = 0; attempt < 5; ++attempt) {
      auto result = client.Get("/v2/api/results?appId=app&survey=s1");
      if (result && result->status == 200) return Json::parse(result->body)["responses"].get<int>();
    }
    return -1;
  };
  for (int n = 0; n < 3; ++n)
    ASSERT_TRUE(postUntilStored(n));
  ASSERT_EQ(responsesCounted(), 3);

  database.executeOnResults(
      "SELECT pg_terminate_backend(pid) FROM pg_stat_activity"
      " WHERE application_name = 'vlq_dropped_link'");
  for (int n = 3; n < 6; ++n)
    ASSERT_TRUE(postUntilStored(n));
  EXPECT_EQ(responsesCounted(), 6);
  EXPECT_EQ(collector.responses("app").size(), 6u);
}

TEST(CalendarDay, DaysAreRealDatesOfTheProlepticCalendarInUtc) {
  EXPECT_EQ(utcDayOfMilliseconds(0), "1970-01-01");
  EXPECT_EQ(utcDayOfMilliseconds(-1), "1969-12-31");
  EXPECT_EQ(utcDayOfMilliseconds(kMay1 - 1), "2024-04-30");
  EXPECT_EQ(utcDayOfMilliseconds(INT64_MAX), "9999-12-31");
  EXPECT_EQ(utcDayOfMilliseconds(INT64_MIN), "0001-01-01");
  EXPECT_EQ(daysSinceEpoch("2024-05-01"), kMay1 / kDay);
  for (const char* real : {"2024-02-29", "2000-02-29", "0001-01-01", "9999-12-31"}) {
    ASSERT_TRUE(daysSinceEpoch(real)) << real;
    EXPECT_EQ(dayAfterEpoch(*daysSinceEpoch(real)), real);
  }
  for (const char* unreal : {"2023-02-29", "1900-02-29", "2024-04-31", "2024-00-10", "0000-01-01",
                             "2024-5-01", "2024-05-01T00", "２０２４-05-01", ""}) {
    EXPECT_FALSE(daysSinceEpoch(unreal)) << unreal;
  }
}

}  // namespace
}  // namespace vlq::collector::test

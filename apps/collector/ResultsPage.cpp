#include "collector/ResultsPage.h"

#include "collector/HtmlCharts.h"
#include "collector/SurveyResults.h"

namespace vlq::collector {
namespace {

// The newest Other texts shown under a question; the CSV has them all.
constexpr std::size_t kOtherTextsShown = 50;

const char* const kFunnelLabels[] = {
    "Invitations shown", "Invitations accepted",         "Invitations declined",
    "Surveys opened",    "Closed with the close button", "Submitted and delivered"};
static_assert(std::size(kFunnelLabels) == std::size(kFunnelSteps));

std::int64_t countAt(const Json& object, const char* key) {
  const Json& value = valueForKey(object, key);
  return value.is_number_integer() ? value.get<std::int64_t>() : 0;
}

std::string textOf(const Json& value, std::string_view fallback) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_null() || isMissing(value)) return std::string(fallback);
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// A share as a percent with one decimal: "42.5 %"; a dash for none.
std::string percentText(const Json& value) {
  return value.is_number() ? formatNumber(value.get<double>(), 1) + " %" : "–";
}

std::string modeText(const Json& mode) {
  if (isEqualToString(mode, "single_choice")) return "Single choice";
  if (isEqualToString(mode, "multi_choice")) return "Multiple choice";
  if (isEqualToString(mode, "rating")) return "Rating, 1 to 5";
  return "Answer mode " + textOf(mode, "not given");
}

std::string plural(std::int64_t count, std::string_view one, std::string_view many) {
  return formatCount(count) + " " + std::string(count == 1 ? one : many);
}

// The parameters of a link to the page or an export, for the same app, survey and dates.
std::vector<std::pair<std::string, std::string>> linkParameters(const ResultsPageContent& content,
                                                                const std::string& surveyId,
                                                                bool withDates = true) {
  return {{"appId", content.appId},
          {"survey", surveyId},
          {"from", withDates ? content.days.from : ""},
          {"to", withDates ? content.days.to : ""}};
}

std::string head(std::string_view title) {
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
         escapeHtml(title) +
         "</title>\n<link rel=\"icon\" href=\"data:,\">\n<link rel=\"stylesheet\" href=\"" +
         kResultsStylePath + "\">\n</head>\n<body>\n";
}

// The page's header, with a sign-out button when the reader signed in.
std::string pageHeader(const std::string& appId, bool signedIn) {
  std::string html = "<header>\n<h1>Survey results</h1>\n";
  if (!appId.empty()) html += "<p>App <strong>" + escapeHtml(appId) + "</strong></p>\n";
  if (signedIn) {
    html += "<form class=\"sign-out\" method=\"post\" action=\"" + std::string(kSignOutPath) +
            "\">\n<button type=\"submit\">Sign out</button>\n</form>\n";
  }
  return html + "</header>\n";
}

std::string surveyList(const ResultsPageContent& content) {
  std::string html =
      "<nav aria-labelledby=\"surveys-heading\">\n<h2 id=\"surveys-heading\">"
      "Surveys</h2>\n";
  if (content.surveys.empty()) {
    return html +
           "<p>None yet: the configuration document lists no survey, and no response or "
           "event has arrived for this app.</p>\n</nav>\n";
  }
  html += "<ul class=\"surveys\">\n";
  for (const SurveySummary& survey : content.surveys) {
    const bool current = survey.surveyId == content.surveyId;
    html += "<li><a href=\"" +
            escapeHtml(pageLink(kResultsPagePath, linkParameters(content, survey.surveyId))) +
            "\"" + (current ? " aria-current=\"page\"" : "") + ">" + escapeHtml(survey.surveyId) +
            "</a> <span class=\"note\">" + plural(survey.responses, "response", "responses") +
            " in all</span></li>\n";
  }
  return html + "</ul>\n</nav>\n";
}

std::string filterForm(const ResultsPageContent& content) {
  std::string html = "<form class=\"filter\" method=\"get\" action=\"" +
                     std::string(kResultsPagePath) +
                     "\" aria-label=\"Dates\">\n<input type=\"hidden\" name=\"appId\" value=\"" +
                     escapeHtml(content.appId) + "\">\n";
  if (!content.surveyId.empty()) {
    html +=
        "<input type=\"hidden\" name=\"survey\" value=\"" + escapeHtml(content.surveyId) + "\">\n";
  }
  html += "<label>From <input type=\"date\" name=\"from\" value=\"" +
          escapeHtml(content.days.from) +
          "\"></label>\n<label>To <input type=\"date\" name=\"to\"" + " value=\"" +
          escapeHtml(content.days.to) + "\"></label>\n<button type=\"submit\">Show" +
          "</button>\n<a href=\"" +
          escapeHtml(pageLink(kResultsPagePath, linkParameters(content, content.surveyId, false))) +
          "\">All dates</a>\n<p class=\"note\">Days are UTC and include both ends. Responses count "
          "on the day they arrived, events on the day they happened.</p>\n</form>\n";
  return html;
}

std::string keyFigures(const Json& results) {
  const Json& median = valueForKey(results, "median_time_taken");
  const Json& rate = valueForKey(results, "completion_rate");
  return "<dl class=\"figures\">\n<div><dt>Responses</dt><dd>" +
         formatCount(countAt(results, "responses")) +
         "</dd></div>\n<div><dt>Completion rate</dt><dd>" +
         percentText(rate.is_number() ? Json(rate.get<double>() * 100) : rate) +
         "</dd></div>\n<div><dt>Median time taken</dt><dd>" +
         (median.is_number() ? formatNumber(median.get<double>()) + " s" : std::string("–")) +
         "</dd></div>\n</dl>\n";
}

std::string funnelSection(const Json& results) {
  const Json& funnel = valueForKey(results, "funnel");
  std::int64_t most = 0;
  for (const FunnelStep& step : kFunnelSteps)
    most = std::max(most, countAt(funnel, step.key));
  std::vector<BarRow> rows;
  for (std::size_t i = 0; i < std::size(kFunnelSteps); ++i) {
    const std::int64_t count = countAt(funnel, kFunnelSteps[i].key);
    rows.push_back({kFunnelLabels[i], count,
                    most > 0 ? 100.0 * static_cast<double>(count) / static_cast<double>(most) : 0,
                    ""});
  }
  return "<section aria-labelledby=\"funnel-heading\">\n<h2 id=\"funnel-heading\">Funnel</h2>\n" +
         barTable("From invitation to submission, counted from the plug-in's events", "Step",
                  "Events", "", rows) +
         "<p class=\"note\">The completion rate is the responses stored over the surveys "
         "opened.</p>\n</section>\n";
}

std::string perDaySection(const Json& results) {
  std::vector<std::pair<std::string, std::int64_t>> days;
  std::int64_t total = 0;
  std::pair<std::string, std::int64_t> busiest{"", 0};
  for (const Json& day : valueForKey(results, "per_day")) {
    const std::string date = textOf(valueForKey(day, "date"), "");
    const std::int64_t count = countAt(day, "responses");
    days.emplace_back(date, count);
    total += count;
    if (count > busiest.second) busiest = {date, count};
  }
  std::string html =
      "<section aria-labelledby=\"days-heading\">\n<h2 id=\"days-heading\">Responses per "
      "day</h2>\n";
  if (days.empty()) return html + "<p>No responses in these dates.</p>\n</section>\n";
  const std::string summary = plural(total, "response", "responses") + " from " +
                              days.front().first + " to " + days.back().first +
                              "; the most in one day, " + formatCount(busiest.second) + ", on " +
                              busiest.first + ".";
  return html + dayColumnChart("days", summary, days) + "</section>\n";
}

std::string ratingPart(const Json& rating) {
  static const char* const kLevels[] = {"1, the lowest", "2", "3", "4", "5, the highest"};
  const Json& counts = valueForKey(rating, "counts");
  std::int64_t total = 0;
  for (const Json& count : counts)
    total += count.is_number_integer() ? count.get<std::int64_t>() : 0;
  std::vector<BarRow> rows;
  for (std::size_t level = 0; level < 5; ++level) {
    const std::int64_t count = level < counts.size() && counts[level].is_number_integer()
                                   ? counts[level].get<std::int64_t>()
                                   : 0;
    const double share =
        total > 0 ? 100.0 * static_cast<double>(count) / static_cast<double>(total) : 0;
    rows.push_back({kLevels[level], count, share, percentText(share)});
  }
  const Json& average = valueForKey(rating, "average");
  return "<p>Average <strong>" +
         (average.is_number() ? formatNumber(average.get<double>()) : std::string("–")) +
         "</strong> of 5 · <strong>" + percentText(valueForKey(rating, "satisfied_percent")) +
         "</strong> satisfied (4 or 5)</p>\n" +
         barTable("Ratings by level", "Level", "Responses", "Share", rows);
}

std::string choicesPart(const Json& question) {
  std::vector<BarRow> rows;
  for (const Json& choice : valueForKey(question, "choices")) {
    const Json& percent = valueForKey(choice, "percent");
    const double share = percent.is_number() ? percent.get<double>() : 0;
    std::string label = textOf(valueForKey(choice, "text"), "");
    if (label.empty()) {
      label = "Answer " + textOf(valueForKey(choice, "id"), "") + ", no longer in the document";
    }
    rows.push_back({label, countAt(choice, "count"), share, percentText(share)});
  }
  std::string html = barTable("Answers by choice, as a share of the responses that answered",
                              "Choice", "Responses", "Share", rows);
  const Json& others = valueForKey(question, "others");
  if (!others.is_array() || others.empty()) return html;
  html += "<h4>Other answers, newest first</h4>\n<ul class=\"others\">\n";
  for (std::size_t i = 0; i < others.size() && i < kOtherTextsShown; ++i)
    html += "<li>" + escapeHtml(textOf(others[i], "")) + "</li>\n";
  html += "</ul>\n";
  if (others.size() > kOtherTextsShown) {
    html += "<p class=\"note\">" +
            plural(static_cast<std::int64_t>(others.size() - kOtherTextsShown), "more", "more") +
            " in the CSV download.</p>\n";
  }
  return html;
}

std::string questionsSection(const ResultsPageContent& content, const Json& results) {
  std::string html =
      "<section aria-labelledby=\"questions-heading\">\n<h2 id=\""
      "questions-heading\">Questions</h2>\n";
  const Json& questions = valueForKey(results, "questions");
  if (!content.survey) {
    return html + "<p>The configuration document does not hold this survey, so its questions " +
           "cannot be named.</p>\n</section>\n";
  }
  for (std::size_t i = 0; i < questions.size(); ++i) {
    const Json& question = questions[i];
    const std::string id = "question-" + std::to_string(i + 1);
    html += "<article aria-labelledby=\"" + id + "\">\n<h3 id=\"" + id + "\">" +
            std::to_string(i + 1) + ". " +
            escapeHtml(textOf(valueForKey(question, "title"), "(no title)")) + "</h3>\n" +
            "<p class=\"note\">" + modeText(valueForKey(question, "mode")) + " · " +
            plural(countAt(question, "answered"), "answered", "answered") + " · " +
            plural(countAt(question, "skipped"), "skipped", "skipped") + "</p>\n";
    const Json& rating = valueForKey(question, "rating");
    html += rating.is_object() ? ratingPart(rating) : choicesPart(question);
    html += "</article>\n";
  }
  if (questions.empty()) html += "<p>The survey has no questions in the document.</p>\n";
  return html + "</section>\n";
}

std::string surveyPart(const ResultsPageContent& content) {
  const Json& results = *content.results;
  std::string html = "<section aria-labelledby=\"survey-heading\">\n<h2 id=\"survey-heading\">" +
                     escapeHtml(content.surveyId) + "</h2>\n";
  if (content.survey && content.survey->invitationTitle) {
    html += "<p class=\"note\">Invitation: “" + escapeHtml(*content.survey->invitationTitle) +
            "”</p>\n";
  }
  html += keyFigures(results);
  html += "<p class=\"downloads\"><a href=\"" +
          escapeHtml(pageLink("/v2/api/results.csv", linkParameters(content, content.surveyId))) +
          "\" download>Download the responses (CSV)</a> · <a href=\"" +
          escapeHtml(pageLink("/v2/api/results", linkParameters(content, content.surveyId))) +
          "\">These figures as JSON</a></p>\n</section>\n";
  return html + funnelSection(results) + perDaySection(results) +
         questionsSection(content, results);
}

}  // namespace

std::string resultsPageHtml(const ResultsPageContent& content) {
  const std::string title = content.surveyId.empty()
                                ? "Survey results · " + content.appId
                                : content.surveyId + " · survey results · " + content.appId;
  std::string html = head(title);
  html += "<a class=\"skip\" href=\"#main\">Skip to the results</a>\n" +
          pageHeader(content.appId, content.signedIn) + "<div class=\"layout\">\n" +
          surveyList(content) + "<main id=\"main\">\n";
  if (!content.problem.empty()) {
    html += "<p class=\"problem\" role=\"alert\">" + escapeHtml(content.problem) + "</p>\n";
  }
  if (!content.hasDocument) {
    html +=
        "<p class=\"note\">The collector serves no configuration document (--config), so "
        "questions and choices cannot be named.</p>\n";
  } else if (!content.documentReadable) {
    html +=
        "<p class=\"problem\">The configuration document is not valid JSON, so questions and "
        "choices cannot be named.</p>\n";
  }
  html += filterForm(content);
  if (content.results) html += surveyPart(content);
  html += "</main>\n</div>\n</body>\n</html>\n";
  return html;
}

std::string appChoiceHtml(bool signedIn) {
  return head("Survey results") + pageHeader("", signedIn) +
         "<main id=\"main\">\n<form class=\"filter\" method=\"get\" action=\"" + kResultsPagePath +
         "\">\n<label>App id <input name=\"appId\" required></label>\n<button type=\"submit\">"
         "Show</button>\n</form>\n</main>\n</body>\n</html>\n";
}

std::string signInHtml(const std::string& next, const std::string& problem) {
  std::string html = head("Sign in · survey results") + pageHeader("", false) +
                     "<main id=\"main\">\n<h2>Sign in</h2>\n";
  if (!problem.empty()) {
    html += "<p class=\"problem\" role=\"alert\">" + escapeHtml(problem) + "</p>\n";
  }
  return html + "<form class=\"filter\" method=\"post\" action=\"" + kSignInPath +
         "\">\n<input type=\"hidden\" name=\"next\" value=\"" + escapeHtml(next) +
         "\">\n<label hidden>Account <input name=\"account\" autocomplete=\"username\""
         " value=\"survey results\" readonly></label>\n"
         "<label>Read token <input type=\"password\" name=\"token\""
         " autocomplete=\"current-password\" required></label>\n<button type=\"submit\">Sign in"
         "</button>\n<p class=\"note\">The token the collector was given with --read-token. The "
         "browser keeps a session for 12 hours.</p>\n</form>\n</main>\n</body>\n</html>\n";
}

}  // namespace vlq::collector

#include "collector/HtmlCharts.h"

#include <httplib.h>

#include <algorithm>
#include <cstdio>

namespace vlq::collector {
namespace {

// The height of the day chart's drawing; the columns scale to it.
constexpr int kColumnChartHeight = 100;
constexpr int kColumnPitch = 10;
constexpr int kColumnWidth = 8;

std::string svgLength(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", value);
  return text;
}

}  // namespace

std::string escapeHtml(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\'':
        escaped += "&#39;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

std::string pageLink(std::string_view path,
                     const std::vector<std::pair<std::string, std::string>>& parameters) {
  std::string link(path);
  char separator = '?';
  for (const auto& [name, value] : parameters) {
    if (value.empty()) continue;
    link += separator + name + "=" + httplib::detail::encode_query_param(value);
    separator = '&';
  }
  return link;
}

std::string formatCount(std::int64_t count) {
  std::string digits = std::to_string(count < 0 ? -count : count);
  for (auto i = static_cast<std::ptrdiff_t>(digits.size()) - 3; i > 0; i -= 3)
    digits.insert(static_cast<std::size_t>(i), ",");
  return count < 0 ? "-" + digits : digits;
}

std::string formatNumber(double number, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, number);
  std::string result = text;
  if (result.find('.') != std::string::npos) {
    while (result.back() == '0')
      result.pop_back();
    if (result.back() == '.') result.pop_back();
  }
  return result == "-0" ? "0" : result;
}

std::string barTable(std::string_view caption, std::string_view labelHeading,
                     std::string_view countHeading, std::string_view shareHeading,
                     const std::vector<BarRow>& rows) {
  std::string html = "<table class=\"bars\">\n<caption>" + escapeHtml(caption) +
                     "</caption>\n<thead><tr><th scope=\"col\">" + escapeHtml(labelHeading) +
                     "</th><th scope=\"col\" class=\"number\">" + escapeHtml(countHeading) +
                     "</th>";
  if (!shareHeading.empty()) {
    html += "<th scope=\"col\" class=\"number\">" + escapeHtml(shareHeading) + "</th>";
  }
  html += "</tr></thead>\n<tbody>\n";
  for (const BarRow& row : rows) {
    const double length = std::clamp(row.length, 0.0, 100.0);
    html += "<tr><th scope=\"row\"><span class=\"label\">" + escapeHtml(row.label) +
            "</span><svg class=\"bar\" viewBox=\"0 0 100 6\" preserveAspectRatio=\"none\""
            " aria-hidden=\"true\" focusable=\"false\"><rect class=\"track\" width=\"100\""
            " height=\"6\"/><rect class=\"fill\" width=\"" +
            svgLength(length) + "\" height=\"6\"/></svg></th><td class=\"number\">" +
            formatCount(row.count) + "</td>";
    if (!shareHeading.empty()) html += "<td class=\"number\">" + escapeHtml(row.share) + "</td>";
    html += "</tr>\n";
  }
  return html + "</tbody>\n</table>\n";
}

std::string dayColumnChart(std::string_view id, std::string_view summary,
                           const std::vector<std::pair<std::string, std::int64_t>>& days) {
  std::int64_t most = 1;
  for (const auto& [day, count] : days)
    most = std::max(most, count);
  const std::size_t width = std::max<std::size_t>(days.size(), 1) * kColumnPitch;
  const std::string summaryId = escapeHtml(id) + "-summary";
  std::string html = "<figure class=\"columns\">\n<svg role=\"img\" aria-labelledby=\"" +
                     summaryId + "\" viewBox=\"0 0 " + std::to_string(width) + " " +
                     std::to_string(kColumnChartHeight) +
                     "\" preserveAspectRatio=\"none\" focusable=\"false\">\n";
  for (std::size_t i = 0; i < days.size(); ++i) {
    const auto& [day, count] = days[i];
    if (count <= 0) continue;
    const double height =
        std::max(1.0, static_cast<double>(count) / static_cast<double>(most) * kColumnChartHeight);
    html += "<rect class=\"fill\" x=\"" + std::to_string(i * kColumnPitch + 1) + "\" y=\"" +
            svgLength(kColumnChartHeight - height) + "\" width=\"" + std::to_string(kColumnWidth) +
            "\" height=\"" + svgLength(height) + "\"><title>" + escapeHtml(day) + ": " +
            formatCount(count) + "</title></rect>\n";
  }
  html += "</svg>\n";
  if (!days.empty()) {
    html += "<div class=\"axis\" aria-hidden=\"true\"><span>" + escapeHtml(days.front().first) +
            "</span><span>most in a day: " + formatCount(most) + "</span><span>" +
            escapeHtml(days.back().first) + "</span></div>\n";
  }
  html += "<figcaption id=\"" + summaryId + "\">" + escapeHtml(summary) + "</figcaption>\n";
  html +=
      "</figure>\n<details>\n<summary>The same as a table</summary>\n<table class=\"days\">\n"
      "<thead><tr><th scope=\"col\">Day (UTC)</th><th scope=\"col\" class=\"number\">"
      "Responses</th></tr></thead>\n<tbody>\n";
  for (const auto& [day, count] : days) {
    html += "<tr><th scope=\"row\">" + escapeHtml(day) + "</th><td class=\"number\">" +
            formatCount(count) + "</td></tr>\n";
  }
  return html + "</tbody>\n</table>\n</details>\n";
}

}  // namespace vlq::collector

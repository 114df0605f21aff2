#include "collector/RequestParser.h"

#include <limits>

#include "collector/HeaderFields.h"

namespace vlq::collector {

namespace http = boost::beast::http;
using boost::beast::error_code;
using std::string_view;

namespace {

string_view trimmed(string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
    text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
    text.remove_suffix(1);
  return text;
}

}  // namespace

RequestParser::RequestParser(const ServiceLimits& limits, BodyBudget& budget)
    : maxHeaderFields_(limits.maxHeaderFields),
      maxBodyBytes_(limits.maxBodyBytes),
      budget_(budget) {
  header_limit(
      static_cast<std::uint32_t>(std::min<std::size_t>(limits.maxHeaderBytes, UINT32_MAX)));
  // A declared length is judged once the head is done (on_header_impl), so that a request the
  // router refuses is refused for what it is, not for its size. (No limit at all, boost::none,
  // would compare as smaller than any length.)
  body_limit(std::numeric_limits<std::uint64_t>::max());
}

RequestParser::~RequestParser() {
  budget_.giveBack(taken_);
}

bool RequestParser::cover(std::uint64_t bodyBytes) {
  if (bodyBytes <= kUnbudgetedBodyBytes + taken_) return true;
  const auto more = static_cast<std::size_t>(bodyBytes - kUnbudgetedBodyBytes - taken_);
  if (!budget_.take(more)) {
    outOfBudget_ = true;
    return false;
  }
  taken_ += more;
  return true;
}

void RequestParser::on_request_impl(http::verb, string_view method, string_view target, int,
                                    error_code&) {
  request_.method.assign(method.data(), method.size());
  request_.target.assign(target.data(), target.size());
}

void RequestParser::on_response_impl(int, string_view, int, error_code& ec) {
  ec = http::error::bad_version;  // a request parser never reads a status line
}

void RequestParser::on_field_impl(http::field name, string_view nameText, string_view value,
                                  error_code& ec) {
  if (++fields_ > maxHeaderFields_) {
    tooManyFields_ = true;
    ec = http::error::header_limit;
    return;
  }
  // Only "chunked", alone, frames a request body; a coding the collector does not decode would
  // leave the body's end to guesswork.
  if (name == http::field::transfer_encoding && !equalsIgnoringCase(trimmed(value), "chunked")) {
    ec = http::error::bad_transfer_encoding;
    return;
  }
  if (name == http::field::expect)
    expectsContinue_ = equalsIgnoringCase(trimmed(value), "100-continue");
  request_.headers.emplace_back(std::string(nameText.data(), nameText.size()),
                                std::string(value.data(), value.size()));
}

void RequestParser::on_header_impl(error_code&) {
  const auto length = content_length();
  declaredTooLong_ = length && *length > maxBodyBytes_;
  body_limit(maxBodyBytes_);
}

bool RequestParser::coverDeclaredBody() {
  const auto length = content_length();
  return !length || cover(*length);
}

void RequestParser::on_body_init_impl(const boost::optional<std::uint64_t>& length, error_code&) {
  if (length) request_.body.reserve(static_cast<std::size_t>(*length));
}

std::size_t RequestParser::on_body_impl(string_view body, error_code&) {
  request_.body.append(body.data(), body.size());
  return body.size();
}

void RequestParser::on_chunk_header_impl(std::uint64_t size, string_view, error_code& ec) {
  if (!cover(request_.body.size() + size)) ec = http::error::body_limit;
}

std::size_t RequestParser::on_chunk_body_impl(std::uint64_t, string_view body, error_code&) {
  request_.body.append(body.data(), body.size());
  return body.size();
}

void RequestParser::on_finish_impl(error_code&) {}

}  // namespace vlq::collector

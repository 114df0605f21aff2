#pragma once

// Reads one HTTP/1.1 request into a CollectorRequest, within the collector's limits: the head's
// size and field count, the body's size however it is framed, and the shared budget of large
// bodies. It refuses framing that two readers could take differently: Content-Length together
// with Transfer-Encoding, Content-Lengths that differ, a transfer coding other than chunked alone.

#include <boost/beast/http/basic_parser.hpp>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include <vlq/collector/CollectorServer.h>

#include "collector/BodyBudget.h"

namespace vlq::collector {

class RequestParser final : public boost::beast::http::basic_parser<true> {
 public:
  // Bodies up to this size are read without drawing on the shared budget.
  static constexpr std::size_t kUnbudgetedBodyBytes = 64 * 1024;

  RequestParser(const ServiceLimits& limits, BodyBudget& budget);
  ~RequestParser() override;
  RequestParser(const RequestParser&) = delete;
  RequestParser& operator=(const RequestParser&) = delete;

  // The request read so far: its method, target and fields once the head is done, and its body
  // once the whole message is.
  CollectorRequest& request() { return request_; }

  // Why the parser stopped with header_limit or body_limit: too many fields rather than too
  // many bytes, and the shared budget rather than the body's own limit.
  bool tooManyFields() const { return tooManyFields_; }
  bool outOfBudget() const { return outOfBudget_; }
  // The client waits for "100 Continue" before it sends the body.
  bool expectsContinue() const { return expectsContinue_; }
  // Once the head is done: its Content-Length is past the body limit.
  bool declaredTooLong() const { return declaredTooLong_; }
  // Once the head is done: draws on the budget for the declared length, so that a body the budget
  // cannot take is refused before it is read. False when it cannot.
  bool coverDeclaredBody();
  // What the body drew on the budget, which whoever takes the body now gives back once it lets go
  // of it; the parser no longer does.
  std::size_t handOverBudget() { return std::exchange(taken_, 0); }

 private:
  void on_request_impl(boost::beast::http::verb, std::string_view method, std::string_view target,
                       int version, boost::beast::error_code& ec) override;
  void on_response_impl(int, std::string_view, int, boost::beast::error_code& ec) override;
  void on_field_impl(boost::beast::http::field name, std::string_view nameText,
                     std::string_view value, boost::beast::error_code& ec) override;
  void on_header_impl(boost::beast::error_code& ec) override;
  void on_body_init_impl(const boost::optional<std::uint64_t>& length,
                         boost::beast::error_code& ec) override;
  std::size_t on_body_impl(std::string_view body, boost::beast::error_code& ec) override;
  void on_chunk_header_impl(std::uint64_t size, std::string_view extensions,
                            boost::beast::error_code& ec) override;
  std::size_t on_chunk_body_impl(std::uint64_t remain, std::string_view body,
                                 boost::beast::error_code& ec) override;
  void on_finish_impl(boost::beast::error_code& ec) override;

  // Draws on the budget so that `bodyBytes` may be held; false when it cannot.
  bool cover(std::uint64_t bodyBytes);

  const std::size_t maxHeaderFields_;
  const std::size_t maxBodyBytes_;
  BodyBudget& budget_;
  std::size_t taken_ = 0;  // drawn from the budget
  std::size_t fields_ = 0;
  bool tooManyFields_ = false;
  bool outOfBudget_ = false;
  bool declaredTooLong_ = false;
  bool expectsContinue_ = false;
  CollectorRequest request_;
};

}  // namespace vlq::collector

#include "collector/HttpConnection.h"

#include <array>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/stream_traits.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <chrono>
#include <ctime>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "collector/RequestParser.h"
#include "collector/Router.h"

namespace vlq::collector {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using asio::ip::tcp;
using beast::error_code;

using PlainStream = tcp::socket;
using TlsStream = beast::ssl_stream<tcp::socket>;

// After an answer that closes the connection, what the client still sends is read and dropped
// for this long, or up to this much, so that closing does not reset the connection before the
// client has read the answer.
constexpr std::chrono::milliseconds kLingerTime{2000};
constexpr std::size_t kLingerBytes = 1024 * 1024;
// A connection's buffer holds a request's head and at most this much more of what follows it.
constexpr std::size_t kReadBytes = 16 * 1024;
// Bodies up to this size go to a handler that never waits on the I/O thread that read them.
constexpr std::size_t kAnsweredOnIoThreadBytes = 64 * 1024;
// A buffer that grew past this for a large request is given back before the next one.
constexpr std::size_t kKeptBufferBytes = 16 * 1024;

bool hasBody(int status) {
  return status >= 200 && status != 204 && status != 304;
}

std::string httpDate() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  char text[64];
  std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", &parts);
  return text;
}

// The status line and header fields of `answer`, for a body of `bodyLength` bytes.
std::string answerHead(const CollectorAnswer& answer, std::size_t bodyLength, bool keepAlive) {
  const beast::string_view reason = http::obsolete_reason(http::int_to_status(answer.status));
  std::string head = "HTTP/1.1 " + std::to_string(answer.status) + " " +
                     std::string(reason.empty() ? "Unknown" : reason) + "\r\n";
  head += "Date: " + httpDate() + "\r\n";
  if (hasBody(answer.status)) {
    head += "Content-Type: " + answer.contentType + "\r\n";
    head += "Content-Length: " + std::to_string(bodyLength) + "\r\n";
  }
  // Answers hold people's responses: no cache keeps them, no browser guesses their type.
  head += "Cache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n";
  for (const auto& [name, value] : answer.headers)
    head += name + ": " + value + "\r\n";
  if (!keepAlive) head += "Connection: close\r\n";
  return head + "\r\n";
}

bool isParseError(const error_code& error) {
  return &error.category() == &http::make_error_code(http::error::bad_method).category();
}

template <class Stream>
class Connection final : public Evictable, public std::enable_shared_from_this<Connection<Stream>> {
 public:
  template <class... StreamArguments>
  Connection(ConnectionContext& context, StreamArguments&&... arguments)
      : context_(context),
        stream_(std::forward<StreamArguments>(arguments)...),
        deadline_(stream_.get_executor()),
        buffer_(context.limits.maxHeaderBytes + kReadBytes) {}

  ~Connection() override { context_.registry.release(id_); }

  void start(ConnectionRegistry::Id id) {
    id_ = id;
    asio::post(stream_.get_executor(), [self = this->shared_from_this()] { self->begin(); });
  }

  void evict() override {
    asio::post(stream_.get_executor(), [self = this->shared_from_this()] { self->close(); });
  }

 private:
  tcp::socket& socket() { return beast::get_lowest_layer(stream_); }

  void begin() {
    if constexpr (std::is_same_v<Stream, TlsStream>) {
      armDeadline(context_.limits.headerTimeout);
      stream_.async_handshake(asio::ssl::stream_base::server,
                              [self = this->shared_from_this()](error_code error) {
                                if (error) return self->close();
                                self->readHead();
                              });
    } else {
      readHead();
    }
  }

  // From now on, the current step has `time` to finish; then its socket operation is cancelled
  // and it sees timedOut_.
  void armDeadline(std::chrono::milliseconds time) {
    const auto step = ++step_;
    timedOut_ = false;
    deadline_.expires_after(time);
    deadline_.async_wait([self = this->shared_from_this(), step](error_code error) {
      if (error || step != self->step_) return;
      self->timedOut_ = true;
      error_code ignored;
      self->socket().cancel(ignored);
    });
  }

  void readHead() {
    if (closed_) return;
    context_.registry.setWaiting(id_, true);
    parser_.emplace(context_.limits, context_.budget);
    armDeadline(context_.limits.headerTimeout);
    http::async_read_header(
        stream_, buffer_, *parser_,
        [self = this->shared_from_this()](error_code error, std::size_t) { self->onHead(error); });
  }

  void onHead(error_code error) {
    if (closed_) return;
    if (error) return failed(error, parser_->got_some() || buffer_.size() > 0);
    context_.registry.setWaiting(id_, false);
    if (auto refused = context_.router.refusal(parser_->request())) {
      return send(std::move(*refused), false);
    }
    if (parser_->declaredTooLong()) return send(tooLong(), false);
    if (!parser_->coverDeclaredBody()) return send(busy(), false);
    if (parser_->expectsContinue() && !parser_->is_done()) {
      static const std::string kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
      armDeadline(context_.limits.answerTimeout);
      asio::async_write(stream_, asio::buffer(kContinue),
                        [self = this->shared_from_this()](error_code error, std::size_t) {
                          if (error || self->closed_) return self->close();
                          self->readBody();
                        });
      return;
    }
    readBody();
  }

  void readBody() {
    if (parser_->is_done()) return handle();
    armDeadline(context_.limits.bodyTimeout);
    http::async_read(stream_, buffer_, *parser_,
                     [self = this->shared_from_this()](error_code error, std::size_t) {
                       if (self->closed_) return;
                       if (error) return self->failed(error, true);
                       self->handle();
                     });
  }

  // A read that ended in `error`; `started`: part of a request had come.
  void failed(const error_code& error, bool started) {
    if (timedOut_) {
      if (!started) return close();
      return send(errorAnswer(408, "the request did not arrive in time"), false);
    }
    if (error == http::error::header_limit) {
      return send(
          errorAnswer(431, parser_->tooManyFields() ? "the request has too many header fields"
                                                    : "the request's head is too large"),
          false);
    }
    if (error == http::error::body_limit) {
      return send(parser_->outOfBudget() ? busy() : tooLong(), false);
    }
    if (isParseError(error) && error != http::error::end_of_stream &&
        error != http::error::partial_message) {
      return send(errorAnswer(400, "the request is not valid HTTP/1.1: " + error.message()), false);
    }
    close();
  }

  CollectorAnswer tooLong() const {
    return errorAnswer(
        413, "the body is longer than " + std::to_string(context_.limits.maxBodyBytes) + " bytes");
  }

  static CollectorAnswer busy() {
    CollectorAnswer answer = errorAnswer(503, "too many large bodies are being received");
    answer.headers.emplace_back("Retry-After", "1");
    return answer;
  }

  void handle() {
    ++step_;  // no deadline while the request is answered
    deadline_.cancel();
    auto request = std::make_shared<CollectorRequest>(std::move(parser_->request()));
    const bool keepAlive = parser_->keep_alive();
    const bool headOnly = request->method == "HEAD";
    const std::size_t budget = parser_->handOverBudget();
    // Until the answer is sent, the I/O threads keep running: a commit may answer after the
    // service was told to stop.
    auto executor = asio::prefer(stream_.get_executor(), asio::execution::outstanding_work.tracked);
    Answered answered = [self = this->shared_from_this(), request, keepAlive, headOnly, budget,
                         executor](CollectorAnswer answer) mutable {
      // The body is let go of, and its share of the budget given back, before the client can
      // hear the answer.
      request.reset();
      self->context_.budget.giveBack(budget);
      asio::post(executor, [self, answer = std::move(answer), keepAlive, headOnly]() mutable {
        self->send(std::move(answer), keepAlive, headOnly);
      });
    };
    // A handler that never waits answers a small body here; anything else is answered on a
    // worker, where waiting for the disk or parsing a large body holds up no other connection.
    if (request->body.size() <= kAnsweredOnIoThreadBytes &&
        context_.router.answerWithoutWaiting(*request, answered)) {
      return;
    }
    asio::post(context_.workers, [self = this->shared_from_this(), request,
                                  answered = std::move(answered)]() mutable {
      answered(self->context_.router.answer(*request));
      request.reset();
    });
  }

  void send(CollectorAnswer answer, bool keepAlive, bool headOnly = false) {
    if (closed_) return;
    keepAlive_ = keepAlive;
    const std::size_t length = answer.body.size();
    answerBody_ = headOnly || !hasBody(answer.status) ? std::string() : std::move(answer.body);
    answerHead_ = answerHead(answer, length, keepAlive);
    armDeadline(context_.limits.answerTimeout);
    const std::array<asio::const_buffer, 2> buffers{asio::buffer(answerHead_),
                                                    asio::buffer(answerBody_)};
    asio::async_write(
        stream_, buffers,
        [self = this->shared_from_this()](error_code error, std::size_t) { self->onSent(error); });
  }

  void onSent(error_code error) {
    answerHead_.clear();
    answerBody_ = std::string();
    if (error || closed_) return close();
    if (!keepAlive_) return finish();
    parser_.reset();
    if (buffer_.size() == 0 && buffer_.capacity() > kKeptBufferBytes) buffer_.shrink_to_fit();
    readHead();
  }

  // Ends the connection after an answer that closes it.
  void finish() {
    armDeadline(kLingerTime);
    if constexpr (std::is_same_v<Stream, TlsStream>) {
      stream_.async_shutdown([self = this->shared_from_this()](error_code) { self->close(); });
    } else {
      error_code ignored;
      socket().shutdown(tcp::socket::shutdown_send, ignored);
      buffer_.clear();
      drain(0);
    }
  }

  void drain(std::size_t drained) {
    if (closed_ || drained > kLingerBytes) return close();
    socket().async_read_some(buffer_.prepare(4096), [self = this->shared_from_this(), drained](
                                                        error_code error, std::size_t bytes) {
      if (error) return self->close();
      self->drain(drained + bytes);
    });
  }

  void close() {
    if (closed_) return;
    closed_ = true;
    ++step_;
    deadline_.cancel();
    error_code ignored;
    socket().close(ignored);
    context_.registry.release(id_);
  }

  ConnectionContext& context_;
  Stream stream_;
  asio::steady_timer deadline_;
  beast::flat_buffer buffer_;
  std::optional<RequestParser> parser_;
  std::string answerHead_;
  std::string answerBody_;
  ConnectionRegistry::Id id_ = 0;
  std::uint64_t step_ = 0;
  bool timedOut_ = false;
  bool keepAlive_ = false;
  bool closed_ = false;
};

template <class Stream, class... StreamArguments>
void startConnection(const std::string& address, ConnectionContext& context,
                     StreamArguments&&... arguments) {
  auto connection =
      std::make_shared<Connection<Stream>>(context, std::forward<StreamArguments>(arguments)...);
  const auto id = context.registry.admit(address, connection);
  if (id != 0) connection->start(id);
}

}  // namespace

void serveConnection(tcp::socket socket, const std::string& address, ConnectionContext& context,
                     asio::ssl::context* tls) {
  if (tls) {
    startConnection<TlsStream>(address, context, std::move(socket), *tls);
  } else {
    startConnection<PlainStream>(address, context, std::move(socket));
  }
}

}  // namespace vlq::collector

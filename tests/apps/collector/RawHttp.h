#pragma once

// A client that writes HTTP bytes as they stand, for requests no well-behaved client sends:
// trickled heads, framing tricks, pipelined requests.

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace vlq::collector {

struct RawAnswer {
  int status = 0;
  std::string head;
  std::string body;

  // The value of the header field `name`; empty when it has none.
  std::string field(std::string_view name) const;
};

class RawConnection {
 public:
  // Connects to 127.0.0.1:`port`.
  explicit RawConnection(int port);
  ~RawConnection();
  RawConnection(const RawConnection&) = delete;
  RawConnection& operator=(const RawConnection&) = delete;

  bool connected() const { return socket_ >= 0; }
  // Writes `bytes`; false when the connection would not take them.
  bool send(std::string_view bytes);
  // The next answer, its body read by its Content-Length; none when the connection closed or
  // `timeout` passed first.
  std::optional<RawAnswer> readAnswer(std::chrono::milliseconds timeout = std::chrono::seconds(5));
  // True when the collector closes the connection within `timeout` (what it sends meanwhile is
  // dropped).
  bool closesWithin(std::chrono::milliseconds timeout);

 private:
  // Reads more into received_; false on close, error or timeout.
  bool receive(std::chrono::steady_clock::time_point deadline);

  int socket_ = -1;
  std::string received_;
};

}  // namespace vlq::collector

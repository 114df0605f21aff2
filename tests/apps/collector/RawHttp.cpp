#include "RawHttp.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>

namespace vlq::collector {

std::string RawAnswer::field(std::string_view name) const {
  // Each line after the status line, "Name: value\r\n", the name matched in any case.
  for (std::size_t line = head.find("\r\n"); line != std::string::npos;
       line = head.find("\r\n", line + 2)) {
    const std::size_t start = line + 2;
    if (head.size() < start + name.size() + 2 || head.compare(start + name.size(), 2, ": ") != 0) {
      continue;
    }
    const bool named =
        std::equal(name.begin(), name.end(), head.begin() + start, [](char a, char b) {
          return std::tolower(static_cast<unsigned char>(a)) ==
                 std::tolower(static_cast<unsigned char>(b));
        });
    if (!named) continue;
    const std::size_t value = start + name.size() + 2;
    return head.substr(value, head.find("\r\n", value) - value);
  }
  return {};
}

RawConnection::RawConnection(int port) {
  socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (socket_ >= 0 &&
      ::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    ::close(socket_);
    socket_ = -1;
  }
  int yes = 1;
  if (socket_ >= 0) setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
}

RawConnection::~RawConnection() {
  if (socket_ >= 0) ::close(socket_);
}

bool RawConnection::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

bool RawConnection::receive(std::chrono::steady_clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
      deadline - std::chrono::steady_clock::now());
  pollfd ready{socket_, POLLIN, 0};
  if (left.count() <= 0 || ::poll(&ready, 1, static_cast<int>(left.count())) != 1) return false;
  char bytes[65536];
  const ssize_t got = ::recv(socket_, bytes, sizeof bytes, 0);
  if (got <= 0) return false;
  received_.append(bytes, static_cast<std::size_t>(got));
  return true;
}

std::optional<RawAnswer> RawConnection::readAnswer(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  std::size_t headEnd;
  while ((headEnd = received_.find("\r\n\r\n")) == std::string::npos) {
    if (!receive(deadline)) return std::nullopt;
  }
  RawAnswer answer;
  answer.head = received_.substr(0, headEnd + 2);
  answer.status = std::stoi(answer.head.substr(9, 3));
  const std::string length = answer.field("Content-Length");
  const std::size_t bodyLength = length.empty() ? 0 : std::stoul(length);
  while (received_.size() < headEnd + 4 + bodyLength) {
    if (!receive(deadline)) return std::nullopt;
  }
  answer.body = received_.substr(headEnd + 4, bodyLength);
  received_.erase(0, headEnd + 4 + bodyLength);
  return answer;
}

bool RawConnection::closesWithin(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (std::chrono::steady_clock::now() < deadline) {
    pollfd ready{socket_, POLLIN, 0};
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (::poll(&ready, 1, static_cast<int>(std::max<long>(1, left.count()))) != 1) continue;
    char bytes[65536];
    if (::recv(socket_, bytes, sizeof bytes, 0) <= 0) return true;
  }
  return false;
}

}  // namespace vlq::collector

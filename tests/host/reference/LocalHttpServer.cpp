#include "LocalHttpServer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>

namespace vlq::reference::test {

ScratchDirectory::ScratchDirectory() {
  std::random_device entropy;
  const auto name = "vlq-reference-host-" + std::to_string(entropy()) + std::to_string(entropy());
  path_ = (std::filesystem::temp_directory_path() / name).string();
  std::filesystem::create_directories(path_);
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
}

std::string ScratchDirectory::file(const std::string& name) const {
  return (std::filesystem::path(path_) / name).string();
}

LocalHttpServer::LocalHttpServer() {
  // Handlers are registered before the server listens; the documents they serve may change later.
  server_.Get(".*", [this](const httplib::Request& request, httplib::Response& response) {
    std::lock_guard lock(mutex_);
    const auto found = documents_.find(request.path);
    if (found == documents_.end()) {
      response.status = 404;
      return;
    }
    response.status = found->second.status;
    response.set_content(found->second.body, "application/json");
  });
  server_.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
    std::lock_guard lock(mutex_);
    posts_.push_back({request.target, request.body, request.headers});
    response.status = postStatus_;
    if (!postRetryAfter_.empty()) response.set_header("Retry-After", postRetryAfter_);
    response.set_content(postBody_, "text/plain");
  });
  port_ = server_.bind_to_any_port("127.0.0.1");
  listener_ = std::thread([this] { server_.listen_after_bind(); });
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (!server_.is_running() && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_TRUE(server_.is_running());
}

LocalHttpServer::~LocalHttpServer() {
  server_.stop();
  listener_.join();
}

std::string LocalHttpServer::address() const {
  return "http://127.0.0.1:" + std::to_string(port_);
}

void LocalHttpServer::serve(const std::string& path, std::string body, int status) {
  std::lock_guard lock(mutex_);
  documents_[path] = {std::move(body), status};
}

void LocalHttpServer::answerPostsWith(int status, std::string body, std::string retryAfter) {
  std::lock_guard lock(mutex_);
  postStatus_ = status;
  postBody_ = std::move(body);
  postRetryAfter_ = std::move(retryAfter);
}

std::vector<LocalHttpServer::ReceivedPost> LocalHttpServer::posts() const {
  std::lock_guard lock(mutex_);
  return posts_;
}

int closedLocalPort() {
  // Bind a socket to a free port without listening, and close it: connections there are refused.
  const int probe = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = 0;
  socklen_t length = sizeof(address);
  int port = 0;
  if (::bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
      ::getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    port = ntohs(address.sin_port);
  }
  ::close(probe);
  return port;
}

}  // namespace vlq::reference::test

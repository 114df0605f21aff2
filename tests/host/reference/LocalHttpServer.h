#pragma once

// Test helpers: a scratch directory removed afterwards, and an HTTP server on 127.0.0.1 (any free
// port) that serves documents and records the requests posted to it.

#include <httplib.h>

#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vlq::reference::test {

class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  const std::string& path() const { return path_; }
  // `name` inside the directory.
  std::string file(const std::string& name) const;

 private:
  std::string path_;
};

class LocalHttpServer {
 public:
  struct ReceivedPost {
    std::string target;  // path and query
    std::string body;
    httplib::Headers headers;
  };

  LocalHttpServer();
  ~LocalHttpServer();

  // "http://127.0.0.1:<port>".
  std::string address() const;
  // Answers GET `path` with `body` and `status`.
  void serve(const std::string& path, std::string body, int status = 200);
  // The status, body and Retry-After header (none when empty) with which posts are answered (200
  // and "ok" at first).
  void answerPostsWith(int status, std::string body, std::string retryAfter = {});
  std::vector<ReceivedPost> posts() const;

 private:
  httplib::Server server_;
  int port_ = 0;
  std::thread listener_;
  mutable std::mutex mutex_;
  int postStatus_ = 200;
  std::string postBody_ = "ok";
  std::string postRetryAfter_;
  std::vector<ReceivedPost> posts_;
  struct Document {
    std::string body;
    int status = 200;
  };
  std::map<std::string, Document> documents_;
};

// A port on 127.0.0.1 on which nothing listens.
int closedLocalPort();

}  // namespace vlq::reference::test

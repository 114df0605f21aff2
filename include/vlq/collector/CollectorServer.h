#pragma once

// The survey-response collector: a small HTTP server that stands in for the host's service.
//
//   POST /v2/api/survey-response?appId=ID   stores a JSON object body; answers the configured
//                                           status (200 unless told otherwise), or 400 for a body
//                                           that is not a JSON object (not stored)
//   GET  /v2/api/survey-responses?appId=ID  the stored bodies of that app id, oldest first, as a
//                                           JSON array; without appId, every stored body
//   GET  /v2/api/surveys?appId=ID           the configuration document, byte for byte, when one
//                                           was given; 404 otherwise
//
// A post without an appId parameter is stored with an empty app id, so that a host that forgets
// the parameter is seen rather than turned away; its `url` shows what was sent. Listing with
// `appId=` (empty) returns exactly those posts.
//
// A post with an Idempotency-Key header is stored once per key: a post that repeats a stored key
// gets the first post's answer (its status and id) again and stores nothing, whatever its body.
// A client that never heard the answer can so send a body again without storing it twice. Posts
// without the header are each stored.
//
// The server runs on its own threads from `start` until `stop` or destruction. Every member
// function may be called from any thread. A collector made with `open` has no socket: it answers
// only the requests handed to `handle`.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <vlq/Export.h>
#include <vlq/collector/StoredResponse.h>

namespace vlq::collector {

struct CollectorOptions {
  std::string bind = "127.0.0.1";
  // 0 picks a free port; `CollectorServer::port` tells which.
  int port = 0;
  // The SQLite database file; empty keeps the responses in memory for the server's lifetime.
  std::string database;
  // The status answered to every valid post (100 to 599).
  int status = 200;
  // The bytes served for the configuration sync; none answers 404.
  std::optional<std::string> configDocument;
};

// One request as it arrives over HTTP, and the answer to it.
struct CollectorRequest {
  std::string method;  // "GET", "POST", ...
  std::string target;  // the path and query as sent: "/v2/api/survey-response?appId=a%20b"
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
};

struct CollectorAnswer {
  int status = 0;
  std::string body;
};

class VLQ_API CollectorServer {
 public:
  // Opens the database, binds and starts serving. Returns null and fills `error` (when given)
  // with the reason when the options are invalid, the database cannot be opened or the address
  // cannot be bound.
  static std::unique_ptr<CollectorServer> start(CollectorOptions options, std::string* error);
  // Opens the database but listens on no socket; null, with `error`, as for `start`.
  static std::unique_ptr<CollectorServer> open(CollectorOptions options, std::string* error);

  // Answers `request` on the calling thread exactly as the server answers one received over HTTP.
  CollectorAnswer handle(const CollectorRequest& request);

  ~CollectorServer();
  CollectorServer(const CollectorServer&) = delete;
  CollectorServer& operator=(const CollectorServer&) = delete;

  // The port listened on; 0 for a collector that was only opened.
  int port() const;
  // "http://ADDRESS:PORT", with a wildcard bind address replaced by the loopback address, so a
  // client on the same machine can use it as it stands.
  std::string baseUrl() const;

  // The status for the posts that follow. Throws std::invalid_argument outside 100 to 599.
  void setStatus(int status);
  // The next `count` posts are answered 500 and not stored, as by a service in trouble; then the
  // posts are answered as before. Replaces an earlier count; 0 or less ends the failures.
  void failNextPosts(int count);

  // Stops listening, as a service that went down: connections are refused until resume(). The
  // stored bodies and the settings stay. Does nothing when not listening.
  void suspend();
  // Listens again on the same port. False when it cannot: stopped for good, or the port was taken
  // meanwhile. True when already listening.
  bool resume();

  // The stored responses, oldest first: those of `appId` when given, otherwise all.
  std::vector<StoredResponse> responses(const std::optional<std::string>& appId = {}) const;

  // Called with each stored response on the server thread that received it, before the client
  // is answered. Calls are one at a time and in storage order. The observer must not call
  // setResponseObserver itself; what it throws is reported on standard error and otherwise
  // ignored. An empty function removes the observer.
  void setResponseObserver(std::function<void(const StoredResponse&)> observer);

  // Stops serving for good and waits for the server threads to finish, so neither it nor suspend
  // may be called from the response observer. Idempotent; responses() still reads the stored
  // bodies afterwards.
  void stop();

 private:
  struct Impl;
  explicit CollectorServer(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace vlq::collector

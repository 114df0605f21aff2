#pragma once

// The survey-response collector: the HTTP service that hosts post their survey responses to.
//
//   POST /v2/api/survey-response?appId=ID   stores a JSON object body; answers the configured
//                                           status (200 unless told otherwise) with {"id": N}
//   GET  /v2/api/survey-responses?appId=ID  the stored bodies of that app, oldest first, as a
//        [&limit=N][&after=ID]              JSON array: a page of at most `limit` (100 unless
//                                           given, 1000 at most) bodies stored after the one
//                                           with id `after`, and of about 1 MiB at most; a
//                                           "Link: <...>; rel=\"next\"" header leads to the next
//                                           page while there is one
//   GET  /v2/api/surveys                    the configuration document, byte for byte, when one
//                                           was given; 404 otherwise
//
// Access: with app keys, a post needs "Authorization: Bearer <the key of its appId>"; with a
// read token, the listing needs "Authorization: Bearer <the token>"; 401 otherwise, and nothing
// is stored. The configuration, which every device downloads, needs neither. Without both, the
// collector serves loopback clients only, and refuses a bind address that is not a loopback one.
//
// A post must say "Content-Type: application/json" (415 otherwise, so that a web page cannot
// post a form to it) and hold a JSON object (400 otherwise). Without an appId parameter it is
// stored under an empty app id, so that a host that forgets the parameter is seen; with app keys
// that app has no key, and the post is refused.
//
// A post with an Idempotency-Key header is stored once per app and key: a post that repeats a
// key that app used, with the same body, gets the first post's answer (its status and id) again
// and stores nothing; with another body it gets 409 and stores nothing. A client that never heard
// the answer can so send a body again without storing it twice. Posts without the header are
// each stored.
//
// Other methods on these paths get 405, other paths 404. Every request is bounded in size and
// time (ServiceLimits): past a limit it is answered 413, 431, 408 or 400 and the connection is
// closed, unread.
//
// The server runs on its own threads from `start` until `stop` or destruction. Every member
// function may be called from any thread. A collector made with `open` has no socket: it answers
// only the requests handed to `handle`.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <vlq/Export.h>
#include <vlq/collector/StoredResponse.h>

namespace vlq::collector {

// What one client may take of the collector, in time and in memory.
struct ServiceLimits {
  // A request's body, however it is framed; a larger one is answered 413 and read no further.
  std::size_t maxBodyBytes = 1024 * 1024;
  // The request line and the header fields together; past this, 431.
  std::size_t maxHeaderBytes = 16 * 1024;
  // Header fields in one request; past this, 431.
  std::size_t maxHeaderFields = 100;
  // From the moment a connection waits for a request (it was accepted, or the previous answer
  // went out) until that request's head has arrived. Then the connection is closed: silently
  // when nothing of a request came, else with 408.
  std::chrono::milliseconds headerTimeout{10'000};
  // For the whole body, from the end of its head; then 408 and the connection is closed.
  std::chrono::milliseconds bodyTimeout{30'000};
  // For an answer to be taken by the client; then the connection is closed.
  std::chrono::milliseconds answerTimeout{30'000};
  // Open connections in all, and from one client address. A new connection past either limit
  // takes the place of the connection, among those it competes with, that has waited longest
  // for a request's head; when every one of them is busy with a request it is closed at once.
  std::size_t maxConnections = 1024;
  std::size_t maxConnectionsPerAddress = 512;
  // Bodies of more than 64 KiB draw on this many bytes, all connections together; a body that
  // would pass it is answered 503 with Retry-After and read no further.
  std::size_t maxBufferedBodyBytes = 96 * 1024 * 1024;
};

struct CollectorOptions {
  // An IP address, or "localhost". Anything but a loopback address needs appKeys and readToken.
  std::string bind = "127.0.0.1";
  // 0 picks a free port; `CollectorServer::port` tells which.
  int port = 0;
  // Where responses are kept: an SQLite file (created 0600 when missing), or ":memory:" for a
  // store that lives as long as the collector.
  std::string database = ":memory:";
  // The status answered to every valid post (100 to 599).
  int status = 200;
  // The bytes served for the configuration sync; none answers 404.
  std::optional<std::string> configDocument;
  // App id to key; empty: posts need no key.
  std::map<std::string, std::string> appKeys;
  // The token every read needs; none: reads need no token.
  std::optional<std::string> readToken;
  // PEM files of the certificate chain and its private key: with both, the collector serves
  // HTTPS only.
  std::string tlsCertificateFile;
  std::string tlsKeyFile;
  ServiceLimits limits;
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
  std::string contentType = "application/json";
  // Further header fields: Allow, WWW-Authenticate, Link, Retry-After.
  std::vector<std::pair<std::string, std::string>> headers;
};

class VLQ_API CollectorServer {
 public:
  // Opens the database, binds and starts serving. Returns null and fills `error` (when given)
  // with the reason when the options are invalid, the database cannot be opened, the TLS
  // certificate or key cannot be used, or the address cannot be bound.
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
  // "http://ADDRESS:PORT" ("https://" with TLS), with a wildcard bind address replaced by the
  // loopback address, so a client on the same machine can use it as it stands.
  std::string baseUrl() const;

  // The status for the posts that follow. Throws std::invalid_argument outside 100 to 599.
  void setStatus(int status);
  // The next `count` posts are answered 500 and not stored, as by a service in trouble; then the
  // posts are answered as before. Replaces an earlier count; 0 or less ends the failures.
  void failNextPosts(int count);

  // Stops listening and drops the open connections, as a service that went down: connections are
  // refused until resume(). The stored bodies and the settings stay. Does nothing when not
  // listening.
  void suspend();
  // Listens again on the same port. False when it cannot: stopped for good, or the port was taken
  // meanwhile. True when already listening.
  bool resume();

  // The stored responses, oldest first: those of `appId` when given, otherwise all.
  std::vector<StoredResponse> responses(const std::optional<std::string>& appId = {}) const;

  // Called with each stored response once it is stored for good, before its client is answered.
  // Calls are one at a time and in storage order, on one of the server's threads. The observer
  // must not call setResponseObserver itself; what it throws is reported on standard error and
  // otherwise ignored. An empty function removes the observer.
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

#pragma once

// The host's HTTP requests: fetching a document and posting a JSON body. Each call blocks the
// calling thread until the answer arrives or a timeout ends it (by default 5 seconds to connect,
// 15 seconds for each read or write).
//
// An https:// address's certificate is always verified, against the system's certificate
// authorities or those of a file the host names, and must name the address's host. A
// certificate that fails is an answer that did not arrive, never a reason to go on without it.

#include <cstdint>
#include <optional>
#include <string>

#include <vlq/Export.h>
#include <vlq/host/HostValues.h>

namespace vlq::reference {

// What came back: the status and body of an answer, or why none arrived.
struct HttpOutcome {
  std::optional<std::int64_t> status;  // empty when no answer arrived
  std::string body;
  std::string retryAfter;            // the answer's Retry-After header; empty when it has none
  std::int64_t errorCode = 0;        // when no answer arrived: the transport's error number
  std::string errorMessage;          // when no answer arrived: what went wrong
  bool certificateRejected = false;  // the service's certificate failed verification
};

// What the host presents and whom it trusts.
struct HttpCredentials {
  // Sent as "Authorization: Bearer <token>" with every request; empty: none.
  std::string bearerToken;
  // A PEM file of the certificate authorities that https:// certificates must chain to; empty:
  // the system's.
  std::string caFile;
};

// How long a request may wait: to connect, and for each read or write.
struct HttpTimeouts {
  double connectSeconds = 5;
  double transferSeconds = 15;
};

// True for text that starts with "http://" or "https://".
VLQ_API bool isHttpUrl(const std::string& text);

// GETs `url` ("http://host:port/path?query").
VLQ_API HttpOutcome httpGet(const std::string& url, const HttpCredentials& credentials = {});

// POSTs `body` to `path` (a path with its query) resolved against `serviceAddress`
// ("http://host:port", optionally with a path prefix), with `headerFields` and a Content-Type of
// application/json unless the fields name another.
VLQ_API HttpOutcome httpPost(const std::string& serviceAddress, const std::string& path,
                             const std::string& body, const VLQHeaderFields& headerFields,
                             const HttpTimeouts& timeouts = {},
                             const HttpCredentials& credentials = {});

}  // namespace vlq::reference

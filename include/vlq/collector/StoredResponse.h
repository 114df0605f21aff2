#pragma once

// One survey-response body as the collector stored it.

#include <cstdint>
#include <string>

#include <vlq/host/JsonValue.h>

namespace vlq::collector {

struct StoredResponse {
  // Increases with each stored body, across restarts on the same database.
  std::int64_t id = 0;
  // The post's appId parameter; empty when the post had none.
  std::string appId;
  // When the body arrived, ISO 8601 in UTC with milliseconds: "2024-05-01T09:30:00.250Z".
  std::string receivedAt;
  // The request's path and query as received.
  std::string url;
  // The status answered to the post.
  int status = 0;
  // The post's Idempotency-Key header; empty when it had none.
  std::string idempotencyKey;
  // The body, parsed; keys keep the order in which they were sent.
  Json body;
};

}  // namespace vlq::collector

#pragma once

// One client connection of the collector's HTTP service, plain or TLS.
//
// A connection reads one request at a time, in the order they came (pipelined requests wait in
// its buffer), hands each to the router on the worker pool and writes the answer back before it
// reads the next. It is bounded at every step: a deadline for each request's head (counted from
// the moment it waits for one), for the body and for the answer; the parser's limits on the head
// and the body; the shared budget of large bodies. A request that the router refuses from its
// head alone is answered at once, unread.

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/thread_pool.hpp>
#include <string>

#include <vlq/collector/CollectorServer.h>

#include "collector/BodyBudget.h"
#include "collector/ConnectionRegistry.h"

namespace vlq::collector {

class Router;

// What the connections of one service share.
struct ConnectionContext {
  ConnectionContext(const Router& router, const ServiceLimits& limits,
                    boost::asio::thread_pool& workers)
      : router(router),
        limits(limits),
        registry(limits.maxConnections, limits.maxConnectionsPerAddress),
        budget(limits.maxBufferedBodyBytes),
        workers(workers) {}

  const Router& router;
  const ServiceLimits limits;
  ConnectionRegistry registry;
  BodyBudget budget;
  // Requests are answered here, off the threads that do the sockets' work, since storing a body
  // waits for the disk.
  boost::asio::thread_pool& workers;
};

// Serves the connection on `socket` (whose executor is a strand of its own) from `address` until
// it closes; over TLS when `tls` is given. A connection for which the registry has no room is
// closed at once.
void serveConnection(boost::asio::ip::tcp::socket socket, const std::string& address,
                     ConnectionContext& context, boost::asio::ssl::context* tls);

}  // namespace vlq::collector

#pragma once

// The collector's HTTP/1.1 service on a socket: it listens, limits the connections, reads each
// request within the service limits and hands it to the router, plain or over TLS.
//
// Sockets are served by a few threads that never wait on anything but the network (one per core,
// at least two); requests are answered on a pool of worker threads, since storing a body waits
// for the disk.

#include <memory>
#include <string>

#include <vlq/collector/CollectorServer.h>

namespace vlq::collector {

class Router;

class HttpService {
 public:
  // Binds the options' address and port (0: a free port) and starts serving `router`, which must
  // outlive the service, within the options' limits. With a TLS certificate and key it serves
  // HTTPS. Returns null and fills `error` when the address, the certificate or the key cannot be
  // used.
  static std::unique_ptr<HttpService> start(const Router& router, const CollectorOptions& options,
                                            std::string& error);

  ~HttpService();
  HttpService(const HttpService&) = delete;
  HttpService& operator=(const HttpService&) = delete;

  int port() const;

  // Stops listening and closes every connection; resume() listens again on the same port
  // (false when it cannot, or after stop()).
  void suspend();
  bool resume();
  // Stops for good: closes the listener and every connection, lets the requests being answered
  // finish, and waits for the threads.
  void stop();

 private:
  struct Impl;
  explicit HttpService(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace vlq::collector

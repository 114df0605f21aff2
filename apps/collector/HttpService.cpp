#include "collector/HttpService.h"

#include <algorithm>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#include <future>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "collector/HttpConnection.h"

namespace vlq::collector {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

// Threads that answer requests: most of their time goes to waiting for the disk, and bodies that
// arrive together are committed together, so more of them make larger commits.
constexpr int kWorkerThreads = 16;
// When accepting fails (no file descriptor left), the next try waits this long.
constexpr std::chrono::milliseconds kAcceptRetry{50};

std::optional<asio::ssl::context> tlsContext(const CollectorOptions& options, std::string& error) {
  asio::ssl::context tls(asio::ssl::context::tls_server);
  tls.set_options(asio::ssl::context::default_workarounds | asio::ssl::context::no_sslv2 |
                  asio::ssl::context::no_sslv3 | asio::ssl::context::no_tlsv1 |
                  asio::ssl::context::no_tlsv1_1 | asio::ssl::context::single_dh_use);
  error_code failure;
  tls.use_certificate_chain_file(options.tlsCertificateFile, failure);
  if (failure) {
    error =
        "cannot use the TLS certificate " + options.tlsCertificateFile + ": " + failure.message();
    return std::nullopt;
  }
  // OpenSSL also refuses a key that does not belong to the certificate here.
  tls.use_private_key_file(options.tlsKeyFile, asio::ssl::context::pem, failure);
  if (failure) {
    error = "cannot use the TLS key " + options.tlsKeyFile + ": " + failure.message();
    return std::nullopt;
  }
  return tls;
}

}  // namespace

struct HttpService::Impl {
  Impl(const Router& router, const ServiceLimits& limits)
      : context(router, limits, workers), workers(kWorkerThreads) {}

  // Declared in the order that lets each outlive what uses it. Connections use the context and
  // the TLS settings; the I/O context holds connections, and so does the worker pool, whose
  // waiting tasks are destroyed with it, before the sockets' I/O context.
  ConnectionContext context;  // keeps a reference to `workers`, used once both are made
  std::optional<asio::ssl::context> tls;
  asio::io_context io;
  asio::thread_pool workers;
  tcp::acceptor acceptor{asio::make_strand(io)};
  asio::steady_timer acceptRetry{acceptor.get_executor()};
  tcp::endpoint endpoint;
  std::optional<asio::executor_work_guard<asio::io_context::executor_type>> work;
  std::vector<std::thread> threads;

  std::mutex controlMutex;  // serialises suspend, resume and stop
  bool listening = false;   // guarded by controlMutex
  bool stopped = false;     // guarded by controlMutex

  // Opens the listening socket on `endpoint`.
  void listen(error_code& error) {
    acceptor.open(endpoint.protocol(), error);
    // Address reuse lets a collector restart on its port at once; no SO_REUSEPORT, which would let
    // a second collector share a port in use and take half of its posts.
    if (!error) acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    if (!error) acceptor.bind(endpoint, error);
    if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (error) {
      error_code ignored;
      acceptor.close(ignored);
      return;
    }
    endpoint = acceptor.local_endpoint(error);
  }

  void accept() {
    acceptor.async_accept(asio::make_strand(io), [this](error_code error, tcp::socket socket) {
      if (!acceptor.is_open()) return;
      if (error) {
        acceptRetry.expires_after(kAcceptRetry);
        acceptRetry.async_wait([this](error_code waited) {
          if (!waited && acceptor.is_open()) accept();
        });
        return;
      }
      admit(std::move(socket));
      accept();
    });
  }

  void admit(tcp::socket socket) {
    error_code error;
    const tcp::endpoint remote = socket.remote_endpoint(error);
    if (error) return;
    socket.set_option(tcp::no_delay(true), error);
    serveConnection(std::move(socket), remote.address().to_string(), context,
                    tls ? &*tls : nullptr);
  }

  // Runs `task` on the acceptor's strand and waits for it.
  template <class Task>
  void onAcceptorStrand(Task task) {
    std::promise<void> done;
    asio::post(acceptor.get_executor(), [&] {
      task();
      done.set_value();
    });
    done.get_future().wait();
  }

  void closeListener() {
    onAcceptorStrand([this] {
      error_code ignored;
      acceptor.close(ignored);
      acceptRetry.cancel();
    });
    context.registry.evictAll();
  }
};

std::unique_ptr<HttpService> HttpService::start(const Router& router,
                                                const CollectorOptions& options,
                                                std::string& error) {
  auto impl = std::make_unique<Impl>(router, options.limits);
  if (!options.tlsCertificateFile.empty() || !options.tlsKeyFile.empty()) {
    if (options.tlsCertificateFile.empty() || options.tlsKeyFile.empty()) {
      error = "TLS needs both a certificate and its key";
      return nullptr;
    }
    impl->tls = tlsContext(options, error);
    if (!impl->tls) return nullptr;
  }
  error_code failure;
  const std::string host = options.bind == "localhost" ? "127.0.0.1" : options.bind;
  const asio::ip::address address = asio::ip::make_address(host, failure);
  if (failure) {
    error = "the bind address " + options.bind + " is not an IP address";
    return nullptr;
  }
  impl->endpoint = tcp::endpoint(address, static_cast<unsigned short>(options.port));
  impl->listen(failure);
  if (failure) {
    error = "cannot listen on " + options.bind + " port " + std::to_string(options.port) + ": " +
            failure.message();
    return nullptr;
  }
  impl->listening = true;
  impl->accept();
  impl->work.emplace(impl->io.get_executor());
  const unsigned threads = std::max(2u, std::thread::hardware_concurrency());
  for (unsigned i = 0; i < threads; ++i)
    impl->threads.emplace_back([&io = impl->io] { io.run(); });
  return std::unique_ptr<HttpService>(new HttpService(std::move(impl)));
}

HttpService::HttpService(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

HttpService::~HttpService() {
  stop();
}

int HttpService::port() const {
  return impl_->endpoint.port();
}

void HttpService::suspend() {
  std::lock_guard lock(impl_->controlMutex);
  if (!impl_->listening) return;
  impl_->closeListener();
  impl_->listening = false;
}

bool HttpService::resume() {
  std::lock_guard lock(impl_->controlMutex);
  if (impl_->stopped) return false;
  if (impl_->listening) return true;
  error_code failure;
  impl_->onAcceptorStrand([&] {
    impl_->listen(failure);
    if (!failure) impl_->accept();
  });
  impl_->listening = !failure;
  return impl_->listening;
}

void HttpService::stop() {
  std::lock_guard lock(impl_->controlMutex);
  if (impl_->stopped) return;
  impl_->stopped = true;
  if (impl_->listening) impl_->closeListener();
  impl_->listening = false;
  // The requests being answered finish; their answers find their connections closed.
  impl_->workers.join();
  impl_->work.reset();
  for (auto& thread : impl_->threads)
    thread.join();
}

}  // namespace vlq::collector

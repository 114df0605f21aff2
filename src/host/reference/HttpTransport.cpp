#include <httplib.h>
#include <openssl/x509.h>
#include <strings.h>

#include <algorithm>
#include <utility>

#include <vlq/host/reference/HttpTransport.h>

namespace vlq::reference {

namespace {

// An error number for requests that never reached the transport (an address it cannot use).
constexpr std::int64_t kInvalidAddressError = -1;

struct SplitUrl {
  std::string origin;  // scheme, host and port
  std::string path;    // from the first "/" after the host on; "/" when there is none
};

std::optional<SplitUrl> splitUrl(const std::string& url) {
  if (!isHttpUrl(url)) return std::nullopt;
  const auto hostStart = url.find("://") + 3;
  const auto pathStart = url.find_first_of("/?#", hostStart);
  if (pathStart == hostStart) return std::nullopt;
  if (pathStart == std::string::npos) return SplitUrl{url, "/"};
  std::string path = url.substr(pathStart);
  if (path.front() != '/') path.insert(path.begin(), '/');
  return SplitUrl{url.substr(0, pathStart), std::move(path)};
}

HttpOutcome failed(std::int64_t code, std::string message) {
  HttpOutcome outcome;
  outcome.errorCode = code;
  outcome.errorMessage = std::move(message);
  return outcome;
}

HttpOutcome outcomeOf(const httplib::Result& result, const httplib::Client& client,
                      const std::string& where) {
  if (!result) {
    if (result.error() == httplib::Error::SSLServerVerification) {
      const long verified = client.get_openssl_verify_result();
      HttpOutcome outcome =
          failed(static_cast<std::int64_t>(result.error()),
                 "the certificate of " + where + " was not accepted: " +
                     (verified == X509_V_OK ? std::string("it does not name the host")
                                            : X509_verify_cert_error_string(verified)));
      outcome.certificateRejected = true;
      return outcome;
    }
    return failed(static_cast<std::int64_t>(result.error()),
                  "no answer from " + where + ": " + httplib::to_string(result.error()));
  }
  HttpOutcome outcome;
  outcome.status = result->status;
  outcome.body = result->body;
  outcome.retryAfter = result->get_header_value("Retry-After");
  return outcome;
}

void secure(httplib::Client& client, const HttpCredentials& credentials) {
  client.enable_server_certificate_verification(true);
  if (!credentials.caFile.empty()) client.set_ca_cert_path(credentials.caFile.c_str());
}

httplib::Headers authorization(const HttpCredentials& credentials) {
  if (credentials.bearerToken.empty()) return {};
  return {{"Authorization", "Bearer " + credentials.bearerToken}};
}

void applyTimeouts(httplib::Client& client, const HttpTimeouts& timeouts) {
  const auto whole = [](double seconds) { return static_cast<time_t>(std::max(0.0, seconds)); };
  const auto micro = [&](double seconds) {
    return static_cast<time_t>((std::max(0.0, seconds) - whole(seconds)) * 1e6);
  };
  client.set_connection_timeout(whole(timeouts.connectSeconds), micro(timeouts.connectSeconds));
  client.set_read_timeout(whole(timeouts.transferSeconds), micro(timeouts.transferSeconds));
  client.set_write_timeout(whole(timeouts.transferSeconds), micro(timeouts.transferSeconds));
}

}  // namespace

bool isHttpUrl(const std::string& text) {
  return text.rfind("http://", 0) == 0 || text.rfind("https://", 0) == 0;
}

HttpOutcome httpGet(const std::string& url, const HttpCredentials& credentials) {
  const auto split = splitUrl(url);
  if (!split) return failed(kInvalidAddressError, "not an http URL: " + url);
  httplib::Client client(split->origin);
  if (!client.is_valid()) return failed(kInvalidAddressError, "unusable address: " + url);
  applyTimeouts(client, HttpTimeouts{});
  secure(client, credentials);
  return outcomeOf(client.Get(split->path, authorization(credentials)), client, url);
}

HttpOutcome httpPost(const std::string& serviceAddress, const std::string& path,
                     const std::string& body, const VLQHeaderFields& headerFields,
                     const HttpTimeouts& timeouts, const HttpCredentials& credentials) {
  const auto split = splitUrl(serviceAddress);
  if (!split) return failed(kInvalidAddressError, "no usable service address: " + serviceAddress);
  httplib::Client client(split->origin);
  if (!client.is_valid()) {
    return failed(kInvalidAddressError, "unusable service address: " + serviceAddress);
  }
  applyTimeouts(client, timeouts);
  secure(client, credentials);

  // The service address's own path is a prefix of every posted path.
  std::string prefix = split->path;
  while (!prefix.empty() && prefix.back() == '/')
    prefix.pop_back();
  const std::string target = prefix + (path.rfind('/', 0) == 0 ? path : "/" + path);

  std::string contentType = "application/json";
  httplib::Headers headers;
  for (const auto& [name, value] : headerFields) {
    if (strcasecmp(name.c_str(), "Content-Type") == 0) {
      contentType = value;
    } else {
      headers.emplace(name, value);
    }
  }
  // Authorization fields of the caller's own come first.
  if (headers.find("Authorization") == headers.end()) headers.merge(authorization(credentials));
  return outcomeOf(client.Post(target, headers, body, contentType), client, split->origin + target);
}

}  // namespace vlq::reference

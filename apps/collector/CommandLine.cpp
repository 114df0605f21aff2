#include "collector/CommandLine.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "collector/WholeNumber.h"

namespace vlq::collector {
namespace {

const std::vector<std::string> kValueOptions = {"--port",
                                                "--db",
                                                "--bind",
                                                "--status",
                                                "--config",
                                                "--app-keys",
                                                "--read-token",
                                                "--tls-cert",
                                                "--tls-key",
                                                "--max-body-bytes",
                                                "--max-connections",
                                                "--max-connections-per-address"};

}  // namespace

std::optional<CommandLine> parseCommandLine(const std::vector<std::string>& arguments,
                                            std::string& error) {
  CommandLine line;
  ServiceLimits& limits = line.options.limits;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    std::string name = arguments[i];
    std::optional<std::string> value;
    if (const auto equals = name.find('='); name.rfind("--", 0) == 0 && equals != name.npos) {
      value = name.substr(equals + 1);
      name.resize(equals);
    }
    if (name == "--help" || name == "-h") {
      line.help = true;
      continue;
    }
    if (std::find(kValueOptions.begin(), kValueOptions.end(), name) == kValueOptions.end()) {
      error = "unknown option " + arguments[i];
      return std::nullopt;
    }
    if (!value) {
      if (i + 1 == arguments.size()) {
        error = name + " needs a value";
        return std::nullopt;
      }
      value = arguments[++i];
    }
    // The numbers, each with its range.
    const auto number = [&](std::size_t low, std::size_t high) {
      const auto parsed = parseWholeNumber<std::size_t>(*value, low, high);
      if (!parsed) {
        error = name + " wants a number from " + std::to_string(low) + " to " +
                std::to_string(high) + ", not '" + *value + "'";
      }
      return parsed;
    };
    constexpr std::size_t kLots = std::numeric_limits<std::int32_t>::max();
    if (name == "--port") {
      const auto port = number(0, 65535);
      if (!port) return std::nullopt;
      line.options.port = static_cast<int>(*port);
    } else if (name == "--status") {
      const auto status = number(100, 599);
      if (!status) return std::nullopt;
      line.options.status = static_cast<int>(*status);
    } else if (name == "--max-body-bytes") {
      const auto bytes = number(1, kLots);
      if (!bytes) return std::nullopt;
      limits.maxBodyBytes = *bytes;
    } else if (name == "--max-connections") {
      const auto count = number(1, kLots);
      if (!count) return std::nullopt;
      limits.maxConnections = *count;
    } else if (name == "--max-connections-per-address") {
      const auto count = number(1, kLots);
      if (!count) return std::nullopt;
      limits.maxConnectionsPerAddress = *count;
    } else if (value->empty()) {
      error = name + " needs a non-empty value";
      return std::nullopt;
    } else if (name == "--db") {
      line.options.database = *value;
    } else if (name == "--bind") {
      line.options.bind = *value;
    } else if (name == "--config") {
      line.configPath = *value;
    } else if (name == "--app-keys") {
      line.appKeysPath = *value;
    } else if (name == "--read-token") {
      line.readTokenPath = *value;
    } else if (name == "--tls-cert") {
      line.options.tlsCertificateFile = *value;
    } else {
      line.options.tlsKeyFile = *value;
    }
  }
  if (line.options.tlsCertificateFile.empty() != line.options.tlsKeyFile.empty()) {
    error = "--tls-cert and --tls-key go together";
    return std::nullopt;
  }
  return line;
}

std::string usage() {
  return R"(usage: vlq-survey-collector [options]

Receives survey responses over HTTP(S) and stores them in SQLite.

  POST /v2/api/survey-response?appId=ID   store a JSON object body (Content-Type:
                                          application/json); a repeated Idempotency-Key
                                          gets the first answer again (409 for another body)
  GET  /v2/api/survey-responses?appId=ID  the app's stored bodies as a JSON array, a page at a
       [&limit=N][&after=ID]              time (limit 1 to 1000, default 100); a Link header
                                          leads to the next page
  GET  /v2/api/surveys                    the --config file's bytes (404 without --config)

options:
  --port N          port to listen on; 0 (the default) picks a free one
  --bind ADDR       IP address to listen on (default 127.0.0.1); any but a loopback address
                    needs --app-keys and --read-token
  --db FILE         SQLite file of the responses (default vlq-responses.sqlite in the working
                    directory, created readable by its owner only); :memory: keeps them in
                    memory, gone when the collector stops
  --app-keys FILE   JSON object of app id to key: a post needs "Authorization: Bearer KEY"
                    with its appId's key
  --read-token FILE a file holding the token (16 characters or more) that every read needs as
                    "Authorization: Bearer TOKEN"
                    Without both, only clients on this machine are served.
  --tls-cert FILE   PEM certificate chain; with --tls-key, serves HTTPS only
  --tls-key FILE    PEM private key of the certificate
  --status CODE     status answered to every valid post (default 200); bodies are stored anyway
  --config FILE     configuration document served for the host's sync
  --max-body-bytes N                 largest body taken, however it is sent (default 1048576)
  --max-connections N                open connections in all (default 1024)
  --max-connections-per-address N    open connections from one address (default 512)
  --help            this text

Prints "listening on http(s)://ADDRESS:PORT" once serving; stops on SIGINT or SIGTERM.
Exit status: 0 after a clean stop, 1 when it cannot start (database, address, certificate),
2 for bad options, unreadable or malformed --config, --app-keys or --read-token files, or a
non-loopback --bind without --app-keys and --read-token.
)";
}

}  // namespace vlq::collector

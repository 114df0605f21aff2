#include "collector/CommandLine.h"

#include <charconv>

namespace vlq::collector {
namespace {

// A whole decimal number in [low, high], nothing else.
std::optional<int> parseNumber(const std::string& text, int low, int high) {
  int value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, value);
  if (text.empty() || failure != std::errc() || stop != end || value < low || value > high) {
    return std::nullopt;
  }
  return value;
}

}  // namespace

std::optional<CommandLine> parseCommandLine(const std::vector<std::string>& arguments,
                                            std::string& error) {
  CommandLine line;
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
    if (name != "--port" && name != "--db" && name != "--bind" && name != "--status" &&
        name != "--config") {
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
    if (name == "--port") {
      const auto port = parseNumber(*value, 0, 65535);
      if (!port) {
        error = "--port wants a number from 0 to 65535, not '" + *value + "'";
        return std::nullopt;
      }
      line.options.port = *port;
    } else if (name == "--status") {
      const auto status = parseNumber(*value, 100, 599);
      if (!status) {
        error = "--status wants an HTTP status from 100 to 599, not '" + *value + "'";
        return std::nullopt;
      }
      line.options.status = *status;
    } else if (value->empty()) {
      error = name + " needs a non-empty value";
      return std::nullopt;
    } else if (name == "--db") {
      line.options.database = *value;
    } else if (name == "--bind") {
      line.options.bind = *value;
    } else {
      line.configPath = *value;
    }
  }
  return line;
}

std::string usage() {
  return R"(usage: vlq-survey-collector [options]

Receives survey responses over HTTP and stores them in SQLite.

  POST /v2/api/survey-response?appId=ID   store a JSON object body (400 when it is not one);
                                          a repeated Idempotency-Key header gets the first
                                          answer again and stores nothing
  GET  /v2/api/survey-responses?appId=ID  the stored bodies as a JSON array (all without appId)
  GET  /v2/api/surveys?appId=ID           the --config file's bytes (404 without --config)
  POST /v2/api/events?appId=ID            store a host's batch of analytics events
  GET  /v2/api/results?appId=ID&survey=ID a survey's results as JSON (from=, to= YYYY-MM-DD)
  GET  /v2/api/results.csv?appId=ID&survey=ID   its responses as CSV
  GET  /results?appId=ID                  the results page

options:
  --port N       port to listen on; 0 (the default) picks a free one
  --bind ADDR    address to listen on (default 127.0.0.1)
  --db FILE      SQLite file that keeps the responses across runs
                 (default: in memory, gone when the collector stops)
  --status CODE  status answered to every valid post (default 200); bodies are stored anyway
  --config FILE  configuration document served for the host's sync
  --help         this text

Prints "listening on http://ADDRESS:PORT" once serving; stops on SIGINT or SIGTERM.
Exit status: 0 after a clean stop, 1 when it cannot start (database, address),
2 for bad options or an unreadable --config file.
)";
}

}  // namespace vlq::collector

#include "collector/PgConnection.h"

#include <libpq-fe.h>

#include <charconv>
#include <cstdlib>
#include <stdexcept>
#include <vector>

namespace vlq::collector {
namespace {

std::string messageOf(const pg_conn* connection) {
  std::string message = PQerrorMessage(connection);
  while (!message.empty() && (message.back() == '\n' || message.back() == ' '))
    message.pop_back();
  return message;
}

// Throws unless `result` is a success; clears it first when it is not.
void check(pg_result* result, const PgConnection* connection) {
  const ExecStatusType status = PQresultStatus(result);
  if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK) return;
  const std::string message = pgResultError(result);
  PQclear(result);
  throw std::runtime_error(message.empty() ? connection->lastError() : message);
}

}  // namespace

std::string pgResultError(const pg_result* result) {
  std::string message = result ? PQresultErrorMessage(result) : "";
  while (!message.empty() && (message.back() == '\n' || message.back() == ' '))
    message.pop_back();
  return message;
}

bool isPostgresLocation(const std::string& location) {
  return location.rfind("postgresql://", 0) == 0 || location.rfind("postgres://", 0) == 0;
}

std::unique_ptr<PgConnection> PgConnection::open(const std::string& url, std::string& error) {
  // A server that vanishes without closing its connections (its host down, a failover that moves
  // its address) would otherwise hold a post, a read or a new connection for as long as TCP keeps
  // trying: about a quarter of an hour for statements sent and never acknowledged, two hours for
  // an idle connection, minutes for a connection being made. With these defaults the collector
  // gives up within a minute, answers what was in flight as failed and connects again. Settings
  // in `url` come after them and so win, as does PGCONNECT_TIMEOUT in the environment.
  std::vector<const char*> keywords;
  std::vector<const char*> values;
  const auto set = [&](const char* keyword, const char* value) {
    keywords.push_back(keyword);
    values.push_back(value);
  };
  if (!std::getenv("PGCONNECT_TIMEOUT")) set("connect_timeout", "10");
  set("tcp_user_timeout", "30000");  // ms that sent data may go unacknowledged
  set("keepalives_idle", "30");
  set("keepalives_interval", "10");
  set("keepalives_count", "3");
  set("dbname", url.c_str());  // a URL, expanded into the settings it holds
  set(nullptr, nullptr);
  pg_conn* connection = PQconnectdbParams(keywords.data(), values.data(), 1);
  if (!connection || PQstatus(connection) != CONNECTION_OK) {
    error = "cannot connect to the database: " +
            (connection ? messageOf(connection) : std::string("out of memory"));
    PQfinish(connection);
    return nullptr;
  }
  // "relation already exists, skipping" and the like are no news to anyone.
  PQsetNoticeProcessor(
      connection, [](void*, const char*) {}, nullptr);
  return std::unique_ptr<PgConnection>(new PgConnection(connection));
}

PgConnection::~PgConnection() {
  PQfinish(connection_);
}

bool PgConnection::healthy() const {
  return PQstatus(connection_) == CONNECTION_OK;
}

std::string PgConnection::lastError() const {
  return messageOf(connection_);
}

const std::string& PgConnection::prepared(const std::string& sql) {
  const auto found = prepared_.find(sql);
  if (found != prepared_.end()) return found->second;
  const std::string name = "vlq_" + std::to_string(prepared_.size() + 1);
  pg_result* result = PQprepare(connection_, name.c_str(), sql.c_str(), 0, nullptr);
  check(result, this);
  PQclear(result);
  return prepared_.emplace(sql, name).first->second;
}

std::string pgArrayLiteral(const std::vector<std::optional<std::string>>& values) {
  std::size_t length = 2;
  for (const auto& value : values)
    length += value ? value->size() + 3 : 5;
  std::string literal;
  literal.reserve(length);
  literal += '{';
  for (const auto& value : values) {
    if (literal.size() > 1) literal += ',';
    if (!value) {
      literal += "NULL";
      continue;
    }
    literal += '"';
    for (const char c : *value) {
      if (c == '"' || c == '\\') literal += '\\';
      literal += c;
    }
    literal += '"';
  }
  literal += '}';
  return literal;
}

void executePg(PgConnection* connection, const char* sql) {
  pg_result* result = PQexec(connection->get(), sql);
  check(result, connection);
  connection->setChanges(std::atoll(PQcmdTuples(result)));
  PQclear(result);
}

PgQuery::PgQuery(PgConnection* connection, const char* sql, Planning planning)
    : connection_(connection), sql_(sql), planning_(planning) {}

PgQuery::~PgQuery() {
  PQclear(result_);
}

PgQuery& PgQuery::bind(const char* name, const std::string& text) {
  if (name[0] != '$') throw std::logic_error(std::string("no SQL parameter ") + name);
  const auto index = static_cast<std::size_t>(std::atoi(name + 1));
  if (index == 0) throw std::logic_error(std::string("no SQL parameter ") + name);
  if (parameters_.size() < index) parameters_.resize(index);
  parameters_[index - 1] = text;
  return *this;
}

PgQuery& PgQuery::bind(const char* name, std::int64_t number) {
  return bind(name, std::to_string(number));
}

PgQuery& PgQuery::bind(const char* name, const std::optional<std::string>& text) {
  if (text) return bind(name, *text);
  bind(name, std::string());
  parameters_[static_cast<std::size_t>(std::atoi(name + 1)) - 1].reset();
  return *this;
}

PgQuery& PgQuery::bind(const char* name, const std::optional<std::int64_t>& number) {
  return number ? bind(name, *number) : bind(name, std::optional<std::string>());
}

PgQuery& PgQuery::bind(const char* name, const std::optional<double>& number) {
  if (!number) return bind(name, std::optional<std::string>());
  char digits[64];
  const auto end = std::to_chars(digits, digits + sizeof digits, *number).ptr;
  return bind(name, std::string(digits, end));
}

void PgQuery::execute() {
  PQclear(result_);
  result_ = nullptr;
  std::vector<const char*> values;
  values.reserve(parameters_.size());
  for (const auto& parameter : parameters_)
    values.push_back(parameter ? parameter->c_str() : nullptr);
  // Text values of unknown type: the server reads each as its column's or operand's type.
  const int count = static_cast<int>(values.size());
  pg_result* result = planning_ == Planning::eachRun
                          ? PQexecParams(connection_->get(), sql_.c_str(), count, nullptr,
                                         values.data(), nullptr, nullptr, 0)
                          : PQexecPrepared(connection_->get(), connection_->prepared(sql_).c_str(),
                                           count, values.data(), nullptr, nullptr, 0);
  check(result, connection_);
  connection_->setChanges(std::atoll(PQcmdTuples(result)));
  result_ = result;
  row_ = -1;
}

bool PgQuery::step() {
  if (!result_) execute();
  return ++row_ < PQntuples(result_);
}

void PgQuery::run() {
  execute();
  PQclear(result_);
  result_ = nullptr;
}

bool PgQuery::isNull(int column) const {
  return PQgetisnull(result_, row_, column) != 0;
}

std::string PgQuery::text(int column) const {
  return {PQgetvalue(result_, row_, column),
          static_cast<std::size_t>(PQgetlength(result_, row_, column))};
}

std::optional<std::string> PgQuery::optionalText(int column) const {
  if (isNull(column)) return std::nullopt;
  return text(column);
}

std::int64_t PgQuery::integer(int column) const {
  // Sums of big integers come back as numeric: "12" all the same.
  return std::strtoll(PQgetvalue(result_, row_, column), nullptr, 10);
}

std::optional<std::int64_t> PgQuery::optionalInteger(int column) const {
  if (isNull(column)) return std::nullopt;
  return integer(column);
}

std::optional<double> PgQuery::optionalReal(int column) const {
  if (isNull(column)) return std::nullopt;
  return std::strtod(PQgetvalue(result_, row_, column), nullptr);
}

}  // namespace vlq::collector

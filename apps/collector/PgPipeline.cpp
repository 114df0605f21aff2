#include "collector/PgPipeline.h"

#include <libpq-fe.h>

#include <exception>
#include <utility>

namespace vlq::collector {
namespace {

struct ResultFree {
  void operator()(pg_result* result) const { PQclear(result); }
};
using Result = std::unique_ptr<pg_result, ResultFree>;

bool failed(const pg_result* result) {
  const ExecStatusType status = PQresultStatus(result);
  return status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK;
}

std::string messageOf(const pg_result* result) {
  std::string message = pgResultError(result);
  return message.empty() ? "the database did not run the statement" : message;
}

}  // namespace

std::unique_ptr<PgPipeline> PgPipeline::open(const std::string& url,
                                             const std::vector<std::string>& statements,
                                             std::string& error) {
  auto connection = PgConnection::open(url, error);
  if (!connection) return nullptr;
  std::unique_ptr<PgPipeline> pipeline(new PgPipeline(std::move(connection)));
  try {
    // Prepared before the pipeline starts: a statement prepared meanwhile would need an answer
    // of its own before its first run.
    for (const std::string& sql : statements)
      pipeline->prepared_.emplace(sql, pipeline->connection_->prepared(sql));
  } catch (const std::exception& e) {
    error = e.what();
    return nullptr;
  }
  if (!PQenterPipelineMode(pipeline->connection_->get())) {
    error = "cannot send statements in a pipeline: " + pipeline->connection_->lastError();
    return nullptr;
  }
  return pipeline;
}

PgPipeline::PgPipeline(std::unique_ptr<PgConnection> connection)
    : connection_(std::move(connection)) {}

PgPipeline::~PgPipeline() {
  for (Awaited& awaited : awaited_)
    PQclear(awaited.result);
}

int PgPipeline::socket() const {
  return PQsocket(connection_->get());
}

bool PgPipeline::send(const std::string& sql, const std::vector<const char*>& values,
                      Handler handler) {
  if (broken_) return false;
  // Awaited before it is sent, so that no answer can come for a statement nobody awaits.
  awaited_.push_back(Awaited{std::move(handler)});
  pg_conn* connection = connection_->get();
  const int count = static_cast<int>(values.size());
  const auto prepared = prepared_.find(sql);
  const int sent = prepared != prepared_.end()
                       ? PQsendQueryPrepared(connection, prepared->second.c_str(), count,
                                             values.data(), nullptr, nullptr, 0)
                       : PQsendQueryParams(connection, sql.c_str(), count, nullptr, values.data(),
                                           nullptr, nullptr, 0);
  // The sync ends the statement's transaction, so that it commits on its own; it also flushes
  // what was sent to the server.
  if (!sent || !PQpipelineSync(connection)) {
    awaited_.pop_back();  // its handler is not called: the caller hears of it from the false
    breakOff(connection_->lastError());
    return false;
  }
  return true;
}

void PgPipeline::receive(bool readSocket) {
  if (broken_) return;
  pg_conn* connection = connection_->get();
  if (readSocket && !PQconsumeInput(connection)) return breakOff(connection_->lastError());
  bool betweenStatements = false;
  while (!awaited_.empty() && !PQisBusy(connection)) {
    Result result(PQgetResult(connection));
    if (!result) {
      // The end of one statement's answer; a second one in a row means nothing more has come.
      if (betweenStatements) break;
      betweenStatements = true;
      continue;
    }
    betweenStatements = false;
    if (PQresultStatus(result.get()) != PGRES_PIPELINE_SYNC) {
      // The statement's rows, or why it failed; a commit that fails after the rows came says so
      // in a second answer, which then stands for the statement.
      Awaited& front = awaited_.front();
      if (!front.result || failed(result.get())) {
        PQclear(front.result);
        front.result = result.release();
      }
      continue;
    }
    // The transaction is over: the statement's answer stands.
    Awaited answered = std::move(awaited_.front());
    awaited_.pop_front();
    const Result own(answered.result);
    answered.handler(own.get(), failed(own.get()) ? messageOf(own.get()) : std::string());
  }
  if (!broken_ && PQstatus(connection) != CONNECTION_OK) breakOff(connection_->lastError());
}

void PgPipeline::breakOff(const std::string& error) {
  broken_ = true;
  brokenBecause_ = error.empty() ? "the connection to the database broke" : error;
  std::deque<Awaited> unanswered;
  unanswered.swap(awaited_);
  for (Awaited& awaited : unanswered) {
    const Result dropped(awaited.result);
    awaited.handler(nullptr, brokenBecause_);
  }
}

}  // namespace vlq::collector

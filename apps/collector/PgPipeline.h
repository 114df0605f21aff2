#pragma once

// Statements sent one after another over one connection without waiting for each one's answer
// (libpq's pipeline mode). While the server runs one statement, the next is already on its way,
// so the server does not sit idle between two waiting for the client. Each statement is a
// transaction of its own, committed when it ends, and the answers come back in the order sent.
//
// One thread uses a pipeline at a time. It sends, waits on socket() for the server, and calls
// receive(), which hands each answer to the handler given with its statement.

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "collector/PgConnection.h"

namespace vlq::collector {

class PgPipeline {
 public:
  // Called once with a statement's answer. On success `error` is empty and `result` holds the
  // rows; otherwise `error` says why it failed, and nothing of the statement was kept. The
  // handler may send further statements; the result is freed once it returns.
  using Handler = std::function<void(const pg_result* result, const std::string& error)>;

  // Connects to the database `url` names and prepares `statements` (SQL texts), so that the
  // server parses and plans them once. Null, with `error` filled, when that fails.
  static std::unique_ptr<PgPipeline> open(const std::string& url,
                                          const std::vector<std::string>& statements,
                                          std::string& error);
  ~PgPipeline();
  PgPipeline(const PgPipeline&) = delete;
  PgPipeline& operator=(const PgPipeline&) = delete;

  // Sends `sql` with `values` for its parameters ($1, $2... as text; null for NULL), to run after
  // what was sent before. A statement prepared at open runs by its name; any other is planned
  // when it runs. False when the connection is broken; then `handler` is never called.
  bool send(const std::string& sql, const std::vector<const char*>& values, Handler handler);
  // Whether answers are still to come.
  bool waiting() const { return !awaited_.empty(); }
  // The socket that becomes readable when the server answers.
  int socket() const;
  // Hands every answer that has fully arrived to its handler, in the order sent; reads the socket
  // first when `readSocket`. Should the connection break, every statement still awaited fails
  // with the reason, and the pipeline stays broken.
  void receive(bool readSocket);
  bool broken() const { return broken_; }
  // Why the connection broke.
  const std::string& brokenBecause() const { return brokenBecause_; }

 private:
  struct Awaited {
    Handler handler;
    pg_result* result = nullptr;  // the statement's own answer, before the end of its transaction
  };

  explicit PgPipeline(std::unique_ptr<PgConnection> connection);
  void breakOff(const std::string& error);

  std::unique_ptr<PgConnection> connection_;
  std::map<std::string, std::string> prepared_;  // SQL text to statement name
  std::deque<Awaited> awaited_;                  // oldest first
  bool broken_ = false;
  std::string brokenBecause_;
};

}  // namespace vlq::collector

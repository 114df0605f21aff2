#pragma once

// The collector's open connections, limited in all and per client address.
//
// A connection past a limit does not simply lose to those that came first: it takes the place of
// the connection, among those it competes with (the same address's, or everyone's), that has
// waited longest for a request's head, since a client that trickles its head or sends nothing is
// what a slow attack looks like. Connections busy with a request's body, its handling or its
// answer are never taken; when every competitor is busy, the newcomer is refused.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

namespace vlq::collector {

// A connection that can be told to close, from any thread.
class Evictable {
 public:
  virtual ~Evictable() = default;
  virtual void evict() = 0;
};

class ConnectionRegistry {
 public:
  using Id = std::uint64_t;

  ConnectionRegistry(std::size_t maxConnections, std::size_t maxPerAddress);

  // Registers a connection from `address`, waiting for its first request; evicts another to make
  // room when a limit is reached. Returns 0 when there is no room.
  Id admit(const std::string& address, std::weak_ptr<Evictable> connection);
  // Whether the connection waits for a request's head (and may be evicted) or is busy.
  void setWaiting(Id id, bool waiting);
  // Forgets the connection (it closed, or was evicted); any id, any number of times.
  void release(Id id);
  // Evicts every connection.
  void evictAll();

  std::size_t size() const;

 private:
  struct Entry {
    std::string address;
    std::weak_ptr<Evictable> connection;
    bool waiting = true;
    std::chrono::steady_clock::time_point since;
  };
  using Entries = std::unordered_map<Id, Entry>;

  // The waiting entry that has waited longest, of `address` when given; end() when none waits.
  Entries::iterator longestWaiting(const std::string* address, Id besides);
  void forget(Entries::iterator entry);

  const std::size_t maxConnections_;
  const std::size_t maxPerAddress_;
  mutable std::mutex mutex_;
  Entries entries_;                                          // guarded by mutex_
  std::unordered_map<std::string, std::size_t> perAddress_;  // guarded by mutex_
  Id nextId_ = 1;                                            // guarded by mutex_
};

}  // namespace vlq::collector

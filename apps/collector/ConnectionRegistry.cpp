#include "collector/ConnectionRegistry.h"

#include <utility>
#include <vector>

namespace vlq::collector {

ConnectionRegistry::ConnectionRegistry(std::size_t maxConnections, std::size_t maxPerAddress)
    : maxConnections_(maxConnections), maxPerAddress_(maxPerAddress) {}

ConnectionRegistry::Entries::iterator ConnectionRegistry::longestWaiting(const std::string* address,
                                                                         Id besides) {
  auto oldest = entries_.end();
  for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
    if (!entry->second.waiting || entry->first == besides) continue;
    if (address && entry->second.address != *address) continue;
    if (oldest == entries_.end() || entry->second.since < oldest->second.since) oldest = entry;
  }
  return oldest;
}

void ConnectionRegistry::forget(Entries::iterator entry) {
  auto count = perAddress_.find(entry->second.address);
  if (count != perAddress_.end() && --count->second == 0) perAddress_.erase(count);
  entries_.erase(entry);
}

ConnectionRegistry::Id ConnectionRegistry::admit(const std::string& address,
                                                 std::weak_ptr<Evictable> connection) {
  std::vector<std::weak_ptr<Evictable>> evicted;
  Id id = 0;
  {
    std::lock_guard lock(mutex_);
    auto sameAddress = entries_.end();
    const auto found = perAddress_.find(address);
    if (found != perAddress_.end() && found->second >= maxPerAddress_) {
      sameAddress = longestWaiting(&address, 0);
      if (sameAddress == entries_.end()) return 0;
    }
    // Evicting one of the address's own connections also frees a place in all.
    const std::size_t others = entries_.size() - (sameAddress != entries_.end() ? 1 : 0);
    auto anyone = entries_.end();
    if (others >= maxConnections_) {
      anyone = longestWaiting(nullptr, sameAddress != entries_.end() ? sameAddress->first : 0);
      if (anyone == entries_.end()) return 0;
    }
    for (auto victim : {sameAddress, anyone}) {
      if (victim == entries_.end()) continue;
      evicted.push_back(std::move(victim->second.connection));
      forget(victim);
    }
    id = nextId_++;
    entries_.emplace(id,
                     Entry{address, std::move(connection), true, std::chrono::steady_clock::now()});
    ++perAddress_[address];
  }
  for (auto& victim : evicted) {
    if (const auto connection = victim.lock()) connection->evict();
  }
  return id;
}

void ConnectionRegistry::setWaiting(Id id, bool waiting) {
  std::lock_guard lock(mutex_);
  const auto entry = entries_.find(id);
  if (entry == entries_.end()) return;
  entry->second.waiting = waiting;
  if (waiting) entry->second.since = std::chrono::steady_clock::now();
}

void ConnectionRegistry::release(Id id) {
  std::lock_guard lock(mutex_);
  const auto entry = entries_.find(id);
  if (entry != entries_.end()) forget(entry);
}

void ConnectionRegistry::evictAll() {
  std::vector<std::weak_ptr<Evictable>> evicted;
  {
    std::lock_guard lock(mutex_);
    for (auto& [id, entry] : entries_)
      evicted.push_back(entry.connection);
  }
  for (auto& victim : evicted) {
    if (const auto connection = victim.lock()) connection->evict();
  }
}

std::size_t ConnectionRegistry::size() const {
  std::lock_guard lock(mutex_);
  return entries_.size();
}

}  // namespace vlq::collector

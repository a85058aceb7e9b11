#pragma once

#include <atomic>
#include <optional>
#include <unordered_map>
#include <utility>

#include <tilvanego/network/OpenAPIMutex.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A dictionary whose entries may be read and written from any thread. Each operation is atomic.
template <typename Key, typename Value>
class SynchronizedDictionary {
 public:
  SynchronizedDictionary() : _state(std::unordered_map<Key, Value>()) {}

  /// Returns a copy of the entry, or no value.
  [[nodiscard]] std::optional<Value> value(const Key& key) const {
    return _state.withValue([&](const auto& entries) -> std::optional<Value> {
      const auto found = entries.find(key);
      if (found == entries.end()) return std::nullopt;
      return found->second;
    });
  }

  /// Takes no lock: what another thread is changing meanwhile may not be seen yet.
  [[nodiscard]] bool isEmpty() const { return isEmpty_.load(std::memory_order_relaxed); }

  /// Sets the value of the key; `std::nullopt` removes the key. The former value is destroyed without the
  /// lock.
  void setValue(const Key& key, std::optional<Value> value) {
    // Removes nothing. Mostly there is no entry, and no lock is needed then.
    if (!value && isEmpty()) return;
    typename Entries::node_type former;
    _state.withValue([&](Entries& entries) {
      former = entries.extract(key);
      isEmpty_.store(entries.empty() && !value, std::memory_order_relaxed);
      if (!value) return;
      if (former) {
        std::swap(former.mapped(), *value);
        entries.insert(std::move(former));
      } else {
        entries.emplace(key, *std::move(value));
      }
    });
  }

 private:
  using Entries = std::unordered_map<Key, Value>;
  OpenAPIMutex<Entries> _state;
  /// Written under the lock.
  std::atomic<bool> isEmpty_ = true;
};

}  // namespace tilvanego

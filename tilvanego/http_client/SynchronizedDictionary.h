#pragma once

#include <tilvanego/http_client/OpenAPIMutex.h>

#include <optional>
#include <unordered_map>
#include <utility>

namespace tilvanego {

/// A dictionary whose entries may be read and written from any thread. Each operation is atomic.
template <typename Key, typename Value>
class SynchronizedDictionary {
 public:
  SynchronizedDictionary() : _state(std::unordered_map<Key, Value>()) {}

  /// A copy of the entry, or none.
  [[nodiscard]] std::optional<Value> value(const Key& key) const {
    return _state.withValue([&](const auto& entries) -> std::optional<Value> {
      const auto found = entries.find(key);
      if (found == entries.end()) return std::nullopt;
      return found->second;
    });
  }

  /// Stores a value under the key; none removes the key.
  void setValue(const Key& key, std::optional<Value> value) {
    _state.withValue([&](auto& entries) {
      if (value) {
        entries.insert_or_assign(key, *std::move(value));
      } else {
        entries.erase(key);
      }
    });
  }

 private:
  OpenAPIMutex<std::unordered_map<Key, Value>> _state;
};

}  // namespace tilvanego

#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A map from texts in one block of memory, in ascending order of the keys' bytes. It is for the few
/// parameters and header fields of a request, and has the functions of `std::map` that those need; a
/// `std::map` converts to it. A change invalidates iterators and references. Don't change a key by an
/// iterator.
template <typename Value>
class FlatMap {
 public:
  using key_type = std::string;
  using mapped_type = Value;
  using value_type = std::pair<std::string, Value>;
  using iterator = typename std::vector<value_type>::iterator;
  using const_iterator = typename std::vector<value_type>::const_iterator;

  FlatMap() = default;
  /// Of several entries with one key, the first counts.
  FlatMap(std::initializer_list<value_type> entries) : FlatMap(entries.begin(), entries.end()) {}
  template <std::forward_iterator Iterator>
    requires requires(Iterator place) { place->second; }
  FlatMap(Iterator first, Iterator last) {
    reserve(static_cast<std::size_t>(std::distance(first, last)));
    for (; first != last; ++first) emplace(first->first, first->second);
  }
  FlatMap(const std::map<std::string, Value>& entries) : FlatMap(entries.begin(), entries.end()) {}

  [[nodiscard]] iterator begin() TILVANEGO_LIFETIMEBOUND { return entries_.begin(); }
  [[nodiscard]] iterator end() TILVANEGO_LIFETIMEBOUND { return entries_.end(); }
  [[nodiscard]] const_iterator begin() const TILVANEGO_LIFETIMEBOUND { return entries_.begin(); }
  [[nodiscard]] const_iterator end() const TILVANEGO_LIFETIMEBOUND { return entries_.end(); }
  [[nodiscard]] std::size_t size() const { return entries_.size(); }
  [[nodiscard]] bool empty() const { return entries_.empty(); }
  /// Allocates memory for this many entries.
  void reserve(std::size_t count) { entries_.reserve(count); }
  void clear() { entries_.clear(); }

  [[nodiscard]] iterator find(std::string_view key) TILVANEGO_LIFETIMEBOUND { return found(*this, key); }
  [[nodiscard]] const_iterator find(std::string_view key) const TILVANEGO_LIFETIMEBOUND {
    return found(*this, key);
  }
  [[nodiscard]] bool contains(std::string_view key) const { return find(key) != end(); }
  [[nodiscard]] std::size_t count(std::string_view key) const { return contains(key) ? 1 : 0; }
  /// Throws `std::out_of_range` if there is no such key.
  [[nodiscard]] const Value& at(std::string_view key) const TILVANEGO_LIFETIMEBOUND {
    const auto place = find(key);
    if (place == end()) throw std::out_of_range("FlatMap::at");
    return place->second;
  }
  /// Adds an entry with an empty value if there is none.
  Value& operator[](std::string_view key) TILVANEGO_LIFETIMEBOUND {
    return emplace(key, Value()).first->second;
  }

  /// Adds the entry if there is none with this key. Returns its place, and whether it was added.
  template <typename Key, typename Given>
  std::pair<iterator, bool> emplace(Key&& key, Given&& value) {
    const auto place = placeOf(entries_, std::string_view(key));
    if (place != entries_.end() && place->first == std::string_view(key)) return {place, false};
    return {entries_.emplace(place, std::forward<Key>(key), std::forward<Given>(value)), true};
  }
  std::pair<iterator, bool> insert(value_type entry) {
    return emplace(std::move(entry.first), std::move(entry.second));
  }
  template <typename Key, typename Given>
  // NOLINTNEXTLINE(readability-identifier-naming): the name that std::map gives it.
  std::pair<iterator, bool> insert_or_assign(Key&& key, Given&& value) {
    if (const auto place = find(key); place != end()) {
      place->second = std::forward<Given>(value);
      return {place, false};
    }
    return emplace(std::forward<Key>(key), std::forward<Given>(value));
  }
  /// Returns how many entries were removed.
  std::size_t erase(std::string_view key) {
    const auto place = find(key);
    if (place == end()) return 0;
    entries_.erase(place);
    return 1;
  }

  bool operator==(const FlatMap&) const = default;

 private:
  template <typename Entries>
  static auto placeOf(Entries& entries, std::string_view key) {
    return std::ranges::lower_bound(entries, key, {},
                                    [](const value_type& entry) -> std::string_view { return entry.first; });
  }
  template <typename Map>
  static auto found(Map& map, std::string_view key) {
    const auto place = placeOf(map.entries_, key);
    return place != map.entries_.end() && place->first == key ? place : map.entries_.end();
  }

  std::vector<value_type> entries_;
};

}  // namespace tilvanego

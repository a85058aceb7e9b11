#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <tilvanego/values/Lifetime.h>
#include <tilvanego/values/SharedArray.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A map from texts in one block of memory, in ascending order of the keys' bytes. It is for the few
/// parameters and header fields of a request, and has the functions of `std::map` that those need; a
/// `std::map` converts to it. A change invalidates iterators and references.
///
/// Copies of a map from texts to texts share the block until one of them is changed, so that a request's
/// header fields are handed on without copies. Such a map gives no iterator or reference by which an entry
/// could be changed; `operator[]` and `insert_or_assign` set a value. Of any other map, don't change a key by
/// an iterator.
template <typename Value>
class FlatMap {
  static constexpr bool isShared = std::default_initializable<Value>;
  using Entries = std::conditional_t<isShared, SharedArray<std::pair<std::string, Value>>,
                                     std::vector<std::pair<std::string, Value>>>;

 public:
  using key_type = std::string;
  using mapped_type = Value;
  using value_type = std::pair<std::string, Value>;
  using const_iterator = typename Entries::const_iterator;
  using iterator = std::conditional_t<isShared, const_iterator, typename Entries::iterator>;

  FlatMap() = default;
  /// Of several entries with one key, the first counts.
  FlatMap(std::initializer_list<value_type> entries) : FlatMap(entries.begin(), entries.end()) {}
  template <std::forward_iterator Iterator>
    requires requires(Iterator place) { place->second; }
  FlatMap(Iterator first, Iterator last) {
    reserve(static_cast<std::size_t>(std::distance(first, last)));
    for (; first != last; ++first) emplace(std::string_view(first->first), first->second);
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

  [[nodiscard]] iterator find(std::string_view key) TILVANEGO_LIFETIMEBOUND {
    return begin() + (std::as_const(*this).find(key) - std::as_const(*this).begin());
  }
  [[nodiscard]] const_iterator find(std::string_view key) const TILVANEGO_LIFETIMEBOUND {
    // Of a few, mostly the length tells that a key is another one.
    if (size() <= few) {
      return std::ranges::find_if(begin(), end(),
                                  [&](const value_type& entry) { return entry.first == key; });
    }
    const auto place = placeOf(key);
    return isAt(place, key) ? place : end();
  }
  [[nodiscard]] bool contains(std::string_view key) const { return find(key) != end(); }
  [[nodiscard]] std::size_t count(std::string_view key) const { return contains(key) ? 1 : 0; }
  /// Throws `std::out_of_range` if there is no such key.
  [[nodiscard]] const Value& at(std::string_view key) const TILVANEGO_LIFETIMEBOUND {
    const auto place = find(key);
    if (place == end()) throw std::out_of_range("FlatMap::at");
    return place->second;
  }

  /// The value of a key, to be set or read: `headers["Accept"] = "text/plain"`. Reading gives a copy, which
  /// is empty if there is no such key, and adds nothing. Valid as long as the map.
  class Place {
   public:
    Place(const Place&) = delete;
    Place& operator=(const Place& other) { return *this = Value(other); }
    ~Place() = default;
    template <typename Given>
      requires(!std::same_as<std::remove_cvref_t<Given>, Place>)
    Place& operator=(Given&& value) {
      map_.insert_or_assign(key_, std::forward<Given>(value));
      return *this;
    }
    template <typename Given>
    Place& operator+=(const Given& more) {
      Value value(*this);
      value += more;
      return *this = std::move(value);
    }
    operator Value() const {
      const auto found = std::as_const(map_).find(key_);
      return found != std::as_const(map_).end() ? found->second : Value();
    }
    friend bool operator==(const Place& place, const Value& value) { return Value(place) == value; }
    friend bool operator==(const Place& left, const Place& right) { return Value(left) == Value(right); }

   private:
    friend class FlatMap;
    Place(FlatMap& map, std::string_view key) : map_(map), key_(key) {}
    FlatMap& map_;
    const std::string key_;
  };
  Place operator[](std::string_view key) TILVANEGO_LIFETIMEBOUND
    requires isShared
  {
    return Place(*this, key);
  }

  /// Adds the entry if there is none with this key. Returns its place, and whether it was added.
  template <typename Key, typename Given>
  std::pair<iterator, bool> emplace(Key&& key, Given&& value) {
    const std::string_view text(key);
    const auto place = placeOf(text);
    if (isAt(place, text)) return {begin() + (place - std::as_const(*this).begin()), false};
    return {entries_.emplace(place, std::forward<Key>(key), std::forward<Given>(value)), true};
  }
  std::pair<iterator, bool> insert(value_type entry) {
    return emplace(std::move(entry.first), std::move(entry.second));
  }
  template <typename Key, typename Given>
  // NOLINTNEXTLINE(readability-identifier-naming): the name that std::map gives it.
  std::pair<iterator, bool> insert_or_assign(Key&& key, Given&& value) {
    const auto place = placeOf(std::string_view(key));
    if (!isAt(place, std::string_view(key))) {
      return {entries_.emplace(place, std::forward<Key>(key), std::forward<Given>(value)), true};
    }
    // Made first: the given value may be in the block that `own` leaves.
    Value assigned(std::forward<Given>(value));
    const auto index = place - std::as_const(entries_).begin();
    if constexpr (isShared) {
      entries_.own()[index].second = std::move(assigned);
    } else {
      entries_[static_cast<std::size_t>(index)].second = std::move(assigned);
    }
    return {begin() + index, false};
  }
  /// Returns how many entries were removed.
  std::size_t erase(std::string_view key) {
    const auto place = placeOf(key);
    if (!isAt(place, key)) return 0;
    entries_.erase(place);
    return 1;
  }

  bool operator==(const FlatMap&) const = default;

 private:
  /// The place of the first entry whose key isn't less.
  const_iterator placeOf(std::string_view key) const {
    // Entries mostly come in order.
    if (empty() || isLess(std::prev(end())->first, key)) return end();
    return std::ranges::lower_bound(begin(), end(), key, {},
                                    [](const value_type& entry) -> std::string_view { return entry.first; });
  }
  /// Mostly the first bytes differ.
  static bool isLess(std::string_view left, std::string_view right) {
    if (left.empty() || right.empty() || left.front() == right.front()) return left < right;
    return static_cast<unsigned char>(left.front()) < static_cast<unsigned char>(right.front());
  }
  static constexpr std::size_t few = 4;
  bool isAt(const_iterator place, std::string_view key) const {
    return place != end() && place->first == key;
  }
  Entries entries_;
};

}  // namespace tilvanego

#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <tilvanego/json/JSONValue.h>

namespace tilvanego::json::detail {

/// The stack of arrays and dictionaries of a walk through a value, the innermost last. It lies on the heap. A
/// walk visits a value, calls `enter` with it and goes on with what `next` returns: parents come first.
class Levels {
 public:
  /// Makes `next` return the values inside this value. If there are none, returns false and does nothing.
  bool enter(const JSONValue& value) {
    if (value.isArray()) {
      const JSONValue::Array* array = value.arrayValue();
      return !array->empty() && add({.array = array});
    }
    if (value.isDictionary()) {
      const JSONValue::Dictionary* dictionary = value.dictionaryValue();
      return !dictionary->empty() && add({.dictionary = dictionary, .entry = dictionary->begin()});
    }
    return false;
  }

  /// Returns the next value of the innermost level, or null at its end; then call `leave`.
  [[nodiscard]] const JSONValue* nextInLevel() {
    Level& level = levels_.back();
    if (level.array != nullptr) {
      return level.index == level.array->size() ? nullptr : &(*level.array)[level.index++];
    }
    if (level.entry == level.dictionary->end()) return nullptr;
    level.key = &level.entry->first;
    return &level.entry++->second;
  }

  /// Returns the next value, and leaves the levels that end before it. Returns null at the end of the walk.
  [[nodiscard]] const JSONValue* next() {
    for (; !levels_.empty(); leave()) {
      if (const JSONValue* one = nextInLevel()) return one;
    }
    return nullptr;
  }

  void leave() { levels_.pop_back(); }
  [[nodiscard]] bool empty() const { return levels_.empty(); }
  bool isInDictionary() const { return levels_.back().dictionary != nullptr; }
  /// The key of the last value. Null in an array and without a level.
  [[nodiscard]] const std::string* key() const { return empty() ? nullptr : levels_.back().key; }
  /// The index of the last value, in an array.
  [[nodiscard]] std::size_t index() const { return levels_.back().index - 1; }

 private:
  struct Level {
    const JSONValue::Array* array = nullptr;
    std::size_t index = 0;
    const JSONValue::Dictionary* dictionary = nullptr;
    JSONValue::Dictionary::const_iterator entry = {};
    const std::string* key = nullptr;
  };
  /// Most values are no deeper than a few levels.
  bool add(const Level& level) {
    if (levels_.empty()) levels_.reserve(8);
    levels_.push_back(level);
    return true;
  }

  std::vector<Level> levels_;
};

}  // namespace tilvanego::json::detail

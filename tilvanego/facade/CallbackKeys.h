#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <tilvanego/values/Integer.h>
#include <tilvanego/values/RawQueryItems.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/URL.h>

/// How a callback's query items fill the fields of a response: in one pass over the query, whatever the number of fields.
namespace tilvanego::detail {

/// A field of `Fields` and the names under which a callback may give it.
template <class Fields>
struct CallbackKey {
  static constexpr std::size_t maxAliases = 4;

  std::array<std::string_view, maxAliases> aliases;
  /// Stores an item's value, which may be absent.
  void (*store)(Fields& fields, const RawQueryItem& item);
};

/// The key of a text field: the value is decoded and stored as it is.
template <class Fields, auto Member>
[[nodiscard]] consteval CallbackKey<Fields> textKey(std::string_view first, std::string_view second = {},
                                                    std::string_view third = {}, std::string_view fourth = {}) {
  return {{first, second, third, fourth},
          [](Fields& fields, const RawQueryItem& item) { fields.*Member = item.decodedValue(); }};
}

/// The key of an integer field: absent unless the decoded value is one, which fails nothing.
template <class Fields, auto Member>
[[nodiscard]] consteval CallbackKey<Fields> integerKey(std::string_view first, std::string_view second) {
  return {{first, second, {}, {}}, [](Fields& fields, const RawQueryItem& item) {
            fields.*Member = item.decodedValue().and_then([](const std::string& text) { return parseInteger(text); });
          }};
}

[[nodiscard]] constexpr char asciiLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

[[nodiscard]] constexpr bool equalIgnoringASCIICase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (asciiLower(a[i]) != asciiLower(b[i])) return false;
  }
  return true;
}

/// Finds the key that an item's name belongs to, case ignored. Built at compile time from an operation's keys; the
/// names are grouped by their length, so that a name is compared with the one or two that could equal it.
template <std::size_t KeyCount>
class CallbackKeyIndex {
 public:
  static constexpr std::size_t notFound = KeyCount;

  template <class Fields>
  consteval explicit CallbackKeyIndex(const std::array<CallbackKey<Fields>, KeyCount>& keys) {
    for (std::size_t length = 1; length <= maxLength; ++length) {
      firstOfLength_[length] = count_;
      for (std::size_t key = 0; key < KeyCount; ++key) {
        for (std::string_view alias : keys[key].aliases) {
          if (alias.size() == length) entries_[count_++] = {alias, static_cast<std::uint8_t>(key)};
        }
      }
      firstOfLength_[length + 1] = count_;
    }
  }

  [[nodiscard]] std::size_t find(const RawQueryItem& item) const {
    if (item.name.find('%') == std::string_view::npos) return findASCII(item.name);
    return findDecoded(item.decodedName());
  }

 private:
  static constexpr std::size_t maxLength = 30;

  struct Entry {
    std::string_view alias;
    std::uint8_t key = 0;
  };

  [[nodiscard]] std::size_t findASCII(std::string_view name) const {
    if (name.empty() || name.size() > maxLength) return notFound;
    const std::size_t end = firstOfLength_[name.size() + 1];
    for (std::size_t i = firstOfLength_[name.size()]; i < end; ++i) {
      if (equalIgnoringASCIICase(entries_[i].alias, name)) return entries_[i].key;
    }
    return notFound;
  }

  /// Beyond ASCII a name may equal one of another length: the Kelvin sign is a "k".
  [[nodiscard]] std::size_t findDecoded(std::string_view name) const {
    const std::string folded = caseFolded(name);
    for (std::size_t i = 0; i < count_; ++i) {
      if (caseFolded(entries_[i].alias) == folded) return entries_[i].key;
    }
    return notFound;
  }

  std::array<Entry, KeyCount * CallbackKey<int>::maxAliases> entries_{};
  std::array<std::uint8_t, maxLength + 2> firstOfLength_{};
  std::uint8_t count_ = 0;
};

/// Fills `fields` from the query of `url`. Of the items whose names belong to one field the first decides, even if it
/// has no value.
template <const auto& Keys, const auto& Index, class Fields>
void readCallback(const URL& url, Fields& fields) {
  static_assert(Keys.size() <= 32);
  std::uint32_t decided = 0;
  for (const RawQueryItem& item : url.rawQueryItems()) {
    const std::size_t key = Index.find(item);
    if (key == Index.notFound || (decided >> key & 1U) != 0) continue;
    decided |= 1U << key;
    Keys[key].store(fields, item);
  }
}

}  // namespace tilvanego::detail

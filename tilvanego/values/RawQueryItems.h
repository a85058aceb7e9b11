#pragma once

#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

namespace tilvanego {

/// One item of a query as it stands in the URL, percent-encoded. The views live as long as the URL's text.
struct RawQueryItem {
  std::string_view name;
  /// What stands behind the first "="; no value if there is none.
  std::optional<std::string_view> value;

  /// The name with its escapes undone; as it stands if they make no UTF-8. "+" stays a plus.
  [[nodiscard]] std::string decodedName() const;
  /// The value with its escapes undone; no value if there is none or if the escapes make no UTF-8.
  [[nodiscard]] std::optional<std::string> decodedValue() const;

  bool operator==(const RawQueryItem&) const = default;
};

/// The items of a query, found one after the other without allocating. "&" parts them, so "a&&b" has three,
/// the second with an empty name. An empty query has none. The range is a view: it must not outlive the text.
class RawQueryItems {
 public:
  class Iterator {
   public:
    using value_type = RawQueryItem;
    using difference_type = std::ptrdiff_t;
    using iterator_concept = std::forward_iterator_tag;

    Iterator() = default;
    RawQueryItem operator*() const { return item_; }
    const RawQueryItem* operator->() const { return &item_; }
    Iterator& operator++() {
      take(rest_);
      return *this;
    }
    Iterator operator++(int) {
      Iterator before = *this;
      ++*this;
      return before;
    }
    bool operator==(const Iterator& other) const { return item_.name.data() == other.item_.name.data(); }

   private:
    friend class RawQueryItems;
    explicit Iterator(std::optional<std::string_view> rest) { take(rest); }

    void take(std::optional<std::string_view> text) {
      if (!text) {
        *this = Iterator();
        return;
      }
      const std::size_t end = text->find('&');
      const std::string_view item = text->substr(0, end);
      rest_ = end == std::string_view::npos ? std::nullopt : std::optional(text->substr(end + 1));
      const std::size_t sign = item.find('=');
      item_.name = item.substr(0, sign);
      item_.value = sign == std::string_view::npos ? std::nullopt : std::optional(item.substr(sign + 1));
    }

    RawQueryItem item_;  // its name's data is null only at the end
    std::optional<std::string_view> rest_;
  };

  explicit RawQueryItems(std::string_view query) : query_(query) {}
  [[nodiscard]] Iterator begin() const { return query_.empty() ? Iterator() : Iterator(query_); }
  [[nodiscard]] Iterator end() const { return Iterator(); }

 private:
  std::string_view query_;
};

}  // namespace tilvanego

#pragma once

#include <cstddef>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/CharacterRuns.h>
#include <tilvanego/values/Lifetime.h>

namespace tilvanego {

/// A part of a URL's text, or none: an optional view that is as small as the view.
class URLTextView {
 public:
  constexpr URLTextView() = default;
  constexpr URLTextView(std::nullopt_t) {}
  constexpr URLTextView(const char* begin, const char* end) : text_(begin, end) {}
  constexpr explicit(false) URLTextView(std::string_view text TILVANEGO_LIFETIMEBOUND) : text_(text) {}
  constexpr explicit(false) URLTextView(const char* text) : text_(text) {}

  [[nodiscard]] constexpr explicit operator bool() const { return text_.data() != nullptr; }
  [[nodiscard]] constexpr std::string_view operator*() const { return text_; }
  [[nodiscard]] constexpr const std::string_view* operator->() const { return &text_; }

  /// The text with its escapes undone; nothing if there is none or if the escapes make no UTF-8. "+" stays a
  /// plus.
  [[nodiscard]] std::optional<std::string> decoded() const {
    std::optional<std::string> text;
    decodeInto(text);
    return text;
  }
  /// As decoded(), into what has no value yet.
  void decodeInto(std::optional<std::string>& target) const;

  friend constexpr bool operator==(URLTextView a, URLTextView b) {
    return static_cast<bool>(a) == static_cast<bool>(b) && *a == *b;
  }

 private:
  std::string_view text_;
};

/// One item of a query as it stands in the URL, percent-encoded. The views live as long as the URL's text.
struct RawQueryItem {
  std::string_view name;
  /// What stands behind the first "="; nothing if there is none.
  URLTextView value;

  /// The name with its escapes undone; as it stands if they make no UTF-8. "+" stays a plus.
  [[nodiscard]] std::string decodedName() const;

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
      take(next_);
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
    explicit Iterator(std::string_view query) : end_(query.data() + query.size()) {
      take(end_ - query.size());
    }

    /// The item that starts at `start`; past the last one, `start` is null.
    void take(const char* start) {
      if (start == nullptr) {
        *this = Iterator();
        return;
      }
      const auto* const separator =
          static_cast<const char*>(std::memchr(start, '&', static_cast<std::size_t>(end_ - start)));
      const char* const itemEnd = separator == nullptr ? end_ : separator;
      next_ = separator == nullptr ? nullptr : separator + 1;
      const char* const sign = detail::findNear<'='>(start, itemEnd);
      item_.name = std::string_view(start, sign);
      item_.value = sign == itemEnd ? URLTextView() : URLTextView(sign + 1, itemEnd);
    }

    RawQueryItem item_;  // its name's data is null only at the end
    const char* next_ = nullptr;
    const char* end_ = nullptr;
  };

  explicit RawQueryItems(std::string_view query TILVANEGO_LIFETIMEBOUND) : query_(query) {}
  [[nodiscard]] Iterator begin() const { return query_.empty() ? Iterator() : Iterator(query_); }
  [[nodiscard]] Iterator end() const { return Iterator(); }

 private:
  std::string_view query_;
};

}  // namespace tilvanego

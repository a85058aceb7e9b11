#pragma once

#include <cstddef>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/Blocks.h>
#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// An optional view of a part of a URL's text, as small as a `std::string_view`.
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

  /// Returns the text with its percent escapes decoded. Returns no value if there is no text or the result is
  /// not UTF-8. "+" stays "+".
  [[nodiscard]] std::optional<std::string> decoded() const {
    std::optional<std::string> text;
    decodeInto(text);
    return text;
  }
  /// Like `decoded()`, but stores into `target`, which must have no value.
  void decodeInto(std::optional<std::string>& target) const;

  friend constexpr bool operator==(URLTextView a, URLTextView b) {
    return static_cast<bool>(a) == static_cast<bool>(b) && *a == *b;
  }

 private:
  std::string_view text_;
};

/// One item of a query, percent-encoded as in the URL. The views are valid as long as the URL's text.
struct RawQueryItem {
  std::string_view name;
  /// The text after the first "="; no value without a "=".
  URLTextView value;

  /// Returns the name with its percent escapes decoded, or unchanged if the result would not be UTF-8. "+"
  /// stays "+".
  [[nodiscard]] std::string decodedName() const;

  bool operator==(const RawQueryItem&) const = default;
};

/// The items of a query, separated by "&", as a forward range that allocates nothing. "a&&b" has three items,
/// the second with an empty name. An empty query has no items. The range is a view: the text must outlive it.
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

    /// Moves to the item that starts at `start`, or to the end if `start` is null.
    void take(const char* start) {
      if (start == nullptr) {
        *this = Iterator();
        return;
      }
      const auto* const separator =
          static_cast<const char*>(std::memchr(start, '&', static_cast<std::size_t>(end_ - start)));
      const char* const itemEnd = separator == nullptr ? end_ : separator;
      next_ = separator == nullptr ? nullptr : separator + 1;
      const char* const sign = detail::findMarked(start, itemEnd, [](auto bytes) { return bytes == '='; });
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

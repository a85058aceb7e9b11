#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/values/LinkWriter.h>
#include <tilvanego/values/URL.h>

/// What all launch links share: their query items, and the form of their text in debug lines.
namespace tilvanego::detail {

/// The query items of one launch link, in order. Names and values are views of texts that must live until the
/// link is built. Texts that are made only for the link are stored here.
class LinkItems {
 public:
  /// No link has more items than this.
  static constexpr std::size_t capacity = 12;

  void add(std::string_view name, std::string_view value) { items_.at(count_++) = {name, value}; }

  /// Adds no item for an absent value. An empty value is sent.
  void addIfPresent(std::string_view name, const std::optional<std::string>& value) {
    if (value) add(name, *value);
  }

  /// Adds an item and stores its text, such as an amount's.
  void addText(std::string_view name, std::string text) {
    std::string& kept = texts_[textCount_++];
    kept = std::move(text);
    add(name, kept);
  }

  [[nodiscard]] std::span<const LinkItem> items() const { return std::span(items_).first(count_); }

  LinkItems() = default;
  LinkItems(const LinkItems&) = delete;
  LinkItems& operator=(const LinkItems&) = delete;

 private:
  std::array<LinkItem, capacity> items_;
  std::array<std::string, 2> texts_;
  std::uint8_t count_ = 0;
  std::uint8_t textCount_ = 0;
};

/// The scheme, host and path of an operation's launch links.
[[nodiscard]] consteval LinkTarget launchTarget(std::string_view path) {
  return {"tilvanego", "payment", path};
}

/// The URL's text for debug lines. The value of each query item that is named like a token or a payload is
/// "<redacted>"; the case of the name is ignored. Without a URL: "url is empty!". Makes no copy of a secret.
[[nodiscard]] std::string redactedURLText(const std::optional<URL>& url);

/// The same, but only payloads are redacted.
[[nodiscard]] std::string redactedPayloadURL(const std::optional<URL>& url);

}  // namespace tilvanego::detail

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

/// The rules that all launch links share: how a link is put together, and how its text is cleaned before it
/// is shown.
namespace tilvanego::detail {

/// The query items of one launch link, in their order. Names and values are views: what they look at must
/// live until the link is built. Texts made for the link alone are kept here.
class LinkItems {
 public:
  /// No link has more items than this.
  static constexpr std::size_t capacity = 12;

  void add(std::string_view name, std::string_view value) { items_.at(count_++) = {name, value}; }

  /// An absent value leaves the item out; an empty one is sent as it is.
  void addIfPresent(std::string_view name, const std::optional<std::string>& value) {
    if (value) add(name, *value);
  }

  /// A text that lives nowhere else, such as an amount's.
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

/// Where the launch links of an operation go.
[[nodiscard]] consteval LinkTarget launchTarget(std::string_view path) {
  return {"tilvanego", "payment", path};
}

/// The URL's text for debug lines: query items with the name of a token or a payload, whatever their case,
/// have the value "<redacted>". Without a URL: "url is empty!". No secret is copied on the way.
[[nodiscard]] std::string redactedURLText(const std::optional<URL>& url);

/// The same, where payloads alone are hidden.
[[nodiscard]] std::string redactedPayloadURL(const std::optional<URL>& url);

}  // namespace tilvanego::detail

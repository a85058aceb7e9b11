#pragma once

#include <memory>
#include <utility>

#include <tilvanego/platform/Clock.h>
#include <tilvanego/platform/Pasteboard.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A pasteboard inside this process, for tests. Its items never leave the device, so the option `localOnly`
/// is only stored.
class MemoryPasteboard final : public Pasteboard {
 public:
  using Pasteboard::setItems;

  /// Items expire by `clock`, which must not be null.
  explicit MemoryPasteboard(std::shared_ptr<const Clock> clock) : clock_(std::move(clock)) {}

  [[nodiscard]] std::optional<std::string> string() const override {
    return string_ ? string_ : pasteboardString(items());
  }
  [[nodiscard]] std::vector<PasteboardItem> items() const override { return contents().items; }
  [[nodiscard]] std::expected<void, std::string> setItems(std::vector<PasteboardItem> items,
                                                          const PasteboardOptions& options) override {
    contents_ = {std::move(items), options};
    string_.reset();
    return {};
  }

  /// Returns the items and their options. After the expiration date, returns no items and default options.
  [[nodiscard]] PasteboardContents contents() const {
    return isExpired(contents_.options, clock_->now()) ? PasteboardContents{} : contents_;
  }

  /// Acts as another application that writes the pasteboard: sets items with default options and, optionally,
  /// the result of `string()`. The next `setItems` replaces both.
  void place(std::vector<PasteboardItem> items, std::optional<std::string> string = std::nullopt) {
    contents_ = {std::move(items), PasteboardOptions{}};
    string_ = std::move(string);
  }

 private:
  std::shared_ptr<const Clock> clock_;
  PasteboardContents contents_;
  std::optional<std::string> string_;
};

}  // namespace tilvanego

#pragma once

#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <tilvanego/platform/Pasteboard.h>
#include <tilvanego/platform/Platform.h>

/// What reading a callback takes from the platform, so that it changes nothing.
namespace tilvanego::detail {

/// The host's pasteboard, which stays as it is.
class UnchangedPasteboard final : public Pasteboard {
 public:
  explicit UnchangedPasteboard(const Pasteboard& host) : host_(host) {}

  [[nodiscard]] std::optional<std::string> string() const override { return host_.string(); }
  [[nodiscard]] std::vector<PasteboardItem> items() const override { return host_.items(); }
  [[nodiscard]] std::expected<void, std::string> setItems(std::vector<PasteboardItem>,
                                                          const PasteboardOptions&) override {
    return std::unexpected("The pasteboard is only looked at.");
  }

 private:
  const Pasteboard& host_;
};

/// The ports that `paymentResult` uses. `platform`, whose pasteboard must not be null, must outlive it.
[[nodiscard]] inline Platform readingPlatform(const Platform& platform) {
  Platform reading{};
  reading.clock = platform.clock;
  reading.pasteboard = std::make_unique<UnchangedPasteboard>(*platform.pasteboard);
  return reading;
}

}  // namespace tilvanego::detail

#pragma once

#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <tilvanego/platform/Clock.h>
#include <tilvanego/platform/Pasteboard.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The desktop's clipboard as a pasteboard, by `QClipboard`. Needs a `QGuiApplication`; used and destroyed on
/// its thread.
///
/// It keeps one text, which reads as the three types of text: "public.utf8-plain-text", "public.text" and
/// "public.plain-text". What is written is marked as a secret (`x-kde-passwordManagerHint`), so that
/// histories of the clipboard leave it out. At its expiration date it is removed, if the clipboard still
/// holds it. The clipboard knows no `localOnly`.
class QtClipboard final : public Pasteboard {
 public:
  using Pasteboard::setItems;

  /// Items expire by `clock`, which must not be null.
  explicit QtClipboard(std::shared_ptr<const Clock> clock);
  QtClipboard(const QtClipboard&) = delete;
  QtClipboard& operator=(const QtClipboard&) = delete;
  ~QtClipboard() override;

  [[nodiscard]] std::optional<std::string> string() const override;
  [[nodiscard]] std::vector<PasteboardItem> items() const override;
  /// Fails for items without a text in UTF-8, and if the desktop doesn't give this program the clipboard: on
  /// Wayland its window must have the focus.
  [[nodiscard]] std::expected<void, std::string> setItems(std::vector<PasteboardItem> items,
                                                          const PasteboardOptions& options) override;

 private:
  struct Written;

  std::shared_ptr<const Clock> clock_;
  std::unique_ptr<Written> written_;
};

}  // namespace tilvanego

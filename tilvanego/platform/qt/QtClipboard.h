#pragma once

#include <cstddef>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <tilvanego/platform/Clock.h>
#include <tilvanego/platform/Pasteboard.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The desktop's clipboard as a pasteboard, by `QClipboard`. Made after the `QGuiApplication`, used and
/// destroyed on its thread. Without one, or after its end, it is empty and keeps nothing.
///
/// It keeps one text, which reads as one item with the three types of text: "public.utf8-plain-text",
/// "public.text" and "public.plain-text". What is written is marked as a secret (the format
/// `x-kde-passwordManagerHint`), so that histories of the clipboard, and programs that share it with other
/// devices, leave it out if they heed the mark. That is all that a clipboard has for `localOnly`.
///
/// A text that was written with an expiration date is removed then, and when this object or the
/// application's loop ends (`QCoreApplication::aboutToQuit`): else a clipboard manager would keep it. What
/// another program wrote meanwhile stays.
///
/// Reading waits for the program that owns the clipboard: under X11 five seconds for each answer, of which a
/// large text has several. If it doesn't answer, reading again within two seconds finds nothing at once. On
/// Wayland only a program whose window has the focus may read and write.
class QtClipboard final : public Pasteboard {
 public:
  using Pasteboard::setItems;

  /// A longer text of another program, in bytes of UTF-8, counts as none.
  static constexpr std::size_t longestText = 16 * 1024 * 1024;

  /// Items expire by `clock`, which must not be null. Ends the process, after a message, if there is no
  /// `QCoreApplication` or another thread runs it.
  explicit QtClipboard(std::shared_ptr<const Clock> clock);
  QtClipboard(const QtClipboard&) = delete;
  QtClipboard& operator=(const QtClipboard&) = delete;
  ~QtClipboard() override;

  [[nodiscard]] std::optional<std::string> string() const override;
  [[nodiscard]] std::vector<PasteboardItem> items() const override;

  /// Fails for anything but one item with one text in UTF-8, under one or more of the three types; and if the
  /// desktop doesn't give this program the clipboard.
  [[nodiscard]] std::expected<void, std::string> setItems(std::vector<PasteboardItem> items,
                                                          const PasteboardOptions& options) override;

 private:
  class Written;

  std::shared_ptr<const Clock> clock_;
  std::unique_ptr<Written> written_;
};

}  // namespace tilvanego

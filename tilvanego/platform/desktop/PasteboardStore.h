#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include <tilvanego/platform/Clock.h>
#include <tilvanego/platform/Pasteboard.h>

namespace tilvanego {

/// The pasteboard of a user whose system has none, as on a till or a terminal: a file that all of the user's
/// processes share and nobody else can read. It never leaves the device, so the local-only mark is kept and
/// shown, no more.
///
/// Each write replaces the file at once, and a reader finds all of one write or all of another. A file that
/// is torn, foreign, open to others or larger than 16 MiB reads as an empty pasteboard, and so does one past
/// its expiration date, which is removed on the way. Up to 4096 items with up to 4096 values together fit.
///
/// Objects may be used on any thread, one thread at a time each.
class PasteboardStore final : public Pasteboard {
 public:
  using Pasteboard::setItems;

  /// The user's own: `tilvanego` in the directory XDG_RUNTIME_DIR if that is set and the user's own, else in
  /// /run/user/UID under the same condition, else the directory /tmp/tilvanego-UID. Nothing is made before
  /// the first write. Items expire by `clock`, which isn't null.
  explicit PasteboardStore(std::shared_ptr<const Clock> clock);

  /// One in `directory`, which is made with the first write if it isn't there and its parent is. Unusable if
  /// it isn't the user's own, gives others any right or is a symbolic link.
  PasteboardStore(std::filesystem::path directory, std::shared_ptr<const Clock> clock);

  [[nodiscard]] std::optional<std::string> string() const override;
  [[nodiscard]] std::vector<PasteboardItem> items() const override;

  /// Leaves the pasteboard as it is where `replaceContents` gives an error.
  void setItems(std::vector<PasteboardItem> items, const PasteboardOptions& options) override;

  /// What lies there, with its options; empty with default options if there is nothing.
  [[nodiscard]] PasteboardContents contents() const;

  /// Replaces everything; no items remove the file. `invalid_argument` is the error for more than fits,
  /// text that isn't UTF-8 and a date that isn't finite; `permission_denied` for a directory that isn't
  /// private; else the system's. On an error nothing has changed.
  [[nodiscard]] std::error_code replaceContents(const PasteboardContents& contents);

  [[nodiscard]] const std::filesystem::path& directory() const { return directory_; }

 private:
  std::filesystem::path directory_;
  std::shared_ptr<const Clock> clock_;
};

}  // namespace tilvanego

#pragma once

#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <tilvanego/platform/Clock.h>
#include <tilvanego/platform/Pasteboard.h>
#include <tilvanego/values/Lifetime.h>

namespace tilvanego {

/// The pasteboard of a user whose system has none, as on a till or a terminal: a file that all of the user's
/// processes share and nobody else can read. It never leaves the device, so the local-only mark is kept and
/// shown, no more.
///
/// Each write replaces the file at once, and a reader finds all of one write or all of another. A file that
/// is torn, foreign, open to others or larger than 16 MiB reads as an empty pasteboard, and so does one past
/// its expiration date, which is removed on the way. Up to 4096 items with up to 4096 values together fit; of
/// values of an item that follow each other and are equal, as the texts of a payment are, the file has one.
///
/// Writers wait for each other, for a second at most.
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

  /// Keeps nothing, and leaves the pasteboard as it is, where more is given than fits, a text that isn't
  /// UTF-8 or a date that isn't finite; where the directory isn't private or can't be written; and where
  /// another program holds the lock for more than a second.
  [[nodiscard]] std::expected<void, std::string> setItems(std::vector<PasteboardItem> items,
                                                          const PasteboardOptions& options) override;

  /// What lies there, with its options; empty with default options if there is nothing.
  [[nodiscard]] PasteboardContents contents() const;

  [[nodiscard]] const std::filesystem::path& directory() const TILVANEGO_LIFETIMEBOUND { return directory_; }

 private:
  std::filesystem::path directory_;
  std::shared_ptr<const Clock> clock_;
};

}  // namespace tilvanego

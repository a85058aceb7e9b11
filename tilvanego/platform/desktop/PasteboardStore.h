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

namespace [[gnu::visibility("default")]] tilvanego {

/// A pasteboard for systems without one, such as a till: a file that all processes of the user share and
/// nobody else can read. It never leaves the device, so the option `localOnly` is only stored.
///
/// Each write replaces the file atomically. A file reads as an empty pasteboard if it is incomplete, has
/// another format, is accessible to others or is larger than 16 MiB; and if it has expired, which also
/// removes it. It can hold up to 4096 items with up to 4096 values together. Equal values that follow each
/// other in an item, such as the texts of a payment, are stored once.
///
/// A writer waits for another one, for a second at most.
///
/// Any thread may use an object, one thread at a time.
class PasteboardStore final : public Pasteboard {
 public:
  using Pasteboard::setItems;

  /// The user's default store: the directory `tilvanego` in XDG_RUNTIME_DIR, if that is set and belongs to
  /// the user; else in /run/user/UID, if that belongs to the user; else the directory /tmp/tilvanego-UID. The
  /// first write creates it. Items expire by `clock`, which must not be null.
  explicit PasteboardStore(std::shared_ptr<const Clock> clock);

  /// A store in `directory`. The first write creates it if it does not exist and its parent does. Reading
  /// finds nothing and writing fails if it belongs to another user, if others have any right to it, or if it
  /// is a symbolic link. Items expire by `clock`, which must not be null.
  PasteboardStore(std::filesystem::path directory, std::shared_ptr<const Clock> clock);

  [[nodiscard]] std::optional<std::string> string() const override;
  [[nodiscard]] std::vector<PasteboardItem> items() const override;

  /// Fails, and leaves the pasteboard unchanged, if the items do not fit, if a text is not UTF-8 or a date
  /// not finite, if the directory is not private or cannot be written, and if another program holds the lock
  /// for more than a second.
  [[nodiscard]] std::expected<void, std::string> setItems(std::vector<PasteboardItem> items,
                                                          const PasteboardOptions& options) override;

  /// Returns the items and their options; no items and default options if the pasteboard is empty.
  [[nodiscard]] PasteboardContents contents() const;

  [[nodiscard]] const std::filesystem::path& directory() const TILVANEGO_LIFETIMEBOUND { return directory_; }

 private:
  std::filesystem::path directory_;
  std::shared_ptr<const Clock> clock_;
};

}  // namespace tilvanego

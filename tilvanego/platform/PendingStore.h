#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace [[gnu::visibility("default")]] tilvanego {

/// The port that keeps what must survive the process: texts in UTF-8 of at most 4 MiB, each under a name of
/// ASCII letters. It knows nothing of operations. Used on the main thread only, one call at a time: what the
/// library has to keep while a call runs, it keeps after that call.
///
/// Each error is one sentence for the host's developer; it shows nothing of the text. A store that fails ends
/// no operation: the logger receives the sentence as a warning. May throw: counts as a failure.
///
/// A text that the library couldn't read is never lost: the library neither replaces nor removes it before
/// `read` or `setAside` has succeeded, and reads again after a `keep` or `remove` that failed. If another
/// process could keep texts under the same names meanwhile, `keep` and `remove` must fail rather than replace
/// a text that this object has neither read nor kept.
///
/// The library calls it before a link is opened and before a completion runs. So it should return quickly,
/// and only when the text would survive the end of the process.
class PendingStore {
 public:
  virtual ~PendingStore() = default;

  /// Returns the text that was kept last under this name, or nothing if there is none.
  [[nodiscard]] virtual std::expected<std::optional<std::string>, std::string> read(
      const std::string& name) = 0;

  /// Replaces the text of this name. On a failure the former text stays.
  [[nodiscard]] virtual std::expected<void, std::string> keep(const std::string& name,
                                                              std::string_view text) = 0;

  /// Removes the text of this name. Succeeds if there is none.
  [[nodiscard]] virtual std::expected<void, std::string> remove(const std::string& name) = 0;

  /// Moves a text that the library can't understand to another name, where a person can look at it: `read`
  /// doesn't find it any more. Replaces no other text there; fails if there is no free name.
  [[nodiscard]] virtual std::expected<void, std::string> setAside(const std::string& name) = 0;
};

}  // namespace tilvanego

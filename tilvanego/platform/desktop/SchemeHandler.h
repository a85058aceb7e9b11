#pragma once

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace [[gnu::visibility("default")]] tilvanego {

/// Registers programs as handlers of links on a Linux desktop, for the user alone: a desktop entry in
/// `$XDG_DATA_HOME/applications` and a line in `$XDG_CONFIG_HOME/mimeapps.list`, as `xdg-mime default` would
/// write them (Desktop Entry Specification 1.5; Association between MIME types and applications 1.0.1). A
/// host registers the scheme of its callbacks, so that the payment application can open them.
///
/// Not for calls from several threads at once. Another program that writes the same list meanwhile may lose
/// its change, or this one: the desktop knows no lock for it.
class SchemeHandler {
 public:
  /// A program that opens links.
  struct Program {
    /// For the user, as in a list of programs.
    std::string name;
    /// The program and its arguments. The link follows as the last one. A program without "/" is looked for
    /// in `$PATH`.
    std::vector<std::string> command;
  };

  /// The program that handles a scheme now.
  struct Handler {
    /// The file of its desktop entry; empty if it isn't known, which `obstacle` explains.
    std::filesystem::path entry;
    /// What the entry runs, as it is written there: with field codes such as "%u".
    std::string exec;
    /// True if `install` wrote the entry.
    bool isInstalledHere = false;
    /// Why a link would not open all the same, in a sentence; nothing if no reason is known.
    std::optional<std::string> obstacle;
  };

  enum class Others { keep, replace };

  struct Failure {
    enum class Reason {
      /// Another program handles the scheme, and stays.
      handledByAnother,
      /// The scheme or the program can't be written to a desktop entry; or a file can't be read or written.
      failed
    };
    Reason reason{};
    /// A sentence for the user.
    std::string message;
  };

  /// Returns true for a scheme that RFC 3986 (3.1) allows.
  [[nodiscard]] static bool isScheme(std::string_view scheme);

  /// Makes `program` the user's handler of links with `scheme`. Replaces what an earlier call wrote. If
  /// another program handles the scheme, it fails, unless `others` is `replace`; that program stays the
  /// second choice, and handles the scheme again after `remove`. A failure leaves all as it was: so also if a
  /// list of the current desktop's own names another program before this one.
  ///
  /// The texts of `program` are UTF-8 without control characters other than tabs and line ends.
  [[nodiscard]] static std::expected<void, Failure> install(std::string_view scheme, const Program& program,
                                                            Others others = Others::keep);

  /// Undoes what `install` did, and nothing else. Returns false if there is nothing to undo. Fails if
  /// something that `install` didn't write is in the place of its entry.
  [[nodiscard]] static std::expected<bool, Failure> remove(std::string_view scheme);

  /// Returns the program that handles the scheme; nothing if there is none.
  [[nodiscard]] static std::optional<Handler> show(std::string_view scheme);
};

}  // namespace tilvanego

#pragma once

#include <expected>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <tilvanego/http_client/encodings/DownloadException.h>
#include <tilvanego/values/Data.h>
#include <tilvanego/values/URL.h>

namespace tilvanego {

/// Why a downloaded body couldn't be written to a file.
struct FileWriteError {
  /// The path of the file, or of its directory.
  std::string path;
  /// The system's error text.
  std::string reason;

  [[nodiscard]] std::string description() const { return "can't write " + path + ": " + reason; }
  bool operator==(const FileWriteError&) const = default;
};

}  // namespace tilvanego

namespace tilvanego::detail {

/// Returns the path components of a downloaded file, relative to the caches directory; the last is the file's
/// name. `path` is the decoded path of a URL; its empty and "." components are ignored. If `fileName` is
/// empty, the last component of `path` is the file's name.
///
/// Errors: `requestMissingPath` for a path with ".." or NUL and for one without any component;
/// `responseFailed` for a file name that is "." or "..", or contains "/" or NUL.
[[nodiscard]] std::expected<std::vector<std::string>, DownloadException> downloadNames(
    std::string_view path, std::string_view fileName);

/// Returns the text of a new random UUID. Fails if the system has no random bytes.
[[nodiscard]] std::expected<std::string, FileWriteError> uniqueText();

/// Writes a file below `directory` and returns its URL. `names` are the components of its relative path, as
/// `downloadNames` returns them. Replaces an earlier file atomically. Creates missing directories,
/// `directory` and its parents included, with access for the user only. Refuses symbolic links below
/// `directory`.
[[nodiscard]] std::expected<URL, FileWriteError> writeBelow(const std::filesystem::path& directory,
                                                            const std::vector<std::string>& names,
                                                            const Data& data);

}  // namespace tilvanego::detail

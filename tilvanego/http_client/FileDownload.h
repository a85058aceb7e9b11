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
  /// Of the file, or of the directory that it was to lie in.
  std::string path;
  /// In the system's words.
  std::string reason;

  [[nodiscard]] std::string description() const { return "can't write " + path + ": " + reason; }
  bool operator==(const FileWriteError&) const = default;
};

}  // namespace tilvanego

namespace tilvanego::detail {

/// Whether the text names a file or a directory in the one at hand.
[[nodiscard]] bool isPlainName(std::string_view name);

/// The names on the way to a downloaded file, from the caches directory on; the last is the file's. `path` is
/// a URL's, decoded; its empty and "." components count for nothing. An empty file name leaves the path's
/// last component for the file.
///
/// A path with ".." or NUL, and one without any name, is refused with `requestMissingPath`; a file name that
/// is "." or ".." or holds "/" or NUL, with `responseFailed`.
[[nodiscard]] std::expected<std::vector<std::string>, DownloadException> downloadNames(
    std::string_view path, std::string_view fileName);

/// A new random UUID's text; fails if the system has no random bytes.
[[nodiscard]] std::expected<std::string, FileWriteError> uniqueText();

/// Writes a file below `directory`, at the end of the names, none of which leads out of it, and gives its
/// URL. A reader finds the earlier file of that name or the whole new one. Directories on the way,
/// `directory` and those above it included, are made for the user alone; a symbolic link among those below
/// `directory` isn't followed but refused.
[[nodiscard]] std::expected<URL, FileWriteError> writeBelow(const std::filesystem::path& directory,
                                                            const std::vector<std::string>& names,
                                                            const Data& data);

}  // namespace tilvanego::detail

#include <tilvanego/platform/desktop/DesktopLookup.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <tilvanego/platform/FileDescriptor.h>
#include <tilvanego/platform/desktop/DesktopEntry.h>
#include <tilvanego/values/ASCII.h>

namespace tilvanego::detail {
namespace {

namespace fs = std::filesystem;
using Found = std::expected<std::optional<FoundEntry>, std::string>;

// Below a directory of applications, such as "vendor/other.desktop".
constexpr int maxDepth = 8;

// The XDG Base Directory Specification: relative paths are ignored.
fs::path homeDirectory(const char* variable, const char* underHome) {
  const char* configured = std::getenv(variable);
  if (fs::path path(configured ? configured : ""); path.is_absolute()) return path;
  const char* home = std::getenv("HOME");
  fs::path path(home ? home : "");
  return path.is_absolute() ? path / underHome : fs::path();
}

/// The user's directory, then those of the system.
std::vector<fs::path> directories(const fs::path& home, const char* variable, const char* otherwise) {
  std::vector<fs::path> all;
  if (!home.empty()) all.push_back(home);
  for (auto& path : pathsIn(variable, otherwise)) all.emplace_back(std::move(path));
  return all;
}
std::vector<fs::path> applicationDirectories() {
  auto all = directories(dataHome(), "XDG_DATA_DIRS", "/usr/local/share:/usr/share");
  for (auto& one : all) one /= "applications";
  return all;
}

/// The lists of default applications that count, the first before the next.
std::vector<fs::path> lists() {
  const auto desktops = pathsIn("XDG_CURRENT_DESKTOP", "");
  std::vector<fs::path> all;
  const auto add = [&](const fs::path& directory) {
    for (const auto& desktop : desktops) {
      all.push_back(directory / (asciiLowercased(desktop) + "-mimeapps.list"));
    }
    all.push_back(directory / "mimeapps.list");
  };
  for (const auto& one : directories(configHome(), "XDG_CONFIG_DIRS", "/etc/xdg")) add(one);
  for (const auto& one : applicationDirectories()) add(one);
  return all;
}

/// The file of an entry's id: "vendor-other.desktop" is also "vendor/other.desktop".
std::optional<fs::path> fileBelow(const fs::path& directory, const std::string& id) {
  std::error_code ignored;
  if (fs::is_regular_file(directory / id, ignored)) return directory / id;
  for (auto at = id.find('-'); at != id.npos; at = id.find('-', at + 1)) {
    const std::string inner = id.substr(0, at);
    if (inner.empty() || inner.front() == '.' || !fs::is_directory(directory / inner, ignored)) continue;
    if (auto file = fileBelow(directory / inner, id.substr(at + 1))) return file;
  }
  return std::nullopt;
}

std::optional<fs::path> fileOf(const std::string& id) {
  if (id.find('/') != id.npos) return std::nullopt;
  for (const auto& directory : applicationDirectories()) {
    if (auto file = fileBelow(directory, id)) return file;
  }
  return std::nullopt;
}

Found firstIn(const fs::path& list, std::string_view group, const std::string& type) {
  const auto content = contentOf(list);
  if (!content) return std::unexpected(content.error());
  for (const auto& id : listedEntries(*content, group, type)) {
    if (auto file = fileOf(id)) return FoundEntry{*std::move(file), list};
  }
  return std::nullopt;
}

/// What some desktops search where no cache of the entries' types has been made.
Found firstThatNames(const std::string& type, const fs::path& directory) {
  std::error_code failed;
  const auto options =
      fs::directory_options::skip_permission_denied | fs::directory_options::follow_directory_symlink;
  for (fs::recursive_directory_iterator at(directory, options, failed), end; !failed && at != end;
       at.increment(failed)) {
    if (at.depth() >= maxDepth) at.disable_recursion_pending();
    const fs::path& path = at->path();
    std::error_code ignored;
    const bool isEntry = path.extension() == ".desktop" && fs::is_regular_file(path, ignored);
    // What the user can't read, no desktop runs for him.
    if (!isEntry || ::access(path.c_str(), R_OK) != 0) continue;
    const auto content = contentOf(path);
    if (!content) return std::unexpected(content.error());
    const auto types = listedEntries(*content, entryGroup, "MimeType");
    if (std::ranges::find(types, type) != types.end()) return FoundEntry{path, {}};
  }
  return std::nullopt;
}

}  // namespace

fs::path dataHome() { return homeDirectory("XDG_DATA_HOME", ".local/share"); }
fs::path configHome() { return homeDirectory("XDG_CONFIG_HOME", ".config"); }

std::vector<std::string> pathsIn(const char* variable, const char* otherwise) {
  const char* configured = std::getenv(variable);
  std::string_view list = configured && *configured ? configured : otherwise;
  std::vector<std::string> paths;
  while (!list.empty()) {
    const auto length = std::min(list.find(':'), list.size());
    if (length > 0) paths.emplace_back(list.substr(0, length));
    list.remove_prefix(std::min(length + 1, list.size()));
  }
  return paths;
}

std::string failureAt(const fs::path& path, std::string_view what) {
  const int cause = errno;
  return path.string() + " " + std::string(what) + ": " + std::generic_category().message(cause) + ".";
}

std::expected<std::string, std::string> contentOf(const fs::path& path) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file && (errno == ENOENT || errno == ENOTDIR)) return std::string();
  struct stat status{};
  if (!file || fstat(file.get(), &status) != 0) return std::unexpected(failureAt(path, "can't be read"));
  if (!S_ISREG(status.st_mode) || static_cast<std::uintmax_t>(status.st_size) > maxListSize) {
    return std::unexpected(path.string() + " isn't a file of at most 4 MiB; move it away.");
  }
  std::string content(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t done = 0;
  while (done < content.size()) {
    const auto count = ::read(file.get(), content.data() + done, content.size() - done);
    if (count == 0) break;
    if (count < 0 && errno != EINTR) return std::unexpected(failureAt(path, "can't be read"));
    if (count > 0) done += static_cast<std::size_t>(count);
  }
  content.resize(done);
  return content;
}

Found entryFor(std::string_view scheme) {
  const std::string type = contentTypeOf(scheme);
  const auto all = lists();
  const auto applications = applicationDirectories();
  Found found;
  // Returns true when the search is over.
  const auto take = [&](Found one) {
    found = std::move(one);
    return !found || found->has_value();
  };
  for (const char* group : {"Default Applications", "Added Associations"}) {
    for (const auto& list : all) {
      if (take(firstIn(list, group, type))) return found;
    }
  }
  for (const auto& directory : applications) {
    if (take(firstIn(directory / "defaults.list", "Default Applications", type))) return found;
    if (take(firstIn(directory / "mimeinfo.cache", "MIME Cache", type))) return found;
  }
  for (const auto& directory : applications) {
    if (take(firstThatNames(type, directory))) return found;
  }
  return found;
}

}  // namespace tilvanego::detail

#include <tilvanego/platform/desktop/SchemeHandler.h>

#include <algorithm>
#include <cstdlib>
#include <span>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <tilvanego/platform/FileReplacement.h>
#include <tilvanego/platform/desktop/DesktopEntry.h>
#include <tilvanego/values/ASCII.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

namespace fs = std::filesystem;
using Failure = SchemeHandler::Failure;

// A list of the desktop's has some kilobytes.
constexpr std::size_t maxListSize = std::size_t{4} << 20U;
constexpr std::string_view entryGroup = "Desktop Entry";

std::unexpected<Failure> failed(std::string message) {
  return std::unexpected(Failure{Failure::Reason::failed, std::move(message)});
}

std::unexpected<Failure> failedAt(const fs::path& path, std::string_view what) {
  const int cause = errno;
  return failed(path.string() + " " + std::string(what) + ": " + std::generic_category().message(cause) +
                ".");
}

// The XDG Base Directory Specification: relative paths are ignored.
fs::path homeDirectory(const char* variable, const char* underHome) {
  const char* configured = std::getenv(variable);
  if (fs::path path(configured ? configured : ""); path.is_absolute()) return path;
  const char* home = std::getenv("HOME");
  fs::path path(home ? home : "");
  return path.is_absolute() ? path / underHome : fs::path();
}

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

/// Returns the content of a regular file; an empty text if there is none.
std::expected<std::string, Failure> contentOf(const fs::path& path) {
  const detail::FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file && errno == ENOENT) return std::string();
  struct stat status{};
  if (!file || fstat(file.get(), &status) != 0) return failedAt(path, "can't be read");
  if (!S_ISREG(status.st_mode) || static_cast<std::uintmax_t>(status.st_size) > maxListSize) {
    return failed(path.string() + " isn't a file of at most 4 MiB; move it away.");
  }
  std::string content(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t done = 0;
  while (done < content.size()) {
    const auto count = ::read(file.get(), content.data() + done, content.size() - done);
    if (count == 0) break;
    if (count < 0 && errno != EINTR) return failedAt(path, "can't be read");
    if (count > 0) done += static_cast<std::size_t>(count);
  }
  content.resize(done);
  return content;
}

/// Replaces a file whole. Makes missing directories. A symbolic link stays one: its target is replaced.
std::expected<void, Failure> write(fs::path path, std::string_view content) {
  std::error_code ignored;
  fs::create_directories(path.parent_path(), ignored);
  if (const auto target = fs::canonical(path, ignored); !ignored) path = target;
  struct stat before{};
  const bool existed = ::stat(path.c_str(), &before) == 0;
  const detail::FileDescriptor directory(
      ::open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory) return failedAt(path.parent_path(), "can't be opened");
  const std::string name = path.filename().string();
  const auto bytes = std::span(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
  if (detail::replaceFile(directory, name, name + ".tilvanego", bytes) !=
      detail::FileReplacementFailure::none) {
    return failedAt(path, "can't be written");
  }
  if (existed) static_cast<void>(fchmodat(directory.get(), name.c_str(), before.st_mode & 07777U, 0));
  return {};
}

/// Removes a file that exists.
std::expected<void, Failure> removeFile(const fs::path& path) {
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) return failedAt(path, "can't be removed");
  return {};
}

std::string entryName(std::string_view scheme) { return "tilvanego-" + std::string(scheme) + ".desktop"; }

/// The lists of default applications that count, the first before the next.
std::vector<fs::path> lists() {
  const auto desktops = pathsIn("XDG_CURRENT_DESKTOP", "");
  std::vector<fs::path> all;
  const auto add = [&](const fs::path& directory) {
    for (const auto& desktop : desktops) {
      all.push_back(directory / (detail::asciiLowercased(desktop) + "-mimeapps.list"));
    }
    all.push_back(directory / "mimeapps.list");
  };
  for (const auto& one : directories(configHome(), "XDG_CONFIG_DIRS", "/etc/xdg")) add(one);
  for (const auto& one : applicationDirectories()) add(one);
  return all;
}

std::optional<fs::path> fileOfEntry(const std::string& entry) {
  if (entry.find('/') != entry.npos) return std::nullopt;
  for (const auto& directory : applicationDirectories()) {
    std::error_code ignored;
    if (fs::is_regular_file(directory / entry, ignored)) return directory / entry;
  }
  return std::nullopt;
}

/// The first entry that a list names and that exists.
std::optional<fs::path> entryOf(std::string_view scheme) {
  const std::string type = detail::contentTypeOf(scheme);
  const auto firstIn = [&](const fs::path& list, std::string_view group) -> std::optional<fs::path> {
    const auto content = contentOf(list);
    if (!content) return std::nullopt;
    for (const auto& entry : detail::listedEntries(*content, group, type)) {
      if (auto file = fileOfEntry(entry)) return file;
    }
    return std::nullopt;
  };
  const auto all = lists();
  for (const auto& list : all) {
    if (auto file = firstIn(list, "Default Applications")) return file;
  }
  for (const auto& list : all) {
    if (auto file = firstIn(list, "Added Associations")) return file;
  }
  for (const auto& directory : applicationDirectories()) {
    if (auto file = firstIn(directory / "mimeinfo.cache", "MIME Cache")) return file;
  }
  return std::nullopt;
}

bool isProgram(const fs::path& path) {
  std::error_code ignored;
  return fs::is_regular_file(path, ignored) && ::access(path.c_str(), X_OK) == 0;
}

bool isFound(const std::string& program) {
  if (program.find('/') != program.npos) return isProgram(program);
  const auto paths = pathsIn("PATH", "/usr/local/bin:/usr/bin:/bin");
  return std::ranges::any_of(paths, [&](const auto& path) { return isProgram(fs::path(path) / program); });
}

std::optional<std::string> obstacleTo(const std::string& exec) {
  const auto program = detail::programOfExec(exec);
  if (!program) return "Its entry has no command that can be run.";
  if (!isFound(*program)) return "Its program, " + *program + ", is not there or can't be executed.";
  if (!isFound("xdg-open")) return "xdg-open isn't installed; it is in the package xdg-utils.";
  return std::nullopt;
}

std::optional<std::string> faultOf(std::string_view scheme, const SchemeHandler::Program& program) {
  if (!SchemeHandler::isScheme(scheme)) {
    return "\"" + std::string(scheme) +
           "\" is no scheme: a letter, then letters, digits, \"+\", \"-\" or \".\".";
  }
  // A file's name has 255 bytes at most.
  if (scheme.size() > 200) return "A scheme of more than 200 characters can't be registered.";
  if (program.command.empty() || program.command.front().empty()) return "The command has no program.";
  if (program.command.front().find('=') != std::string::npos) {
    return "A program whose name has a \"=\" can't be a handler: the desktop takes it for a variable.";
  }
  const auto hasNUL = [](const std::string& text) { return text.find('\0') != text.npos; };
  if (hasNUL(program.name) || std::ranges::any_of(program.command, hasNUL)) {
    return "The name and the command must have no NUL character.";
  }
  return std::nullopt;
}

}  // namespace

bool SchemeHandler::isScheme(std::string_view scheme) {
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  return !scheme.empty() && isLetter(scheme.front()) && std::ranges::all_of(scheme, [&](char c) {
    return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
  });
}

std::expected<void, SchemeHandler::Failure> SchemeHandler::install(std::string_view given,
                                                                   const Program& program, Others others) {
  if (auto fault = faultOf(given, program)) return failed(*std::move(fault));
  const std::string scheme = detail::asciiLowercased(given);
  const fs::path data = dataHome();
  const fs::path config = configHome();
  if (data.empty() || config.empty()) {
    return failed("No directory of the user is known: HOME is not set to an absolute path.");
  }
  const fs::path file = data / "applications" / entryName(scheme);
  const auto now = entryOf(scheme);
  if (now && *now != file && others == Others::keep) {
    return std::unexpected(
        Failure{Failure::Reason::handledByAnother,
                "Links with " + scheme + ": are handled by " + now->string() + ", which stays as it is."});
  }
  const fs::path list = config / "mimeapps.list";
  const auto content = contentOf(list);
  if (!content) return std::unexpected(content.error());
  // The entry first: a list may name none that is missing.
  if (auto written = write(file, detail::handlerEntry(scheme, program.name, program.command)); !written) {
    return written;
  }
  return write(list, detail::withDefault(*content, detail::contentTypeOf(scheme), entryName(scheme)));
}

std::expected<bool, SchemeHandler::Failure> SchemeHandler::remove(std::string_view given) {
  if (!isScheme(given)) return false;
  const std::string scheme = detail::asciiLowercased(given);
  const fs::path list = configHome() / "mimeapps.list";
  const auto content = contentOf(list);
  if (!content) return std::unexpected(content.error());
  const std::string rest = detail::withoutDefault(*content, detail::contentTypeOf(scheme), entryName(scheme));
  const fs::path file = dataHome() / "applications" / entryName(scheme);
  std::error_code ignored;
  const bool existed = fs::exists(fs::symlink_status(file, ignored));
  if (rest != *content) {
    const auto written = rest.empty() ? removeFile(list) : write(list, rest);
    if (!written) return std::unexpected(written.error());
  }
  if (auto removed = removeFile(file); !removed) return std::unexpected(std::move(removed).error());
  return existed || rest != *content;
}

std::optional<SchemeHandler::Handler> SchemeHandler::show(std::string_view given) {
  const std::string scheme = detail::asciiLowercased(given);
  const auto file = isScheme(scheme) ? entryOf(scheme) : std::nullopt;
  if (!file) return std::nullopt;
  const auto content = contentOf(*file);
  Handler handler{*file,
                  content ? detail::entryValue(*content, entryGroup, "Exec").value_or("") : std::string(),
                  *file == dataHome() / "applications" / entryName(scheme), std::nullopt};
  handler.obstacle = content ? obstacleTo(handler.exec) : content.error().message;
  return handler;
}

}  // namespace tilvanego

#include <tilvanego/platform/desktop/SchemeHandler.h>

#include <algorithm>
#include <cerrno>
#include <span>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <tilvanego/platform/FileReplacement.h>
#include <tilvanego/platform/desktop/DesktopEntry.h>
#include <tilvanego/platform/desktop/DesktopLookup.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/OneLine.h>
#include <tilvanego/values/Text.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

namespace fs = std::filesystem;
using Failure = SchemeHandler::Failure;

// A file's name has 255 bytes at most.
constexpr std::size_t longestScheme = 200;

std::unexpected<Failure> failed(std::string message) {
  return std::unexpected(Failure{Failure::Reason::failed, std::move(message)});
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
  if (!directory) return failed(detail::failureAt(path.parent_path(), "can't be opened"));
  const std::string name = path.filename().string();
  const auto bytes = std::span(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
  if (detail::replaceFile(directory, name, name + ".tilvanego", bytes) !=
      detail::FileReplacementFailure::none) {
    return failed(detail::failureAt(path, "can't be written"));
  }
  if (existed) static_cast<void>(fchmodat(directory.get(), name.c_str(), before.st_mode & 07777U, 0));
  return {};
}

/// Removes a file that exists.
std::expected<void, Failure> removeFile(const fs::path& path) {
  if (::unlink(path.c_str()) != 0 && errno != ENOENT)
    return failed(detail::failureAt(path, "can't be removed"));
  return {};
}

constexpr std::string_view entryPrefix = "tilvanego-";
constexpr std::string_view entryEnd = ".desktop";

std::string entryName(std::string_view scheme) {
  return std::string(entryPrefix).append(scheme).append(entryEnd);
}

/// The two files that `install` writes.
struct Files {
  fs::path entry;
  fs::path list;
};

std::expected<Files, Failure> filesFor(std::string_view scheme) {
  const fs::path data = detail::dataHome();
  const fs::path config = detail::configHome();
  if (data.empty() || config.empty()) {
    return failed("No directory of the user is known: HOME is not set to an absolute path.");
  }
  return Files{data / "applications" / entryName(scheme), config / "mimeapps.list"};
}

/// Returns the entry that `install` wrote to `path`; nothing if nothing is there. Fails for anything else.
std::expected<std::optional<std::string>, Failure> ownEntry(const fs::path& path, std::string_view scheme) {
  std::error_code ignored;
  const auto type = fs::symlink_status(path, ignored).type();
  if (type == fs::file_type::not_found) return std::nullopt;
  if (type == fs::file_type::regular) {
    auto content = detail::contentOf(path);
    if (!content) return failed(std::move(content).error());
    if (detail::isHandlerEntry(*content, scheme)) return *std::move(content);
  }
  return failed(path.string() + " is no entry that install wrote; it stays as it is.");
}

/// Whether the list was made for one of the entries that `install` wrote to `directory`: the last of them
/// takes it away.
bool isListMadeHere(const fs::path& directory) {
  std::error_code failed;
  for (fs::directory_iterator one(directory, failed); !failed && one != fs::directory_iterator();
       one.increment(failed)) {
    const std::string name = one->path().filename().string();
    if (!name.starts_with(entryPrefix) || !name.ends_with(entryEnd)) continue;
    if (detail::hasMadeList(detail::contentOf(one->path()).value_or(""))) return true;
  }
  return false;
}

/// Whether a link would be opened by `entry` now.
std::expected<void, Failure> expectHandler(std::string_view scheme, const fs::path& entry) {
  const auto now = detail::entryFor(scheme);
  if (!now) return failed(now.error());
  if (*now && (*now)->entry == entry) return {};
  const std::string links = "Links with " + std::string(scheme) + ": would still be opened by ";
  if (!*now) return failed(links + "no program.");
  const auto& [other, list] = **now;
  if (list.empty()) return failed(links + other.string() + ".");
  return failed(links + other.string() + ", because " + list.string() +
                " names it first; take it out of that file.");
}

bool isProgram(const fs::path& path) {
  std::error_code ignored;
  return fs::is_regular_file(path, ignored) && ::access(path.c_str(), X_OK) == 0;
}

bool isFound(const std::string& program) {
  if (program.find('/') != program.npos) return isProgram(program);
  const auto paths = detail::pathsIn("PATH", "/usr/local/bin:/usr/bin:/bin");
  return std::ranges::any_of(paths, [&](const auto& path) { return isProgram(fs::path(path) / program); });
}

std::string isMissing(const std::string& program) {
  return detail::inOneLine(program) + ", is not there or can't be executed.";
}

std::optional<std::string> obstacleTo(const std::string& entry, const fs::path& list) {
  const auto value = [&](std::string_view key) { return detail::entryValue(entry, detail::entryGroup, key); };
  if (value("Hidden") == "true") return "Its entry says Hidden=true: a desktop takes it for removed.";
  const auto program = detail::programOfExec(value("Exec").value_or(""));
  if (!program) return "Its entry has no command that can be run.";
  if (!isFound(*program)) return "Its program, " + isMissing(*program);
  if (const auto tried = value("TryExec"); tried && !isFound(*tried)) {
    return "The program of its TryExec, " + isMissing(*tried);
  }
  const auto content = list.empty() ? std::string() : detail::contentOf(list).value_or("");
  if (const auto line = detail::refusedLine(content)) {
    return "Some desktops ignore " + list.string() + ", which names it, because of line " +
           std::to_string(*line) + ".";
  }
  if (!isFound("xdg-open")) return "xdg-open isn't installed; it is in the package xdg-utils.";
  return std::nullopt;
}

/// Tabs and line ends have escapes in an entry.
bool canStandInEntry(const std::string& text) {
  const auto isWrong = [](char c) {
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r') || c == 0x7F;
  };
  return isValidUTF8(text) && std::ranges::none_of(text, isWrong);
}

std::optional<std::string> faultOf(std::string_view scheme, const SchemeHandler::Program& program) {
  if (!SchemeHandler::isScheme(scheme)) {
    return "\"" + std::string(scheme) +
           "\" is no scheme: a letter, then letters, digits, \"+\", \"-\" or \".\".";
  }
  if (scheme.size() > longestScheme) return "A scheme of more than 200 characters can't be registered.";
  if (program.command.empty() || program.command.front().empty()) return "The command has no program.";
  if (program.command.front().find('=') != std::string::npos) {
    return "A program whose name has a \"=\" can't be a handler: the desktop takes it for a variable.";
  }
  if (!canStandInEntry(program.name) || !std::ranges::all_of(program.command, canStandInEntry)) {
    return "The name and the command must be UTF-8 without control characters.";
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
  const auto files = filesFor(scheme);
  if (!files) return std::unexpected(files.error());
  const auto& [file, list] = *files;
  const auto before = ownEntry(file, scheme);
  if (!before) return std::unexpected(before.error());
  if (others == Others::keep) {
    const auto now = detail::entryFor(scheme);
    if (!now) return failed(now.error());
    if (*now && (*now)->entry != file) {
      return std::unexpected(Failure{
          Failure::Reason::handledByAnother,
          "Links with " + scheme + ": are handled by " + (*now)->entry.string() + ", which stays as it is."});
    }
  }
  const auto content = detail::contentOf(list);
  if (!content) return failed(content.error());
  std::error_code ignored;
  const bool hadList = fs::exists(list, ignored);
  const bool makesList = !hadList || isListMadeHere(file.parent_path());
  const std::string entry = detail::handlerEntry(scheme, program.name, program.command, makesList);
  if (entry.size() > detail::maxListSize) return failed("The name and the command are longer than 4 MiB.");
  // The entry first: a list may name none that is missing.
  auto done = write(file, entry);
  if (done) {
    const std::string changed =
        detail::withDefault(*content, detail::contentTypeOf(scheme), entryName(scheme));
    done = write(list, changed);
    if (done) {
      done = expectHandler(scheme, file);
      // What another program has written meanwhile stays.
      const bool isUndone = !done && detail::contentOf(list) == changed;
      if (isUndone) static_cast<void>(hadList ? write(list, *content) : removeFile(list));
    }
  }
  if (!done) static_cast<void>(*before ? write(file, **before) : removeFile(file));
  return done;
}

std::expected<bool, SchemeHandler::Failure> SchemeHandler::remove(std::string_view given) {
  if (!isScheme(given) || given.size() > longestScheme) return false;
  const std::string scheme = detail::asciiLowercased(given);
  const auto files = filesFor(scheme);
  if (!files) return std::unexpected(files.error());
  const auto& [file, list] = *files;
  const auto entry = ownEntry(file, scheme);
  if (!entry) return std::unexpected(entry.error());
  const auto content = detail::contentOf(list);
  if (!content) return failed(content.error());
  const std::string rest = detail::withoutDefault(*content, detail::contentTypeOf(scheme), entryName(scheme));
  if (rest != *content) {
    const bool goes = rest.empty() && *entry && detail::hasMadeList(**entry);
    const auto written = goes ? removeFile(list) : write(list, rest);
    if (!written) return std::unexpected(written.error());
  }
  if (auto removed = removeFile(file); !removed) return std::unexpected(std::move(removed).error());
  return entry->has_value() || rest != *content;
}

std::optional<SchemeHandler::Handler> SchemeHandler::show(std::string_view given) {
  if (!isScheme(given)) return std::nullopt;
  const std::string scheme = detail::asciiLowercased(given);
  const auto found = detail::entryFor(scheme);
  if (!found) return Handler{{}, {}, false, found.error()};
  if (!*found) return std::nullopt;
  const auto& [file, list] = **found;
  const auto content = detail::contentOf(file);
  if (!content) return Handler{file, {}, false, content.error()};
  return Handler{file, detail::entryValue(*content, detail::entryGroup, "Exec").value_or(""),
                 file == detail::dataHome() / "applications" / entryName(scheme) &&
                     detail::isHandlerEntry(*content, scheme),
                 obstacleTo(*content, list)};
}

}  // namespace tilvanego

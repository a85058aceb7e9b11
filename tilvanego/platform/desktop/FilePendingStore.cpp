#include <tilvanego/platform/desktop/FilePendingStore.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <span>
#include <system_error>
#include <utility>

#include <sys/stat.h>

#include <tilvanego/platform/FatalError.h>
#include <tilvanego/platform/PlainName.h>
#include <tilvanego/platform/desktop/PrivateDirectory.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

constexpr std::size_t maximumPendingText = std::size_t{4} << 20;
constexpr const char* lockName = "lock";
constexpr std::string_view asideSuffix = ".unreadable";
// For a process that is ending: the system has started its successor already.
constexpr std::chrono::seconds longestLockWait(1);

std::filesystem::path absolutePathIn(const char* variable) {
  const char* value = std::getenv(variable);
  std::filesystem::path path(value != nullptr ? value : "");
  return path.is_absolute() ? path : std::filesystem::path();
}

std::filesystem::path stateHome() {
  if (auto state = absolutePathIn("XDG_STATE_HOME"); !state.empty()) return state;
  const auto home = absolutePathIn("HOME");
  return home.empty() ? home : home / ".local" / "state";
}

// The lock and the files beside a text have other names.
std::expected<void, std::string> checkName(const std::string& name) {
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  if (!name.empty() && name != lockName && std::ranges::all_of(name, isLetter)) return {};
  return std::unexpected("A pending store's name has ASCII letters only, and isn't \"" +
                         std::string(lockName) + "\".");
}

// Renames a text to the first free one of NAME.unreadable, NAME.unreadable-2, … and returns that name.
std::expected<std::string, std::string> moveAside(const detail::PrivateDirectory& directory,
                                                  const std::string& name) {
  constexpr int mostAside = 99;
  for (int number = 1; number <= mostAside; ++number) {
    std::string aside =
        name + std::string(asideSuffix) + (number > 1 ? "-" + std::to_string(number) : std::string());
    if (directory.contains(aside)) continue;
    auto renamed = directory.rename(name, aside);
    if (!renamed) return std::unexpected(std::move(renamed).error());
    return aside;
  }
  return std::unexpected("There are " + std::to_string(mostAside) + " files " + name +
                         std::string(asideSuffix) + " already: look at them and remove them.");
}

// Missing directories get the mode 0700. What can't be made is reported when the last one is opened.
void makeParents(const std::filesystem::path& directory) {
  std::filesystem::path made;
  for (const auto& part : directory.parent_path()) {
    made /= part;
    static_cast<void>(mkdir(made.c_str(), S_IRWXU));
  }
}

}  // namespace

struct FilePendingStore::Held {
  detail::PrivateDirectory directory;
  detail::HeldLock lock;
  // Absolute: the host may change its working directory.
  std::filesystem::path lockPath;
  // The texts that this object has read or kept, by their names. What is in another state is another's.
  std::map<std::string, detail::FileState> known = {};
};

FilePendingStore::FilePendingStore(std::filesystem::path directory) : directory_(std::move(directory)) {}

FilePendingStore::~FilePendingStore() = default;

std::unique_ptr<FilePendingStore> FilePendingStore::ofHost(const std::string& hostName) {
  if (!detail::isPlainName(hostName)) {
    detail::wrongUse("FilePendingStore::ofHost takes one name, such as \"com.example.till\", not a path.");
  }
  const auto state = stateHome();
  return std::make_unique<FilePendingStore>(state.empty() ? state : state / hostName / "pending");
}

bool FilePendingStore::exists() const {
  std::error_code failed;
  return std::filesystem::symlink_status(directory_, failed).type() != std::filesystem::file_type::not_found;
}

bool FilePendingStore::isHeld() {
  std::error_code failed;
  if (held_ && (!held_->lock.isHeldAt(held_->lockPath) ||
                std::filesystem::is_symlink(held_->lockPath.parent_path(), failed))) {
    // This is a forked child, the directory was removed or made anew, or another process has the lock.
    held_.reset();
    hasWaited_ = false;
  }
  return held_ != nullptr;
}

std::expected<FilePendingStore::Held*, std::string> FilePendingStore::hold() {
  if (isHeld()) {
    if (auto checked = held_->directory.check(); !checked) return std::unexpected(std::move(checked).error());
    return held_.get();
  }
  if (directory_.empty())
    return std::unexpected(
        "No directory is known for it: neither XDG_STATE_HOME nor HOME is an absolute path.");
  makeParents(directory_);
  auto directory = detail::PrivateDirectory::open(directory_, true);
  if (!directory) return std::unexpected(std::move(directory).error());
  const std::chrono::milliseconds wait(std::exchange(hasWaited_, true) ? std::chrono::seconds(0)
                                                                       : longestLockWait);
  auto lock = directory->lock(lockName, wait);
  if (!lock) return std::unexpected(std::move(lock).error());
  std::error_code failed;
  held_ = std::make_unique<Held>(*std::move(directory), *std::move(lock),
                                 std::filesystem::absolute(directory_ / lockName, failed));
  return held_.get();
}

std::expected<std::optional<std::string>, std::string> FilePendingStore::read(const std::string& name) {
  if (auto checked = checkName(name); !checked) return std::unexpected(std::move(checked).error());
  // Reading makes no directory.
  if (!isHeld() && (directory_.empty() || !exists())) return std::nullopt;
  const auto held = hold();
  if (!held) return std::unexpected(held.error());
  const auto& directory = (*held)->directory;
  const auto state = directory.stateOf(name);
  if (!state) return std::nullopt;
  if (const auto file = directory.read(name, maximumPendingText)) {
    (*held)->known.insert_or_assign(name, *state);
    return std::string(file->begin(), file->end());
  }
  const std::string path = (directory_ / name).string();
  if (!directory.isForeign(name, maximumPendingText)) return std::unexpected(path + " can't be read.");
  const auto aside = moveAside(directory, name);
  if (!aside) return std::unexpected(aside.error());
  return std::unexpected(path + " isn't a file of this user alone with at most 4 MiB; it was renamed to " +
                         *aside + ".");
}

std::expected<void, std::string> FilePendingStore::keep(const std::string& name, std::string_view text) {
  if (auto checked = checkName(name); !checked) return checked;
  if (text.size() > maximumPendingText) return std::unexpected("It has more than 4 MiB.");
  const auto held = hold();
  if (!held) return std::unexpected(held.error());
  if (auto checked = checkKnown(**held, name); !checked) return checked;
  const auto bytes = std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  auto kept = (*held)->directory.replace(name, bytes, detail::Durability::synced);
  if (const auto state = (*held)->directory.stateOf(name); kept && state) {
    (*held)->known.insert_or_assign(name, *state);
  }
  return kept;
}

std::expected<void, std::string> FilePendingStore::remove(const std::string& name) {
  if (auto checked = checkName(name); !checked) return checked;
  if (!isHeld() && (directory_.empty() || !exists())) return {};
  const auto held = hold();
  if (!held) return std::unexpected(held.error());
  if (auto checked = checkKnown(**held, name); !checked) return checked;
  return (*held)->directory.remove(name, detail::Durability::synced);
}

std::expected<void, std::string> FilePendingStore::setAside(const std::string& name) {
  if (auto checked = checkName(name); !checked) return checked;
  const auto held = hold();
  if (!held) return std::unexpected(held.error());
  const auto aside = moveAside((*held)->directory, name);
  if (!aside) return std::unexpected(aside.error());
  return {};
}

std::expected<void, std::string> FilePendingStore::checkKnown(const Held& held,
                                                              const std::string& name) const {
  const auto state = held.directory.stateOf(name);
  const auto known = held.known.find(name);
  if (!state || (known != held.known.end() && known->second == *state)) return {};
  return std::unexpected((directory_ / name).string() +
                         " was kept by another process and must be read first.");
}

}  // namespace tilvanego

#include <tilvanego/platform/desktop/FilePendingStore.h>

#include <chrono>
#include <cstdlib>
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
  if (held_ && !held_->lock.isHeldAt(held_->lockPath)) {
    // This is a forked child, or the directory was removed or made anew.
    held_.reset();
    hasWaited_ = false;
  }
  return held_ != nullptr;
}

std::expected<FilePendingStore::Held*, std::string> FilePendingStore::hold() {
  if (isHeld()) return held_.get();
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
  // Reading makes no directory.
  if (!isHeld() && (directory_.empty() || !exists())) return std::nullopt;
  const auto held = hold();
  if (!held) return std::unexpected(held.error());
  const auto& directory = (*held)->directory;
  if (const auto file = directory.read(name, maximumPendingText))
    return std::string(file->begin(), file->end());
  if (!directory.contains(name)) return std::nullopt;
  const std::string path = (directory_ / name).string();
  if (!directory.isForeign(name, maximumPendingText)) return std::unexpected(path + " can't be read.");
  auto moved = setAside(name);
  if (!moved) return std::unexpected(std::move(moved).error());
  return std::unexpected(path + " isn't a file of this user alone with at most 4 MiB; it was renamed to " +
                         name + std::string(asideSuffix) + ".");
}

std::expected<void, std::string> FilePendingStore::keep(const std::string& name, std::string_view text) {
  if (text.size() > maximumPendingText) return std::unexpected("It has more than 4 MiB.");
  const auto held = hold();
  if (!held) return std::unexpected(held.error());
  const auto bytes = std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  return (*held)->directory.replace(name, bytes, detail::Durability::synced);
}

std::expected<void, std::string> FilePendingStore::remove(const std::string& name) {
  if (!isHeld() && (directory_.empty() || !exists())) return {};
  const auto held = hold();
  if (!held) return std::unexpected(held.error());
  return (*held)->directory.remove(name, detail::Durability::synced);
}

std::expected<void, std::string> FilePendingStore::setAside(const std::string& name) {
  const auto held = hold();
  if (!held) return std::unexpected(held.error());
  return (*held)->directory.rename(name, name + std::string(asideSuffix));
}

}  // namespace tilvanego

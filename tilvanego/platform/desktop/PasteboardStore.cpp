#include <tilvanego/platform/desktop/PasteboardStore.h>

#include <chrono>
#include <utility>

#include <tilvanego/platform/desktop/PasteboardFormat.h>
#include <tilvanego/platform/desktop/PrivateDirectory.h>
#include <tilvanego/platform/desktop/RuntimeDirectory.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

constexpr const char* fileName = "pasteboard";
constexpr const char* lockName = "pasteboard.lock";
// The main thread is blocked for this time at most. Other writers need milliseconds.
constexpr std::chrono::seconds longestLockWait(1);

std::optional<PasteboardContents> readContents(const detail::PrivateDirectory& directory) {
  const auto file = directory.read(fileName, detail::maximumPasteboardFile);
  return file ? detail::decodePasteboard(*file) : std::nullopt;
}

// Another process may have written since the file was read, so it is read again with the lock held. If
// another writer holds the lock, it replaces the expired file itself.
void removeExpired(const detail::PrivateDirectory& directory, const Clock& clock) {
  const auto lock = directory.lock(lockName, std::chrono::milliseconds(0));
  if (!lock) return;
  const auto contents = readContents(directory);
  if (!contents || !isExpired(contents->options, clock.now())) return;
  // A file that cannot be removed still reads as empty.
  [[maybe_unused]] const auto removed = directory.remove(fileName);
}

}  // namespace

PasteboardStore::PasteboardStore(std::shared_ptr<const Clock> clock)
    : PasteboardStore(detail::runtimeDirectory(), std::move(clock)) {}

PasteboardStore::PasteboardStore(std::filesystem::path directory, std::shared_ptr<const Clock> clock)
    : directory_(std::move(directory)), clock_(std::move(clock)) {}

std::optional<std::string> PasteboardStore::string() const { return pasteboardString(items()); }

std::vector<PasteboardItem> PasteboardStore::items() const { return contents().items; }

std::expected<void, std::string> PasteboardStore::setItems(std::vector<PasteboardItem> items,
                                                           const PasteboardOptions& options) {
  const bool empty = items.empty();
  const auto file = detail::encodePasteboard({std::move(items), options});
  if (!file) return std::unexpected(file.error());
  const auto directory = detail::PrivateDirectory::open(directory_, true);
  if (!directory) return std::unexpected(directory.error());
  const auto lock = directory->lock(lockName, longestLockWait);
  if (!lock) return std::unexpected(lock.error());
  return empty ? directory->remove(fileName) : directory->replace(fileName, *file);
}

PasteboardContents PasteboardStore::contents() const {
  const auto directory = detail::PrivateDirectory::open(directory_, false);
  if (!directory) return {};
  auto contents = readContents(*directory);
  if (!contents) return {};
  if (!isExpired(contents->options, clock_->now())) return std::move(*contents);
  removeExpired(*directory, *clock_);
  return {};
}

}  // namespace tilvanego

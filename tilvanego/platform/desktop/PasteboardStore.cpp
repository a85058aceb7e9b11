#include <tilvanego/platform/desktop/PasteboardStore.h>

#include <cstdlib>
#include <utility>

#include <unistd.h>

#include <tilvanego/platform/desktop/PasteboardFormat.h>
#include <tilvanego/platform/desktop/PrivateDirectory.h>

namespace tilvanego {
namespace {

constexpr const char* fileName = "pasteboard";
constexpr const char* lockName = "pasteboard.lock";

std::filesystem::path defaultDirectory() {
  const std::string user = std::to_string(geteuid());
  const char* configured = std::getenv("XDG_RUNTIME_DIR");
  for (const std::filesystem::path& runtime :
       {std::filesystem::path(configured ? configured : ""), std::filesystem::path("/run/user") / user}) {
    if (runtime.is_absolute() && detail::isOwnDirectory(runtime)) return runtime / "tilvanego";
  }
  return "/tmp/tilvanego-" + user;
}

std::optional<PasteboardContents> readContents(const detail::PrivateDirectory& directory) {
  const auto file = directory.read(fileName, detail::maximumPasteboardFile);
  return file ? detail::decodePasteboard(*file) : std::nullopt;
}

// Another process may have written since the file was read: it is read again with all writers locked out.
// Where a writer is at work, its own file takes the expired one's place.
void removeExpired(const detail::PrivateDirectory& directory, const Clock& clock) {
  const auto lock = directory.lock(lockName, false);
  if (!lock) return;
  const auto contents = readContents(directory);
  if (!contents || !isExpired(contents->options, clock.now())) return;
  // One that can't be removed still reads as empty.
  [[maybe_unused]] const auto failure = directory.remove(fileName);
}

}  // namespace

PasteboardStore::PasteboardStore(std::shared_ptr<const Clock> clock)
    : PasteboardStore(defaultDirectory(), std::move(clock)) {}

PasteboardStore::PasteboardStore(std::filesystem::path directory, std::shared_ptr<const Clock> clock)
    : directory_(std::move(directory)), clock_(std::move(clock)) {}

std::optional<std::string> PasteboardStore::string() const { return pasteboardString(items()); }

std::vector<PasteboardItem> PasteboardStore::items() const { return contents().items; }

void PasteboardStore::setItems(std::vector<PasteboardItem> items, const PasteboardOptions& options) {
  // The port has no way to tell a failure.
  [[maybe_unused]] const auto failure = replaceContents({std::move(items), options});
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

std::error_code PasteboardStore::replaceContents(const PasteboardContents& contents) {
  const auto file = detail::encodePasteboard(contents);
  if (!file) return std::make_error_code(std::errc::invalid_argument);
  const auto directory = detail::PrivateDirectory::open(directory_, true);
  if (!directory) return directory.error();
  const auto lock = directory->lock(lockName, true);
  if (!lock) return lock.error();
  return contents.items.empty() ? directory->remove(fileName) : directory->replace(fileName, *file);
}

}  // namespace tilvanego

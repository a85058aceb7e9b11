#include <tilvanego/platform/memory/MemoryPasteboard.h>

#include <utility>

namespace [[gnu::visibility("default")]] tilvanego {

MemoryPasteboard::MemoryPasteboard(std::shared_ptr<const Clock> clock) : clock_(std::move(clock)) {}

std::optional<std::string> MemoryPasteboard::string() const {
  return string_ ? string_ : pasteboardString(items());
}

std::vector<PasteboardItem> MemoryPasteboard::items() const { return contents().items; }

std::expected<void, std::string> MemoryPasteboard::setItems(std::vector<PasteboardItem> items,
                                                            const PasteboardOptions& options) {
  contents_ = {std::move(items), options};
  string_.reset();
  return {};
}

PasteboardContents MemoryPasteboard::contents() const {
  return isExpired(contents_.options, clock_->now()) ? PasteboardContents{} : contents_;
}

void MemoryPasteboard::place(std::vector<PasteboardItem> items, std::optional<std::string> string) {
  contents_ = {std::move(items), PasteboardOptions{}};
  string_ = std::move(string);
}

}  // namespace tilvanego

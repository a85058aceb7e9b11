#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include <tilvanego/platform/PendingStore.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A `PendingStore` in memory, for tests. Two stores over the same records rehearse a restart: the second one
/// finds what the first one kept.
class MemoryPendingStore final : public PendingStore {
 public:
  /// The texts by their names. A text that was set aside has ".unreadable" behind its name, the next one
  /// ".unreadable-2", and so on.
  using Records = std::map<std::string, std::string, std::less<>>;

  /// `records` must not be null.
  explicit MemoryPendingStore(std::shared_ptr<Records> records = std::make_shared<Records>())
      : records_(std::move(records)) {}

  [[nodiscard]] std::expected<std::optional<std::string>, std::string> read(
      const std::string& name) override {
    const auto found = records_->find(name);
    return found == records_->end() ? std::nullopt : std::optional(found->second);
  }
  [[nodiscard]] std::expected<void, std::string> keep(const std::string& name,
                                                      std::string_view text) override {
    records_->insert_or_assign(name, std::string(text));
    return {};
  }
  [[nodiscard]] std::expected<void, std::string> remove(const std::string& name) override {
    records_->erase(name);
    return {};
  }
  [[nodiscard]] std::expected<void, std::string> setAside(const std::string& name) override {
    auto text = records_->extract(name);
    if (!text) return {};
    const std::string first = name + ".unreadable";
    text.key() = first;
    for (int number = 2; records_->contains(text.key()); ++number) {
      text.key() = first + "-" + std::to_string(number);
    }
    records_->insert(std::move(text));
    return {};
  }

 private:
  std::shared_ptr<Records> records_;
};

}  // namespace tilvanego

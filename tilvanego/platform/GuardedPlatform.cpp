#include <tilvanego/platform/GuardedPlatform.h>

#include <string>
#include <utility>

#include <tilvanego/platform/FatalError.h>
#include <tilvanego/platform/HostCode.h>
#include <tilvanego/platform/SystemTimer.h>

namespace tilvanego::detail {
namespace {

class GuardedDebugOutput final : public DebugOutput {
 public:
  explicit GuardedDebugOutput(std::unique_ptr<DebugOutput> host) : host_(std::move(host)) {}

  void writeLine(std::string_view text) override {
    runListener("DebugOutput::writeLine", [&] { host_->writeLine(text); });
  }

 private:
  std::unique_ptr<DebugOutput> host_;
};

class GuardedRandomSource final : public RandomSource {
 public:
  explicit GuardedRandomSource(std::unique_ptr<RandomSource> host) : host_(std::move(host)) {}

  bool fill(std::span<std::uint8_t> bytes) override try { return host_->fill(bytes); } catch (...) {
    return false;
  }

 private:
  std::unique_ptr<RandomSource> host_;
};

class GuardedPasteboard final : public Pasteboard {
 public:
  explicit GuardedPasteboard(std::unique_ptr<Pasteboard> host) : host_(std::move(host)) {}

  std::optional<std::string> string() const override try {
    return host_ ? host_->string() : std::nullopt;
  } catch (...) {
    return std::nullopt;
  }

  std::vector<PasteboardItem> items() const override try {
    return host_ ? host_->items() : std::vector<PasteboardItem>();
  } catch (...) {
    return {};
  }

  std::expected<void, std::string> setItems(std::vector<PasteboardItem> items,
                                            const PasteboardOptions& options) override try {
    if (!host_) return std::unexpected("The platform has no pasteboard.");
    return host_->setItems(std::move(items), options);
  } catch (...) {
    return std::unexpected("Pasteboard::setItems threw an exception.");
  }

 private:
  std::unique_ptr<Pasteboard> host_;
};

class GuardedPendingStore final : public PendingStore {
 public:
  explicit GuardedPendingStore(std::unique_ptr<PendingStore> host) : host_(std::move(host)) {}

  std::expected<std::optional<std::string>, std::string> read(const std::string& name) override try {
    return host_->read(name);
  } catch (...) {
    return std::unexpected("PendingStore::read threw an exception.");
  }

  std::expected<void, std::string> keep(const std::string& name, std::string_view text) override try {
    return host_->keep(name, text);
  } catch (...) {
    return std::unexpected("PendingStore::keep threw an exception.");
  }

  std::expected<void, std::string> remove(const std::string& name) override try {
    return host_->remove(name);
  } catch (...) {
    return std::unexpected("PendingStore::remove threw an exception.");
  }

  std::expected<void, std::string> setAside(const std::string& name) override try {
    return host_->setAside(name);
  } catch (...) {
    return std::unexpected("PendingStore::setAside threw an exception.");
  }

 private:
  std::unique_ptr<PendingStore> host_;
};

}  // namespace

void requireWholePlatform(const Platform& platform) {
  const auto require = [](bool present, const char* name) {
    if (!present) wrongUse("Platform::" + std::string(name) + " is null. The library can't do without it.");
  };
  require(platform.mainQueue != nullptr, "mainQueue");
  require(platform.clock != nullptr, "clock");
  require(platform.randomSource != nullptr, "randomSource");
  require(platform.debugOutput != nullptr, "debugOutput");
  require(platform.application != nullptr, "application");
}

Platform guardedPlatform(Platform platform) {
  requireWholePlatform(platform);
  platform.debugOutput = std::make_unique<GuardedDebugOutput>(std::move(platform.debugOutput));
  platform.randomSource = std::make_unique<GuardedRandomSource>(std::move(platform.randomSource));
  platform.pasteboard = std::make_unique<GuardedPasteboard>(std::move(platform.pasteboard));
  if (platform.pendingStore) {
    platform.pendingStore = std::make_unique<GuardedPendingStore>(std::move(platform.pendingStore));
  }
  if (!platform.timer) platform.timer = std::make_unique<SystemTimer>();
  return platform;
}

}  // namespace tilvanego::detail

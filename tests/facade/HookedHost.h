#pragma once

#include <deque>
#include <expected>

#include <tilvanego/facade/FacadeAccess.h>
#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/memory/ManualClock.h>
#include <tilvanego/platform/memory/MemoryPasteboard.h>
#include <tilvanego/platform/memory/MemoryPendingStore.h>
#include <tilvanego/transports/PaymentPasteboardHandoff.h>

#include "tests/support/Test.h"

namespace tilvanego::test {

/// What the library calls on a host.
enum class Port {
  debugOutput,
  clock,
  randomSource,
  pasteboardRead,
  pasteboardWrite,
  application,
  logger,
  store
};

/// A host in memory, each of whose ports calls one function of the test before it does its work. That
/// function may call the library, and throw.
class HookedHost {
 public:
  using Hook = std::function<void(Port port, std::string_view text)>;

  using Records = MemoryPendingStore::Records;

  /// Without records there is no pending store.
  explicit HookedHost(std::shared_ptr<Records> kept = nullptr) : records(std::move(kept)) { restart(); }

  /// Ends the instance, as the process would end, and makes a new one.
  void restart() {
    sdk.reset();
    sdk = detail::FacadeAccess::make(platform());
    sdk->setLogger([this](TilvaneLogLevel, std::string_view message) { call(Port::logger, message); });
  }

  [[nodiscard]] Platform platform() {
    return {.mainQueue = &loop,
            .clock = std::make_shared<const HookedClock>(*this),
            .randomSource = std::make_unique<HookedRandomSource>(*this),
            .debugOutput = std::make_unique<HookedDebugOutput>(*this),
            .pasteboard = std::make_unique<HookedPasteboard>(*this),
            .application = std::make_unique<HookedApplication>(*this),
            .pendingStore = records ? std::make_unique<HookedPendingStore>(*this) : nullptr};
  }

  void call(Port port, std::string_view text = {}) {
    if (const Hook current = hook) current(port, text);
  }

  /// Leaves the result of a payment, sealed, on the pasteboard, as the payment application does.
  void leaveResult(const std::string& handoffId, const std::string& requestId,
                   detail::ResultQueryItems items = {}) {
    OpenSSLRandomSource randomSource;
    items.insert({{"request_id", requestId}, {"status", "approved"}});
    const auto envelope = detail::sealHandoffEnvelope(detail::PaymentHandoffResultPayload{std::move(items)},
                                                      detail::PaymentHandoffDirection::result, handoffId,
                                                      requestId, clock->now(), randomSource);
    static_cast<void>(detail::writeHandoffEnvelope(pasteboard, envelope.value()));
  }

  RunLoop loop;
  /// Not hooked themselves; what the ports go by.
  std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>(Date::fromSecondsSince1970(1e9));
  MemoryPasteboard pasteboard{clock};
  std::shared_ptr<Records> records;
  /// The open requests, each kept before the hook hears of it.
  std::vector<std::string> opened;
  std::deque<std::function<void(bool)>> handlers;
  Hook hook;
  detail::FacadeAccess::Owned sdk;

 private:
  template <typename Interface>
  struct OfHost : Interface {
    explicit OfHost(HookedHost& owner) : host(owner) {}
    HookedHost& host;
  };
  struct HookedDebugOutput final : OfHost<DebugOutput> {
    using OfHost::OfHost;
    void writeLine(std::string_view text) override { host.call(Port::debugOutput, text); }
  };
  struct HookedClock final : OfHost<Clock> {
    using OfHost::OfHost;
    [[nodiscard]] Date now() const override {
      host.call(Port::clock);
      return host.clock->now();
    }
  };
  struct HookedRandomSource final : OfHost<RandomSource> {
    using OfHost::OfHost;
    [[nodiscard]] bool fill(std::span<std::uint8_t> bytes) override {
      host.call(Port::randomSource);
      std::ranges::generate(bytes, [this] { return host.nextByte_++; });
      return true;
    }
  };
  struct HookedPasteboard final : OfHost<Pasteboard> {
    using OfHost::OfHost;
    [[nodiscard]] std::optional<std::string> string() const override {
      host.call(Port::pasteboardRead);
      return host.pasteboard.string();
    }
    [[nodiscard]] std::vector<PasteboardItem> items() const override {
      host.call(Port::pasteboardRead);
      return host.pasteboard.items();
    }
    std::expected<void, std::string> setItems(std::vector<PasteboardItem> items,
                                              const PasteboardOptions& options) override {
      host.call(Port::pasteboardWrite);
      return host.pasteboard.setItems(std::move(items), options);
    }
  };
  struct HookedApplication final : OfHost<Application> {
    using OfHost::OfHost;
    void openURL(const URL& url, std::function<void(bool)> completionHandler) override {
      host.opened.push_back(url.absoluteString());
      host.handlers.push_back(std::move(completionHandler));
      host.call(Port::application, url.absoluteString());
    }
  };
  /// The hook hears of each call before and after it.
  struct HookedPendingStore final : OfHost<PendingStore> {
    explicit HookedPendingStore(HookedHost& owner) : OfHost(owner), kept(owner.records) {}
    auto called(std::string_view function, const std::string& name, auto work) {
      host.call(Port::store, std::string(function) + " " + name);
      auto done = work();
      host.call(Port::store, std::string(function) + " " + name + " done");
      return done;
    }
    std::expected<std::optional<std::string>, std::string> read(const std::string& name) override {
      return called("read", name, [&] { return kept.read(name); });
    }
    std::expected<void, std::string> keep(const std::string& name, std::string_view text) override {
      return called("keep", name, [&] { return kept.keep(name, text); });
    }
    std::expected<void, std::string> remove(const std::string& name) override {
      return called("remove", name, [&] { return kept.remove(name); });
    }
    std::expected<void, std::string> setAside(const std::string& name) override {
      return called("setAside", name, [&] { return kept.setAside(name); });
    }
    MemoryPendingStore kept;
  };

  std::uint8_t nextByte_ = 0;
};

}  // namespace tilvanego::test

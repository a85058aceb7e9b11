#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <tilvanego/platform/Application.h>
#include <tilvanego/platform/MainQueue.h>
#include <tilvanego/platform/OpenRequests.h>
#include <tilvanego/sandbox/HandoffPorts.h>
#include <tilvanego/sandbox/KeySpelling.h>
#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/sandbox/Outcome.h>
#include <tilvanego/sandbox/TransportFault.h>
#include <tilvanego/values/URL.h>

namespace tilvanego::sandbox {

/// A payment application in the host's own process, to rehearse with: the host's library opens its links
/// here, and the answers come back as callback URLs on the main queue, as the system would bring them. The
/// main thread's.
class SandboxApplication final : public Application {
 public:
  /// A link that was read and decided, and its callback URL unless the outcome is silence.
  struct Handled {
    LaunchLink request;
    Outcome outcome;
    std::optional<URL> callback;
  };
  /// Hears of each link within its open request, what became of it or why it can't be read or answered.
  /// May throw: it only listens, so the exception is dropped after one line on standard error.
  using Observer = std::function<void(const URL& link, const std::expected<Handled, SandboxError>& handled)>;

  /// `openCallback` takes each callback URL, in a block of its own on `mainQueue`.
  /// `ports` hold the host's own pasteboard and clock; without them payments by pasteboard can't be read.
  SandboxApplication(MainQueue& mainQueue, std::function<void(const URL& callback)> openCallback,
                     const HandoffPorts& ports = {});

  /// Opens links of the scheme "tilvanego" as long as the application is installed. One that can't be read,
  /// or answered as decided, is opened and never answered. A request that a newer one has overtaken counts as
  /// opened, as `OpenRequests` says.
  void openURL(const URL& url, std::function<void(bool opened)> completionHandler) override;

  /// What happens to every request from now on; nothing, as at first: the amount decides, and what has none
  /// is approved.
  void setOutcome(std::optional<Outcome> outcome) { outcome_ = outcome; }

  /// How payments are answered from now on; nothing, as at first: each as its request came. All other
  /// operations are answered in the URL's own items.
  void setAnswer(std::optional<Transport> transport) { transport_ = transport; }

  /// What goes wrong with each answer from now on; nothing, as at first.
  void setFault(std::optional<TransportFault> fault) { fault_ = fault; }

  /// The status word of each answer from now on, one of the `statusWords` of the request's operation and
  /// outcome; nothing, as at first: the usual one. A request to which the word is none isn't answered.
  void setWord(std::optional<std::string> word) { word_ = std::move(word); }

  /// How the items of each answer are called from now on; at first by their first spelling.
  void setKeys(KeySpelling keys) { keys_ = keys; }

  /// Whether the application is there at all, as it is at first.
  void setInstalled(bool installed) { installed_ = installed; }

  /// An empty observer means none.
  void setObserver(Observer observer) { observer_.swap(observer); }

 private:
  [[nodiscard]] std::expected<Handled, SandboxError> handle(const URL& link) const;
  void post(std::function<void(OpenRequests& requests)> block);

  WeakMainQueue mainQueue_;
  std::function<void(const URL&)> openCallback_;
  HandoffPorts ports_;
  std::optional<Outcome> outcome_;
  std::optional<Transport> transport_;
  std::optional<TransportFault> fault_;
  std::optional<std::string> word_;
  KeySpelling keys_ = KeySpelling::first;
  bool installed_ = true;
  Observer observer_;
  /// Held weakly by blocks, so that those which outlive this do nothing.
  std::shared_ptr<OpenRequests> requests_ = std::make_shared<OpenRequests>();
};

}  // namespace tilvanego::sandbox

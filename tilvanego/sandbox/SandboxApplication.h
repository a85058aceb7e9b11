#pragma once

#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <tilvanego/platform/Application.h>
#include <tilvanego/platform/MainQueue.h>
#include <tilvanego/platform/OpenRequests.h>
#include <tilvanego/sandbox/HandoffPorts.h>
#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/sandbox/Rehearsal.h>
#include <tilvanego/sandbox/RehearsalScript.h>
#include <tilvanego/sandbox/Response.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/URL.h>

namespace tilvanego::sandbox {
class Ledger;
}  // namespace tilvanego::sandbox

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

/// A payment application in the host's own process, for rehearsals. The host's library opens its links here;
/// the responses come back as callback URLs on the main queue, as the system would deliver them. Use it on
/// the main thread only.
class SandboxApplication final : public Application {
 public:
  /// A link that was read, its outcome, and its callback URL unless the outcome is `silent`. A script may
  /// change the URL on its way, or not deliver it.
  struct Handled {
    LaunchLink request;
    Outcome outcome;
    std::optional<URL> callback;
    /// The number of the script's line that decided; nothing without one.
    std::optional<std::size_t> line = std::nullopt;
  };
  /// Called for each link, before `openURL` returns, with its request and response, or with the reason why
  /// the link can't be read or gets no response. May throw: the exception is dropped after one line on
  /// standard error.
  using Observer = std::function<void(const URL& link, const std::expected<Handled, SandboxError>& handled)>;

  /// `openCallback` is called with each callback URL, each time in its own block on `mainQueue`. `ports` are
  /// the host's pasteboard and clock; without them payments by the pasteboard can't be read.
  SandboxApplication(MainQueue& mainQueue, std::function<void(const URL& callback)> openCallback,
                     const HandoffPorts& ports = {});

  /// Opens links of the scheme "tilvanego" while the application is installed. A link that can't be read, or
  /// for which the set outcome is impossible, is reported as opened and gets no response. A request that a
  /// newer one overtakes is reported as opened, see `OpenRequests`.
  void openURL(const URL& url, std::function<void(bool opened)> completionHandler) override;

  /// Sets the outcome of every later request. The default is nothing: the amount decides, and a request
  /// without an amount is approved.
  void setOutcome(std::optional<Outcome> outcome) { outcome_ = outcome; }

  /// Sets the transport of the responses to later payments. The default is nothing: the transport of the
  /// request. The responses of all other operations travel in the items of the URL.
  void setTransport(std::optional<Transport> transport) { decision_.transport = transport; }

  /// Sets the fault of every later response. The default is nothing.
  void setFault(std::optional<TransportFault> fault) { decision_.fault = fault; }

  /// Sets the status word of every later response: one of the `statusWords` of the request's operation and
  /// outcome. The default is nothing: the usual word. A request for which `word` is not one of them gets no
  /// response.
  void setWord(std::optional<std::string> word) { decision_.word = std::move(word); }

  /// Sets the spelling of the item names of every later response. The default is the first spelling.
  void setKeys(KeySpelling keys) { decision_.keys = keys; }

  /// Sets the script of later requests; nothing: none. Drops the callbacks that the script before it holds
  /// back. What the deciding line leaves out, and a request that no line fits, is as the other functions say.
  void setScript(std::optional<RehearsalScript> script);

  /// Delivers the callbacks whose delay is over by the clock of the ports, in the order of their times.
  /// Nothing else does: a test sets its clock by hand and calls this; a host with a system clock calls it
  /// from a timer. If the clock throws, none is delivered.
  void deliverDue();

  /// Says which lines of the script decided fewer requests than they should, as `Rehearsal::unusedLines`
  /// does, and which callbacks still wait: "line 2 has a callback that waits for the next request". Empty
  /// without a script.
  [[nodiscard]] std::vector<std::string> unusedLines() const;

  /// Says which requests no line decided, couldn't be answered as their line says, or have a link that can't
  /// be read. Empty without a script.
  [[nodiscard]] std::vector<std::string> unmatchedRequests() const;

  /// Sets whether the payment application remembers what it did, from an empty memory. The default is false.
  ///
  /// Then a transaction list has the payments, refunds and captures that were approved. A full refund needs a
  /// payment, or a captured authorization, of which nothing was refunded; a partial refund one of which as
  /// much is left; a capture an authorization that wasn't captured, and at most its amount. Other refunds and
  /// captures that would be approved fail, with a message that says why. A repeated payment is a payment of
  /// its own, with another transaction id. An approval counts whatever becomes of its callback; `silent` and
  /// `unknownStatus` are none.
  void setRemembering(bool remembering);

  /// Sets whether the payment application is installed. The default is true.
  void setInstalled(bool installed) { installed_ = installed; }

  /// Sets the observer; an empty one removes it.
  void setObserver(Observer observer) { observer_.swap(observer); }

 private:
  struct Playing;

  [[nodiscard]] std::expected<Handled, SandboxError> handle(const URL& link);
  std::expected<Handled, SandboxError> play(std::expected<LaunchLink, SandboxError>&& request,
                                            Playing& playing);
  std::expected<Handled, SandboxError> answer(LaunchLink&& request, const RehearsalLine* line,
                                              Playing* playing);
  [[nodiscard]] std::expected<Date, SandboxError> readClock() const;
  void deliver(const LaunchLink& request, const URL& callback, const RehearsalLine* line, const Date& now,
               Playing* playing);
  void postCallback(const URL& callback);
  void post(std::function<void(OpenRequests& requests)> block);

  WeakMainQueue mainQueue_;
  std::function<void(const URL&)> openCallback_;
  HandoffPorts ports_;
  std::optional<Outcome> outcome_;
  /// The decision about a payment, without the outcome.
  Decision decision_;
  bool installed_ = true;
  Observer observer_;
  /// Null without a script.
  std::shared_ptr<Playing> playing_;
  /// Null if nothing is remembered.
  std::shared_ptr<Ledger> ledger_;
  /// Posted blocks hold weak pointers to it: a block that runs after the end of this object does nothing.
  std::shared_ptr<OpenRequests> requests_ = std::make_shared<OpenRequests>();
};

}  // namespace sandbox
}  // namespace tilvanego

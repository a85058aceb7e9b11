#include <tilvanego/sandbox/SandboxApplication.h>

#include <algorithm>

#include <tilvanego/platform/HostCode.h>
#include <tilvanego/sandbox/Carried.h>
#include <tilvanego/sandbox/Ledger.h>
#include <tilvanego/values/DateFormats.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/Wiping.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

/// A script that is played, and the callbacks that it holds back.
struct SandboxApplication::Playing {
  struct Waiting {
    URL callback;
    /// Nothing: after the next request.
    std::optional<Date> due;
    std::size_t line;
  };

  /// Removes the callbacks whose time has come, and returns them in the order of their times, equal ones as
  /// they came.
  std::vector<Waiting> take(const auto& hasCome) {
    std::vector<Waiting> taken;
    std::vector<Waiting> rest;
    for (Waiting& one : waiting) {
      if (hasCome(one.due)) {
        taken.insert(std::ranges::upper_bound(taken, one.due, {}, &Waiting::due), std::move(one));
      } else {
        rest.push_back(std::move(one));
      }
    }
    waiting = std::move(rest);
    return taken;
  }

  Rehearsal rehearsal;
  std::vector<Waiting> waiting = {};
};

SandboxApplication::SandboxApplication(MainQueue& mainQueue, std::function<void(const URL&)> openCallback,
                                       const HandoffPorts& ports)
    : mainQueue_(mainQueue), openCallback_(std::move(openCallback)), ports_(ports) {}

void SandboxApplication::openURL(const URL& url, std::function<void(bool opened)> completionHandler) {
  const bool opened = installed_ && equalIgnoringCase(url.scheme().value_or(""), "tilvanego");
  const auto request = requests_->add(url, std::move(completionHandler));
  post([request, opened](OpenRequests& requests) { requests.report(request, opened); });
  if (!opened) return;

  const auto handled = handle(url);
  // Copied: the observer may set another observer, or destroy the caller's URL.
  if (const Observer observer = observer_) {
    URL link(url);
    const detail::WipedAtEnd wiped(link);
    detail::runListener("The observer of SandboxApplication", [&] { observer(link, handled); });
  }
}

std::expected<SandboxApplication::Handled, SandboxError> SandboxApplication::handle(const URL& link) {
  auto request = LaunchLink::read(link, ports_);
  // Kept: a port may set another script.
  const auto playing = playing_;
  if (playing == nullptr) {
    if (!request) return std::unexpected(std::move(request).error());
    return answer(*std::move(request), nullptr, nullptr);
  }
  // Taken before this request adds its own, which waits for the one after it.
  const auto late = playing->take([](const std::optional<Date>& due) { return !due; });
  auto handled = play(std::move(request), *playing);
  // They come after the answer, also if that is delayed: it is then the last that waits.
  const bool isDelayed = handled && handled->callback && !playing->waiting.empty() &&
                         playing->waiting.back().line == handled->line && playing->waiting.back().due;
  for (const auto& one : late) {
    if (isDelayed) {
      playing->waiting.push_back({one.callback, playing->waiting.back().due, one.line});
    } else {
      postCallback(one.callback);
    }
  }
  return handled;
}

std::expected<SandboxApplication::Handled, SandboxError> SandboxApplication::play(
    std::expected<LaunchLink, SandboxError>&& request, Playing& playing) {
  if (!request) {
    playing.rehearsal.noteUnreadable(request.error());
    return std::unexpected(std::move(request).error());
  }
  const RehearsalLine* const line = playing.rehearsal.next(*request);
  auto handled = answer(*std::move(request), line, &playing);
  if (line != nullptr && !handled) playing.rehearsal.noteUnanswered(handled.error());
  return handled;
}

std::expected<SandboxApplication::Handled, SandboxError> SandboxApplication::answer(LaunchLink&& request,
                                                                                    const RehearsalLine* line,
                                                                                    Playing* playing) {
  Decision decision = decision_;
  decision.outcome = outcome_.value_or(usualOutcome(request));
  if (line != nullptr) line->applyTo(decision, request.operation());
  if (request.operation() != Operation::payment) decision.transport.reset();
  const auto ledger = ledger_;
  std::expected<Date, SandboxError> now;
  if (ledger != nullptr || (line != nullptr && line->delay)) now = readClock();
  if (!now) return std::unexpected(std::move(now).error());
  if (ledger != nullptr) ledger->judge(request, decision);
  auto callback = respond(request, decision, ports_);
  if (!callback) return std::unexpected(std::move(callback).error());
  if (ledger != nullptr) ledger->enter(request, decision, *now);
  if (*callback) deliver(request, **callback, line, *now, playing);
  return Handled{std::move(request), decision.outcome, *std::move(callback),
                 line != nullptr ? std::optional(line->number) : std::nullopt};
}

std::expected<Date, SandboxError> SandboxApplication::readClock() const {
  return guarded([&]() -> std::expected<Date, SandboxError> { return ports_.clock->now(); });
}

void SandboxApplication::deliver(const LaunchLink& request, const URL& callback, const RehearsalLine* line,
                                 const Date& now, Playing* playing) {
  if (line == nullptr) return postCallback(callback);
  const Delivery delivery = line->delivery.value_or(Delivery::once);
  if (delivery == Delivery::never) return;
  const URL arriving = delivered(callback, request, delivery);
  std::optional<Date> due;
  if (line->delay) due = Date::fromSecondsSince1970(now.secondsSince1970() + *line->delay);
  const bool waits = due || delivery == Delivery::late;
  for (int left = delivery == Delivery::twice ? 2 : 1; left > 0; --left) {
    if (waits) {
      playing->waiting.push_back({arriving, due, line->number});
    } else {
      postCallback(arriving);
    }
  }
}

void SandboxApplication::setScript(std::optional<RehearsalScript> script) {
  playing_ = script ? std::make_shared<Playing>(Rehearsal(*std::move(script))) : nullptr;
}

void SandboxApplication::deliverDue() {
  const auto playing = playing_;
  if (playing == nullptr) return;
  const auto now = readClock();
  if (!now) return;
  const auto isOver = [&](const std::optional<Date>& due) { return due && *due <= *now; };
  for (const auto& one : playing->take(isOver)) postCallback(one.callback);
}

std::vector<std::string> SandboxApplication::unusedLines() const {
  if (playing_ == nullptr) return {};
  auto unused = playing_->rehearsal.unusedLines();
  for (const auto& [callback, due, line] : playing_->waiting) {
    unused.push_back("line " + std::to_string(line) + " has a callback that waits " +
                     (due ? "until " + internetDateText(*due) : "for the next request"));
  }
  return unused;
}

std::vector<std::string> SandboxApplication::unmatchedRequests() const {
  return playing_ != nullptr ? playing_->rehearsal.unmatchedRequests() : std::vector<std::string>();
}

void SandboxApplication::setRemembering(bool remembering) {
  ledger_ = remembering ? std::make_shared<Ledger>() : nullptr;
}

void SandboxApplication::postCallback(const URL& callback) {
  post([open = openCallback_, callback](OpenRequests&) { open(callback); });
}

void SandboxApplication::post(std::function<void(OpenRequests& requests)> block) {
  mainQueue_.post([weak = std::weak_ptr(requests_), block = std::move(block)] {
    if (const auto requests = weak.lock()) block(*requests);
  });
}

}  // namespace sandbox
}  // namespace tilvanego

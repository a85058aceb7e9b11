#include <tilvanego/sandbox/SandboxApplication.h>

#include <tilvanego/sandbox/Answer.h>
#include <tilvanego/values/Text.h>

namespace tilvanego::sandbox {

SandboxApplication::SandboxApplication(MainQueue& mainQueue, std::function<void(const URL&)> openCallback)
    : mainQueue_(mainQueue), openCallback_(std::move(openCallback)) {}

void SandboxApplication::openURL(const URL& url, std::function<void(bool opened)> completionHandler) {
  const bool opened = installed_ && equalIgnoringCase(url.scheme().value_or(""), "tilvanego");
  post([handler = std::move(completionHandler), opened] { handler(opened); });
  if (!opened) return;

  const auto handled = handle(url);
  if (handled && handled->callback) {
    post([open = openCallback_, callback = *handled->callback] { open(callback); });
  }
  // A copy: the observer may set another one.
  if (const Observer observer = observer_) observer(URL(url), handled);
}

std::expected<SandboxApplication::Handled, SandboxError> SandboxApplication::handle(const URL& link) const {
  auto request = LaunchLink::read(link);
  if (!request) return std::unexpected(std::move(request).error());
  const Outcome outcome = outcome_.value_or(usualOutcome(*request));
  auto callback = answer(*request, outcome);
  if (!callback) return std::unexpected(std::move(callback).error());
  return Handled{*std::move(request), outcome, *std::move(callback)};
}

void SandboxApplication::post(std::function<void()> block) {
  mainQueue_.post([alive = std::weak_ptr(alive_), block = std::move(block)] {
    if (!alive.expired()) block();
  });
}

}  // namespace tilvanego::sandbox

#include <tilvanego/sandbox/SandboxApplication.h>

#include <tilvanego/platform/HostCode.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/Wiping.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

SandboxApplication::SandboxApplication(MainQueue& mainQueue, std::function<void(const URL&)> openCallback,
                                       const HandoffPorts& ports)
    : mainQueue_(mainQueue), openCallback_(std::move(openCallback)), ports_(ports) {}

void SandboxApplication::openURL(const URL& url, std::function<void(bool opened)> completionHandler) {
  const bool opened = installed_ && equalIgnoringCase(url.scheme().value_or(""), "tilvanego");
  const auto request = requests_->add(url, std::move(completionHandler));
  post([request, opened](OpenRequests& requests) { requests.report(request, opened); });
  if (!opened) return;

  const auto handled = handle(url);
  if (handled && handled->callback) {
    post([open = openCallback_, callback = *handled->callback](OpenRequests&) { open(callback); });
  }
  // Copied: the observer may set another observer, or destroy the caller's URL.
  if (const Observer observer = observer_) {
    URL link(url);
    const detail::WipedAtEnd wiped(link);
    detail::runListener("The observer of SandboxApplication", [&] { observer(link, handled); });
  }
}

std::expected<SandboxApplication::Handled, SandboxError> SandboxApplication::handle(const URL& link) const {
  auto request = LaunchLink::read(link, ports_);
  if (!request) return std::unexpected(std::move(request).error());
  Decision decision = decision_;
  decision.outcome = outcome_.value_or(usualOutcome(*request));
  if (request->operation() != Operation::payment) decision.transport.reset();
  auto callback = respond(*request, decision, ports_);
  if (!callback) return std::unexpected(std::move(callback).error());
  return Handled{*std::move(request), decision.outcome, *std::move(callback)};
}

void SandboxApplication::post(std::function<void(OpenRequests& requests)> block) {
  mainQueue_.post([weak = std::weak_ptr(requests_), block = std::move(block)] {
    if (const auto requests = weak.lock()) block(*requests);
  });
}

}  // namespace sandbox
}  // namespace tilvanego

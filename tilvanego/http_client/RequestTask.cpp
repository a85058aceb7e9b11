#include <tilvanego/http_client/RequestTask.h>

#include <utility>

#include <tilvanego/platform/HostCode.h>

namespace [[gnu::visibility("default")]] tilvanego {

void RequestTask::cancel() {
  // What the session's task holds is let go without the lock: it may be the last hold on this object's owner.
  std::shared_ptr<URLSessionDataTaskProtocol> dropped;
  _state.withValue([&](auto& task) {
    if (task) detail::runListener("URLSessionDataTaskProtocol::cancel", [&] { task->cancel(); });
    dropped = std::exchange(task, nullptr);
  });
}

void RequestTask::set(std::shared_ptr<URLSessionDataTaskProtocol> task) {
  _state.withValue([&](auto& held) { held.swap(task); });
}

}  // namespace tilvanego

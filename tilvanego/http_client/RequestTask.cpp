#include <tilvanego/http_client/RequestTask.h>

#include <utility>

#include <tilvanego/platform/HostCode.h>

namespace [[gnu::visibility("default")]] tilvanego {

void RequestTask::cancel() {
  // Destroyed without the lock: the session's task may hold the last reference to the owner of this object.
  std::shared_ptr<URLSessionDataTaskProtocol> dropped;
  _state.withValue([&](auto& task) {
    if (task) detail::runListener("URLSessionDataTaskProtocol::cancel", [&] { task->cancel(); });
    dropped = std::exchange(task, nullptr);
  });
}

void RequestTask::set(std::shared_ptr<URLSessionDataTaskProtocol> task) {
  _state.withValue([&](auto& held) { held.swap(task); });
}

bool RequestTask::replace(const std::shared_ptr<URLSessionDataTaskProtocol>& expected,
                          std::shared_ptr<URLSessionDataTaskProtocol> task) {
  return _state.withValue([&](auto& held) {
    if (held != expected) return false;
    held.swap(task);
    return true;
  });
}

}  // namespace tilvanego

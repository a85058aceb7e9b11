#include <tilvanego/platform/OpenRequests.h>

#include <utility>

#include <tilvanego/values/Text.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

// Scheme and host are case-insensitive.
std::string targetOf(const URL& url) {
  return lowercased(url.scheme().value_or("")) + "://" + lowercased(url.host().value_or("")) + url.path();
}

}  // namespace

OpenRequests::~OpenRequests() {
  // Destroying a handler's captures may call this object again.
  const auto dropped = std::exchange(waiting_, {});
}

OpenRequests::Id OpenRequests::add(const URL& url, std::function<void(bool opened)> completionHandler) {
  Waiting added{.target = targetOf(url), .handler = std::move(completionHandler)};
  for (auto& [id, earlier] : waiting_) {
    if (earlier.target == added.target) earlier.overtaken = true;
  }
  waiting_.emplace(++last_, std::move(added));
  return last_;
}

void OpenRequests::report(Id request, bool opened) {
  const auto entry = waiting_.extract(request);
  if (entry) entry.mapped().handler(opened || entry.mapped().overtaken);
}

}  // namespace tilvanego

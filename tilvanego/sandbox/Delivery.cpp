#include <tilvanego/sandbox/Delivery.h>

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {
namespace {

/// The position after a part of the URL's text.
std::size_t endOf(const URL& url, std::string_view part) {
  return static_cast<std::size_t>(part.data() + part.size() - url.absoluteString().data());
}

std::string withOtherPath(const URL& callback) {
  const std::string_view path = callback.encodedPath();
  std::string text = callback.absoluteString();
  return text.insert(endOf(callback, path), path.empty() ? "/other" : "-other");
}

/// The items of the host's own URL come first, and arrive as they are.
std::string withForeignBytes(const URL& callback, const LaunchLink& request) {
  const RawQueryItems own = request.callbackURL().rawQueryItems();
  auto passedOver = std::distance(own.begin(), own.end());
  std::string text;
  std::size_t taken = 0;
  for (const RawQueryItem& item : callback.rawQueryItems()) {
    if (passedOver-- > 0) continue;
    const std::size_t end = endOf(callback, item.value ? *item.value : item.name);
    text.append(callback.absoluteString(), taken, end - taken).append(item.value ? "%FF" : "=%FF");
    taken = end;
  }
  return text.append(callback.absoluteString(), taken);
}

}  // namespace

URL delivered(const URL& callback, const LaunchLink& request, Delivery delivery) {
  const auto parsed = [&](std::string text) { return URL::parse(std::move(text)).value_or(callback); };
  switch (delivery) {
    case Delivery::otherScheme:
      return parsed("other-" + callback.absoluteString());
    case Delivery::otherPath:
      return parsed(withOtherPath(callback));
    case Delivery::notUTF8:
      return parsed(withForeignBytes(callback, request));
    default:
      return callback;
  }
}

}  // namespace sandbox
}  // namespace tilvanego

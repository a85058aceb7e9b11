#include <tilvanego/network/URLResponse.h>

namespace [[gnu::visibility("default")]] tilvanego {

const detail::HTTPHead& HTTPURLResponse::head() const {
  if (unread_) std::call_once(read_, [this] { head_ = detail::readHead(unread_->lines); });
  return head_;
}

}  // namespace tilvanego

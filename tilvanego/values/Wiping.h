#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/URL.h>

/// Secrets leave the memory when they are done with, so that neither a core dump nor the next owner of a
/// buffer finds them there.
///
/// A text that is moved may leave its characters behind: a short one lies in the object itself. So what a
/// secret was moved from is wiped as well.
namespace tilvanego::detail {

/// Overwrites the whole buffer, also what an earlier, longer content left behind the end, and empties it.
void wipe(std::string& text) noexcept;
void wipe(Bytes& bytes) noexcept;
/// Leaves a URL that can only be assigned or destroyed.
void wipe(URL& url) noexcept;
/// Wipes all values and removes the items.
void wipe(std::vector<QueryItem>& items) noexcept;

/// What holds nothing has nothing to wipe; what does keeps an empty value.
template <typename Holder>
  requires requires(Holder& holder) {
    holder.has_value();
    *holder;
  }
void wipe(Holder& holder) noexcept {
  if (holder.has_value()) wipe(*holder);
}

/// Room for `count` more characters. A buffer that becomes too small for them is wiped before it goes.
void makeRoom(std::string& text, std::size_t count);

/// Wipes a buffer at the end of the scope, on every way out of it.
template <typename Buffer>
class WipedAtEnd {
 public:
  /// `buffer` outlives this.
  explicit WipedAtEnd(Buffer& buffer) noexcept : buffer_(buffer) {}
  ~WipedAtEnd() { wipe(buffer_); }
  WipedAtEnd(const WipedAtEnd&) = delete;
  WipedAtEnd& operator=(const WipedAtEnd&) = delete;

 private:
  Buffer& buffer_;
};

}  // namespace tilvanego::detail

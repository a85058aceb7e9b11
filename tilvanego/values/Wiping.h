#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/Support.h>
#include <tilvanego/values/URL.h>

/// Overwrites secrets that are no longer needed, so that neither a core dump nor the next owner of the memory
/// contains them.
///
/// A moved-from text may still contain its characters, since a short text lies in the object itself. So wipe
/// what a secret was moved from, too.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// Overwrites the memory. No optimisation leaves that out.
void wipe(void* memory, std::size_t size) noexcept;
/// Overwrites the whole buffer, up to its capacity, and empties it.
void wipe(std::string& text) noexcept;
void wipe(Bytes& bytes) noexcept;
/// Afterwards the URL can only be assigned or destroyed.
void wipe(URL& url) noexcept;
/// Wipes all values and removes the items.
void wipe(std::vector<QueryItem>& items) noexcept;

/// Wipes the value of an optional or pointer, if it has one. It keeps an empty value.
template <typename Holder>
  requires requires(Holder& holder) {
    holder.has_value();
    *holder;
  }
void wipe(Holder& holder) noexcept {
  if (holder.has_value()) wipe(*holder);
}

/// Reserves space for `count` more characters. If the text moves to a new buffer, the old one is wiped.
void makeRoom(std::string& text, std::size_t count);

/// Wipes a buffer at the end of the scope.
template <typename Buffer>
class WipedAtEnd {
 public:
  /// `buffer` must outlive this object.
  explicit WipedAtEnd(Buffer& buffer) noexcept : buffer_(buffer) {}
  ~WipedAtEnd() { wipe(buffer_); }
  WipedAtEnd(const WipedAtEnd&) = delete;
  WipedAtEnd& operator=(const WipedAtEnd&) = delete;

 private:
  Buffer& buffer_;
};

}  // namespace support
}  // namespace tilvanego

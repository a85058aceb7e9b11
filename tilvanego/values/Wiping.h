#pragma once

#include <tilvanego/values/Bytes.h>

#include <string>

/// Secrets leave the memory when they are done with, so that neither a core dump nor the next owner of a
/// buffer finds them there.
namespace tilvanego::detail {

/// Overwrites the whole buffer, also what an earlier, longer content left behind the end, and empties it.
void wipe(std::string& text) noexcept;
void wipe(Bytes& bytes) noexcept;

/// Wipes a buffer at the end of the scope, on every way out of it.
template <class Buffer>
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

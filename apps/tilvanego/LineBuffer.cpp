#include "LineBuffer.h"

#include <algorithm>
#include <utility>

namespace tilvanego::program {

void LineBuffer::append(std::string_view bytes) {
  bytes_.erase(0, start_);
  searched_ -= start_;
  start_ = 0;
  bytes_ += bytes;
}

std::optional<LineBuffer::Line> LineBuffer::next() {
  const std::size_t found = bytes_.find('\n', searched_);
  const bool ended = found != std::string::npos || (closed_ && (start_ < bytes_.size() || dropping_));
  const std::size_t end = std::min(found, bytes_.size());
  const bool tooLong = std::exchange(dropping_, false) || end - start_ > longestLine;
  if (!ended) {
    searched_ = bytes_.size();
    dropping_ = tooLong;
    if (tooLong) start_ = searched_;
    return std::nullopt;
  }
  Line line{tooLong ? std::string() : bytes_.substr(start_, end - start_), tooLong};
  start_ = searched_ = std::min(end + 1, bytes_.size());
  return line;
}

}  // namespace tilvanego::program

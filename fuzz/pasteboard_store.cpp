// Any bytes as the file of the user's pasteboard, and as the body of a file with a valid header, since the
// fuzzer can't guess the checksum. A pasteboard that can be read is written as the same bytes.

#include <tilvanego/platform/desktop/PasteboardFormat.h>

#include "fuzz/Fuzzer.h"

namespace {

void readAndWriteBack(std::span<const std::uint8_t> file) {
  const auto contents = tilvanego::detail::decodePasteboard(file);
  if (!contents) return;
  const auto written = tilvanego::detail::encodePasteboard(*contents);
  require(written && std::ranges::equal(*written, file));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span input(data, size);
  readAndWriteBack(input);
  auto framed = tilvanego::detail::pasteboardFileHeader(input);
  framed.insert(framed.end(), input.begin(), input.end());
  readAndWriteBack(framed);
  return 0;
}

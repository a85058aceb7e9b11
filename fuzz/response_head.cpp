// The lines of the head of a response, as any server may send them. Names that are kept are tokens, values
// are UTF-8 without line breaks, each name is there once, and no limit is passed. Also bodies that are
// compressed as the head says.

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/network/HTTPHead.h>
#include <tilvanego/network/curl/IncomingResponse.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Text.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego;
using detail::ResponseHead;

void check(const ResponseHead& collected) {
  const detail::HTTPHead head = detail::readHead(collected.lines());
  require(isValidUTF8(head.statusLine) && !head.statusLine.contains('\n'));
  require(head.statusLine.empty() || head.statusLine.starts_with("HTTP/"));
  const auto& fields = head.headers.fields();
  require(fields.size() <= ResponseHead::maxFields);
  std::set<std::string> names;
  for (const auto& [name, value] : fields) {
    require(detail::isToken(name) && names.insert(detail::asciiLowercased(name)).second);
    require(isValidUTF8(value) && !value.contains('\n'));
    require(!value.starts_with(' ') && !value.starts_with('\t'));
  }
}

// Returns nothing if the bytes aren't in the coding. Decodes at most 1 MiB.
std::optional<std::string> decoded(detail::ContentCoding coding, std::string_view body,
                                   std::size_t pieceSize) {
  detail::ContentDecoder decoder(coding);
  std::string plain;
  std::array<char, 1000> room;
  for (; !body.empty(); body.remove_prefix(std::min(pieceSize, body.size()))) {
    const std::string piece(body.substr(0, pieceSize));
    decoder.feed(piece);
    for (;;) {
      const auto count = decoder.read(room);
      if (!count) return std::nullopt;
      if (*count == 0) break;
      plain.append(room.data(), *count);
      if (plain.size() > 1'000'000) return plain.substr(0, 1'000'000);
    }
  }
  return plain;
}

// A body decodes to the same bytes, whatever the sizes of its pieces.
void checkBody(const ResponseHead& head, std::string_view body) {
  const auto fields = detail::readHead(head.lines()).headers;
  const auto coding = detail::contentCodingOf(fields.value("Content-Encoding").value_or(""));
  if (coding) require(decoded(*coding, body, body.size()) == decoded(*coding, body, 1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view rest = textOf(data, size);
  ResponseHead head(std::size_t{64} * 1024);
  while (!rest.empty()) {
    const std::size_t length = std::min(rest.find('\n'), rest.size() - 1) + 1;
    // Copied to memory of exactly this size, so that a sanitizer finds a read past the end.
    const std::string line(rest.substr(0, length));
    rest.remove_prefix(length);
    if (!head.addLine(line)) break;
    check(head);
    if (line == "body\n") {
      head.bodyBegins();
      checkBody(head, rest);
    }
  }
  head.clear();
  require(!head.isComplete() && head.lines().empty());
  return 0;
}

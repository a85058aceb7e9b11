// Any text as a rehearsal's script. It is refused with a line that says where, or its lines read back from
// what they are written as; an evening of a few requests counts each of them once, and delivers URLs.

#include <tilvanego/sandbox/Rehearsal.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego;
using namespace tilvanego::sandbox;

bool isOneLine(std::string_view text) {
  return std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

/// The lines as text, each at its own number; nothing if escapes make one too long.
std::optional<std::string> written(const RehearsalScript& script) {
  std::string text;
  std::size_t number = 1;
  for (const RehearsalLine& line : script.lines()) {
    for (; number < line.number; ++number) text += '\n';
    const std::string one = json::encode(line).value();
    if (one.size() > RehearsalScript::maxLineSize) return std::nullopt;
    text += one;
  }
  return text;
}

const std::vector<LaunchLink>& requests() {
  static const auto all = [] {
    std::vector<LaunchLink> links;
    const std::string start = "tilvanego://payment/v1/";
    for (const char* rest :
         {"start?request_id=A-1&amount=12.50&type=sale&currency=EUR&require_reader_ready=true&return_url=a://"
          "b?c%23d",
          "start?request_id=A-2&amount=100&type=auth&currency=EUR&require_reader_ready=true&return_url=a:b",
          "capture?request_id=A-1&transaction_id=1&amount=100&return_url=a:b/c",
          "getTransactionList?return_url=a://b",
          "start?request_id=A-1&amount=12.50&type=sale&currency=EUR&require_reader_ready=true&return_url=a:"
          "b"}) {
      links.push_back(LaunchLink::read(*URL::parse(start + rest)).value());
    }
    return links;
  }();
  return all;
}

/// Plays the line's decision, and looks at what would arrive.
void checkAnswer(const LaunchLink& request, const RehearsalLine& line) {
  Decision decision;
  line.applyTo(decision, request.operation());
  const auto callback = respond(request, decision);
  if (!callback || !*callback) return;
  const URL arriving = delivered(**callback, request, line.delivery.value_or(Delivery::once));
  require(arriving.scheme().has_value() && isOneLine(arriving.absoluteString()));
  require(arriving.encodedFragment() == (*callback)->encodedFragment());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto script = RehearsalScript::parse(textOf(data, size));
  if (!script) {
    const std::string& message = script.error().message;
    require(isOneLine(message) && (message.starts_with("line ") || message.starts_with("the script ")));
    require(message.size() < 800, "a short message");
    return 0;
  }
  if (const auto text = written(*script); text && text->size() <= RehearsalScript::maxSize) {
    require(RehearsalScript::parse(*text) == script, "reads back");
  }
  Rehearsal rehearsal(*script);
  std::size_t decided = 0;
  for (const LaunchLink& request : requests()) {
    const RehearsalLine* const line = rehearsal.next(request);
    if (line == nullptr) continue;
    ++decided;
    require(line->fits(request));
    checkAnswer(request, *line);
  }
  require(decided + rehearsal.unmatchedRequests().size() == requests().size());
  for (const std::string& line : rehearsal.unusedLines()) require(isOneLine(line));
  return 0;
}

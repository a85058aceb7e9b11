#include <algorithm>

#include <tilvanego/platform/desktop/DesktopEntry.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego::detail;

constexpr std::string_view group = "Default Applications";
constexpr std::string_view ours = "tilvanego-myshop.desktop";

// A list of another program's, which may be anything.
void checkList(std::string_view list) {
  const std::string type = contentTypeOf("myshop");
  const auto before = listedEntries(list, group, type);
  const std::string changed = withDefault(list, type, ours);
  const auto entries = listedEntries(changed, group, type);
  require(!entries.empty() && entries.front() == ours, "it is the default");
  require(std::ranges::count(entries, ours) == 1, "it stands there once");
  require(withDefault(changed, type, ours) == changed, "a second time changes nothing");
  require(listedEntries(changed, group, "text/plain") == listedEntries(list, group, "text/plain"),
          "other types stay");
  const std::string after = withoutDefault(changed, type, ours);
  std::vector<std::string> others = before;
  std::erase(others, ours);
  // Of a key that stands twice, only the first counts.
  if (list.find(type) != list.rfind(type)) return;
  require(listedEntries(after, group, type) == others, "the others are as before");
  require(withoutDefault(after, type, ours) == after, "a second time removes nothing");
}

// The words of a command, separated by line ends. An entry has no place for NUL.
void checkEntry(std::string_view text) {
  if (text.empty() || text.find('\0') != text.npos) return;
  std::vector<std::string> words{""};
  for (const char c : text) {
    if (c == '\n') {
      words.emplace_back();
    } else {
      words.back() += c;
    }
  }
  const std::string entry = handlerEntry("myshop", text, words, false);
  require(std::ranges::count(entry, '\n') == 8, "a name adds no line");
  require(isHandlerEntry(entry, "myshop") && !hasMadeList(entry), "it is known as its own");
  require(entryValue(entry, "Desktop Entry", "MimeType") == contentTypeOf("myshop") + ";",
          "no key is forged");
  const auto exec = entryValue(entry, "Desktop Entry", "Exec");
  require(exec && exec->ends_with(" %u"), "the link is the last argument");
  if (!words.front().empty()) require(programOfExec(*exec) == words.front(), "the program comes back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = textOf(data, size);
  checkList(text);
  checkEntry(text);
  static_cast<void>(programOfExec(text));
  static_cast<void>(refusedLine(text));
  return 0;
}

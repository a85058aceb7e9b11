#include <tilvanego/platform/desktop/DesktopEntry.h>

#include <algorithm>
#include <cstddef>

#include <tilvanego/values/Text.h>

namespace tilvanego::detail {
namespace {

constexpr std::string_view defaultsGroup = "Default Applications";
constexpr std::string_view schemeKey = "X-TilvaneGo-Scheme";
constexpr std::string_view madeListKey = "X-TilvaneGo-MadeList";

/// A value of the type string: a line without control characters of its own.
std::string escapedValue(std::string_view text) {
  std::string value;
  for (const char c : text) {
    switch (c) {
      case '\\':
        value += "\\\\";
        break;
      case '\n':
        value += "\\n";
        break;
      case '\t':
        value += "\\t";
        break;
      case '\r':
        value += "\\r";
        break;
      default:
        value += c;
    }
  }
  // A reader ignores blanks at the beginning.
  if (value.starts_with(' ')) value.replace(0, 1, "\\s");
  return value;
}

std::string unescapedValue(std::string_view value) {
  std::string text;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '\\' || i + 1 == value.size()) {
      text += value[i];
      continue;
    }
    switch (const char c = value[++i]) {
      case 's':
        text += ' ';
        break;
      case 'n':
        text += '\n';
        break;
      case 't':
        text += '\t';
        break;
      case 'r':
        text += '\r';
        break;
      case '\\':
        text += '\\';
        break;
      default:
        text += '\\';
        text += c;
    }
  }
  return text;
}

/// One word of a command line in `Exec`. Only plain words need no quotes.
std::string quotedWord(std::string_view word) {
  constexpr std::string_view reserved = " \t\n\r\"'\\><~|&;$*?#()`";
  if (!word.empty() && word.find_first_of(reserved) == word.npos && word.find('%') == word.npos) {
    return std::string(word);
  }
  std::string quoted = "\"";
  for (const char c : word) {
    if (c == '"' || c == '`' || c == '$' || c == '\\') quoted += '\\';
    // Alone, it begins a field code.
    if (c == '%') quoted += '%';
    quoted += c;
  }
  return quoted + '"';
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  const auto last = text.find_last_not_of(blanks);
  return last == text.npos ? std::string_view() : text.substr(0, last + 1);
}

/// A line of a file of groups, with its place.
struct Line {
  std::size_t begin;
  /// After the line end, if there is one.
  std::size_t end;
  std::string_view text;
};

std::vector<Line> linesOf(std::string_view file) {
  std::vector<Line> lines;
  for (std::size_t begin = 0; begin < file.size();) {
    const std::size_t length = std::min(file.find('\n', begin), file.size()) - begin;
    const std::size_t end = std::min(begin + length + 1, file.size());
    lines.push_back({begin, end, file.substr(begin, length)});
    begin = end;
  }
  return lines;
}

bool isHeader(const Line& line) { return trimmed(line.text).starts_with('['); }
bool isHeaderOf(const Line& line, std::string_view group) {
  const auto text = trimmed(line.text);
  return text.size() == group.size() + 2 && text.front() == '[' && text.back() == ']' &&
         text.substr(1, group.size()) == group;
}

/// The value of a line `key=value`, as written; nothing for another line.
std::optional<std::string_view> valueIn(const Line& line, std::string_view key) {
  const auto at = line.text.find('=');
  if (at == line.text.npos || trimmed(line.text.substr(0, at)) != key) return std::nullopt;
  return trimmed(line.text.substr(at + 1));
}

/// Where a group stands in the lines, and a key in it.
struct Place {
  std::size_t header;
  /// One past the group's last line.
  std::size_t end;
  /// The line with the key, or `end`.
  std::size_t key;
};

std::optional<Place> placeOf(const std::vector<Line>& lines, std::string_view group, std::string_view key) {
  std::optional<Place> first;
  for (std::size_t header = 0; header < lines.size(); ++header) {
    if (!isHeaderOf(lines[header], group)) continue;
    Place place{header, header + 1, 0};
    while (place.end < lines.size() && !isHeader(lines[place.end])) ++place.end;
    place.key = header + 1;
    while (place.key < place.end && !valueIn(lines[place.key], key)) ++place.key;
    if (place.key < place.end) return place;
    if (!first) first = place;
  }
  return first;
}

std::vector<std::string> entriesIn(std::string_view value) {
  std::vector<std::string> entries;
  while (!value.empty()) {
    const auto length = std::min(value.find(';'), value.size());
    if (const auto entry = trimmed(value.substr(0, length)); !entry.empty()) entries.emplace_back(entry);
    value.remove_prefix(std::min(length + 1, value.size()));
  }
  return entries;
}

/// The value of a list without an entry; the rest stays as it is written.
std::string withoutEntry(std::string_view value, std::string_view entry) {
  std::string rest;
  while (!value.empty()) {
    const auto length = std::min(value.find(';'), value.size());
    const auto size = std::min(length + 1, value.size());
    if (trimmed(value.substr(0, length)) != entry) rest += value.substr(0, size);
    value.remove_prefix(size);
  }
  return rest;
}

}  // namespace

std::string handlerEntry(std::string_view scheme, std::string_view name,
                         const std::vector<std::string>& command, bool madeList) {
  std::string exec;
  for (const std::string& word : command) exec += quotedWord(word) + ' ';
  return "[Desktop Entry]\nType=Application\nName=" + escapedValue(name) + "\nExec=" + escapedValue(exec) +
         "%u\nNoDisplay=true\nStartupNotify=false\nMimeType=" + contentTypeOf(scheme) + ";\n" +
         std::string(schemeKey) + '=' + std::string(scheme) + '\n' +
         (madeList ? std::string(madeListKey) + "=true\n" : "");
}

bool isHandlerEntry(std::string_view entry, std::string_view scheme) {
  return entryValue(entry, entryGroup, schemeKey) == scheme;
}

bool hasMadeList(std::string_view entry) { return entryValue(entry, entryGroup, madeListKey) == "true"; }

std::optional<std::string> entryValue(std::string_view entry, std::string_view group, std::string_view key) {
  const auto lines = linesOf(entry);
  const auto place = placeOf(lines, group, key);
  if (!place || place->key == place->end) return std::nullopt;
  return unescapedValue(*valueIn(lines[place->key], key));
}

std::optional<std::string> programOfExec(std::string_view exec) {
  exec = trimmed(exec);
  if (exec.empty()) return std::nullopt;
  if (exec.front() != '"') return std::string(exec.substr(0, exec.find_first_of(" \t")));
  std::string program;
  for (std::size_t i = 1; i < exec.size(); ++i) {
    if (exec[i] == '"') return program.empty() ? std::nullopt : std::optional(program);
    if ((exec[i] == '\\' || exec[i] == '%') && i + 1 < exec.size()) ++i;
    program += exec[i];
  }
  return std::nullopt;
}

std::string contentTypeOf(std::string_view scheme) { return "x-scheme-handler/" + std::string(scheme); }

std::vector<std::string> listedEntries(std::string_view list, std::string_view group, std::string_view type) {
  const auto lines = linesOf(list);
  const auto place = placeOf(lines, group, type);
  if (!place || place->key == place->end) return {};
  return entriesIn(*valueIn(lines[place->key], type));
}

std::optional<std::size_t> refusedLine(std::string_view list) {
  const auto lines = linesOf(list);
  bool isInGroup = false;
  std::vector<std::string_view> keys;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const auto text = trimmed(lines[i].text);
    if (text.empty() || text.front() == '#') continue;
    if (isHeader(lines[i]) && text.back() == ']') {
      isInGroup = true;
      keys.clear();
      continue;
    }
    const auto length = text.find('=');
    if (!isInGroup || length == text.npos || length == 0 || !isValidUTF8(text)) return i + 1;
    keys.push_back(trimmed(text.substr(0, length)));
    if (std::ranges::find(keys.begin(), keys.end() - 1, keys.back()) != keys.end() - 1) return i + 1;
  }
  return std::nullopt;
}

std::string withDefault(std::string_view list, std::string_view type, std::string_view entry) {
  const auto lines = linesOf(list);
  const auto place = placeOf(lines, defaultsGroup, type);
  const std::string assigned = std::string(type) + '=' + std::string(entry) + ';';
  std::string changed(list);
  if (!place) {
    if (!changed.empty()) changed += changed.ends_with('\n') ? "\n" : "\n\n";
    return changed + '[' + std::string(defaultsGroup) + "]\n" + assigned + '\n';
  }
  if (place->key == place->end) {
    const Line& header = lines[place->header];
    const bool endsLine = list.substr(header.begin, header.end - header.begin).ends_with('\n');
    return changed.insert(header.end, (endsLine ? "" : "\n") + assigned + '\n');
  }
  const Line& line = lines[place->key];
  const auto value = *valueIn(line, type);
  if (entriesIn(value).empty()) return changed.replace(line.begin, line.text.size(), assigned);
  return changed.replace(line.begin, line.text.size(), assigned + withoutEntry(value, entry));
}

std::string withoutDefault(std::string_view list, std::string_view type, std::string_view entry) {
  const auto lines = linesOf(list);
  const auto place = placeOf(lines, defaultsGroup, type);
  std::string changed(list);
  if (!place || place->key == place->end) return changed;
  const Line& line = lines[place->key];
  const auto value = *valueIn(line, type);
  const auto entries = entriesIn(value);
  if (std::ranges::find(entries, entry) == entries.end()) return changed;
  const std::string rest = withoutEntry(value, entry);
  if (!entriesIn(rest).empty()) {
    return changed.replace(line.begin, line.text.size(), std::string(type) + '=' + rest);
  }
  const bool alone =
      std::all_of(lines.begin() + static_cast<std::ptrdiff_t>(place->header) + 1,
                  lines.begin() + static_cast<std::ptrdiff_t>(place->end),
                  [&](const Line& one) { return one.begin == line.begin || trimmed(one.text).empty(); });
  if (!alone) return changed.erase(line.begin, line.end - line.begin);
  const bool blankBefore = place->header > 0 && trimmed(lines[place->header - 1].text).empty();
  const std::size_t begin = lines[blankBefore ? place->header - 1 : place->header].begin;
  return changed.erase(begin, line.end - begin);
}

}  // namespace tilvanego::detail

#include <tilvanego/platform/desktop/CommandLine.h>

#include <algorithm>
#include <utility>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

constexpr std::string_view whitespace = " \t\n\r\v\f";

class Splitter {
 public:
  explicit Splitter(std::string_view line) : rest_(line) {}

  std::optional<std::vector<std::string>> words() {
    std::vector<std::string> words;
    while (skipWhitespace()) {
      auto word = nextWord();
      if (!word) return std::nullopt;
      words.push_back(std::move(*word));
    }
    if (words.empty()) return std::nullopt;
    return words;
  }

 private:
  // True if anything but whitespace is left.
  bool skipWhitespace() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(whitespace), rest_.size()));
    return !rest_.empty();
  }

  std::optional<std::string> nextWord() {
    std::string word;
    while (!rest_.empty() && !whitespace.contains(rest_.front())) {
      const char character = take();
      if (character == '\'' || character == '"') {
        if (!readQuoted(character, word)) return std::nullopt;
      } else if (character != '\\') {
        word += character;
      } else if (rest_.empty()) {
        return std::nullopt;
      } else {
        word += take();
      }
    }
    return word;
  }

  // Reads up to and with the closing quote; false if there is none.
  bool readQuoted(char quote, std::string& word) {
    while (!rest_.empty()) {
      const char character = take();
      if (character == quote) return true;
      const bool escapes = quote == '"' && character == '\\' && !rest_.empty() &&
                           (rest_.front() == '"' || rest_.front() == '\\');
      word += escapes ? take() : character;
    }
    return false;
  }

  char take() {
    const char character = rest_.front();
    rest_.remove_prefix(1);
    return character;
  }

  std::string_view rest_;
};

}  // namespace

std::optional<std::vector<std::string>> splitCommandLine(std::string_view line) {
  if (line.contains('\0')) return std::nullopt;
  return Splitter(line).words();
}

}  // namespace tilvanego

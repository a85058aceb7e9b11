#include <tilvanego/values/URLSplitter.h>

#include <algorithm>
#include <cstddef>

#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/CharacterRuns.h>
#include <tilvanego/values/CharacterTables.h>
#include <tilvanego/values/PercentEncoding.h>

namespace tilvanego::detail {
namespace {

constexpr std::uint32_t offset(std::size_t index) { return static_cast<std::uint32_t>(index); }

std::unexpected<URLError> refuse(std::size_t index, std::string_view message) {
  return std::unexpected(URLError{index, message});
}

constexpr bool isLetter(char character) {
  return belongs(character, CharacterClass::schemeTail) && (character & 0x40) != 0;
}

// Returns the first offset from `index` on that holds neither a member of `Allowed` nor an escape.
template <CharacterClass Allowed>
std::size_t endOfAllowed(std::string_view text, std::size_t index) {
  return static_cast<std::size_t>(
      detail::endOfAllowed<Allowed>(text.data() + index, text.data() + text.size()) - text.data());
}

template <CharacterClass Allowed>
bool allAllowed(std::string_view text) {
  return endOfAllowed<Allowed>(text, 0) == text.size();
}

// Finds the first of a few characters. Parts of a URL are short, so a simple loop is the fastest way.
std::size_t findOr(std::string_view text, std::string_view characters, std::size_t from,
                   std::size_t otherwise) {
  for (std::size_t index = from; index < text.size(); ++index) {
    for (const char character : characters) {
      if (text[index] == character) return index;
    }
  }
  return otherwise;
}

// Splits one text; each step starts where the one before ended.
class Splitter {
 public:
  Splitter(std::string_view text, SplitText& split) : text_(text), split_(split) {}

  std::expected<void, URLError> run() {
    if (text_.empty()) return refuse(0, "an empty text is no URL");
    if (text_.size() >= URLParts::none) return refuse(0, "the text is too long for a URL");
    if (const auto done = takeScheme(); !done) return std::unexpected(done.error());
    if (text_.substr(at_).starts_with("//")) {
      if (const auto done = takeAuthority(); !done) return std::unexpected(done.error());
    }
    takePathQueryFragment();
    return {};
  }

 private:
  using Step = std::expected<void, URLError>;

  // A scheme ends at a ":" that comes before any other general delimiter.
  Step takeScheme() {
    std::size_t end = 0;
    while (end < text_.size() && belongs(text_[end], CharacterClass::schemeTail)) ++end;
    const std::size_t delimiter =
        end < text_.size() && text_[end] == ':' ? end : text_.find_first_of(":/?#[]@", end);
    if (delimiter == std::string_view::npos || text_[delimiter] != ':') return {};
    if (delimiter == 0) {
      split_.emptyScheme = true;
    } else if (!isLetter(text_[0])) {
      return refuse(0, "a scheme starts with a letter");
    } else if (end != delimiter) {
      return refuse(end, "a scheme holds letters, digits, \"+\", \"-\" and \".\" alone");
    } else {
      split_.parts.scheme = offset(delimiter);
    }
    at_ = delimiter + 1;
    return {};
  }

  Step takeAuthority() {
    at_ += 2;
    split_.parts.authority = offset(at_);
    if (takePlainHost()) return {};
    const std::size_t end = findOr(text_, "/?#", at_, text_.size());
    const std::size_t sign = text_.substr(at_, end - at_).rfind('@');
    if (sign != std::string_view::npos) {
      checkUserInformation(text_.substr(at_, sign));
      at_ += sign + 1;
    }
    split_.parts.host = offset(at_);
    if (const auto done = takeHost(end); !done) return done;
    split_.parts.hostEnd = offset(at_);
    return takePort(end);
  }

  // Reads an authority that has only a host, as in nearly every callback.
  bool takePlainHost() {
    const char* const begin = text_.data() + at_;
    const char* const end = text_.data() + text_.size();
    const char* const hostEnd = endOfRun(begin, end, CharacterClass::host);
    if (hostEnd != end && *hostEnd != '/' && *hostEnd != '?' && *hostEnd != '#') return false;
    split_.parts.host = offset(at_);
    at_ += static_cast<std::size_t>(hostEnd - begin);
    split_.parts.hostEnd = offset(at_);
    return true;
  }

  void checkUserInformation(std::string_view text) {
    const std::size_t colon = std::min(text.find(':'), text.size());
    split_.userNeedsEncoding = !allAllowed<CharacterClass::user>(text.substr(0, colon));
    split_.passwordNeedsEncoding =
        colon < text.size() && !allAllowed<CharacterClass::password>(text.substr(colon + 1));
  }

  Step takeHost(std::size_t authorityEnd) {
    if (at_ < authorityEnd && text_[at_] == '[') return takeAddress(authorityEnd);
    const std::string_view upToEnd = text_.substr(0, authorityEnd);
    const std::size_t end = std::min(upToEnd.find(':', at_), authorityEnd);
    const std::string_view host = text_.substr(at_, end - at_);
    split_.hostNeedsEncoding = !std::ranges::all_of(host, isASCII);
    const std::size_t allowed = endOfAllowed<CharacterClass::host>(host, 0);
    if (!split_.hostNeedsEncoding && allowed != host.size()) {
      return refuse(at_ + allowed, "this character can't stand in a host");
    }
    at_ = end;
    return {};
  }

  // Reads an IP address in brackets. Only its characters are checked.
  Step takeAddress(std::size_t authorityEnd) {
    const std::string_view upToEnd = text_.substr(0, authorityEnd);
    const std::size_t end = endOfAllowed<CharacterClass::ipLiteral>(upToEnd, at_ + 1);
    if (end == authorityEnd) return refuse(at_, "the bracket isn't closed");
    if (text_[end] != ']') return refuse(end, "this character can't stand in an address in brackets");
    at_ = end + 1;
    if (at_ != authorityEnd && text_[at_] != ':')
      return refuse(at_, "only a port can follow an address in brackets");
    return {};
  }

  Step takePort(std::size_t authorityEnd) {
    if (at_ < authorityEnd) {
      for (++at_; at_ < authorityEnd; ++at_) {
        if (text_[at_] < '0' || text_[at_] > '9') return refuse(at_, "a port holds digits alone");
      }
    }
    return {};
  }

  void takePathQueryFragment() {
    split_.parts.path = offset(at_);
    split_.pathNeedsEncoding = take<CharacterClass::path>("?#");
    if (at_ < text_.size() && text_[at_] == '?') {
      split_.parts.query = offset(at_++);
      split_.queryNeedsEncoding = take<CharacterClass::query>("#");
    }
    if (at_ < text_.size()) {
      split_.parts.fragment = offset(at_++);
      split_.fragmentNeedsEncoding = take<CharacterClass::query>("");
    }
  }

  // Moves to the next of `stops`. Returns true if a character before it needs encoding.
  template <CharacterClass Allowed>
  bool take(std::string_view stops) {
    const std::size_t end = endOfAllowed<Allowed>(text_, at_);
    at_ = findOr(text_, stops, end, text_.size());
    return at_ != end;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  SplitText& split_;
};

void appendComponent(std::string& target, std::string_view component, bool encode, CharacterClass allowed) {
  if (encode) {
    appendPercentEncoded(target, component, allowed);
  } else {
    target += component;
  }
}

// Appends the user information and its "@".
void appendUserInformation(std::string& target, std::string_view text, const SplitText& split) {
  if (text.empty()) return;
  text.remove_suffix(1);
  const std::size_t colon = std::min(text.find(':'), text.size());
  appendComponent(target, text.substr(0, colon), split.userNeedsEncoding, CharacterClass::user);
  if (colon < text.size()) {
    target += ':';
    appendComponent(target, text.substr(colon + 1), split.passwordNeedsEncoding, CharacterClass::password);
  }
  target += '@';
}

// An empty port is written without its ":".
bool appendAuthority(std::string& target, std::string_view text, const SplitText& split) {
  const auto& parts = split.parts;
  target += "//";
  appendUserInformation(target, text.substr(parts.authority, parts.host - parts.authority), split);
  const std::string_view host = text.substr(parts.host, parts.hostEnd - parts.host);
  if (split.hostNeedsEncoding) {
    const std::optional<std::string> written = writtenHost(host);
    if (!written) return false;
    target += *written;
  } else {
    target += host;
  }
  if (parts.path - parts.hostEnd > 1) target += text.substr(parts.hostEnd, parts.path - parts.hostEnd);
  return true;
}

}  // namespace

std::expected<SplitText, URLError> splitURL(std::string_view text) {
  std::expected<SplitText, URLError> split;
  if (const auto done = Splitter(text, *split).run(); !done) split = std::unexpected(done.error());
  return split;
}

std::expected<std::string, URLError> encodedURL(std::string_view text, const SplitText& split) {
  const auto& parts = split.parts;
  std::string encoded;
  encoded.reserve(text.size() + text.size() / 2);
  if (split.emptyScheme) encoded += ':';
  if (parts.scheme != URLParts::none) encoded += text.substr(0, parts.scheme + 1);
  if (parts.authority != URLParts::none && !appendAuthority(encoded, text, split)) {
    return refuse(parts.host, "the host has no form in ASCII");
  }
  const std::size_t fragment = std::min<std::size_t>(parts.fragment, text.size());
  const std::size_t query = std::min<std::size_t>(parts.query, fragment);
  const std::string_view path = text.substr(parts.path, query - parts.path);
  if (split.pathNeedsEncoding) {
    appendEncodedPath(encoded, path);
  } else {
    encoded += path;
  }
  if (query != fragment) {
    encoded += '?';
    appendComponent(encoded, text.substr(query + 1, fragment - query - 1), split.queryNeedsEncoding,
                    CharacterClass::query);
  }
  if (fragment != text.size()) {
    encoded += '#';
    appendComponent(encoded, text.substr(fragment + 1), split.fragmentNeedsEncoding, CharacterClass::query);
  }
  return encoded;
}

std::optional<std::string> writtenHost(std::string_view host) {
  const auto allOf = [](std::string_view text, CharacterClass allowed) {
    return std::ranges::all_of(text, [allowed](char character) { return belongs(character, allowed); });
  };
  if (host.starts_with('[')) {
    const bool closed = host.size() > 1 && host.ends_with(']');
    if (!closed || !allOf(host.substr(1, host.size() - 2), CharacterClass::ipLiteral)) return std::nullopt;
    return std::string(host);
  }
  std::optional<std::string> written =
      std::ranges::all_of(host, isASCII) ? std::optional<std::string>(host) : hostToASCII(host);
  if (written && !allOf(*written, CharacterClass::host)) return std::nullopt;
  return written;
}

void appendEncodedPath(std::string& target, std::string_view path) {
  if (!path.starts_with('/')) {
    std::string_view segment = path.substr(0, path.find('/'));
    path.remove_prefix(segment.size());
    for (std::size_t colon = segment.find(':'); colon != std::string_view::npos; colon = segment.find(':')) {
      appendPercentEncoded(target, segment.substr(0, colon), CharacterClass::path);
      target += "%3A";
      segment.remove_prefix(colon + 1);
    }
    appendPercentEncoded(target, segment, CharacterClass::path);
  }
  appendPercentEncoded(target, path, CharacterClass::path);
}

bool isScheme(std::string_view text) {
  return !text.empty() && isLetter(text[0]) && std::ranges::all_of(text, [](char character) {
    return belongs(character, CharacterClass::schemeTail);
  });
}

}  // namespace tilvanego::detail

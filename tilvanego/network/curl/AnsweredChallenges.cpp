#include <tilvanego/network/curl/AnsweredChallenges.h>

#include <tilvanego/values/ASCII.h>

namespace tilvanego::detail {
namespace {

/// Returns how many dots a segment of a path consists of, escaped or not; 0 for any other segment.
std::size_t dotsOf(std::string_view segment) {
  std::size_t dots = 0;
  for (; !segment.empty(); ++dots) {
    if (segment.front() == '.') {
      segment.remove_prefix(1);
    } else if (equalIgnoringASCIICase(segment.substr(0, 3), "%2e")) {
      segment.remove_prefix(3);
    } else {
      return 0;
    }
  }
  return dots;
}

/// Returns the directory of a path, which begins and ends with "/", without the dot segments, which a server
/// resolves (RFC 3986, section 5.2.4).
std::string directoryOf(std::string_view path) {
  std::string directory = "/";
  if (path.starts_with('/')) path.remove_prefix(1);
  for (bool isLast = false; !isLast;) {
    const auto end = path.find('/');
    isLast = end == std::string_view::npos;
    const auto segment = path.substr(0, end);
    const auto dots = dotsOf(segment);
    if (dots == 2) {
      if (directory.size() > 1) directory.resize(directory.rfind('/', directory.size() - 2) + 1);
    } else if (dots != 1 && !isLast) {
      directory.append(segment).push_back('/');
    }
    if (!isLast) path.remove_prefix(end + 1);
  }
  return directory;
}

}  // namespace

const AnsweredChallenges::Entry* AnsweredChallenges::entryFor(const URLProtectionSpace& server,
                                                              std::string_view path) const {
  const auto directory = directoryOf(path);
  const Entry* deepest = nullptr;
  for (const auto& entry : entries_) {
    if (!directory.starts_with(entry.directory) || entry.server != server) continue;
    if (!deepest || entry.directory.size() > deepest->directory.size()) deepest = &entry;
  }
  return deepest;
}

std::shared_ptr<ChallengeInUse> AnsweredChallenges::find(const URLProtectionSpace& server,
                                                         std::string_view path) const {
  const std::lock_guard held(mutex_);
  const auto* const entry = entryFor(server, path);
  return entry ? entry->challenge : nullptr;
}

void AnsweredChallenges::remember(const URLProtectionSpace& server, std::string_view path,
                                  const std::shared_ptr<ChallengeInUse>& challenge) {
  const std::lock_guard held(mutex_);
  const auto* const known = entryFor(server, path);
  if (known && known->challenge == challenge) return;
  auto directory = directoryOf(path);
  std::erase_if(entries_,
                [&](const Entry& entry) { return entry.server == server && entry.directory == directory; });
  if (entries_.size() >= maximum) entries_.erase(entries_.begin());
  entries_.push_back({server, std::move(directory), challenge});
}

void AnsweredChallenges::forget(const std::shared_ptr<ChallengeInUse>& challenge) {
  const std::lock_guard held(mutex_);
  std::erase_if(entries_, [&](const Entry& entry) { return entry.challenge == challenge; });
}

}  // namespace tilvanego::detail

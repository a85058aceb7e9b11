#include <tilvanego/network/curl/AnsweredChallenges.h>

namespace tilvanego::detail {
namespace {

std::string_view directoryOf(std::string_view path) {
  const auto slash = path.rfind('/');
  return slash == std::string_view::npos ? "/" : path.substr(0, slash + 1);
}

}  // namespace

const AnsweredChallenges::Entry* AnsweredChallenges::entryFor(const URLProtectionSpace& server,
                                                              std::string_view path) const {
  const Entry* deepest = nullptr;
  for (const auto& entry : entries_) {
    if (!directoryOf(path).starts_with(entry.directory) || entry.server != server) continue;
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
  std::string directory(directoryOf(path));
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

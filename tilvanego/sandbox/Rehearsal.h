#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <tilvanego/sandbox/RehearsalScript.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

/// A script that is being played: it counts the requests, and knows which lines are used up. A
/// `SandboxApplication` plays one by itself. One thread at a time may use it.
class Rehearsal {
 public:
  explicit Rehearsal(RehearsalScript script);

  /// Returns the line that decides the next request: the first that fits and isn't used up. Returns null if
  /// there is none. Valid as long as this object exists.
  [[nodiscard]] const RehearsalLine* next(const LaunchLink& request);

  /// Counts a request whose link can't be read, which no line can fit.
  void noteUnreadable(const SandboxError& reason);

  /// Call this if the last request couldn't be answered as its line says.
  void noteUnanswered(const SandboxError& reason);

  /// Says for each line that decided fewer requests than it should which one it is:
  /// "line 4 decided 0 requests of 1 (the retry)", with the line's note. Without control characters.
  [[nodiscard]] std::vector<std::string> unusedLines() const;

  /// Says for each request that no line decided, or that couldn't be answered as its line says, which one it
  /// is: "request 3, payment "A-1003" of 12.5: no line fits", "request 4: the link has no return_url".
  /// Without control characters.
  [[nodiscard]] const std::vector<std::string>& unmatchedRequests() const { return unmatched_; }

 private:
  struct Count {
    std::size_t fitting = 0;
    std::size_t decided = 0;
  };

  RehearsalScript script_;
  /// For each line.
  std::vector<Count> counts_;
  std::size_t requests_ = 0;
  std::string lastRequest_;
  std::vector<std::string> unmatched_;
};

}  // namespace sandbox
}  // namespace tilvanego

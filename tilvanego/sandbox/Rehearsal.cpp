#include <tilvanego/sandbox/Rehearsal.h>

#include <tilvanego/sandbox/ShownText.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {
namespace {

std::string described(std::size_t number, const LaunchLink& request) {
  std::string text = "request " + std::to_string(number) + ", ";
  text.append(rawText(request.operation()));
  if (const auto& id = request.requestId()) text.append(" ").append(inQuotes(*id));
  if (const auto& amount = request.amount()) text.append(" of ").append(amount->text());
  return text;
}

}  // namespace

Rehearsal::Rehearsal(RehearsalScript script) : script_(std::move(script)), counts_(script_.lines().size()) {}

const RehearsalLine* Rehearsal::next(const LaunchLink& request) {
  lastRequest_ = described(++requests_, request);
  const RehearsalLine* deciding = nullptr;
  for (std::size_t i = 0; i < counts_.size(); ++i) {
    const RehearsalLine& line = script_.lines()[i];
    if (!line.fits(request)) continue;
    Count& count = counts_[i];
    ++count.fitting;
    const bool isMeant =
        count.decided < line.times.value_or(1) && line.nth.value_or(count.fitting) == count.fitting;
    if (deciding != nullptr || !isMeant) continue;
    ++count.decided;
    deciding = &line;
  }
  if (deciding == nullptr) noteUnanswered({"no line fits"});
  return deciding;
}

void Rehearsal::noteUnreadable(const SandboxError& reason) {
  lastRequest_ = "request " + std::to_string(++requests_);
  noteUnanswered(reason);
}

void Rehearsal::noteUnanswered(const SandboxError& reason) {
  unmatched_.push_back(lastRequest_ + ": " + reason.message);
}

std::vector<std::string> Rehearsal::unusedLines() const {
  std::vector<std::string> unused;
  for (std::size_t i = 0; i < counts_.size(); ++i) {
    const RehearsalLine& line = script_.lines()[i];
    const std::size_t times = line.times.value_or(1);
    if (counts_[i].decided == times) continue;
    unused.push_back("line " + std::to_string(line.number) + " decided " +
                     std::to_string(counts_[i].decided) + " requests of " + std::to_string(times) +
                     (line.note ? " (" + shown(*line.note) + ")" : ""));
  }
  return unused;
}

}  // namespace sandbox
}  // namespace tilvanego

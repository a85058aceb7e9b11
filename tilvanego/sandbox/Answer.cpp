#include <tilvanego/sandbox/Answer.h>

#include <string>
#include <utility>

#include <tilvanego/sandbox/AnswerTables.h>

namespace tilvanego::sandbox {
namespace {

Verdict verdictOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::decline:
      return Verdict::declined;
    case Outcome::cancel:
      return Verdict::cancelled;
    case Outcome::fail:
      return Verdict::failed;
    default:
      return Verdict::approved;
  }
}

std::string_view statusOf(const AnswerTable& table, Outcome outcome) {
  switch (outcome) {
    case Outcome::decline:
      return table.declined;
    case Outcome::cancel:
      return "cancelled";
    case Outcome::fail:
      return "failed";
    case Outcome::unknownStatus:
      return "parked";
    default:
      return table.approved;
  }
}

}  // namespace

Outcome usualOutcome(const LaunchLink& link) {
  return link.amount() ? outcomeForAmount(*link.amount()) : Outcome::approve;
}

std::vector<QueryItem> answerItems(const LaunchLink& link, Outcome outcome) {
  std::vector<QueryItem> items;
  if (outcome == Outcome::silent) return items;
  const AnswerTable& table = answerTable(link.operation());
  if (const auto& id = link.requestId()) {
    items.push_back({"request_id", outcome == Outcome::wrongId ? *id + "-other" : *id});
  }
  if (outcome != Outcome::noStatus) items.push_back({"status", std::string(statusOf(table, outcome))});
  for (const auto& [name, value] : table.fields) {
    if (auto text = value(link, verdictOf(outcome))) items.push_back({std::string(name), std::move(text)});
  }
  return items;
}

std::expected<std::optional<URL>, SandboxError> answer(const LaunchLink& link, Outcome outcome) {
  const auto impossible = [&](std::string_view reason) {
    return std::unexpected(
        SandboxError{"the outcome " + std::string(rawText(outcome)) + " " + std::string(reason)});
  };
  if (outcome == Outcome::silent) return std::nullopt;
  if (outcome == Outcome::tampered || outcome == Outcome::expired) {
    return impossible("needs an answer by gzip or pasteboard; this one travels in the URL's own items");
  }
  if (outcome == Outcome::wrongId && !link.requestId()) return impossible("needs a request with an id");

  auto items = link.callbackURL().queryItems().value_or(std::vector<QueryItem>());
  for (QueryItem& item : answerItems(link, outcome)) items.push_back(std::move(item));
  auto url = link.callbackURL().replacingQueryItems(items);
  if (!url) return std::unexpected(SandboxError{"the answer is too long for a URL"});
  return url;
}

}  // namespace tilvanego::sandbox

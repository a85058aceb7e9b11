#include <tilvanego/sandbox/Response.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include <tilvanego/sandbox/Carried.h>
#include <tilvanego/sandbox/ResponseTables.h>
#include <tilvanego/sandbox/ShownText.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {
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

std::string_view statusOf(const ResponseTable& table, Outcome outcome) {
  if (outcome == Outcome::unknownStatus) return "parked";
  const std::array<std::string_view, 4> statuses{table.approved, table.declined, "cancelled", "failed"};
  return statuses.at(static_cast<std::size_t>(verdictOf(outcome)));
}

std::span<const std::string_view> written(const StatusRow& row) {
  return {row.begin(), std::ranges::find(row, std::string_view())};
}

/// The row that contains the word; empty if there is none.
std::span<const std::string_view> rowWith(const ResponseTable& table, std::string_view word) {
  const auto found = std::ranges::find_if(
      table.words, [&](const StatusRow& row) { return std::ranges::find(row, word) != row.end(); });
  return found == table.words.end() ? std::span<const std::string_view>() : written(*found);
}

/// Fails unless `what`, an outcome or a fault, is possible with the transport.
template <typename What>
std::expected<void, SandboxError> checkTransport(std::string_view kind, What what, Transport transport) {
  const auto possible = transportsOf(what);
  if (std::ranges::find(possible, transport) != possible.end()) return {};
  return wrong("the " + std::string(kind) + " " + std::string(rawText(what)) + " needs an answer by " +
               listed(possible) + ", and this one travels by " + std::string(rawText(transport)));
}

std::expected<void, SandboxError> checkWord(Operation operation, Outcome outcome, std::string_view word) {
  const auto words = statusWords(operation, outcome);
  if (std::ranges::find(words, word) != words.end()) return {};
  const std::string outcomeName = "the outcome " + std::string(rawText(outcome));
  if (words.empty()) return wrong(outcomeName + " has no status word to choose");
  std::string names;
  for (const std::string_view one : words) names.append(names.empty() ? "" : ", ").append(one);
  return wrong("the word " + inQuotes(word) + " isn't " + std::string(rawText(operation)) + "'s for " +
               outcomeName + ": " + names);
}

std::expected<void, SandboxError> checkPossible(const LaunchLink& link, const Decision& decision,
                                                Transport transport) {
  if (transport != Transport::url && link.operation() != Operation::payment) {
    return wrong("only a payment is answered by " + std::string(rawText(transport)));
  }
  if (decision.outcome == Outcome::wrongId && !link.requestId()) {
    return wrong("the outcome wrong-id needs a request with an id");
  }
  if (decision.word) {
    if (auto checked = checkWord(link.operation(), decision.outcome, *decision.word); !checked)
      return checked;
  }
  if (auto checked = checkTransport("outcome", decision.outcome, transport); !checked) return checked;
  if (decision.fault) return checkTransport("fault", *decision.fault, transport);
  return {};
}

/// The items of the callback URL: the response itself, a compressed response, or the name of a sealed one.
std::expected<std::vector<QueryItem>, SandboxError> carriedItems(const LaunchLink& link,
                                                                 const Decision& decision,
                                                                 Transport transport,
                                                                 const HandoffPorts& ports) {
  switch (transport) {
    case Transport::gzip:
      return guarded([&] { return compressedResponse(link, decision, ports); });
    case Transport::pasteboard:
      return guarded([&] { return sealedResponse(link, decision, ports); });
    case Transport::url:
      break;
  }
  return responseItems(link, decision);
}

}  // namespace

Outcome usualOutcome(const LaunchLink& link) {
  return link.amount() ? outcomeForAmount(*link.amount()) : Outcome::approve;
}

std::vector<std::string_view> statusWords(Operation operation, Outcome outcome) {
  switch (outcome) {
    case Outcome::silent:
    case Outcome::noStatus:
    case Outcome::unknownStatus:
      return {};
    case Outcome::fail:
      return {"failed", "error", "failure"};
    default:
      break;
  }
  const ResponseTable& table = responseTable(operation);
  const std::string_view usual = statusOf(table, outcome);
  auto words = rowWith(table, usual);
  // If this operation has no result for the outcome, the words are those of a payment.
  if (words.empty()) words = rowWith(responseTable(Operation::payment), usual);
  return {words.begin(), words.end()};
}

std::string_view spelled(const KeyNames& names, KeySpelling spelling) {
  if (spelling == KeySpelling::camelCase) {
    const auto isCamelCase = [](std::string_view name) {
      return std::ranges::any_of(name, [](char c) { return c >= 'A' && c <= 'Z'; });
    };
    const auto* const found = std::ranges::find_if(names, isCamelCase);
    return found == names.end() ? names.front() : *found;
  }
  const auto count = static_cast<std::size_t>(std::ranges::find(names, std::string_view()) - names.begin());
  return names.at(std::min(static_cast<std::size_t>(spelling), count - 1));
}

std::vector<QueryItem> responseItems(const LaunchLink& link, const Decision& decision) {
  std::vector<QueryItem> items;
  const Outcome outcome = decision.outcome;
  if (outcome == Outcome::silent) return items;
  const ResponseTable& table = responseTable(link.operation());
  const auto add = [&](std::string_view name, std::string value) {
    items.push_back({std::string(spelledKey(table, name, decision.keys)), std::move(value)});
  };
  if (const auto& id = link.requestId())
    add("request_id", outcome == Outcome::wrongId ? *id + "-other" : *id);
  if (outcome != Outcome::noStatus) {
    add("status", decision.word.value_or(std::string(statusOf(table, outcome))));
  }
  for (const auto& [name, value] : table.fields) {
    auto text = value(link, verdictOf(outcome));
    if (!text) continue;
    const auto own = decision.values.find(name);
    add(name, own == decision.values.end() ? *std::move(text) : own->second);
  }
  return items;
}

std::vector<QueryItem> responseItems(const LaunchLink& link, Outcome outcome) {
  return responseItems(link, Decision{.outcome = outcome});
}

std::expected<std::optional<URL>, SandboxError> respond(const LaunchLink& link, const Decision& decision,
                                                        const HandoffPorts& ports) {
  const Transport transport = decision.transport.value_or(link.transport());
  if (auto possible = checkPossible(link, decision, transport); !possible) {
    return std::unexpected(std::move(possible).error());
  }
  if (decision.outcome == Outcome::silent) return std::nullopt;
  const auto carried = carriedItems(link, decision, transport, ports);
  if (!carried) return std::unexpected(carried.error());
  auto items = link.callbackURL().queryItems().value_or(std::vector<QueryItem>());
  items.insert(items.end(), carried->begin(), carried->end());
  auto url = link.callbackURL().replacingQueryItems(items);
  if (!url) return wrong("the answer is too long for a URL");
  return url;
}

std::expected<std::optional<URL>, SandboxError> respond(const LaunchLink& link, Outcome outcome) {
  return respond(link, Decision{.outcome = outcome, .transport = Transport::url});
}

}  // namespace sandbox
}  // namespace tilvanego

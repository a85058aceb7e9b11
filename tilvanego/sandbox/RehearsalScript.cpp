#include <tilvanego/sandbox/RehearsalScript.h>

#include <algorithm>
#include <array>
#include <set>
#include <span>
#include <variant>

#include <tilvanego/frame/Validation.h>
#include <tilvanego/sandbox/Carried.h>
#include <tilvanego/sandbox/LinkForms.h>
#include <tilvanego/sandbox/ShownText.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {
namespace {

constexpr double longestDelay = 86'400;

/// What is wrong with a line; empty if nothing is.
using Fault = std::string;

std::string listed(const auto& texts) {
  std::string list;
  for (const std::string_view text : texts) list.append(list.empty() ? "" : ", ").append(text);
  return list;
}

template <HasRawText Enumeration>
std::string oneOf() {
  std::array<std::string_view, allCases<Enumeration>().size()> texts;
  std::ranges::transform(allCases<Enumeration>(), texts.begin(), rawText<Enumeration>);
  return "must be one of " + listed(texts);
}

std::string wholeNumber() { return "must be a whole number, at least 1"; }
std::string text() { return "must be a text"; }

struct FieldRule {
  std::string_view name;
  std::string (*rule)();
};

constexpr std::array fieldRules{
    FieldRule{"operation", oneOf<Operation>},
    FieldRule{"amount",
              [] { return std::string(R"(must be a text with a number above zero, such as "12.50")"); }},
    FieldRule{"requestId", [] { return std::string("must be a text that isn't blank"); }},
    FieldRule{"nth", wholeNumber},
    FieldRule{"times", wholeNumber},
    FieldRule{"outcome", oneOf<Outcome>},
    FieldRule{"word", text},
    FieldRule{"keys", oneOf<KeySpelling>},
    FieldRule{"answer", oneOf<Transport>},
    FieldRule{"fault", oneOf<TransportFault>},
    FieldRule{"delay", [] { return std::string("must be a number of seconds, 0 to 86400"); }},
    FieldRule{"delivery", oneOf<Delivery>},
    FieldRule{"note", text},
};
static_assert(std::ranges::equal(fieldRules, json::recordKeys<RehearsalLine>(), {}, &FieldRule::name),
              "each field has a rule, in the order of the record");

Fault faultOf(const auto& field) {
  return "has the field " + inQuotes(field.name) + ", which " + field.rule();
}

const FieldRule& ruleOf(std::string_view name) {
  return *std::ranges::find(fieldRules, name, &FieldRule::name);
}

/// Quotes a name of the script, shortened if it is long.
std::string quotedName(std::string_view name) {
  constexpr std::size_t longest = 60;
  if (name.size() <= longest) return inQuotes(name);
  // Does not cut within a character.
  std::size_t end = longest;
  while ((static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80U) --end;
  return inQuotes(name.substr(0, end)) + "...";
}

/// A fault in the text itself, before any field is read.
Fault notJSON(const JSONError& error) {
  if (error.failure == JSONFailure::wrongKind)
    return R"(must be a JSON object, such as {"outcome": "decline"})";
  const bool isNotOneLine =
      error.failure == JSONFailure::unexpectedEnd || error.failure == JSONFailure::trailingContent;
  return "is no JSON: " + error.reason() + " (byte " + std::to_string(error.offset) + ")" +
         (isNotOneLine ? "; write one whole object in each line" : "");
}

constexpr JSONLimits lineLimits{
    .bytes = RehearsalScript::maxLineSize, .elements = 1'000, .depth = 8, .memory = std::size_t{1} << 20U};

/// Finds what the record's reader would pass over: unknown names, and names that occur twice.
Fault checkNames(std::string_view text) {
  json::Reader reader(text, nullptr, lineLimits);
  if (!reader.beginObject()) return notJSON(reader.error());
  std::set<std::string, std::less<>> seen;
  std::string_view name;
  json::Reader::Next next{};
  while ((next = reader.nextKey(name)) == json::Reader::Next::item) {
    if (std::ranges::find(fieldRules, name, &FieldRule::name) == fieldRules.end()) {
      return "has the unknown field " + quotedName(name) +
             "; known: " + listed(json::recordKeys<RehearsalLine>());
    }
    if (!seen.emplace(name).second) return "has " + inQuotes(name) + " twice";
    if (!reader.skip()) return notJSON(reader.error());
  }
  return next == json::Reader::Next::end && reader.finish() ? Fault() : notJSON(reader.error());
}

Fault checkWord(const RehearsalLine& line) {
  std::set<std::string_view> known;
  for (const Operation operation : operationKinds) {
    if (line.operation.value_or(operation) != operation) continue;
    for (const Outcome outcome : allCases<Outcome>()) {
      if (line.outcome.value_or(outcome) != outcome) continue;
      for (const std::string_view word : statusWords(operation, outcome)) known.insert(word);
    }
  }
  if (known.empty()) return "has the outcome " + std::string(rawText(*line.outcome)) + ", which has no word";
  return known.contains(*line.word) ? Fault()
                                    : "has a \"word\" that its requests never have; known: " + listed(known);
}

/// Finds an outcome or a fault that no answer to the line's requests can have.
Fault checkTransports(const RehearsalLine& line) {
  const bool isOtherThanPayment = line.operation.value_or(Operation::payment) != Operation::payment;
  if (isOtherThanPayment && line.answer.value_or(Transport::url) != Transport::url) {
    return R"(has an "answer" that only the operation payment can have; leave it out)";
  }
  std::vector<Transport> possible;
  for (const Transport one : allCases<Transport>()) {
    const bool isAllowed = !isOtherThanPayment || one == Transport::url;
    if (isAllowed && line.answer.value_or(one) == one) possible.push_back(one);
  }
  const auto faultWith = [&](std::string_view field, auto value) -> Fault {
    const auto needed = transportsOf(value);
    const std::string written = listed(std::span<const Transport>(possible));
    std::erase_if(possible, [&](Transport one) { return std::ranges::find(needed, one) == needed.end(); });
    if (!possible.empty()) return {};
    return "has the " + std::string(field) + " " + std::string(rawText(value)) +
           ", which needs an answer by " + listed(needed) +
           (isOtherThanPayment ? std::string("; only a payment has one")
                               : ", and the line has one by " + written);
  };
  if (line.outcome) {
    if (Fault fault = faultWith("outcome", *line.outcome); !fault.empty()) return fault;
  }
  return line.fault ? faultWith("fault", *line.fault) : Fault();
}

/// Finds values that contradict each other, so that the line could never do what it says.
Fault checkTogether(const RehearsalLine& line) {
  if (line.nth && line.times) return R"(has "nth" and "times"; an nth request comes once, leave out "times")";
  const bool isDelivered = line.delivery != Delivery::late && line.delivery != Delivery::never;
  if (line.delay && !isDelivered) {
    return "has a \"delay\", which the delivery " + std::string(rawText(*line.delivery)) +
           " doesn't wait for";
  }
  const bool saysHow = line.keys || line.answer || line.fault || line.delay || line.delivery;
  if (line.outcome == Outcome::silent && saysHow) {
    return R"(has the outcome silent, which has nothing to deliver; for a lost answer use "never" alone)";
  }
  if (line.amount && line.operation && !hasItem(*line.operation, "amount")) {
    return "has an \"amount\", and the operation " + std::string(rawText(*line.operation)) +
           " has none; leave it out";
  }
  if (Fault fault = checkTransports(line); !fault.empty()) return fault;
  return line.word ? checkWord(line) : Fault();
}

Fault checkValues(const RehearsalLine& line) {
  if (line.amount && *line.amount <= 0) return faultOf(ruleOf("amount"));
  if (line.requestId && detail::isBlank(*line.requestId)) return faultOf(ruleOf("requestId"));
  if (line.nth == std::size_t{0}) return faultOf(ruleOf("nth"));
  if (line.times == std::size_t{0}) return faultOf(ruleOf("times"));
  if (line.delay && (*line.delay < 0 || *line.delay > longestDelay)) return faultOf(ruleOf("delay"));
  return checkTogether(line);
}

std::expected<RehearsalLine, Fault> readLine(std::string_view text) {
  if (Fault fault = checkNames(text); !fault.empty()) return std::unexpected(std::move(fault));
  auto line = json::decode<RehearsalLine>(text, nullptr, lineLimits);
  if (!line) {
    const auto& steps = line.error().stepsOutward;
    const std::string* const name = steps.empty() ? nullptr : std::get_if<std::string>(&steps.back());
    return std::unexpected(name == nullptr ? notJSON(line.error()) : faultOf(ruleOf(*name)));
  }
  if (Fault fault = checkValues(*line); !fault.empty()) return std::unexpected(std::move(fault));
  return *std::move(line);
}

}  // namespace

bool RehearsalLine::ExactAmount::read(json::Reader& reader, Decimal& amount) {
  std::string_view written;
  if (!reader.readText(written)) return false;
  const auto exact = Decimal::parseExact(written);
  if (!exact) return reader.fail(JSONFailure::invalidValue);
  amount = *exact;
  return true;
}

bool RehearsalLine::ExactAmount::write(json::Writer& writer, const Decimal& amount) {
  return writer.text(amount.text());
}

bool RehearsalLine::fits(const LaunchLink& request) const {
  return (!operation || operation == request.operation()) && (!amount || amount == request.amount()) &&
         (!requestId || requestId == request.requestId());
}

void RehearsalLine::applyTo(Decision& decision, Operation asked) const {
  if (outcome) decision.outcome = *outcome;
  if (word) decision.word = word;
  if (keys) decision.keys = *keys;
  if (answer && asked == Operation::payment) decision.transport = answer;
  if (fault) decision.fault = fault;
}

std::expected<RehearsalScript, SandboxError> RehearsalScript::parse(std::string_view text) {
  if (text.size() > maxSize) {
    return wrong("the script is longer than " + std::to_string(maxSize) + " bytes");
  }
  std::vector<RehearsalLine> lines;
  for (std::size_t number = 1; !text.empty(); ++number) {
    if (number > maxLines) return wrong("the script has more than " + std::to_string(maxLines) + " lines");
    const std::string_view one = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(one.size() + 1, text.size()));
    if (one.find_first_not_of(" \t\r") == std::string_view::npos) continue;
    const std::string here = "line " + std::to_string(number) + " of the script ";
    if (one.size() > maxLineSize) {
      return wrong(here + "is longer than " + std::to_string(maxLineSize) + " bytes");
    }
    auto line = readLine(one);
    if (!line) return wrong(here + line.error());
    line->number = number;
    lines.push_back(*std::move(line));
  }
  if (lines.empty()) return wrong(R"(the script has no line, such as {"outcome": "decline"})");
  return RehearsalScript(std::move(lines));
}

}  // namespace sandbox
}  // namespace tilvanego

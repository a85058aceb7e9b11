#include <tilvanego/facade/CallbackExplanation.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include <tilvanego/facade/FacadeRecords.h>
#include <tilvanego/facade/ReadingPlatform.h>
#include <tilvanego/facade/RouterOrder.h>
#include <tilvanego/frame/SecretNames.h>
#include <tilvanego/transports/CompressedURLPayload.h>
#include <tilvanego/transports/PaymentPasteboardHandoff.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/DebugLiteral.h>

namespace tilvanego::detail {
namespace {

using Entry = CallbackExplanation::Entry;
using Field = CallbackExplanation::Field;

/// An entry with what is needed to follow the router and to choose the advice.
struct Explained {
  Entry entry;
  bool passesOn = false;
  /// It is pending, and takes no callback any more.
  bool isDelivering = false;
  /// One sentence for each part of the URL that differs.
  std::vector<std::string> differences;
};

/// The text, or its beginning: a callback may hold anything of any length.
std::string shortened(std::string_view text) {
  constexpr std::size_t longest = 120;
  if (text.size() <= longest) return std::string(text);
  std::size_t end = longest;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return std::string(text.substr(0, end)) + "…";
}

std::string literal(std::string_view text) { return debugLiteral(shortened(text)); }

void append(std::string& sentences, std::string_view sentence) {
  if (!sentences.empty() && !sentence.empty()) sentences += ' ';
  sentences += sentence;
}

void list(std::string& texts, std::string_view text) { texts.append(texts.empty() ? "" : ", ").append(text); }

/// "the pending full refund"
std::string theOperation(OperationKind kind) { return "the pending " + operationWords(kind); }

// The sentences on a callback of another URL.

std::string difference(std::string_view part, std::optional<std::string_view> received,
                       std::optional<std::string_view> expected, OperationKind kind) {
  const auto shown = [](std::optional<std::string_view> text, std::string_view none, std::string_view empty) {
    return !text ? std::string(none) : text->empty() ? std::string(empty) : shortened(*text);
  };
  return "The callback's " + std::string(part) + " is " + shown(received, "missing", "empty") + ", " +
         theOperation(kind) + "'s callbackURL has " + shown(expected, "none", "an empty one") + ".";
}

void explainDifference(Explained& explained, const URL& url, const URL& expected) {
  const OperationKind kind = explained.entry.operation;
  auto& sentences = explained.differences;
  const auto path = [](const URL& of) { return of.encodedPath().empty() ? "/" : of.encodedPath(); };
  const auto parts = callbackURLDifference(url, expected);
  if (parts.scheme) sentences.push_back(difference("scheme", url.scheme(), expected.scheme(), kind));
  if (parts.host) sentences.push_back(difference("host", url.writtenHost(), expected.writtenHost(), kind));
  if (parts.path) sentences.push_back(difference("path", path(url), path(expected), kind));
  for (const std::string& sentence : sentences) append(explained.entry.reason, sentence);
  if (parts.path && equalIgnoringASCIICase(path(url), path(expected))) {
    append(explained.entry.reason, "The case of a path counts.");
  }
}

// The sentences on a callback that was read.

/// The name of a response's field by its first spelling: "transactionId" for "transaction_id".
std::string fieldName(std::string_view spelling) {
  std::string name;
  for (std::size_t i = 0; i < spelling.size(); ++i) {
    name += spelling[i] == '_' && i + 1 < spelling.size() ? asciiUppercased(spelling[++i]) : spelling[i];
  }
  return name;
}

template <typename Keys>
std::string spellingsOf(const Keys& keys, std::string_view name) {
  std::string spellings;
  for (const auto& key : keys) {
    if (fieldName(key.aliases[0]) != name) continue;
    for (const std::string_view alias : key.aliases) {
      if (!alias.empty()) list(spellings, alias);
    }
  }
  return spellings;
}

template <typename Operation>
std::string wordsOf() {
  std::string words;
  for (const auto& entry : Operation::statusWords) {
    for (const std::string_view word : entry.words) {
      if (!word.empty()) list(words, word);
    }
  }
  return words;
}

/// The items of a callback, sorted by whether they decide a field.
class Items {
 public:
  explicit Items(const URL& callback) : callback_(callback) {}

  template <const auto& Keys>
  void addFields(std::vector<Field>& fields) {
    visitDecidingItems<Keys>(callback_, [&](std::size_t key, const RawQueryItem& item) {
      used_.push_back(item.name.data());
      std::string name = fieldName(Keys[key].aliases[0]);
      auto value = item.value.decoded();
      if (item.value && !value) notUTF8_.push_back(name);
      if (value) value = isSecretName(name) ? "<redacted>" : shortened(*value);
      fields.push_back({std::move(name), shortened(item.decodedName()), std::move(value)});
    });
  }

  /// The fields whose value isn't UTF-8 when it is percent-decoded.
  [[nodiscard]] const std::vector<std::string>& notUTF8() const { return notUTF8_; }

  /// The names of the items that decide nothing: unknown ones, and all but the first of a field's.
  [[nodiscard]] std::string unused() const {
    constexpr std::size_t most = 8;
    std::string names;
    std::size_t count = 0;
    for (const RawQueryItem& item : callback_.rawQueryItems()) {
      if (std::ranges::find(used_, item.name.data()) != used_.end()) continue;
      list(names, count < most ? literal(item.decodedName()) : "…");
      if (count++ == most) break;
    }
    return names;
  }

 private:
  const URL& callback_;
  std::vector<const char*> used_;
  std::vector<std::string> notUTF8_;
};

template <typename Operation>
void explainStatus(Entry& entry, const std::optional<std::string>& status, bool isUTF8) {
  const auto decided = std::ranges::find(entry.fields, "status", &Field::name);
  std::string storage;
  const std::string_view word = normalStatus(status, storage);
  if (word.empty()) {
    append(entry.reason,
           decided == entry.fields.end()
               ? "It has no status: none of the keys " + spellingsOf(Operation::callbackKeys, "status") + "."
               : "Its status, by the key " + literal(decided->key) +
                     (isUTF8 ? ", is blank." : ", isn't UTF-8."));
    return;
  }
  const std::string shown =
      "The status " + literal(*status) + ", by the key " + literal(decided->key) + ", is ";
  if (wordsWith(Operation::statusWords, word) != nullptr) {
    entry.statusWord = word;
    append(entry.reason, shown + "understood as the word " + std::string(word) + ".");
  } else {
    append(entry.reason, shown + "no word of " + operationWords(Operation::kind) +
                             " and counts as a failure; the words are " + wordsOf<Operation>() + ".");
  }
}

/// Says which keys decided the fields of a response.
template <typename Operation>
void explainResponse(Entry& entry, const typename Operation::Response& response) {
  Items items(response.callbackURL());
  items.addFields<Operation::callbackKeys>(entry.fields);
  if constexpr (requires { Operation::listKeys; }) items.addFields<Operation::listKeys>(entry.fields);
  const std::vector<std::string>& notUTF8 = items.notUTF8();
  explainStatus<Operation>(entry, response.status(), std::ranges::find(notUTF8, "status") == notUTF8.end());
  std::string keys;
  for (const Field& field : entry.fields) list(keys, field.name + " by " + literal(field.key));
  if (!keys.empty()) append(entry.reason, "Fields and their keys: " + keys + ".");
  if (!notUTF8.empty()) {
    std::string names;
    for (const std::string& name : notUTF8) list(names, name);
    append(entry.reason, "Not UTF-8, and so without a value: " + names +
                             "; the payment application must percent-encode texts as UTF-8.");
  }
  if (const auto unused = items.unused(); !unused.empty()) {
    append(entry.reason, "Items that decide nothing: " + unused + ".");
  }
}

template <typename Result>
void nameResult(Entry& entry, const Result& result) {
  entry.result = result.name();
  if (const auto* failure = std::get_if<typename Result::Failure>(&result)) {
    entry.error = failure->error.name();
  }
}

/// "failure (missingStatus)"
std::string resultText(const Entry& entry) {
  return entry.error.empty() ? entry.result : entry.result + " (" + entry.error + ")";
}

// The entry of one kind.

/// The choice of `paymentResult`.
CallbackTransport transportOf(const URL& url) {
  if (resultHandoffId(url)) return CallbackTransport::pasteboard;
  return isCompressed(url) ? CallbackTransport::gzip : CallbackTransport::urlScheme;
}

std::string_view transportSentence(CallbackTransport transport) {
  switch (transport) {
    case CallbackTransport::gzip:
      return "The result is compressed in the query (transport=gzip).";
    case CallbackTransport::pasteboard:
      return "The result is on the pasteboard, under the handoff id of the query; it stays there.";
    case CallbackTransport::urlScheme:
      break;
  }
  return "";
}

/// `brief`: another kind is pending, so that this one is hardly meant.
template <typename Operation>
void explainIdle(Entry& entry, const URL& url, bool brief) {
  append(entry.reason, "No " + operationWords(Operation::kind) + " is pending.");
  append(entry.reason, transportSentence(entry.transport));
  // Without the request the other transports can't be read.
  if (entry.transport != CallbackTransport::urlScheme) return;
  const auto result = parseCallback<Operation>(URL(url), nullptr, nullptr);
  nameResult(entry, *result);
  append(entry.reason, "A pending one with this URL would end with " + resultText(entry) + ".");
  std::string reason = entry.reason;
  if (const auto response = result->response()) explainResponse<Operation>(entry, *response);
  if (brief) entry.reason = std::move(reason);
}

template <typename Operation>
void explainMatch(Entry& entry, const URL& url, const typename Operation::Request& request,
                  const Platform& reading) {
  append(entry.reason, "It is the callback of " + theOperation(Operation::kind) + ".");
  append(entry.reason, transportSentence(entry.transport));
  const auto result = OperationTransport<Operation>::read(URL(url), request, reading, {});
  if (!result) return;
  nameResult(entry, *result);
  const auto* failure = std::get_if<typename Operation::Result::Failure>(&*result);
  append(entry.reason, "The result is " + resultText(entry) +
                           (failure ? ": " + literal(failure->error.errorDescription()) : "") + ".");
  if (const auto response = result->response()) explainResponse<Operation>(entry, *response);
}

std::string deliveringSentence(OperationKind kind) {
  return "The callback of the resumed " + operationWords(kind) +
         " came before: it is delivered in the main queue's next turn, and no other one is taken.";
}

template <typename Operation>
Explained explainedFor(const URL& url, const std::shared_ptr<Pending<Operation>>& pending,
                       const Platform& reading, bool somePending) {
  Explained explained;
  explained.passesOn = passesOnUnmatched<Operation>;
  Entry& entry = explained.entry;
  entry.operation = Operation::kind;
  entry.pending = pending != nullptr;
  if constexpr (Operation::kind == OperationKind::payment) entry.transport = transportOf(url);
  if (!pending) {
    explainIdle<Operation>(entry, url, somePending);
    return explained;
  }
  if (pending->isDelivering) {
    explained.isDelivering = true;
    entry.reason = deliveringSentence(Operation::kind);
    return explained;
  }
  const URL& expected = pending->request.callbackURL();
  entry.matches = callbackURLsMatch(url, expected);
  if (entry.matches) {
    explainMatch<Operation>(entry, url, pending->request, reading);
  } else {
    explainDifference(explained, url, expected);
  }
  return explained;
}

// The whole.

/// Follows the router, which asks the pending operations in order until one takes the callback or refuses it.
/// Returns the last one that is asked, or null.
const Explained* followRouter(std::vector<Explained>& all) {
  const Explained* last = nullptr;
  for (Explained& one : all) {
    Entry& entry = one.entry;
    if (!entry.pending || one.isDelivering) continue;
    if (last != nullptr) {
      append(entry.reason, "It isn't asked: " + theOperation(last->entry.operation) + " before it " +
                               (last->entry.ends ? "takes" : "refuses") + " the callback.");
      continue;
    }
    entry.ends = entry.matches && one.differences.empty();
    if (entry.ends || !one.passesOn) last = &one;
  }
  return last;
}

std::string adviceOn(const std::vector<Explained>& all, const Explained* last) {
  const Explained* nearest = nullptr;
  for (const Explained& one : all) {
    if (!one.entry.pending || one.isDelivering) continue;
    if (nearest == nullptr || one.differences.size() < nearest->differences.size()) nearest = &one;
  }
  if (nearest == nullptr) {
    const auto delivering = std::ranges::find(all, true, &Explained::isDelivering);
    if (delivering != all.end()) return delivering->entry.reason;
    return "Nothing is pending in this process: the operation is over, was cancelled, or was started by "
           "another process; a transaction list says what was paid.";
  }
  if (last != nullptr && last->entry.ends) {
    return "The callback ends " + theOperation(last->entry.operation) + " with " + resultText(last->entry) +
           ".";
  }
  if (nearest->differences.empty()) {
    return "The callback is that of " + theOperation(nearest->entry.operation) + ", but " +
           theOperation(last->entry.operation) + " is asked first and refuses it: end or cancel that one.";
  }
  return nearest->differences.front();
}

// The sentences on interrupted operations.

/// `record` has the URL of the callback, and is of this kind.
std::string waitingSentence(const URL& url, OperationKind kind, const PendingRecord& record,
                            const std::optional<PendingRecords::Taker>& taker) {
  if (taker && taker->kind == kind && !taker->hasCallback)
    return "An interrupted one waits for this callback.";
  const auto requestId = namedRequestId(url);
  if (requestId && record.requestId && *requestId != *record.requestId) {
    return "The callback's request id is " + literal(*requestId) + ", the interrupted " +
           operationWords(kind) + " with its callbackURL has " + literal(*record.requestId) + ".";
  }
  return "An interrupted one has its callbackURL, but another operation is asked first.";
}

std::string takerAdvice(const PendingRecords::Taker& taker) {
  const std::string words = operationWords(taker.kind);
  return taker.hasCallback
             ? "The callback of the interrupted " + words +
                   " has come before and is kept; this one changes nothing."
             : "The callback is kept for the interrupted " + words + ", and ends it once that is resumed.";
}

}  // namespace

CallbackExplanation Facade::explain(const URL& url) const {
  const Platform reading = readingPlatform(platform_);
  const auto taker = interruptedTaker(url);
  const bool somePending =
      std::apply([](const auto&... pending) { return (... || (pending != nullptr)); }, slots_);
  std::vector<Explained> all;
  std::string waiting;
  forEachInRouterOrder([&]<OperationKind kind>() {
    // Owned: the pasteboard and the clock are host code, which may end the operation.
    const auto pending = slot<OperationOf<kind>>();
    Explained explained = explainedFor<OperationOf<kind>>(url, pending, reading, somePending);
    if (const PendingRecord* const record = interruptedAt(kind, url)) {
      explained.entry.matches = true;
      const std::string sentence = waitingSentence(url, kind, *record, taker);
      append(explained.entry.reason, sentence);
      if (waiting.empty()) waiting = sentence;
    }
    all.push_back(std::move(explained));
  });

  CallbackExplanation explanation;
  if (taker) {
    explanation.advice = takerAdvice(*taker);
  } else {
    const Explained* const last = followRouter(all);
    explanation.advice = somePending || waiting.empty() ? adviceOn(all, last) : waiting;
  }
  for (Explained& one : all) explanation.entries.push_back(std::move(one.entry));
  return explanation;
}

}  // namespace tilvanego::detail

#include <tilvanego/facade/CallbackExplanation.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include <tilvanego/facade/ExplainedFields.h>
#include <tilvanego/facade/Facade.h>
#include <tilvanego/facade/ReadingPlatform.h>
#include <tilvanego/facade/RouterOrder.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/transports/CompressedURLPayload.h>
#include <tilvanego/transports/PaymentPasteboardHandoff.h>
#include <tilvanego/values/ASCII.h>

namespace tilvanego::detail {
namespace {

using Entry = CallbackExplanation::Entry;

/// An entry with what is needed to follow the router and to choose the advice.
struct Explained {
  Entry entry;
  bool passesOn = false;
  /// It is pending, and takes no callback any more.
  bool isDelivering = false;
  /// One sentence for each part of the URL that differs.
  std::vector<std::string> differences;
};

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
  for (const std::string& sentence : sentences) appendSentence(explained.entry.reason, sentence);
  if (parts.path && equalIgnoringASCIICase(path(url), path(expected))) {
    appendSentence(explained.entry.reason, "The case of a path counts.");
  }
}

void nameResult(Entry& entry, const ExplainedResult& result) {
  entry.result = result.name;
  entry.error = result.error;
}

/// Says which keys decided the fields of the result's response, if it has one.
void explainResponse(Entry& entry, const ExplainedResult& result) {
  if (!result.callbackURL) return;
  explainFields(entry, operationType(entry.operation).callbackWords, *result.callbackURL, result.status);
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
void explainIdle(Entry& entry, const URL& url, bool brief) {
  appendSentence(entry.reason, "No " + operationWords(entry.operation) + " is pending.");
  appendSentence(entry.reason, transportSentence(entry.transport));
  // Without the request the other transports can't be read.
  if (entry.transport != CallbackTransport::urlScheme) return;
  const ExplainedResult result = operationType(entry.operation).explainedResult(url);
  nameResult(entry, result);
  appendSentence(entry.reason, "A pending one with this URL would end with " + resultText(entry) + ".");
  std::string reason = entry.reason;
  explainResponse(entry, result);
  if (brief) entry.reason = std::move(reason);
}

void explainMatch(Entry& entry, const URL& url, const Pending& pending, const Platform& reading) {
  appendSentence(entry.reason, "It is the callback of " + theOperation(entry.operation) + ".");
  appendSentence(entry.reason, transportSentence(entry.transport));
  const auto result = pending.explainedResult(url, reading);
  if (!result) return;
  nameResult(entry, *result);
  const std::string why = result->error.empty() ? "" : ": " + shortenedLiteral(result->errorDescription);
  appendSentence(entry.reason, "The result is " + resultText(entry) + why + ".");
  explainResponse(entry, *result);
}

std::string deliveringSentence(OperationKind kind) {
  return "The callback of the resumed " + operationWords(kind) +
         " came before: it is delivered in the main queue's next turn, and no other one is taken.";
}

/// `pending` may be null.
Explained explainedFor(OperationKind kind, const URL& url, const Pending* pending, const Platform& reading,
                       bool somePending) {
  Explained explained;
  explained.passesOn = operationType(kind).passesOnUnmatched;
  Entry& entry = explained.entry;
  entry.operation = kind;
  entry.pending = pending != nullptr;
  if (kind == OperationKind::payment) entry.transport = transportOf(url);
  if (pending == nullptr) {
    explainIdle(entry, url, somePending);
    return explained;
  }
  if (pending->isDelivering) {
    explained.isDelivering = true;
    entry.reason = deliveringSentence(kind);
    return explained;
  }
  const URL& expected = pending->callbackURL();
  entry.matches = callbackURLsMatch(url, expected);
  if (entry.matches) {
    explainMatch(entry, url, *pending, reading);
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
      appendSentence(entry.reason, "It isn't asked: " + theOperation(last->entry.operation) + " before it " +
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
    return "The callback's request id is " + shortenedLiteral(*requestId) + ", the interrupted " +
           operationWords(kind) + " with its callbackURL has " + shortenedLiteral(*record.requestId) + ".";
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
      std::ranges::any_of(slots_, [](const Slot& pending) { return pending != nullptr; });
  std::vector<Explained> all;
  std::string waiting;
  for (const OperationKind kind : routerOrder) {
    // Owned: the pasteboard and the clock are host code, which may end the operation.
    const Slot pending = slot(kind);
    Explained explained = explainedFor(kind, url, pending.get(), reading, somePending);
    if (const PendingRecord* const record = interruptedAt(kind, url)) {
      explained.entry.matches = true;
      const std::string sentence = waitingSentence(url, kind, *record, taker);
      appendSentence(explained.entry.reason, sentence);
      if (waiting.empty()) waiting = sentence;
    }
    all.push_back(std::move(explained));
  }

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

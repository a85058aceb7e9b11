#include <cstdio>
#include <deque>

#include <tilvanego/transports/CompressedURLPayload.h>

#include "tests/facade/HookedHost.h"
#include "tests/facade/RandomSequences.h"

/// Random sequences of starts, cancels, callbacks, reports and drains, made at the top and from within every
/// port, logger, completion and end of what one captured, each of which may throw too. A model follows what
/// must be pending, and is compared at every call of host code.
namespace tilvanego::test {
namespace {

class Sequence;

/// An operation that a sequence started.
struct Started {
  std::size_t kind;
  std::string id;
  int completions = 0;
  bool over = false;
  bool wasOpened = false;
};

/// Captured by completions and loggers: calls the sequence as it ends.
class Captured {
 public:
  Captured(Sequence& sequence, Started* started);
  Captured(const Captured&) = delete;
  Captured& operator=(const Captured&) = delete;
  ~Captured();

  Sequence& sequence;
  Started* const started;
};

struct Completing {
  std::shared_ptr<Captured> captured;
  template <typename Result>
  void operator()(const Result& result) const;
};

const auto& kinds = startableKinds<Completing>;
const auto paymentKind = static_cast<std::size_t>(std::ranges::find(operationKinds, OperationKind::payment) -
                                                  operationKinds.begin());

class Sequence {
 public:
  explicit Sequence(std::uint64_t seed) : dice_(seed) {}

  /// Nothing, or the rule that didn't hold.
  std::string run() {
    sdk_ = host_.sdk.get();
    host_.hook = [this](Port port, std::string_view text) { onPort(port, text); };
    for (std::size_t left = 2 + dice_.below(6); left > 0; --left) atTop([this] { act(); });
    checkRecords();
    finish();
    must(live_ == 0, "everything that a host's code captured has ended");
    for (const Started& each : started_) must(each.completions <= 1, "a completion runs at most once");
    return fault_;
  }

  template <typename Result>
  void onCompletion(Started& started, const Result& result) {
    const CompletionFacts facts = factsOf(result);
    ++started.completions;
    must(started.completions == 1 && !started.over, "an operation ends once, and never after its cancel");
    started.over = true;
    must(!frames_.empty(), "a completion runs from within a call of the host's");
    if (frames_.empty()) return;
    Frame& frame = frames_.back();
    const bool ownStart = frame.started == &started;
    if (pending_[started.kind] == &started) {
      pending_[started.kind] = nullptr;
      ++frame.ended;
      if (facts.error.ends_with("AppNotInstalled")) {
        must(frame.call == Call::drain && refusedOpens_[started.kind]-- > 0, "not installed: after a report");
      } else if (facts.error == "invalidRequest" || facts.error == "pasteboardHandoffUnavailable") {
        must(ownStart, "a link that can't be built ends its own operation");
      } else {
        must(frame.call == Call::callback, "an answer comes from a callback");
      }
    } else {
      must(ownStart && (facts.error.ends_with("InProgress") || facts.error == "invalidRequest"),
           "an operation that isn't pending can only be refused");
    }
    if (facts.expectedRequestId)
      must(*facts.expectedRequestId == started.id, "an answer is for its own request");
    else if (facts.requestId)
      must(*facts.requestId == started.id, "an answer is to its own request");
    hostCode(true);
  }

  void onEnd() {
    // A destructor lets nothing out.
    try {
      hostCode(false);
    } catch (const Thrown&) {
    }
  }

  int live_ = 0;

 private:
  using Names = std::set<std::string>;
  enum class Call { start, callback, drain, other };
  struct Frame {
    Call call;
    Started* started = nullptr;
    int ended = 0;
  };

  void must(bool holds, std::string_view rule) {
    if (!holds && fault_.empty()) fault_ = rule;
  }

  template <typename Body>
  void atTop(Body body) {
    try {
      body();
    } catch (const Thrown&) {
    }
    compare();
  }

  /// Runs a call of the library's; gives how many operations ended within it, but not within another one.
  template <typename Body>
  int within(Call call, Started* started, Body body) {
    frames_.push_back({call, started});
    const std::shared_ptr<void> popped(nullptr, [this](void*) { frames_.pop_back(); });
    body();
    return frames_.back().ended;
  }

  void compare() {
    if (gone_) return;
    for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
      must((sdk_->*kinds[kind].kind.isInProgress)() == (pending_[kind] != nullptr),
           "what is pending is pending");
    }
  }

  void hostCode(bool mayThrow) {
    compare();
    if (depth_ < 4 && budget_ > 0 && dice_.oneIn(4)) {
      ++depth_;
      try {
        act();
      } catch (const Thrown&) {
        --depth_;
        throw;
      }
      --depth_;
      compare();
    }
    if (mayThrow && dice_.oneIn(40)) throw Thrown();
  }

  /// A store that never threw holds what is pending, and nothing else.
  void checkRecords() {
    if (!host_.records || hasStoreThrown_ || gone_) return;
    Names kept;
    for (const auto& [name, text] : *host_.records) kept.insert(name);
    Names expected;
    for (const Started* one : pending_) {
      if (one != nullptr && one->wasOpened) expected.insert(std::string(kinds[one->kind].kind.name));
    }
    must(kept == expected, "the store holds what is pending");
  }

  void onPort(Port port, std::string_view text) {
    if (port == Port::store) {
      try {
        return hostCode(true);
      } catch (const Thrown&) {
        hasStoreThrown_ = true;
        throw;
      }
    }
    if (port == Port::debugOutput && !frames_.empty() && frames_.back().call == Call::start) {
      Started& launched = *frames_.back().started;
      if (text.starts_with(kinds[launched.kind].urlLabel)) {
        must(pending_[launched.kind] == nullptr, "a slot holds one operation");
        must(!ending_, "an instance that has ended starts nothing");
        pending_[launched.kind] = &launched;
      }
    }
    if (port != Port::application) return hostCode(true);
    Started* const opening = frames_.empty() ? nullptr : frames_.back().started;
    must(opening != nullptr && pending_[opening->kind] == opening, "only what is pending is opened");
    if (opening != nullptr) opening->wasOpened = true;
    // A report within the open request, a throw, both or neither.
    auto handler = std::exchange(host_.handlers.back(), nullptr);
    host_.handlers.pop_back();
    const std::size_t kind = opening->kind;
    bool told = false;
    try {
      if (dice_.oneIn(8)) {
        told = true;
        report(kind, handler, dice_.oneIn(2));
      }
      hostCode(true);
    } catch (const Thrown&) {
      if (!told) ++refusedOpens_[kind];
      if (dice_.oneIn(2)) kept_.push_back({kind, std::move(handler), true});
      throw;
    }
    if (!dice_.oneIn(4)) kept_.push_back({kind, std::move(handler), told});
  }

  void report(std::size_t kind, const std::function<void(bool)>& handler, bool opened) {
    if (!opened) ++refusedOpens_[kind];
    handler(opened);
  }

  void act() {
    if (budget_ == 0 || gone_) return;
    --budget_;
    const std::size_t kind = dice_.oneIn(3) ? paymentKind : dice_.below(kinds.size());
    const std::size_t roll = dice_.below(16);
    if (roll < 5) return start(kind);
    if (roll < 7) return cancel(kind);
    if (roll < 11) return callBack(kind);
    if (roll == 11) return ask(kind);
    if (roll == 12) return setLogger();
    if (roll == 13) return reportKept();
    if (roll == 14) {
      within(Call::drain, nullptr, [this] { host_.loop.runPending(); });
    } else if (dice_.oneIn(30)) {
      endInstance();
    }
  }

  [[nodiscard]] URL urlFor(std::size_t kind, std::string_view query = "") {
    const std::string_view host = dice_.oneIn(5) ? "all" : kinds[kind].kind.name;
    return parsedURL("shop://" + std::string(host) + std::string(query));
  }

  void start(std::size_t kind) {
    using Transport = PaymentLaunchTransport;
    static const std::array transports{Transport::gzip(),          Transport::automatic(0),
                                       Transport::automatic(4096), Transport::pasteboard(),
                                       Transport::pasteboard(),    Transport::pasteboard()};
    const auto transport = dice_.oneIn(3) ? transports[dice_.below(6)] : Transport::urlScheme();
    const bool valid = !dice_.oneIn(12);
    Started& one = started_.emplace_back(Started{kind, "id-" + std::to_string(started_.size())});
    const URL url = valid ? urlFor(kind) : parsedURL("no/scheme");
    const bool endingBefore = ending_;
    bool threw = true;
    try {
      Completing completion{std::make_shared<Captured>(*this, &one)};
      within(Call::start, &one,
             [&] { kinds[kind].start(*sdk_, one.id, url, transport, std::move(completion)); });
      threw = false;
    } catch (const Thrown&) {
      must(one.completions == 1, "a start throws what its completion threw, and nothing else");
      throw;
    }
    must(threw || endingBefore || ending_ || one.over || pending_[kind] == &one,
         "a start ends its operation or leaves it pending");
  }

  void cancel(std::size_t kind) {
    if (Started* const cancelled = std::exchange(pending_[kind], nullptr)) cancelled->over = true;
    (sdk_->*kinds[kind].kind.cancel)();
  }

  [[nodiscard]] std::string someId(std::size_t kind) {
    if (pending_[kind] != nullptr && !dice_.oneIn(4)) return pending_[kind]->id;
    return started_.empty() ? "id-0" : started_[dice_.below(started_.size())].id;
  }

  [[nodiscard]] URL callbackFor(std::size_t kind) {
    const std::string id = someId(kind);
    if (kind == paymentKind && dice_.oneIn(3)) {
      if (dice_.oneIn(4)) return compressedResult(id);
      const std::string handoffId(43, static_cast<char>('A' + dice_.below(4)));
      if (!dice_.oneIn(6)) host_.leaveResult(handoffId, id);
      return urlFor(paymentKind, "?transport=pasteboard&resultHandoffId=" + handoffId);
    }
    constexpr std::array<std::string_view, 3> statuses{"approved", "failed", ""};
    std::string query = "?status=" + std::string(statuses[dice_.below(statuses.size())]);
    if (!dice_.oneIn(4)) query += "&request_id=" + id;
    return urlFor(kind, query);
  }

  [[nodiscard]] URL compressedResult(const std::string& id) {
    const auto payload =
        detail::encodeCompressedPayload(
            detail::makeURLPayloadEnvelope(
                detail::PaymentHandoffDirection::result, id, host_.clock->now(),
                detail::PaymentURLResultPayload{{{"request_id", id}, {"status", "approved"}}}))
            .value();
    return urlFor(paymentKind, "?transport=gzip&encoding=gzip-json&payload=" + payload.text +
                                   "&payload_size=" + std::to_string(payload.jsonSize) +
                                   "&compressed_size=" + std::to_string(payload.compressedSize));
  }

  void callBack(std::size_t kind) {
    const URL url = callbackFor(kind);
    bool finished = false;
    const int ended = within(Call::callback, nullptr, [&] {
      try {
        finished = sdk_->handleCallback(url);
      } catch (const Thrown&) {
        must(frames_.back().ended == 1, "a callback throws what its completion threw, and nothing else");
        throw;
      }
    });
    must(ended == (finished ? 1 : 0), "a callback is true if and only if it has finished an operation");
  }

  void ask(std::size_t kind) {
    const URL url = callbackFor(kind);
    const auto result = within(Call::other, nullptr, [&] {
      const auto known = sdk_->paymentResult(url);
      must(!known || pending_[paymentKind] != nullptr || ending_, "a result is that of a pending payment");
    });
    must(result == 0, "asking ends nothing");
    if (!ending_) static_cast<void>((sdk_->*kinds[kind].kind.isCallback)(url));
  }

  void setLogger() {
    if (dice_.oneIn(3)) return sdk_->setLogger(nullptr);
    auto captured = std::make_shared<Captured>(*this, nullptr);
    sdk_->setLogger(
        [this, captured = std::move(captured)](TilvaneLogLevel, std::string_view) { hostCode(true); });
  }

  void reportKept() {
    if (kept_.empty()) return;
    const auto next = std::move(kept_.front());
    kept_.pop_front();
    const bool opened = dice_.oneIn(3);
    if (next.told) return next.handler(opened);  // Says nothing more.
    report(next.kind, next.handler, opened);
  }

  void endInstance() {
    if (ending_) return;
    for (Started*& each : pending_) {
      if (each != nullptr) each->over = true;
      each = nullptr;
    }
    ending_ = true;
    host_.sdk.reset();
    gone_ = true;
  }

  void finish() {
    if (!ending_ && dice_.oneIn(2)) {
      // No slot is stuck: each can be emptied, and used again.
      budget_ = 0;
      for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
        atTop([&] { cancel(kind); });
        atTop([&] { start(kind); });
        const Started* const last = pending_[kind];
        if (last == nullptr) continue;
        atTop([&] { callBack(kind); });
        atTop([&] { cancel(kind); });
      }
    }
    if (!ending_) endInstance();
    atTop([&] { within(Call::drain, nullptr, [this] { host_.loop.runPending(); }); });
  }

  struct Kept {
    std::size_t kind;
    std::function<void(bool)> handler;
    bool told;
  };

  Dice dice_;
  HookedHost host_{dice_.oneIn(2) ? std::make_shared<HookedHost::Records>() : nullptr};
  bool hasStoreThrown_ = false;
  TilvaneGo* sdk_ = nullptr;
  std::array<Started*, operationKinds.size()> pending_{};
  std::array<int, operationKinds.size()> refusedOpens_{};
  std::deque<Started> started_;
  std::deque<Kept> kept_;
  std::vector<Frame> frames_;
  std::string fault_;
  int depth_ = 0;
  int budget_ = 24;
  /// The instance is ending, and has ended.
  bool ending_ = false;
  bool gone_ = false;
};

Captured::Captured(Sequence& owner, Started* one) : sequence(owner), started(one) { ++sequence.live_; }
Captured::~Captured() {
  --sequence.live_;
  sequence.onEnd();
}

template <typename Result>
void Completing::operator()(const Result& result) const {
  captured->sequence.onCompletion(*captured->started, result);
}

std::uint64_t setting(const char* name, std::uint64_t usual) {
  const char* const text = std::getenv(name);
  return text != nullptr ? std::strtoull(text, nullptr, 10) : usual;
}

TEST(HostCode, WhateverItCallsOrThrowsEndsEachOperationAtMostOnceAndLeavesNoSlotStuck) {
  const std::uint64_t count = setting("TILVANEGO_SEQUENCES", 20'000);
  const std::uint64_t first = setting("TILVANEGO_FIRST_SEQUENCE", 0);
  // Dropped exceptions would fill pages. A sanitizer writes to the descriptor itself.
  std::FILE* const shown = std::exchange(stderr, std::fopen("/dev/null", "w"));
  for (std::uint64_t number = first; number < first + count && !HasFailure(); ++number) {
    EXPECT_EQ(Sequence(number).run(), "") << "TILVANEGO_FIRST_SEQUENCE=" << number;
  }
  std::fclose(std::exchange(stderr, shown));
}

}  // namespace
}  // namespace tilvanego::test

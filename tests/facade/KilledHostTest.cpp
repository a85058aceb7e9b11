#include <atomic>
#include <chrono>
#include <csignal>
#include <new>

#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <tilvanego/platform/desktop/FilePendingStore.h>
#include <tilvanego/platform/desktop/PasteboardStore.h>

#include "tests/facade/HookedHost.h"
#include "tests/facade/RandomSequences.h"
#include "tests/support/TemporaryDirectory.h"

/// A host with files, killed by SIGKILL at any moment between the start of a payment and the return of its
/// completion, and started again.
namespace tilvanego::test {
namespace {

/// What a host and the system around it know. Shared with the child processes, and kept when they are killed.
struct Ledger {
  std::atomic<int> linksOpened;
  std::atomic<int> completionsBegun;
  std::atomic<int> completionsReturned;
  std::atomic<int> faults;
  std::atomic<bool> callbackGiven;
  /// The call that ran the completion has returned.
  std::atomic<bool> isOver;
};

class SharedLedger {
 public:
  SharedLedger()
      : memory_(mmap(nullptr, sizeof(Ledger), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
    if (memory_ == MAP_FAILED) throw std::runtime_error("no shared memory");
    ledger_ = new (memory_) Ledger{};
  }
  SharedLedger(const SharedLedger&) = delete;
  SharedLedger& operator=(const SharedLedger&) = delete;
  ~SharedLedger() { munmap(memory_, sizeof(Ledger)); }
  Ledger* operator->() const { return ledger_; }
  void clear() { new (memory_) Ledger{}; }

 private:
  void* memory_;
  Ledger* ledger_ = nullptr;
};

/// When the callback comes.
enum class Coming { beforeTheEnd, beforeResuming, afterResuming };

struct Trial {
  std::string id;
  PaymentLaunchTransport transport;
  bool isSealed;
  Coming coming;
  /// By a coroutine, which gets the result in a later turn of the main queue.
  bool isAwaited;
  std::filesystem::path directory;
};

/// One life of the host, in a process of its own.
class Life {
 public:
  Life(const Trial& trial, SharedLedger& ledger) : trial_(trial), ledger_(ledger) {
    Platform platform = host_.platform();
    platform.pendingStore = std::make_unique<FilePendingStore>(trial.directory / "kept");
    platform.pasteboard = std::make_unique<PasteboardStore>(trial.directory, host_.clock);
    sdk_ = detail::FacadeAccess::make(std::move(platform));
    host_.hook = [this](Port port, std::string_view) {
      if (port == Port::application) ++ledger_->linksOpened;
    };
  }

  void first() {
    if (trial_.isAwaited) {
      detach(payment());
    } else {
      sdk_->startPayment(request(), trial_.transport, completion());
    }
    if (trial_.coming == Coming::beforeTheEnd) callBack();
    host_.loop.runPending();
    if (ledger_->completionsReturned > 0) ledger_->isOver = true;
  }

  void next() {
    const auto left = sdk_->interruptedOperations();
    if (left.empty()) {
      // Over, or never opened.
      must(ledger_->linksOpened == 0 || ledger_->completionsReturned > 0);
      return;
    }
    must(left.size() == 1 && left[0].requestId == trial_.id && !ledger_->isOver);
    if (ledger_->linksOpened == 0) {
      must(sdk_->forgetInterruptedPayment());
      return;
    }
    // The system gives this host the callback that the one before it didn't take.
    const bool isWanted = !left[0].callbackReceived;
    if (isWanted && trial_.coming != Coming::afterResuming) callBack();
    must(sdk_->resumePayment(completion()).has_value());
    if (isWanted && trial_.coming == Coming::afterResuming) callBack();
    host_.loop.runPending();
    ledger_->isOver = true;
  }

 private:
  void must(bool holds) {
    if (!holds) ++ledger_->faults;
  }

  [[nodiscard]] PaymentRequest request() const {
    return fullRequest<OperationKind::payment>(done_, trial_.id);
  }

  Task<void> payment() {
    auto task = sdk_->startPayment(request(), trial_.transport, OperationWaiting::untilItEnds());
    completion()(co_await std::move(task));
  }

  [[nodiscard]] TilvaneGo::PaymentCompletion completion() {
    return [this](const PaymentResult& result) {
      ++ledger_->completionsBegun;
      const auto response = result.response();
      must(summary(result) == "success+" && response->requestId() == trial_.id);
      ++ledger_->completionsReturned;
    };
  }

  void callBack() {
    const std::string handoffId(43, 'A');
    if (trial_.isSealed && !ledger_->callbackGiven) leaveResult(handoffId);
    ledger_->callbackGiven = true;
    const bool handled = sdk_->handleCallback(
        parsedURL(trial_.isSealed ? "shop://done?transport=pasteboard&resultHandoffId=" + handoffId
                                  : "shop://done?status=approved&request_id=" + trial_.id));
    must(handled);
  }

  void leaveResult(const std::string& handoffId) {
    HookedHost application;
    application.leaveResult(handoffId, trial_.id);
    const auto contents = application.pasteboard.contents();
    must(PasteboardStore(trial_.directory, host_.clock)
             .setItems(contents.items, contents.options)
             .has_value());
  }

  const Trial& trial_;
  SharedLedger& ledger_;
  const URL done_ = parsedURL("shop://done");
  HookedHost host_;
  detail::FacadeAccess::Owned sdk_;
};

/// Runs a life in a child process, which is killed after `microseconds`, or never for 0. Returns true if it
/// was killed.
bool runKilled(const Trial& trial, SharedLedger& ledger, bool isFirst, long microseconds) {
  const pid_t child = fork();
  if (child == 0) {
    Life life(trial, ledger);
    std::signal(SIGALRM, [](int) { kill(getpid(), SIGKILL); });
    const itimerval when{{}, {0, static_cast<suseconds_t>(microseconds)}};
    setitimer(ITIMER_REAL, &when, nullptr);
    isFirst ? life.first() : life.next();
    _exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) ? WEXITSTATUS(status) == 0 : WTERMSIG(status) == SIGKILL) << status;
  return WIFSIGNALED(status);
}

/// How long a life takes here, in microseconds.
long usualLife(const Trial& trial, SharedLedger& ledger) {
  const auto before = std::chrono::steady_clock::now();
  EXPECT_FALSE(runKilled(trial, ledger, true, 0));
  const std::chrono::duration<double, std::micro> life = std::chrono::steady_clock::now() - before;
  return std::max(1L, static_cast<long>(life.count()));
}

TEST(KilledHost, LosesNoResultAndGetsNoneTwiceButOneWhoseCompletionWasRunning) {
  const char* const given = std::getenv("TILVANEGO_KILLS");
  const long wanted = given != nullptr ? std::strtol(given, nullptr, 10) : 100;
  using Transport = PaymentLaunchTransport;
  const std::array transports{Transport::urlScheme(), Transport::gzip(), Transport::pasteboard()};
  TemporaryDirectory directory;
  SharedLedger ledger;
  Dice dice(7);
  const Trial sample{"usual", Transport::pasteboard(), true, Coming::beforeTheEnd, false, directory.path()};
  const long life = usualLife(sample, ledger);
  std::map<std::string, int> seen;
  for (long kills = 0, number = 0; kills < wanted && !HasFailure(); ++number) {
    const Trial trial{"id-" + std::to_string(number),
                      transports[dice.below(3)],
                      dice.oneIn(2),
                      static_cast<Coming>(dice.below(3)),
                      dice.oneIn(2),
                      directory.path()};
    ledger.clear();
    int duringCompletion = 0;
    for (bool isFirst = true, wasKilled = true; wasKilled; isFirst = false) {
      const int begunBefore = ledger->completionsBegun;
      const long when =
          isFirst || dice.oneIn(2) ? 1 + static_cast<long>(dice.below(static_cast<std::size_t>(life))) : 0;
      wasKilled = runKilled(trial, ledger, isFirst, when);
      if (wasKilled) ++kills;
      if (wasKilled && ledger->completionsBegun > begunBefore && !ledger->isOver) ++duringCompletion;
      // A host whose callback comes later has ended like a killed one.
      if (isFirst && trial.coming != Coming::beforeTheEnd) wasKilled = true;
    }
    const std::string what = trial.id + " opened " + std::to_string(ledger->linksOpened);
    EXPECT_EQ(ledger->faults, 0) << what;
    EXPECT_TRUE(ledger->linksOpened == 0 || ledger->completionsReturned > 0) << what << " is lost";
    EXPECT_LE(ledger->completionsBegun, 1 + duringCompletion) << what << " came twice";
    ++seen[ledger->linksOpened == 0 ? "beforeTheLink"
           : duringCompletion > 0   ? "duringTheCompletion"
                                    : "between"];
  }
  for (const auto& [moment, count] : seen) RecordProperty(moment, count);
}

}  // namespace
}  // namespace tilvanego::test

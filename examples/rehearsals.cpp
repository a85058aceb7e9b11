// A host's tests of whole evenings. The scripts in rehearsals/ say what the payment application does; the
// table below says what the till does, and what it must have noted at the end. Nothing waits: where a
// script delays a callback, the test sets the clock.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/Sandbox.h>
#include <tilvanego/TilvaneGo.h>

using namespace tilvanego;

namespace {

// The till under test. It gives each operation a callback path of its own, so that the late callback of a
// payment that it gave up is ignored, and doesn't end the next one.
class Till {
 public:
  Till() {
    Platform platform = Platform::standard();
    platform.clock = clock_;
    platform.pasteboard = std::make_unique<MemoryPasteboard>(clock_);
    auto application = std::make_unique<sandbox::SandboxApplication>(
        RunLoop::main(),
        [this](const URL& callback) {
          if (!TilvaneGo::shared().handleCallback(callback)) notes_.push_back("ignored a callback");
        },
        sandbox::HandoffPorts{.pasteboard = platform.pasteboard.get(), .clock = clock_.get()});
    paymentApplication_ = application.get();
    platform.application = std::move(application);
    TilvaneGo::usePlatform(std::move(platform));
  }

  // Begins an evening. Returns false if the script can't be read.
  bool begin(const std::filesystem::path& path) {
    std::ifstream file(path);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    auto script = sandbox::RehearsalScript::parse(text);
    if (!script) {
      std::cout << path.filename().string() << ": " << script.error().message << '\n';
      return false;
    }
    paymentApplication_->setScript(*std::move(script));
    paymentApplication_->setRemembering(true);
    notes_.clear();
    return true;
  }
  // Ends it. Returns the till's notes, what is still pending, and what of the script didn't happen.
  std::vector<std::string> end() {
    forEachOperation([&]<OperationKind kind>() {
      auto& sdk = TilvaneGo::shared();
      if ((sdk.*operationFunctions<kind>.isInProgress)())
        notes_.push_back("pending: " + operationWords(kind));
      (sdk.*operationFunctions<kind>.cancel)();
    });
    for (auto& line : paymentApplication_->unusedLines()) notes_.push_back(std::move(line));
    for (auto& request : paymentApplication_->unmatchedRequests()) notes_.push_back(std::move(request));
    return std::exchange(notes_, {});
  }

  void pay(const std::string& id, const char* amount = "25.00",
           PaymentTransactionType type = PaymentTransactionType::sale,
           const PaymentLaunchTransport& transport = PaymentLaunchTransport::urlScheme()) {
    const PaymentRequest request({.requestId = id,
                                  .amount = *Decimal::parse(amount),
                                  .transactionType = type,
                                  .currency = "EUR",
                                  .callbackURL = callbackFor(id),
                                  .customId = id});
    TilvaneGo::shared().startPayment(request, transport, [this, id](const PaymentResult& result) {
      note(id, result);
      if (result.response()) transactions_[id] = result.response()->transactionId().value_or("");
    });
    runPending();
  }

  // A payment without an answer. The payment application isn't told: the customer may still pay.
  void giveUp(const std::string& id) {
    if (!TilvaneGo::shared().isPaymentInProgress()) return;
    TilvaneGo::shared().cancelPendingPayment();
    notes_.push_back(id + " given up");
  }

  void fullRefund(const std::string& id, const std::string& payment) {
    const FullRefundRequest request({.requestId = id,
                                     .transactionId = transactionOf(payment),
                                     .callbackURL = callbackFor(id),
                                     .credentials = credentials_});
    TilvaneGo::shared().fullRefund(request, [this, id](const FullRefundResult& result) { note(id, result); });
    runPending();
  }
  void partialRefund(const std::string& id, const std::string& payment, const char* amount) {
    const PartialRefundRequest request({.requestId = id,
                                        .transactionId = transactionOf(payment),
                                        .amount = *Decimal::parse(amount),
                                        .callbackURL = callbackFor(id),
                                        .credentials = credentials_});
    TilvaneGo::shared().partialRefund(request,
                                      [this, id](const PartialRefundResult& result) { note(id, result); });
    runPending();
  }
  void capture(const std::string& id, const std::string& payment, const char* amount) {
    const CaptureRequest request({.requestId = id,
                                  .transactionId = transactionOf(payment),
                                  .amount = amount,
                                  .callbackURL = callbackFor(id)});
    TilvaneGo::shared().capture(request, [this, id](const CaptureResult& result) { note(id, result); });
    runPending();
  }
  void reboot(const std::string& id) {
    TilvaneGo::shared().reboot(RebootRequest({.requestId = id, .callbackURL = callbackFor(id)}),
                               [this, id](const RebootResult& result) { note(id, result); });
    runPending();
  }

  // Notes the till's own ids of what was paid.
  void list(const std::string& id) {
    const TransactionListRequest request({.requestId = id, .callbackURL = callbackFor(id)});
    TilvaneGo::shared().getTransactionList(request, [this](const TransactionListResult& result) {
      std::string line = "paid:";
      const auto transactions =
          result.response() ? result.response()->transactions() : std::vector<TilvaneGoTransaction>();
      for (const TilvaneGoTransaction& one : transactions) {
        line += " " + one.customId.value_or("a refund") + " " + one.amount.text();
      }
      notes_.push_back(line);
    });
    runPending();
  }

  void letPass(double seconds) {
    clock_->stopAt(Date::fromSecondsSince1970(clock_->now().secondsSince1970() + seconds));
    paymentApplication_->deliverDue();
    runPending();
  }

 private:
  static URL callbackFor(const std::string& id) { return URL::parse("till://done/" + id).value(); }
  static void runPending() { RunLoop::main().runPending(); }

  [[nodiscard]] std::string transactionOf(const std::string& payment) const {
    const auto found = transactions_.find(payment);
    return found == transactions_.end() ? "unknown" : found->second;
  }

  template <typename Result>
  void note(const std::string& id, const Result& result) {
    const auto* failure = std::get_if<typename Result::Failure>(&result);
    notes_.push_back(id + " " + std::string(failure != nullptr ? failure->error.name() : result.name()));
  }

  std::shared_ptr<ManualClock> clock_ =
      std::make_shared<ManualClock>(Date::fromSecondsSince1970(1'700'000'000));
  sandbox::SandboxApplication* paymentApplication_ = nullptr;
  PaymentCredentials credentials_{{.basicToken = "token", .accountId = "account", .environment = "CERT"}};
  // The payments' transaction ids, by the till's ids.
  std::map<std::string, std::string> transactions_;
  std::vector<std::string> notes_;
};

struct Evening {
  const char* script;
  void (*play)(Till& till);
  std::vector<std::string> notes;
};

const std::vector<Evening>& evenings() {
  static const auto sealed = PaymentLaunchTransport::pasteboard();
  static const auto sale = PaymentTransactionType::sale;
  static const std::vector<Evening> all{
      {"decline-then-approval",
       [](Till& till) {
         till.pay("A-1001");
         till.pay("A-1002");
       },
       {"A-1001 declined", "A-1002 success"}},
      {"double-callback",
       [](Till& till) {
         till.pay("A-1001");
         till.pay("A-1002");
       },
       {"A-1001 success", "ignored a callback", "A-1002 declined"}},
      {"crossed-refund",
       [](Till& till) {
         till.pay("A-1001");
         till.fullRefund("R-1", "A-1001");
         till.pay("A-1002");
         till.giveUp("A-1002");
         till.list("L-1");
       },
       {"A-1001 success", "ignored a callback", "R-1 success", "A-1002 given up",
        "paid: A-1001 25 a refund 25 A-1002 25"}},
      {"lost-callback-then-list",
       [](Till& till) {
         till.pay("A-1001");
         till.giveUp("A-1001");
         till.list("L-1");
       },
       {"A-1001 given up", "paid: A-1001 25"}},
      {"late-callback-of-a-cancelled-payment",
       [](Till& till) {
         till.pay("A-1001");
         till.giveUp("A-1001");
         till.pay("A-1002");
       },
       {"A-1001 given up", "A-1002 success", "ignored a callback"}},
      {"slow-customer",
       [](Till& till) {
         till.pay("A-1001");
         till.giveUp("A-1001");
         till.pay("A-1002");
         till.letPass(30);
         till.letPass(30);
       },
       {"A-1001 given up", "ignored a callback", "A-1002 success"}},
      {"wrong-address",
       [](Till& till) {
         till.pay("A-1001");
         till.giveUp("A-1001");
         till.pay("A-1002");
         till.giveUp("A-1002");
         till.pay("A-1003");
         till.list("L-1");
       },
       {"ignored a callback", "A-1001 given up", "ignored a callback", "A-1002 given up", "A-1003 success",
        "paid: A-1001 25 A-1002 25 A-1003 25"}},
      {"broken-text",
       [](Till& till) {
         till.pay("A-1001");
         till.pay("A-1002");
       },
       {"A-1001 missingStatus", "A-1002 success"}},
      {"other-words-and-spellings",
       [](Till& till) {
         till.pay("A-1001");
         till.pay("A-1002");
         till.pay("A-1003");
       },
       {"A-1001 success", "A-1002 declined", "A-1003 cancelled"}},
      {"broken-seals",
       [](Till& till) {
         for (const char* id : {"A-1001", "A-1002", "A-1003", "A-1004", "A-1005"}) {
           till.pay(id, "25.00", sale, sealed);
         }
       },
       {"A-1001 pasteboardHandoffDecryptionFailed", "A-1002 pasteboardHandoffExpired",
        "A-1003 pasteboardHandoffMissing", "A-1004 urlPayloadDecompressionFailed", "A-1005 success"}},
      {"unclear-answers",
       [](Till& till) {
         till.pay("A-1001");
         till.pay("A-1002");
         till.pay("A-1003");
         till.list("L-1");
       },
       {"A-1001 requestIdMismatch", "A-1002 missingStatus", "A-1003 paymentFailed",
        "paid: A-1001 25 A-1002 25"}},
      {"refund-twice",
       [](Till& till) {
         till.pay("A-1001");
         till.fullRefund("R-1", "A-1001");
         till.fullRefund("R-2", "A-1001");
         till.fullRefund("R-3", "of another till");
         till.list("L-1");
       },
       {"A-1001 success", "R-1 success", "R-2 fullRefundFailed", "R-3 fullRefundFailed",
        "paid: A-1001 25 a refund 25"}},
      {"authorization-and-capture",
       [](Till& till) {
         till.pay("A-1001", "50.00", PaymentTransactionType::auth);
         till.capture("C-1", "A-1001", "60.00");
         till.capture("C-2", "A-1001", "50.00");
         till.capture("C-3", "A-1001", "50.00");
         till.partialRefund("R-1", "A-1001", "20.00");
         till.partialRefund("R-2", "A-1001", "40.00");
         till.partialRefund("R-3", "A-1001", "30.00");
       },
       {"A-1001 success", "C-1 captureFailed", "C-2 success", "C-3 captureFailed", "R-1 success",
        "R-2 partialRefundFailed", "R-3 success"}},
      {"silent-terminal",
       [](Till& till) {
         till.pay("A-1001");
         till.giveUp("A-1001");
         till.reboot("B-1");
         till.pay("A-1002");
       },
       {"A-1001 given up", "B-1 success", "A-1002 success"}},
  };
  return all;
}

}  // namespace

// Takes the folder of the scripts.
int main(int count, char** arguments) {
  const std::filesystem::path folder = count > 1 ? arguments[1] : "rehearsals";
  Till till;
  int failed = 0;
  for (const auto& [script, play, expected] : evenings()) {
    std::vector<std::string> notes;
    if (till.begin(folder / (std::string(script) + ".jsonl"))) {
      play(till);
      notes = till.end();
    }
    if (notes == expected) continue;
    ++failed;
    std::cout << "FAILED " << script << ":\n";
    for (const std::string& note : notes) std::cout << "  " << note << '\n';
  }
  const auto scripts = std::distance(std::filesystem::directory_iterator(folder), {});
  if (std::cmp_not_equal(scripts, evenings().size())) {
    std::cout << "FAILED: " << folder.string() << " has " << scripts << " files\n";
    ++failed;
  }
  std::cout << evenings().size() << " evenings, " << failed << " went wrong\n";
  return failed == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

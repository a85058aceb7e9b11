// Payments with a payment application that shares no code with the library: payment_app.mjs, which refuses
// whatever isn't exactly as a form promises, and says why on standard error.
#include <filesystem>
#include <fstream>

#include <tilvanego/facade/FacadeAccess.h>
#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/platform/desktop/SpawnedOpener.h>
#include <tilvanego/platform/memory/ManualClock.h>
#include <tilvanego/platform/memory/RecordingDebugOutput.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Test.h"

namespace tilvanego {
namespace {

namespace fs = std::filesystem;
using Transport = PaymentLaunchTransport;
using Alterations = std::vector<std::string>;

// Opens links by a program, and stops the loop when the program has ended.
class AwaitedOpener final : public Application {
 public:
  AwaitedOpener(RunLoop& loop, std::vector<std::string> command)
      : loop_(loop), spawned_(loop, std::move(command)) {}

  void openURL(const URL& url, std::function<void(bool opened)> completionHandler) override {
    spawned_.openURL(url, [this, handler = std::move(completionHandler)](bool opened) {
      handler(opened);
      loop_.stop();
    });
  }

 private:
  RunLoop& loop_;
  SpawnedOpener spawned_;
};

// One payment there and back.
struct Payment {
  // What the payment application read: "inline", "gzip" or "pasteboard", and the request as canonical JSON.
  std::string form;
  std::string request;
  std::optional<PaymentResult> result;
  // Whether a pasteboard file is left.
  bool pasteboardKept = false;

  // "success", "declined", or the name of the error.
  std::string outcome() const {
    if (!result) return "none";
    const auto* failure = std::get_if<PaymentResult::Failure>(&*result);
    return std::string(failure ? failure->error.name() : result->name());
  }
};

class PaymentApp {
 public:
  Payment pay(const PaymentRequest& request, const Transport& transport, const std::string& answer,
              const Alterations& alterations = {}) {
    const auto sdk = detail::FacadeAccess::make(platform(answer, alterations));
    Payment payment;
    sdk->startPayment(request, transport,
                      [&payment](const PaymentResult& result) { payment.result = result; });
    if (!sdk->isPaymentInProgress()) return payment;
    loop_.run();
    // What the opener reported is acted on in a turn of its own.
    loop_.runPending();
    if (!sdk->isPaymentInProgress()) return payment;

    std::ifstream report(reportFile());
    std::string callback;
    std::getline(report, payment.form);
    std::getline(report, payment.request);
    std::getline(report, callback);
    EXPECT_TRUE(sdk->handleCallback(URL::parse(callback).value())) << callback;
    payment.pasteboardKept = fs::exists(pasteboard() / "pasteboard");
    return payment;
  }

 private:
  fs::path reportFile() const { return directory_.path() / "report"; }
  fs::path pasteboard() const { return directory_.path() / "pasteboards"; }

  Platform platform(const std::string& answer, const Alterations& alterations) {
    // A fraction of a second shows what is rounded, and how.
    const auto clock = std::make_shared<ManualClock>(Date::fromSecondsSince1970(1'800'000'000.75));
    std::vector<std::string> command{
        TILVANEGO_NODE, TILVANEGO_PAYMENT_APP, "--report", reportFile(), "--pasteboard", pasteboard(),
        "--now",        "1800000000.75",       "--answer", answer};
    for (const auto& alteration : alterations) command.insert(command.end(), {"--alter", alteration});
    Platform platform = Platform::standard(loop_);
    platform.clock = clock;
    platform.pasteboard = std::make_unique<PasteboardStore>(pasteboard(), clock);
    platform.debugOutput = std::make_unique<RecordingDebugOutput>();
    platform.application = std::make_unique<AwaitedOpener>(loop_, std::move(command));
    return platform;
  }

  const TemporaryDirectory directory_;
  RunLoop loop_;
};

PaymentRequest::Fields leastFields() {
  return {.requestId = "A-1",
          .amount = Decimal::parse("12.50").value(),
          .currency = "eur",
          .callbackURL = URL::parse("myshop://done").value()};
}
constexpr std::string_view leastJSON =
    R"({"amount":"12.5","currency":"EUR","request_id":"A-1","require_reader_ready":true,)"
    R"("return_url":"myshop:\/\/done","type":"sale"})";

PaymentRequest::Fields fullFields() {
  return {.requestId = "Ä|1.2 /&=+%",
          .amount = Decimal::parse("1000000000000.01").value(),
          .tip = Decimal::parse("0.10"),
          .transactionType = PaymentTransactionType::auth,
          .currency = "EUR",
          .callbackURL = URL::parse("myshop://done/till/4?lane=a%20b&x=1").value(),
          .customId = "",
          .notes =
              "-._~!$'()*+,;:@/? &=#%<>[]{}^`|Grüße \"an\" alle\\/\n\t\x7f\x01 👩‍👩‍👧 שלום "
              "e\u0301",
          .credentials =
              PaymentCredentials({.basicToken = "s3cret+/=", .accountId = "Konto №7", .environment = "cert"}),
          .requiresReaderReady = false};
}
constexpr std::string_view fullJSON =
    R"({"amount":"1000000000000.01","credentials":{"account_id":"Konto №7","basic_token":"s3cret+\/=",)"
    R"("environment":"CERT"},"currency":"EUR","custom_id":"","notes":"-._~!$'()*+,;:@\/? &=#%<>[]{}^`|)"
    R"(Grüße \"an\" alle\\\/\n\t)"
    "\x7f"
    R"(\u0001 👩‍👩‍👧 שלום )"
    "e\u0301"
    R"(","request_id":"Ä|1.2 \/&=+%","require_reader_ready":false,)"
    R"("return_url":"myshop:\/\/done\/till\/4?lane=a%20b&x=1","tip":"0.1","type":"auth"})";

struct Answer {
  Alterations alterations;
  std::string outcome;
  bool pasteboardKept = false;
};

void expectOutcomes(const Transport& transport, const std::string& form, const std::vector<Answer>& answers) {
  for (const auto& [alterations, outcome, pasteboardKept] : answers) {
    const auto payment = PaymentApp().pay(PaymentRequest(leastFields()), transport, form, alterations);
    std::string trace;
    for (const auto& alteration : alterations) trace += alteration + " ";
    EXPECT_EQ(payment.outcome(), outcome) << trace;
    EXPECT_EQ(payment.pasteboardKept, pasteboardKept) << trace;
  }
}

TEST(PaymentApp, EachFormCarriesTheSameRequestAndEachAnswerTheSameResult) {
  struct Case {
    Transport transport;
    std::string form;
  };
  for (const auto& [transport, form] :
       {Case{Transport::urlScheme(), "inline"}, Case{Transport::gzip(), "gzip"},
        Case{Transport::pasteboard(), "pasteboard"}}) {
    for (const auto* answer : {"inline", "gzip", "pasteboard"}) {
      SCOPED_TRACE(form + " answered by " + answer);
      const auto payment = PaymentApp().pay(PaymentRequest(fullFields()), transport, answer);
      EXPECT_EQ(payment.form, form);
      EXPECT_EQ(payment.request, fullJSON);
      ASSERT_EQ(payment.outcome(), "success");
      const auto response = payment.result->response().value();
      EXPECT_EQ(response.requestId(), fullFields().requestId);
      EXPECT_EQ(response.status(), "approved");
      EXPECT_EQ(response.approvalCode(), "00/7 + 1&2=3");
      EXPECT_EQ(response.transactionId(), "T-\"1\"\\");
      EXPECT_EQ(response.processorMessage(), "Danke schön 🍕\n");
      EXPECT_EQ(response.customId(), std::nullopt);
      // A launch's own envelope is the payment application's to remove.
      EXPECT_EQ(payment.pasteboardKept, form == "pasteboard" && std::string(answer) != "pasteboard");
    }
  }
}

TEST(PaymentApp, WhatARequestLeavesOutStandsInNoForm) {
  for (const auto& transport : {Transport::urlScheme(), Transport::gzip(), Transport::pasteboard()}) {
    EXPECT_EQ(PaymentApp().pay(PaymentRequest(leastFields()), transport, "inline").request, leastJSON)
        << transport.text();
  }
}

TEST(PaymentApp, ACompressedAnswerIsTakenOnlyAsItWasStated) {
  expectOutcomes(Transport::gzip(), "gzip",
                 {{{"status=declined"}, "declined"},
                  {{"wrapping=zlib"}, "success"},
                  {{"compressedSizeOff=1"}, "urlPayloadTooLarge"},
                  {{"sizeOff=1"}, "urlPayloadInvalid"},
                  {{"requestId=A-2"}, "urlPayloadInvalid"},
                  {{"cut=1"}, "urlPayloadDecompressionFailed"}});
}

TEST(PaymentApp, ASealedAnswerOpensOnlyForThePaymentItWasSealedFor) {
  expectOutcomes(Transport::pasteboard(), "pasteboard",
                 {{{"status=declined"}, "declined"},
                  {{"sdkVersion=9.9.9"}, "success"},
                  {{"tagBit=7"}, "pasteboardHandoffDecryptionFailed"},
                  {{"sealedFor=A-2"}, "pasteboardHandoffDecryptionFailed"},
                  {{"expiryShift=60"}, "pasteboardHandoffDecryptionFailed"},
                  {{"requestId=A-2"}, "pasteboardHandoffInvalid"}});
}

TEST(PaymentApp, AnAnswerThatIsNotThereOrNotThePaymentsIsMissingAndLeftAlone) {
  expectOutcomes(Transport::pasteboard(), "pasteboard",
                 {{{"resultId=another"}, "pasteboardHandoffMissing", true},
                  {{"checksumOff=1"}, "pasteboardHandoffMissing", true},
                  {{"fileMode=0o644"}, "pasteboardHandoffMissing", true}});
}

TEST(PaymentApp, ASealedAnswerLastsThreeHundredSeconds) {
  expectOutcomes(Transport::pasteboard(), "pasteboard",
                 {{{"age=299"}, "success"},
                  // Where its file expires too, nothing lies there any more.
                  {{"age=301"}, "pasteboardHandoffMissing"},
                  {{"age=301", "fileExpires=never"}, "pasteboardHandoffExpired"},
                  {{"age=299", "fileExpires=never"}, "success"}});
}

}  // namespace
}  // namespace tilvanego

#include <span>

#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/sandbox/Response.h>

#include "tests/support/Test.h"
#include "tests/support/TestHost.h"

namespace tilvanego::sandbox {
namespace {

constexpr std::string_view token = "s3cret";

PaymentRequest wholeRequest() {
  return PaymentRequest({.requestId = "A|1",
                         .amount = *Decimal::parse("12.50"),
                         .tip = Decimal(1),
                         .currency = "EUR",
                         .callbackURL = *URL::parse("shop://done?till=1"),
                         .customId = "c&1",
                         .notes = "caf\u00e9 / \"7\"",
                         .credentials = PaymentCredentials(
                             {.basicToken = std::string(token), .accountId = "acc", .environment = "prod"})});
}

PaymentLaunchTransport launchBy(Transport transport) {
  switch (transport) {
    case Transport::url:
      return PaymentLaunchTransport::urlScheme();
    case Transport::gzip:
      return PaymentLaunchTransport::gzip();
    case Transport::pasteboard:
      break;
  }
  return PaymentLaunchTransport::pasteboard();
}

/// A host that has started one payment, and the payment application beside it.
struct Payment {
  explicit Payment(Transport transport) {
    host.clock->stopAt(Date::fromSecondsSince1970(1'700'000'000.75));
    host.sdk->startPayment(wholeRequest(), launchBy(transport),
                           [this](const PaymentResult& payment) { result = payment; });
    link = host.application->openedURLs().at(0);
  }

  [[nodiscard]] std::expected<LaunchLink, SandboxError> read() const {
    return LaunchLink::read(*link, ports());
  }
  [[nodiscard]] HandoffPorts ports() const {
    return {.pasteboard = host.pasteboard, .clock = host.clock.get()};
  }

  /// What the host's completion gets for an answer: the result's name, and its error's; empty without a
  /// callback, else why there is none.
  std::string answered(const Decision& decision) {
    const auto asked = read();
    if (!asked) return asked.error().message;
    const auto answer = respond(*asked, decision, ports());
    if (!answer) return answer.error().message;
    if (!*answer) return "";
    callback = (*answer)->absoluteString();
    EXPECT_TRUE(host.sdk->handleCallback(**answer));
    if (!result) return "no result";
    const auto* failure = std::get_if<PaymentResult::Failure>(&*result);
    return failure != nullptr ? std::string(failure->error.name()) : std::string(result->name());
  }

  test::TestHost host;
  std::optional<URL> link;
  std::string callback;
  std::optional<PaymentResult> result;
};

TEST(Transports, EachBringsTheWholeRequest) {
  const auto inTheURL = Payment(Transport::url).read();
  for (const Transport transport : allCases<Transport>()) {
    const auto read = Payment(transport).read();
    ASSERT_TRUE(read) << read.error().message;
    EXPECT_EQ(read->transport(), transport);
    EXPECT_EQ(read->items(), inTheURL->items());
    EXPECT_EQ(read->item("basic_token"), token);
    for (const std::string& line : read->lines()) {
      EXPECT_EQ(line.find(token), std::string::npos) << line;
    }
  }
  EXPECT_EQ(Payment(Transport::gzip).read()->lines().at(0), "payment by gzip");
}

TEST(Transports, EachAnswersARequestThatCameByAny) {
  struct Case {
    Outcome outcome;
    /// Of an answer in the URL, compressed and sealed; the last one holds for those after it, too.
    std::vector<std::string> results;
  };
  const std::string tampered =
      "the outcome tampered needs an answer by gzip or pasteboard, and this one travels by url";
  const std::string expired = "the outcome expired needs an answer by pasteboard, and this one travels by ";
  const std::array cases{
      Case{Outcome::approve, {"success"}},
      Case{Outcome::decline, {"declined"}},
      Case{Outcome::cancel, {"cancelled"}},
      Case{Outcome::fail, {"paymentFailed"}},
      Case{Outcome::silent, {""}},
      Case{Outcome::wrongId, {"requestIdMismatch"}},
      Case{Outcome::noStatus, {"missingStatus"}},
      Case{Outcome::unknownStatus, {"paymentFailed"}},
      Case{Outcome::tampered,
           {tampered, "urlPayloadDecompressionFailed", "pasteboardHandoffDecryptionFailed"}},
      Case{Outcome::expired, {expired + "url", expired + "gzip", "pasteboardHandoffExpired"}},
  };
  static_assert(cases.size() == allCases<Outcome>().size());
  for (const Transport asked : allCases<Transport>()) {
    for (const auto& [outcome, results] : cases) {
      SCOPED_TRACE(std::string(rawText(asked)) + " " + std::string(rawText(outcome)));
      for (const Transport by : allCases<Transport>()) {
        const std::string& result = results[std::min(static_cast<std::size_t>(by), results.size() - 1)];
        EXPECT_EQ(Payment(asked).answered({.outcome = outcome, .transport = by}), result);
        if (by == asked) {
          EXPECT_EQ(Payment(asked).answered({.outcome = outcome}), result);
        }
      }
    }
  }
}

TEST(Transports, BringTheSameResponseInTheSpellingsAskedFor) {
  std::optional<PaymentResponse> first;
  for (const Transport transport : allCases<Transport>()) {
    Payment payment(transport);
    EXPECT_EQ(payment.answered({.word = "completed", .keys = KeySpelling::second}), "success");
    const PaymentResponse response = payment.result->response().value();
    if (!first) first = response;
    EXPECT_EQ(response.status(), "completed");
    EXPECT_EQ(response.customId(), "c&1");
    EXPECT_EQ(response.transactionId(), first->transactionId());
    EXPECT_EQ(response.approvalCode(), first->approvalCode());
    EXPECT_EQ(payment.callback.contains("&payloadSize=") && payment.callback.contains("&compressedSize="),
              transport == Transport::gzip);
    EXPECT_EQ(payment.callback.contains("&result_handoff_id="), transport == Transport::pasteboard);
  }
}

TEST(Transports, GiveTheHostTheErrorOfEachFault) {
  struct Case {
    TransportFault fault;
    std::string_view compressed;
    std::string_view sealed;
  };
  const std::array cases{
      Case{TransportFault::foreignHandoff,
           "the fault foreign-handoff needs an answer by pasteboard, and this one travels by gzip",
           "pasteboardHandoffMissing"},
      Case{TransportFault::wrongRequestId, "urlPayloadInvalid", "pasteboardHandoffInvalid"},
      Case{TransportFault::wrongDirection, "urlPayloadInvalid", "pasteboardHandoffInvalid"},
      Case{TransportFault::notJSON, "urlPayloadDecompressionFailed", "pasteboardHandoffDecryptionFailed"},
      Case{TransportFault::wrongPayloadSize, "urlPayloadInvalid",
           "the fault wrong-payload-size needs an answer by gzip, and this one travels by pasteboard"},
      Case{TransportFault::wrongCompressedSize, "urlPayloadTooLarge",
           "the fault wrong-compressed-size needs an answer by gzip, and this one travels by pasteboard"},
  };
  static_assert(cases.size() == allCases<TransportFault>().size());
  for (const auto& [fault, compressed, sealed] : cases) {
    SCOPED_TRACE(rawText(fault));
    EXPECT_EQ(Payment(Transport::gzip).answered({.fault = fault}), compressed);
    EXPECT_EQ(Payment(Transport::pasteboard).answered({.fault = fault}), sealed);
    EXPECT_TRUE(Payment(Transport::url).answered({.fault = fault}).starts_with("the fault "));
  }
}

TEST(Transports, LeaveTheRequestOnThePasteboardUntilTheAnswerReplacesIt) {
  Payment payment(Transport::pasteboard);
  const auto asked = payment.host.pasteboard->contents();
  ASSERT_TRUE(payment.read());
  EXPECT_EQ(payment.host.pasteboard->contents(), asked);
  const auto callback = respond(*payment.read(), Decision{}, payment.ports());
  const auto answered = payment.host.pasteboard->contents();
  EXPECT_NE(answered, asked);
  EXPECT_TRUE(answered.options.localOnly);
  EXPECT_EQ(answered.options.expirationDate->secondsSince1970(), 1'700'000'300.75);
  EXPECT_TRUE(payment.host.sdk->handleCallback(**callback));
  EXPECT_TRUE(payment.host.pasteboard->items().empty());
}

/// Why a link that was changed can't be read.
std::string errorOf(const Payment& payment, std::string_view part, std::string_view by) {
  std::string text = payment.link->absoluteString();
  const std::size_t at = text.find(part);
  EXPECT_NE(at, std::string::npos) << part;
  text.replace(at, part.size(), by);
  const auto read = LaunchLink::read(*URL::parse(text), payment.ports());
  return read ? "" : read.error().message;
}

TEST(Transports, SayWhyARequestCantBeRead) {
  struct Case {
    Transport transport;
    std::string_view part;
    std::string_view by;
    std::string_view message;
  };
  constexpr std::string_view notAsStated =
      "the link's payload isn't gzip-json in URL-safe base64, or hasn't its payload_size";
  const std::array cases{
      Case{Transport::gzip, "sdkVersion", "x", "the link has no sdkVersion"},
      Case{Transport::gzip, "&payload=", "&x=", "the link has no payload"},
      Case{Transport::gzip, "gzip-json", "GZIP-JSON", notAsStated},
      Case{Transport::gzip, "payload=", "payload=*", notAsStated},
      Case{Transport::gzip, "payload_size=", "payload_size=1", notAsStated},
      Case{Transport::gzip, "compressed_size=", "compressed_size=1",
           "the link's payload is larger than it may be, or hasn't its compressed_size"},
      Case{Transport::gzip, "payload=H4", "payload=A4", "the link's payload is no gzip stream"},
      Case{Transport::gzip, "requestId=A", "requestId=B", "the link's payload is another request's"},
      Case{Transport::gzip, "callbackUrl=shop", "callbackUrl=stop",
           "the link's callbackUrl isn't its request's"},
      Case{Transport::pasteboard, "handoffId=", "x=", "the link has no handoffId"},
      Case{Transport::pasteboard, "handoffId=", "handoffId=x",
           "what lies on the pasteboard isn't this link's, or there is none"},
      Case{Transport::pasteboard, "requestId=A", "requestId=B",
           "what is sealed on the pasteboard is no request, or another one than the link's"},
  };
  for (const auto& [transport, part, by, message] : cases) {
    EXPECT_EQ(errorOf(Payment(transport), part, by), message) << part;
  }
}

TEST(Transports, SayWhatIsWrongOnThePasteboard) {
  Payment late(Transport::pasteboard);
  // What the library wrote stays as long as it can be opened.
  late.host.clock->stopAt(Date::fromSecondsSince1970(1'700'000'300));
  EXPECT_TRUE(late.read());
  late.host.clock->stopAt(Date::fromSecondsSince1970(1'700'000'301));
  EXPECT_EQ(late.read().error().message, "what lies on the pasteboard isn't this link's, or there is none");

  Payment foreign(Transport::pasteboard);
  foreign.host.pasteboard->place({{{"public.text", "hello"}}});
  EXPECT_EQ(foreign.read().error().message, "what lies on the pasteboard isn't the expected JSON (byte 0)");

  Payment changed(Transport::pasteboard);
  std::string text = *changed.host.pasteboard->string();
  char& letter = text.at(text.find("ciphertext") + 40);
  letter = letter == 'A' ? 'B' : 'A';
  changed.host.pasteboard->place({{{"public.text", text}}});
  EXPECT_EQ(
      changed.read().error().message,
      "what is sealed on the pasteboard can't be decrypted: it was changed, or sealed for another link");
  changed.host.clock->stopAt(Date::fromSecondsSince1970(1'700'000'301));
  EXPECT_EQ(changed.read().error().message, "what lies on the pasteboard has expired");

  const Payment none(Transport::pasteboard);
  EXPECT_EQ(LaunchLink::read(*none.link).error().message,
            "the link's request lies on the pasteboard, and this sandbox was given none");
}

class NoRandomBytes final : public RandomSource {
 public:
  [[nodiscard]] bool fill(std::span<std::uint8_t> /*bytes*/) override { return false; }
};

TEST(Transports, NameNoAnswerThatCouldntBeLeft) {
  const auto link = Payment(Transport::gzip).read();
  const Decision decision{.transport = Transport::pasteboard};
  PasteboardStore full("/dev/null/none", std::make_shared<ManualClock>());
  EXPECT_TRUE(respond(*link, decision, {.pasteboard = &full})
                  .error()
                  .message.starts_with("the pasteboard didn't keep the answer: "));
  NoRandomBytes none;
  EXPECT_EQ(respond(*link, decision, {.pasteboard = &full, .randomSource = &none}).error().message,
            "the random source gave no bytes for a handoff id");
  EXPECT_EQ(respond(*link, decision).error().message,
            "the answer needs a pasteboard, and this sandbox was given none");

  const auto endless = LaunchLink::read(
      *URL::parse("tilvanego://payment/v1/start?request_id=1&amount=1&type=sale&currency=EUR&return_url=a:b&"
                  "require_reader_ready=true&custom_id=" +
                  std::string(300'000, 'x')));
  EXPECT_EQ(respond(*endless, {.transport = Transport::gzip}).error().message,
            "the answer is too long to travel compressed");
}

}  // namespace
}  // namespace tilvanego::sandbox

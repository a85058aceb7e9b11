#include <tilvanego/operations/TransactionList.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/memory/ManualClock.h>
#include <tilvanego/sandbox/SandboxApplication.h>

#include "tests/support/Test.h"
#include "tests/support/TestHost.h"

namespace tilvanego::sandbox {
namespace {

using Texts = std::vector<std::string>;

URL linkOf(const std::string& operationAndItems, const std::string& returnURL = "shop:%2F%2Fdone") {
  return *URL::parse("tilvanego://payment/v1/" + operationAndItems + "&return_url=" + returnURL);
}

URL payment(const std::string& id, const std::string& amount = "5", const std::string& type = "sale") {
  return linkOf("start?request_id=" + id + "&amount=" + amount + "&type=" + type +
                "&currency=EUR&require_reader_ready=true&custom_id=" + id);
}

RehearsalScript scriptOf(std::string_view text) {
  auto script = RehearsalScript::parse(text);
  EXPECT_TRUE(script) << script.error().message;
  return *std::move(script);
}

TEST(RehearsalScript, ReadsEachFieldOfItsLinesAndSkipsEmptyOnes) {
  const auto script = scriptOf(
      "\xEF\xBB\xBF{\"outcome\":\"decline\"}\r\n \n"
      R"({"operation":"payment","amount":"12.50","requestId":"A-1","nth":2,"outcome":"cancel","word":"canceled",)"
      R"("keys":"third","answer":"gzip","fault":"not-json","delay":0.5,"delivery":"twice","note":null})");
  ASSERT_EQ(script.lines().size(), 2U);
  EXPECT_EQ(script.lines()[0], (RehearsalLine{.number = 1, .outcome = Outcome::decline}));
  EXPECT_EQ(script.lines()[1], (RehearsalLine{.number = 3,
                                              .operation = Operation::payment,
                                              .amount = *Decimal::parse("12.5"),
                                              .requestId = "A-1",
                                              .nth = 2,
                                              .outcome = Outcome::cancel,
                                              .word = "canceled",
                                              .keys = KeySpelling::third,
                                              .answer = Transport::gzip,
                                              .fault = TransportFault::notJSON,
                                              .delay = 0.5,
                                              .delivery = Delivery::twice}));
}

TEST(RehearsalScript, NamesTheLineOfItsFirstFaultAndWhatToMend) {
  const auto messageOf = [](std::string_view text) {
    const auto script = RehearsalScript::parse(text);
    return script ? "none" : script.error().message;
  };
  const std::string good = R"({"outcome":"decline"})";
  struct Case {
    std::string line;
    std::string_view fault;
  };
  for (
      const auto& [line, fault] : {
          Case{"{", "is no JSON: the text ends inside a value (byte 1); write one whole object in each line"},
          Case{good + good,
               "is no JSON: something follows the value (byte 21); write one whole object in each line"},
          Case{"[]", R"(must be a JSON object, such as {"outcome": "decline"})"},
          Case{"{\"note\":\"\xFF\"}", "is no JSON: "},
          Case{R"({"outcom\u001b":1})",
               R"(has the unknown field "outcom\u{1B}"; known: operation, amount, )"},
          Case{"{\"" + std::string(59, 'a') + "\u00e9\":1}", "has the unknown field \"aaaaa"},
          Case{R"({"nth":1,"nth":2})", R"(has "nth" twice)"},
          Case{R"({"outcome":"declined"})",
               R"(has the field "outcome", which must be one of approve, decline, cancel, )"},
          Case{R"({"operation":7})", R"(has the field "operation", which must be one of payment, init)"},
          Case{R"({"amount":12.5})",
               R"(has the field "amount", which must be a text with a number above zero, such as "12.50")"},
          Case{R"({"amount":"0"})", R"(has the field "amount", which)"},
          Case{R"({"amount":"-5"})", R"(has the field "amount", which)"},
          Case{R"({"requestId":""})", R"(has the field "requestId", which must be a text that isn't blank)"},
          Case{R"({"amount":"12,50"})", R"(has the field "amount", which)"},
          Case{R"({"nth":0})", R"(has the field "nth", which must be a whole number, at least 1)"},
          Case{R"({"times":-1})", R"(has the field "times", which must be a whole number, at least 1)"},
          Case{R"({"delay":86401})",
               R"(has the field "delay", which must be a number of seconds, 0 to 86400)"},
          Case{R"({"note":)" + std::string(600, '['), "is no JSON: "},
          Case{R"({"note":")" + std::string(RehearsalScript::maxLineSize, 'a') + R"("})",
               "is longer than 65536 bytes"},
          Case{R"({"nth":1,"times":2})", R"(has "nth" and "times")"},
          Case{R"({"delay":1,"delivery":"late"})",
               R"(has a "delay", which the delivery late doesn't wait for)"},
          Case{R"({"outcome":"silent","delivery":"twice"})",
               "has the outcome silent, which has nothing to deliver"},
          Case{R"({"outcome":"silent","fault":"not-json"})", "has the outcome silent, which has nothing"},
          Case{R"({"outcome":"silent","answer":"gzip"})", "has the outcome silent, which has nothing"},
          Case{R"({"operation":"reboot","amount":"5"})",
               R"(has an "amount", and the operation reboot has none; leave it out)"},
          Case{R"({"operation":"reboot","answer":"gzip"})",
               R"(has an "answer" that only the operation payment can have; leave it out)"},
          Case{R"({"operation":"reboot","fault":"not-json"})",
               "has the fault not-json, which needs an answer by gzip or pasteboard; only a payment has one"},
          Case{R"({"operation":"reboot","outcome":"tampered"})",
               "has the outcome tampered, which needs an answer by gzip or pasteboard; only a payment"},
          Case{R"({"answer":"url","fault":"not-json"})",
               "has the fault not-json, which needs an answer by gzip or pasteboard, and the line has one by "
               "url"},
          Case{R"({"answer":"gzip","fault":"foreign-handoff"})",
               "has the fault foreign-handoff, which needs an answer by pasteboard, and the line has one by "
               "gzip"},
          Case{
              R"({"answer":"pasteboard","fault":"wrong-payload-size"})",
              "has the fault wrong-payload-size, which needs an answer by gzip, and the line has one by pas"},
          Case{R"({"answer":"url","outcome":"tampered"})", "has the outcome tampered, which needs an answer"},
          Case{R"({"answer":"gzip","outcome":"expired"})",
               "has the outcome expired, which needs an answer by pasteboard, and the line has one by gzip"},
          Case{
              R"({"outcome":"expired","fault":"wrong-payload-size"})",
              "has the fault wrong-payload-size, which needs an answer by gzip, and the line has one by pas"},
          Case{R"({"operation":"save","outcome":"cancel","word":"saved"})",
               R"(has a "word" that its requests never have; known: cancel, canceled, cancelled)"},
          Case{R"({"outcome":"silent","word":"saved"})", "has the outcome silent, which has no word"},
      }) {
    const std::string message = messageOf(good + "\n\n" + line + "\n" + "nonsense");
    EXPECT_TRUE(message.starts_with("line 3 of the script " + std::string(fault))) << line << "\n" << message;
  }
  EXPECT_EQ(messageOf(" \n"), R"(the script has no line, such as {"outcome": "decline"})");
  EXPECT_EQ(messageOf(std::string(RehearsalScript::maxSize + 1, '\n')),
            "the script is longer than 1048576 bytes");
  EXPECT_EQ(messageOf(std::string(RehearsalScript::maxLines + 1, '\n')),
            "the script has more than 10000 lines");
  EXPECT_EQ(messageOf(good + std::string(RehearsalScript::maxLines - 1, '\n')), "none");
}

TEST(Rehearsal, LetsTheFirstLineDecideThatFitsAndIsNotUsedUp) {
  Rehearsal rehearsal(scriptOf(R"({"operation":"reboot","note":"never \u001b asked"}
{"amount":"5.0","nth":2}
{"requestId":"b"}
{"operation":"payment","times":2}
{"operation":"payment","nth":5}
{"times":9})"));
  std::string lines;
  for (const char* id : {"a", "b", "b", "c", "d"}) {
    lines += std::to_string(rehearsal.next(*LaunchLink::read(payment(id)))->number) + " ";
  }
  EXPECT_EQ(lines, "4 2 3 4 5 ") << "an nth request is counted whichever line decides the others";
  EXPECT_EQ(rehearsal.unusedLines(), (Texts{"line 1 decided 0 requests of 1 (never \\u{1B} asked)",
                                            "line 6 decided 0 requests of 9"}));
  EXPECT_TRUE(rehearsal.unmatchedRequests().empty());
}

TEST(Delivery, ChangesTheCallbackOnItsWay) {
  struct Case {
    std::string_view returnURL;
    std::array<std::string_view, 3> delivered;
  };
  for (const auto& [returnURL, expected] : {
           Case{"shop://u@done:8/a?x=1&y#top",
                {"other-shop://u@done:8/a?x=1&y&status=ok#top", "shop://u@done:8/a-other?x=1&y&status=ok#top",
                 "shop://u@done:8/a?x=1&y&status=ok%FF#top"}},
           Case{"shop://done#a?b",
                {"other-shop://done?status=ok#a?b", "shop://done/other?status=ok#a?b",
                 "shop://done?status=ok%FF#a?b"}},
           Case{"shop:a", {"other-shop:a?status=ok", "shop:a-other?status=ok", "shop:a?status=ok%FF"}},
       }) {
    std::string escaped;
    for (const char c : returnURL) escaped += c == '&' ? "%26" : c == '#' ? "%23" : std::string(1, c);
    const auto request = LaunchLink::read(linkOf("reboot?request_id=1", escaped));
    auto items = request->callbackURL().queryItems().value_or(std::vector<QueryItem>());
    items.push_back({"status", "ok"});
    const URL callback = *request->callbackURL().replacingQueryItems(items);
    EXPECT_EQ(delivered(callback, *request, Delivery::otherScheme).absoluteString(), expected[0]);
    EXPECT_EQ(delivered(callback, *request, Delivery::otherPath).absoluteString(), expected[1]);
    EXPECT_EQ(delivered(callback, *request, Delivery::notUTF8).absoluteString(), expected[2]);
    EXPECT_EQ(delivered(callback, *request, Delivery::late), callback);
  }
}

/// A payment application, and the callbacks that it has delivered: the request's id and the status.
struct Evening {
  explicit Evening(const Clock* given = nullptr)
      : application(loop,
                    [this](const URL& callback) {
                      const auto items = callback.queryItems().value();
                      arrived += items.at(0).value.value_or("?") + " ";
                      last = callback;
                    },
                    {.clock = given != nullptr ? given : &clock}) {}

  /// Returns the callbacks that arrive then.
  std::string open(const URL& link) {
    application.openURL(link, [](bool) {});
    return run();
  }
  std::string run() {
    loop.runPending();
    return std::exchange(arrived, {});
  }
  [[nodiscard]] std::string item(std::string_view name) const {
    const auto items = last.value().queryItems().value();
    const auto found = std::ranges::find(items, name, &QueryItem::name);
    return found == items.end() ? "none" : found->value.value_or("?");
  }

  RunLoop loop;
  ManualClock clock{Date::fromSecondsSince1970(1'700'000'000)};
  std::string arrived;
  std::optional<URL> last;
  SandboxApplication application;
};

TEST(SandboxApplication, DeliversAsTheScriptSaysAndTellsAtItsEndWhatDidNotHappen) {
  Evening evening;
  evening.application.setScript(scriptOf(R"({"requestId":"1","delivery":"late"}
{"requestId":"2","delivery":"late"}
{"requestId":"3","delivery":"twice"}
{"requestId":"4","delivery":"never"}
{"requestId":"5","delay":30,"delivery":"twice"}
{"requestId":"6","delay":60.5}
{"requestId":"7","outcome":"tampered"}
{"requestId":"9"}
{"requestId":"10","delivery":"late"}
{"requestId":"11","delay":90}
{"requestId":"12","delay":85}
{"requestId":"13","delivery":"late"})"));
  EXPECT_EQ(evening.open(payment("1")), "");
  EXPECT_EQ(evening.open(payment("2")), "1 ") << "also if the next one is late itself";
  EXPECT_EQ(evening.open(payment("3")), "3 3 2 ");
  EXPECT_EQ(evening.open(payment("4")), "");
  EXPECT_EQ(evening.open(payment("5")), "");
  EXPECT_EQ(evening.open(payment("6")), "");
  EXPECT_EQ(evening.open(payment("7")), "");
  EXPECT_EQ(evening.open(payment("8", "5.01")), "8 ");
  EXPECT_EQ(evening.item("status"), "declined") << "no line fits, so the amount decides";
  EXPECT_EQ(evening.open(payment("10")), "");
  EXPECT_EQ(evening.open(payment("11")), "");
  EXPECT_EQ(evening.open(payment("12")), "");
  EXPECT_EQ(evening.open(payment("13")), "");
  EXPECT_EQ(evening.open(*URL::parse("tilvanego://payment/v1/reboot?request_id=14")), "13 ")
      << "whatever becomes of the next one";
  evening.clock.stopAt(Date::fromSecondsSince1970(1'700'000'029));
  evening.application.deliverDue();
  EXPECT_EQ(evening.run(), "");
  evening.clock.stopAt(Date::fromSecondsSince1970(1'700'000'030));
  evening.application.deliverDue();
  EXPECT_EQ(evening.run(), "5 5 ");
  EXPECT_EQ(
      evening.application.unusedLines(),
      (Texts{"line 8 decided 0 requests of 1", "line 6 has a callback that waits until 2023-11-14T22:14:20Z",
             "line 10 has a callback that waits until 2023-11-14T22:14:50Z",
             "line 9 has a callback that waits until 2023-11-14T22:14:50Z",
             "line 11 has a callback that waits until 2023-11-14T22:14:45Z"}));
  EXPECT_EQ(
      evening.application.unmatchedRequests(),
      (Texts{"request 7, payment \"7\" of 5: the outcome tampered needs an answer by gzip or pasteboard, and "
             "this one travels by url",
             "request 8, payment \"8\" of 5.01: no line fits", "request 13: the link has no return_url"}));
  evening.clock.stopAt(Date::fromSecondsSince1970(1'700'000'090));
  evening.application.deliverDue();
  EXPECT_EQ(evening.run(), "6 12 11 10 ") << "by their times, and the late one after the delayed answer";
  evening.application.setScript(std::nullopt);
  EXPECT_TRUE(evening.application.unusedLines().empty() && evening.application.unmatchedRequests().empty());
}

TEST(SandboxApplication, TakesFromAScriptWhatItSaysAndTheRestFromTheHost) {
  Evening evening;
  evening.application.setOutcome(Outcome::cancel);
  evening.application.setKeys(KeySpelling::second);
  evening.application.setScript(scriptOf(R"({"word":"canceled"}
{"outcome":"decline","keys":"fourth","answer":"url"})"));
  Texts results;
  for (const char* id : {"1", "2", "3"}) {
    evening.open(payment(id));
    results.push_back(evening.item("requestId") + evening.item("sessionId") + " " + evening.item("result"));
  }
  EXPECT_EQ(results, (Texts{"1none canceled", "none2 declined", "3none cancelled"}));
}

TEST(SandboxApplication, LetsItsClockSetAnotherScript) {
  struct MeddlingClock : Clock {
    [[nodiscard]] Date now() const override {
      application->setScript(std::nullopt);
      application->setRemembering(false);
      return {};
    }
    SandboxApplication* application = nullptr;
  } clock;
  Evening evening(&clock);
  clock.application = &evening.application;
  for (const char* line : {R"({"delay":1})", R"({"delivery":"late"})"}) {
    evening.application.setScript(scriptOf(line));
    evening.application.setRemembering(true);
    EXPECT_EQ(evening.open(payment("1")), "") << line;
    evening.application.setScript(scriptOf(line));
    evening.application.deliverDue();
    EXPECT_EQ(evening.run(), "");
  }
}

/// A clock whose failure ends what needs the time, and nothing else.
TEST(SandboxApplication, AnswersNothingThatNeedsAClockThatThrows) {
  struct : Clock {
    [[nodiscard]] Date now() const override { throw std::runtime_error("no time"); }
  } clock;
  Evening evening(&clock);
  evening.application.setScript(scriptOf(R"({"delay":1}
{"times":9})"));
  EXPECT_EQ(evening.open(payment("1")), "");
  EXPECT_EQ(evening.open(payment("2")), "2 ");
  evening.application.setRemembering(true);
  EXPECT_EQ(evening.open(payment("3")), "");
  evening.application.deliverDue();
  EXPECT_EQ(evening.application.unmatchedRequests().size(), 2U);
}

struct Step {
  URL link;
  /// The status, and the error message of a failure.
  std::string answer;
};

URL refund(const std::string& transactionId, const std::string& amount = "") {
  return linkOf((amount.empty() ? "full_refund?" : "refund?amount=" + amount + "&") +
                "request_id=R&transaction_id=" + transactionId +
                "&basic_token=t&account_id=a&environment=PROD");
}

URL capture(const std::string& transactionId, const std::string& amount) {
  return linkOf("capture?request_id=C&transaction_id=" + transactionId + "&amount=" + amount);
}

/// Opens the link, and returns what its answer says.
std::string answerTo(Evening& evening, const URL& link) {
  evening.open(link);
  const std::string message = evening.item("error_message");
  return evening.item("status") + (message == "none" ? "" : ": " + message);
}

TEST(SandboxApplication, CapturesAndRefundsWhatItRemembersOnceAndNoFurther) {
  Evening evening;
  EXPECT_EQ(answerTo(evening, refund("T")), "refunded") << "nothing is remembered unless it is asked to";
  evening.application.setRemembering(true);
  const auto idOf = [&](const URL& link) {
    evening.open(link);
    return evening.item("transaction_id");
  };
  const std::string sale = idOf(payment("1", "5", "sale&tip=1"));
  const std::string again = idOf(payment("1", "5", "sale&tip=1"));
  EXPECT_NE(sale, again) << "who pays twice, pays twice";
  const std::string declined = idOf(payment("2", "5.01"));
  const std::string authorized = idOf(payment("3", "50", "auth"));
  for (const auto& [link, answer] : {
           Step{refund("T"), "failed: The transaction is unknown"},
           Step{refund(declined), "failed: The transaction is unknown"},
           Step{capture("T", "1"), "failed: The transaction is unknown"},
           Step{refund(sale, "4"), "refunded"},
           Step{refund(sale), "failed: The transaction was refunded before"},
           Step{refund(sale, "2.01"), "declined: Declined by the issuer"},
           Step{refund(sale, "2.5"), "failed: The amount is higher than what is left to refund"},
           Step{refund(sale, "2"), "refunded"},
           Step{refund(again), "refunded"},
           Step{refund(again, "0.5"), "failed: The amount is higher than what is left to refund"},
           Step{refund(authorized), "failed: Nothing was paid by the transaction"},
           Step{capture(sale, "1"), "failed: The transaction is no authorization"},
           Step{capture(authorized, "50.5"), "failed: The amount is higher than authorized"},
           Step{capture(authorized, "40"), "captured"},
           Step{capture(authorized, "5"), "failed: The transaction was captured before"},
           Step{refund(authorized, "15"), "refunded"},
       }) {
    EXPECT_EQ(answerTo(evening, link), answer) << link.absoluteString();
  }
  // Sums that are beyond 38 digits are refused, not rounded.
  const std::string most = "340282366920938463463374607431768211455";
  const std::string longest = idOf(payment("5", most));
  EXPECT_EQ(answerTo(evening, refund(longest, "340282366920938463463374607431768211454")), "refunded");
  for (const std::string_view amount : {"2", "1.1", "340282366920938463463374607431768211455"}) {
    EXPECT_TRUE(answerTo(evening, refund(longest, std::string(amount))).starts_with("failed: The amount"));
  }
  EXPECT_EQ(answerTo(evening, refund(longest, "1")), "refunded");
  EXPECT_EQ(answerTo(evening, payment("6", most, "sale&tip=0.1")), "failed");
  EXPECT_EQ(evening.item("processor_message"), "The amounts have too many digits to be added exactly");
  const std::string refundable = idOf(payment("4", "50", "auth"));
  const std::string captured = idOf(capture(refundable, "50"));
  EXPECT_EQ(answerTo(evening, refund(captured)), "refunded") << "a refund may name the capture";
  EXPECT_EQ(answerTo(evening, refund(refundable)), "failed: The transaction was refunded before");
}

TEST(SandboxApplication, ListsWhatWasPaidWhateverBecameOfTheCallback) {
  Evening evening;
  evening.application.setRemembering(true);
  evening.application.setScript(scriptOf(R"({"delivery":"never"}
{"outcome":"no-status"}
{"outcome":"silent"}
{"outcome":"unknown-status"}
{"times":9})"));
  for (const char* id : {"a", "b", "c", "d"}) evening.open(payment(id, "5.5", "sale&tip=0.25"));
  evening.open(payment("e%22", "7", "auth"));
  evening.open(capture(evening.item("transaction_id"), "6"));
  evening.open(refund(evening.item("transaction_id"), "1"));
  evening.open(linkOf("getTransactionList?request_id=L"));
  const auto listed = TilvaneGo::parseTransactionListResult(*evening.last, "L", {})->response().value();
  EXPECT_EQ(listed.transactionCount(), 5);
  std::string lines;
  for (const auto& one : listed.transactions()) {
    lines += std::string(rawText(*one.type)) + " " + one.totalAmount().text() + " " +
             one.customId.value_or("-") + " " + std::string(rawText(*one.transactionDetails.status)) + "\n";
  }
  EXPECT_EQ(
      lines,
      "sale 5.75 a APPROVED\nsale 5.75 b APPROVED\nauthorization 7 e\" AUTHORIZED\ncapture 6 - CAPTURED\n"
      "refund 1 - REFUNDED\n");
  EXPECT_EQ(listed.transactions()[0].transactionDetails.timestamp, "2023-11-14T22:13:20Z");
  evening.application.setRemembering(true);
  evening.open(linkOf("getTransactionList?request_id=L"));
  EXPECT_EQ(evening.item("transactionList"), "[]") << "its memory starts empty";
}

}  // namespace
}  // namespace tilvanego::sandbox

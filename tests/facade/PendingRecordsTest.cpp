#include <tilvanego/platform/desktop/FilePendingStore.h>

#include "tests/facade/RestartedHost.h"
#include "tests/facade/Till.h"
#include "tests/support/TemporaryDirectory.h"

/// What happens to the records when the store fails, and when the host ends at a bad moment.
namespace tilvanego::test {
namespace {

TEST(PendingRecords, ReplaceAndRemoveNoTextThatWasNotRead) {
  struct Obstacle {
    std::string call;
    int times;
    std::string_view torn;
  };
  for (const auto& [call, times, torn] :
       {Obstacle{"read payment", 1, ""}, Obstacle{"read payment", always, ""},
        Obstacle{"setAside payment", 1, "{torn"}, Obstacle{"setAside payment", always, "{torn"}}) {
    for (const bool ends : {false, true}) {
      SCOPED_TRACE(call + (times == 1 ? " once" : " always") + (ends ? ", and it ends" : ""));
      HookedHost host(noRecords());
      startAndEnd(host);
      if (!torn.empty()) host.records->at("payment") = torn;
      const Records before = *host.records;
      Names warnings;
      host.hook = failing(call, times, warnings);
      host.sdk->startPayment(fullRequest<payment>(otherDone, "2"), nullptr);
      EXPECT_TRUE(host.sdk->isPaymentInProgress());
      if (ends) {
        EXPECT_TRUE(host.sdk->handleCallback(parsedURL("shop://other?status=approved")));
      }
      Names left;
      if (torn.empty()) left.emplace_back("payment 1");
      if (times == always) {
        EXPECT_EQ(*host.records, before);
        EXPECT_TRUE(hasOne(warnings, "can't be read. ")) << "told once";
        EXPECT_GE(warnings.size(), 2U) << "and that the payment isn't kept";
      } else {
        EXPECT_EQ(interrupted(host), left);
        if (!ends) left.emplace_back("payment 2");
        EXPECT_EQ(host.records->contains("payment.unreadable"), !torn.empty());
      }
      EXPECT_EQ(nextFinds(host), left);
    }
  }
}

TEST(PendingRecords, AreReadAtALaterUseAndThenWrittenWithThoseOfThisProcess) {
  HookedHost host(noRecords());
  startAndEnd(host);
  Names warnings;
  host.hook = failing("read payment", 3, warnings);
  host.sdk->startPayment(fullRequest<payment>(otherDone, "2"), nullptr);
  EXPECT_EQ(nextFinds(host), Names{"payment 1"}) << "2 isn't kept: nothing could be read";
  EXPECT_EQ(interrupted(host), Names{});
  EXPECT_EQ(interrupted(host), Names{"payment 1"});
  EXPECT_EQ(nextFinds(host), (Names{"payment 1", "payment 2"}));
}

// A process that lost the lock, or whose store is shared, finds its own records in another's text.
TEST(PendingRecords, ThatAnotherProcessWroteWithItsOwnAreNotTakenForInterrupted) {
  HookedHost host(noRecords());
  Names ends;
  Names warnings;
  host.sdk->startPayment(fullRequest<payment>(done, "1"), noting(ends, "1"));
  HookedHost(host.records).sdk->startPayment(fullRequest<payment>(otherDone, "2"), nullptr);
  host.hook = failing("keep payment", 1, warnings);
  EXPECT_TRUE(host.sdk->handleCallback(answer("status=approved&request_id=1")));
  EXPECT_EQ(ends, Names{"1 success+"});
  EXPECT_EQ(interrupted(host), Names{"payment 2"});
  EXPECT_EQ(nextFinds(host), Names{"payment 2"});
}

TEST(PendingRecords, AreNotTakenForAnothersIfTheStoreKeptThemAndFailed) {
  HookedHost host(noRecords());
  Names warnings;
  host.hook = failing("keep payment done", 1, warnings);
  host.sdk->startPayment(fullRequest<payment>(done, "1"), nullptr);
  EXPECT_EQ(interrupted(host), Names{});
  EXPECT_EQ(nextFinds(host), Names{"payment 1"});
}

TEST(PendingRecords, OfAnotherProcessThatCameBetweenTheReadingAndTheStartAreFound) {
  TemporaryDirectory temporary;
  HookedHost host;
  const auto process = [&] {
    Platform platform = host.platform();
    platform.pendingStore = std::make_unique<FilePendingStore>(temporary.path() / "kept");
    return detail::FacadeAccess::make(std::move(platform));
  };
  auto own = process();
  EXPECT_TRUE(own->interruptedOperations().empty()) << "there is no directory yet";
  process()->startPayment(fullRequest<payment>(done, "1"), nullptr);
  own->startPayment(fullRequest<payment>(otherDone, "2"), nullptr);
  EXPECT_EQ(own->interruptedOperations().size(), 1U);
  own.reset();
  EXPECT_EQ(process()->interruptedOperations().size(), 2U);
}

TEST(PendingRecords, ThatCannotBeWrittenPreventNoOthersAndAreNamed) {
  struct Case {
    std::string id;
    std::string_view reason;
  };
  for (const auto& [id, reason] :
       {Case{"B\xFF",
             "The payment \"B\uFFFD\" isn't kept for the next start of this host. It can't be written"},
        Case{std::string(std::size_t{4} << 20, 'B'),
             "BBB\" isn't kept for the next start of this host. The rec"}}) {
    HookedHost host(noRecords());
    Names warnings;
    startAndEnd(host, "1", otherDone);
    host.hook = failing("", 0, warnings);
    host.sdk->startPayment(fullRequest<payment>(done, id), nullptr);
    host.sdk->reboot(fullRequest<reboot>(parsedURL("shop://reboot"), "R"), nullptr);
    EXPECT_TRUE(host.sdk->isPaymentInProgress());
    EXPECT_TRUE(host.sdk->handleCallback(parsedURL("shop://other?status=approved&request_id=1")));
    EXPECT_TRUE(hasOne(warnings, reason));
    EXPECT_EQ(nextFinds(host), (Names{"reboot R", "payment 1+"}));
  }
  HookedHost host(noRecords());
  Names warnings;
  startAndEnd(host);
  host.hook = failing("", 0, warnings);
  EXPECT_TRUE(host.sdk->handleCallback(answer("request_id=1&x=" + std::string(std::size_t{4} << 20, 'x'))));
  EXPECT_TRUE(hasOne(warnings, "The result of the payment \"1\" isn't kept"));
  EXPECT_EQ(nextFinds(host), Names{"payment 1"});
  EXPECT_EQ(interrupted(host), Names{"payment 1+"});
}

TEST(PendingRecords, BeyondSixteenDropInterruptedOnesAlone) {
  HookedHost host(noRecords());
  const auto urlOf = [](int number) { return parsedURL("shop://done/" + std::to_string(number)); };
  for (int number = 0; number < 16; ++number) startAndEnd(host, std::to_string(number), urlOf(number));
  for (const int number : {0, 1}) {
    EXPECT_TRUE(host.sdk->handleCallback(
        parsedURL(urlOf(number).absoluteString() + "?status=approved&request_id=" + std::to_string(number))));
  }
  Names during;
  EXPECT_TRUE(host.sdk->resumePayment([&](const PaymentResult&) {
    host.sdk->startPayment(fullRequest<payment>(done, "new"), nullptr);
    during = nextFinds(host);
  }));
  host.loop.runPending();
  ASSERT_EQ(during.size(), 16U);
  EXPECT_EQ(during[0] + during[1] + during[2] + during[15], "payment 0+payment 1+payment 3payment new");

  // More of them in use than are kept.
  HookedHost full(noRecords());
  Names warnings;
  full.hook = failing("", 0, warnings);
  std::function<void(int)> nest = [&](int depth) {
    full.sdk->startPayment(fullRequest<payment>(done, std::to_string(depth)),
                           [&, depth](const PaymentResult&) {
                             if (depth < 17) return nest(depth + 1);
                             during = nextFinds(full);
                           });
    static_cast<void>(full.sdk->handleCallback(answer("status=approved")));
  };
  nest(0);
  EXPECT_EQ(during.size(), 16U);
  EXPECT_TRUE(
      hasOne(warnings, "The payment \"16\" isn't kept for the next start of this host. Too many others"));
  EXPECT_EQ(*full.records, Records{});
}

TEST(PendingRecords, ThatAreOverAndStillInTheStoreAreTold) {
  HookedHost host(noRecords());
  Names warnings;
  startAndEnd(host, "1", otherDone);
  host.sdk->startPayment(fullRequest<payment>(done, "2"), nullptr);
  host.hook = failing("keep payment", always, warnings);
  host.sdk->cancelPendingPayment();
  EXPECT_EQ(
      warnings,
      Names{"The pending store still holds a payment that is over. PendingStore::keep threw an exception."});
  EXPECT_EQ(interrupted(host), Names{"payment 1"});
}

TEST(PendingRecords, OfAnAwaitedOperationLiveUntilItsCoroutineHasComeBack) {
  struct Reuse {
    static Till play(TilvaneGo& sdk, HookedHost& host, Names& notes, Names& during) {
      auto task = sdk.startPayment(fullRequest<payment>(done, "1"), OperationWaiting::untilItEnds());
      const PaymentResult result = co_await std::move(task);
      notes.push_back(std::string(result.name()));
      during = nextFinds(host);
    }
  };
  for (const bool isDestroyed : {false, true}) {
    for (const bool hasCardData : {false, true}) {
      SCOPED_TRACE(std::string(isDestroyed ? "destroyed" : "") + (hasCardData ? " with card data" : ""));
      const Names kept{hasCardData ? "payment 1" : "payment 1+"};
      HookedHost host(noRecords());
      Names notes;
      Names during;
      std::optional<Till> till(Reuse::play(*host.sdk, host, notes, during));
      till->begin();
      const auto pending = host.sdk->pendingOperations();
      EXPECT_TRUE(host.sdk->handleCallback(
          answer(std::string("status=approved&request_id=1") + (hasCardData ? "&clear_pan=4111" : ""))));
      EXPECT_EQ(nextFinds(host), kept);
      EXPECT_EQ(host.sdk->pendingOperations(), pending) << "until it has the result";
      EXPECT_EQ(interrupted(host), Names{});
      if (isDestroyed) till.reset();
      const Names left = isDestroyed ? Names{"payment 1+"} : Names{};
      EXPECT_EQ(interrupted(host), left) << "nobody has the result";
      EXPECT_EQ(host.sdk->pendingOperations().size(), isDestroyed ? 0U : 1U);
      host.loop.runPending();
      EXPECT_EQ(notes, isDestroyed ? Names{} : Names{"success"});
      EXPECT_EQ(during, isDestroyed ? Names{} : kept);
      EXPECT_EQ(nextFinds(host), isDestroyed ? kept : Names{});
      EXPECT_EQ(interrupted(host), left);
      EXPECT_TRUE(host.sdk->pendingOperations().empty());
      EXPECT_EQ(host.sdk->resumePayment(noting(notes, "1")).has_value(), isDestroyed);
      host.loop.runPending();
      EXPECT_EQ(notes, Names{isDestroyed ? "1 success+" : "success"});
    }
  }
  // One that is refused while a completion runs has nothing to do with the record of that one.
  HookedHost host(noRecords());
  Names notes;
  Names during;
  std::optional<Till> till(Reuse::play(*host.sdk, host, notes, during));
  host.sdk->startPayment(fullRequest<payment>(done, "0"), [&](const PaymentResult&) {
    host.sdk->startPayment(fullRequest<payment>(otherDone, "2"), nullptr);
    till->begin();
  });
  EXPECT_TRUE(host.sdk->handleCallback(answer("status=approved&request_id=0")));
  EXPECT_EQ(nextFinds(host), Names{"payment 2"});
  host.loop.runPending();
  EXPECT_EQ(notes, Names{"failure"});
}

TEST(MemoryPendingStore, SetsAsideWithoutReplacing) {
  const auto records = std::make_shared<Records>();
  MemoryPendingStore store(records);
  for (const char* text : {"a", "b", "c"}) {
    EXPECT_TRUE(store.keep("x", text));
    EXPECT_TRUE(store.setAside("x"));
  }
  EXPECT_EQ(*records, (Records{{"x.unreadable", "a"}, {"x.unreadable-2", "b"}, {"x.unreadable-3", "c"}}));
}

}  // namespace
}  // namespace tilvanego::test

#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/SystemClock.h>
#include <tilvanego/platform/memory/ManualClock.h>
#include <tilvanego/platform/memory/MemoryApplication.h>
#include <tilvanego/platform/memory/MemoryPasteboard.h>
#include <tilvanego/platform/memory/ScriptedRandomSource.h>

#include "tests/platform/Dates.h"
#include "tests/support/Test.h"

using namespace tilvanego;
using tilvanego::test::seconds;

namespace {

URL link(const std::string& text) { return URL::parse(text).value(); }
}  // namespace

TEST(MemoryApplication, AnswersTheOldestRequestFirstAndEachOnce) {
  RunLoop loop;
  MemoryApplication application(loop);
  std::vector<std::string> answers;
  application.openURL(link("a:1"), [&](bool opened) {
    answers.push_back(opened ? "first yes" : "first no");
    application.openURL(link("a:3"), [](bool) {});
  });
  application.openURL(link("a:2"),
                      [&](bool opened) { answers.push_back(opened ? "second yes" : "second no"); });
  EXPECT_EQ(loop.runPending(), 0U);
  EXPECT_EQ(application.pendingCount(), 2U);
  EXPECT_TRUE(application.reportOldest(false));
  EXPECT_TRUE(application.reportOldest(true));
  EXPECT_TRUE(application.reportOldest(true)) << "an answer may open the next link";
  EXPECT_FALSE(application.reportOldest(true));
  EXPECT_EQ(answers, (std::vector<std::string>{"first no", "second yes"}));
  EXPECT_EQ(application.openedURLs(), (std::vector{link("a:1"), link("a:2"), link("a:3")}));
}

TEST(MemoryApplication, AnswersOfItsOwnComeThroughTheMainQueueAndLeaveEarlierRequestsWaiting) {
  RunLoop loop;
  MemoryApplication application(loop);
  std::vector<bool> answers;
  const auto answered = [&](bool opened) { answers.push_back(opened); };
  application.openURL(link("a:1"), answered);
  application.reportAutomatically(true);
  application.openURL(link("a:2"), answered);
  EXPECT_TRUE(answers.empty());
  loop.runPending();
  EXPECT_EQ(answers, std::vector{true});
  EXPECT_EQ(application.pendingCount(), 1U);
  application.reportAutomatically(std::nullopt);
  application.openURL(link("a:3"), answered);
  loop.runPending();
  EXPECT_EQ(application.pendingCount(), 2U);
}

TEST(MemoryApplication, TheHookSeesEachLinkAndMayOpenAnother) {
  RunLoop loop;
  MemoryApplication application(loop);
  std::vector<std::string> seen;
  application.setOnOpen([&](const URL& url) {
    seen.push_back(url.absoluteString());
    if (seen.size() < 100) application.openURL(link("a:" + std::to_string(seen.size())), [](bool) {});
    EXPECT_EQ(url.absoluteString().substr(0, 2), "a:") << "the link lives through the call";
  });
  application.openURL(link("a:0"), [](bool) {});
  EXPECT_EQ(seen.size(), 100U);
  EXPECT_EQ(seen[99], "a:99");
}

TEST(PasteboardString, IsTheFirstItemsTextUnderTheFirstTextTypeThatHasOne) {
  const Bytes bytes{'b'};
  for (const auto& [items, string] :
       std::vector<std::pair<std::vector<PasteboardItem>, std::optional<std::string>>>{
           {{}, std::nullopt},
           {{{}}, std::nullopt},
           {{{{"public.plain-text", "p"}, {"public.text", "t"}, {"public.utf8-plain-text", "u"}}}, "u"},
           {{{{"public.plain-text", "p"}, {"public.text", "t"}}}, "t"},
           {{{{"public.plain-text", "p"}}}, "p"},
           {{{{"public.utf8-plain-text", bytes}, {"public.plain-text", "p"}}}, "p"},
           {{{{"public.utf8-plain-text", bytes}}}, std::nullopt},
           {{{{"public.utf8-plain-text", ""}, {"public.text", "t"}}}, ""},
           {{{{"public.url", "x"}}, {{"public.utf8-plain-text", "second item"}}}, std::nullopt},
       }) {
    EXPECT_EQ(pasteboardString(items), string);
  }
}

TEST(MemoryPasteboard, AnotherApplicationsTextOutranksTheItemsUntilTheNextWrite) {
  MemoryPasteboard pasteboard(std::make_shared<ManualClock>(seconds(0)));
  EXPECT_TRUE(pasteboard.setItems({}, {.localOnly = true, .expirationDate = seconds(9)}));
  pasteboard.place({{{"public.text", "theirs"}}}, "said otherwise");
  EXPECT_EQ(pasteboard.string(), "said otherwise");
  EXPECT_EQ(pasteboard.contents().options, PasteboardOptions{});
  EXPECT_TRUE(pasteboard.setItems({}));
  EXPECT_EQ(pasteboard.string(), std::nullopt);
}

TEST(ManualClock, StandsStillUntilItFollowsTheSystemAgain) {
  ManualClock clock(seconds(5));
  EXPECT_EQ(clock.now(), seconds(5));
  clock.stopAt(seconds(-1.5));
  EXPECT_EQ(clock.now(), seconds(-1.5));
  clock.followSystem();
  const auto before = SystemClock().now();
  const auto now = clock.now();
  EXPECT_TRUE(before <= now && now <= SystemClock().now());
}

TEST(ScriptedRandomSource, GivesItsBytesInOrderAndThenFailsWithoutTouchingTheRest) {
  ScriptedRandomSource source({1, 2, 3});
  std::array<std::uint8_t, 2> bytes{};
  EXPECT_TRUE(source.fill(bytes));
  EXPECT_EQ(bytes, (std::array<std::uint8_t, 2>{1, 2}));
  EXPECT_FALSE(source.fill(bytes));
  EXPECT_TRUE(source.fill(std::span(bytes).first(1)));
  EXPECT_EQ(bytes[0], 3);
  ScriptedRandomSource taken = std::move(source);
  EXPECT_FALSE(source.fill(bytes)) << "one that was moved from has no bytes left";
}

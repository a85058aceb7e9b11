#include <new>

#include <tilvanego/json/JSONValue.h>

#include "tests/http_client/TestClient.h"
#include "tests/support/AllocationCount.h"
#include "tests/support/TemporaryDirectory.h"

namespace tilvanego::test {
namespace {

enum class Step { send, answer };

/// Sends with so many failing allocations in a step. False if the step needs no more allocations than pass.
template <typename T>
bool endsOnce(const FakeResponse& answer, Step failing, std::size_t passed, std::size_t inARow,
              bool& failedInBody) {
  TestClient client({answer});
  client.configuration->setInterceptor(std::make_shared<DefaultOpenAPIInterceptor>());
  const auto builder = client.builder<T>();
  int completions = 0;
  bool isOutOfMemory = false;
  bool hasThrown = false;
  bool hasCome = false;
  const auto run = [&](Step step, const auto& action) {
    if (step != failing) return action();
    failAllocation(passed + 1, inARow);
    try {
      action();
    } catch (const std::bad_alloc&) {
      hasThrown = true;
    }
    hasCome = failAllocation(0) == 0;
  };
  run(Step::send, [&] {
    builder.execute([&](const auto& result) {
      ++completions;
      isOutOfMemory = !result;
      if (result) return;
      EXPECT_STRNE(result.error().what(), "");
      failedInBody |= result.error().code() == 200;
      if (!std::is_same_v<T, std::string> || result.error().code() != 200) return;
      EXPECT_NE(result.error().underlyingFailure().template as<ExceptionFailure>(), nullptr);
    });
  });
  run(Step::answer, [&] { client.session.session->deliver(); });
  client.finish();
  // What throws out of the send or the delivery left nothing behind: nothing was sent.
  const bool isUnsent = hasThrown && client.session.session->requests().empty();
  EXPECT_EQ(completions, isUnsent ? 0 : 1) << passed;
  EXPECT_EQ(hasThrown, isUnsent) << passed;
  EXPECT_TRUE(hasCome || isOutOfMemory == (answer.error || !answer.response)) << passed;
  return hasCome;
}

template <typename T>
void endsOnceWhateverAllocationFails(const FakeResponse& answer) {
  for (const auto& [failing, inARow] : {std::pair(Step::send, 1),
                                        {Step::send, 2},
                                        {Step::send, 1000},
                                        {Step::answer, 1},
                                        {Step::answer, 1000}}) {
    const auto failures = static_cast<std::size_t>(inARow);
    std::size_t passed = 0;
    bool failedInBody = false;
    while (endsOnce<T>(answer, failing, passed, failures, failedInBody) && !testing::Test::HasFailure())
      ++passed;
    EXPECT_TRUE(passed > 3 || failing == Step::answer);
    constexpr bool isText = std::is_same_v<T, std::string>;
    EXPECT_TRUE(failedInBody || failing == Step::send || !answer.response || !isText);
  }
}

TEST(OutOfMemory, IsAFailureLikeAnyOtherAtEachAllocation) {
  const TemporaryDirectory directory;
  setenv("XDG_CACHE_HOME", directory.path().c_str(), 1);
  testing::internal::CaptureStderr();  // hooks that had no memory are dropped, and named
  const HTTPHeaders headers{{"Content-Type", "application/json; charset=utf-8; of-more-than-a-few=letters"},
                            {"Content-Disposition", "attachment; filename=a-name-of-some-length.json"}};
  const FakeResponse json =
      httpResponse(200, Data(R"({"a name of some length":"a text of some length"})"), headers);
  endsOnceWhateverAllocationFails<std::string>(json);
  endsOnceWhateverAllocationFails<std::map<std::string, std::string>>(json);
  endsOnceWhateverAllocationFails<JSONValue>(json);
  endsOnceWhateverAllocationFails<Bytes>(json);
  endsOnceWhateverAllocationFails<Empty>(json);
  endsOnceWhateverAllocationFails<URL>(json);
  endsOnceWhateverAllocationFails<std::string>({Data("part"), {}, TestFailure{std::string(40, 'x')}});
  endsOnceWhateverAllocationFails<std::string>({});
  testing::internal::GetCapturedStderr();
  unsetenv("XDG_CACHE_HOME");
}

}  // namespace
}  // namespace tilvanego::test

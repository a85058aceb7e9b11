#include <gtest/gtest.h>
#include <tilvanego/http_client/DecodableRequestBuilderError.h>
#include <tilvanego/http_client/DownloadException.h>
#include <tilvanego/json/JSONValue.h>

#include <array>
#include <map>

#include "tests/http_client/TestClient.h"

namespace tilvanego::test {
namespace {

using Events = std::vector<std::string>;

struct Terminal {
  std::string name;
  std::optional<std::int64_t> number;
  static constexpr auto jsonFields() {
    return json::fields(json::field("name", &Terminal::name), json::field("number", &Terminal::number));
  }
  bool operator==(const Terminal&) const = default;
};

const Data someJSON(R"({"name":"till","number":7})");

struct FailureRow {
  std::string name;
  std::string url;
  FakeAnswer answer;
  bool refused = false;
  int code = 0;
  std::string cause;
  std::string completedOn;
  bool hasData = false;
  bool hasResponse = false;
};

// What the table of codes in docs/http-client.md promises.
TEST(Execution, EachFailureHasItsCodeCauseAndThread) {
  const std::string good = "https://host.example/a";
  const std::array<FailureRow, 9> rows{{
      {"URL text",
       "https://ho st/",
       {},
       false,
       415,
       DownloadException(DownloadException::requestMissingURL).description(),
       "main"},
      {"refusal", good, {}, true, 415, "refused", "main"},
      {"transport",
       good,
       {Data("part"), nullptr, TestFailure{"no connection"}},
       false,
       -1,
       "no connection",
       "main",
       true},
      {"no response",
       good,
       {Data("x"), nullptr, {}},
       false,
       -2,
       "the answer is no HTTP response",
       "main",
       true},
      {"another protocol",
       good,
       {Data("x"), std::make_shared<URLResponse>(std::nullopt), {}},
       false,
       -2,
       "the answer is no HTTP response",
       "main",
       true,
       true},
      {"status 404", good, httpAnswer(404, Data("lost")), false, 404,
       "the HTTP status says that the request didn't succeed", "main", true, true},
      {"status 300", good, httpAnswer(300, Data("x")), false, 300,
       "the HTTP status says that the request didn't succeed", "main", true, true},
      {"empty body", good, httpAnswer(204), false, 204, "the answer has no body", "session", false, true},
      {"bad JSON", good, httpAnswer(200, Data("{")), false, 200, "", "session", true, true},
  }};
  for (const FailureRow& row : rows) {
    SCOPED_TRACE(row.name);
    TestClient client({row.answer});
    if (row.refused) {
      client.interceptor->onIntercept = [](const URLRequest&, auto completion) {
        completion(std::unexpected(Failure(TestFailure{"refused"})));
      };
    }
    const auto result = client.run(client.builder<Terminal>({.method = "GET", .URLString = row.url}));
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code(), row.code);
    EXPECT_TRUE(result.error().underlyingFailure().description().starts_with(row.cause));
    EXPECT_EQ(result.error().data().has_value(), row.hasData);
    EXPECT_EQ(result.error().response() != nullptr, row.hasResponse);
    EXPECT_EQ(client.interceptor->events.back(), row.completedOn + ": completion");
  }
}

}  // namespace
}  // namespace tilvanego::test

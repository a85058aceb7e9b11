#include <tilvanego/http_client/encodings/DownloadException.h>
#include <tilvanego/http_client/encodings/FormURLEncoding.h>
#include <tilvanego/http_client/encodings/URLEncoding.h>

#include "tests/http_client/encodings/Requests.h"
#include "tests/support/Test.h"
#include "tests/support/VectorFile.h"

namespace tilvanego {
namespace {

using namespace test;

struct URLCase {
  std::string_view url;
  std::optional<Parameters> parameters;
  std::string_view encoded;
};

TEST(URLEncoding, AnyParameterReplacesTheQueryAndNoneKeepIt) {
  const auto nothing = AnyValue::array({});
  const URLCase cases[] = {
      {"http://h/p?old=1#f", std::nullopt, "http://h/p?old=1#f"},
      {"http://h/p?old=1#f", Parameters{}, "http://h/p?old=1#f"},
      {"http://h/p?old=1#f", Parameters{{"b", 1}, {"a", true}}, "http://h/p?a=true&b=1#f"},
      {"http://h/p", Parameters{{"b", AnyValue::array({2, std::nullopt, "x y"})}, {"a", 1.5}},
       "http://h/p?a=1.5&b=2&b=x%20y"},
      // Each name and value is escaped once, "%" included.
      {"http://h/p", Parameters{{"a&b=", "50%20&+"}}, "http://h/p?a%26b%3D=50%2520%26+"},
      // Nothing to send is no query, rather than an empty one.
      {"http://h/p?old=1#f", Parameters{{"a", nothing}}, "http://h/p#f"},
      {"http://h/p", Parameters{{"a", nothing}}, "http://h/p"},
      {"http://h/p?#f", Parameters{{"a", nothing}}, "http://h/p#f"},
      {"http://h/p?x", Parameters{{"a", nothing}, {"b", ""}}, "http://h/p?b="},
      {"relative?x", Parameters{{"", "v"}}, "relative?=v"},
  };
  for (const URLCase& one : cases) {
    URLRequest request;
    request.url = urlOf(one.url);
    const auto encoded = URLEncoding().encode(request, one.parameters);
    ASSERT_TRUE(encoded) << one.encoded;
    EXPECT_EQ(encoded->url->absoluteString(), one.encoded);
    EXPECT_EQ(encoded->httpBody, std::nullopt);
    EXPECT_TRUE(encoded->headers.empty());
  }
}

TEST(URLEncoding, ItemsAreEscapedAsThePlatformEscapesThem) {
  for (const VectorValue& one : vectorCases("query-encoding.json", 150)) {
    URLRequest request;
    request.url = urlOf("x://y/z");
    const auto asValue = URLEncoding().encode(request, Parameters{{"k", one["value"].text()}});
    EXPECT_EQ(asValue->url->absoluteString(), one["link"].text());
    const auto asName = URLEncoding().encode(request, Parameters{{one["value"].text(), "v"}});
    EXPECT_EQ(asName->url->absoluteString(), one["name"].text());
  }
}

TEST(URLEncoding, WithoutAURLThereIsNothingToPutParametersInto) {
  const URLEncoding encoding;
  EXPECT_TRUE(encoding.encode(URLRequest(), std::nullopt));
  for (const Parameters& parameters : {Parameters{}, Parameters{{"a", 1}}}) {
    const auto encoded = encoding.encode(URLRequest(), parameters);
    ASSERT_FALSE(encoded);
    const auto* cause = encoded.error().as<DownloadException>();
    ASSERT_NE(cause, nullptr);
    EXPECT_EQ(cause->value(), DownloadException::requestMissingURL);
  }
}

TEST(FormURLEncoding, ItemsGoIntoTheBodyInTheOrderOfTheirNames) {
  struct Case {
    std::optional<Parameters> parameters;
    std::optional<std::string> body;
  };
  const Case cases[] = {
      {Parameters{{"a", "b c"}}, "a=b%20c"},
      {Parameters{{"b", AnyValue::array({1, std::nullopt, 2})}, {"a", false}}, "a=false&b=1&b=2"},
      {Parameters{{"a b", "+&="}, {"", ""}}, "=&a%20b=%2B%26%3D"},
      {Parameters{{"a", std::string("\0\xFF", 2)}}, "a=%00%FF"},
      {Parameters{{"a", AnyValue::array({})}}, std::nullopt},
      {Parameters{}, std::nullopt},
      {std::nullopt, std::nullopt},
  };
  for (const Case& one : cases) {
    URLRequest request = postRequest();
    request.httpBody = Data("what was there");
    const auto encoded = FormURLEncoding().encode(request, one.parameters);
    ASSERT_TRUE(encoded);
    EXPECT_EQ(bodyOf(*encoded), one.body);
    EXPECT_EQ(contentTypeOf(*encoded), "application/x-www-form-urlencoded");
    EXPECT_EQ(encoded->url, request.url);
  }
}

TEST(FormURLEncoding, AllButASCIILettersAndDigitsIsEscaped) {
  for (const VectorValue& one : vectorCases("form-escaping.json", 9)) {
    const std::string text = one["text"].text();
    const std::string escaped = one["escaped"].text();
    const auto encoded = FormURLEncoding().encode(postRequest(), Parameters{{text, text}});
    EXPECT_EQ(bodyOf(*encoded), escaped + "=" + escaped);
  }
}

TEST(FormURLEncoding, AContentTypeThatIsThereStays) {
  URLRequest request = postRequest();
  request.headers.setValue("content-type", "application/x-www-form-urlencoded; charset=utf-8");
  const auto encoded = FormURLEncoding().encode(request, Parameters{{"a", 1}});
  EXPECT_EQ(contentTypeOf(*encoded), "application/x-www-form-urlencoded; charset=utf-8");
  EXPECT_EQ(encoded->headers.fields().size(), 1U);
}

}  // namespace
}  // namespace tilvanego

// What parameters become in a request: its query, its body, its content type.
#include <fstream>
#include <thread>

#include <sys/stat.h>

#include <tilvanego/http_client/encodings/DownloadException.h>
#include <tilvanego/http_client/encodings/FileReading.h>
#include <tilvanego/http_client/encodings/FormDataEncoding.h>
#include <tilvanego/http_client/encodings/FormURLEncoding.h>
#include <tilvanego/http_client/encodings/JSONDataEncoding.h>
#include <tilvanego/http_client/encodings/OctetStreamEncoding.h>
#include <tilvanego/http_client/encodings/URLEncoding.h>
#include <tilvanego/values/URLComponents.h>
#include <tilvanego/values/UUID.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/VectorFile.h"

namespace tilvanego {
namespace {

using namespace test;

URL urlOf(std::string_view text) { return URL::parse(text).value(); }

URL fileURL(const std::filesystem::path& path) {
  return URLComponents{"file", "", path.string(), std::nullopt}.url().value();
}

/// Writes the file, and gives its URL.
URL written(const std::filesystem::path& path, std::string_view content) {
  std::ofstream file(path, std::ios::binary);
  file << content;
  if (!file.flush()) throw std::runtime_error("can't write " + path.string());
  return fileURL(path);
}

URLRequest postRequest() {
  URLRequest request;
  request.url = urlOf("https://host/path");
  request.httpMethod = "POST";
  return request;
}

std::optional<std::string> bodyOf(const URLRequest& request) {
  if (!request.httpBody) return std::nullopt;
  return std::string(request.httpBody->text());
}

std::string contentTypeOf(const URLRequest& request) {
  return std::string(request.headers.value("Content-Type").value_or("none"));
}

/// The failure of an encoding, in one line; "none" if it didn't fail.
std::string failureOf(const std::expected<URLRequest, Failure>& encoded) {
  return encoded ? "none" : encoded.error().description();
}

std::string boundaryOf(const URLRequest& request) {
  const std::string type = contentTypeOf(request);
  const std::string before = "multipart/form-data; boundary=";
  return type.starts_with(before) ? type.substr(before.size()) : "no boundary in " + type;
}

/// The body with X for its boundary.
std::string bodyWithX(const URLRequest& request) {
  const std::string boundary = boundaryOf(request);
  std::string body = bodyOf(request).value_or("no body");
  for (std::size_t at = 0; (at = body.find(boundary, at)) != std::string::npos;) {
    body.replace(at, boundary.size(), "X");
  }
  return body;
}

std::string encodedWithX(const Parameters& parameters,
                         const FormDataEncoding& encoding = FormDataEncoding()) {
  const auto encoded = encoding.encode(postRequest(), parameters);
  return encoded ? bodyWithX(*encoded) : failureOf(encoded);
}

std::string valuePart(std::string_view name, std::string_view content) {
  return "--X\r\nContent-Disposition: form-data; name=\"" + std::string(name) + "\"\r\n\r\n" +
         std::string(content);
}

std::string filePart(std::string_view name, std::string_view file, std::string_view type,
                     std::string_view content) {
  return "--X\r\nContent-Disposition: form-data; name=\"" + std::string(name) + "\"; filename=\"" +
         std::string(file) + "\"\r\nContent-Type: " + std::string(type) + "\r\n\r\n" + std::string(content);
}

const std::string end = "\r\n--X--\r\n";

TEST(ParameterEncoding, WithoutAParameterOfItsOwnTheRequestStaysAsItIs) {
  const FormDataEncoding form;
  const OctetStreamEncoding octets;
  const JSONDataEncoding json;
  URLRequest request = postRequest();
  request.headers.setValue("Content-Type", "some/thing");
  request.httpBody = Data("before");
  const Data bytes("{}");
  using Row = std::pair<const ParameterEncoding*, std::optional<Parameters>>;
  for (const auto& [encoding, parameters] :
       {Row{&form, std::nullopt}, Row{&form, Parameters{}}, Row{&octets, std::nullopt},
        Row{&octets, Parameters{{"Body", "x"}}}, Row{&json, std::nullopt},
        Row{&json, Parameters{{"other", bytes}}}, Row{&json, Parameters{{"jsonData", "{}"}}},
        Row{&json, Parameters{{"jsonData", Data()}}}}) {
    EXPECT_EQ(encoding->encode(request, parameters).value(), request);
  }
}

TEST(JSONDataEncoding, CarriesBytesUnderTheirName) {
  const auto parameters = JSONDataEncoding::encodingParameters(Data("1"));
  EXPECT_EQ(parameters, (Parameters{{"jsonData", Data("1")}}));
  EXPECT_EQ(bodyOf(*JSONDataEncoding().encode(postRequest(), parameters)), "1");
  EXPECT_EQ(JSONDataEncoding::encodingParameters(std::nullopt), std::nullopt);
  EXPECT_EQ(JSONDataEncoding::encodingParameters(Data()), std::nullopt);
}

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

TEST(URLEncoding, WithoutAURLThereIsNothingToPutParametersInto) {
  const URLEncoding encoding;
  EXPECT_TRUE(encoding.encode(URLRequest(), std::nullopt));
  const Parameters noItems{{"a", AnyValue::array({})}};
  struct Case {
    URLRequest request;
    Parameters parameters;
  };
  const Case cases[] = {{{}, {}}, {{}, {{"a", 1}}}, {{.url = URL::parse("?old").value()}, noItems}};
  for (const auto& [request, parameters] : cases) {
    const auto encoded = encoding.encode(request, parameters);
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

TEST(OctetStream, BytesAndFilesGoOutAsTheyAre) {
  const TemporaryDirectory directory;
  const std::string content("\0\r\n\xFF", 4);
  // Larger than the buffer that a pipe or a file of unknown size is read into first.
  const std::string large(300'001, 'x');
  const Parameters cases[] = {
      {{"body", Data(content)}, {"other", 1}},
      {{"body", written(directory.path() / "a file.bin", content)}},
      {{"body", urlOf("FILE://LocalHost" + (directory.path() / "a%20file.bin").string())}},
  };
  for (const Parameters& parameters : cases) {
    const auto encoded = OctetStreamEncoding().encode(postRequest(), parameters);
    EXPECT_EQ(failureOf(encoded), "none");
    EXPECT_EQ(bodyOf(*encoded), content);
    EXPECT_EQ(contentTypeOf(*encoded), "application/octet-stream");
  }
  for (const std::string& whole : {large, std::string()}) {
    const URL file = written(directory.path() / "other", whole);
    EXPECT_EQ(bodyOf(*OctetStreamEncoding().encode(postRequest(), Parameters{{"body", file}})), whole);
  }
}

TEST(OctetStream, AFileOfUnknownSizeIsReadToItsEnd) {
  const TemporaryDirectory directory;
  const auto pipe = directory.path() / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const std::string content(70'000, 'p');
  std::thread writer([&] { std::ofstream(pipe) << content; });
  const auto encoded = OctetStreamEncoding().encode(postRequest(), Parameters{{"body", fileURL(pipe)}});
  writer.join();
  EXPECT_EQ(bodyOf(*encoded), content);
  // Has a size of 0 by its status.
  const auto process =
      OctetStreamEncoding().encode(postRequest(), Parameters{{"body", fileURL("/proc/self/stat")}});
  EXPECT_FALSE(bodyOf(*process)->empty());
}

TEST(OctetStream, WhatCannotBeReadIsAFailureThatNamesTheFile) {
  const TemporaryDirectory directory;
  const std::string root = directory.path().string();
  const std::pair<URL, std::string> cases[] = {
      {fileURL(root + "/missing"), "can't read " + root + "/missing: No such file or directory"},
      {fileURL(root), "can't read " + root + ": Is a directory"},
      {fileURL("/dev/zero"), "can't read /dev/zero: it is no file and no pipe"},
      {urlOf("https://host/file"), "can't read https://host/file: it is no file URL"},
      {urlOf("file"), "can't read file: it is no file URL"},
      {urlOf("file://other/f"), "can't read file://other/f: its URL names another host"},
      {urlOf("file:///a%00b"), "can't read file:///a%00b: its path holds a NUL byte"},
  };
  for (const auto& [url, failure] : cases) {
    const auto encoded = OctetStreamEncoding().encode(postRequest(), Parameters{{"body", url}});
    EXPECT_EQ(failureOf(encoded), failure);
    EXPECT_NE(encoded.error().as<FileReadError>(), nullptr);
  }
}

TEST(FormData, PartsGoInTheOrderOfTheirNamesAndElements) {
  const UUID uuid = UUID::parse("01234567-89ab-cdef-0123-456789abcdef").value();
  const std::string bytes("\0\r\n--X\xFF", 7);
  const std::pair<Parameters, std::string> cases[] = {
      {{{"a", "1"}}, "--X\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n--X--\r\n"},
      {{{"b", "2"}, {"a", "1"}}, valuePart("a", "1") + "\r\n" + valuePart("b", "2") + end},
      {{{"a", AnyValue::array({"x", 2, true})}},
       valuePart("a", "x") + "\r\n" + valuePart("a", "2") + "\r\n" + valuePart("a", "1") + end},
      {{{"a", 1.0}, {"b", 1.5}, {"c", -7}, {"d", Decimal::parse("12.50").value()}, {"e", false}},
       valuePart("a", "1") + "\r\n" + valuePart("b", "1.5") + "\r\n" + valuePart("c", "-7") + "\r\n" +
           valuePart("d", "12.5") + "\r\n" + valuePart("e", "0") + end},
      {{{"a", Data(bytes)}}, valuePart("a", bytes) + end},
      {{{"a", uuid}}, valuePart("a", "01234567-89AB-CDEF-0123-456789ABCDEF") + end},
      {{{"a", ""}}, valuePart("a", "") + end},
      // An empty array adds no part, and the body ends all the same.
      {{{"a", AnyValue::array({})}}, end},
      {{{"a", AnyValue::array({})}, {"b", "2"}}, valuePart("b", "2") + end},
      // A text that is no UTF-8 has no bytes to send.
      {{{"a", "\xFF"}}, end},
      {{{"a", "\xFF"}, {"b", "\xC3\xA9"}}, valuePart("b", "\xC3\xA9") + end},
      // Nothing in a name is escaped.
      {{{"say \"hi\"; x=\\\xC3\xA9\t", "1"}}, valuePart("say \"hi\"; x=\\\xC3\xA9\t", "1") + end},
  };
  for (const auto& [parameters, body] : cases) EXPECT_EQ(encodedWithX(parameters), body);
}

TEST(FormData, PartsFollowABodyThatIsThereWithABoundaryOfTheirOwn) {
  URLRequest request = postRequest();
  request.headers.setValue("content-type", "multipart/form-data; boundary=mine");
  request.httpBody = Data("before");
  const auto one = FormDataEncoding().encode(request, Parameters{{"a", "1"}});
  const auto other = FormDataEncoding().encode(request, Parameters{{"a", "1"}});
  EXPECT_EQ(bodyWithX(*one), "before\r\n" + valuePart("a", "1") + end);
  EXPECT_NE(boundaryOf(*one), boundaryOf(*other));
  ASSERT_TRUE(boundaryOf(*one).starts_with("Boundary-"));
  const std::string uuid = boundaryOf(*one).substr(9);
  EXPECT_EQ(UUID::parse(uuid).value().text(), uuid);
  EXPECT_EQ(one->headers.fields().size(), 1U);
}

TEST(FormData, FilesHaveTheirNameAndType) {
  const TemporaryDirectory directory;
  const auto& root = directory.path();
  const std::string content("%PDF\0\r\n", 7);
  const std::string large(200'000, 'l');
  const std::pair<AnyValue, std::string> cases[] = {
      {written(root / "receipt.PDF", content), filePart("f", "receipt.PDF", "application/pdf", content)},
      {written(root / "a \"b\" %41.txt", ""), filePart("f", "a \"b\" %41.txt", "text/plain", "")},
      {written(root / "notes.unheard-of", "x"),
       filePart("f", "notes.unheard-of", "application/octet-stream", "x")},
      {written(root / "plain", "x"), filePart("f", "plain", "application/octet-stream", "x")},
      {written(root / ".pdf", "x"), filePart("f", ".pdf", "application/octet-stream", "x")},
      {written(root / "point.", "x"), filePart("f", "point.", "application/octet-stream", "x")},
      {written(root / "two.tar.gz", large), filePart("f", "two.tar.gz", "application/gzip", large)},
      {AnyValue::array({written(root / "1.png", "1"), "two", written(root / "3.csv", "3")}),
       filePart("f", "1.png", "image/png", "1") + "\r\n" + valuePart("f", "two") + "\r\n" +
           filePart("f", "3.csv", "text/csv", "3")},
  };
  for (const auto& [value, parts] : cases) EXPECT_EQ(encodedWithX({{"f", value}}), parts + end);
}

TEST(FormData, TheCallbackDecidesOnTheTypeFirst) {
  const TemporaryDirectory directory;
  const URL pdf = written(directory.path() / "a.pdf", "1");
  const URL text = written(directory.path() / "b.txt", "2");
  const FormDataEncoding encoding([&](const URL& url) -> std::optional<std::string> {
    if (url == pdf) return "application/x-receipt; version=2";
    return std::nullopt;
  });
  EXPECT_EQ(encodedWithX({{"f", AnyValue::array({pdf, text})}}, encoding),
            filePart("f", "a.pdf", "application/x-receipt; version=2", "1") + "\r\n" +
                filePart("f", "b.txt", "text/plain", "2") + end);
}

TEST(FormData, NoNameMayForgeAPart) {
  const TemporaryDirectory directory;
  const URL file = written(directory.path() / "a", "1");
  const URL forging = written(directory.path() / "b\r\n\r\nforged", "1");
  const FormDataEncoding forgingType([](const URL&) { return "text/plain\r\nX-Forged: 1"; });
  for (const std::string& name : {std::string("a\r"), std::string("a\n--X"), std::string("a\0b", 3)}) {
    EXPECT_EQ(encodedWithX({{name, "1"}}), "a part's name holds a line end or a NUL");
    EXPECT_EQ(encodedWithX({{name, file}}), "a part's name holds a line end or a NUL");
  }
  EXPECT_EQ(encodedWithX({{"f", forging}}), "the name of the file for part \"f\" holds a line end or a NUL");
  EXPECT_EQ(encodedWithX({{"f", file}}, forgingType),
            "the content type of the file for part \"f\" holds a line end or a NUL");
}

TEST(FormData, AFileThatCannotBeReadFailsTheWhole) {
  const auto encoded = FormDataEncoding().encode(
      postRequest(), Parameters{{"a", "1"}, {"f", AnyValue::array({fileURL("/no/file")})}});
  EXPECT_EQ(failureOf(encoded), "can't read /no/file: No such file or directory");
  EXPECT_NE(encoded.error().as<FileReadError>(), nullptr);
}

TEST(ParameterEncodingDeathTest, AValueWithoutAFormIsAFaultOfTheProgram) {
  const auto asBody = [](AnyValue body) {
    (void)OctetStreamEncoding().encode(postRequest(), Parameters{{"body", std::move(body)}});
  };
  EXPECT_DEATH(asBody("text"), "^URLSessionImplementations: Fatal error: Unprocessable body text\n");
  EXPECT_DEATH(asBody(AnyValue::array({1, std::nullopt})), "Unprocessable body \\[1, nil\\]\n");
  EXPECT_DEATH(
      encodedWithX({{"when", Date::fromSecondsSince1970(0)}}),
      "^URLSessionImplementations: Fatal error: Unprocessable value 1970-01-01 00:00:00 \\+0000 with key "
      "when\n");
  EXPECT_DEATH(encodedWithX({{"a", AnyValue::array({AnyValue::array({1})})}}),
               "Unprocessable value \\[1\\] with key a\n");
  EXPECT_DEATH(encodedWithX({{"a", AnyValue::array({std::nullopt})}}),
               "Unprocessable value nil with key a\n");
}

}  // namespace
}  // namespace tilvanego

#include <tilvanego/http_client/encodings/FileReading.h>
#include <tilvanego/http_client/encodings/FormDataEncoding.h>
#include <tilvanego/values/UUID.h>

#include "tests/http_client/encodings/Requests.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Test.h"

namespace tilvanego {
namespace {

using namespace test;

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

TEST(FormData, OneTextIsFiveLines) {
  EXPECT_EQ(encodedWithX({{"a", "1"}}),
            "--X\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n--X--\r\n");
}

TEST(FormData, PartsGoInTheOrderOfTheirNamesAndElements) {
  const UUID uuid = UUID::parse("01234567-89ab-cdef-0123-456789abcdef").value();
  const std::string bytes("\0\r\n--X\xFF", 7);
  const std::pair<Parameters, std::string> cases[] = {
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

TEST(FormData, WithoutParametersTheRequestStaysAsItIs) {
  URLRequest request = postRequest();
  request.headers.setValue("Content-Type", "multipart/form-data");
  request.httpBody = Data("what was there");
  EXPECT_EQ(FormDataEncoding().encode(request, std::nullopt).value(), request);
  EXPECT_EQ(FormDataEncoding().encode(request, Parameters{}).value(), request);
}

TEST(FormData, PartsFollowABodyThatIsThere) {
  URLRequest request = postRequest();
  request.httpBody = Data("before");
  const auto encoded = FormDataEncoding().encode(request, Parameters{{"a", "1"}});
  EXPECT_EQ(bodyWithX(*encoded), "before\r\n" + valuePart("a", "1") + end);
}

TEST(FormData, EachRequestHasABoundaryOfItsOwnWhateverItsTypeWas) {
  URLRequest request = postRequest();
  request.headers.setValue("content-type", "multipart/form-data; boundary=mine");
  const auto one = FormDataEncoding().encode(request, Parameters{{"a", "1"}});
  const auto other = FormDataEncoding().encode(request, Parameters{{"a", "1"}});
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
  const TemporaryDirectory directory;
  const std::string missing = (directory.path() / "missing").string();
  const auto encoded = FormDataEncoding().encode(
      postRequest(), Parameters{{"a", "1"}, {"f", AnyValue::array({fileURL(missing)})}});
  EXPECT_EQ(failureOf(encoded), "can't read " + missing + ": No such file or directory");
  EXPECT_NE(encoded.error().as<FileReadError>(), nullptr);
  EXPECT_EQ(encodedWithX({{"f", urlOf("https://host/f")}}), "can't read https://host/f: it is no file URL");
}

TEST(FormDataDeathTest, AValueWithoutAFormIsAFaultOfTheProgram) {
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

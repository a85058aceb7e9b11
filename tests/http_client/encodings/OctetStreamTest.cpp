#include <thread>

#include <sys/stat.h>

#include <tilvanego/http_client/encodings/FileReading.h>
#include <tilvanego/http_client/encodings/OctetStreamEncoding.h>

#include "tests/http_client/encodings/Requests.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Test.h"

namespace tilvanego {
namespace {

using namespace test;

TEST(OctetStream, WithoutABodyParameterTheRequestStaysAsItIs) {
  URLRequest request = postRequest();
  request.httpBody = Data("what was there");
  for (const std::optional<Parameters>& parameters :
       {std::optional<Parameters>(), std::optional(Parameters{}), std::optional(Parameters{{"Body", "x"}})}) {
    EXPECT_EQ(OctetStreamEncoding().encode(request, parameters).value(), request);
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
  const auto encoded = OctetStreamEncoding().encode(
      postRequest(), Parameters{{"body", written(directory.path() / "l", large)}});
  EXPECT_EQ(bodyOf(*encoded), large);
  const auto empty =
      OctetStreamEncoding().encode(postRequest(), Parameters{{"body", written(directory.path() / "e", "")}});
  EXPECT_EQ(bodyOf(*empty), "");
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

TEST(OctetStream, AContentTypeThatIsThereStays) {
  URLRequest request = postRequest();
  request.headers.setValue("Content-Type", "image/png");
  EXPECT_EQ(contentTypeOf(*OctetStreamEncoding().encode(request, Parameters{{"body", Data("x")}})),
            "image/png");
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

TEST(OctetStreamDeathTest, AnythingElseIsAFaultOfTheProgram) {
  const auto encode = [](AnyValue body) {
    (void)OctetStreamEncoding().encode(postRequest(), Parameters{{"body", std::move(body)}});
  };
  EXPECT_DEATH(encode("text"), "^URLSessionImplementations: Fatal error: Unprocessable body text\n");
  EXPECT_DEATH(encode(12), "Fatal error: Unprocessable body 12\n");
  EXPECT_DEATH(encode(AnyValue::array({1, std::nullopt})), "Unprocessable body \\[1, nil\\]\n");
}

}  // namespace
}  // namespace tilvanego

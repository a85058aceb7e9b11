// Bodies in pieces, over a session of the network's.
#include <atomic>
#include <thread>

#include <sys/stat.h>

#include <tilvanego/http_client/FileSink.h>
#include <tilvanego/http_client/FileSource.h>
#include <tilvanego/http_client/RetryPolicy.h>
#include <tilvanego/network/TransportError.h>
#include <tilvanego/network/URLSession.h>

#include "tests/http_client/TestClient.h"
#include "tests/support/AllocationCount.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/NginxServer.h"
#include "tests/support/TemporaryDirectory.h"

namespace tilvanego::test {
namespace {

using Code = TransportError::Code;

std::string varied(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i * 7 + i / 251);
  return text;
}

struct Streams : testing::Test {
  Streams() {
    useSession({});
    client.configuration->setInterceptor(std::make_shared<DefaultOpenAPIInterceptor>());
  }
  void useSession(URLSessionConfiguration configuration) {
    client.useSession(std::make_shared<URLSession>(LoopbackServer::reaching(std::move(configuration))));
  }
  RequestBuilderOf<Empty> request(const std::string& method, const std::string& url) {
    return client.builder<Empty>({.method = method, .URLString = url});
  }
  RequestBuilderOf<Empty>::Result download(const std::string& url, FileSink::Mode mode) {
    const auto builder = request("GET", url);
    builder->setBodySink(std::make_shared<FileSink>(file, mode));
    return builder.send();
  }
  [[nodiscard]] bool hasPart() const { return std::filesystem::exists(file.string() + ".part"); }

  const TemporaryDirectory directory;
  const std::filesystem::path file = directory.path() / "firmware";
  TestClient client{{}};
};

Code codeOf(const RequestBuilderOf<Empty>::Result& result) {
  const auto* error = result ? nullptr : result.error().underlyingFailure().as<TransportError>();
  return error ? error->code : Code::unknown;
}

// A file of 1000 bytes, of which the first answer breaks off after 400.
TEST_F(Streams, ADownloadThatBreaksOffIsResumedOrBeginsAnew) {
  const std::string whole = varied(1000);
  const std::string changed(700, 'n');
  const auto rest = [&](const std::string& range, const std::string& body) {
    return response(206, body, {{"Content-Range", range}, {"ETag", "\"1\""}});
  };
  struct Case {
    const char* name;
    std::string tag;
    ServerResponse second;
    std::string range;
    std::string content;  // empty: the second answer is a failure
    int code = 0;
  };
  const Case cases[] = {
      {"the rest", "\"1\"", rest("bytes 399-999/1000", whole.substr(399)), "bytes=399-", whole},
      {"of unknown size", "\"1\"", rest("bytes 399-999/*", whole.substr(399)), "bytes=399-", "", -1},
      {"another file", "\"1\"", response(200, changed), "bytes=399-", changed},
      {"no tag", "", response(200, whole), "", whole},
      {"a weak tag", "W/\"1\"", response(200, whole), "", whole},
      {"a tag that forges", "\"1\", \"2\"", response(200, whole), "", whole},
      {"another range", "\"1\"", rest("bytes 300-999/1000", whole.substr(300)), "bytes=399-", "", -1},
      {"a part of another file", "\"1\"",
       response(206, whole.substr(399), {{"Content-Range", "bytes 399-999/1000"}, {"ETag", "\"2\""}}),
       "bytes=399-", "", -1},
      {"too little", "\"1\"", rest("bytes 399-899/1000", whole.substr(399, 501)), "bytes=399-", "", -1},
      {"no range", "\"1\"", response(206, whole.substr(399)), "bytes=399-", "", -1},
      {"no file", "\"1\"", response(204), "bytes=399-", "", -1},
      {"a part that is whole", "\"1\"", rest("bytes 399-399/400", whole.substr(399, 1)), "bytes=399-",
       whole.substr(0, 400)},
      {"refused", "\"1\"", response(416, "", {{"Content-Range", "bytes */1000"}}), "bytes=399-", "", 416},
  };
  for (const auto& [name, tag, second, range, content, code] : cases) {
    SCOPED_TRACE(name);
    std::filesystem::remove(file.string() + ".part");
    std::filesystem::remove(file.string() + ".part.etag");
    std::ofstream(file) << "earlier";
    HeaderFields head{{"Content-Length", "1000"}};
    if (!tag.empty()) head.emplace_back("ETag", tag);
    int number = 0;
    const LoopbackServer server([&](const ReceivedRequest&) {
      return number++ == 0 ? ServerResponse{headOf(200, head) + whole.substr(0, 400), End::close} : second;
    });
    EXPECT_EQ(codeOf(download(server.url(), FileSink::Mode::resumed)), Code::networkConnectionLost);
    EXPECT_EQ(contentOf(file), "earlier");
    const auto result = download(server.url(), FileSink::Mode::resumed);
    EXPECT_EQ(server.requests().at(1).header("Range").value_or(""), range);
    EXPECT_EQ(server.requests().at(1).header("If-Range").value_or(""), range.empty() ? "" : "\"1\"");
    EXPECT_EQ(server.requests().at(1).header("Accept-Encoding"), "identity");
    EXPECT_EQ(result ? 0 : result.error().code(), code);
    EXPECT_EQ(contentOf(file), content.empty() ? "earlier" : content);
    if (result || code == 416) {
      EXPECT_FALSE(hasPart());
    }
  }
}

TEST_F(Streams, AWholeDownloadLeavesTheWholeFileOrTheEarlierOne) {
  const LoopbackServer server([&](const ReceivedRequest& request) {
    if (request.path() == "/half") return ServerResponse{halfBody, End::reset};
    if (request.path() == "/away") return redirect("/there");
    if (request.path() == "/none") return response(204);
    return response(request.path() == "/error" ? 404 : 200, "body of " + request.path());
  });
  for (const auto& [path, content] : {std::pair{"/file", "body of /file"},
                                      {"/half", "body of /file"},
                                      {"/error", "body of /file"},
                                      {"/away", "body of /there"},
                                      {"/none", "body of /there"}}) {
    const auto result = download(server.url(path), FileSink::Mode::whole);
    EXPECT_EQ(contentOf(file), content) << path;
    EXPECT_FALSE(hasPart()) << path;
    // The body of a refusal is in the error.
    if (!result && result.error().code() == 404) {
      EXPECT_EQ(result.error().data()->text(), "body of /error");
    }
  }
  EXPECT_EQ(download(server.url("/file"), FileSink::Mode::whole).has_value(), true);
  const auto builder = request("GET", server.url("/file"));
  builder->setBodySink(std::make_shared<FileSink>(directory.path() / "missing" / "file"));
  EXPECT_EQ(builder.send().error().code(), ErrorResponse::transportFailed);
}

TEST_F(Streams, WhatLiesWhereAFileOrItsPartBelongsIsNoTrap) {
  const LoopbackServer server([](const ReceivedRequest&) { return response(200, "the file"); });
  const std::string part = file.string() + ".part";
  std::filesystem::create_directory(file);
  EXPECT_FALSE(download(server.url(), FileSink::Mode::whole));
  std::filesystem::remove(file);
  ASSERT_EQ(mkfifo(part.c_str(), S_IRUSR | S_IWUSR), 0);
  EXPECT_FALSE(download(server.url(), FileSink::Mode::resumed));
  std::filesystem::remove(part);
  std::ofstream(part) << "the";
  std::ofstream(part + ".etag") << std::string_view("\"\0\0\"", 4);
  EXPECT_TRUE(download(server.url(), FileSink::Mode::resumed));
  EXPECT_EQ(server.requests().back().header("Range"), std::nullopt);
  EXPECT_EQ(contentOf(file), "the file");
}

TEST_F(Streams, RetriesResumeAFile) {
  const std::string whole = varied(9'000'000);
  const LoopbackServer server([&](const ReceivedRequest& request) {
    const auto range = request.header("Range").value_or("bytes=0-");
    const std::size_t first = std::stoul(range.substr(6));
    const HeaderFields head{{"Content-Range", "bytes " + std::to_string(first) + "-8999999/9000000"},
                            {"ETag", "\"1\""}};
    auto answer = response(first == 0 ? 200 : 206, std::string_view(whole).substr(first), head);
    // Each connection carries a third.
    answer.bytes.resize(std::min<std::size_t>(answer.bytes.size(), 3'000'000 + 200));
    return std::move(answer).then(End::close);
  });
  client.configuration->setInterceptor(
      std::make_shared<RetryPolicy>(RetryOptions{.tries = 5, .firstPause = std::chrono::milliseconds(1)}));
  EXPECT_TRUE(download(server.url(), FileSink::Mode::resumed));
  EXPECT_TRUE(contentOf(file) == whole);
}

// Takes a piece, and the next one when another thread says so.
class SlowSink final : public BodySink {
 public:
  std::expected<void, Failure> begin(const HTTPURLResponse&, GoOn goOn) override {
    goOn_ = std::move(goOn);
    return {};
  }
  std::expected<Flow, Failure> write(std::span<const std::uint8_t> piece) override {
    size += piece.size();
    if (neverGoesOn) return Flow::hold;
    if (thread_.joinable()) thread_.join();
    if (++pieces % 100 != 0) return Flow::goOn;
    thread_ = std::thread(goOn_);
    return Flow::hold;
  }
  std::expected<void, Failure> finish() override {
    if (thread_.joinable()) thread_.join();
    return {};
  }
  ~SlowSink() override {
    if (thread_.joinable()) thread_.join();
  }
  std::atomic<std::size_t> size = 0;
  std::size_t pieces = 0;
  bool neverGoesOn = false;

 private:
  GoOn goOn_;
  std::thread thread_;
};

TEST_F(Streams, ASinkHoldsTheServerUpAndMemoryStaysBounded) {
  const NginxServer nginx;
  const std::string whole = varied(9'000'000);
  std::ofstream(nginx.files() / "large", std::ios::binary) << whole;
  useSession({.additionalCertificates = nginx.certificate()});
  for (const auto& url : {nginx.url("/files/large"), nginx.secureURL("/files/large")}) {
    for (const bool blocks : {false, true}) {
      const auto sink = std::make_shared<SlowSink>();
      const auto builder = request("GET", url);
      builder->setBodySink(sink);
      const auto peak = peakBytesOf([&] {
        if (blocks) {
          EXPECT_TRUE(builder.send());
        } else {
          EXPECT_NO_THROW(builder.execute().wait(client.queue));
        }
      });
      EXPECT_EQ(sink->size, whole.size()) << url << blocks;
      EXPECT_LT(peak, 2'000'000U) << url << blocks;
    }
  }
}

// Cancels its request in its first piece.
class CancellingSink final : public BodySink {
 public:
  explicit CancellingSink(std::shared_ptr<RequestTask> task) : task_(std::move(task)) {}
  std::expected<void, Failure> begin(const HTTPURLResponse&, GoOn) override { return {}; }
  std::expected<Flow, Failure> write(std::span<const std::uint8_t>) override {
    ++pieces;
    task_->cancel();
    return Flow::goOn;
  }
  std::expected<void, Failure> finish() override { return {}; }
  int pieces = 0;

 private:
  const std::shared_ptr<RequestTask> task_;
};

TEST_F(Streams, ACancelledRequestGivesItsSinkNoFurtherPiece) {
  const auto large = response(200, varied(5'000'000));
  const LoopbackServer server([&](const ReceivedRequest&) { return large; });
  for (const bool blocks : {false, true}) {
    const auto builder = request("GET", server.url());
    const auto sink = std::make_shared<CancellingSink>(builder->requestTask);
    builder->setBodySink(sink);
    if (blocks) {
      EXPECT_EQ(codeOf(builder.send()), Code::cancelled);
    } else {
      EXPECT_THROW(builder.execute().wait(client.queue), ErrorResponse);
    }
    EXPECT_EQ(sink->pieces, 1) << blocks;
  }
}

TEST_F(Streams, AHeldResponseIsCancelledOrEndsByItsDeadline) {
  const auto large = response(200, varied(5'000'000));
  const LoopbackServer server([&](const ReceivedRequest&) { return large; });
  for (const bool cancels : {false, true}) {
    const auto sink = std::make_shared<SlowSink>();
    sink->neverGoesOn = true;
    const auto builder = request("GET", server.url());
    builder->setBodySink(sink);
    // The silence doesn't count while the sink holds the response up.
    builder->setLimits({.silence = std::chrono::seconds(cancels ? 60 : 1),
                        .wholeRequest = std::chrono::seconds(cancels ? 60 : 3)});
    std::atomic<bool> isOver = false;
    std::thread cancelling([&] {
      while (cancels && !isOver && sink->size == 0) std::this_thread::yield();
      if (cancels) builder->requestTask->cancel();
    });
    const auto result = builder.send();
    isOver = true;
    cancelling.join();
    EXPECT_EQ(codeOf(result), cancels ? Code::cancelled : Code::timedOut);
    if (!cancels) {
      EXPECT_TRUE(result.error().underlyingFailure().description().contains("its limit"));
    }
  }
}

TEST_F(Streams, AHeldResponseLeavesTheOthersOfItsSessionAlone) {
  const auto large = response(200, varied(5'000'000));
  const LoopbackServer server(
      [&](const ReceivedRequest& request) { return request.path() == "/held" ? large : response(200); });
  const auto sink = std::make_shared<SlowSink>();
  sink->neverGoesOn = true;
  const auto held = request("GET", server.url("/held"));
  held->setBodySink(sink);
  bool isOver = false;
  held.execute([&](const auto&) {
    isOver = true;
    client.queue.stop();
  });
  while (sink->size == 0) std::this_thread::yield();
  for (int i = 0; i < 20; ++i) EXPECT_NO_THROW(request("GET", server.url()).execute().wait(client.queue));
  EXPECT_FALSE(isOver);
  held->requestTask->cancel();
  client.queue.run();
  EXPECT_TRUE(isOver);
}

// Gives so many bytes, and says that it has so many.
class Bytes16 final : public BodySource {
 public:
  Bytes16(std::size_t bytes, std::optional<std::uint64_t> size) : bytes_(bytes), size_(size) {}
  std::optional<std::uint64_t> size() const override { return size_; }
  std::expected<void, Failure> rewind() override {
    given_ = 0;
    return {};
  }
  std::expected<std::size_t, Failure> read(std::span<std::uint8_t> room) override {
    if (fails && given_ > 0) return std::unexpected(Failure(TestFailure{"broken"}));
    const auto count = std::min({room.size(), bytes_ - given_, std::size_t{16}});
    std::ranges::fill(room.first(count), 'x');
    given_ += count;
    return count;
  }
  bool fails = false;

 private:
  const std::size_t bytes_;
  const std::optional<std::uint64_t> size_;
  std::size_t given_ = 0;
};

TEST_F(Streams, ASourceIsSentAsItIsAndOnceMoreAfterARedirect) {
  const LoopbackServer server([&](const ReceivedRequest& request) {
    return request.path() == "/away" ? redirect("/there", 307) : response(200);
  });
  const std::string forty(40, 'x');
  const auto send = [&](const std::shared_ptr<BodySource>& source, const char* path = "/away") {
    const auto builder = request("POST", server.url(path));
    builder->setBodySource(source);
    return builder.send();
  };
  EXPECT_TRUE(send(std::make_shared<Bytes16>(40, 40)));
  EXPECT_EQ(server.requests().at(1).body, forty);
  EXPECT_EQ(server.requests().at(1).header("Content-Length"), "40");
  EXPECT_EQ(server.requests().at(1).header("Content-Type"), std::nullopt);
  EXPECT_TRUE(send(std::make_shared<Bytes16>(50, 40), "/more"));
  EXPECT_EQ(server.requests().back().body, forty);
  EXPECT_EQ(codeOf(send(std::make_shared<Bytes16>(30, 40), "/less")), Code::invalidRequest);
  const auto failing = std::make_shared<Bytes16>(40, 40);
  failing->fails = true;
  EXPECT_NE(send(failing).error().underlyingFailure().as<TestFailure>(), nullptr);
  EXPECT_FALSE(FileSource::open(*URL::parse("file://" + directory.path().string())));
}

TEST_F(Streams, AFileIsSentWithBoundedMemory) {
  const NginxServer nginx;
  useSession({.additionalCertificates = nginx.certificate()});
  const std::string whole = varied(9'000'000);
  std::ofstream(file, std::ios::binary) << whole;
  for (const auto& url : {nginx.url("/store/a"), nginx.secureURL("/store/b")}) {
    const auto builder = request("PUT", url);
    builder->setBodySource(FileSource::open(*URL::parse("file://" + file.string())).value());
    const auto peak = peakBytesOf([&] { EXPECT_TRUE(builder.send()) << url; });
    EXPECT_LT(peak, 2'000'000U);
    EXPECT_TRUE(contentOf(nginx.files() / url.substr(url.size() - 1)) == whole) << url;
  }
  // Of unknown size: in chunks.
  const auto builder = request("PUT", nginx.url("/store/c"));
  builder->setBodySource(std::make_shared<Bytes16>(100'000, std::nullopt));
  EXPECT_TRUE(builder.send());
  EXPECT_EQ(contentOf(nginx.files() / "c"), std::string(100'000, 'x'));
}

}  // namespace
}  // namespace tilvanego::test

#include <csignal>
#include <filesystem>

#include <tilvanego/http_client/CachesDirectory.h>
#include <tilvanego/http_client/FileDownload.h>
#include <tilvanego/values/UUID.h>

#include "tests/http_client/TestClient.h"
#include "tests/support/TemporaryDirectory.h"

namespace tilvanego::test {
namespace {

namespace fs = std::filesystem;

/// The regular files below a directory, by their relative paths.
std::vector<std::string> filesIn(const fs::path& directory) {
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    if (!entry.is_directory()) files.push_back(entry.path().lexically_relative(directory).string());
  }
  std::ranges::sort(files);
  return files;
}

/// The cause of a download that failed; null if it is of another type.
template <typename Cause>
const Cause* causeOf(const std::expected<Response<URL>, ErrorResponse>& result) {
  EXPECT_FALSE(result);
  if (result) return nullptr;
  EXPECT_EQ(result.error().code(), ErrorResponse::downloadFailed);
  return result.error().underlyingFailure().as<Cause>();
}

class Download : public testing::Test {
 protected:
  Download() { setenv("XDG_CACHE_HOME", (directory.path() / "all").c_str(), 1); }
  ~Download() override { unsetenv("XDG_CACHE_HOME"); }

  std::expected<Response<URL>, ErrorResponse> get(const std::string& path,
                                                  std::optional<std::string> disposition,
                                                  std::optional<Data> data = Data("body")) {
    HTTPHeaders headers;
    if (disposition) headers.setValue("content-disposition", *std::move(disposition));
    TestClient client({httpResponse(200, std::move(data), std::move(headers))});
    auto result =
        client.run(client.builder<URL>({.method = "GET", .URLString = "https://host.example" + path}));
    EXPECT_EQ(client.interceptor->events.back(), "session: completion");
    return result;
  }

  const TemporaryDirectory directory;
  /// The program's own directory, named after the program's file.
  const fs::path caches = directory.path() / "all" / "http_client_test";
};

TEST_F(Download, GoesUnderThePathOfTheURLWithTheNameOfTheAnswer) {
  struct Row {
    std::string path, disposition, file;
  };
  const std::array<Row, 14> rows{{
      {"/a/b", "attachment; filename=c.txt", "a/b/c.txt"},
      {"/a/b/", "attachment; filename=\"c d.txt\"", "a/b/c d.txt"},
      {"", "filename=c", "c"},
      {"/", "inline;filename=  \"c\"  ; size=3", "c"},
      {"/a?q=1#f", "attachment; filename=\"100%.txt\"", "a/100%.txt"},
      {"/a%20b/%C3%A9", "filename=c", "a b/\xC3\xA9/c"},
      {"/a//./b", "filename=..c", "a/b/..c"},
      {"/a%2Fb", "filename=c", "a/b/c"},
      {"/a", "name=x; filename=one; filename=two", "a/one"},
      {"/a", "x filename=c", "a/x c"},
      {"/a/b", "attachment; filename=\"\"", "a/b"},
      {"/a", "filename=filename=c", "a/filename=c"},
      {"/a", "filename=\"..\\..\\c\"", "a/..\\..\\c"},
      {"/a", "filename=\"..%2f..%2fc\"", "a/..%2f..%2fc"},
  }};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.path + " " + row.disposition);
    fs::remove_all(caches);
    const auto result = get(row.path, row.disposition);
    ASSERT_TRUE(result) << result.error().description();
    EXPECT_EQ(filesIn(caches), std::vector{row.file});
    EXPECT_EQ(result->body.path(), (caches / row.file).string());
    EXPECT_EQ(result->body.scheme(), "file");
    EXPECT_EQ(contentOf(caches / row.file), "body");
    EXPECT_EQ(result->bodyData, Data("body"));
  }
}

TEST_F(Download, WithoutANameTheFileGetsOneOfItsOwn) {
  for (const std::optional<std::string>& disposition :
       {std::optional<std::string>(), std::optional<std::string>("attachment"),
        std::optional<std::string>("attachment; filename*=UTF-8''c.txt"),
        std::optional<std::string>("a; Filename=c")}) {
    const auto first = get("/a", disposition);
    const auto second = get("/a", disposition);
    ASSERT_TRUE(first && second);
    const std::string start = (caches / "a/tmp.OstrelTilvanePoiModels.").string();
    const std::string path = first->body.path();
    EXPECT_TRUE(path.starts_with(start)) << path;
    EXPECT_TRUE(UUID::parse(path.substr(start.size()))) << path;
    EXPECT_NE(first->body, second->body);
  }
}

TEST_F(Download, NoNameLeadsOutOfTheCachesDirectory) {
  using enum DownloadException::Case;
  struct Row {
    std::string path, disposition;
    DownloadException::Case why;
  };
  const std::array<Row, 12> rows{{
      {"/a", "filename=../../evil", responseFailed},
      {"/a", "filename=\"..\"", responseFailed},
      {"/a", "filename=.", responseFailed},
      {"/a", "filename=/etc/evil", responseFailed},
      {"/a", "filename=b/evil", responseFailed},
      {"/a", "filename=\".\".", responseFailed},
      {"/a", std::string("filename=e\0vil", 14), responseFailed},
      {"/../evil", "filename=a", requestMissingPath},
      {"/%2e%2e/evil", "filename=a", requestMissingPath},
      {"/a%2F..%2F..%2Fevil", "filename=a", requestMissingPath},
      {"/a%00b", "filename=a", requestMissingPath},
      {"/", "filename=\"\"", requestMissingPath},
  }};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.path + " " + row.disposition);
    const auto result = get(row.path, row.disposition);
    const auto* exception = causeOf<DownloadException>(result);
    ASSERT_NE(exception, nullptr);
    EXPECT_EQ(exception->value(), row.why);
    EXPECT_EQ(result.error().data(), Data("body"));
    EXPECT_TRUE(filesIn(directory.path()).empty());
  }
}

TEST_F(Download, ALinkThatLeadsOutIsNotFollowed) {
  const fs::path outside = directory.path() / "outside";
  fs::create_directories(outside);
  fs::create_directories(caches / "a");
  fs::create_directory_symlink(outside, caches / "a" / "linked");
  std::ofstream(outside / "file") << "kept";
  fs::create_symlink(outside / "file", caches / "a" / "file");

  EXPECT_NE(causeOf<FileWriteError>(get("/a/linked", "filename=c")), nullptr);
  EXPECT_EQ(filesIn(outside), std::vector<std::string>{"file"});
  // A link in the file's own place is replaced.
  EXPECT_TRUE(get("/a", "filename=file"));
  EXPECT_EQ(contentOf(outside / "file"), "kept");
  EXPECT_FALSE(fs::is_symlink(caches / "a" / "file"));
}

TEST_F(Download, AFailedWriteLeavesWhatWasThere) {
  ASSERT_TRUE(get("/a", "filename=b"));
  ASSERT_TRUE(get("/a", "filename=b", Data("newer")));
  EXPECT_EQ(contentOf(caches / "a" / "b"), "newer");
  // A directory has the file's name; a file stands where a directory must be; a name is too long.
  for (const auto& [path, name] :
       {std::pair<std::string, std::string>{"", "a"}, {"/a/b", "c"}, {"/a", std::string(300, 'n')}}) {
    const auto result = get(path, "filename=" + name);
    const auto* failure = causeOf<FileWriteError>(result);
    ASSERT_NE(failure, nullptr);
    EXPECT_TRUE(failure->path.starts_with(caches.string())) << failure->path;
  }
  EXPECT_EQ(filesIn(caches), std::vector<std::string>{"a/b"});
}

TEST_F(Download, NothingToWriteIsAFailure) {
  const auto result = get("/a", "filename=b", std::nullopt);
  const auto* exception = causeOf<DownloadException>(result);
  ASSERT_NE(exception, nullptr);
  EXPECT_EQ(exception->value(), DownloadException::responseDataMissing);
  EXPECT_TRUE(get("/a", "filename=b", Data()));
}

TEST_F(Download, GoesToADirectoryOfTheProgramsOwnThatTheHostMayName) {
  const auto permissions = [](const fs::path& path) { return fs::status(path).permissions(); };
  const auto result = get("/", "filename=state.db");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->body.path(), (caches / "state.db").string());
  for (const fs::path& made : {directory.path() / "all", caches}) {
    EXPECT_EQ(permissions(made), fs::perms::owner_all) << made;
  }
  // A link in the user's caches directory is the user's affair; whatever else stands there is left alone.
  CachesDirectory::setName("com.example.till");
  fs::create_directory(directory.path() / "elsewhere");
  fs::create_directory_symlink(directory.path() / "elsewhere", directory.path() / "all" / "com.example.till");
  EXPECT_TRUE(get("/a", "filename=b"));
  CachesDirectory::setName("state.db");
  std::ofstream(directory.path() / "all" / "state.db") << "another program's";
  const auto taken = get("/", "filename=b");
  CachesDirectory::setName("http_client_test");
  EXPECT_EQ(contentOf(directory.path() / "elsewhere/a/b"), "body");
  const auto* failure = causeOf<FileWriteError>(taken);
  ASSERT_NE(failure, nullptr);
  EXPECT_EQ(failure->path, (directory.path() / "all/state.db").string());
  EXPECT_EQ(contentOf(directory.path() / "all/state.db"), "another program's");
}

TEST_F(Download, GoesBelowTheHomeDirectoryOrFails) {
  unsetenv("XDG_CACHE_HOME");
  const char* home = std::getenv("HOME");
  const std::string kept = home != nullptr ? home : "";
  setenv("HOME", directory.path().c_str(), 1);
  const auto result = get("/a", "filename=b");
  setenv("XDG_CACHE_HOME", "relative", 1);
  EXPECT_EQ(CachesDirectory::path(), directory.path() / ".cache/http_client_test");
  unsetenv("HOME");
  const auto nowhere = get("/a", "filename=b");
  setenv("HOME", kept.c_str(), 1);
  ASSERT_TRUE(result);
  EXPECT_EQ(result->body.path(), (directory.path() / ".cache/http_client_test/a/b").string());
  EXPECT_NE(causeOf<FileWriteError>(nowhere), nullptr);
}

TEST(CachesDirectoryDeathTest, ANameIsOneName) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EQ(CachesDirectory::name(), "http_client_test");
  for (const std::string name : {"", ".", "..", "a/b", "/etc"}) {
    EXPECT_EXIT(CachesDirectory::setName(name), testing::KilledBySignal(SIGABRT), "takes one name");
  }
}

}  // namespace
}  // namespace tilvanego::test

#include <filesystem>
#include <fstream>
#include <iterator>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <tilvanego/platform/desktop/FilePendingStore.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Test.h"

using namespace tilvanego;
namespace fs = std::filesystem;

namespace {

using Text = std::optional<std::string>;

mode_t modeOf(const fs::path& path) {
  struct stat status{};
  EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

void writeFile(const fs::path& path, const std::string& text, mode_t mode = 0600) {
  std::ofstream(path) << text;
  EXPECT_EQ(chmod(path.c_str(), mode), 0);
}

std::string readFile(const fs::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(FilePendingStore, KeepsEachTextInAFileOfTheUsersAlone) {
  TemporaryDirectory temporary;
  const fs::path directory = temporary.path() / "state" / "till";
  const mode_t before = umask(0277);
  {
    FilePendingStore store(directory);
    EXPECT_EQ(store.read("payment").value(), std::nullopt);
    EXPECT_TRUE(store.remove("payment"));
    EXPECT_FALSE(fs::exists(directory.parent_path())) << "reading makes nothing";
    umask(077);
    EXPECT_TRUE(store.keep("payment", "first"));
    umask(0277);
    EXPECT_TRUE(store.keep("payment", "second"));
    EXPECT_EQ(store.read("payment").value(), "second");
  }
  umask(before);
  EXPECT_EQ(modeOf(directory), 0700U);
  EXPECT_EQ(modeOf(directory.parent_path()), 0700U);
  EXPECT_EQ(modeOf(directory / "payment"), 0600U);
  FilePendingStore next(directory);
  EXPECT_EQ(next.read("payment").value(), "second");
  EXPECT_EQ(next.read("save").value(), std::nullopt);
  EXPECT_TRUE(next.setAside("payment"));
  EXPECT_EQ(next.read("payment").value(), std::nullopt);
  EXPECT_EQ(readFile(directory / "payment.unreadable"), "second");
}

TEST(FilePendingStore, SetsAsideUnderAFreeNameAndReplacesNothingThere) {
  TemporaryDirectory temporary;
  const fs::path aside = temporary.path() / "payment.unreadable";
  fs::create_directory(aside);
  FilePendingStore store(temporary.path());
  for (int number = 2; number <= 99; ++number) {
    EXPECT_TRUE(store.keep("payment", std::to_string(number)));
    EXPECT_TRUE(store.setAside("payment"));
    EXPECT_EQ(readFile(aside.string() + "-" + std::to_string(number)), std::to_string(number));
  }
  EXPECT_TRUE(store.keep("payment", "100"));
  EXPECT_EQ(store.setAside("payment").error(),
            "There are 99 files payment.unreadable already: look at them and remove them.");
  EXPECT_EQ(store.read("payment").value(), "100");
}

TEST(FilePendingStore, RefusesNamesOfItsOwnFilesAndPaths) {
  TemporaryDirectory temporary;
  FilePendingStore store(temporary.path() / "own");
  EXPECT_TRUE(store.keep("payment", "x"));
  for (const std::string name :
       {"", "lock", ".", "..", "a/../../x", "payment.unreadable", "payment.unreadable-2", "payment.new"}) {
    const std::string reason = "A pending store's name has ASCII letters only, and isn't \"lock\".";
    EXPECT_EQ(store.read(name).error(), reason) << name;
    EXPECT_EQ(store.keep(name, "x").error(), reason) << name;
    EXPECT_EQ(store.remove(name).error(), reason) << name;
    EXPECT_EQ(store.setAside(name).error(), reason) << name;
  }
}

TEST(FilePendingStore, NeitherReplacesNorRemovesWhatItHasNotRead) {
  TemporaryDirectory temporary;
  FilePendingStore store(temporary.path() / "own");
  EXPECT_EQ(store.read("payment").value(), std::nullopt) << "there is no directory yet";
  EXPECT_TRUE(FilePendingStore(store.directory()).keep("payment", "another's"));
  const auto refused = store.keep("payment", "own");
  ASSERT_FALSE(refused);
  EXPECT_TRUE(refused.error().ends_with("was kept by another process and must be read first."));
  EXPECT_FALSE(store.remove("payment"));
  EXPECT_EQ(store.read("payment").value(), "another's");
  EXPECT_TRUE(store.keep("payment", "both"));
}

TEST(FilePendingStore, SetsAsideWhatIsNoFileOfTheUsersAlone) {
  struct Foreign {
    const char* name;
    void (*make)(const fs::path& path);
  };
  for (const auto& [name, make] :
       {Foreign{"open to others", [](const fs::path& path) { writeFile(path, "x", 0640); }},
        Foreign{"a link", [](const fs::path& path) { fs::create_symlink("lock", path); }},
        Foreign{"a pipe", [](const fs::path& path) { EXPECT_EQ(mkfifo(path.c_str(), 0600), 0); }},
        Foreign{"a directory", [](const fs::path& path) { fs::create_directory(path); }},
        Foreign{"too large", [](const fs::path& path) {
                  writeFile(path, "");
                  fs::resize_file(path, (std::size_t{4} << 20) + 1);
                }}}) {
    SCOPED_TRACE(name);
    TemporaryDirectory temporary;
    make(temporary.path() / "payment");
    FilePendingStore store(temporary.path());
    const auto read = store.read("payment");
    ASSERT_FALSE(read);
    EXPECT_TRUE(read.error().contains("was renamed to payment.unreadable")) << read.error();
    EXPECT_NE(fs::symlink_status(temporary.path() / "payment.unreadable").type(), fs::file_type::not_found);
    EXPECT_EQ(store.read("payment").value(), std::nullopt);
    EXPECT_TRUE(store.keep("payment", "fine"));
  }
}

TEST(FilePendingStore, FailsWithAReasonAndLeavesTheFormerText) {
  TemporaryDirectory temporary;
  const fs::path open = temporary.path() / "open";
  fs::create_directory(open);
  fs::permissions(open, fs::perms(0755));
  fs::create_symlink(open, temporary.path() / "link");
  writeFile(temporary.path() / "file", "");
  for (const auto& [name, reason] : {std::pair{"open", "is open to other users"},
                                     {"link", "can't be opened as a directory"},
                                     {"file", "can't be opened as a directory"},
                                     {"file/below", "can't be made"}}) {
    FilePendingStore store(temporary.path() / name);
    const auto kept = store.keep("payment", "x");
    ASSERT_FALSE(kept) << name;
    EXPECT_TRUE(kept.error().contains(reason)) << kept.error();
  }
  FilePendingStore store(temporary.path() / "own");
  EXPECT_TRUE(store.keep("payment", "x"));
  EXPECT_FALSE(store.keep("payment", std::string((std::size_t{4} << 20) + 1, 'x')));
  EXPECT_EQ(store.read("payment").value(), "x");
  fs::remove_all(store.directory());
  EXPECT_FALSE(store.keep("payment", "y"));
  EXPECT_TRUE(store.keep("payment", "y")) << "the directory is made again";
}

TEST(FilePendingStore, BelongsToOneProcessUntilThatEnds) {
  TemporaryDirectory temporary;
  std::array<int, 2> ready{};
  ASSERT_EQ(pipe(ready.data()), 0);
  const pid_t other = fork();
  if (other == 0) {
    FilePendingStore store(temporary.path());
    const bool kept = store.keep("payment", "the other's").has_value();
    _exit(write(ready[1], &kept, 1) == 1 && pause());
  }
  bool kept = false;
  ASSERT_EQ(read(ready[0], &kept, 1), 1);
  EXPECT_TRUE(kept);
  FilePendingStore store(temporary.path());
  const auto held = store.read("payment");
  ASSERT_FALSE(held);
  EXPECT_TRUE(held.error().contains("is locked by another program")) << held.error();
  kill(other, SIGKILL);
  EXPECT_EQ(waitpid(other, nullptr, 0), other);
  EXPECT_EQ(store.read("payment").value(), "the other's");
  close(ready[0]);
  close(ready[1]);
}

TEST(FilePendingStore, OfAHostLiesWhereTheUsersStateDoes) {
  const auto set = [](const char* name, const Text& value) {
    value ? setenv(name, value->c_str(), 1) : unsetenv(name);
  };
  const auto get = [](const char* name) {
    return std::getenv(name) ? Text(std::getenv(name)) : std::nullopt;
  };
  const Text state = get("XDG_STATE_HOME");
  const Text home = get("HOME");
  for (const auto& [given, user, directory] :
       {std::tuple{Text("/state"), Text("/home/u"), "/state/till/pending"},
        {std::nullopt, Text("/home/u"), "/home/u/.local/state/till/pending"},
        {Text("relative"), Text("/home/u"), "/home/u/.local/state/till/pending"},
        {std::nullopt, std::nullopt, ""}}) {
    set("XDG_STATE_HOME", given);
    set("HOME", user);
    EXPECT_EQ(FilePendingStore::ofHost("till")->directory(), directory);
  }
  EXPECT_TRUE(FilePendingStore("").keep("payment", "x").error().starts_with("No directory is known"));
  set("XDG_STATE_HOME", state);
  set("HOME", home);
  EXPECT_DEATH(static_cast<void>(FilePendingStore::ofHost("a/b")), "takes one name");
}

}  // namespace

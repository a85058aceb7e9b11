#include <sys/resource.h>
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

template <typename T>
bool isLocked(const std::expected<T, std::string>& called) {
  return !called && called.error().contains("is locked by another program");
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
  EXPECT_FALSE(next.read("lock"));
  EXPECT_TRUE(next.setAside("payment"));
  EXPECT_EQ(next.read("payment").value(), std::nullopt);
  EXPECT_EQ(contentOf(directory / "payment.unreadable"), "second");
}

TEST(FilePendingStore, SetsAsideUnderAFreeNameAndReplacesNothingThere) {
  TemporaryDirectory temporary;
  const fs::path aside = temporary.path() / "payment.unreadable";
  fs::create_directory(aside);
  FilePendingStore store(temporary.path());
  for (int number = 2; number <= 99; ++number) {
    EXPECT_TRUE(store.keep("payment", std::to_string(number)));
    EXPECT_TRUE(store.setAside("payment"));
    EXPECT_EQ(contentOf(aside.string() + "-" + std::to_string(number)), std::to_string(number));
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

  // What takes the place of its own text, or changes it.
  const fs::path path = store.directory() / "payment";
  for (const auto& change : std::initializer_list<std::function<void()>>{
           [&] {
             writeFile(path.string() + ".other", "foreign"), fs::rename(path.string() + ".other", path);
           },
           [&] { writeFile(path, "foreign"); }}) {
    EXPECT_TRUE(store.keep("payment", "own"));
    change();
    EXPECT_FALSE(store.keep("payment", "own again"));
    EXPECT_FALSE(store.remove("payment"));
    EXPECT_EQ(store.read("payment").value(), "foreign");
    EXPECT_TRUE(store.keep("payment", "both"));
  }
  EXPECT_EQ(chmod(path.c_str(), 0644), 0);
  EXPECT_FALSE(store.keep("payment", "own"));
  EXPECT_FALSE(store.read("payment")) << "it is set aside";
  EXPECT_TRUE(store.keep("payment", "own"));
}

TEST(FilePendingStore, FailsAtEachCallWhileItsDirectoryIsNotTheUsersAlone) {
  TemporaryDirectory temporary;
  const fs::path directory = temporary.path() / "own";
  FilePendingStore store(directory);
  EXPECT_TRUE(store.keep("payment", "own"));
  const auto eachFails = [&](std::string_view reason) {
    const auto of = [](const auto& called) { return called ? std::string() : called.error(); };
    for (const auto& failure : {of(store.read("payment")), of(store.keep("payment", "x")),
                                of(store.remove("payment")), of(store.setAside("payment"))}) {
      EXPECT_TRUE(failure.contains(reason)) << failure;
    }
  };
  EXPECT_EQ(chmod(directory.c_str(), 0777), 0);
  eachFails("is open to other users");
  EXPECT_EQ(chmod(directory.c_str(), 0700), 0);
  EXPECT_TRUE(isLocked(FilePendingStore(directory).read("payment"))) << "it holds the directory still";
  EXPECT_EQ(store.read("payment").value(), "own");
  fs::rename(directory, temporary.path() / "moved");
  fs::create_directory_symlink(temporary.path() / "moved", directory);
  eachFails("can't be opened as a directory");
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
    fs::remove(temporary.path() / "payment");
    make(temporary.path() / "payment");
    EXPECT_FALSE(store.keep("payment", "another one came"));
    EXPECT_FALSE(store.remove("payment"));
    EXPECT_FALSE(store.read("payment"));
    EXPECT_NE(fs::symlink_status(temporary.path() / "payment.unreadable-2").type(), fs::file_type::not_found);
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
}

TEST(FilePendingStore, KeepsItsLockWhenTheDiskIsFull) {
  TemporaryDirectory temporary;
  FilePendingStore store(temporary.path());
  EXPECT_TRUE(store.keep("payment", "x"));
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit lowered{1000, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &lowered), 0);
  EXPECT_FALSE(store.keep("payment", std::string(2000, 'y')));
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  FilePendingStore other(temporary.path());
  EXPECT_TRUE(isLocked(other.read("payment")));
  EXPECT_EQ(store.read("payment").value(), "x");
}

// Each call goes to the directory that a successor would find.
TEST(FilePendingStore, FollowsItsDirectoryWhenThatIsRemovedOrMadeAnew) {
  TemporaryDirectory temporary;
  const fs::path directory = temporary.path() / "own";
  FilePendingStore store(directory);
  const auto keepAndRemove = [&](const char* name) {
    EXPECT_TRUE(store.keep(name, "old"));
    fs::remove_all(directory);
  };
  keepAndRemove("payment");
  EXPECT_EQ(store.read("payment").value(), std::nullopt);
  EXPECT_TRUE(store.remove("payment"));
  EXPECT_FALSE(fs::exists(directory)) << "reading makes nothing";
  keepAndRemove("payment");
  EXPECT_TRUE(store.keep("payment", "new"));
  EXPECT_EQ(store.read("payment").value(), "new");
  for (const auto& [name, call] :
       {std::pair<const char*, std::function<bool(const std::string& name)>>{
            "read", [&](const std::string& name) { return store.read(name) == "another's"; }},
        {"remove",
         [&](const std::string& name) {
           return store.read(name) && store.remove(name) && !fs::exists(directory / name);
         }},
        {"setAside", [&](const std::string& name) {
           return store.setAside(name) && fs::exists(directory / (name + ".unreadable"));
         }}}) {
    keepAndRemove(name);
    {
      FilePendingStore another(directory);
      EXPECT_TRUE(another.keep(name, "another's"));
    }
    EXPECT_TRUE(call(name)) << name;
  }
  fs::remove(directory / "lock");
  FilePendingStore another(directory);
  EXPECT_TRUE(another.read("read"));
  EXPECT_TRUE(isLocked(store.keep("read", "x"))) << "another one has made the lock anew";
}

// The host may have forked a child that lives on.
TEST(FilePendingStore, BelongsToOneProcessUntilThatEnds) {
  for (const bool hasForked : {false, true}) {
    SCOPED_TRACE(hasForked);
    TemporaryDirectory temporary;
    std::array<int, 2> ready{};
    std::array<int, 2> end{};
    ASSERT_EQ(pipe(ready.data()), 0);
    ASSERT_EQ(pipe(end.data()), 0);
    const pid_t other = fork();
    if (other == 0) {
      close(end[1]);
      FilePendingStore store(temporary.path());
      const bool kept = store.keep("payment", "the other's").has_value();
      bool waited = false;
      if (hasForked && fork() == 0) _exit(read(end[0], &waited, 1) != 0);
      _exit(write(ready[1], &kept, 1) == 1 && pause());
    }
    bool kept = false;
    ASSERT_EQ(read(ready[0], &kept, 1), 1);
    EXPECT_TRUE(kept);
    FilePendingStore store(temporary.path());
    EXPECT_TRUE(isLocked(store.read("payment")));
    kill(other, SIGKILL);
    EXPECT_EQ(waitpid(other, nullptr, 0), other);
    EXPECT_EQ(store.read("payment"), "the other's");
    EXPECT_TRUE(store.keep("payment", "own"));
    EXPECT_TRUE(store.remove("payment"));
    for (const int descriptor : {ready[0], ready[1], end[0], end[1]}) close(descriptor);
  }
}

TEST(FilePendingStore, IsLostNeitherToAForkedChildNorToAnotherStoreOfTheProcess) {
  TemporaryDirectory temporary;
  auto store = std::make_unique<FilePendingStore>(temporary.path());
  EXPECT_TRUE(store->keep("payment", "x"));
  EXPECT_TRUE(isLocked(FilePendingStore(temporary.path()).read("payment")));
  const pid_t child = fork();
  if (child == 0) {
    const bool isExcluded = isLocked(store->keep("payment", "y"));
    store.reset();
    _exit(isExcluded && isLocked(FilePendingStore(temporary.path()).read("payment")) ? 0 : 1);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(isLocked(FilePendingStore(temporary.path()).read("payment")));
  EXPECT_EQ(store->read("payment").value(), "x");
}

// As when the host copies its directory: closing any descriptor of the lock releases it.
TEST(FilePendingStore, TakesALostLockAgainUnlessAnotherProcessHasIt) {
  TemporaryDirectory temporary;
  FilePendingStore store(temporary.path());
  const auto lose = [&] { EXPECT_EQ(contentOf(temporary.path() / "lock"), ""); };
  /// What another process sees, which then waits to be killed.
  const auto other = [&](bool excluded) {
    std::array<int, 2> done{};
    EXPECT_EQ(pipe(done.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
      FilePendingStore another(temporary.path());
      const auto text = another.read("payment");
      const bool isFine = excluded ? isLocked(text) : text == "own" && another.keep("payment", "another's");
      _exit(write(done[1], &isFine, 1) == 1 && pause());
    }
    bool isFine = false;
    EXPECT_EQ(read(done[0], &isFine, 1), 1);
    EXPECT_TRUE(isFine);
    for (const int descriptor : done) close(descriptor);
    return child;
  };
  const auto end = [](pid_t child) {
    kill(child, SIGKILL);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
  };
  EXPECT_TRUE(store.keep("payment", "own"));
  lose();
  EXPECT_EQ(store.read("payment").value(), "own");
  end(other(true));
  lose();
  const pid_t holder = other(false);
  EXPECT_TRUE(isLocked(store.keep("payment", "x")));
  EXPECT_TRUE(isLocked(store.read("payment")));
  end(holder);
  EXPECT_FALSE(store.keep("payment", "x")) << "the other's text isn't read yet";
  EXPECT_EQ(store.read("payment").value(), "another's");
  EXPECT_TRUE(store.keep("payment", "both"));
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

#include <atomic>
#include <chrono>
#include <csignal>
#include <expected>
#include <filesystem>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/platform/desktop/PrivateDirectory.h>
#include <tilvanego/platform/memory/ManualClock.h>

#include "tests/platform/Dates.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Test.h"

using namespace tilvanego;
using tilvanego::test::seconds;
namespace fs = std::filesystem;

namespace {

PasteboardContents text(const std::string& value, std::optional<Date> expiration = std::nullopt) {
  return {{{{"public.text", value}}}, {.localOnly = true, .expirationDate = expiration}};
}

// Stands at second 2000, and lets a test act each time that it is asked.
class HookedClock final : public Clock {
 public:
  explicit HookedClock(std::function<void(int call)> hook) : hook_(std::move(hook)) {}

  Date now() const override {
    hook_(++calls_);
    return seconds(2000);
  }

 private:
  std::function<void(int)> hook_;
  mutable int calls_ = 0;
};

// Lowers a limit of the process's for as long as it lives.
class Limit {
 public:
  Limit(__rlimit_resource resource, rlim_t most) : resource_(resource) {
    getrlimit(resource, &before_);
    const rlimit lowered{most, before_.rlim_max};
    setrlimit(resource, &lowered);
  }
  Limit(const Limit&) = delete;
  Limit& operator=(const Limit&) = delete;
  ~Limit() { setrlimit(resource_, &before_); }

 private:
  __rlimit_resource resource_;
  rlimit before_{};
};

class PasteboardStoreTest : public testing::Test {
 protected:
  PasteboardStore makeStore() const { return {directory, clock}; }
  static std::expected<void, std::string> put(PasteboardStore& store, const PasteboardContents& contents) {
    return store.setItems(contents.items, contents.options);
  }
  /// Locks as another program does, if nobody else has the lock. Closing the descriptor unlocks.
  std::pair<int, bool> lockFile() const {
    const int lock = open((directory / "pasteboard.lock").c_str(), O_RDWR | O_CLOEXEC);
    struct flock whole{};
    whole.l_type = F_WRLCK;
    return {lock, fcntl(lock, F_OFD_SETLK, &whole) == 0};
  }
  fs::perms rights(const fs::path& path) const { return fs::status(path).permissions(); }

  const TemporaryDirectory parent;
  const fs::path directory = parent.path() / "tilvanego";
  const fs::path file = directory / "pasteboard";
  const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>(seconds(1000));
  PasteboardStore store = makeStore();
};

}  // namespace

TEST_F(PasteboardStoreTest, IsSharedByAllWhoOpenIt) {
  EXPECT_EQ(store.contents(), PasteboardContents{}) << "before the first write";
  EXPECT_FALSE(fs::exists(directory)) << "reading makes nothing";
  ASSERT_TRUE(put(store, text("one")));
  EXPECT_EQ(makeStore().contents(), text("one"));
  EXPECT_TRUE(makeStore().setItems({{{"public.text", "two"}}}));
  EXPECT_EQ(store.string(), "two");
  EXPECT_EQ(store.contents().options, PasteboardOptions{});
  EXPECT_TRUE(store.setItems({}));
  EXPECT_TRUE(makeStore().items().empty());
  EXPECT_FALSE(fs::exists(file));
  EXPECT_TRUE(put(store, {})) << "emptying it again is no error";
}

TEST_F(PasteboardStoreTest, IsItsOwnersAloneWhateverTheFileCreationMask) {
  for (const mode_t mask : {mode_t{0}, mode_t{0777 & ~0700}, mode_t{0277}, mode_t{0377}}) {
    fs::remove_all(directory);
    const auto before = umask(mask);
    const auto written = put(store, text("x"));
    umask(before);
    ASSERT_TRUE(written) << written.error();
    EXPECT_EQ(rights(directory), fs::perms::owner_all);
    for (const auto& entry : fs::directory_iterator(directory)) {
      EXPECT_EQ(rights(entry), fs::perms::owner_read | fs::perms::owner_write) << entry.path();
    }
    EXPECT_EQ(store.contents(), text("x"));
  }
}

TEST_F(PasteboardStoreTest, RefusesADirectoryThatIsNotPrivateAndSaysWhy) {
  const auto refused = [&](const fs::path& path, const std::string& reason) {
    PasteboardStore other(path, clock);
    EXPECT_EQ(put(other, text("secret")).error(), path.string() + reason);
    EXPECT_EQ(other.contents(), PasteboardContents{}) << path;
  };
  ASSERT_TRUE(put(store, text("x")));
  fs::permissions(directory, fs::perms::group_read, fs::perm_options::add);
  refused(directory, " is open to other users; its mode must be 0700.");
  fs::permissions(directory, fs::perms::owner_all);
  EXPECT_EQ(store.contents(), text("x"));

  fs::create_directory_symlink(directory, parent.path() / "link");
  refused(parent.path() / "link", " can't be opened as a directory: Not a directory.");
  for (const char* ending : {"link/", "link//", "link/."}) {
    PasteboardStore behindALink(parent.path() / ending, clock);
    EXPECT_FALSE(put(behindALink, text("secret"))) << ending;
  }
  PasteboardStore cutOff(directory / std::string("x\0y", 3), clock);
  EXPECT_FALSE(put(cutOff, text("secret")));
  refused(file, " can't be opened as a directory: Not a directory.");
  refused("/",
          geteuid() == 0 ? " is open to other users; its mode must be 0700." : " belongs to another user.");
  refused(parent.path() / "no" / "parent", " can't be made: No such file or directory.");
  if (geteuid() == 0) {  // Only root can give a directory away.
    ASSERT_EQ(chown(directory.c_str(), 65534, 65534), 0);
    refused(directory, " belongs to another user.");
  }
}

TEST_F(PasteboardStoreTest, ReadsNothingFromAFileThatIsNotItsOwn) {
  ASSERT_TRUE(put(store, text("x")));
  const auto kept = parent.path() / "kept";
  fs::copy_file(file, kept);
  const auto readAs = [&](const auto& change) {
    fs::remove(file);
    fs::copy_file(kept, file);
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
    change();
    return store.contents();
  };
  EXPECT_EQ(readAs([] {}), text("x"));
  EXPECT_EQ(readAs([&] { fs::permissions(file, fs::perms::others_read, fs::perm_options::add); }),
            PasteboardContents{});
  EXPECT_EQ(readAs([&] { fs::remove(file), fs::create_symlink(kept, file); }), PasteboardContents{});
  EXPECT_EQ(readAs([&] { fs::remove(file), fs::create_directory(file); }), PasteboardContents{});
  EXPECT_EQ(readAs([&] { fs::remove(file), mkfifo(file.c_str(), 0600); }), PasteboardContents{})
      << "and doesn't wait for a writer";
  EXPECT_EQ(readAs([&] { fs::resize_file(file, 0); }), PasteboardContents{});
  EXPECT_EQ(readAs([&] { fs::resize_file(file, fs::file_size(file) - 1); }), PasteboardContents{});
  EXPECT_EQ(readAs([&] { fs::resize_file(file, std::uintmax_t{1} << 40); }), PasteboardContents{});
  if (geteuid() == 0) {
    EXPECT_EQ(readAs([&] { ASSERT_EQ(chown(file.c_str(), 65534, 65534), 0); }), PasteboardContents{});
  }
}

TEST_F(PasteboardStoreTest, AWriteTakesThePlaceOfWhateverLiesThere) {
  const auto elsewhere = parent.path() / "elsewhere";
  std::ofstream(elsewhere) << "untouched";
  ASSERT_TRUE(put(store, text("x")));
  for (const char* name : {"pasteboard", "pasteboard.new"}) {
    fs::remove(directory / name);
    fs::create_symlink(elsewhere, directory / name);
    ASSERT_TRUE(put(store, text("y"))) << name;
    EXPECT_EQ(store.contents(), text("y"));
  }
  std::string line;
  std::getline(std::ifstream(elsewhere) >> std::ws, line);
  EXPECT_EQ(line, "untouched");
  EXPECT_FALSE(fs::exists(fs::symlink_status(directory / "pasteboard.new")));
}

TEST_F(PasteboardStoreTest, AWriteThatFailsLeavesWhatWasThereAndSaysWhy) {
  ASSERT_TRUE(put(store, text("x")));
  const auto refused = [&](const PasteboardContents& contents, const std::string& reason) {
    const auto written = put(store, contents);
    ASSERT_FALSE(written);
    EXPECT_TRUE(written.error().contains(reason)) << written.error();
    EXPECT_EQ(store.contents(), text("x"));
    EXPECT_FALSE(fs::exists(directory / "pasteboard.new"));
  };
  refused(text("\xFF"), "A text isn't UTF-8.");
  refused(text(std::string(std::size_t{16} << 20U, 'x')),
          "The file would have 16777265 bytes, and at most 16777216 fit.");
  {
    // What a full disk is to a writer: a part is written, the rest isn't. SIGXFSZ would end this process.
    const Limit limit(RLIMIT_FSIZE, 100'000);
    refused(text(std::string(200'000, 'y')), "pasteboard.new can't be written: File too large.");
    // Nor does it wait for a host that blocks it.
    sigset_t signal, before;
    sigemptyset(&signal);
    sigaddset(&signal, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &signal, &before);
    refused(text(std::string(200'000, 'y')), "pasteboard.new can't be written: File too large.");
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
  }
  {
    const int lowestFree = dup(0);
    close(lowestFree);
    for (const int left : {0, 1, 2}) {
      const Limit limit(RLIMIT_NOFILE, static_cast<rlim_t>(lowestFree + left));
      const auto written = put(store, text("y"));
      ASSERT_FALSE(written) << left;
      EXPECT_TRUE(written.error().ends_with(": Too many open files.")) << written.error();
    }
    EXPECT_EQ(store.contents(), text("x"));
  }
  fs::remove(directory / "pasteboard.lock");
  fs::create_symlink(parent.path() / "nowhere", directory / "pasteboard.lock");
  refused(text("y"), "pasteboard.lock can't be opened: Too many levels of symbolic links.");
  EXPECT_FALSE(fs::exists(parent.path() / "nowhere"));
}

TEST_F(PasteboardStoreTest, AWriterWaitsForALockOnlySoLongAndSaysWhoHasIt) {
  ASSERT_TRUE(put(store, text("x")));
  const auto [lock, locked] = lockFile();
  ASSERT_TRUE(locked);
  EXPECT_EQ(put(store, text("y")).error(), (directory / "pasteboard.lock").string() +
                                               " is locked by another program, and still was after 1000 ms.");
  EXPECT_EQ(store.contents(), text("x"));
  close(lock);
  EXPECT_TRUE(put(store, text("y"))) << "what a holder's end gives back";
}

TEST_F(PasteboardStoreTest, AChildThatInheritedTheLockDoesNotKeepIt) {
  ASSERT_TRUE(put(store, text("x")));
  const auto opened = detail::PrivateDirectory::open(directory, false);
  ASSERT_TRUE(opened);
  const std::chrono::milliseconds noWait(0);
  auto lock = std::optional(opened->lock("pasteboard.lock", noWait));
  ASSERT_TRUE(*lock);
  EXPECT_FALSE(opened->lock("pasteboard.lock", noWait)) << "another holder in this process counts";
  const pid_t child = fork();
  if (child == 0) {
    pause();
    _exit(0);
  }
  lock.reset();
  EXPECT_TRUE(opened->lock("pasteboard.lock", noWait));
  EXPECT_TRUE(put(store, text("y")));
  ASSERT_EQ(kill(child, SIGKILL), 0);
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
}

TEST_F(PasteboardStoreTest, RemovesWhatHasExpiredAndNoSooner) {
  ASSERT_TRUE(put(store, text("x", seconds(1000))));
  EXPECT_EQ(store.contents(), text("x", seconds(1000)));
  clock->stopAt(seconds(1000.5));
  EXPECT_EQ(store.string(), std::nullopt);
  EXPECT_FALSE(fs::exists(file));
}

// A store asks the clock once it has read the file, and once more with the writers locked out: the moments at
// which another process could come between.
TEST_F(PasteboardStoreTest, RemovingTheExpiredLooksAgainWithAllWritersLockedOut) {
  ASSERT_TRUE(put(store, text("old", seconds(1))));
  const auto newer = text("new", seconds(3000));
  const PasteboardStore overtaken(directory, std::make_shared<HookedClock>([&](int call) {
                                    EXPECT_TRUE(call > 1 || put(store, newer));
                                  }));
  EXPECT_EQ(overtaken.contents(), PasteboardContents{});
  EXPECT_EQ(store.contents(), newer);

  ASSERT_TRUE(put(store, text("old", seconds(1))));
  bool locked = false;
  const PasteboardStore alone(directory, std::make_shared<HookedClock>([&](int call) {
                                if (call != 2) return;
                                const auto [lock, free] = lockFile();
                                locked = !free;
                                close(lock);
                              }));
  EXPECT_EQ(alone.contents(), PasteboardContents{});
  EXPECT_TRUE(locked);
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(PasteboardStoreTest, AnExpiredEntryIsLeftToAWriterAtWork) {
  ASSERT_TRUE(put(store, text("old", seconds(1))));
  const auto [lock, locked] = lockFile();
  ASSERT_TRUE(locked);
  EXPECT_EQ(store.contents(), PasteboardContents{}) << "and the reader doesn't wait for the writer";
  EXPECT_TRUE(fs::exists(file));
  close(lock);
}

TEST_F(PasteboardStoreTest, AReaderAmongManyWritersFindsOneWholeWrite) {
  constexpr int writers = 3;
  const auto written = [](int writer) { return text(std::string(10'000, static_cast<char>('a' + writer))); };
  ASSERT_TRUE(put(store, written(0)));
  std::atomic<int> failures = 0;
  std::atomic<int> running = writers;
  std::vector<std::thread> threads;
  for (int writer = 0; writer < writers; ++writer) {
    threads.emplace_back([&, writer] {
      auto own = makeStore();
      for (int round = 0; round < 100; ++round) {
        const auto done = put(own, written(writer));
        // On a machine that is busy otherwise the others may have the lock for long.
        failures += done || done.error().contains(" is locked by another program") ? 0 : 1;
      }
      --running;
    });
  }
  int torn = 0;
  while (running > 0) {
    const auto found = store.string();
    const bool whole =
        found && found->size() == 10'000 && found->find_first_not_of(found->front()) == std::string::npos;
    torn += whole ? 0 : 1;
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(torn, 0);
}

#include <tilvanego/platform/desktop/PasteboardStore.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <tilvanego/platform/memory/ManualClock.h>

#include "TemporaryDirectory.h"

using namespace tilvanego;
namespace fs = std::filesystem;

namespace {

Date seconds(double value) { return Date::fromSecondsSince1970(value); }

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

class PasteboardStoreTest : public testing::Test {
 protected:
  PasteboardStore makeStore() const { return {directory, clock}; }
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
  ASSERT_FALSE(store.replaceContents(text("one")));
  EXPECT_EQ(makeStore().contents(), text("one"));
  makeStore().setItems({{{"public.text", "two"}}});
  EXPECT_EQ(store.string(), "two");
  EXPECT_EQ(store.contents().options, PasteboardOptions{});
  store.setItems({});
  EXPECT_TRUE(makeStore().items().empty());
  EXPECT_FALSE(fs::exists(file));
  EXPECT_FALSE(store.replaceContents({})) << "emptying it again is no error";
}

TEST_F(PasteboardStoreTest, IsClosedToOthersWhateverTheFileCreationMask) {
  for (const mode_t mask : {mode_t{0}, mode_t{0777 & ~0700}, mode_t{0277}}) {
    const auto before = umask(mask);
    const auto failure = store.replaceContents(text("x"));
    umask(before);
    ASSERT_FALSE(failure) << failure.message();
    EXPECT_EQ(rights(file), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(rights(directory), fs::perms::owner_all);
    EXPECT_EQ(store.contents(), text("x"));
  }
}

TEST_F(PasteboardStoreTest, RefusesADirectoryThatIsNotPrivate) {
  const auto refused = [&](const fs::path& path) {
    PasteboardStore other(path, clock);
    EXPECT_TRUE(other.replaceContents(text("secret"))) << path;
    EXPECT_EQ(other.contents(), PasteboardContents{}) << path;
  };
  ASSERT_FALSE(store.replaceContents(text("x")));
  fs::permissions(directory, fs::perms::group_read, fs::perm_options::add);
  EXPECT_EQ(store.replaceContents(text("y")), std::errc::permission_denied);
  EXPECT_EQ(store.contents(), PasteboardContents{});
  fs::permissions(directory, fs::perms::owner_all);
  EXPECT_EQ(store.contents(), text("x"));

  fs::create_directory_symlink(directory, parent.path() / "link");
  refused(parent.path() / "link");
  refused(file);
  refused("/");
  refused(parent.path() / "no" / "parent");
  if (geteuid() == 0) {  // Only root can give a directory away.
    ASSERT_EQ(chown(directory.c_str(), 65534, 65534), 0);
    refused(directory);
  }
}

TEST_F(PasteboardStoreTest, ReadsNothingFromAFileThatIsNotItsOwn) {
  ASSERT_FALSE(store.replaceContents(text("x")));
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
  ASSERT_FALSE(store.replaceContents(text("x")));
  for (const char* name : {"pasteboard", "pasteboard.new"}) {
    fs::remove(directory / name);
    fs::create_symlink(elsewhere, directory / name);
    ASSERT_FALSE(store.replaceContents(text("y"))) << name;
    EXPECT_EQ(store.contents(), text("y"));
  }
  std::string line;
  std::getline(std::ifstream(elsewhere) >> std::ws, line);
  EXPECT_EQ(line, "untouched");
  EXPECT_FALSE(fs::exists(fs::symlink_status(directory / "pasteboard.new")));
}

TEST_F(PasteboardStoreTest, AWriteThatFailsLeavesWhatWasThere) {
  ASSERT_FALSE(store.replaceContents(text("x")));
  EXPECT_EQ(store.replaceContents(text("\xFF")), std::errc::invalid_argument);
  EXPECT_EQ(store.replaceContents(text(std::string(std::size_t{16} << 20U, 'x'))),
            std::errc::invalid_argument);
  fs::remove(directory / "pasteboard.lock");
  fs::create_symlink(parent.path() / "nowhere", directory / "pasteboard.lock");
  EXPECT_TRUE(store.replaceContents(text("y")));
  EXPECT_FALSE(fs::exists(parent.path() / "nowhere"));
  EXPECT_EQ(store.contents(), text("x"));
}

TEST_F(PasteboardStoreTest, RemovesWhatHasExpiredAndNoSooner) {
  ASSERT_FALSE(store.replaceContents(text("x", seconds(1000))));
  EXPECT_EQ(store.contents(), text("x", seconds(1000)));
  clock->stopAt(seconds(1000.5));
  EXPECT_EQ(store.string(), std::nullopt);
  EXPECT_FALSE(fs::exists(file));
}

// A store asks the clock once it has read the file, and once more with the writers locked out: the moments at
// which another process could come between.
TEST_F(PasteboardStoreTest, RemovingTheExpiredLooksAgainWithAllWritersLockedOut) {
  ASSERT_FALSE(store.replaceContents(text("old", seconds(1))));
  const auto newer = text("new", seconds(3000));
  const PasteboardStore overtaken(directory, std::make_shared<HookedClock>([&](int call) {
                                    if (call == 1) store.setItems(newer.items, newer.options);
                                  }));
  EXPECT_EQ(overtaken.contents(), PasteboardContents{});
  EXPECT_EQ(store.contents(), newer);

  ASSERT_FALSE(store.replaceContents(text("old", seconds(1))));
  bool locked = false;
  const PasteboardStore alone(directory, std::make_shared<HookedClock>([&](int call) {
                                const int lock =
                                    open((directory / "pasteboard.lock").c_str(), O_RDWR | O_CLOEXEC);
                                if (call == 2) locked = flock(lock, LOCK_EX | LOCK_NB) != 0;
                                close(lock);
                              }));
  EXPECT_EQ(alone.contents(), PasteboardContents{});
  EXPECT_TRUE(locked);
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(PasteboardStoreTest, AnExpiredEntryIsLeftToAWriterAtWork) {
  ASSERT_FALSE(store.replaceContents(text("old", seconds(1))));
  const int lock = open((directory / "pasteboard.lock").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(flock(lock, LOCK_EX), 0);
  EXPECT_EQ(store.contents(), PasteboardContents{}) << "and the reader doesn't wait for the writer";
  EXPECT_TRUE(fs::exists(file));
  close(lock);
}

TEST_F(PasteboardStoreTest, AReaderAmongManyWritersFindsOneWholeWrite) {
  constexpr int writers = 3;
  const auto written = [](int writer) { return text(std::string(10'000, static_cast<char>('a' + writer))); };
  ASSERT_FALSE(store.replaceContents(written(0)));
  std::atomic<int> failures = 0;
  std::atomic<int> running = writers;
  std::vector<std::thread> threads;
  for (int writer = 0; writer < writers; ++writer) {
    threads.emplace_back([&, writer] {
      auto own = makeStore();
      for (int round = 0; round < 100; ++round) failures += own.replaceContents(written(writer)) ? 1 : 0;
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

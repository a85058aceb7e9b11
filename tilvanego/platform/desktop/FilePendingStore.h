#pragma once

#include <filesystem>
#include <memory>

#include <tilvanego/platform/PendingStore.h>
#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Keeps each text in a file of its own, in a directory that only the user can access (mode 0700, files
/// 0600).
///
/// A file is written completely beside the former one, synced to the disk, and renamed, and the directory is
/// synced: after a crash of the system, too, there is the former text or the new one. A text has at most
/// 4 MiB.
///
/// The first process that uses a directory holds its lock until it ends or destroys the store. Every call of
/// another process, or of another store of this one, then fails, after a wait of one second at the first
/// one: two processes of one host don't take each other's operations for interrupted ones. A forked child is
/// another process: it neither keeps its parent's lock nor releases it, and it can use its copy of the store
/// when the parent has ended. A process that copies the directory itself loses the lock, as the system has
/// it: the next call takes it again, or fails if another process has it by then.
///
/// If the directory is removed or made anew, the next call goes to the new one.
///
/// A file that is larger, that is no regular file or a symbolic link, that belongs to another user, or that
/// others have any right to, is not read: it is renamed to NAME.unreadable, and `read` fails with a sentence
/// that says so. If there is such a file already, the new one is NAME.unreadable-2, and so on up to 99; then
/// the file stays where it is.
///
/// `keep` and `remove` fail if there is a file of this name that isn't the one which the object has read or
/// kept last, or that was changed since: another process has kept it. Read it first. Names have ASCII letters
/// only, and none is "lock"; other names are refused.
class FilePendingStore final : public PendingStore {
 public:
  /// A store in `directory`. The first `keep` creates it, and its parents. Every call fails if it belongs to
  /// another user, if others have any right to it, or if it is a symbolic link.
  explicit FilePendingStore(std::filesystem::path directory);

  /// A store in the directory `NAME/pending` of XDG_STATE_HOME, if that is an absolute path, else of
  /// `.local/state` in the user's HOME. `hostName` is one name, such as "com.example.till"; a path ends the
  /// process with a message. Without both variables every call fails.
  [[nodiscard]] static std::unique_ptr<FilePendingStore> ofHost(const std::string& hostName);

  FilePendingStore(const FilePendingStore&) = delete;
  FilePendingStore& operator=(const FilePendingStore&) = delete;
  /// Releases the lock.
  ~FilePendingStore() override;

  [[nodiscard]] std::expected<std::optional<std::string>, std::string> read(const std::string& name) override;
  [[nodiscard]] std::expected<void, std::string> keep(const std::string& name,
                                                      std::string_view text) override;
  [[nodiscard]] std::expected<void, std::string> remove(const std::string& name) override;
  [[nodiscard]] std::expected<void, std::string> setAside(const std::string& name) override;

  [[nodiscard]] const std::filesystem::path& directory() const TILVANEGO_LIFETIMEBOUND { return directory_; }

 private:
  /// The open directory and its lock.
  struct Held;
  [[nodiscard]] bool isHeld();
  [[nodiscard]] std::expected<Held*, std::string> hold();
  [[nodiscard]] bool exists() const;
  [[nodiscard]] std::expected<void, std::string> checkKnown(const Held& held, const std::string& name) const;

  std::filesystem::path directory_;
  std::unique_ptr<Held> held_;
  bool hasWaited_ = false;
};

}  // namespace tilvanego

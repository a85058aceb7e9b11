#include <tilvanego/platform/desktop/SpawnedProgram.h>

#include <cerrno>
#include <csignal>
#include <new>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tilvanego::detail {
namespace {

// What a program gets of this one: of its descriptors at most standard error, no blocked signal, and the
// default disposition of each.
class Inheritance {
 public:
  Inheritance()
      : failed_((posix_spawn_file_actions_init(&actions_) | posix_spawnattr_init(&attributes_)) != 0) {}
  Inheritance(const Inheritance&) = delete;
  Inheritance& operator=(const Inheritance&) = delete;
  ~Inheritance() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }

  // False if memory is short.
  bool set(StandardError standardError) {
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    return !failed_ &&
           posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0) == 0 &&
           posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0) == 0 &&
           (standardError == StandardError::inherited ||
            posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, "/dev/null", O_WRONLY, 0) == 0) &&
           posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1) == 0 &&
           posix_spawnattr_setsigmask(&attributes_, &none) == 0 &&
           posix_spawnattr_setsigdefault(&attributes_, &all) == 0 &&
           posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF) == 0;
  }
  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
  bool failed_;
};

}  // namespace

std::optional<pid_t> spawnProgram(const std::vector<std::string>& words, StandardError standardError) try {
  Inheritance inheritance;
  if (words.empty() || !inheritance.set(standardError)) return std::nullopt;

  // posix_spawnp takes pointers to what it doesn't change.
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (const auto& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);

  pid_t process = 0;
  const int failure = posix_spawnp(&process, arguments.front(), inheritance.actions(),
                                   inheritance.attributes(), arguments.data(), environ);
  if (failure != 0) return std::nullopt;
  return process;
} catch (const std::bad_alloc&) {
  return std::nullopt;
}

bool waitForSuccess(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) != process) {
    if (errno != EINTR) return errno == ECHILD;
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace tilvanego::detail

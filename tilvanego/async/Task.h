#pragma once

#include <condition_variable>
#include <coroutine>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include <tilvanego/platform/FatalError.h>
#include <tilvanego/platform/HostCode.h>
#include <tilvanego/platform/RunLoop.h>

namespace [[gnu::visibility("default")]] tilvanego {

template <typename T>
class Task;

}  // namespace tilvanego

namespace tilvanego::detail {

template <typename T>
class TaskPromise;

/// The part of the promise that doesn't depend on the result.
template <typename T>
class TaskPromiseBase {
 public:
  Task<T> get_return_object() noexcept {
    return Task<T>(std::coroutine_handle<TaskPromise<T>>::from_promise(static_cast<TaskPromise<T>&>(*this)));
  }
  std::suspend_always initial_suspend() noexcept { return {}; }

  struct FinalSuspend {
    bool await_ready() noexcept { return false; }
    template <typename Promise>
    std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> ended) noexcept {
      return ended.promise().continuation;
    }
    void await_resume() noexcept {}
  };
  FinalSuspend final_suspend() noexcept { return {}; }
  void unhandled_exception() noexcept { failure = std::current_exception(); }

  std::coroutine_handle<> continuation = std::noop_coroutine();
  std::exception_ptr failure;
  bool hasBegun = false;
  /// The thread that is blocked in `wait` until this task has ended, so that what the task awaits there may
  /// use it; no thread otherwise.
  std::thread::id waitingThread{};
};

template <typename T>
class TaskPromise : public TaskPromiseBase<T> {
 public:
  void return_value(T value) { result.emplace(std::move(value)); }
  T take() {
    if (this->failure) std::rethrow_exception(this->failure);
    return std::move(*result);
  }

  std::optional<T> result;
};

template <>
class TaskPromise<void> : public TaskPromiseBase<void> {
 public:
  void return_void() noexcept {}
  void take() const {
    if (failure) std::rethrow_exception(failure);
  }
};

/// A coroutine that nobody awaits. It destroys itself at its end. If it throws, `endProcess` is called while
/// the exception is handled.
template <void (*endProcess)()>
struct Detached {
  struct promise_type {
    Detached get_return_object() noexcept { return {}; }
    std::suspend_never initial_suspend() noexcept { return {}; }
    std::suspend_never final_suspend() noexcept { return {}; }
    void return_void() noexcept {}
    void unhandled_exception() noexcept { endProcess(); }
  };
};

[[noreturn]] inline void endForThrowingPost() {
  endForException("the main queue's post, at the end of Task::wait,");
}
[[noreturn]] inline void endForDetachedTask() {
  endForException("a detached Task", ", and nobody awaits it: catch exceptions inside the task.");
}

}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

/// A coroutine that returns a T or throws. It starts when a coroutine of any type awaits it, or when `wait`
/// is called. After a suspension it continues on the thread that resumes it; there it also resumes the
/// coroutine that awaits it.
///
/// Owns the coroutine. A task may be destroyed before it starts or while it is suspended, which destroys the
/// coroutine's variables, but not while it runs. It may be awaited or waited for once only: a second time
/// ends the process.
template <typename T>
class [[nodiscard]] Task {
 public:
  using promise_type = detail::TaskPromise<T>;

  Task(Task&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Task& operator=(Task&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Task() {
    if (handle_) handle_.destroy();
  }

  auto operator co_await() && noexcept { return Awaiter{{begin()}}; }

  /// Starts the task, blocks this thread until its end, and returns its result. A request of the HTTP client
  /// that the task awaits on this thread, itself or by a task that it awaits, is sent by this thread, as by
  /// `RequestBuilder::send`. Must not be called on the thread of a main queue that the task needs: it would
  /// never return.
  T wait() &&;
  /// Like above, but runs the blocks of `loop` meanwhile. For the main thread of a program without its own
  /// event loop. If blocks of the loop throw, this throws the first exception once the task has ended; the
  /// others are dropped after one line on standard error each.
  T wait(RunLoop& loop) &&;

 private:
  friend detail::TaskPromiseBase<T>;
  explicit Task(std::coroutine_handle<promise_type> handle) : handle_(handle) {}

  std::coroutine_handle<promise_type> begin() const noexcept {
    if (!handle_ || std::exchange(handle_.promise().hasBegun, true)) {
      detail::wrongUse("a Task is awaited once, and not after it was moved from");
    }
    return handle_;
  }

  /// Awaits the end of the task without its result.
  struct Ended {
    bool await_ready() const noexcept { return false; }
    std::coroutine_handle<> await_suspend(std::coroutine_handle<> waiting) const noexcept {
      handle.promise().continuation = waiting;
      return handle;
    }
    void await_resume() const noexcept {}
    std::coroutine_handle<promise_type> handle;
  };
  struct Awaiter : Ended {
    template <typename Promise>
    std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> waiting) const noexcept {
      if constexpr (requires { waiting.promise().waitingThread; }) {
        this->handle.promise().waitingThread = waiting.promise().waitingThread;
      }
      return Ended::await_suspend(waiting);
    }
    T await_resume() const { return this->handle.promise().take(); }
  };
  template <typename Signal>
  static detail::Detached<detail::endForThrowingPost> signalEnd(std::coroutine_handle<promise_type> handle,
                                                                Signal& signal) {
    co_await Ended{handle};
    signal();
  }

  std::coroutine_handle<promise_type> handle_;
};

/// Starts a task that nobody awaits, as from the handler of a button, and returns at its first suspension.
/// The task destroys itself at its end. If it throws, the process ends after one line on standard error.
inline void detach(Task<void> task) {
  [](Task<void> owned) -> detail::Detached<detail::endForDetachedTask> {
    co_await std::move(owned);
  }(std::move(task));
}

template <typename T>
T Task<T>::wait() && {
  std::mutex mutex;
  std::condition_variable changed;
  bool ended = false;
  // Notifies with the lock held: the condition variable lies on the waiting thread's stack.
  auto signal = [&] {
    const std::lock_guard held(mutex);
    ended = true;
    changed.notify_one();
  };
  const auto handle = begin();
  handle.promise().waitingThread = std::this_thread::get_id();
  signalEnd(handle, signal);
  {
    std::unique_lock held(mutex);
    changed.wait(held, [&] { return ended; });
  }
  return handle_.promise().take();
}

template <typename T>
T Task<T>::wait(RunLoop& loop) && {
  bool ended = false;
  auto signal = [&] {
    loop.post([&] {
      ended = true;
      loop.stop();
    });
  };
  signalEnd(begin(), signal);
  // The task may use these variables until it has ended, also if a block throws.
  std::exception_ptr thrown;
  while (!ended) {  // NOLINT(bugprone-infinite-loop): a block that the loop runs sets the flag
    try {
      loop.run();
    } catch (...) {
      if (thrown) detail::reportDroppedException("a block of the main queue");
      if (!thrown) thrown = std::current_exception();
    }
  }
  if (thrown) std::rethrow_exception(thrown);
  return handle_.promise().take();
}

}  // namespace tilvanego

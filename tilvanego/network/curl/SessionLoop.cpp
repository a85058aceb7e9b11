#include <tilvanego/network/curl/SessionLoop.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <new>
#include <utility>

#include <openssl/crypto.h>

#include <tilvanego/network/curl/BrokenPipe.h>
#include <tilvanego/network/curl/Cookies.h>
#include <tilvanego/platform/HostCode.h>

namespace tilvanego::detail {
namespace {

using Code = TransportError::Code;

constexpr long maximumKeptConnections = 64;
constexpr std::size_t maximumIdleTransfers = 64;
/// In milliseconds. Under heavy load, a transfer of libcurl 7.88 sometimes stopped, with no event to wait
/// for, until the next call of libcurl. One call a second avoids that.
constexpr int longestWaitWithTransfers = 1000;

void initializeCurl() {
  // Once for the process, without a cleanup: the host or another library may use libcurl too.
  static const auto result = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (result != CURLE_OK) throw std::bad_alloc();
}

/// Reserves capacity, so that adding elements up to `count` can't fail.
template <typename Element>
void makeRoom(std::vector<Element>& elements, std::size_t count) {
  if (elements.capacity() < count) elements.reserve(std::max(count, 2 * elements.capacity()));
}

}  // namespace

SessionLoop::Handles::Handles() : share(curl_share_init()), multi(curl_multi_init()) {
  if (!share || !multi) throw std::bad_alloc();
  shareLocks.serve(share.get());
  curl_share_setopt(share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_COOKIE);
  curl_share_setopt(share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
  curl_multi_setopt(multi.get(), CURLMOPT_MAXCONNECTS, maximumKeptConnections);
  idle.reserve(maximumIdleTransfers);
}

SessionLoop::SessionLoop(TransferSettings settings)
    : settings_(std::move(settings)),
      gate_(*settings_.gate),
      handles_((initializeCurl(), std::make_shared<Handles>())),
      callers_(settings_, handles_->lanes, handles_->share.get()) {
  // The first call takes the memory that later ones may lack.
  static_cast<void>(Outcome::outOfMemory());
  curl_multi_setopt(handles_->multi.get(), CURLMOPT_MAX_HOST_CONNECTIONS,
                    static_cast<long>(std::max(settings_.configuration.maximumConnectionsPerHost, 0)));
}

// After the exit, closing a connection would use the TLS library after its cleanup. In a forked child it
// would close the parent's connections.
SessionLoop::~SessionLoop() {
  if (gate_.isOfProcess() && gate_.tryToEnter()) {
    const BrokenPipeBlocked blocked;
    handles_.reset();
    gate_.leave();
  } else {
    ExitGate::ofProcess().keep(std::move(handles_));
  }
}

void SessionLoop::submit(std::shared_ptr<SessionTask> task) {
  {
    const std::lock_guard held(mutex_);
    inbox_.push_back(std::move(task));
    if (!running_) {
      try {
        startThread();
      } catch (...) {
        inbox_.pop_back();
        throw;
      }
    }
    if (!std::exchange(asleep_, false)) return;
  }
  wake();
}

std::vector<HTTPCookie> SessionLoop::cookies() const {
  if (!gate_.isOfProcess() || !gate_.tryToEnter()) return {};
  struct Leave {
    ExitGate& gate;
    ~Leave() { gate.leave(); }
  } const leave{gate_};
  return cookiesOf(handles_->share.get());
}

void SessionLoop::clearCookies() {
  if (!gate_.isOfProcess() || !gate_.tryToEnter()) return;
  deleteCookies(handles_->share.get());
  gate_.leave();
}

// Called with the mutex locked. After `close` nobody joins the thread, so it is detached.
void SessionLoop::startThread() {
  gate_.add(*this);
  try {
    std::thread thread(&SessionLoop::runThread, shared_from_this());
    running_ = true;
    if (closed_) {
      thread.detach();
    } else {
      thread_ = std::move(thread);
    }
  } catch (...) {
    gate_.remove(*this);
    throw;
  }
}

void SessionLoop::close() {
  // In a forked child the mutex may be locked for ever, and the thread doesn't exist.
  if (!gate_.isOfProcess()) {
    // Its handle can't be used either: it may now be the handle of a thread of the child.
    static_cast<void>(new std::thread(std::move(thread_)));
    return;
  }
  callers_.close();
  std::thread thread;
  {
    const std::lock_guard held(mutex_);
    closed_ = true;
    asleep_ = false;
    thread = std::move(thread_);
  }
  if (!thread.joinable()) return;
  wake();
  if (thread.get_id() != std::this_thread::get_id() && gate_.waitUntilRemoved(*this)) {
    thread.join();
  } else {
    thread.detach();
  }
}

// Destroys the TLS library's data of this thread inside the gate. Otherwise the system would destroy them
// later, when the process may be exiting.
void SessionLoop::runThread(std::shared_ptr<SessionLoop> loop) noexcept {
  auto& gate = loop->gate_;
  gate.enter();
  loop->run();
  gate.remove(*loop);
  loop.reset();
  OPENSSL_thread_stop();
  gate.leave();
}

void SessionLoop::run() {
  BrokenPipeBlocked::blockForEver();
  std::vector<std::shared_ptr<SessionTask>> arrived;
  while (takeArrived(arrived)) {
    gate_.pass();
    if (!arrived.empty()) {
      for (const auto& task : arrived) process(task);
      gate_.runHostCode([&] { arrived.clear(); });
    }
    while (closing_ && !handles_->active.empty()) {
      fail(*handles_->active.back(), Code::cancelled, "the session has ended");
    }
    int running = 0;
    curl_multi_perform(handles_->multi.get(), &running);
    now_ = Clock::now();
    noteActivity();
    finishEnded();
    failOverdue();
    waitForWork();
  }
}

// Returns false if the thread must end; `running_` changes under the same lock.
bool SessionLoop::takeArrived(std::vector<std::shared_ptr<SessionTask>>& arrived) {
  const std::lock_guard held(mutex_);
  asleep_ = false;
  closing_ = closed_;
  arrived.swap(inbox_);
  if (closing_ && arrived.empty() && handles_->active.empty()) running_ = false;
  return running_;
}

void SessionLoop::waitForWork() {
  {
    const std::lock_guard held(mutex_);
    if (!inbox_.empty() || closed_) return;
    asleep_ = true;
  }
  int milliseconds = handles_->active.empty() ? INT_MAX : longestWaitWithTransfers;
  if (nextDeadline_ != Clock::time_point::max()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(nextDeadline_ - now_).count();
    milliseconds = static_cast<int>(std::clamp<decltype(left)>(left, 0, milliseconds));
  }
  curl_multi_poll(handles_->multi.get(), nullptr, 0, milliseconds, nullptr);
}

void SessionLoop::process(const std::shared_ptr<SessionTask>& task) {
  if (task->isFinished()) return;
  if (!closing_ && !task->isCancelled()) {
    if (!task->transfer) start(task);
    // Starting may have ended it.
    if (task->takeGoOn() && task->transfer) {
      task->transfer->goOn();
      nextDeadline_ = std::min(nextDeadline_, task->transfer->deadline());
    }
  } else if (task->transfer) {
    fail(*task->transfer, Code::cancelled, "the task was cancelled");
  } else {
    complete(task, Outcome::failed(Code::cancelled, "the task was cancelled"));
  }
}

void SessionLoop::start(const std::shared_ptr<SessionTask>& task) {
  auto& active = handles_->active;
  try {
    makeRoom(touched_, active.size() + 1);
    makeRoom(active, active.size() + 1);
    if (handles_->idle.empty()) {
      active.push_back(
          std::make_unique<Transfer>(settings_, handles_->sockets, handles_->share.get(), touched_));
    } else {
      active.push_back(std::move(handles_->idle.back()));
      handles_->idle.pop_back();
    }
  } catch (const std::bad_alloc&) {
    return complete(task, Outcome::outOfMemory());
  }
  auto& started = *active.back();
  started.position = active.size() - 1;
  if (auto refused = started.begin(task)) {
    finish(started, *std::move(refused));
  } else {
    send(started);
  }
}

void SessionLoop::send(Transfer& transfer) {
  if (curl_multi_add_handle(handles_->multi.get(), transfer.handle()) != CURLM_OK) {
    return finish(transfer, Outcome::outOfMemory());
  }
  nextDeadline_ = std::min(nextDeadline_, transfer.deadline());
}

// Calls progress observers here, not inside libcurl's callbacks, and once for all bytes since the last call.
void SessionLoop::noteActivity() {
  for (auto* transfer : touched_) transfer->noteActivity(now_);
  touched_.clear();
}

void SessionLoop::finishEnded() {
  int left = 0;
  while (const auto* message = curl_multi_info_read(handles_->multi.get(), &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const auto result = message->data.result;
    void* self = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &self);
    auto& transfer = *static_cast<Transfer*>(self);
    curl_multi_remove_handle(handles_->multi.get(), transfer.handle());
    if (auto outcome = transfer.conclude(result)) {
      finish(transfer, *std::move(outcome));
    } else {
      send(transfer);
    }
  }
}

// Each byte moves the deadline of its transfer. `nextDeadline_` is updated only when it is reached, so that a
// byte doesn't cost a loop over all transfers.
void SessionLoop::failOverdue() {
  if (now_ < nextDeadline_) return;
  nextDeadline_ = Clock::time_point::max();
  // From the end, because `fail` moves the last transfer to the position of the failed one.
  for (auto i = handles_->active.size(); i-- > 0;) {
    auto& transfer = *handles_->active[i];
    if (transfer.deadline() <= now_) transfer.noteUnfinishedLine(now_);
    if (transfer.deadline() <= now_) {
      fail(transfer, Code::timedOut, transfer.timeoutMessage(now_));
    } else {
      nextDeadline_ = std::min(nextDeadline_, transfer.deadline());
    }
  }
}

void SessionLoop::fail(Transfer& transfer, TransportError::Code code, const char* message) {
  transfer.abandon();
  curl_multi_remove_handle(handles_->multi.get(), transfer.handle());
  finish(transfer, transfer.failed(code, message));
}

void SessionLoop::finish(Transfer& transfer, Outcome outcome) {
  auto& active = handles_->active;
  transfer.tellEnd(outcome);
  auto task = transfer.end();
  active.back()->position = transfer.position;
  std::swap(active[transfer.position], active.back());
  auto& idle = handles_->idle;
  if (transfer.keepsHandle() && idle.size() < maximumIdleTransfers) idle.push_back(std::move(active.back()));
  active.pop_back();
  complete(std::move(task), std::move(outcome));
}

void SessionLoop::complete(std::shared_ptr<SessionTask> task, Outcome outcome) {
  gate_.runHostCode([&] {
    if (settings_.delegate) {
      runListener("URLSessionDelegate::didEndTask", [&] { settings_.delegate->didEndTask(*task); });
    }
    task->finish(std::move(outcome));
    // May destroy progress observers, which are the host's.
    task.reset();
  });
}

}  // namespace tilvanego::detail

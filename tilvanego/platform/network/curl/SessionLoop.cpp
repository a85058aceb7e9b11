#include <tilvanego/platform/network/curl/SessionLoop.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstddef>
#include <new>
#include <utility>

namespace tilvanego::detail {

namespace {

using Code = TransportError::Code;

constexpr std::size_t maximumSpareTransfers = 64;
constexpr long maximumKeptConnections = 64;
/// In milliseconds. Under heavy load a transfer of libcurl 7.88 was seen to stand still, with nothing to wait
/// for, until it was looked at again; programs that look once a second never notice.
constexpr int longestWaitWithTransfers = 1000;

void initializeCurl() {
  // Once for the process, and for good: the host, or another library in it, may use libcurl too.
  static const auto result = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (result != CURLE_OK) throw std::bad_alloc();
}

// TLS writes to a connection that the other side has closed: that is a failure of the request and no reason
// to end the process.
void blockBrokenPipeSignal() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

SessionLoop::SessionLoop(TransferSettings settings) : settings_(std::move(settings)) {
  initializeCurl();
  share_.reset(curl_share_init());
  multi_.reset(curl_multi_init());
  if (!share_ || !multi_) throw std::bad_alloc();
  // No lock functions: one thread uses them.
  curl_share_setopt(share_.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_COOKIE);
  curl_share_setopt(share_.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
  curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, maximumKeptConnections);
  curl_multi_setopt(multi_.get(), CURLMOPT_MAX_HOST_CONNECTIONS,
                    static_cast<long>(std::max(settings_.configuration.maximumConnectionsPerHost, 0)));
}

SessionLoop::~SessionLoop() {
  // The handles use both others.
  spare_.clear();
  multi_.reset();
}

void SessionLoop::lookAt(std::shared_ptr<SessionTask> task) {
  {
    const std::lock_guard held(mutex_);
    inbox_.push_back(std::move(task));
    if (!running_) startThread();
    if (!std::exchange(asleep_, false)) return;
  }
  curl_multi_wakeup(multi_.get());
}

// Expects the mutex to be held. After the session's end there is nobody left to wait for a thread.
void SessionLoop::startThread() {
  std::thread thread([loop = shared_from_this()] { loop->run(); });
  running_ = true;
  if (closed_) {
    thread.detach();
  } else {
    thread_ = std::move(thread);
  }
}

void SessionLoop::close() {
  std::thread thread;
  {
    const std::lock_guard held(mutex_);
    closed_ = true;
    asleep_ = false;
    thread = std::move(thread_);
  }
  if (!thread.joinable()) return;
  curl_multi_wakeup(multi_.get());
  if (thread.get_id() == std::this_thread::get_id()) {
    thread.detach();
  } else {
    thread.join();
  }
}

void SessionLoop::run() {
  blockBrokenPipeSignal();
  std::vector<std::shared_ptr<SessionTask>> arrived;
  while (takeArrived(arrived)) {
    for (const auto& task : arrived) attendTo(task);
    arrived.clear();
    while (closing_ && !active_.empty()) giveUp(*active_.back(), Code::cancelled, "the session has ended");
    int running = 0;
    curl_multi_perform(multi_.get(), &running);
    now_ = Clock::now();
    noteActivity();
    finishEnded();
    giveUpIdle();
    waitForWork();
  }
}

// False if the thread is to end, which it says to the others under the same lock.
bool SessionLoop::takeArrived(std::vector<std::shared_ptr<SessionTask>>& arrived) {
  const std::lock_guard held(mutex_);
  asleep_ = false;
  closing_ = closed_;
  arrived.swap(inbox_);
  if (closing_ && arrived.empty() && active_.empty()) running_ = false;
  return running_;
}

void SessionLoop::waitForWork() {
  {
    const std::lock_guard held(mutex_);
    if (!inbox_.empty() || closed_) return;
    asleep_ = true;
  }
  int milliseconds = active_.empty() ? INT_MAX : longestWaitWithTransfers;
  if (nextDeadline_ != Clock::time_point::max()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(nextDeadline_ - now_).count();
    milliseconds = static_cast<int>(std::clamp<decltype(left)>(left, 0, milliseconds));
  }
  curl_multi_poll(multi_.get(), nullptr, 0, milliseconds, nullptr);
}

void SessionLoop::attendTo(const std::shared_ptr<SessionTask>& task) {
  if (task->isFinished()) return;
  if (!closing_ && !task->isCancelled()) {
    if (!task->transfer) start(task);
  } else if (task->transfer) {
    giveUp(*task->transfer, Code::cancelled, "the task was cancelled");
  } else {
    task->finish(std::nullopt, nullptr, TransportError{Code::cancelled, "the task was cancelled"});
  }
}

void SessionLoop::start(std::shared_ptr<SessionTask> task) {
  std::unique_ptr<Transfer> transfer;
  if (spare_.empty()) {
    transfer = std::make_unique<Transfer>(settings_, share_.get(), touched_);
  } else {
    transfer = std::move(spare_.back());
    spare_.pop_back();
  }
  transfer->position = active_.size();
  auto& started = *transfer;
  active_.push_back(std::move(transfer));
  if (auto begun = started.begin(std::move(task)); begun) {
    send(started);
  } else {
    finish(started, Outcome{.error = std::move(begun.error())});
  }
}

void SessionLoop::send(Transfer& transfer) {
  curl_multi_add_handle(multi_.get(), transfer.handle());
  nextDeadline_ = std::min(nextDeadline_, transfer.deadline());
}

// Observers of progress are called from here and not from within libcurl, and once for all that has come and
// gone since the last time.
void SessionLoop::noteActivity() {
  for (auto* transfer : touched_) transfer->noteActivity(now_);
  touched_.clear();
}

void SessionLoop::finishEnded() {
  int left = 0;
  while (const auto* message = curl_multi_info_read(multi_.get(), &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const auto result = message->data.result;
    void* self = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &self);
    auto& transfer = *static_cast<Transfer*>(self);
    curl_multi_remove_handle(multi_.get(), transfer.handle());
    if (auto outcome = transfer.conclude(result)) {
      finish(transfer, *std::move(outcome));
    } else {
      send(transfer);
    }
  }
}

// The deadline of each transfer moves on with each of its bytes; this one only when it is reached, so that
// bytes cost no look at all the transfers.
void SessionLoop::giveUpIdle() {
  if (now_ < nextDeadline_) return;
  nextDeadline_ = Clock::time_point::max();
  // From the end: giving up moves the last transfer into the gap.
  for (auto i = active_.size(); i-- > 0;) {
    if (active_[i]->deadline() <= now_) {
      giveUp(*active_[i], Code::timedOut, "no byte came or went for the request's timeout interval");
    } else {
      nextDeadline_ = std::min(nextDeadline_, active_[i]->deadline());
    }
  }
}

void SessionLoop::giveUp(Transfer& transfer, TransportError::Code code, const char* message) {
  curl_multi_remove_handle(multi_.get(), transfer.handle());
  finish(transfer, transfer.failed({code, message}));
}

void SessionLoop::finish(Transfer& transfer, Outcome outcome) {
  const auto task = transfer.end();
  active_.back()->position = transfer.position;
  std::swap(active_[transfer.position], active_.back());
  auto ended = std::move(active_.back());
  active_.pop_back();
  if (ended->isReusable() && spare_.size() < maximumSpareTransfers) spare_.push_back(std::move(ended));
  task->finish(std::move(outcome.data), std::move(outcome.response), std::move(outcome.error));
}

}  // namespace tilvanego::detail

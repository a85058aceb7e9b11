#include <tilvanego/network/curl/Lane.h>

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

#include <tilvanego/network/curl/BrokenPipe.h>

namespace tilvanego::detail {
namespace {

using Code = TransportError::Code;

/// To different hosts, or of different schemes.
constexpr long maximumConnections = 16;
/// As in the session's thread: one call of libcurl a second, whatever it waits for.
constexpr std::chrono::milliseconds longestWait{1000};

}  // namespace

/// One request on its way.
class Lane::Run {
 public:
  Run(Lane& lane, const std::atomic<bool>& closed)
      : lane_(lane), transfer_(lane.transfer_), closed_(closed) {}

  Outcome of(const std::shared_ptr<SessionTask>& task) {
    auto outcome = transfer_.begin(task);
    if (!outcome) outcome = add();
    while (!outcome) outcome = turn(*task);
    transfer_.tellEnd(*outcome);
    const auto released = transfer_.end();
    lane_.touched_.clear();
    return *std::move(outcome);
  }

 private:
  using Clock = Transfer::Clock;

  std::optional<Outcome> add() {
    lane_.usesTLS_ = lane_.usesTLS_ || transfer_.mayUseTLS();
    if (lane_.usesTLS_ && !blocked_) blocked_.emplace();
    if (curl_multi_add_handle(lane_.multi(), transfer_.handle()) == CURLM_OK) return std::nullopt;
    return Outcome::outOfMemory();
  }

  std::optional<Outcome> turn(SessionTask& task) {
    lane_.settings_.gate->pass();
    if (closed_) return abort(Code::cancelled, "the session has ended");
    if (task.isCancelled()) return abort(Code::cancelled, "the task was cancelled");
    if (task.takeGoOn()) transfer_.goOn();
    int running = 0;
    curl_multi_perform(lane_.multi(), &running);
    const auto now = Clock::now();
    if (!lane_.touched_.empty()) {
      transfer_.noteActivity(now);
      lane_.touched_.clear();
    }
    int left = 0;
    if (running == 0) {
      if (const auto* message = curl_multi_info_read(lane_.multi(), &left)) return conclude(*message);
    }
    return wait(now);
  }

  std::optional<Outcome> conclude(const CURLMsg& message) {
    const auto result = message.data.result;
    curl_multi_remove_handle(lane_.multi(), transfer_.handle());
    auto outcome = transfer_.conclude(result);
    return outcome ? std::move(outcome) : add();
  }

  std::optional<Outcome> wait(Clock::time_point now) {
    if (transfer_.deadline() <= now) transfer_.noteUnfinishedLine(now);
    if (transfer_.deadline() <= now) return abort(Code::timedOut, transfer_.timeoutMessage(now));
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(
        std::min<Clock::duration>(transfer_.deadline() - now, longestWait));
    curl_multi_poll(lane_.multi(), nullptr, 0, static_cast<int>(left.count()), nullptr);
    return std::nullopt;
  }

  Outcome abort(Code code, const char* message) {
    transfer_.abandon();
    curl_multi_remove_handle(lane_.multi(), transfer_.handle());
    return transfer_.failed(code, message);
  }

  Lane& lane_;
  Transfer& transfer_;
  const std::atomic<bool>& closed_;
  std::optional<BrokenPipeBlocked> blocked_;
};

Lane::Lane(const TransferSettings& settings, CURLSH* share)
    : settings_(settings), multi_(curl_multi_init()), transfer_(settings, sockets_, share, touched_) {
  if (!multi_) throw std::bad_alloc();
  curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, maximumConnections);
  touched_.reserve(1);
}

Outcome Lane::send(const std::shared_ptr<SessionTask>& task, const std::atomic<bool>& closed) try {
  return Run(*this, closed).of(task);
} catch (const std::bad_alloc&) {
  return Outcome::outOfMemory();
}

}  // namespace tilvanego::detail

#pragma once

#include <atomic>
#include <memory>
#include <optional>

#include <curl/curl.h>

#include <tilvanego/network/curl/SessionTask.h>
#include <tilvanego/network/curl/Sockets.h>
#include <tilvanego/network/curl/Transfer.h>
#include <tilvanego/values/Release.h>

namespace tilvanego::detail {

/// Connections over which threads of the host send requests themselves, one thread and one request at a time.
class Lane {
 public:
  /// Both arguments must outlive the lane. Throws std::bad_alloc if memory is short.
  Lane(const TransferSettings& settings, CURLSH* share);
  Lane(const Lane&) = delete;
  Lane& operator=(const Lane&) = delete;

  /// Sends the task, and returns what its completion must get. Ends as cancelled when the task is cancelled,
  /// or `closed` is set, and then `wake` is called. Called inside the gate; leaves it for callbacks of the
  /// host.
  [[nodiscard]] Outcome send(const std::shared_ptr<SessionTask>& task, const std::atomic<bool>& closed);

  /// Ends a wait of `send`. May be called from any thread.
  void wake() noexcept { curl_multi_wakeup(multi_.get()); }
  [[nodiscard]] CURLM* multi() const { return multi_.get(); }

 private:
  class Run;

  const TransferSettings& settings_;
  Sockets sockets_;
  std::unique_ptr<CURLM, Release<curl_multi_cleanup>> multi_;
  Transfer::Touched touched_;
  Transfer transfer_;
  /// A connection of TLS may be among the kept ones.
  bool usesTLS_ = false;
};

}  // namespace tilvanego::detail

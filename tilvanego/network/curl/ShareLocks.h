#pragma once

#include <array>
#include <mutex>

#include <curl/curl.h>

namespace tilvanego::detail {

/// The locks of what the handles of a session share: threads of the host use some of the handles. Must
/// outlive the shared data.
class ShareLocks {
 public:
  ShareLocks() = default;
  ShareLocks(const ShareLocks&) = delete;
  ShareLocks& operator=(const ShareLocks&) = delete;

  /// Sets the lock functions of the shared data. Called before a handle uses them.
  void serve(CURLSH* share) {
    curl_share_setopt(share, CURLSHOPT_LOCKFUNC, &lock);
    curl_share_setopt(share, CURLSHOPT_UNLOCKFUNC, &unlock);
    curl_share_setopt(share, CURLSHOPT_USERDATA, static_cast<void*>(this));
  }

 private:
  static void lock(CURL*, curl_lock_data data, curl_lock_access, void* self) noexcept {
    static_cast<ShareLocks*>(self)->mutexes_[data].lock();
  }
  static void unlock(CURL*, curl_lock_data data, void* self) noexcept {
    static_cast<ShareLocks*>(self)->mutexes_[data].unlock();
  }

  std::array<std::mutex, CURL_LOCK_DATA_LAST> mutexes_;
};

}  // namespace tilvanego::detail

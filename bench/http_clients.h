#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>

/// The clients that http_bench measures, each doing the same work in its own way.
namespace http_bench {

/// One request, to be sent again and again.
struct Work {
  std::string method;
  std::string url;
  /// Sent if it isn't empty.
  std::string upload;
  int status = 200;
  /// What the body of the response must be.
  std::string download;
};

class Client {
 public:
  virtual ~Client() = default;
  /// Sends so many requests, at most `inFlight` of them at once, on connections that are kept from one call
  /// to the next. The body of each response is memory of its own.
  virtual void send(std::size_t count, std::size_t inFlight) = 0;
};

/// The library's session; the next request is made where a response arrives, on the session's thread.
std::unique_ptr<Client> library(const Work& work);
/// The same from a thread that waits for each response before it sends on.
std::unique_ptr<Client> waitingLibrary(const Work& work);
/// A request builder's blocking call.
std::unique_ptr<Client> blockingLibrary(const Work& work);
/// The same over a session that keeps no cookies, like a handle of libcurl that nobody asked to.
std::unique_ptr<Client> cookielessLibrary(const Work& work);
/// libcurl's multi interface and one thread.
std::unique_ptr<Client> bareCurl(const Work& work);
/// `curl_easy_perform` with one handle.
std::unique_ptr<Client> easyCurl(const Work& work);
/// The same, keeping cookies and the head of a response, as the library does.
std::unique_ptr<Client> keepingCurl(const Work& work);
/// cpp-httplib, with a thread for each request in flight and TCP_NODELAY, without which it waits.
std::unique_ptr<Client> cppHTTPLib(const Work& work);

/// cpr's session. Null where the distribution hasn't cpr.
std::unique_ptr<Client> waitingCPR(const Work& work);

/// Prints a message and remembers it for the whole program unless the response is what the work expects. The
/// length alone is compared once the bytes have been seen to be right.
class ResponseCheck {
 public:
  explicit ResponseCheck(const Work& work) : work_(work) {}
  void operator()(const char* client, long status, const char* body, std::size_t size);
  /// Whether any response of any client was wrong. From any thread.
  static bool anyWrong() { return anyWrong_; }

 private:
  const Work& work_;
  bool seen_ = false;
  inline static std::atomic<bool> anyWrong_ = false;
};

}  // namespace http_bench

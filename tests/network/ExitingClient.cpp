// Leaves the process while requests are under way: exiting_client URL CERTIFICATE SEED. The seed says what is
// requested, when the process ends, and how. Exit status 0 if nothing went wrong on the way.
#include <array>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include <tilvanego/network/URLSession.h>

using namespace tilvanego;

namespace {

// What completions use. It is older than the first task, and so goes after the last completion.
class Shop {
 public:
  ~Shop() { closed_ = true; }
  void sell() {
    if (closed_) _exit(3);
    const std::scoped_lock lock(mutex_);
    bills_.push_back(std::make_unique<int>(1));
  }

 private:
  std::mutex mutex_;
  std::vector<std::unique_ptr<int>> bills_;
  bool closed_ = false;
} shop;

// Younger and older than the TLS library's exit handler; the third is never destroyed.
std::shared_ptr<URLSession> older;
std::shared_ptr<URLSession>& younger() {
  static std::shared_ptr<URLSession> one = std::make_shared<URLSession>();
  return one;
}
std::shared_ptr<URLSession>& lasting() {
  static auto& one = *new std::shared_ptr<URLSession>;
  return one;
}

// A request during the exit does nothing.
class LateCustomer {
 public:
  URLRequest request;
  ~LateCustomer() {
    if (!request.url) return;
    URLSession(URLSessionConfiguration{.proxy = ""})
        .dataTaskFromProtocol(request, [](auto&&...) { _exit(4); })
        ->resume();
  }
} lateCustomer;

class Client {
 public:
  Client(std::string url, const std::string& certificate, unsigned seed)
      : url_(std::move(url)), random_(seed), sessionsRandom_(seed + 1) {
    auto session = std::make_shared<URLSession>(
        URLSessionConfiguration{.proxy = "", .additionalCertificates = certificate});
    std::shared_ptr<URLSession>* const places[] = {&older, &younger(), &lasting()};
    session_ = places[random_() % 3];
    *session_ = std::move(session);
    sendsHere_ = seed % 2 == 0;
    exitsOnSessionsThread_ = random_() % 5 == 0;
    bytesUntilExit_ = random_() % 4 == 0 ? random_() % 3'000'000 : random_() % 20'000;
  }

  void run() {
    const auto count = 1 + random_() % 3;
    for (std::size_t index = 0; index < count; ++index) {
      if (sendsHere_)
        std::thread(&Client::sendHere, this, *session_, static_cast<unsigned>(random_())).detach();
      send(random_);
    }
    switch (random_() % 3) {
      case 0:
        break;
      case 1:
        for (auto left = random_() % (1U << (random_() % 24)); left > 0; --left) spun_ = left;
        break;
      default:
        waitForBytes();
    }
    if (exitsOnSessionsThread_) waitForBytes();
    if (random_() % 8 == 0) lateCustomer.request = request(url_, random_);
  }

  void leave() {
    const auto way = random_() % 8;
    if (way == 0) std::exit(0);
    if (way == 1) std::thread([] { std::exit(0); }).join();
// The address sanitizer of g++ 12 leaves its allocator locked in the child of a process with many threads: a
// program of ten lines that allocates in three threads and forks hangs at once.
#ifndef __SANITIZE_ADDRESS__
    if (way == 2) endForked();
#endif
    if (way == 3) std::quick_exit(0);
  }

 private:
  static URLRequest request(const std::string& server, std::mt19937& random) {
    URLRequest made;
    const bool uploads = random() % 3 == 0;
    made.url = URL::parse(server + (uploads             ? "/sink"
                                    : random() % 2 == 0 ? "/hello"
                                                        : "/files/large"))
                   .value();
    if (uploads) {
      made.httpMethod = "POST";
      made.httpBody = Data(Bytes(2'000'000, 'u'));
    }
    return made;
  }

  // Each task's completion sends the next, so that there is always one under way. The server may well hang up
  // on an upload.
  void send(std::mt19937& random) {
    const auto task =
        (*session_)->dataTaskFromProtocol(request(url_, random), [this](auto data, auto&&, auto error) {
          const auto* cause = error ? error->template as<TransportError>() : nullptr;
          shop.sell();
          count(data ? data->size() + 1 : 1);
          if (!cause || cause->code != TransportError::Code::cancelled) send(sessionsRandom_);
        });
    task->progress()->addObserver([this, seen = std::int64_t{0}](const Progress& progress) mutable {
      shop.sell();
      count(static_cast<std::size_t>(progress.completedUnitCount() - seen));
      seen = progress.completedUnitCount();
    });
    task->resume();
  }

  // A thread of the host that sends one request after the other.
  void sendHere(const std::shared_ptr<URLSession>& session, unsigned seed) {
    std::mt19937 random(seed);
    for (bool isOver = false; !isOver;) {
      session
          ->dataTaskFromProtocol(request(url_, random),
                                 [&](auto data, auto&&, auto error) {
                                   const auto* cause = error ? error->template as<TransportError>() : nullptr;
                                   isOver = cause && cause->code == TransportError::Code::cancelled;
                                   shop.sell();
                                   count(data ? data->size() + 1 : 1);
                                 })
          ->resumeHere();
    }
  }

  // The exit waits for the completions that run, so it must not hold the lock that they want.
  void count(std::size_t bytes) {
    bool isFirst = false;
    {
      const std::scoped_lock lock(mutex_);
      bytes_ += bytes;
      if (bytes_ < bytesUntilExit_) return;
      isFirst = !std::exchange(isOver_, true);
    }
    if (exitsOnSessionsThread_ && isFirst) std::exit(0);
    changed_.notify_all();
  }

  void waitForBytes() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !exitsOnSessionsThread_ && bytes_ >= bytesUntilExit_; });
  }

  // A child that has the sessions, but not their threads, may end in every way too.
  void endForked() {
    const auto child = fork();
    if (child == 0) {
      lateCustomer.request = {};  // the thread sanitizer starts no thread here
#ifndef __SANITIZE_THREAD__
      // The child's own thread may get what was that of the session's.
      std::thread own([] {});
      session_->reset();
      own.join();
#endif
      std::exit(0);
    }
    int status = 1;
    waitpid(child, &status, 0);
    if (status != 0) _exit(5);
  }

  const std::string url_;
  /// The main thread's.
  std::mt19937 random_;
  /// The session's thread's.
  std::mt19937 sessionsRandom_;
  std::shared_ptr<URLSession>* session_ = nullptr;
  bool exitsOnSessionsThread_ = false;
  std::size_t bytesUntilExit_ = 0;
  bool sendsHere_ = false;
  volatile unsigned long spun_ = 0;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t bytes_ = 0;
  bool isOver_ = false;
};

}  // namespace

int main(int, char** words) {
  // Lives as long as the completions.
  auto& client = *new Client(words[1], words[2], static_cast<unsigned>(std::stoul(words[3])));
  client.run();
  client.leave();
}

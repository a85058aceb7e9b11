#include <tilvanego/platform/desktop/CallbackReceiver.h>

#include <chrono>
#include <filesystem>
#include <thread>
#include <utility>

#include <tilvanego/platform/FatalError.h>
#include <tilvanego/platform/HostCode.h>
#include <tilvanego/platform/PlainName.h>
#include <tilvanego/platform/desktop/CallbackServer.h>
#include <tilvanego/platform/desktop/CallbackSocket.h>
#include <tilvanego/platform/desktop/PrivateDirectory.h>
#include <tilvanego/platform/desktop/RuntimeDirectory.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using Steady = std::chrono::steady_clock;
using Reason = detail::HandOverFailure::Reason;

// For a main thread of the other process that is busy.
constexpr std::chrono::seconds longestWait(30);
// Between two tries while the other process starts or ends.
constexpr std::chrono::milliseconds betweenTries(5);
// So often the process that has the name may drop a URL, such as by an exception of its handler.
constexpr int maxDropped = 3;

}  // namespace

struct CallbackReceiver::Claimed {
  std::optional<URL> first;
  /// Owned here alone: what is posted and finds none drops its URL.
  std::shared_ptr<const Handler> handler;
  /// Of a name; a socket at a path of the host's own has none.
  std::optional<detail::HeldLock> lock;
  /// The server's after `receive`. What has it is declared after the lock: the socket is removed before
  /// another process can claim the name.
  detail::CallbackListener listener;
  /// Declared last: its thread ends first.
  std::unique_ptr<detail::CallbackServer> server;
};

CallbackReceiver::CallbackReceiver(std::unique_ptr<Claimed> claimed) : claimed_(std::move(claimed)) {}

CallbackReceiver::~CallbackReceiver() = default;

std::expected<std::unique_ptr<CallbackReceiver>, std::string> CallbackReceiver::claim(
    const std::string& name, std::optional<URL> url) {
  if (!detail::isPlainName(name)) {
    detail::wrongUse("CallbackReceiver::claim takes one name, such as \"com.example.till\", not a path.");
  }
  const auto path = detail::runtimeDirectory();
  const auto directory = detail::PrivateDirectory::open(path, true);
  if (!directory) return std::unexpected(directory.error());
  const std::string socket = (path / (name + ".callbacks")).string();
  const auto deadline = Steady::now() + longestWait;
  for (int dropped = 0;;) {
    auto lock = directory->tryLock(name + ".claim");
    if (!lock) return std::unexpected(std::move(lock).error());
    if (*lock) {
      auto listener = detail::listenForCallbacks(socket, detail::ReplacedSockets::any);
      if (!listener) return std::unexpected(std::move(listener).error());
      return std::unique_ptr<CallbackReceiver>(new CallbackReceiver(std::make_unique<Claimed>(
          Claimed{std::move(url), nullptr, *std::move(lock), *std::move(listener), nullptr})));
    }
    if (!url) return nullptr;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Steady::now());
    const auto handed = detail::handOverCallback(socket, url->absoluteString(), left);
    if (handed) return nullptr;
    if (handed.error().reason == Reason::noReply) ++dropped;
    if (handed.error().reason == Reason::refused || dropped == maxDropped || Steady::now() >= deadline) {
      return std::unexpected(handed.error().message);
    }
    std::this_thread::sleep_for(betweenTries);
  }
}

std::expected<std::unique_ptr<CallbackReceiver>, std::string> CallbackReceiver::listenAt(
    const std::string& socket) {
  auto listener = detail::listenForCallbacks(socket);
  if (!listener) return std::unexpected(std::move(listener).error());
  return std::unique_ptr<CallbackReceiver>(new CallbackReceiver(std::make_unique<Claimed>(
      Claimed{std::nullopt, nullptr, std::nullopt, *std::move(listener), nullptr})));
}

std::expected<void, CallbackReceiver::HandOverFailure> CallbackReceiver::handOver(const std::string& socket,
                                                                                  const URL& url) {
  return detail::handOverCallback(socket, url.absoluteString(), longestWait);
}

std::optional<URL> CallbackReceiver::urlIn(int argc, const char* const* argv) {
  for (int i = 1; i < argc; ++i) {
    auto url = URL::parse(argv[i]);
    if (url && url->scheme()) return *std::move(url);
  }
  return std::nullopt;
}

void CallbackReceiver::receive(const MainQueue& queue, Handler handler) {
  if (claimed_->server) detail::wrongUse("CallbackReceiver::receive is called once");
  if (!claimed_->listener.isOfThisProcess()) {
    detail::wrongUse(
        "CallbackReceiver::receive is for the process that claimed the name; claim it after a fork");
  }
  claimed_->handler = std::make_shared<const Handler>(std::move(handler));
  const auto deliver = [queue = WeakMainQueue(queue), weak = std::weak_ptr(claimed_->handler)](
                           URL url, std::shared_ptr<detail::CallbackReply> reply) {
    support::postOrEnd(queue, [weak, url = std::move(url), reply = std::move(reply)] {
      const auto called = weak.lock();
      if (!called) return;
      (*called)(url);
      if (reply) reply->send(detail::callbackTaken);
    });
  };
  if (auto first = std::exchange(claimed_->first, std::nullopt)) deliver(*std::move(first), nullptr);
  const auto serve = [deliver](const std::string& text, std::shared_ptr<detail::CallbackReply> reply) {
    auto url = URL::parse(text);
    if (url) {
      deliver(*std::move(url), std::move(reply));
    } else {
      reply->send("What came is no URL: " + std::string(url.error().message) + ".");
    }
  };
  claimed_->server = std::make_unique<detail::CallbackServer>(std::move(claimed_->listener), serve);
}

}  // namespace tilvanego

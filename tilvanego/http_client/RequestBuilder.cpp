#include <tilvanego/http_client/RequestBuilder.h>

#include <atomic>
#include <coroutine>
#include <thread>

#include <tilvanego/http_client/BlockingCall.h>
#include <tilvanego/network/ExceptionFailure.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using Result = RequestBuilder::Result;

bool hasAny(const RequestLimits& limits) {
  return limits.silence || limits.wholeRequest || limits.largestBody || limits.followsRedirects;
}

/// Suspends a coroutine until a builder's completion runs.
class Continuation {
 public:
  Continuation(std::shared_ptr<RequestBuilder> builder, StopToken stopToken)
      : builder_(std::move(builder)), stopToken_(std::move(stopToken)) {}
  Continuation(const Continuation&) = delete;
  Continuation& operator=(const Continuation&) = delete;
  // A coroutine that is destroyed while it waits isn't resumed.
  ~Continuation() { shot_->takeWaiting(); }

  bool await_ready() const noexcept { return false; }

  template <typename Promise>
  bool await_suspend(std::coroutine_handle<Promise> waiting) {
    if (stopToken_.stopRequested()) return false;
    // This thread would only wait until the task has ended.
    if (waiting.promise().waitingThread == std::this_thread::get_id()) {
      shot_->result = builder_->send(stopToken_);
      return false;
    }
    // During the call, another thread may resume the coroutine and destroy this object: what is needed after
    // the call is copied.
    const auto builder = builder_;
    const auto shot = shot_;
    shot->waiting = waiting.address();
    try {
      builder->execute([shot](Result result) {
        if (const auto resumed = shot->takeWaiting()) {
          shot->result = std::move(result);
          resumed.resume();
        }
      });
    } catch (...) {
      if (shot->takeWaiting()) throw;
    }
    return true;
  }

  AnyResponse await_resume() {
    if (!shot_->result) throw CancellationError();
    if (!*shot_->result) throw shot_->result->error();
    return std::move(**shot_->result);
  }

 private:
  struct Shot {
    /// Returns the waiting coroutine to one caller only, so that it is resumed at most once.
    std::coroutine_handle<> takeWaiting() {
      return std::coroutine_handle<>::from_address(waiting.exchange(nullptr));
    }
    std::atomic<void*> waiting = nullptr;
    std::optional<Result> result;
  };

  std::shared_ptr<RequestBuilder> builder_;
  StopToken stopToken_;
  std::shared_ptr<Shot> shot_ = std::make_shared<Shot>();
};

// The builder is a parameter of both coroutines, so that their frames keep it alive.

Task<AnyResponse> sendAwaited(std::shared_ptr<RequestBuilder> builder, StopToken stopToken) {
  if (stopToken.stopRequested()) throw CancellationError();
  Continuation continuation(std::move(builder), std::move(stopToken));
  co_return co_await continuation;
}

Task<AnyResponse> sendWatched(std::shared_ptr<RequestBuilder> builder, StopToken stopToken) {
  const StopCallback cancel(stopToken, [task = builder->requestTask] { task->cancel(); });
  try {
    auto sending = builder->_execute(stopToken);
    co_return co_await std::move(sending);
  } catch (const ErrorResponse&) {
    throw;
  } catch (...) {
    throw ErrorResponse::error(ErrorResponse::notExecuted, std::nullopt, nullptr, detail::currentFailure());
  }
}

}  // namespace

RequestBuilder::RequestBuilder(Construction construction)
    : parameters(std::move(construction.arguments_.parameters)),
      method(std::move(construction.arguments_.method)),
      URLString(std::move(construction.arguments_.URLString)),
      requestTask(std::move(construction.task_)),
      requiresAuthentication(construction.arguments_.requiresAuthentication),
      apiConfiguration(std::move(construction.arguments_.apiConfiguration)),
      bodyType(construction.bodyType_),
      _state{(hasAny(construction.arguments_.limits) ? limitsMark : 0U) |
                 (construction.arguments_.headers.empty() ? 0U : headersMark),
             MutableState{std::nullopt, std::move(construction.arguments_.headers),
                          construction.arguments_.limits, nullptr, nullptr, nullptr}} {}

// Not in the constructor, where the virtual functions of the derived class can't be called yet.
void RequestBuilder::takeFromConfiguration() {
  addHeaders(apiConfiguration->customHeaders());
  addCredential();
}

std::optional<URLCredential> RequestBuilder::credential() const {
  return _state.read(&MutableState::credential, credentialMark);
}
void RequestBuilder::setCredential(std::optional<URLCredential> value) {
  _state.change(credentialMark, [&](MutableState& state) { state.credential = std::move(value); });
}
void RequestBuilder::updateCredential(const std::function<void(std::optional<URLCredential>&)>& body) {
  if (body) _state.change(credentialMark, [&](MutableState& state) { body(state.credential); });
}

RequestBuilder::Headers RequestBuilder::headers() const {
  return _state.read(&MutableState::headers, headersMark);
}
void RequestBuilder::setHeaders(Headers value) {
  _state.change(headersMark, [&](MutableState& state) { state.headers = std::move(value); });
}
void RequestBuilder::updateHeaders(const std::function<void(Headers&)>& body) {
  if (body) _state.change(headersMark, [&](MutableState& state) { body(state.headers); });
}

RequestLimits RequestBuilder::limits() const { return _state.read(&MutableState::limits, limitsMark); }
void RequestBuilder::setLimits(RequestLimits value) {
  _state.change(limitsMark, [&](MutableState& state) { state.limits = value; });
}

void RequestBuilder::setBodySource(std::shared_ptr<BodySource> value) {
  // Swapped, so that the former source is destroyed without the lock.
  _state.change(bodySourceMark, [&](MutableState& state) { state.bodySource.swap(value); });
}
std::shared_ptr<BodySource> RequestBuilder::bodySource() const {
  return _state.read(&MutableState::bodySource, bodySourceMark);
}
void RequestBuilder::setBodySink(std::shared_ptr<BodySink> value) {
  _state.change(bodySinkMark, [&](MutableState& state) { state.bodySink.swap(value); });
}
std::shared_ptr<BodySink> RequestBuilder::bodySink() const {
  return _state.read(&MutableState::bodySink, bodySinkMark);
}

RequestBuilder::ProgressReady RequestBuilder::onProgressReady() const {
  const auto held = _state.read(&MutableState::onProgressReady, onProgressReadyMark);
  return held ? *held : nullptr;
}
void RequestBuilder::setOnProgressReady(ProgressReady value) {
  auto shared = std::make_shared<const ProgressReady>(std::move(value));
  // Swapped, so that the former function is destroyed without the lock.
  _state.change(onProgressReadyMark, [&](MutableState& state) { state.onProgressReady.swap(shared); });
}
void RequestBuilder::updateOnProgressReady(const std::function<void(ProgressReady&)>& body) {
  if (!body) return;
  std::shared_ptr<const ProgressReady> former;
  _state.change(onProgressReadyMark, [&](MutableState& state) {
    former = state.onProgressReady;
    auto changed = former ? *former : nullptr;
    body(changed);
    state.onProgressReady = std::make_shared<const ProgressReady>(std::move(changed));
  });
}

void RequestBuilder::addHeaders(const Headers& fields) {
  if (fields.empty()) return;
  updateHeaders([&](Headers& headers) {
    for (const auto& [name, value] : fields) headers.insert_or_assign(name, value);
  });
}

std::shared_ptr<RequestTask> RequestBuilder::execute(Completion) { return requestTask; }

RequestBuilder::Result RequestBuilder::send(StopToken stopToken) {
  if (stopToken.stopRequested()) {
    return std::unexpected(
        ErrorResponse::error(ErrorResponse::notExecuted, std::nullopt, nullptr, CancellationError()));
  }
  const auto builder = shared_from_this();
  // By a pointer, which needs no memory: the builder outlives the callback.
  const StopCallback cancel(stopToken, [task = requestTask.get()] { task->cancel(); });
  const auto call = std::make_shared<detail::BlockingCall>(std::move(stopToken));
  try {
    execute(detail::BlockingCall::completionOf(call));
  } catch (...) {
    call->leave();
    throw;
  }
  return call->wait();
}

Task<AnyResponse> RequestBuilder::execute(StopToken stopToken) {
  return sendWatched(shared_from_this(), std::move(stopToken));
}

Task<AnyResponse> RequestBuilder::_execute(StopToken stopToken) {
  return sendAwaited(shared_from_this(), std::move(stopToken));
}

RequestBuilder& RequestBuilder::addHeader(const std::string& name, const std::string& value) {
  if (!value.empty()) addHeaders({{name, value}});
  return *this;
}

void RequestBuilder::addCredential() {
  // Mostly both have none.
  if (!_state.isMarked(credentialMark) && !apiConfiguration->credential()) return;
  // The only place where the client holds two locks: the builder's, then the configuration's.
  _state.change(credentialMark,
                [&](MutableState& state) { state.credential = apiConfiguration->credential(); });
}

}  // namespace tilvanego

// The source of a request's body and the sink of its response's.

#include <algorithm>
#include <limits>
#include <utility>

#include <tilvanego/network/BodyStream.h>
#include <tilvanego/network/ExceptionFailure.h>
#include <tilvanego/network/curl/Transfer.h>

namespace tilvanego::detail {

// Runs a function of the host's source or sink. Returns false if it failed, with the failure kept.
template <typename Call>
bool Transfer::runStream(Call call) {
  settings_.gate->runHostCode([&] {
    try {
      if (std::expected<void, Failure> result = call(); !result) streamFailure_ = std::move(result.error());
    } catch (...) {
      streamFailure_ = currentFailure();
    }
  });
  if (streamFailure_ && handle_) abandon();
  return !streamFailure_;
}

void Transfer::measureSource() {
  sourceSize_.reset();
  if (!request_->bodySource) return;
  static_cast<void>(runStream([&]() -> std::expected<void, Failure> {
    sourceSize_ = request_->bodySource->size();
    return {};
  }));
}

std::int64_t Transfer::outgoingUnits() const {
  if (request_->bodySource) return static_cast<std::int64_t>(sourceSize_.value_or(sent_));
  return static_cast<std::int64_t>(request_->httpBody ? request_->httpBody->size() : 0);
}

// Called before the first byte of the body, or at the end of a response without one.
bool Transfer::beginStream() {
  const int status = statusCode();
  streams_ = request_->bodySink && status >= 200 && status < 300;
  if (!streams_) return true;
  const HTTPURLResponse response(request_->url, status, UnreadHead{std::string(head_.lines())});
  return runStream([&] {
    return request_->bodySink->begin(response, [weak = std::weak_ptr(task_)] {
      if (const auto task = weak.lock()) task->goOn();
    });
  });
}

bool Transfer::writeToSink(std::string_view bytes) {
  const std::span piece(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  streamed_ += piece.size();
  return runStream([&]() -> std::expected<void, Failure> {
    const auto flow = request_->bodySink->write(piece);
    if (!flow) return std::unexpected(flow.error());
    if (*flow == BodySink::Flow::hold) isHeld_ = true;
    return {};
  });
}

bool Transfer::finishStream() {
  return runStream([&] { return request_->bodySink->finish(); });
}

// Outside libcurl's callbacks: libcurl may pass on kept bytes at once.
void Transfer::goOn() {
  if (!std::exchange(isHeld_, false)) return;
  lastActivity_ = Clock::now();
  curl_easy_pause(handle(), CURLPAUSE_CONT);
}

bool Transfer::readFromSource(std::span<std::uint8_t> room, std::size_t& count) {
  auto& source = *request_->bodySource;
  return runStream([&]() -> std::expected<void, Failure> {
    if (!std::exchange(isSourceAtStart_, true)) {
      sent_ = 0;
      if (auto rewound = source.rewind(); !rewound) return rewound;
    }
    const auto left = sourceSize_ ? *sourceSize_ - sent_ : std::numeric_limits<std::uint64_t>::max();
    room = room.first(static_cast<std::size_t>(std::min<std::uint64_t>(room.size(), left)));
    if (room.empty()) return {};
    const auto given = source.read(room);
    if (!given) return std::unexpected(given.error());
    if (*given > room.size() || (*given == 0 && sourceSize_)) {
      return std::unexpected(Failure(TransportError{
          TransportError::Code::invalidRequest, "the source of the body doesn't give what its size says"}));
    }
    count = *given;
    sent_ += count;
    return {};
  });
}

std::size_t Transfer::onRead(char* room, std::size_t size, std::size_t count, void* self) noexcept {
  auto& transfer = *static_cast<Transfer*>(self);
  std::size_t given = 0;
  const std::span bytes(reinterpret_cast<std::uint8_t*>(room), size * count);
  return transfer.readFromSource(bytes, given) ? given : CURL_READFUNC_ABORT;
}

// libcurl sends a request again if a kept connection ended without a response.
int Transfer::onRewind(void* self, curl_off_t offset, int origin) noexcept {
  if (offset != 0 || origin != SEEK_SET) return CURL_SEEKFUNC_CANTSEEK;
  static_cast<Transfer*>(self)->isSourceAtStart_ = false;
  return CURL_SEEKFUNC_OK;
}

}  // namespace tilvanego::detail

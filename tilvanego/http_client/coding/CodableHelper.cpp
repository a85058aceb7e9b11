#include <tilvanego/http_client/coding/CodableHelper.h>

#include <exception>
#include <new>
#include <utility>

namespace [[gnu::visibility("default")]] tilvanego {

JSONError CodableHelper::currentError() noexcept {
  JSONError error;
  error.failure = JSONFailure::invalidValue;
  try {
    try {
      throw;
    } catch (const std::bad_alloc&) {
      error.detail = "out of memory";
    } catch (const std::exception& thrown) {
      error.detail = std::string("an exception: ") + thrown.what();
    } catch (...) {
      error.detail = "an exception of unknown type";
    }
  } catch (...) {
    error.detail = "out of memory";
  }
  return error;
}

CodableHelper::DateFormatterPointer CodableHelper::State::dateFormatter() const {
  return customDateFormatter ? customDateFormatter : defaultDateFormatter;
}

void CodableHelper::State::setDateFormatter(DateFormatterPointer formatter) {
  customDateFormatter = std::move(formatter);
  defaultJSONDecoder.dateDecodingStrategy = dateFormatter();
  defaultJSONEncoder.dateEncodingStrategy = dateFormatter();
}

CodableHelper::CodableHelper() : _state(State()) {
  _state.withValue([](State& state) {
    state.defaultDateFormatter = std::make_shared<const OpenISO8601DateFormatter>();
    state.defaultJSONEncoder.prettyPrinted = true;
    state.setDateFormatter(nullptr);
  });
}

CodableHelper::DateFormatterPointer CodableHelper::dateFormatter() const {
  return _state.withValue([](const State& state) { return state.dateFormatter(); });
}

void CodableHelper::change(const std::function<void(State&)>& body) {
  // Kept, so that the host's formatters end without the lock.
  State former;
  _state.withValue([&](State& state) {
    former = state;
    body(state);
  });
}

void CodableHelper::setDateFormatter(DateFormatterPointer formatter) {
  change([&](State& state) { state.setDateFormatter(std::move(formatter)); });
}

void CodableHelper::updateDateFormatter(const std::function<void(DateFormatterPointer&)>& body) {
  if (!body) return;
  change([&](State& state) {
    DateFormatterPointer formatter = state.dateFormatter();
    body(formatter);
    state.setDateFormatter(std::move(formatter));
  });
}

JSONDecoder CodableHelper::jsonDecoder() const {
  return _state.withValue(
      [](const State& state) { return state.customJSONDecoder.value_or(state.defaultJSONDecoder); });
}

void CodableHelper::setJsonDecoder(JSONDecoder decoder) {
  change([&](State& state) { state.customJSONDecoder = std::move(decoder); });
}

void CodableHelper::updateJsonDecoder(const std::function<void(JSONDecoder&)>& body) {
  if (!body) return;
  change([&](State& state) {
    JSONDecoder decoder = state.customJSONDecoder.value_or(state.defaultJSONDecoder);
    body(decoder);
    state.customJSONDecoder = std::move(decoder);
  });
}

JSONEncoder CodableHelper::jsonEncoder() const {
  return _state.withValue(
      [](const State& state) { return state.customJSONEncoder.value_or(state.defaultJSONEncoder); });
}

void CodableHelper::setJsonEncoder(JSONEncoder encoder) {
  change([&](State& state) { state.customJSONEncoder = std::move(encoder); });
}

void CodableHelper::updateJsonEncoder(const std::function<void(JSONEncoder&)>& body) {
  if (!body) return;
  change([&](State& state) {
    JSONEncoder encoder = state.customJSONEncoder.value_or(state.defaultJSONEncoder);
    body(encoder);
    state.customJSONEncoder = std::move(encoder);
  });
}

std::expected<void, JSONError> CodableHelper::decodeBody(
    const Data& body, const std::function<bool(json::Reader&)>& read) const {
  const JSONDecoder decoder = jsonDecoder();
  json::Reader reader(body.text(), decoder.dateDecodingStrategy.get(), decoder.limits);
  if (read(reader) && reader.finish()) return {};
  return std::unexpected(std::move(reader.error()));
}

std::expected<Data, JSONError> CodableHelper::encodeBody(
    const std::function<bool(json::Writer&)>& write) const {
  const JSONEncoder encoder = jsonEncoder();
  json::Writer writer(encoder.format());
  if (write(writer)) return Data(writer.written());
  return std::unexpected(std::move(writer.error()));
}

}  // namespace tilvanego

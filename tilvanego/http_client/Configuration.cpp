#include <tilvanego/http_client/Configuration.h>

#include <utility>

namespace [[gnu::visibility("default")]] tilvanego {

using Configuration = OstrelTilvanePoiModelsAPIConfiguration;

Configuration::OstrelTilvanePoiModelsAPIConfiguration(
    std::string basePath, Headers customHeaders, std::optional<URLCredential> credential,
    std::shared_ptr<const RequestBuilderFactory> requestBuilderFactory, MainQueue& apiResponseQueue,
    std::shared_ptr<CodableHelper> codableHelper, StatusCodeRange successfulStatusCodeRange,
    std::shared_ptr<OpenAPIInterceptor> interceptor)
    : _set((customHeaders.empty() ? 0U : customHeadersMark) | (credential ? credentialMark : 0U)),
      _state(State{std::move(basePath), std::move(customHeaders), std::move(credential),
                   std::move(requestBuilderFactory), &apiResponseQueue, std::move(codableHelper),
                   successfulStatusCodeRange, std::move(interceptor), RequestLimits()}) {}

template <typename Field>
Field Configuration::read(Field State::* field) const {
  return _state.withValue([&](const State& state) { return state.*field; });
}

template <typename Field>
Field Configuration::readMarked(Field State::* field, Mark mark) const {
  return (_set.load(std::memory_order_relaxed) & mark) == 0 ? Field() : read(field);
}

void Configuration::noteSet(Mark mark) {
  _set.store(_set.load(std::memory_order_relaxed) | mark, std::memory_order_relaxed);
}

template <typename Field>
void Configuration::write(Field State::* field, Field value, Mark mark) {
  // Swapped, so that the former value is destroyed without the lock.
  _state.withValue([&](State& state) {
    noteSet(mark);
    std::swap(state.*field, value);
  });
}

template <typename Field>
void Configuration::update(Field State::* field, const std::function<void(Field&)>& body, Mark mark) {
  if (!body) return;
  // Kept, so that the former value is destroyed without the lock.
  Field former{};
  _state.withValue([&](State& state) {
    former = state.*field;
    noteSet(mark);
    body(state.*field);
  });
}

std::string Configuration::basePath() const { return read(&State::basePath); }
void Configuration::setBasePath(std::string value) { write(&State::basePath, std::move(value)); }
void Configuration::updateBasePath(const std::function<void(std::string&)>& body) {
  update(&State::basePath, body);
}

Configuration::Headers Configuration::customHeaders() const {
  return readMarked(&State::customHeaders, customHeadersMark);
}
void Configuration::setCustomHeaders(Headers value) {
  write(&State::customHeaders, std::move(value), customHeadersMark);
}
void Configuration::updateCustomHeaders(const std::function<void(Headers&)>& body) {
  update(&State::customHeaders, body, customHeadersMark);
}

std::optional<URLCredential> Configuration::credential() const {
  return readMarked(&State::credential, credentialMark);
}
void Configuration::setCredential(std::optional<URLCredential> value) {
  write(&State::credential, std::move(value), credentialMark);
}
void Configuration::updateCredential(const std::function<void(std::optional<URLCredential>&)>& body) {
  update(&State::credential, body, credentialMark);
}

std::shared_ptr<const RequestBuilderFactory> Configuration::requestBuilderFactory() const {
  return read(&State::requestBuilderFactory);
}
void Configuration::setRequestBuilderFactory(std::shared_ptr<const RequestBuilderFactory> value) {
  write(&State::requestBuilderFactory, std::move(value));
}
void Configuration::updateRequestBuilderFactory(
    const std::function<void(std::shared_ptr<const RequestBuilderFactory>&)>& body) {
  update(&State::requestBuilderFactory, body);
}

MainQueue& Configuration::apiResponseQueue() const { return *read(&State::apiResponseQueue); }
void Configuration::setApiResponseQueue(MainQueue& value) { write(&State::apiResponseQueue, &value); }
void Configuration::updateApiResponseQueue(const std::function<void(MainQueue*&)>& body) {
  update(&State::apiResponseQueue, body);
}

std::shared_ptr<CodableHelper> Configuration::codableHelper() const { return read(&State::codableHelper); }
void Configuration::setCodableHelper(std::shared_ptr<CodableHelper> value) {
  write(&State::codableHelper, std::move(value));
}
void Configuration::updateCodableHelper(const std::function<void(std::shared_ptr<CodableHelper>&)>& body) {
  update(&State::codableHelper, body);
}

StatusCodeRange Configuration::successfulStatusCodeRange() const {
  return read(&State::successfulStatusCodeRange);
}
void Configuration::setSuccessfulStatusCodeRange(StatusCodeRange value) {
  write(&State::successfulStatusCodeRange, value);
}
void Configuration::updateSuccessfulStatusCodeRange(const std::function<void(StatusCodeRange&)>& body) {
  update(&State::successfulStatusCodeRange, body);
}

std::shared_ptr<OpenAPIInterceptor> Configuration::interceptor() const { return read(&State::interceptor); }
void Configuration::setInterceptor(std::shared_ptr<OpenAPIInterceptor> value) {
  write(&State::interceptor, std::move(value));
}
void Configuration::updateInterceptor(const std::function<void(std::shared_ptr<OpenAPIInterceptor>&)>& body) {
  update(&State::interceptor, body);
}

RequestLimits Configuration::limits() const { return readMarked(&State::limits, limitsMark); }
void Configuration::setLimits(RequestLimits value) { write(&State::limits, value, limitsMark); }
void Configuration::updateLimits(const std::function<void(RequestLimits&)>& body) {
  update(&State::limits, body, limitsMark);
}

}  // namespace tilvanego

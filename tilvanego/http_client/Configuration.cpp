#include <tilvanego/http_client/Configuration.h>

#include <utility>

namespace [[gnu::visibility("default")]] tilvanego {

using Configuration = OstrelTilvanePoiModelsAPIConfiguration;

Configuration::OstrelTilvanePoiModelsAPIConfiguration(
    std::string basePath, Headers customHeaders, std::optional<URLCredential> credential,
    std::shared_ptr<const RequestBuilderFactory> requestBuilderFactory, MainQueue& apiResponseQueue,
    std::shared_ptr<CodableHelper> codableHelper, StatusCodeRange successfulStatusCodeRange,
    std::shared_ptr<OpenAPIInterceptor> interceptor)
    : _state(State{std::move(basePath), std::move(customHeaders), std::move(credential),
                   std::move(requestBuilderFactory), &apiResponseQueue, std::move(codableHelper),
                   successfulStatusCodeRange, std::move(interceptor), RequestLimits()}) {}

template <typename Field>
Field Configuration::read(Field State::* field) const {
  return _state.withValue([&](const State& state) { return state.*field; });
}

template <typename Field>
void Configuration::write(Field State::* field, Field value) {
  // Swapped, so that the former value is destroyed without the lock.
  _state.withValue([&](State& state) { std::swap(state.*field, value); });
}

template <typename Field>
void Configuration::update(Field State::* field, const std::function<void(Field&)>& body) {
  if (!body) return;
  // Kept, so that the former value is destroyed without the lock.
  Field former{};
  _state.withValue([&](State& state) {
    former = state.*field;
    body(state.*field);
  });
}

std::string Configuration::basePath() const { return read(&State::basePath); }
void Configuration::setBasePath(std::string value) { write(&State::basePath, std::move(value)); }
void Configuration::updateBasePath(const std::function<void(std::string&)>& body) {
  update(&State::basePath, body);
}

Configuration::Headers Configuration::customHeaders() const { return read(&State::customHeaders); }
void Configuration::setCustomHeaders(Headers value) { write(&State::customHeaders, std::move(value)); }
void Configuration::updateCustomHeaders(const std::function<void(Headers&)>& body) {
  update(&State::customHeaders, body);
}

std::optional<URLCredential> Configuration::credential() const { return read(&State::credential); }
void Configuration::setCredential(std::optional<URLCredential> value) {
  write(&State::credential, std::move(value));
}
void Configuration::updateCredential(const std::function<void(std::optional<URLCredential>&)>& body) {
  update(&State::credential, body);
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

RequestLimits Configuration::limits() const {
  return _hasLimits.load(std::memory_order_relaxed) ? read(&State::limits) : RequestLimits();
}
void Configuration::setLimits(RequestLimits value) {
  updateLimits([&](RequestLimits& limits) { limits = value; });
}
void Configuration::updateLimits(const std::function<void(RequestLimits&)>& body) {
  if (!body) return;
  _state.withValue([&](State& state) {
    _hasLimits.store(true, std::memory_order_relaxed);
    body(state.limits);
  });
}

}  // namespace tilvanego

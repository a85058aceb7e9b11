#include <tilvanego/http_client/Configuration.h>

#include <typeinfo>
#include <utility>

#include <tilvanego/http_client/OpenAPIInterceptor.h>

namespace [[gnu::visibility("default")]] tilvanego {

using Configuration = OstrelTilvanePoiModelsAPIConfiguration;

namespace {

bool isDefault(const std::shared_ptr<OpenAPIInterceptor>& interceptor) {
  if (!interceptor) return false;
  const auto& held = *interceptor;
  return typeid(held) == typeid(DefaultOpenAPIInterceptor);
}

}  // namespace

Configuration::OstrelTilvanePoiModelsAPIConfiguration(
    std::string basePath, Headers customHeaders, std::optional<URLCredential> credential,
    std::shared_ptr<const RequestBuilderFactory> requestBuilderFactory, MainQueue& apiResponseQueue,
    std::shared_ptr<CodableHelper> codableHelper, StatusCodeRange successfulStatusCodeRange,
    std::shared_ptr<OpenAPIInterceptor> interceptor)
    : _state{(customHeaders.empty() ? 0U : customHeadersMark) | (credential ? credentialMark : 0U) |
                 (isDefault(interceptor) ? 0U : interceptorMark) |
                 (successfulStatusCodeRange == StatusCodeRange() ? 0U : statusMark),
             State{std::move(basePath), std::move(customHeaders), std::move(credential),
                   std::move(requestBuilderFactory), &apiResponseQueue, std::move(codableHelper),
                   successfulStatusCodeRange, std::move(interceptor), RequestLimits()}} {}

template <typename Field>
void Configuration::write(Field State::* field, Field value, Mark mark) {
  // Swapped, so that the former value is destroyed without the lock.
  _state.change(mark, [&](State& state) { std::swap(state.*field, value); });
}

template <typename Field>
void Configuration::update(Field State::* field, const std::function<void(Field&)>& body, Mark mark) {
  if (!body) return;
  // Kept, so that the former value is destroyed without the lock.
  Field former{};
  _state.change(mark, [&](State& state) {
    former = state.*field;
    body(state.*field);
  });
}

std::string Configuration::basePath() const { return _state.read(&State::basePath); }
void Configuration::setBasePath(std::string value) { write(&State::basePath, std::move(value)); }
void Configuration::updateBasePath(const std::function<void(std::string&)>& body) {
  update(&State::basePath, body);
}

Configuration::Headers Configuration::customHeaders() const {
  return _state.read(&State::customHeaders, customHeadersMark);
}
void Configuration::setCustomHeaders(Headers value) {
  write(&State::customHeaders, std::move(value), customHeadersMark);
}
void Configuration::updateCustomHeaders(const std::function<void(Headers&)>& body) {
  update(&State::customHeaders, body, customHeadersMark);
}

std::optional<URLCredential> Configuration::credential() const {
  return _state.read(&State::credential, credentialMark);
}
void Configuration::setCredential(std::optional<URLCredential> value) {
  write(&State::credential, std::move(value), credentialMark);
}
void Configuration::updateCredential(const std::function<void(std::optional<URLCredential>&)>& body) {
  update(&State::credential, body, credentialMark);
}

std::shared_ptr<const RequestBuilderFactory> Configuration::requestBuilderFactory() const {
  return _state.read(&State::requestBuilderFactory);
}
void Configuration::setRequestBuilderFactory(std::shared_ptr<const RequestBuilderFactory> value) {
  write(&State::requestBuilderFactory, std::move(value));
}
void Configuration::updateRequestBuilderFactory(
    const std::function<void(std::shared_ptr<const RequestBuilderFactory>&)>& body) {
  update(&State::requestBuilderFactory, body);
}

MainQueue& Configuration::apiResponseQueue() const { return *_state.read(&State::apiResponseQueue); }
void Configuration::setApiResponseQueue(MainQueue& value) { write(&State::apiResponseQueue, &value); }
void Configuration::updateApiResponseQueue(const std::function<void(MainQueue*&)>& body) {
  update(&State::apiResponseQueue, body);
}

std::shared_ptr<CodableHelper> Configuration::codableHelper() const {
  return _state.read(&State::codableHelper);
}
void Configuration::setCodableHelper(std::shared_ptr<CodableHelper> value) {
  write(&State::codableHelper, std::move(value));
}
void Configuration::updateCodableHelper(const std::function<void(std::shared_ptr<CodableHelper>&)>& body) {
  update(&State::codableHelper, body);
}

StatusCodeRange Configuration::successfulStatusCodeRange() const {
  return _state.read(&State::successfulStatusCodeRange, statusMark);
}
void Configuration::setSuccessfulStatusCodeRange(StatusCodeRange value) {
  write(&State::successfulStatusCodeRange, value, statusMark);
}
void Configuration::updateSuccessfulStatusCodeRange(const std::function<void(StatusCodeRange&)>& body) {
  update(&State::successfulStatusCodeRange, body, statusMark);
}

std::shared_ptr<OpenAPIInterceptor> Configuration::interceptor() const {
  return _state.read(&State::interceptor);
}
void Configuration::setInterceptor(std::shared_ptr<OpenAPIInterceptor> value) {
  const bool isOther = !isDefault(value);
  // Swapped, as in `write`.
  _state.change(interceptorMark, [&](State& state) { state.interceptor.swap(value); }, isOther);
}
void Configuration::updateInterceptor(const std::function<void(std::shared_ptr<OpenAPIInterceptor>&)>& body) {
  update(&State::interceptor, body, interceptorMark);
}
bool Configuration::hasDefaultInterceptor() const {
  return !_state.isMarked(interceptorMark) && typeid(*this) == typeid(Configuration);
}

RequestLimits Configuration::limits() const { return _state.read(&State::limits, limitsMark); }
void Configuration::setLimits(RequestLimits value) { write(&State::limits, value, limitsMark); }
void Configuration::updateLimits(const std::function<void(RequestLimits&)>& body) {
  update(&State::limits, body, limitsMark);
}

}  // namespace tilvanego

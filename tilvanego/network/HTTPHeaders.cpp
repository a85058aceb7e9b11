#include <tilvanego/network/HTTPHeaders.h>

#include <algorithm>
#include <utility>

#include <tilvanego/values/ASCII.h>

namespace [[gnu::visibility("default")]] tilvanego {

namespace {

bool isNamed(const HTTPHeaders::Field& field, std::string_view name) {
  return field.name.size() == name.size() && detail::equalIgnoringASCIICase(field.name, name);
}

}  // namespace

HTTPHeaders::HTTPHeaders(std::initializer_list<std::pair<std::string_view, std::string_view>> fields) {
  for (const auto& [name, value] : fields) setValue(name, std::string(value));
}

HTTPHeaders::HTTPHeaders(const HTTPHeaders& other) : fields_(other.fields_) {
  if (!fields_) return;
  isShared_ = true;
  other.isShared_ = true;
}

HTTPHeaders::HTTPHeaders(HTTPHeaders&& other) noexcept
    : fields_(std::move(other.fields_)), isShared_(other.isShared_.load()) {}

HTTPHeaders& HTTPHeaders::operator=(HTTPHeaders other) noexcept {
  fields_.swap(other.fields_);
  isShared_ = other.isShared_.load();
  return *this;
}

const std::vector<HTTPHeaders::Field>& HTTPHeaders::fields() const {
  static const std::vector<Field> none;
  return fields_ ? *fields_ : none;
}

std::vector<HTTPHeaders::Field>& HTTPHeaders::own() {
  if (!fields_ || isShared_) {
    auto copy = std::make_shared<std::vector<Field>>();
    if (!empty()) {
      copy->reserve(fields().size() + 1);
      copy->assign(fields().begin(), fields().end());
    }
    fields_ = std::move(copy);
    isShared_ = false;
  }
  return *fields_;
}

void HTTPHeaders::reserve(std::size_t count) { own().reserve(count); }

const HTTPHeaders::Field* HTTPHeaders::find(std::string_view name) const {
  const auto found = std::ranges::find_if(fields(), [&](const Field& field) { return isNamed(field, name); });
  return found != fields().end() ? &*found : nullptr;
}

std::optional<std::string_view> HTTPHeaders::value(std::string_view name) const {
  const auto* found = find(name);
  return found ? std::optional<std::string_view>(found->value) : std::nullopt;
}

void HTTPHeaders::setValue(std::string_view name, std::string value) {
  auto& fields = own();
  const auto found = std::ranges::find_if(fields, [&](const Field& field) { return isNamed(field, name); });
  if (found != fields.end()) {
    found->value = std::move(value);
  } else {
    fields.push_back({std::string(name), std::move(value)});
  }
}

void HTTPHeaders::addValue(std::string_view name, std::string value) {
  if (const auto* found = find(name)) value = found->value + ", " + value;
  setValue(name, std::move(value));
}

void HTTPHeaders::remove(std::string_view name) {
  if (!find(name)) return;
  std::erase_if(own(), [&](const Field& field) { return isNamed(field, name); });
}

}  // namespace tilvanego

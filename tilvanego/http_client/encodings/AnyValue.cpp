#include <tilvanego/http_client/encodings/AnyValue.h>

#include <tilvanego/values/DateFormats.h>
#include <tilvanego/values/DebugLiteral.h>
#include <tilvanego/values/DoubleText.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

template <typename... Functions>
struct Overloaded : Functions... {
  using Functions::operator()...;
};

std::string dateText(const Date& date) {
  std::string text = internetDateText(date);
  text[text.find('T')] = ' ';
  text.replace(text.find('Z'), 1, " +0000");
  return text;
}

std::string arrayText(const AnyValue::Array& elements) {
  std::string text = "[";
  for (const auto& element : elements) {
    if (text.size() > 1) text += ", ";
    if (!element) {
      text += "nil";
    } else if (const auto* inner = element->as<std::string>()) {
      text += debugLiteral(*inner);
    } else {
      text += element->description();
    }
  }
  return text + "]";
}

}  // namespace

const AnyValue::Array& AnyValue::noElements() {
  static const auto& none = *new Array;
  return none;
}

AnyValue AnyValue::array(std::initializer_list<std::optional<AnyValue>> elements) {
  return AnyValue(std::make_shared<const Array>(elements));
}

std::optional<std::string> AnyValue::numberText() const {
  using Text = std::optional<std::string>;
  return visit(Overloaded{
      [](bool value) -> Text { return value ? "1" : "0"; },
      [](std::int64_t value) -> Text { return std::to_string(value); },
      [](std::uint64_t value) -> Text { return std::to_string(value); },
      // Only infinities and NaN have no JSON form.
      [](double value) -> Text {
        const auto text = doubleJSONText(value);
        return text ? *text : doubleText(value);
      },
      [](const Decimal& value) -> Text { return value.text(); },
      [](const auto&) -> Text { return std::nullopt; },
  });
}

std::string AnyValue::description() const {
  return visit(Overloaded{
      [](const std::string& text) { return text; },
      [](bool value) { return std::string(value ? "true" : "false"); },
      [](std::int64_t value) { return std::to_string(value); },
      [](std::uint64_t value) { return std::to_string(value); },
      [](double value) { return doubleText(value); },
      [](const Decimal& value) { return value.text(); },
      [](const Data& data) { return std::to_string(data.size()) + " bytes"; },
      [](const URL& url) { return url.absoluteString(); },
      [](const UUID& uuid) { return uuid.text(); },
      [](const Date& date) { return dateText(date); },
      [](const RawValue& raw) { return raw.text; },
      [](const Array& elements) { return arrayText(elements); },
  });
}

bool operator==(const AnyValue& a, const AnyValue& b) {
  const auto* left = a.as<AnyValue::Array>();
  const auto* right = b.as<AnyValue::Array>();
  if (left != nullptr && right != nullptr) return *left == *right;
  return a.value_ == b.value_;
}

}  // namespace tilvanego

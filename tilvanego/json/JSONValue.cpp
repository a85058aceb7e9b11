#include <tilvanego/json/JSONValue.h>

#include <cstdio>
#include <cstdlib>
#include <ostream>

#include <tilvanego/json/JSONValueLevels.h>
#include <tilvanego/values/HashMixing.h>
#include <tilvanego/values/SecretNames.h>
#include <tilvanego/values/Shown.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using detail::mixHash;
using json::detail::Levels;

// Whether both have the same case and the same content, or the same number of elements.
bool alike(const JSONValue& a, const JSONValue& b) {
  if (const auto* text = a.stringValue()) return b.isString() && *text == *b.stringValue();
  if (const auto* array = a.arrayValue()) return b.isArray() && array->size() == b.arrayValue()->size();
  if (const auto* dictionary = a.dictionaryValue())
    return b.isDictionary() && dictionary->size() == b.dictionaryValue()->size();
  return a.isNull() == b.isNull() && a.intValue() == b.intValue() && a.doubleValue() == b.doubleValue() &&
         a.boolValue() == b.boolValue() && b.isString() == a.isString() && !b.isArray() && !b.isDictionary();
}

bool sameKeys(const Levels& a, const Levels& b) { return a.key() == nullptr || *a.key() == *b.key(); }

void showText(std::ostream& out, const std::string& text) {
  if (const auto json = json::encode(text)) {
    out << *json;
  } else {
    // It isn't UTF-8.
    support::showLiteral(out, text);
  }
}

// Writes a value without those inside it.
void showOne(std::ostream& out, const JSONValue& value) {
  if (const auto* text = value.stringValue()) {
    showText(out, *text);
  } else if (const auto* array = value.arrayValue()) {
    out << (array->empty() ? "[]" : "[");
  } else if (const auto* dictionary = value.dictionaryValue()) {
    out << (dictionary->empty() ? "{}" : "{");
  } else if (const auto whole = value.intValue()) {
    support::showNumber(out, *whole);
  } else if (const auto real = value.doubleValue()) {
    support::showNumber(out, *real);
  } else if (const auto truth = value.boolValue()) {
    out << (*truth ? "true" : "false");
  } else {
    out << "null";
  }
}

}  // namespace

JSONValue::JSONValue(Array value) : value_(ArrayBox()) {
  if (!value.empty()) value_ = ArrayBox(new BoxedArray{std::move(value)});
}

JSONValue::JSONValue(Dictionary value) : value_(DictionaryBox()) {
  if (!value.empty()) value_ = DictionaryBox(new BoxedDictionary{std::move(value)});
}

JSONValue JSONValue::dictionary(std::initializer_list<std::pair<std::string_view, JSONValue>> pairs) {
  Dictionary entries;
  for (const auto& [key, value] : pairs) entries.insert_or_assign(std::string(key), value);
  return entries;
}

const JSONValue::Array* JSONValue::arrayValue() const {
  const ArrayBox* box = std::get_if<ArrayBox>(&value_);
  if (box == nullptr) return nullptr;
  if (*box) return &(*box)->elements;
  static const Array empty;
  return &empty;
}

const JSONValue::Dictionary* JSONValue::dictionaryValue() const {
  const DictionaryBox* box = std::get_if<DictionaryBox>(&value_);
  if (box == nullptr) return nullptr;
  if (*box) return &(*box)->entries;
  static const Dictionary empty;
  return &empty;
}

const JSONValue* JSONValue::find(std::string_view key) const {
  const Dictionary* entries = dictionaryValue();
  if (entries == nullptr) return nullptr;
  const auto entry = entries->find(key);
  return entry == entries->end() ? nullptr : &entry->second;
}

const JSONValue* JSONValue::element(std::ptrdiff_t index) const {
  const Array* elements = arrayValue();
  if (elements == nullptr || index < 0 || std::cmp_greater_equal(index, elements->size())) return nullptr;
  return &(*elements)[static_cast<std::size_t>(index)];
}

void JSONLookup::endForAbsence() {
  std::fputs("JSONLookup: there is no value here; ask before you use * or ->\n", stderr);
  std::abort();
}

// Going through all levels

// The boxes that will be destroyed.
class JSONValue::Doomed {
 public:
  void add(JSONValue& value) {
    if (auto* array = std::get_if<ArrayBox>(&value.value_)) {
      chain(arrays_, *array);
    } else if (auto* dictionary = std::get_if<DictionaryBox>(&value.value_)) {
      chain(dictionaries_, *dictionary);
    }
  }

  // A box passes its own boxes on before it is destroyed, so that destructors do not nest.
  void endAll() {
    while (arrays_ != nullptr || dictionaries_ != nullptr) {
      if (arrays_ != nullptr) {
        const ArrayBox one(std::exchange(arrays_, arrays_->next));
        for (JSONValue& element : one->elements) add(element);
      } else {
        const DictionaryBox one(std::exchange(dictionaries_, dictionaries_->next));
        for (auto& [key, value] : one->entries) add(value);
      }
    }
  }

 private:
  template <typename Box>
  static void chain(Box*& first, std::unique_ptr<Box>& one) {
    if (!one) return;
    one->next = first;
    first = one.release();
  }

  BoxedArray* arrays_ = nullptr;
  BoxedDictionary* dictionaries_ = nullptr;
};

void JSONValue::dismantle() noexcept {
  Doomed doomed;
  doomed.add(*this);
  doomed.endAll();
}

// Makes a box with all its elements. Inner arrays and dictionaries are null at first.
void JSONValue::copyOneLevel(const JSONValue& other) {
  if (const auto* array = std::get_if<ArrayBox>(&other.value_)) {
    ArrayBox& box = value_.emplace<ArrayBox>();
    if (!*array) return;
    box = std::make_unique<BoxedArray>();
    box->elements.resize((*array)->elements.size());
  } else if (const auto* dictionary = std::get_if<DictionaryBox>(&other.value_)) {
    DictionaryBox& box = value_.emplace<DictionaryBox>();
    if (!*dictionary) return;
    box = std::make_unique<BoxedDictionary>();
    for (const auto& [key, value] : (*dictionary)->entries) box->entries.try_emplace(box->entries.end(), key);
  } else {
    const auto copy = [this]<typename Held>(const Held& held) {
      if constexpr (std::copy_constructible<Held>) value_ = held;
    };
    std::visit(copy, other.value_);
  }
}

void JSONValue::copy(const JSONValue& other) {
  Levels from;
  Levels to;
  JSONValue* copied = this;
  for (const JSONValue* one = &other; one != nullptr; one = from.next()) {
    copied->copyOneLevel(*one);
    from.enter(*one);
    to.enter(*copied);
    // The levels return elements of this value, which is not const.
    copied = const_cast<JSONValue*>(to.next());
  }
}

bool operator==(const JSONValue& a, const JSONValue& b) {
  Levels inA;
  Levels inB;
  const JSONValue* oneOfA = &a;
  const JSONValue* oneOfB = &b;
  while (oneOfA != nullptr) {
    if (!alike(*oneOfA, *oneOfB) || !sameKeys(inA, inB)) return false;
    inA.enter(*oneOfA);
    inB.enter(*oneOfB);
    oneOfA = inA.next();
    oneOfB = inB.next();
  }
  return true;
}

std::size_t JSONValue::hash() const {
  std::size_t hash = 0;
  Levels levels;
  for (const JSONValue* one = this; one != nullptr; one = levels.next()) {
    if (const std::string* key = levels.key()) hash = mixHash(hash, std::hash<std::string>()(*key));
    hash = mixHash(hash, one->value_.index());
    if (const auto* text = one->stringValue()) {
      hash = mixHash(hash, std::hash<std::string>()(*text));
    } else if (const auto* array = one->arrayValue()) {
      hash = mixHash(hash, array->size());
    } else if (const auto* dictionary = one->dictionaryValue()) {
      hash = mixHash(hash, dictionary->size());
    } else if (const auto whole = one->intValue()) {
      hash = mixHash(hash, std::hash<std::int64_t>()(*whole));
    } else if (const auto real = one->doubleValue()) {
      hash = mixHash(hash, std::hash<double>()(*real));
    } else if (const auto truth = one->boolValue()) {
      hash = mixHash(hash, *truth ? 1 : 0);
    }
    levels.enter(*one);
  }
  return hash;
}

std::ostream& JSONValue::show(std::ostream& out) const {
  Levels levels;
  const JSONValue* one = this;
  for (;;) {
    const bool isHidden = levels.key() != nullptr && isHiddenField(*levels.key()) && !one->isNull();
    if (isHidden) {
      out << "<redacted>";
    } else {
      showOne(out, *one);
    }
    const bool isFirst = !isHidden && levels.enter(*one);
    while (!levels.empty() && (one = levels.nextInLevel()) == nullptr) {
      out << (levels.isInDictionary() ? '}' : ']');
      levels.leave();
    }
    if (levels.empty()) return out;
    if (!isFirst) out << ',';
    if (!levels.isInDictionary()) continue;
    showText(out, *levels.key());
    out << ':';
  }
}

}  // namespace tilvanego

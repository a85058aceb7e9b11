#include <algorithm>
#include <array>
#include <cmath>

#include <tilvanego/json/JSONValue.h>
#include <tilvanego/json/JSONValueLevels.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using json::Reader;
using json::Writer;
using json::detail::Levels;

// Whole numbers are exact. A value that is written and read again must be equal, and a whole double is
// written like an integer. So it becomes an integer here. But 2^63, the first one that does not fit, is
// written with an exponent, and stays a double.
bool readNumber(Reader& reader, JSONValue& value) {
  json::detail::JSONNumber number;
  if (!reader.readNumber(number)) return false;
  constexpr double beyond = 0x1p63;
  const auto whole = number.asInteger();
  if (whole && number.plain) {
    value = *whole;
    return true;
  }
  const auto nearest = number.asDouble();
  const bool fits = nearest && std::fabs(*nearest) < beyond;
  if (whole && (fits || !nearest || number.text.find_first_of("eE") == number.text.npos)) {
    value = *whole;
  } else if (fits && std::trunc(*nearest) == *nearest) {
    value = static_cast<std::int64_t>(*nearest);
  } else if (nearest) {
    value = *nearest;
  } else {
    return reader.fail(JSONFailure::numberOutOfRange, "Unknown JSON value");
  }
  return true;
}

bool beginValue(Writer& writer, const JSONValue& value) {
  if (const auto* text = value.stringValue()) return writer.text(*text);
  if (value.isDictionary()) return writer.beginObject();
  if (value.isArray()) return writer.beginArray();
  if (const auto whole = value.intValue()) return writer.integer(*whole);
  if (const auto real = value.doubleValue()) return writer.number(*real);
  if (const auto truth = value.boolValue()) return writer.boolean(*truth);
  return writer.null();
}

void endLevel(Writer& writer, bool isDictionary) {
  if (isDictionary) {
    writer.endObject();
  } else {
    writer.endArray();
  }
}

bool failInLevels(Writer& writer, Levels& levels) {
  for (; !levels.empty(); levels.leave()) {
    if (levels.isInDictionary()) {
      writer.failInside(*levels.key());
    } else {
      writer.failInside(levels.index());
    }
  }
  return false;
}

}  // namespace

// Reads a value without recursion: the open arrays and dictionaries are in a vector, so that depth needs no
// stack.
class JSONValue::Reading {
 public:
  Reading(Reader& reader, JSONValue& whole) : reader_(reader), place_(&whole) {}

  bool run() {
    do {
      if (!readPlace()) return failAtPlace();
      Reader::Next next = Reader::Next::end;
      while (depth_ > 0 && next == Reader::Next::end) {
        next = open_[depth_ - 1]->isArray() ? nextElement() : nextEntry();
        if (next == Reader::Next::end) --depth_;
      }
      if (next == Reader::Next::failure) return failAtPlace();
    } while (depth_ > 0);
    return true;
  }

 private:
  bool readPlace() {
    JSONKind kind{};
    if (!reader_.peek(kind)) return false;
    auto& value = place_->value_;
    switch (kind) {
      case JSONKind::null:
        value.emplace<std::monostate>();
        return reader_.takeNull() || reader_.fail(JSONFailure::unexpectedCharacter);
      case JSONKind::boolean:
        return reader_.readBoolean(value.emplace<bool>());
      case JSONKind::string:
        return reader_.readText(value.emplace<std::string>());
      case JSONKind::number:
        return readNumber(reader_, *place_);
      case JSONKind::array:
        if (!reader_.beginArray()) return false;
        value.emplace<ArrayBox>();
        break;
      case JSONKind::object:
        if (!reader_.beginObject()) return false;
        value.emplace<DictionaryBox>();
        break;
    }
    open_[depth_++] = place_;
    return true;
  }

  // Until the next element has a place, the failure belongs to the array itself.
  Reader::Next nextElement() {
    place_ = open_[depth_ - 1];
    const Reader::Next next = reader_.nextElement();
    if (next != Reader::Next::item) return next;
    ArrayBox& box = *std::get_if<ArrayBox>(&place_->value_);
    if (!box) {
      if (!reader_.takeMemory(sizeof(BoxedArray))) return Reader::Next::failure;
      box = std::make_unique<BoxedArray>();
    }
    Array& elements = box->elements;
    if (elements.size() == elements.capacity() && !makeRoom(elements)) return Reader::Next::failure;
    place_ = &elements.emplace_back();
    return next;
  }

  // A short array reserves little, so that many of them need little memory compared with their text.
  bool makeRoom(Array& elements) {
    constexpr std::size_t shortArray = 2;
    const std::size_t former = elements.capacity();
    const std::size_t room = std::max(2 * former, shortArray);
    if (!reader_.takeMemory(room * sizeof(JSONValue))) return reader_.failInside(elements.size());
    elements.reserve(room);
    reader_.giveBackMemory(former * sizeof(JSONValue));
    return true;
  }

  Reader::Next nextEntry() {
    for (;;) {
      place_ = open_[depth_ - 1];
      std::string_view key;
      const Reader::Next next = reader_.nextKey(key);
      if (next != Reader::Next::item) return next;
      DictionaryBox& box = *std::get_if<DictionaryBox>(&place_->value_);
      constexpr std::size_t entrySize = json::Codec<Dictionary>::entrySize;
      if (!reader_.takeMemory(box ? entrySize : entrySize + sizeof(BoxedDictionary))) {
        reader_.failInside(std::string(key));
        return Reader::Next::failure;
      }
      if (!box) box = std::make_unique<BoxedDictionary>();
      const auto [entry, isNew] = box->entries.emplace(key, nullptr);
      place_ = &entry->second;
      if (isNew) return next;
      reader_.giveBackMemory(entrySize);
      if (!reader_.skip()) return Reader::Next::failure;
    }
  }

  // Adds the path steps, from the failed place outwards.
  bool failAtPlace() {
    if (depth_ > 0 && open_[depth_ - 1] == place_) --depth_;
    for (; depth_ > 0; place_ = open_[--depth_]) {
      const JSONValue& parent = *open_[depth_ - 1];
      if (const Array* elements = parent.arrayValue()) {
        reader_.failInside(static_cast<std::size_t>(place_ - elements->data()));
      } else {
        const auto isPlace = [&](const auto& entry) { return &entry.second == place_; };
        reader_.failInside(std::ranges::find_if(*parent.dictionaryValue(), isPlace)->first);
      }
    }
    return false;
  }

  Reader& reader_;
  JSONValue* place_;
  std::array<JSONValue*, jsonDepthLimit> open_;
  std::size_t depth_ = 0;
};

bool json::Codec<JSONValue>::read(Reader& reader, JSONValue& value) {
  value = JSONValue();
  return JSONValue::Reading(reader, value).run();
}

bool json::Codec<JSONValue>::write(Writer& writer, const JSONValue& value) {
  Levels levels;
  const JSONValue* one = &value;
  for (;;) {
    if (!beginValue(writer, *one)) return failInLevels(writer, levels);
    if (!levels.enter(*one) && (one->isArray() || one->isDictionary())) endLevel(writer, one->isDictionary());
    while (!levels.empty() && (one = levels.nextInLevel()) == nullptr) {
      endLevel(writer, levels.isInDictionary());
      levels.leave();
    }
    if (levels.empty()) return true;
    if (!levels.isInDictionary()) {
      writer.element();
    } else if (!writer.key(*levels.key())) {
      return failInLevels(writer, levels);
    }
  }
}

}  // namespace tilvanego

#pragma once

#include <vector>

#include <tilvanego/platform/Pasteboard.h>

#include "FieldReader.h"
#include "JSONText.h"

/// Pasteboard items in the form of scripts: {TYPE: TEXT or {"base64": B}, ...}.
namespace tilvanego::program {

[[nodiscard]] JSONObject pasteboardObject(const PasteboardContents& contents);

template <>
struct FieldType<std::vector<PasteboardItem>> {
  static std::string wanted() { return R"(a list of items {TYPE: TEXT or {"base64": TEXT}, ...})"; }
  static std::optional<std::vector<PasteboardItem>> read(const JSONValue& value);
  static std::vector<PasteboardItem> blank() { return {}; }
};

}  // namespace tilvanego::program

#include <expected>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#import <UIKit/UIKit.h>

#include <tilvanego/platform/apple/Adapters.h>

namespace tilvanego::detail {
namespace {

std::string toUTF8(NSString* text) {
  NSData* bytes = [text dataUsingEncoding:NSUTF8StringEncoding];
  return std::string(static_cast<const char*>(bytes.bytes), bytes.length);
}

// Returns nil for a text that is not UTF-8.
id toObject(const PasteboardValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return toNSString(*text);
  const auto& bytes = std::get<Bytes>(value);
  return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

// Returns no value for what is neither text nor bytes, such as an image.
std::optional<PasteboardValue> toValue(id object) {
  if ([object isKindOfClass:[NSString class]]) return toUTF8(object);
  if (![object isKindOfClass:[NSData class]]) return std::nullopt;
  const auto* first = static_cast<const std::uint8_t*>([object bytes]);
  return Bytes(first, first + [object length]);
}

NSDictionary<NSString*, id>* toOptions(const PasteboardOptions& options) {
  NSMutableDictionary<NSString*, id>* made = [NSMutableDictionary dictionary];
  made[UIPasteboardOptionLocalOnly] = @(options.localOnly);
  if (options.expirationDate) {
    made[UIPasteboardOptionExpirationDate] =
        [NSDate dateWithTimeIntervalSince1970:options.expirationDate->secondsSince1970()];
  }
  return made;
}

class ApplePasteboard final : public Pasteboard {
 public:
  std::optional<std::string> string() const override {
    NSString* text = UIPasteboard.generalPasteboard.string;
    if (!text) return std::nullopt;
    return toUTF8(text);
  }

  std::vector<PasteboardItem> items() const override {
    std::vector<PasteboardItem> read;
    for (NSDictionary<NSString*, id>* each in UIPasteboard.generalPasteboard.items) {
      auto& item = read.emplace_back();
      for (NSString* type in each) {
        if (auto value = toValue(each[type])) item.emplace(toUTF8(type), std::move(*value));
      }
    }
    return read;
  }

  std::expected<void, std::string> setItems(std::vector<PasteboardItem> items,
                                            const PasteboardOptions& options) override {
    NSMutableArray<NSDictionary<NSString*, id>*>* made = [NSMutableArray array];
    for (const auto& item : items) {
      NSMutableDictionary<NSString*, id>* representations = [NSMutableDictionary dictionary];
      for (const auto& [type, value] : item) {
        NSString* name = toNSString(type);
        const id object = toObject(value);
        if (!name || !object) return std::unexpected("An item is no text in UTF-8.");
        representations[name] = object;
      }
      [made addObject:representations];
    }
    UIPasteboard* pasteboard = UIPasteboard.generalPasteboard;
    const NSInteger before = pasteboard.changeCount;
    [pasteboard setItems:made options:toOptions(options)];
    // UIKit reports no failure, but counts each change.
    if (pasteboard.changeCount == before) return std::unexpected("The system did not keep the items.");
    return {};
  }
};

}  // namespace

std::unique_ptr<Pasteboard> makeApplePasteboard() { return std::make_unique<ApplePasteboard>(); }

}  // namespace tilvanego::detail

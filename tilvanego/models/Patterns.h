#pragma once

#include <string_view>

/// Patterns that several rules share. The slashes belong to them: since they are looked for in the value too,
/// no value matches. That is how the interface publishes its rules, and they are kept to the letter.
namespace tilvanego::models::detail {

inline constexpr std::string_view shortAmountPattern = R"(/^\d{1,9}\.?\d{0,2}$/)";
inline constexpr std::string_view amountPattern = R"(/^\d+(\.\d{0,2})?$/)";
inline constexpr std::string_view transactionIdPattern = R"(/^\d{12}$/)";
inline constexpr std::string_view referencePattern = R"(/^[0-9a-zA-z-_\s]{1,100}$/)";
inline constexpr std::string_view osTokenReferencePattern = R"(/^ost_[a-f0-9]{32}$/)";

}  // namespace tilvanego::models::detail

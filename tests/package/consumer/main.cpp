#include <tilvanego/values/RawText.h>

#include <iostream>

// Stands for a host: it knows the install tree alone.
enum class Answer { yes, no };
template <>
struct tilvanego::RawTexts<Answer> {
  static constexpr std::array table{std::pair{Answer::yes, std::string_view("yes")}};
};

int main() { std::cout << tilvanego::rawText(Answer::yes) << '\n'; }

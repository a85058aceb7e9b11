#include "Terminal.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include <unistd.h>

namespace tilvanego::program {
namespace {

constexpr std::size_t labelWidth = 17;

// SGR sequences (ECMA-48).
constexpr std::string_view bold = "\x1b[1m";
constexpr std::string_view faint = "\x1b[2m";
constexpr std::string_view green = "\x1b[32m";
constexpr std::string_view yellow = "\x1b[33m";
constexpr std::string_view plain = "\x1b[0m";

bool wantsColours() {
  const char* refused = std::getenv("NO_COLOR");
  return ::isatty(STDOUT_FILENO) == 1 && (refused == nullptr || *refused == '\0');
}

std::string padded(std::string_view label) {
  std::string text(label);
  text.resize(std::max(labelWidth, text.size() + 1), ' ');
  return text;
}

void print(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

}  // namespace

Terminal::Terminal() : colours_(wantsColours()) {}

std::string Terminal::dressed(std::string_view text, std::string_view style) const {
  return colours_ ? std::string(style).append(text).append(plain) : std::string(text);
}

void Terminal::heading(std::string_view text) { print(dressed(text, bold) + "\n"); }

void Terminal::line(std::string_view label, std::string_view text) {
  print("  " + dressed(padded(label), faint) + std::string(text) + "\n");
}

void Terminal::gap() { print("\n"); }

void Terminal::good(std::string_view label, std::string_view text) { coloured(label, text, green); }
void Terminal::bad(std::string_view label, std::string_view text) { coloured(label, text, yellow); }

void Terminal::coloured(std::string_view label, std::string_view text, std::string_view colour) {
  line(label, dressed(text, colour));
}

}  // namespace tilvanego::program

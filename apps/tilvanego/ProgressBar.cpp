#include "ProgressBar.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace tilvanego::program {
namespace {

/// "512 B", "1.4 MB": powers of 1000.
std::string bytesText(std::int64_t count) {
  constexpr std::array<std::string_view, 5> units{"B", "kB", "MB", "GB", "TB"};
  if (count < 1000) return std::to_string(count) + " B";
  auto value = static_cast<double>(count);
  std::size_t unit = 0;
  for (; value >= 1000 && unit + 1 < units.size(); ++unit) value /= 1000;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f ", value);
  return std::string(text.data()).append(units[unit]);
}

std::string lineOf(const Progress& progress) {
  std::string bytes = bytesText(progress.completedUnitCount());
  if (progress.isIndeterminate()) return bytes;
  constexpr std::size_t width = 30;
  const double fraction = progress.fractionCompleted();
  std::string bar(static_cast<std::size_t>(fraction * width), '#');
  bar.resize(width, '.');
  return "[" + bar + "] " + std::to_string(static_cast<int>(fraction * 100)) + "% of " +
         bytesText(progress.totalUnitCount());
}

}  // namespace

void ProgressBar::watch(const std::shared_ptr<Progress>& progress) {
  progress->addObserver([this](const Progress& changed) { show(lineOf(changed)); });
}

void ProgressBar::finish() { show(""); }

void ProgressBar::show(const std::string& text) {
  const std::lock_guard held(mutex_);
  if (text == shown_) return;
  shown_ = text;
  // Returns to the start of the line and clears it (ECMA-48).
  std::fprintf(stderr, "\r\x1b[K%s", text.c_str());
  std::fflush(stderr);
}

}  // namespace tilvanego::program

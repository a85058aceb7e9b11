#pragma once

#include <memory>
#include <mutex>
#include <string>

#include <tilvanego/network/Progress.h>

namespace tilvanego::program {

/// One line on standard error, a terminal, that shows how far a piece of work has come.
class ProgressBar {
 public:
  /// From any thread. The bar outlives the progress's last change.
  void watch(const std::shared_ptr<Progress>& progress);
  /// Clears the line.
  void finish();

 private:
  void show(const std::string& text);

  std::mutex mutex_;
  std::string shown_;
};

}  // namespace tilvanego::program

#pragma once

#include <memory>
#include <mutex>
#include <string>

#include <tilvanego/network/Progress.h>

namespace tilvanego::program {

/// One line on standard error that shows a progress. Standard error must be a terminal.
class ProgressBar {
 public:
  /// May be called from any thread. The bar must outlive the last change of the progress.
  void watch(const std::shared_ptr<Progress>& progress);
  /// Clears the line.
  void finish();

 private:
  void show(const std::string& text);

  std::mutex mutex_;
  std::string shown_;
};

}  // namespace tilvanego::program

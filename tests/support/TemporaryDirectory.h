#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

// The bytes of a file; none if it can't be read.
inline std::string contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// A fresh directory of mode 0700 that goes away with its contents.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string name = std::filesystem::temp_directory_path() / "tilvanego_test_XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    path_ = name;
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

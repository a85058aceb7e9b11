// seeds_test NAME DIRECTORY: runs one fuzzer on each file of a directory. A broken rule ends the program.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/Fuzzer.h"

using Fuzzer = int (*)(const std::uint8_t* data, std::size_t size);

#include "Fuzzers.h"  // made by CMakeLists.txt

int main(int, char** arguments) {
  const Fuzzer fuzzer = fuzzers.at(arguments[1]);
  int seeds = 0;
  for (const auto& entry : std::filesystem::directory_iterator(arguments[2])) {
    std::ifstream file(entry.path(), std::ios::binary);
    // A vector of its own size, so that a sanitizer sees a read past the end.
    const std::vector<std::uint8_t> seed{std::istreambuf_iterator<char>(file), {}};
    std::printf("%s\n", entry.path().c_str());
    std::fflush(stdout);
    fuzzer(seed.data(), seed.size());
    ++seeds;
  }
  return seeds > 0 ? 0 : 1;
}

#include "tests/support/TestData.h"

namespace tilvanego::test {

std::string testDataPath(std::string_view relative) {
  return TILVANEGO_TEST_DATA "/" + std::string(relative);
}

}  // namespace tilvanego::test

#include <tilvanego/frame/OperationKind.h>

namespace [[gnu::visibility("default")]] tilvanego {

std::string operationWords(OperationKind kind) {
  std::string words;
  for (const char letter : rawText(kind)) {
    const bool isCapital = letter >= 'A' && letter <= 'Z';
    if (isCapital) words += ' ';
    words += isCapital ? static_cast<char>(letter - 'A' + 'a') : letter;
  }
  return words;
}

}  // namespace tilvanego

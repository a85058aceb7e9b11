#include <tilvanego/platform/desktop/CommandLine.h>

#include "tests/support/Test.h"

using tilvanego::splitCommandLine;

TEST(CommandLine, IsSplitIntoWordsWithoutAShell) {
  for (const auto& [line, words] : std::vector<std::pair<std::string_view, std::vector<std::string>>>{
           {"xdg-open", {"xdg-open"}},
           {"  prog\t--flag \n x ", {"prog", "--flag", "x"}},
           {"prog 'two words' \"two words\"", {"prog", "two words", "two words"}},
           {"prog --name='a b'c", {"prog", "--name=a bc"}},
           {"prog '' \"\"", {"prog", "", ""}},
           {R"(prog two\ words \' \\ \n)", {"prog", "two words", "'", "\\", "n"}},
           {R"(prog "a\"b\\c\d" 'a\')", {"prog", "a\"b\\c\\d", "a\\"}},
           {"prog $HOME `id` *; > < | & # ~", {"prog", "$HOME", "`id`", "*;", ">", "<", "|", "&", "#", "~"}},
           {"prög '→'", {"prög", "→"}},
       }) {
    EXPECT_EQ(splitCommandLine(line), words) << line;
  }
}

TEST(CommandLine, WithoutAWordOrAnEndIsRefused) {
  using namespace std::string_view_literals;
  for (const auto line :
       {""sv, " \t\n"sv, "prog 'open"sv, "prog \"open"sv, "prog \"open\\\""sv, "prog \\"sv, "a\0b"sv}) {
    EXPECT_EQ(splitCommandLine(line), std::nullopt) << line;
  }
}

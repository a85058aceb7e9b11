#include <fstream>

#include <tilvanego/http_client/encodings/MIMETypes.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Test.h"

namespace tilvanego {
namespace {

std::string typeOf(const MIMETypes& types, std::string_view extension) {
  return std::string(types.typeForExtension(extension).value_or("none"));
}

TEST(MIMETypes, CommonTypesAreKnownWithoutADatabase) {
  const MIMETypes types;
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"pdf", "application/pdf"},
      {"PNG", "image/png"},
      {"Jpg", "image/jpeg"},
      {"csv", "text/csv"},
      {"docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
      {"", "none"},
      {".pdf", "none"},
      {"pdf ", "none"},
      {"unheard", "none"},
      {std::string_view("pdf\0", 4), "none"},
  };
  for (const auto& [extension, type] : cases) {
    EXPECT_EQ(typeOf(types, extension), type) << extension;
    if (type == "none") continue;
    EXPECT_EQ(typeOf(MIMETypes::system(), extension), type) << extension;
  }
}

TEST(MIMETypes, TheHighestWeightWinsAndThenTheFirst) {
  MIMETypes types;
  types.addGlobs(
      "# written by a program\n"
      "50:application/first:*.abc\n"
      "50:application/second:*.ABC\n"
      "60:application/heavy:*.xyz\n"
      "50:application/light:*.xyz\n"
      "50:application/other:*.pdf\n"
      "51:application/preferred:*.png\n"
      "50:application/last:*.last");
  EXPECT_EQ(typeOf(types, "abc"), "application/first");
  EXPECT_EQ(typeOf(types, "xyz"), "application/heavy");
  EXPECT_EQ(typeOf(types, "pdf"), "application/pdf");
  EXPECT_EQ(typeOf(types, "png"), "application/preferred");
  EXPECT_EQ(typeOf(types, "last"), "application/last");
}

TEST(MIMETypes, LinesThatSayNothingOfAnExtensionArePassedOver) {
  MIMETypes types;
  types.addGlobs(
      "50:text/case:*.q1:cs\n"
      "50:text/makefile:makefile\n"
      "50:text/name:q3\n"
      "50:text/compound:*.tar.q4\n"
      "50:text/glob:*.q[5]\n"
      "50:text/glob:*.q6*\n"
      "50:text/glob:*.q7?\n"
      "50:text/empty:*.\n"
      "0:text/none:__NOGLOBS__\n"
      ":text/weight:*.q8\n"
      "5x:text/weight:*.q9\n"
      "99999999999999999999:text/weight:*.q10\n"
      "50:notype:*.q11\n"
      "50:text/:*.q12\n"
      "50:/text:*.q13\n"
      "50:text/a b:*.q14\n"
      "50:text/a\r\nX-Forged: 1:*.q15\n"
      "50:text/a;b=\"c\":*.q16\n"
      "50:text/line\n"
      "50\n\n:::\n"
      "50:text/good:*.q17\n");
  for (int i = 1; i <= 16; ++i) EXPECT_EQ(typeOf(types, "q" + std::to_string(i)), "none") << i;
  EXPECT_EQ(typeOf(types, ""), "none");
  EXPECT_EQ(typeOf(types, "q17"), "text/good");
}

TEST(MIMETypes, DirectoriesAreReadInTheOrderOfPreference) {
  const TemporaryDirectory directory;
  const auto database = [&](const char* name, const std::string& content) {
    const auto path = directory.path() / name;
    std::filesystem::create_directories(path / "mime");
    std::ofstream(path / "mime" / "globs2") << content;
    return path;
  };
  const std::string tooLong(16 * 1024 * 1024, '\n');
  std::filesystem::create_directories(directory.path() / "folder" / "mime" / "globs2");
  const std::filesystem::path directories[] = {
      directory.path() / "missing",
      directory.path() / "folder",
      database("own", "50:application/own:*.own\n"),
      database("long", "50:application/long:*.long\n" + tooLong),
      database("shared", "50:application/shared:*.own\n50:application/shared:*.shared\n"),
  };
  MIMETypes types;
  types.addDirectories(directories);
  EXPECT_EQ(typeOf(types, "own"), "application/own");
  EXPECT_EQ(typeOf(types, "shared"), "application/shared");
  EXPECT_EQ(typeOf(types, "long"), "none");
}

TEST(MIMETypes, DataLiesWhereTheEnvironmentSays) {
  using Paths = std::vector<std::filesystem::path>;
  EXPECT_EQ(detail::dataDirectories(nullptr, "/home/me", nullptr),
            (Paths{"/home/me/.local/share", "/usr/local/share", "/usr/share"}));
  EXPECT_EQ(detail::dataDirectories("/own", "/home/me", "/a::relative:/b"), (Paths{"/own", "/a", "/b"}));
  EXPECT_EQ(detail::dataDirectories("", nullptr, ""), (Paths{"/usr/local/share", "/usr/share"}));
}

}  // namespace
}  // namespace tilvanego

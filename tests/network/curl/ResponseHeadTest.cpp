#include <tilvanego/network/HTTPHead.h>
#include <tilvanego/network/curl/ResponseHead.h>

#include "tests/support/Test.h"

namespace tilvanego {
namespace {

using detail::ResponseHead;
using Fields = std::vector<HTTPHeaders::Field>;

constexpr std::size_t limit = std::size_t{64} * 1024;

TEST(ResponseHead, FieldsAreReadLineByLine) {
  struct Case {
    std::vector<std::string> lines;
    std::string statusLine;
    Fields fields;
  };
  const Case cases[] = {
      {{"HTTP/1.1 200 OK\r\n", "A: 1\r\n", "b:\t2 \r\n", "\r\n"},
       "HTTP/1.1 200 OK",
       {{"A", "1"}, {"b", "2"}}},
      // HTTP/2 has no reason, and servers before it may give none.
      {{"HTTP/2 204 \r\n", "\r\n"}, "HTTP/2 204", {}},
      {{"HTTP/1.1 200 \xE9\r\n", "A: \xE9\r\n"}, "HTTP/1.1 200 \xC3\xA9", {{"A", "\xC3\xA9"}}},
      {{"HTTP/1.1 200 OK\r\n", "A: 1\r\n", "B: x\r\n", "a: 2\r\n"},
       "HTTP/1.1 200 OK",
       {{"A", "1, 2"}, {"B", "x"}}},
      // A value may go on in further lines; those without anything in them add nothing.
      {{"HTTP/1.1 200 OK\r\n", "A: 1\r\n", " 2\r\n", "\t\r\n", "  3\r\n"},
       "HTTP/1.1 200 OK",
       {{"A", "1 2 3"}}},
      {{"HTTP/1.1 200 OK\r\n", "A:\r\n", " 1\r\n"}, "HTTP/1.1 200 OK", {{"A", "1"}}},
      {{"HTTP/1.1 200 OK\r\n", " 1\r\n", "no colon\r\n", "Bad Name: 1\r\n", ": 1\r\n", " 2\r\n"},
       "HTTP/1.1 200 OK",
       {}},
      {{"HTTP/1.1 100 Continue\r\n", "A: 1\r\n", "\r\n", "HTTP/1.1 200 OK\r\n", "B: 2\r\n", "\r\n"},
       "HTTP/1.1 200 OK",
       {{"B", "2"}}},
      {{"HTTP/1.1 200 OK\r\n", "HTTP/1.1: 1\r\n", "A: 1\r\n"}, "HTTP/1.1 200 OK", {{"A", "1"}}},
  };
  for (const Case& one : cases) {
    ResponseHead head(limit);
    for (const std::string& line : one.lines) EXPECT_TRUE(head.addLine(line)) << line;
    if (!head.isComplete()) {
      EXPECT_TRUE(head.addLine("\r\n"));
    }
    const detail::HTTPHead read = detail::readHead(head.lines());
    EXPECT_EQ(read.statusLine, one.statusLine);
    EXPECT_EQ(read.headers.fields(), one.fields) << one.lines.size();
  }
}

TEST(ResponseHead, TrailersAreLeftOut) {
  ResponseHead head(limit);
  for (const char* line : {"HTTP/1.1 200 OK\r\n", "A: 1\r\n", "\r\n"}) EXPECT_TRUE(head.addLine(line));
  EXPECT_TRUE(head.isComplete());
  head.bodyBegins();
  EXPECT_TRUE(head.addLine("A: 2\r\n"));
  EXPECT_EQ(detail::readHead(head.lines()).headers, (HTTPHeaders{{"A", "1"}}));
}

TEST(ResponseHead, ALengthIsOneNumber) {
  struct Case {
    std::vector<std::string> values;
    bool broken;
  };
  for (const auto& [values, broken] :
       {Case{{"5"}, false}, Case{{" 5\t"}, false}, Case{{"5", "5"}, false}, Case{{"5, 5"}, false},
        Case{{"9223372036854775807"}, false}, Case{{"9223372036854775808"}, true}, Case{{"5", "3"}, true},
        Case{{"3, 5"}, true}, Case{{""}, true}, Case{{"+5"}, true}, Case{{"-1"}, true}, Case{{"5x"}, true},
        Case{{"99999999999999999999"}, true}}) {
    ResponseHead head(limit);
    EXPECT_TRUE(head.addLine("HTTP/1.1 200 OK\r\n"));
    for (const auto& value : values) EXPECT_TRUE(head.addLine("content-Length:" + value + "\r\n"));
    EXPECT_EQ(head.hasBrokenLength(), broken) << values.front();
    EXPECT_TRUE(head.addLine("\r\n") && head.addLine("HTTP/1.1 200 OK\r\n"));
    EXPECT_FALSE(head.hasBrokenLength()) << "the next head's";
  }
}

TEST(ResponseHead, RefusalsAreCountedOverAllHeads) {
  ResponseHead head(limit);
  for (std::size_t i = 0; i <= ResponseHead::maxRefusals; ++i) {
    EXPECT_FALSE(head.hasTooManyRefusals());
    EXPECT_TRUE(head.addLine(i % 2 == 0 ? "HTTP/1.1 401 No\r\n" : "HTTP/2 407 \r\n") && head.addLine("\r\n"));
  }
  EXPECT_TRUE(head.hasTooManyRefusals());
  head.clear();
  EXPECT_FALSE(head.hasTooManyRefusals());
}

TEST(ResponseHead, FieldsAndBytesHaveALimit) {
  ResponseHead many(limit);
  EXPECT_TRUE(many.addLine("HTTP/1.1 200 OK\r\n"));
  for (std::size_t i = 0; i < ResponseHead::maxFields; ++i) EXPECT_TRUE(many.addLine("A: 1\r\n"));
  EXPECT_FALSE(many.addLine("A: 1\r\n"));

  const std::string start = "HTTP/1.1 200 OK\r\n";
  const std::string field = "A: \r\n";
  const std::string value(limit - start.size() - field.size(), 'x');
  ResponseHead full(limit);
  EXPECT_TRUE(full.addLine(start));
  EXPECT_TRUE(full.addLine("A: " + value + "\r\n"));
  EXPECT_FALSE(full.addLine("\r\n"));
  EXPECT_FALSE(ResponseHead(limit).addLine("HTTP/1.1 200 " + std::string(limit, 'x')));
}

TEST(ResponseHead, InterimHeadsAndTrailersCountToo) {
  const auto linesUntilRefused = [](const std::vector<std::string>& lines, bool inBody) {
    ResponseHead head(limit);
    std::size_t bytes = 0;
    for (const char* line : {"HTTP/1.1 200 OK\r\n", "\r\n"}) {
      EXPECT_TRUE(head.addLine(line));
      bytes += std::string_view(line).size();
    }
    if (inBody) head.bodyBegins();
    for (std::size_t i = 0; head.addLine(lines[i % lines.size()]); ++i)
      bytes += lines[i % lines.size()].size();
    return bytes;
  };
  EXPECT_LE(linesUntilRefused({"HTTP/1.1 103 Early\r\n", "A: 1\r\n", "\r\n"}, false), limit);
  EXPECT_LE(linesUntilRefused({"A: 1\r\n"}, true), limit);
}

}  // namespace
}  // namespace tilvanego

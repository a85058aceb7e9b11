// What the tests beside this take for granted of their servers.

#include "tests/support/Test.h"

#include "tests/support/Authentication.h"
#include "tests/support/HTTPMessages.h"

using namespace tilvanego::test;

TEST(TestServers, RequestsAreReadHoweverTheirBytesArrive) {
  const std::string plain = "POST /a?b HTTP/1.1\r\nHost: x\r\ncontent-length: 4\r\n\r\nbody";
  const std::string bare = "GET / HTTP/1.1\r\nEmpty:\r\n\r\n";
  const std::string chunked =
      "PUT /c HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nbod\r\n1\r\ny\r\n0\r\n\r\n";
  const auto all = plain + chunked + bare;
  for (const std::size_t pieceSize : {std::size_t{1}, std::size_t{7}, all.size()}) {
    RequestReader reader;
    std::vector<ReceivedRequest> requests;
    for (std::size_t start = 0; start < all.size(); start += pieceSize) {
      reader.append(std::string_view(all).substr(start, pieceSize));
      while (auto request = reader.takeRequest()) requests.push_back(*std::move(request));
    }
    ASSERT_EQ(requests.size(), 3U) << pieceSize;
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_EQ(requests[0].target, "/a?b");
    EXPECT_EQ(requests[0].path(), "/a");
    EXPECT_EQ(requests[0].body, "body");
    EXPECT_EQ(requests[0].raw, plain);
    EXPECT_EQ(requests[1].body, "body");
    EXPECT_EQ(requests[1].raw, chunked);
    EXPECT_EQ(requests[2].header("EMPTY"), "");
    EXPECT_EQ(requests[2].header("Host"), std::nullopt);
  }
  for (const std::string broken : {"SSH-2.0\r\n\r\n", "GET / HTTP/1.1\r\nno colon\r\n\r\n",
                                   "PUT / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n"}) {
    RequestReader reader;
    reader.append(broken);
    EXPECT_EQ(reader.takeRequest(), std::nullopt);
    EXPECT_TRUE(reader.isBroken()) << broken;
  }
}

TEST(TestServers, DigestsAreThoseOfTheStandardsExample) {
  // RFC 2617, section 3.5; RFC 7616 computes MD5 as this did.
  EXPECT_EQ(digestResponse("MD5", "Mufasa", "testrealm@host.com", "Circle Of Life", "GET",
                           {{"uri", "/dir/index.html"},
                            {"nonce", "dcd98b7102dd2f0e8b11d0f600bfb0c093"},
                            {"nc", "00000001"},
                            {"cnonce", "0a4f113b"},
                            {"qop", "auth"}}),
            "6629fae49393a05397450978507c4ef1");
}

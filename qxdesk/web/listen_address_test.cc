#include "qxdesk/web/listen_address.h"

#include <gtest/gtest.h>

namespace qx::web {
namespace {

std::string parsed(std::string_view text) {
  try {
    const ListenAddress address = parseListenAddress(text);
    return urlHost(address) + " " + std::to_string(address.port);
  } catch (const ListenAddressError& error) {
    return error.what();
  }
}

TEST(ListenAddress, TakesLoopbackAddressesWithAPort) {
  EXPECT_EQ(parsed("127.0.0.1:0"), "127.0.0.1 0");
  EXPECT_EQ(parsed("127.3.2.1:65535"), "127.3.2.1 65535");
  EXPECT_EQ(parsed("[::1]:8080"), "[::1] 8080");
  EXPECT_EQ(parsed("[0:0:0:0:0:0:0:1]:8080"), "[::1] 8080");
}

TEST(ListenAddress, TakesLocalhostAsTheFirstLoopbackAddress) {
  EXPECT_EQ(parsed("localhost:8080"), "127.0.0.1 8080");
}

TEST(ListenAddress, TakesAnAddressForOtherMachinesOnlyWithThePrefix) {
  EXPECT_EQ(parsed("0.0.0.0:8080"),
            "\"0.0.0.0:8080\" is an address that other machines reach; write 127.0.0.1:8080, or "
            "any:0.0.0.0:8080 if they shall reach it.");
  EXPECT_EQ(parsed("any:0.0.0.0:8080"), "0.0.0.0 8080");
  EXPECT_EQ(parsed("[::]:1"),
            "\"[::]:1\" is an address that other machines reach; write 127.0.0.1:1, or "
            "any:[::]:1 if they shall reach it.");
  EXPECT_EQ(parsed("any:[fe80::1]:1"), "[fe80::1] 1");
  EXPECT_EQ(parsed("[::ffff:127.0.0.1]:1"),
            "\"[::ffff:127.0.0.1]:1\" is an address that other machines reach; write "
            "127.0.0.1:1, or any:[::ffff:127.0.0.1]:1 if they shall reach it.");
  EXPECT_EQ(parsed("any:127.0.0.1:0"), "127.0.0.1 0");
}

TEST(ListenAddress, RefusesATextWithoutAPort) {
  const std::string rest =
      " has no port from 0 to 65535 behind a colon; write 127.0.0.1:0, which takes a free port.";
  for (const std::string text : {"", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1",
                                 "127.0.0.1:+1", "127.0.0.1: 1", "127.0.0.1:1 ", "[::1]", "any:"}) {
    EXPECT_EQ(parsed(text), "\"" + text + "\"" + rest);
  }
}

TEST(ListenAddress, RefusesWhatIsNoAddress) {
  const std::string rest =
      " is no address with a port; write one such as 127.0.0.1:0, [::1]:0 or localhost:8080.";
  for (const std::string text : {":8080", "::1:8080", "[::1:8080", "[]:1", "[127.0.0.1]:1",
                                 "127.1:1", "0x7f.0.0.1:1", "example.org:80", "LOCALHOST:1",
                                 " 127.0.0.1:1", "[fe80::1%eth0]:1", "any:any:127.0.0.1:1"}) {
    EXPECT_EQ(parsed(text), "\"" + text + "\"" + rest);
  }
  EXPECT_THROW(parseListenAddress(std::string_view("127.0.0.1\0:1", 12)), ListenAddressError);
}

TEST(ListenAddress, QuotesTheBeginningOfALongText) {
  EXPECT_EQ(parsed(std::string(200, 'x')),
            "\"" + std::string(100, 'x') +
                "...\" has no port from 0 to 65535 behind a colon; write 127.0.0.1:0, which takes "
                "a free port.");
}

}  // namespace
}  // namespace qx::web

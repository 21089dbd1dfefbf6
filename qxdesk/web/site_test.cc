#include "qxdesk/web/site.h"

#include "qxdesk/web/test_support.h"

namespace qx::web {
namespace {

constexpr std::uint16_t kPort = 4711;

class SiteTest : public testing::Test {
 protected:
  static Request request(std::string_view target) {
    Request made;
    made.method = "GET";
    made.target = target;
    made.host = "127.0.0.1:4711";
    made.cookies = "qxdesk-4711=C";
    made.localIp = "127.0.0.1";
    return made;
  }
  int status(const Request& made) const { return site.answer(made).status; }

  Site site{kPort, {"T", "C"}, testPage()};
};

TEST_F(SiteTest, ExchangesTheTokenForACookie) {
  Request made = request("/?token=T");
  made.cookies = "";
  const Answer answer = site.answer(made);
  EXPECT_EQ(answer.status, 303);
  EXPECT_EQ(answer.body, "");
  const std::vector<std::pair<std::string, std::string>> first(answer.headers.begin(),
                                                               answer.headers.begin() + 2);
  EXPECT_EQ(first, (std::vector<std::pair<std::string, std::string>>{
                       {"Location", "/"},
                       {"Set-Cookie", "qxdesk-4711=C; Path=/; HttpOnly; SameSite=Strict"}}));
}

TEST_F(SiteTest, RefusesAWrongTokenEvenWithTheCookie) {
  for (const char* target : {"/?token=", "/?token=X", "/?token=TT", "/?token=T&a=b"}) {
    EXPECT_EQ(status(request(target)), 403) << target;
  }
}

TEST_F(SiteTest, TakesTheTokenAtTheRootOnly) {
  Request made = request("/index.html?token=T");
  made.cookies = "";
  EXPECT_EQ(status(made), 403);
}

TEST_F(SiteTest, ServesItsFilesToTheCookie) {
  EXPECT_EQ(site.answer(request("/")).body, "<!doctype html><title>Desk</title>\n");
  EXPECT_EQ(site.answer(request("/")).type, "text/html; charset=utf-8");
  EXPECT_EQ(site.answer(request("/index.html")).status, 200);
  EXPECT_EQ(site.answer(request("/parts/app.js")).body, "export {};\n");
  EXPECT_EQ(site.answer(request("/parts/app.js?2")).type, "text/javascript; charset=utf-8");
}

TEST_F(SiteTest, ServesNothingWithoutTheCookie) {
  for (const char* cookies : {"", "qxdesk-4711=", "qxdesk-4711=X", "qxdesk-4712=C", "C",
                              "qxdesk-4711 =C", "QXDESK-4711=C", "a=qxdesk-4711=C"}) {
    for (const char* target : {"/", "/parts/app.js", "/socket", "/none"}) {
      Request made = request(target);
      made.cookies = cookies;
      EXPECT_EQ(status(made), 403) << cookies << " " << target;
    }
  }
}

TEST_F(SiteTest, FindsTheCookieAmongOthers) {
  Request made = request("/");
  for (const char* cookies : {"a=b; qxdesk-4711=C", " qxdesk-4711=C ;a", ";;qxdesk-4711=C",
                              "qxdesk-4711=X; qxdesk-4711=C"}) {
    made.cookies = cookies;
    EXPECT_EQ(status(made), 200) << cookies;
  }
}

TEST_F(SiteTest, KnowsExactNamesOnly) {
  for (const char* target :
       {"/app.js", "/parts", "/parts/", "//index.html", "/./index.html", "/parts/../index.html",
        "/../../etc/passwd", "/%2e%2e/index.html", "/index%2ehtml", "/INDEX.HTML", "/index.html/",
        "index.html", "", "*", "http://127.0.0.1:4711/", "/socket/"}) {
    EXPECT_EQ(status(request(target)), 404) << target;
  }
}

TEST_F(SiteTest, RefusesOtherMethodsWithTheOnesItKnows) {
  for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS", "TRACE", "CONNECT", "get", ""}) {
    Request made = request("/");
    made.method = method;
    const Answer answer = site.answer(made);
    EXPECT_EQ(answer.status, 405) << method;
    EXPECT_EQ(answer.headers.front(), (std::pair<std::string, std::string>("Allow", "GET, HEAD")));
    EXPECT_TRUE(answer.closes);
  }
}

TEST_F(SiteTest, RefusesABody) {
  Request made = request("/");
  made.hasBody = true;
  EXPECT_EQ(status(made), 413);
}

TEST_F(SiteTest, RefusesHeadersThatComeTwice) {
  Request made = request("/?token=T");
  made.isMalformed = true;
  EXPECT_EQ(status(made), 400);
}

TEST_F(SiteTest, AnswersToItsOwnNamesOnly) {
  for (const char* host : {"127.0.0.1:4711", "[::1]:4711", "localhost:4711"}) {
    Request made = request("/?token=T");
    made.host = host;
    EXPECT_EQ(status(made), 303) << host;
  }
  for (const char* host :
       {"", "127.0.0.1", "127.0.0.1:4712", "127.0.0.1:04711", "127.0.0.1:4711 ", "example.org:4711",
        "localhost.example.org:4711", "localhost", "LOCALHOST:4711", "127.0.0.1:4711.example.org",
        "x127.0.0.1:4711", "::1:4711", "192.168.1.5:4711"}) {
    Request made = request("/?token=T");
    made.host = host;
    EXPECT_EQ(status(made), 403) << host;
  }
  Request made = request("/?token=T");
  made.host = std::nullopt;
  EXPECT_EQ(status(made), 403);
}

TEST(OwnHost, IsAlsoTheAddressThatTheConnectionCameTo) {
  EXPECT_TRUE(isOwnHost("192.168.1.5:4711", kPort, "192.168.1.5"));
  EXPECT_TRUE(isOwnHost("[fe80::1]:4711", kPort, "fe80::1"));
  EXPECT_TRUE(isOwnHost("localhost:4711", kPort, "192.168.1.5"));
  EXPECT_FALSE(isOwnHost("192.168.1.6:4711", kPort, "192.168.1.5"));
  EXPECT_FALSE(isOwnHost(":4711", kPort, ""));
}

TEST(OwnHost, HasNoPortInAddressesOfPort80) {
  EXPECT_TRUE(isOwnHost("127.0.0.1", 80, "127.0.0.1"));
  EXPECT_TRUE(isOwnHost("127.0.0.1:80", 80, "127.0.0.1"));
  EXPECT_FALSE(isOwnHost("127.0.0.1", kPort, "127.0.0.1"));
}

TEST_F(SiteTest, OpensTheSocketForItsOwnPageOnly) {
  Request made = request("/socket");
  made.wantsSocket = true;
  EXPECT_EQ(site.answer(made).status, 403);
  for (const char* origin :
       {"", "null", "http://127.0.0.1", "http://127.0.0.1:4712", "https://127.0.0.1:4711",
        "http://localhost:4711", "http://127.0.0.1:4711/", "http://example.org:4711",
        "127.0.0.1:4711"}) {
    made.origin = origin;
    const Answer answer = site.answer(made);
    EXPECT_EQ(answer.status, 403) << origin;
    EXPECT_FALSE(answer.opensSocket);
  }
  made.origin = "http://127.0.0.1:4711";
  EXPECT_TRUE(site.answer(made).opensSocket);
  made.wantsSocket = false;
  EXPECT_EQ(site.answer(made).status, 426);
}

TEST_F(SiteTest, SendsTheSameStrictHeadersWithEverything) {
  const std::string policy =
      "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src "
      "'self' ws://127.0.0.1:4711; base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
      "require-trusted-types-for 'script'";
  const std::vector<std::pair<std::string, std::string>> strict{
      {"Cache-Control", "no-store"},
      {"Content-Security-Policy", policy},
      {"Cross-Origin-Opener-Policy", "same-origin"},
      {"Cross-Origin-Resource-Policy", "same-origin"},
      {"Referrer-Policy", "no-referrer"},
      {"X-Content-Type-Options", "nosniff"}};
  EXPECT_EQ(site.answer(request("/")).headers, strict);
  EXPECT_EQ(site.answer(request("/none")).headers, strict);
  Request made = request("/");
  made.cookies = "";
  EXPECT_EQ(site.answer(made).headers, strict);
}

TEST_F(SiteTest, NeverRepeatsAForeignHost) {
  Request made = request("/");
  made.host = "evil; script-src *";
  EXPECT_EQ(site.answer(made).headers[1].second,
            "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src "
            "'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
            "require-trusted-types-for 'script'");
}

TEST_F(SiteTest, SaysHowToGetIn) {
  Request made = request("/");
  made.cookies = "";
  EXPECT_EQ(site.answer(made).body,
            "This page shows the desk of a running program to its user only. Open the address that "
            "the program has printed when it started; it holds the key. A new start prints a new "
            "one.\n");
}

TEST(CookieValues, AreThoseOfTheName) {
  using Values = std::vector<std::string_view>;
  EXPECT_EQ(cookieValues("", "a"), Values{});
  EXPECT_EQ(cookieValues("a=1; b=2;a=3", "a"), (Values{"1", "3"}));
  EXPECT_EQ(cookieValues("a; a=; =a; a=b=c", "a"), (Values{"", "b=c"}));
}

}  // namespace
}  // namespace qx::web

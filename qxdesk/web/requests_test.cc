// Requests over real sockets: what site_test.cc cannot show.

#include "qxdesk/web/test_support.h"

namespace qx::web {
namespace {

using std::chrono::milliseconds;

TEST(Requests, TheTokenIsExchangedForACookieByARedirect) {
  RunningServer running;
  Client client(running.port);
  client.send("GET /?token=" + running.token + " HTTP/1.1\r\nHost: " + running.host() + "\r\n\r\n");
  const std::string cookie = running.cookie.substr(running.cookie.find('=') + 1);
  EXPECT_EQ(client.readResponse().head,
            "HTTP/1.1 303 See Other\r\n"
            "Content-Length: 0\r\n"
            "Location: /\r\n"
            "Set-Cookie: qxdesk-" +
                std::to_string(running.port) + "=" + cookie +
                "; Path=/; HttpOnly; SameSite=Strict\r\n"
                "Cache-Control: no-store\r\n"
                "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; "
                "img-src 'self'; connect-src 'self' ws://" +
                running.host() +
                "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
                "require-trusted-types-for 'script'\r\n"
                "Cross-Origin-Opener-Policy: same-origin\r\n"
                "Cross-Origin-Resource-Policy: same-origin\r\n"
                "Referrer-Policy: no-referrer\r\n"
                "X-Content-Type-Options: nosniff\r\n\r\n");
  EXPECT_EQ(cookie.size(), 64u);
  EXPECT_NE(cookie, running.token);
}

TEST(Requests, TheCookieOpensThePage) {
  RunningServer running;
  const Response page = running.get("/");
  EXPECT_EQ(page.status, 200);
  EXPECT_EQ(page.body, "<!doctype html><title>Desk</title>\n");
  EXPECT_EQ(page.headers.at("Content-Type"), "text/html; charset=utf-8");
}

TEST(Requests, AWrongTokenAndNoneAreRefused) {
  RunningServer running;
  for (const std::string& target : {std::string("/?token=") + std::string(64, '0'),
                                    "/?token=" + running.token + "0", std::string("/")}) {
    Client client(running.port);
    client.send("GET " + target + " HTTP/1.1\r\nHost: " + running.host() + "\r\n\r\n");
    const Response refused = client.readResponse();
    EXPECT_EQ(refused.status, 403) << target;
    EXPECT_FALSE(refused.headers.contains("Set-Cookie"));
  }
}

TEST(Requests, AForgedHostIsRefusedAndTheConnectionEnds) {
  RunningServer running;
  Client client(running.port);
  client.send("GET /?token=" + running.token +
              " HTTP/1.1\r\nHost: example.org:" + std::to_string(running.port) + "\r\n\r\n");
  EXPECT_EQ(client.readResponse().status, 403);
  EXPECT_EQ(client.rest(), "");
}

TEST(Requests, TwoHostsAreMalformed) {
  RunningServer running;
  Client client(running.port);
  client.send(running.request("/", "Host: example.org\r\n"));
  EXPECT_EQ(client.readResponse().status, 400);
}

TEST(Requests, AnAddressOfVersion6HasItsOwnName) {
  RunningServer running({}, nullptr, u"[::1]:0");
  EXPECT_EQ(running.address.substr(0, 13), "http://[::1]:");
  Client client(running.port, "::1");
  client.send("GET / HTTP/1.1\r\nHost: [::1]:" + std::to_string(running.port) +
              "\r\nCookie: " + running.cookie + "\r\n\r\n");
  EXPECT_EQ(client.readResponse().status, 200);
}

TEST(Requests, HeadHasNoBody) {
  RunningServer running;
  Client client(running.port);
  std::string head = running.request("/");
  head.replace(0, 3, "HEAD");
  client.send(head + running.request("/parts/app.js"));
  EXPECT_EQ(client.readResponse(false).headers.at("Content-Length"), "35");
  EXPECT_EQ(client.readResponse().body, "export {};\n");
}

TEST(Requests, APostIsRefusedAndItsBodyIsNoRequest) {
  RunningServer running;
  Client client(running.port);
  std::string post = running.request("/", "Content-Length: 200\r\n");
  post.replace(0, 3, "POST");
  client.send(post + running.request("/"));
  EXPECT_EQ(client.readResponse().status, 405);
  EXPECT_EQ(client.rest(), "");
}

TEST(Requests, ABodyOfAGetIsRefused) {
  RunningServer running;
  for (const char* header : {"Content-Length: 5\r\n", "Content-Length: 9223372036854775807\r\n",
                             "Transfer-Encoding: chunked\r\n"}) {
    Client client(running.port);
    client.send(running.request("/", header));
    EXPECT_EQ(client.readResponse().status, 413) << header;
    EXPECT_EQ(client.rest(), "");
  }
}

TEST(Requests, NoPathReachesTheFileSystem) {
  RunningServer running;
  for (const char* target : {"/../site.cc", "/../../../../../../etc/passwd", "/parts/../index.html",
                             "/%2e%2e/%2e%2e/etc/passwd", "//etc/passwd", "/etc/passwd",
                             "file:///etc/passwd", "/..\\..\\etc\\passwd", "/index.html%00.js"}) {
    EXPECT_EQ(running.get(target).status, 404) << target;
  }
}

TEST(Requests, PipelinedRequestsAreAnsweredInTheirOrder) {
  RunningServer running;
  Client client(running.port);
  std::string all;
  for (int i = 0; i < 20; ++i) all += running.request(i % 2 == 0 ? "/" : "/parts/app.js");
  client.send(all + running.request("/none", "Connection: close\r\n"));
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(client.readResponse().body,
              i % 2 == 0 ? "<!doctype html><title>Desk</title>\n" : "export {};\n");
  }
  EXPECT_EQ(client.readResponse().status, 404);
  EXPECT_EQ(client.rest(), "");
}

TEST(Requests, GarbageIsRefusedAndTheConnectionEnds) {
  RunningServer running;
  for (const std::string& garbage :
       {std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03 hello\r\n\r\n", 21),
        std::string("GET\r\n\r\n"), std::string("GET / HTTP/9.9\r\n\r\n"),
        "GET / HTTP/1.1\r\nHost " + running.host() + "\r\n\r\n",
        "GET / HTTP/1.1\r\nHost: " + running.host() + "\r\nContent-Length: -1\r\n\r\n",
        "GET / HTTP/1.1\r\nX: " + std::string(20000, 'x') + "\r\n\r\n"}) {
    Client client(running.port);
    client.send(garbage);
    EXPECT_EQ(client.readResponse().status, 400) << garbage.substr(0, 40);
    EXPECT_EQ(client.rest(), "");
  }
  EXPECT_EQ(running.get("/").status, 200);
}

TEST(Requests, HalfARequestEndsAfterItsTime) {
  Limits limits;
  limits.request = milliseconds(50);
  RunningServer running(limits);
  Client half(running.port);
  half.send("GET / HTTP/1.1\r\nHost: ");
  Client silent(running.port);
  EXPECT_EQ(half.rest(), "");
  EXPECT_EQ(silent.rest(), "");
}

TEST(Requests, TheConnectionThatWaitsLongestMakesRoomForANewOne) {
  Limits limits;
  limits.request = std::chrono::minutes(5);
  RunningServer running(limits);
  Client page = running.openPage(1);
  std::deque<Client> waiting;
  for (int i = 0; i < 63; ++i) waiting.emplace_back(running.port);
  // Their number counts once the server has seen them: each answers a request.
  for (Client& client : waiting) {
    client.send(running.request("/none"));
    EXPECT_EQ(client.readResponse().status, 404);
  }
  EXPECT_EQ(running.get("/").status, 200);
  EXPECT_EQ(waiting[0].rest(), "");
  waiting[1].send(running.request("/none"));
  EXPECT_EQ(waiting[1].readResponse().status, 404);
  running.send(1, "still open");
  EXPECT_EQ(page.next(), "still open");
}

TEST(Requests, AThousandConnectionsOneAfterTheOther) {
  RunningServer running;
  for (int i = 0; i < 1000; ++i) {
    Client client(running.port);
    if (i % 3 == 0) client.send(running.request("/").substr(0, static_cast<std::size_t>(i % 50)));
    if (i % 3 == 1) client.send(running.request("/"));
  }
  EXPECT_EQ(running.get("/").status, 200);
}

TEST(Requests, ASocketNeedsTheKeyAndItsOwnOrigin) {
  RunningServer running;
  for (const std::string& origin :
       {std::string(), std::string("http://example.org"), std::string("null"),
        "http://localhost:" + std::to_string(running.port)}) {
    Client client(running.port);
    client.send(running.upgrade(origin));
    EXPECT_EQ(client.readResponse().status, 403) << origin;
  }
  std::string keyless = running.upgrade("http://" + running.host());
  keyless.replace(keyless.find("Cookie: "), 7, "Biscuit:");
  Client client(running.port);
  client.send(keyless);
  EXPECT_EQ(client.readResponse().status, 403);
  EXPECT_EQ(running.desk->rest(), std::deque<std::string>{});
}

TEST(Requests, WhatFollowsTheRequestOfASocketTooEarlyIsRefused) {
  RunningServer running;
  Client client(running.port);
  client.send(running.upgrade("http://" + running.host()) + frameOf(kText, "early"));
  EXPECT_EQ(client.readResponse().status, 400);
  EXPECT_EQ(running.desk->rest(), std::deque<std::string>{});
}

}  // namespace
}  // namespace qx::web

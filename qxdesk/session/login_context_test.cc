#include "qxdesk/session/login_context.h"

#include <gtest/gtest.h>

#include <random>

namespace qx::desk {
namespace {

LoginTarget sampleTarget() {
  return LoginTarget{"/srv/companies/Österreich|1:x.db", 9, ln_German, u"mañana",
                     u"A|B:C 4:\U0001F600"};
}

TEST(LoginContext, ReadsBackEveryField) {
  const LoginTarget target = sampleTarget();
  EXPECT_EQ(decodeLoginContext(encodeLoginContext(target, u"cookie"), u"cookie"), target);
  const LoginTarget empty{"", 0, ln_English, u"", u""};
  EXPECT_EQ(decodeLoginContext(encodeLoginContext(empty, u""), u""), empty);
}

TEST(LoginContext, ReadsBackThatStatementsAreNotKept) {
  LoginTarget target = sampleTarget();
  target.keepsStatements = false;
  EXPECT_EQ(decodeLoginContext(encodeLoginContext(target, u"cookie"), u"cookie"), target);
}

TEST(LoginContext, ReadsBackTheLimitOfMemory) {
  LoginTarget target = sampleTarget();
  target.memoryMegabytes = 64;
  EXPECT_EQ(decodeLoginContext(encodeLoginContext(target, u"cookie"), u"cookie"), target);
}

TEST(LoginContext, HasItsFrozenForm) {
  const LoginTarget target{"/c.db", 2, ln_English, u"manager", u"Demo"};
  EXPECT_EQ(encodeLoginContext(target, u"K1"),
            u"QXLC1|D2582E52D9EA65EC|5:/c.db1:21:37:manager4:Demo");
}

TEST(LoginContext, SaysThatBracketsAreAcceptedOnlyIfTheyAre) {
  LoginTarget target{"/c.db", 2, ln_English, u"manager", u"Demo"};
  target.acceptBrackets = true;
  const std::u16string context = encodeLoginContext(target, u"K1");
  EXPECT_EQ(context.substr(context.rfind(u'|')), u"|5:/c.db1:21:37:manager4:Demo8:brackets");
  EXPECT_EQ(decodeLoginContext(context, u"K1"), target);
}

TEST(LoginContext, AnswersItsOwnCookieOnly) {
  const std::u16string context = encodeLoginContext(sampleTarget(), u"cookie");
  EXPECT_FALSE(decodeLoginContext(context, u"Cookie"));
  EXPECT_FALSE(decodeLoginContext(context, u""));
  EXPECT_FALSE(decodeLoginContext(context, u"cookie2"));
}

TEST(LoginContext, RefusesForeignText) {
  for (const std::u16string_view text :
       {u"", u"QXLC1|", u"QXLC1|0000000000000000|", u"hello", u"QXLC2|0000000000000000|1:a"}) {
    EXPECT_FALSE(decodeLoginContext(text, u"cookie"));
  }
}

TEST(LoginContext, RefusesAnyOneUnitChanged) {
  const std::u16string context = encodeLoginContext(sampleTarget(), u"cookie");
  for (std::size_t i = 0; i < context.size(); ++i) {
    std::u16string changed = context;
    changed[i] = static_cast<char16_t>(changed[i] ^ 1);
    EXPECT_FALSE(decodeLoginContext(changed, u"cookie")) << i;
  }
}

TEST(LoginContext, RefusesAnyTextCutShortOrLengthened) {
  const std::u16string context = encodeLoginContext(sampleTarget(), u"cookie");
  for (std::size_t length = 0; length < context.size(); ++length) {
    EXPECT_FALSE(decodeLoginContext(context.substr(0, length), u"cookie")) << length;
  }
  EXPECT_FALSE(decodeLoginContext(context + u"x", u"cookie"));
}

TEST(LoginContext, RefusesRandomText) {
  std::mt19937 random(20240131);
  const std::u16string alphabet = u"QXLC1|0123456789ABCDEF:-x";
  for (int round = 0; round < 20000; ++round) {
    std::u16string text = round % 2 == 0 ? u"QXLC1|" : u"";
    for (std::size_t i = random() % 40; i > 0; --i) text += alphabet[random() % alphabet.size()];
    EXPECT_FALSE(decodeLoginContext(text, u"cookie"));
  }
}

}  // namespace
}  // namespace qx::desk

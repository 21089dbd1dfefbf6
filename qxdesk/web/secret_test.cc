#include "qxdesk/web/secret.h"

#include <gtest/gtest.h>

#include <set>

namespace qx::web {
namespace {

TEST(Secret, Has64HexadecimalDigitsAndIsNeverTheSame) {
  std::set<std::string> seen;
  for (int i = 0; i < 100; ++i) {
    const std::string secret = makeSecret();
    EXPECT_EQ(secret.size(), 64u);
    EXPECT_EQ(secret.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_TRUE(seen.insert(secret).second);
  }
}

TEST(Secret, IsEqualToItselfOnly) {
  const std::string secret = makeSecret();
  EXPECT_TRUE(isSecret(secret, secret));
  for (std::size_t i = 0; i < secret.size(); ++i) {
    std::string other = secret;
    other[i] = other[i] == '0' ? '1' : '0';
    EXPECT_FALSE(isSecret(secret, other));
  }
  EXPECT_FALSE(isSecret(secret, secret + "0"));
  EXPECT_FALSE(isSecret(secret, secret.substr(1)));
  EXPECT_FALSE(isSecret(secret, ""));
}

TEST(Secret, NothingIsEqualToNoSecret) { EXPECT_FALSE(isSecret("", "")); }

}  // namespace
}  // namespace qx::web

#include "qxframework/logging/module_name.h"

#include "qxframework/logging/function_log.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using qx::keptModuleName;
using qx::setLogModuleName;

std::u16string textOfLog() { return qx::logModuleName().m_str; }

class ModuleName : public testing::Test {
 protected:
  ~ModuleName() override { setLogModuleName(u""); }
};

TEST_F(ModuleName, IsEmptyUntilItIsSet) { EXPECT_EQ(keptModuleName(), u""); }

TEST_F(ModuleName, IsThatOfTheLogAndKeptBesideIt) {
  setLogModuleName(u"HELLO");
  EXPECT_EQ(textOfLog(), u"HELLO");
  EXPECT_EQ(keptModuleName(), u"HELLO");
  setLogModuleName(u"HI");
  EXPECT_EQ(textOfLog(), u"HI");
  EXPECT_EQ(keptModuleName(), u"HI");
}

TEST_F(ModuleName, KeptOneSurvivesDamageOnTheHeap) {
  setLogModuleName(u"HELLO");
  std::memset(qx::logModuleName().m_str, 0x5A, 2);
  EXPECT_EQ(keptModuleName(), u"HELLO");
}

TEST_F(ModuleName, KeptOneIsCutTo255Units) {
  const std::u16string name = std::u16string(254, u'a') + u"bcd";
  setLogModuleName(name);
  EXPECT_EQ(textOfLog(), name);
  EXPECT_EQ(keptModuleName(), name.substr(0, 255));
}

}  // namespace

#include "qxframework/query/persistence_exception.h"

#include "qxframework/query/value_container.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace Persistence {
namespace {

using qx::viewOf;

TEST(PersistenceException, DefaultIsAnUnknownErrorWithCodeMinusOne) {
  const CQXPersistenceException error;
  EXPECT_EQ(viewOf(error.GetErrorString()), u"Unknown error");
  EXPECT_EQ(error.GetErrorCode(), -1);
}

TEST(PersistenceException, WithATextHasTheCodeMinusOne) {
  const CQXPersistenceException error(u"No match found");
  EXPECT_EQ(viewOf(error.GetErrorString()), u"No match found");
  EXPECT_EQ(error.GetErrorCode(), -1);
}

TEST(PersistenceException, WithACodeAndATextHasBoth) {
  const CQXPersistenceException error(-2035, u"Entry exists");
  EXPECT_EQ(viewOf(error.GetErrorString()), u"Entry exists");
  EXPECT_EQ(error.GetErrorCode(), -2035);
}

TEST(PersistenceException, TextAndCodeCanBeSet) {
  CQXPersistenceException error;
  error.SetErrorCode(5);
  error.SetErrorString(u"five");
  EXPECT_EQ(error.GetErrorCode(), 5);
  EXPECT_EQ(viewOf(error.GetErrorString()), u"five");
}

TEST(PersistenceException, IsThrownByValueAndCaughtAsAStandardException) {
  try {
    try {
      throw CQXPersistenceException(u"inner");
    } catch (const CQXPersistenceException& error) {
      throw CQXPersistenceException(error);
    }
  } catch (const std::exception& error) {
    EXPECT_STREQ(error.what(), std::exception().what());
    const auto* const mine = dynamic_cast<const CQXPersistenceException*>(&error);
    ASSERT_NE(mine, nullptr);
    EXPECT_EQ(viewOf(mine->GetErrorString()), u"inner");
  }
}

TEST(PersistenceException, ACopyIsIndependent) {
  CQXPersistenceException error(u"first");
  const CQXPersistenceException copy(error);
  error.SetErrorString(u"second");
  EXPECT_EQ(viewOf(copy.GetErrorString()), u"first");
  error = copy;
  EXPECT_EQ(viewOf(error.GetErrorString()), u"first");
}

struct Record : CQXValueContainer {
  int number = 0;
};

TEST(ValueContainer, CanOnlyBeMadeByADerivedClass) {
  static_assert(!std::is_default_constructible_v<CQXValueContainer>);
  static_assert(std::has_virtual_destructor_v<CQXValueContainer>);
  static_assert(sizeof(CQXValueContainer) == sizeof(void*), "it holds nothing");
  Record record;
  record.number = 7;
  const Record copy(record);
  EXPECT_EQ(copy.number, 7);
}

TEST(ValueContainer, CopyingThroughTheBaseCopiesNothing) {
  Record source;
  source.number = 7;
  Record target;
  CQXValueContainer& base = target;
  base = source;
  EXPECT_EQ(target.number, 0);
}

}  // namespace
}  // namespace Persistence

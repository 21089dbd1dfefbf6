#include "qxframework/persistence/persistence_exception.h"

#include <gtest/gtest.h>

namespace Persistence {
namespace {

TEST(PersistenceException, OfNothingIsAnUnknownErrorOfMinusOne) {
  const CQXPersistenceException error;
  EXPECT_EQ(qx::viewOf(error.GetErrorString()), u"Unknown error");
  EXPECT_EQ(error.GetErrorCode(), -1);
}

}  // namespace
}  // namespace Persistence

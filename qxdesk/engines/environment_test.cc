#include "qxdesk/engines/environment.h"

#include "qxdesk/sql/stored_date.h"

#include <gtest/gtest.h>

namespace qx::desk {
namespace {

TEST(SystemEnvironment, ItsClockHasTheStoredFormOfADate) {
  EXPECT_TRUE(sql::dateOfStored(systemEnvironment().now()));
}

}  // namespace
}  // namespace qx::desk

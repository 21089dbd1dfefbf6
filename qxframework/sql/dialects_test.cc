#include "qxframework/sql/dialects.h"

#include "qxframework/host/dialect_names.h"

#include <gtest/gtest.h>

namespace qx {
namespace {

TEST(Dialects, EachIsFoundByItsServerTypeAndByItsName) {
  ASSERT_EQ(allDialects().size(), kDialectNames.size());
  for (const Dialect* each : allDialects()) {
    EXPECT_EQ(&dialectOf(each->serverType), each) << each->name;
    EXPECT_EQ(dialectNamed(each->name), each) << each->name;
    EXPECT_EQ(serverTypeNamed(each->name), each->serverType) << each->name;
  }
}

TEST(Dialects, ServerTypesKeepTheHostsNumbers) {
  EXPECT_EQ(&dialectOf(1), &kMssqlDialect);
  EXPECT_EQ(&dialectOf(2), &kDb2Dialect);
  EXPECT_EQ(&dialectOf(3), &kSybaseDialect);
  EXPECT_EQ(&dialectOf(9), &kKordbDialect);
}

TEST(Dialects, UnknownServerTypeHasTheDialectMssql) {
  for (const long serverType : {0L, -1L, 4L, 8L, 10L, 2000000000L})
    EXPECT_EQ(&dialectOf(serverType), &kMssqlDialect) << serverType;
}

TEST(Dialects, UnknownNameHasNoDialect) {
  for (const char* name : {"", "MSSQL", "db", "db2 ", "oracle"}) {
    EXPECT_EQ(dialectNamed(name), nullptr) << name;
    EXPECT_EQ(serverTypeNamed(name), std::nullopt) << name;
  }
}

TEST(DialectNames, AreThoseOfConnectionStrings) {
  EXPECT_EQ(dialectName(kMssql), "mssql");
  EXPECT_EQ(dialectName(kSybase), "sybase");
  EXPECT_EQ(dialectName(kDb2), "db2");
  EXPECT_EQ(dialectName(kKordb), "kordb");
  EXPECT_EQ(dialectName(static_cast<DbServerType>(4)), "");
}

TEST(TextByQuoting, HasAFormForEachDialect) {
  const TextByQuoting text{
      .brackets = u"brackets", .bare = u"bare", .doubleQuotes = u"double quotes"};
  EXPECT_EQ(viewOf(text.of(kMssqlDialect)), u"brackets");
  EXPECT_EQ(viewOf(text.of(kSybaseDialect)), u"brackets");
  EXPECT_EQ(viewOf(text.of(kDb2Dialect)), u"bare");
  EXPECT_EQ(viewOf(text.of(kKordbDialect)), u"double quotes");
}

}  // namespace
}  // namespace qx

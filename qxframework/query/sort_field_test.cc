#include "qxframework/query/sort_field.h"

#include <gtest/gtest.h>

namespace Persistence {
namespace {

using qx::viewOf;

TEST(SortField, WithoutAnOrderIsAscending) {
  const CQXPersistenceSortField field(u"Code");
  EXPECT_EQ(field.GetFieldName().View(), u"Code");
  EXPECT_EQ(field.GetSortOrder(), so_Ascending);
  EXPECT_EQ(field.GetSortOrder(), 0);
}

TEST(SortField, WritesItsOrderAfterABlank) {
  EXPECT_EQ(viewOf(CQXPersistenceSortField(u"Code").GetSortOrderAsString()), u" ASC");
  EXPECT_EQ(viewOf(CQXPersistenceSortField(u"Code", so_Descending).GetSortOrderAsString()),
            u" DESC");
}

TEST(SortField, AnyOtherOrderIsDescending) {
  for (int order : {2, -1, 1000}) {
    const CQXPersistenceSortField field(u"Code", static_cast<etSORT_ORDER>(order));
    EXPECT_EQ(field.GetSortOrder(), order);
    EXPECT_EQ(viewOf(field.GetSortOrderAsString()), u" DESC");
  }
}

TEST(SortField, IsEqualByNameAndOrder) {
  const CQXPersistenceSortField field(u"Code", so_Descending);
  EXPECT_TRUE(field == CQXPersistenceSortField(u"Code", so_Descending));
  EXPECT_TRUE(field != CQXPersistenceSortField(u"Code"));
  EXPECT_TRUE(field != CQXPersistenceSortField(u"code", so_Descending));
  EXPECT_FALSE(field != CQXPersistenceSortField(field));
}

TEST(SortField, NamesThatCollateAlikeAreEqual) {
  EXPECT_TRUE(CQXPersistenceSortField(u"caf\u00E9") == CQXPersistenceSortField(u"cafe\u0301"));
}

TEST(SortField, AssignmentCopiesNameAndOrder) {
  CQXPersistenceSortField field(u"Code");
  field = CQXPersistenceSortField(u"Name", so_Descending);
  EXPECT_TRUE(field == CQXPersistenceSortField(u"Name", so_Descending));
}

TEST(SortField, ACollectionIsCopiedByValueAndInOrder) {
  const CQXPersistenceSortFieldCollection fields{CQXPersistenceSortField(u"B"),
                                                 CQXPersistenceSortField(u"A", so_Descending)};
  CQXPersistenceSortFieldCollection copy = fields;
  EXPECT_EQ(copy, fields);
  copy[0] = CQXPersistenceSortField(u"C");
  EXPECT_EQ(fields[0].GetFieldName().View(), u"B");
}

CQXPersistenceSortFieldCollection listOf(const CQXPersistenceSortFieldCollection& fields) {
  return fields;
}

TEST(SortField, ListTakesNamesAlone) {
  const CQXPersistenceSortFieldCollection ascending{CQXPersistenceSortField(u"A")};
  EXPECT_EQ(listOf({{u"A"}}), ascending);
  EXPECT_EQ(listOf({u"A"}), ascending);
  EXPECT_EQ(listOf({{u"A"}, {u"B", so_Descending}}).at(1).GetSortOrder(), so_Descending);
}

}  // namespace
}  // namespace Persistence

#include "qxframework/sql/recordset_cell.h"

#include "qxframework/host/company.h"
#include "qxframework/host/recordset.h"
#include "testing/scripted_company.h"

#include <gtest/gtest.h>

namespace qx {
namespace {

TEST(CellText, IsEmptyForNullAndWithoutARow) {
  test::HostCalls calls;
  const auto company = test::makeScriptedCompany(calls);
  company->answer(u"none", {});
  company->answer(u"one", {{CComVariant(u"text"), CComVariant(12L), CComVariant()}});
  const CComQIPtr<IRecordset> recordset(company->GetBusinessObject(kRecordset));
  recordset->DoQuery(u"none");
  EXPECT_EQ(cellText(recordset, 0), u"");
  recordset->DoQuery(u"one");
  EXPECT_EQ(cellText(recordset, 0), u"text");
  EXPECT_EQ(cellText(recordset, 1), u"12");
  EXPECT_EQ(cellText(recordset, 2), u"");
  EXPECT_THROW(cellText(recordset, 3), _com_error);
}

}  // namespace
}  // namespace qx

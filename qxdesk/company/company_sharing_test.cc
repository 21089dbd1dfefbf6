#include "qxframework/host/company_sharing.h"

#include "qxdesk/company/test_support.h"

namespace qx::desk {

namespace {

CComPtr<ICompanySharing> sharingOf(const CComPtr<ICompany>& company) {
  CComPtr<ICompanySharing> sharing(CComQIPtr<ICompanySharing>(company).p);
  EXPECT_NE(sharing.p, nullptr);
  return sharing;
}

class CompanySharingTest : public CompanyTest {
 protected:
  CompanySharingTest() : sharing(sharingOf(company)) {}
  CComPtr<ICompanySharing> sharing;
};

TEST_P(CompanySharingTest, CodesContinueBehindTheHighestOne) {
  ASSERT_EQ(addTable(company, u"T"), 0);
  EXPECT_TRUE(sharing->ContinueCodes(CComBSTR(u"@T"), 0));
  query(company, u"INSERT INTO [@T] (Code, Name) VALUES ('0000000A', 'x')");
  EXPECT_TRUE(sharing->ContinueCodes(CComBSTR(u"@T"), 11));
  EXPECT_FALSE(sharing->ContinueCodes(CComBSTR(u"@T"), 10));
}

TEST_P(CompanySharingTest, AMissingTableHasNoCodes) {
  EXPECT_EQ(raisedBy([&] { sharing->ContinueCodes(CComBSTR(u"@NONE"), 1); }), kNotFound);
  EXPECT_EQ(lastError(company), (LastError{kNotFound, u"There is no table '@NONE'."}));
}

TEST_P(CompanySharingTest, TheFaultBelongsToTheLastOperation) {
  ASSERT_EQ(addTable(company, u"T"), 0);
  EXPECT_EQ(sharing->GetLastFault(), kNoFault);
  query(company, u"INSERT INTO [@T] (Code, Name) VALUES ('A', 'x')");
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  const CComBSTR again(u"INSERT INTO [@T] (Code, Name) VALUES ('A', 'y')");
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(again); }), kSqlFailure);
  EXPECT_EQ(sharing->GetLastFault(), kDuplicateFault);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT * FROM [@NONE]")); }), kSqlFailure);
  EXPECT_EQ(sharing->GetLastFault(), kOtherFault);
  rows->DoQuery(CComBSTR(u"SELECT Code FROM [@T]"));
  EXPECT_EQ(sharing->GetLastFault(), kNoFault);
}

QX_TEST_ON_ALL_ENGINES(CompanySharingTest);

}  // namespace

}  // namespace qx::desk

// Values at the ends of what a company keeps: the same ends in a file and on a server, and the same
// words for what lies beyond them.

#include "qxdesk/company/test_support.h"
#include "qxframework/automation/text.h"

namespace qx::desk {
namespace {

class ValueRangeTest : public CompanyTest {
 protected:
  ValueRangeTest() {
    EXPECT_EQ(addTable(company, u"T"), 0);
    EXPECT_EQ(addField(company, {u"T", u"Amount", kFloatField, 80}), 0);
    EXPECT_EQ(addField(company, {u"T", u"Day", kDateField}), 0);
    EXPECT_EQ(addField(company, {u"T", u"Count", kNumericField}), 0);
    query(company, u"INSERT INTO [@T] (Code, Name, U_Day) VALUES ('1', 'n', '99991231')");
  }
  /// What the company says of a statement that it refuses.
  std::u16string refusalOf(const std::u16string& sql) const {
    const auto rows = businessObject<IRecordset>(company, kRecordset);
    EXPECT_EQ(codeOf([&] { rows->DoQuery(CComBSTR(sql)); }), kSqlFailure) << toUtf8(sql);
    return lastError(company).text;
  }
};

TEST_P(ValueRangeTest, ADateBeyondTheYear9999IsToldAndTheRowStays) {
  EXPECT_EQ(refusalOf(u"UPDATE [@T] SET U_Day = DATEADD(day, 1, U_Day)"),
            words(u"A value is not a date (9999-12-31 00:00:00 moved by 1 x 86400 seconds is not "
                  u"within the years 1 to 9999).",
                  u"A value is not a date (timestamp out of range)."));
  EXPECT_EQ(rowsOf(company, u"SELECT U_Day FROM [@T]"), u"9999-12-31 00:00:00");
}

TEST_P(ValueRangeTest, ACountOfDaysOfAnySizeIsTold) {
  EXPECT_EQ(refusalOf(u"SELECT U_Day - 4611686018427387904 FROM [@T]"),
            words(u"A value is not a date (9999-12-31 00:00:00 moved by -4611686018427387904 x "
                  u"86400 seconds is not within the years 1 to 9999).",
                  u"A value is not a date (interval out of range)."));
}

QX_TEST_ON_ALL_MEDIA(ValueRangeTest);

}  // namespace
}  // namespace qx::desk

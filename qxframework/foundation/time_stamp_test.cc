#include "qxframework/foundation/time_stamp.h"

#include "qxframework/os/clock.h"
#include "testing/host_calls.h"
#include "testing/host_stubs.h"
#include "testing/time_zone.h"

#include <gmock/gmock.h>

#include <string>
#include <type_traits>

namespace {

using qx::test::HostCalls;
using testing::ElementsAre;

class FakeHostCompany final : public qx::test::StubHostCompany {
 public:
  explicit FakeHostCompany(HostCalls& calls) : calls_(calls) {}
  HRESULT raw_GetUserName(BSTR* out) override { return give("GetUserName", u"manager", out); }
  HRESULT raw_GetCompanyName(BSTR* out) override { return give("GetCompanyName", u"Demo", out); }
  HRESULT raw_GetDatabaseName(BSTR* out) override { return give("GetDatabaseName", u"db", out); }

 private:
  HRESULT give(const std::string& operation, std::u16string_view text, BSTR* out) {
    const HRESULT hr = calls_.record(operation, "");
    return hr < 0 ? hr : qx::giveText(text, out);
  }
  HostCalls& calls_;
};

class Client final : public qx::test::StubApplication<> {
 public:
  explicit Client(HostCalls& calls) : calls_(calls) {}
  HRESULT raw_GetCompanyInfo(IHostCompany** out) override {
    return qx::giveObject<IHostCompany>(qx::makeObject<FakeHostCompany>(calls_).p, out);
  }

 private:
  HostCalls& calls_;
};

const CQXDateTime kMorning(2024, 1, 31, 9, 30, 15);

TEST(TimeStamp, StartsAsNullWithoutAUser) {
  const CQXTimeStamp stamp;
  EXPECT_TRUE(stamp.IsNull());
  EXPECT_EQ(stamp.getDate().View(), u"18991230");
  EXPECT_EQ(stamp.getTime().View(), u"0000");
  EXPECT_EQ(stamp.getTimeAsInt(), 0);
  EXPECT_TRUE(stamp.getUser().IsEmpty());
  EXPECT_TRUE(std::has_virtual_destructor_v<CQXTimeStamp>);
}

TEST(TimeStamp, ReturnsDateTimeAndUser) {
  CQXTimeStamp stamp;
  stamp.setStamp(kMorning, CComBSTR(u"anna"));
  EXPECT_EQ(stamp.getDateTime().m_dt, kMorning.m_dt);
  EXPECT_EQ(stamp.getDate().View(), u"20240131");
  EXPECT_EQ(stamp.getTime().View(), u"0930");
  EXPECT_EQ(stamp.getTimeAsInt(), 930);
  EXPECT_EQ(stamp.getUser().View(), u"anna");
  EXPECT_FALSE(stamp.IsNull());
}

TEST(TimeStamp, TheTimeAsANumberHasNoLeadingZeros) {
  CQXTimeStamp stamp;
  stamp.setStamp(CQXDateTime(2024, 1, 31, 0, 5, 0), CComBSTR(u"anna"));
  EXPECT_EQ(stamp.getTimeAsInt(), 5);
  stamp.setStamp(CQXDateTime(2024, 1, 31, 8, 9, 0), CComBSTR(u"anna"));
  EXPECT_EQ(stamp.getTimeAsInt(), 809);
}

TEST(TimeStamp, AnInvalidDateMakesItNull) {
  CQXTimeStamp stamp;
  stamp.setStamp(kMorning, CComBSTR(u"anna"));
  stamp.setStamp(CQXDateTime(2023, 2, 29, 0, 0, 0), CComBSTR(u"anna"));
  EXPECT_TRUE(stamp.IsNull());
}

TEST(TimeStamp, CopiesAreIndependent) {
  CQXTimeStamp first;
  first.setStamp(kMorning, CComBSTR(u"anna"));
  const CQXTimeStamp copy(first);
  CQXTimeStamp assigned;
  assigned = first;
  CQXTimeStamp set;
  set.setStamp(first);
  first.Clear();
  for (const CQXTimeStamp& each : {copy, assigned, set}) {
    EXPECT_EQ(each.getTime().View(), u"0930");
    EXPECT_EQ(each.getUser().View(), u"anna");
  }
}

TEST(TimeStamp, ClearMakesItNullWithAnEmptyUser) {
  CQXTimeStamp stamp;
  stamp.setStamp(kMorning, CComBSTR(u"anna"));
  stamp.Clear();
  EXPECT_TRUE(stamp.IsNull());
  EXPECT_TRUE(stamp.getUser().IsEmpty());
  EXPECT_NE(stamp.getUser().m_str, nullptr);
}

TEST(TimeStamp, CurrentStampHasTheLocalTimeAndTheClientsUser) {
  const qx::test::ScopedTimeZone zone("UTC-2");
  qx::ManualClock clock(std::chrono::system_clock::from_time_t(1706694615));  // 09:50:15 UTC
  const qx::ScopedClock inUse(clock);
  HostCalls calls;
  CQXTimeStamp stamp;
  stamp.setCurrentStamp(CComPtr<IApplication>(qx::makeObject<Client>(calls).p));
  EXPECT_EQ(stamp.getDate().View(), u"20240131");
  EXPECT_EQ(stamp.getTime().View(), u"1150");
  EXPECT_EQ(stamp.getDateTime().GetSecond(), 15);
  EXPECT_EQ(stamp.getUser().View(), u"manager");
  EXPECT_THAT(calls.calls, ElementsAre("GetUserName()", "GetCompanyName()", "GetDatabaseName()"));
}

TEST(TimeStamp, HostFailureKeepsTheStamp) {
  for (const char* operation : {"GetUserName", "GetCompanyName", "GetDatabaseName"}) {
    HostCalls calls;
    calls.failures = {{operation, E_ACCESSDENIED}};
    CQXTimeStamp stamp;
    stamp.setStamp(kMorning, CComBSTR(u"anna"));
    EXPECT_THROW(stamp.setCurrentStamp(CComPtr<IApplication>(qx::makeObject<Client>(calls).p)),
                 _com_error);
    EXPECT_EQ(stamp.getUser().View(), u"anna");
    EXPECT_EQ(stamp.getTime().View(), u"0930");
  }
}

}  // namespace

// A host that refuses one call of a start, each in turn: the start ends without an exception, and
// the next start in the same process succeeds.

#include "qxdesk/session/call_gate.h"
#include "qxframework/automation/class_object.h"
#include "testing/embedded_client.h"
#include "testing/machine.h"
#include "testing/param_name.h"
#include "testing/recording_addon.h"
#include "testing/recording_logger.h"
#include "testing/sqlite_file.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>

namespace {

using qx::desk::ICallGate;
using qx::test::EmbeddedClient;
using qx::test::Record;
using qx::test::RecordingAddOn;
using qx::test::SkippedPauses;
using testing::ElementsAre;

struct Gate {
  std::string name;
  CLSID clsid;
  HRESULT answer;  // the result of the refused call, which has no effect
  friend std::ostream& operator<<(std::ostream& out, const Gate& gate) { return out << gate.name; }
};

class RefusedCall : public testing::TestWithParam<Gate> {
 protected:
  RefusedCall() {
    qx::raiseIfFailed(qx::createInstance(GetParam().clsid, CLSCTX_ALL, &gate.p));
    makeCompany();
  }
  ~RefusedCall() override { gate->RefuseCall(0, S_OK); }

  /// Creates `fresh`, a company without the framework's tables.
  void makeCompany() const {
    const auto first = folder.path() / "first.db";
    EmbeddedClient desk(first);
    Record record;
    { EXPECT_EQ(RecordingAddOn(desk.connection(), record).Connect(1), 0); }
    qx::test::SqliteFile made(first);
    made.execute("DROP TABLE \"@QXEXTDBVERSION\"; DELETE FROM CUFD; DELETE FROM HVUTAB");
    made.execute("VACUUM INTO '" + fresh.string() + "'");
  }
  /// Replaces `file` by a copy of `fresh`.
  void renewCompany() const {
    for (const char* part : {"", "-wal", "-shm"}) std::filesystem::remove(file.string() + part);
    std::filesystem::copy_file(fresh, file);
  }
  /// Starts an add-on once; call number `call` is refused, none if 0. Returns the number of calls.
  long start(long call, long& result, Record& record) const {
    EmbeddedClient desk(file);
    gate->RefuseCall(call, GetParam().answer);
    {
      RecordingAddOn addOn(desk.connection(), record);
      EXPECT_NO_THROW(result = addOn.Connect(1));
    }
    long count = 0;
    gate->GetCallCount(&count);
    gate->RefuseCall(0, S_OK);
    return count;
  }

  qx::test::TempFolder folder;
  std::filesystem::path fresh = folder.path() / "fresh.db";
  std::filesystem::path file = folder.path() / "company.db";
  CComPtr<ICallGate> gate;
};

TEST_P(RefusedCall, EndsTheStartWithoutAnExceptionAndTheNextSucceeds) {
  const SkippedPauses pauses;
  long result = -1;
  Record whole;
  renewCompany();
  const long calls = start(0, result, whole);
  ASSERT_EQ(result, 0);
  ASSERT_GT(calls, 20);
  for (long call = 1; call <= calls; ++call) {
    SCOPED_TRACE("call " + std::to_string(call) + " of " + std::to_string(calls));
    renewCompany();
    Record refused;
    start(call, result, refused);
    Record next;
    start(0, result, next);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(next.lines, ElementsAre("OnApplicationLoad"));
    EXPECT_THAT(qx::test::rowsOf(file, "SELECT U_Version, U_Status FROM \"@QXEXTDBVERSION\""),
                ElementsAre("9.20.00.01|Installed"));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Gate, RefusedCall,
    testing::Values(Gate{"ScreensFailing", qx::desk::kScreensGateClass, E_FAIL},
                    Gate{"CompanyFailing", qx::desk::kCompanyGateClass, E_FAIL},
                    Gate{"ScreensReserved", qx::desk::kScreensGateClass, S_FALSE},
                    Gate{"CompanyReserved", qx::desk::kCompanyGateClass, S_FALSE}),
    qx::test::nameOf<Gate>);

}  // namespace

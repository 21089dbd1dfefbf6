// Arbitrary database definitions, run twice against a company that keeps a dictionary. The first
// byte selects the dialect, the second the statement that fails, if any.
//
// Every run must return S_OK or E_FAIL and hold at most one dictionary object at a time. After a
// successful run, a second one must add no table and no field.

#include "qxframework/dbdef/db_def.h"
#include "qxframework/foundation/version.h"
#include "qxframework/os/clock.h"
#include "qxframework/resources/resource_loader.h"
#include "testing/definition_file.h"
#include "testing/fake_application.h"
#include "testing/fake_company.h"
#include "testing/recording_logger.h"

#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string_view>

namespace {

using namespace qx::test;

void require(bool condition) {
  if (!condition) std::abort();
}

// Objects that all inputs share; they live as long as the process.
struct Surroundings {
  RecordingLogger logger;
  qx::ManualClock clock;
  qx::ScopedClock scopedClock{clock};
  DefinitionFile file;
  CQXResourceLoader loader;
};

class Case {
 public:
  explicit Case(Surroundings& surroundings)
      : def_(application_, company_, surroundings.loader, u"QX", ln_English, nullptr) {
    map_.Add(u"KEY", 223);
    def_.SetResourceMap(&map_);
  }
  FakeCompany& company() { return *company_; }
  long run() {
    CQXVersion version(u"0.00.00.00.00");
    const long result = def_.Create(DefinitionFile::kResource, false, version);
    require(result == S_OK || result == E_FAIL);
    require(company_->liveMetadata == 0 && company_->mostMetadata <= 1);
    require(company_->mostMetadataAtStatement == 0);
    return result;
  }

 private:
  HostCalls calls_;
  CComPtr<FakeCompany> company_ = makeCompany(calls_);
  CComPtr<FakeApplication> application_ = qx::makeObject<FakeApplication>(calls_);
  CSimpleMap<CString, int> map_;
  CQXDbDef def_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Surroundings surroundings;
  if (size < 2) return 0;
  surroundings.logger.records.clear();
  surroundings.file.write({reinterpret_cast<const char*>(data + 2), size - 2});

  constexpr long kEngines[] = {1, 2, 3, 9};
  Case one(surroundings);
  one.company().engine = kEngines[data[0] % std::size(kEngines)];
  one.company().failStatement = data[1] % 16;
  if (one.run() != S_OK) return 0;
  const auto tables = one.company().tables;
  const auto fields = one.company().fields;
  one.run();
  require(one.company().tables == tables && one.company().fields == fields);
  return 0;
}

// The caches and a model of their rules take the same random steps, in each dialect.

#include "qxframework/cache/testing/cache_steps.h"
#include "qxframework/sql/testing/dialect_param.h"
#include "testing/cases.h"
#include "testing/recording_logger.h"
#include "testing/scripted_company.h"

namespace Persistence {
namespace {

using namespace qx::test;

/// Swallows the lines of the log, of which a long run has millions.
class SilentLog {
 public:
  SilentLog() {
    const auto factory = qx::makeFactory([] { return qx::makeObject<Silent>(); });
    CoRegisterClassObject(QXLoggerLib::CLSID_QXLogger, factory, CLSCTX_SERVER, 0, &cookie_);
  }
  ~SilentLog() { CoRevokeClassObject(cookie_); }
  SilentLog(const SilentLog&) = delete;
  SilentLog& operator=(const SilentLog&) = delete;

 private:
  struct Silent final : qx::NoDispatch<qx::ComObject<QXLoggerLib::IQXLogger>> {
    HRESULT WriteLog(long, BSTR, QXLoggerLib::HvSeverityLevel, BSTR, BSTR) override { return S_OK; }
    HRESULT ReadSettings(long*, long*, long*, BSTR*) override { return E_NOTIMPL; }
    HRESULT WriteSettings(long, long, long, BSTR) override { return E_NOTIMPL; }
  };
  DWORD cookie_ = 0;
};

ScriptedRow cellsOf(const ModelStatement& statement, const ModelRow& row) {
  const std::u16string code = qx::toUtf16(*row.code);
  ScriptedRow cells{code.c_str()};
  if (statement.start) cells.push_back(*row.group);
  if (statement.keysOnly) return cells;
  for (const CComVariant& cell : ScriptedRow{code.c_str(), code.c_str(), *row.group, *row.number})
    cells.push_back(cell);
  return cells;
}

ScriptedRows rowsOf(const ModelStatement& statement, const std::vector<ModelRow>& found) {
  if (statement.kind == ModelStatement::Count) return {{u""}, {{static_cast<long>(found.size())}}};
  if (statement.kind == ModelStatement::Max) {
    return {{u""}, {{found.empty() ? CComVariant(u"") : CComVariant(qx::toUtf16(*found[0].code))}}};
  }
  ScriptedRows rows{{u"__kf__.Code"}, {}};
  if (statement.start) rows.columns.emplace_back(u"__pff__.U_G");
  if (!statement.keysOnly) {
    for (const char16_t* name : {u"Code", u"Name", u"U_G", u"U_N"}) rows.columns.emplace_back(name);
  }
  for (const ModelRow& row : found) rows.rows.push_back(cellsOf(statement, row));
  return rows;
}

class CacheModelTest : public testing::TestWithParam<DialectParam> {
 protected:
  CacheModelTest() {
    company->serverType = GetParam().serverType;
    company->responder = [this](std::u16string_view text, ScriptedRows& rows) -> HRESULT {
      company->calls.calls.clear();
      const ModelStatement statement = parsedStatement(qx::toUtf8(text), around());
      try {
        rows = rowsOf(statement, database.run(statement));
      } catch (const ModelFailure&) {
        return qx::resultCode(-2000);
      }
      return S_OK;
    };
  }

  /// Two tables with a cache each, and one more cache of the first table.
  const CacheSurroundings& around() {
    if (surroundings) return *surroundings;
    surroundings.emplace();
    surroundings->company = CComPtr<ICompany>(company.p);
    surroundings->caches = {"@T", "@U", "VIEW"};
    surroundings->tables = {{"@T", "@T"}, {"@U", "@U"}, {"VIEW", "@T"}};
    surroundings->fill = [this](const ModelTables& tables) {
      database = tables;
      company->runs.clear();
    };
    surroundings->statementCount = [this] { return company->runs.size(); };
    surroundings->statement = [this](std::size_t i) {
      return qx::toUtf8(company->runs[i].statement);
    };
    surroundings->failIn = [this](int statements) {
      company->failStatement =
          statements == 0 ? 0 : static_cast<int>(company->runs.size()) + statements;
    };
    surroundings->start = [this] { before = database; };
    surroundings->commit = [] {};
    surroundings->rollback = [this] { database = before; };
    surroundings->rename = [this](const std::string& name) {
      company->companyDB = qx::toUtf16(name);
    };
    return *surroundings;
  }

  SilentLog log;
  qx::ManualClock clock{std::chrono::sys_days(std::chrono::year{2026} / 3 / 1)};
  qx::ScopedClock scopedClock{clock};
  CComPtr<ScriptedCompany> company = makeScriptedCompany();
  ModelTables database;
  ModelTables before;
  std::optional<CacheSurroundings> surroundings;
};

INSTANTIATE_TEST_SUITE_P(Each, CacheModelTest, eachDialect(), nameOf<DialectParam>);

constexpr std::size_t kSteps = 250;  // in a sequence

TEST_P(CacheModelTest, RandomStepsHaveTheEffectsOfTheRules) {
  const std::size_t sequences = cases(25'000) / kSteps + 1;  // 100,000 steps in all dialects
  CacheSteps both(around(), clock);
  for (unsigned seed = 0; seed < sequences; ++seed) {
    CacheStepSource source(seed, 3);
    const std::string difference = both.check(source.draw(kSteps));
    ASSERT_EQ(difference, "") << "seed " << seed;
  }
}

TEST_P(CacheModelTest, ADifferenceIsShownByAShortSequence) {
  CacheSteps both(around(), clock);
  both.extraSeconds = 1;  // the model serves rows that are one second too old
  std::string difference;
  for (unsigned seed = 0; difference.empty(); ++seed)
    difference = both.check(CacheStepSource(seed, 3).draw(kSteps));
  EXPECT_LE(both.shortest, 6U) << difference;
  EXPECT_GE(both.shortest, 3U) << difference;
}

}  // namespace
}  // namespace Persistence

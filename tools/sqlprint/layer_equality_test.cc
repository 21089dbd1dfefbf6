// The printed statements of a description equal those that the layer's classes send to a company.

#include "qxframework/automation/text.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/sql/testing/dialect_param.h"
#include "testing/cases.h"
#include "testing/scripted_company.h"
#include "tools/sqlprint/printer.h"
#include "tools/sqlprint/testing/random_statement.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace qx::sqlprint {
namespace {

class LayerEquality : public testing::TestWithParam<test::DialectParam> {};

std::u16string codeAhead(const std::u16string& code) {
  if (code.empty() || code == u"00000000") return {};
  const unsigned long number = std::stoul(toUtf8(code), nullptr, 16);
  return format(u"%08X", static_cast<int>(static_cast<std::uint32_t>(number - 1)));
}

/// Returns the statements, each followed by a zero, or the refusal.
std::string sent(const Statement& statement, DbServerType serverType, bool removeByCollection) {
  const CComVariant highestCode(std::u16string_view(codeAhead(statement.nextCode)));
  const CComPtr<test::ScriptedCompany> company = test::makeScriptedCompany();
  company->serverType = serverType;
  // Every query has one row without columns, except that for the highest code of a user table.
  company->responder = [&](std::u16string_view text, test::ScriptedRows& rows) {
    rows.rows.resize(1);
    if (text.starts_with(u"SELECT MAX(")) rows.rows.front().push_back(highestCode);
    return S_OK;
  };
  try {
    test::sendByLayer(statement, company, removeByCollection);
  } catch (const Persistence::CQXPersistenceException& refusal) {
    return "refused: " + toUtf8(viewOf(refusal.GetErrorString()));
  }
  std::string all;
  for (const auto& run : company->runs) (all += toUtf8(run.statement)) += '\0';
  return all;
}

std::string printed(const std::string& toml, DbServerType serverType) {
  try {
    return bare(readDescription("f", toml).statements, serverType, '\0');
  } catch (const Diagnostic& refusal) {
    const std::string text = refusal.what();
    const std::string mark = ": error: ";
    const std::size_t begin = text.find(mark) + mark.size();
    return "refused: " + text.substr(begin, text.rfind("; the persistence layer") - begin);
  }
}

TEST_P(LayerEquality, RandomDescriptionsPrintTheStatementsOfTheClasses) {
  test::RandomStatements random(20240131);
  std::map<Kind, int> sentOf;
  std::set<std::string> refusals;
  // About a second of CPU time for all dialects; a factor of 2 gives the former 2000 statements.
  constexpr int kUsual = 1000;
  const int statements = static_cast<int>(test::cases(kUsual));
  for (int i = 0; i < statements; ++i) {
    const Statement statement = random.next();
    const std::string toml = test::tomlOf(statement);
    const std::string expected = sent(statement, GetParam().serverType, i % 2 == 0);
    ASSERT_EQ(printed(toml, GetParam().serverType), expected) << "statement " << i << "\n" << toml;
    if (expected.starts_with("refused: ")) {
      refusals.insert(expected);
    } else {
      ++sentOf[statement.kind];
    }
  }
  if (statements < kUsual) return;  // too few to meet every kind and every refusal
  for (const Kind kind :
       {Kind::select, Kind::load, Kind::insert, Kind::update, Kind::remove, Kind::chooseList})
    EXPECT_GT(sentOf[kind], statements / 20) << nameOf(kind);
  EXPECT_EQ(refusals,
            (std::set<std::string>{
                "refused: Collection is not properly initialized, neither conditions nor key "
                "fields are set",
                "refused: Correlation name for master table is missing",
                "refused: Maximum record count must be greater than zero",
                "refused: No conditions are set for select",
                "refused: Only EQUAL is allowed as operation in the conditions"}));
}

INSTANTIATE_TEST_SUITE_P(Dialects, LayerEquality, test::eachDialect(),
                         test::nameOf<test::DialectParam>);

}  // namespace
}  // namespace qx::sqlprint

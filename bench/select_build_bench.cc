// Building the text of a SELECT: what ten conditions and two joins cost in each dialect, and
// whether ten thousand conditions cost a thousand times as much or less.

#include "bench/measure.h"
#include "qxframework/host/dialect_names.h"
#include "qxframework/persistence/statement_writer.h"

#include <algorithm>
#include <string>

namespace {

using namespace Persistence;

constexpr int kRounds = 15;
constexpr int kSmall = 10;
constexpr int kLarge = 10'000;
constexpr int kGrowth = kLarge / kSmall;

// Adds condition `i`: a text, a number or a date in turn.
void addCondition(CConditions& conditions, int i) {
  struct Kind {
    const OLECHAR* column;
    const OLECHAR* tag;
    const OLECHAR* value;
  };
  constexpr Kind kKinds[] = {{u"U_Name", u"VT_BSTR", u"O'Brien"},
                             {u"U_Rate", u"VT_R8", u"12.5"},
                             {u"U_Day", u"VT_DATE", u"20240131"},
                             {u"U_Text", u"VT_BSTR", u"plain"},
                             {u"U_Count", u"", u"7"}};
  const Kind& kind = kKinds[static_cast<std::size_t>(i) % std::size(kKinds)];
  CCondition& condition = *conditions.Add();
  condition.PutAlias(kind.column);
  condition.PutOperation(co_Equal);
  condition.PutRelationship(i % 2 == 0 ? cr_And : cr_Or);
  condition.PutComparedAlias(kind.tag);
  condition.PutCondVal(kind.value);
}

// The constants of the joins are numbers, because a text is quoted again for each statement.
qx::StatementQuery makeQuery(int conditionCount) {
  qx::StatementQuery query;
  query.table = u"@ORDERS";
  query.userTable = true;
  query.correlation = u"T0";
  query.keysOnly = false;
  query.keys = {u"Code"};
  query.fields = {u"Code", u"U_Name", u"U_Rate", u"U_Day"};
  CQXLinkTableCriteria lines(u"@LINES", u"T1", jm_LeftOuter, true);
  lines.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"Code", u"U_Order"));
  lines.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Kind", CComVariant(3), co_NotEqual));
  lines.SetFields({u"U_Item", u"U_Amount"});
  query.joins.push_back(lines);
  CQXLinkTableCriteria rates(u"HVRATE", u"T2", jm_Inner, false);
  rates.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Day", u"RateDate"));
  rates.SetFields({u"Rate"});
  query.joins.push_back(rates);
  query.conditions = CConditions::CreateNewInstance();
  for (int i = 0; i < conditionCount; ++i) addCondition(*query.conditions, i);
  return query;
}

}  // namespace

int main() {
  double worst = 0;
  for (const qx::DialectName& dialect : qx::kDialectNames) {
    qx::StatementWriter small(dialect.serverType, makeQuery(kSmall));
    qx::StatementWriter large(dialect.serverType, makeQuery(kLarge));
    const qx::bench::Best best = qx::bench::compare(
        kRounds, [&] { qx::bench::keep(large.select().size()); },
        [&] {
          for (int i = 0; i < kGrowth; ++i) qx::bench::keep(small.select().size());
        });
    std::printf("%s: %d conditions and two joins %.2f us, %d conditions %.0f us\n",
                std::string(dialect.name).c_str(), kSmall, best.peer / kGrowth * 1e6, kLarge,
                best.ours * 1e6);
    worst = std::max(worst, best.ratio());
  }
  qx::bench::printRatio("select-build", worst);
  return 0;
}

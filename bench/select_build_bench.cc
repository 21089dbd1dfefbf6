// Measures building the text of a SELECT with ten conditions and two joins in each dialect. The
// ratio compares ten thousand conditions with a thousand times ten: above 1 the time grows faster
// than the number.

#include "bench/measure.h"
#include "qxframework/host/company.h"
#include "qxframework/persistence/internal/persistence_factory.h"
#include "qxframework/persistence/internal/persistent_collection.h"

#include <algorithm>
#include <string>

namespace {

using namespace Persistence;

constexpr int kRounds = 15;
constexpr int kSmall = 10;
constexpr int kLarge = 10'000;
constexpr int kGrowth = kLarge / kSmall;

struct Dialect {
  const char* name;
  long serverType;
};

constexpr Dialect kDialects[] = {
    {"DB2", qx::kDb2}, {"KORDB", qx::kKordb}, {"MSSQL", qx::kMssql}, {"Sybase", qx::kSybase}};

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
std::unique_ptr<CQXPersistentCollection> makeCollection(long serverType, int conditionCount) {
  auto collection = qx::persistentCollectionFor(serverType);
  collection->SetMasterTable(u"@ORDERS");
  collection->SetUserTable(true);
  collection->SetCorrelationName(u"T0");
  collection->SetKeysOnly(false);
  collection->SetKeyFields({u"Code"});
  collection->SetFields({u"Code", u"U_Name", u"U_Rate", u"U_Day"});
  CQXLinkTableCriteria lines(u"@LINES", u"T1", jm_LeftOuter, true);
  lines.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"Code", u"U_Order"));
  lines.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Kind", CComVariant(3), co_NotEqual));
  lines.SetFields({u"U_Item", u"U_Amount"});
  collection->AddLinkTable(lines);
  CQXLinkTableCriteria rates(u"HVRATE", u"T2", jm_Inner, false);
  rates.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Day", u"RateDate"));
  rates.SetFields({u"Rate"});
  collection->AddLinkTable(rates);
  const auto conditions = CConditions::CreateNewInstance();
  for (int i = 0; i < conditionCount; ++i) addCondition(*conditions, i);
  collection->SetConditions(conditions);
  return collection;
}

}  // namespace

int main() {
  double worst = 0;
  for (const Dialect& dialect : kDialects) {
    const auto small = makeCollection(dialect.serverType, kSmall);
    const auto large = makeCollection(dialect.serverType, kLarge);
    const qx::bench::Best best = qx::bench::compare(
        kRounds, [&] { qx::bench::keep(large->SelectTexts().size()); },
        [&] {
          for (int i = 0; i < kGrowth; ++i) qx::bench::keep(small->SelectTexts().size());
        });
    std::printf("%s: %d conditions and two joins %.2f us, %d conditions %.0f us\n", dialect.name,
                kSmall, best.peer / kGrowth * 1e6, kLarge, best.ours * 1e6);
    worst = std::max(worst, best.ratio());
  }
  qx::bench::printRatio("select-build", worst);
  return 0;
}

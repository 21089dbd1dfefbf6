#include "tools/sqlprint/testing/random_statement.h"

#include "qxframework/automation/format.h"
#include "qxframework/automation/ole_date_time.h"

#include <algorithm>
#include <iterator>

namespace qx::test {
namespace {

using sqlprint::Condition;
using sqlprint::Join;
using sqlprint::Kind;
using sqlprint::NamedValues;
using sqlprint::Names;
using sqlprint::Statement;

constexpr const char16_t* kNames[] = {u"Code",     u"Name",  u"U_Total", u"U_Date",     u"T0.Code",
                                      u"U_\u00C4", u"a b",   u"O'K",     u"x]y\"z",     u"code",
                                      u"CODE",     u"U_a.b", u"\u4E2D",  u"\U0001F600", u"-minus"};
constexpr const char16_t* kTables[] = {u"@ORDERS", u"@LINES", u"OFPR", u"@a b", u"x]y", u"@\u00C4"};
constexpr const char16_t* kUnits[] = {u"a",
                                      u"Z",
                                      u" ",
                                      u"'",
                                      u"\"",
                                      u"\\",
                                      u"\u007F",
                                      u"\n",
                                      u"\t",
                                      u"\u00DF",
                                      u"%",
                                      u"]",
                                      u"\U0001F600",
                                      u";",
                                      u"-",
                                      u"CONVERT",
                                      u"TIMESTAMP_ISO",
                                      u"\u0001",
                                      u"#"};
constexpr double kNumbers[] = {0.0,  12.5,    -3.0,          0.1,
                               1e20, -1.5e-7, 123456789.125, 3.141592653589793};

}  // namespace

std::u16string RandomStatements::name() {
  return kNames[upTo(static_cast<int>(std::size(kNames)) - 1)];
}

std::u16string RandomStatements::tableName() {
  return kTables[upTo(static_cast<int>(std::size(kTables)) - 1)];
}

std::u16string RandomStatements::text() {
  std::u16string made;
  for (int left = upTo(6); left > 0; --left)
    made += kUnits[upTo(static_cast<int>(std::size(kUnits)) - 1)];
  return made;
}

Names RandomStatements::names(int most) {
  Names made;
  for (int left = upTo(most); left > 0; --left) made.push_back(name());
  return made;
}

CComVariant RandomStatements::value() {
  switch (upTo(3)) {
    case 0:
      return CComVariant(std::u16string_view(text()));
    case 1:
      return CComVariant(kNumbers[upTo(static_cast<int>(std::size(kNumbers)) - 1)]);
    case 2:
      return CComVariant(static_cast<int>(random_()));
    default:
      return date();
  }
}

CComVariant RandomStatements::date() {
  const bool hasTime = oneIn(2);
  const CivilTime time{100 + upTo(9899),       1 + upTo(11),           1 + upTo(27),
                       hasTime ? upTo(23) : 0, hasTime ? upTo(59) : 0, hasTime ? upTo(59) : 0};
  return CComVariant(*dateFromCivil(time), VT_DATE);
}

NamedValues RandomStatements::values(int most) {
  NamedValues made;
  for (int left = upTo(most); left > 0; --left) {
    std::u16string column = name();
    const bool isThere = std::any_of(made.begin(), made.end(),
                                     [&](const auto& each) { return each.first == column; });
    if (!isThere) made.emplace_back(std::move(column), value());
  }
  return made;
}

Condition RandomStatements::condition(bool onlyEqual) {
  Condition made;
  made.field = name();
  if (!onlyEqual)
    made.operation = static_cast<Persistence::HvConditionOperation>(upTo(Persistence::co_NotEqual));
  if (oneIn(3)) made.relationship = Persistence::cr_Or;
  if (oneIn(6)) {
    made.raw = text();
  } else {
    made.value = value();
  }
  return made;
}

std::vector<Condition> RandomStatements::conditions(bool onlyEqual) {
  std::vector<Condition> made;
  long open = 0;
  for (int left = upTo(4); left > 0; --left) {
    Condition next = condition(onlyEqual);
    next.open = oneIn(3) ? upTo(2) : 0;
    open += next.open;
    next.close = left == 1 ? open : upTo(static_cast<int>(open));
    open -= next.close;
    made.push_back(std::move(next));
  }
  return made;
}

Join RandomStatements::join() {
  Join made;
  made.table = tableName();
  made.userTable = oneIn(2);
  made.as = oneIn(2) ? u"T1" : u"Other";
  made.mode = static_cast<Persistence::etTABLE_JOIN_MODE>(upTo(Persistence::jm_FullOuter));
  made.fields = names(2);
  for (int left = 1 + upTo(2); left > 0; --left) {
    sqlprint::JoinField field;
    field.to = name();
    if (oneIn(2)) {
      field.from = name();
    } else {
      field.value = value();
      field.operation =
          static_cast<Persistence::HvConditionOperation>(upTo(Persistence::co_NotEqual));
    }
    made.on.push_back(std::move(field));
  }
  return made;
}

void RandomStatements::fillSelect(Statement& statement) {
  if (!oneIn(3)) statement.as = u"T0";
  statement.fields = names(3);
  for (int left = oneIn(2) ? upTo(2) : 0; left > 0; --left) statement.joins.push_back(join());
  if (statement.kind == Kind::load) return;
  statement.keys = names(2);
  statement.keysOnly = oneIn(2);
  for (int left = upTo(2); left > 0; --left) statement.sort.push_back({name(), oneIn(2)});
  if (oneIn(2)) statement.limit = sqlprint::Limit{{}, upTo(9) - 2};
}

void RandomStatements::fillInsert(Statement& statement) {
  statement.values = values(5);
  if (statement.userTable) statement.nextCode = format(u"%08X", oneIn(5) ? 0 : upTo(0x7FFFFFFE));
}

void RandomStatements::fillUpdate(Statement& statement) {
  if (oneIn(2)) statement.as = u"T0";
  statement.keys = names(2);
  statement.fields = names(2);
  statement.values = values(5);
  if (!statement.where || statement.where->empty()) statement.keyValues = values(4);
}

void RandomStatements::fillChooseList(Statement& statement) {
  statement.where.reset();
  for (const auto& [column, ignored] : values(4)) statement.titles.emplace_back(column, text());
  statement.whereText = text();
}

Statement RandomStatements::next() {
  Statement statement;
  statement.kind = static_cast<Kind>(upTo(static_cast<int>(Kind::chooseList)));
  statement.table = tableName();
  statement.userTable = oneIn(4) ? oneIn(2) : statement.table.starts_with(u'@');
  if (!oneIn(5)) statement.where = conditions(statement.kind == Kind::remove && !oneIn(4));
  if (statement.kind == Kind::select || statement.kind == Kind::load) fillSelect(statement);
  if (statement.kind == Kind::insert) {
    statement.where.reset();
    fillInsert(statement);
  }
  if (statement.kind == Kind::update) fillUpdate(statement);
  if (statement.kind == Kind::chooseList) fillChooseList(statement);
  return statement;
}

}  // namespace qx::test

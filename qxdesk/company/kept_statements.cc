#include "qxdesk/company/kept_statements.h"

#include "qxdesk/sql/dates.h"

#include <algorithm>
#include <charconv>

namespace qx::desk {

namespace {

using sql::BoundValue;
using sql::ColumnType;
using sql::ShapeLiteral;
using sql::StatementShape;

// The shape has whole numbers of at most 18 digits.
std::int64_t wholeOf(const ShapeLiteral& literal) {
  std::int64_t value = 0;
  std::from_chars(literal.source.data(), literal.source.data() + literal.source.size(), value);
  return value;
}

}  // namespace

KeptStatement::KeptStatement(const StatementShape& shape, sql::Translation translation,
                             std::unique_ptr<Statement> statement)
    : translation_(std::move(translation)), statement_(std::move(statement)) {
  std::vector<bool> bound(shape.literals.size());
  for (const BoundValue& value : translation_.parameters) {
    if (value.literal >= 0) bound[static_cast<std::size_t>(value.literal)] = true;
  }
  for (std::size_t i = 0; i < bound.size(); ++i) {
    if (!bound[i]) fixed_.emplace_back(i, shape.literals[i].source);
  }
}

bool KeptStatement::serves(const StatementShape& shape) const {
  return std::all_of(fixed_.begin(), fixed_.end(), [&](const auto& fixed) {
    return shape.literals[fixed.first].source == fixed.second;
  });
}

bool KeptStatement::bind(const StatementShape& shape, const std::function<std::string()>& now) {
  std::string time;  // one for the whole statement
  int parameter = 0;
  for (const BoundValue& value : translation_.parameters) {
    ++parameter;
    if (value.source == BoundValue::Source::Literal) {
      const auto index = static_cast<std::size_t>(value.literal);
      if (!bindLiteral(parameter, value, shape.literals[index])) return false;
      continue;
    }
    if (time.empty()) time = now();
    const bool today = value.source == BoundValue::Source::Today;
    statement_->bindDate(parameter, today ? time.substr(0, 10) + " 00:00:00" : time);
  }
  return true;
}

bool KeptStatement::bindLiteral(int parameter, const BoundValue& value,
                                const ShapeLiteral& literal) {
  switch (value.type) {
    case ColumnType::Integer:
      statement_->bind(parameter, value.negative ? -wholeOf(literal) : wholeOf(literal));
      return true;
    case ColumnType::Decimal:
      statement_->bindDecimal(parameter,
                              value.negative ? "-" + std::string(literal.source) : literal.source);
      return true;
    case ColumnType::Date: {
      const std::optional<std::string> date = sql::storedDate(valueOf(literal));
      if (date) statement_->bindDate(parameter, *date);
      return date.has_value();
    }
    default:
      if (literal.source.find('\'') == std::string_view::npos) {
        statement_->bind(parameter, literal.source);
      } else {
        statement_->bind(parameter, valueOf(literal));
      }
      return true;
  }
}

const KeptStatements::Key& KeptStatements::keyOf(const StatementShape& shape,
                                                 const std::optional<std::int64_t>& rowLimit) {
  if (!rowLimit) return shape.key;
  // No shape has this character outside of names, and none ends within a name.
  key_ = shape.key;
  key_ += '\x05';
  key_ += std::to_string(*rowLimit);
  return key_;
}

KeptStatement* KeptStatements::find(const StatementShape& shape,
                                    const std::optional<std::int64_t>& rowLimit) {
  auto [at, end] = byKey_.equal_range(keyOf(shape, rowLimit));
  for (; at != end; ++at) {
    KeptStatement& statement = at->second->statement;
    if (!statement.serves(shape)) continue;
    byUse_.splice(byUse_.begin(), byUse_, at->second);
    return &statement;
  }
  return nullptr;
}

KeptStatement& KeptStatements::add(const StatementShape& shape,
                                   const std::optional<std::int64_t>& rowLimit,
                                   KeptStatement statement) {
  while (byUse_.size() >= kMost) drop(std::prev(byUse_.end()));
  byUse_.push_front({std::move(statement), nullptr});
  const auto place = byKey_.emplace(keyOf(shape, rowLimit), byUse_.begin());
  byUse_.front().key = &place->first;
  return byUse_.front().statement;
}

void KeptStatements::drop(Entries::iterator entry) {
  auto [at, end] = byKey_.equal_range(*entry->key);
  while (at != end && at->second != entry) ++at;
  if (at != end) byKey_.erase(at);
  byUse_.erase(entry);
}

void KeptStatements::drop(const KeptStatement& statement) {
  const auto entry = std::find_if(byUse_.begin(), byUse_.end(), [&](const Entry& other) {
    return &other.statement == &statement;
  });
  if (entry != byUse_.end()) drop(entry);
}

void KeptStatements::clear() {
  byKey_.clear();
  byUse_.clear();
}

}  // namespace qx::desk

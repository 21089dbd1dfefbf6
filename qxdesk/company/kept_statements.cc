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
std::int64_t wholeOf(std::string_view digits) {
  std::int64_t value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

}  // namespace

KeptStatement::KeptStatement(const StatementShape& shape, sql::Translation translation)
    : translation_(std::move(translation)) {
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

Statement& KeptStatement::statement(Database& database, std::string_view more) {
  std::unique_ptr<Statement>& statement = more.empty() ? statement_ : withMore_;
  if (statement == nullptr) {
    statement = database.prepareRepeated(translation_.text + std::string(more),
                                         static_cast<int>(translation_.parameters.size()));
  }
  bound_ = statement.get();
  return *statement;
}

// Calls `take` with each value and its text as an engine reads it: a date in the stored form, a
// number with its sign. Returns false if a literal is no date.
template <class Take>
bool KeptStatement::eachValue(const StatementShape& shape, const std::function<std::string()>& now,
                              Take take) const {
  std::string time;  // one for the whole statement
  for (const BoundValue& value : translation_.parameters) {
    if (value.source != BoundValue::Source::Literal) {
      if (time.empty()) time = now();
      const bool today = value.source == BoundValue::Source::Today;
      take(value, today ? time.substr(0, 10) + " 00:00:00" : time);
      continue;
    }
    const ShapeLiteral& literal = shape.literals[static_cast<std::size_t>(value.literal)];
    const bool plain = literal.source.find('\'') == std::string_view::npos;
    if (value.type == ColumnType::Date) {
      const std::optional<std::string> date = sql::storedDate(valueOf(literal));
      if (!date) return false;
      take(value, *date);
    } else if (value.negative) {
      take(value, "-" + std::string(literal.source));
    } else if (plain) {
      take(value, literal.source);
    } else {
      take(value, valueOf(literal));
    }
  }
  return true;
}

bool KeptStatement::bind(const StatementShape& shape, const std::function<std::string()>& now) {
  int parameter = 0;
  return eachValue(shape, now, [&](const BoundValue& value, std::string_view text) {
    ++parameter;
    switch (value.type) {
      case ColumnType::Integer:
        return bound_->bind(parameter, wholeOf(text));
      case ColumnType::Decimal:
        return bound_->bindDecimal(parameter, text);
      case ColumnType::Date:
        return bound_->bindDate(parameter, text);
      default:
        return bound_->bind(parameter, text);
    }
  });
}

std::optional<std::string> KeptStatement::textWith(const StatementShape& shape,
                                                   const std::function<std::string()>& now) const {
  std::string text;
  std::size_t done = 0;
  const bool good = eachValue(shape, now, [&](const BoundValue& value, std::string_view written) {
    text.append(translation_.text, done, value.at - done);
    text += sql::isNumber(value.type) ? std::string(written) : quotedText(written);
    done = value.at + 1;
  });
  if (!good) return std::nullopt;
  return text.append(translation_.text, done);
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

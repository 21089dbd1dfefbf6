#pragma once

// The classes of the dialects: one template over the base of one row and one over that of many,
// each filled with what an engine has of its own. A statement's text stands in the bases, once.

#include "qxframework/foundation/date_time.h"
#include "qxframework/persistence/internal/dialect_db2.h"
#include "qxframework/persistence/internal/dialect_kordb.h"
#include "qxframework/persistence/internal/dialect_mssql.h"
#include "qxframework/persistence/internal/dialect_sybase.h"
#include "qxframework/persistence/internal/persistent_collection.h"
#include "qxframework/persistence/internal/persistent_object.h"
#include "qxframework/persistence/internal/sql_text.h"

#include <utility>

namespace qx {

/// `Base` with the pieces of SQL that engines disagree on.
template <class Base, class Dialect>
class InDialect : public Base {
 public:
  using Base::Base;

  CComBSTR GetSQLTableName(const OLECHAR* name) const override {
    return Dialect::tableName(viewOf(name));
  }
  void GetSQLDate(CComVariant& value) const override {
    value = textVariant(Dialect::dateLiteral(
        *this, value.vt == VT_DATE ? Dialect::dateText(CQXDateTime(value.date)) : textOf(value)));
  }
  void AppendFieldList(CComBSTR& target, const Persistence::FieldNames& fields,
                       const OLECHAR* correlation) const override {
    this->AppendFields(target, fields, correlation, Dialect::kWriteField);
  }
  CComBSTR GetSQLColumnName(CComBSTR name) const override {
    return Dialect::columnName(std::move(name));
  }
  CComBSTR GetDateString(CQXDateTime date) const override { return Dialect::dateString(date); }
  CComBSTR GetSQLAlias(CComBSTR name) const override { return Dialect::alias(name.View()); }
};

template <class Dialect>
class ObjectInDialect final : public InDialect<Persistence::CQXPersistentObject, Dialect> {
  using Base = InDialect<Persistence::CQXPersistentObject, Dialect>;

 public:
  using Base::Base;

  bool Exists() override { return this->RunExists(); }
  void Add() override { this->RunAdd(Dialect::kName); }
  void Remove(const Persistence::TyFieldValues&) override { this->RunRemove(Dialect::kName); }
  void Update(const Persistence::TyFieldValues& keyValues) override {
    this->RunUpdate(Dialect::kName, keyValues);
  }
  void Load(qx_ptr<Persistence::CConditions> conditions) override {
    this->SetConditions(std::move(conditions));
    Select();
  }
  void GetSQLforChooseList(const CSimpleMap<CComBSTR, CComBSTR>& fields, const CComBSTR& where,
                           CComBSTR& result) override {
    result = this->ChooseListText(fields, where, Dialect::writeTitle);
  }
  void Select() override { this->RunSelect(Dialect::kName); }
};

template <class Dialect>
class CollectionInDialect : public InDialect<Persistence::CQXPersistentCollection, Dialect> {
  using Base = InDialect<Persistence::CQXPersistentCollection, Dialect>;

 public:
  using Base::Base;
  using Base::Remove;

  void Remove(qx_ptr<Persistence::CConditions> conditions) override {
    this->RunRemove(Dialect::kName, conditions);
  }
  void BuildKeyFieldList(CComBSTR& target) override {
    this->AppendKeys(target, Dialect::kWriteField);
  }
  void Select() override { this->RunSelect(Dialect::kName); }

 private:
  typename Base::Limit GetLimit() const override {
    return {Dialect::limitInFront(this->m_lMaxRecordCount),
            Dialect::limitBehind(this->m_lMaxRecordCount, this->m_bSorted),
            Dialect::kLimitsConnection && this->m_lMaxRecordCount != -1};
  }
};

/// Calls `work` with the dialect of a company's database server type: a value that has none of its
/// own takes that of MSSQL.
template <class Work>
auto withDialect(long serverType, Work work) {
  switch (serverType) {
    case kDb2:
      return work(Db2Dialect());
    case kSybase:
      return work(SybaseDialect());
    case kKordb:
      return work(KordbDialect());
    default:
      return work(MssqlDialect());
  }
}

}  // namespace qx

namespace Persistence {

using CQXPersistentObjectDB2 = qx::ObjectInDialect<qx::Db2Dialect>;
using CQXPersistentObjectKORDB = qx::ObjectInDialect<qx::KordbDialect>;
using CQXPersistentObjectMSSQL = qx::ObjectInDialect<qx::MssqlDialect>;
using CQXPersistentObjectSybase = qx::ObjectInDialect<qx::SybaseDialect>;

using CQXPersistentCollectionDB2 = qx::CollectionInDialect<qx::Db2Dialect>;
using CQXPersistentCollectionKORDB = qx::CollectionInDialect<qx::KordbDialect>;
using CQXPersistentCollectionMSSQL = qx::CollectionInDialect<qx::MssqlDialect>;
using CQXPersistentCollectionSybase = qx::CollectionInDialect<qx::SybaseDialect>;

}  // namespace Persistence

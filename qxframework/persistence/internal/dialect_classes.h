#pragma once

// The classes of the dialects: one template over the base of a row and one over that of a set of
// rows, each filled with the data of a dialect. The bases write the statements, once for all
// dialects.

#include "qxframework/persistence/internal/persistent_collection.h"
#include "qxframework/persistence/internal/persistent_object.h"
#include "qxframework/sql/dialects.h"
#include "qxframework/sql/sql_text.h"

#include <functional>
#include <utility>

namespace qx {

/// `Base` with the pieces of SQL that differ from dialect to dialect.
template <class Base, const Dialect& kDialect>
class InDialect : public Base {
 public:
  using Base::Base;

  CComBSTR GetSQLTableName(const OLECHAR* name) const override {
    return tableName(kDialect, viewOf(name));
  }
  void GetSQLDate(CComVariant& value) const override {
    CComBSTR text = value.vt == VT_DATE ? std::invoke(kDialect.dateText, CQXDateTime(value.date))
                                        : textOf(value);
    value = textVariant(kDialect.dateLiteral(std::move(text), this->m_bNationalStrings));
  }
  void AppendFieldList(CComBSTR& target, const Persistence::FieldNames& fields,
                       const OLECHAR* correlation) const override {
    this->AppendFields(target, fields, correlation, &kDialect);
  }
  CComBSTR GetSQLColumnName(CComBSTR name) const override {
    return columnName(kDialect, std::move(name));
  }
  CComBSTR GetDateString(CQXDateTime date) const override {
    return std::invoke(kDialect.rowDateText, date);
  }
  CComBSTR GetSQLAlias(CComBSTR name) const override {
    return enclosed(name.View(), kDialect.alias);
  }
};

template <const Dialect& kDialect>
class ObjectInDialect final : public InDialect<Persistence::CQXPersistentObject, kDialect> {
  using Base = InDialect<Persistence::CQXPersistentObject, kDialect>;

 public:
  using Base::Base;

  bool Exists() override { return this->RunExists(); }
  void Add() override { this->RunAdd(kDialect); }
  void Remove(const Persistence::TyFieldValues&) override { this->RunRemove(kDialect); }
  void Update(const Persistence::TyFieldValues& keyValues) override {
    this->RunUpdate(kDialect, keyValues);
  }
  void Load(qx_ptr<Persistence::CConditions> conditions) override {
    this->SetConditions(std::move(conditions));
    Select();
  }
  void GetSQLforChooseList(const CSimpleMap<CComBSTR, CComBSTR>& fields, const CComBSTR& where,
                           CComBSTR& result) override {
    result = this->ChooseListText(fields, where, kDialect.title);
  }
  void Select() override { this->RunSelect(kDialect); }
};

template <const Dialect& kDialect>
class CollectionInDialect : public InDialect<Persistence::CQXPersistentCollection, kDialect> {
  using Base = InDialect<Persistence::CQXPersistentCollection, kDialect>;

 public:
  using Base::Base;
  using Base::Remove;

  void Remove(qx_ptr<Persistence::CConditions> conditions) override { this->RunRemove(conditions); }
  void BuildKeyFieldList(CComBSTR& target) override { this->AppendKeys(target, &kDialect); }
  void Select() override { this->RunSelect(); }

 private:
  const Dialect& GetDialect() const override { return kDialect; }
};

}  // namespace qx

namespace Persistence {

using CQXPersistentObjectDB2 = qx::ObjectInDialect<qx::kDb2Dialect>;
using CQXPersistentObjectKORDB = qx::ObjectInDialect<qx::kKordbDialect>;
using CQXPersistentObjectMSSQL = qx::ObjectInDialect<qx::kMssqlDialect>;
using CQXPersistentObjectSybase = qx::ObjectInDialect<qx::kSybaseDialect>;

using CQXPersistentCollectionDB2 = qx::CollectionInDialect<qx::kDb2Dialect>;
using CQXPersistentCollectionKORDB = qx::CollectionInDialect<qx::kKordbDialect>;
using CQXPersistentCollectionMSSQL = qx::CollectionInDialect<qx::kMssqlDialect>;
using CQXPersistentCollectionSybase = qx::CollectionInDialect<qx::kSybaseDialect>;

}  // namespace Persistence

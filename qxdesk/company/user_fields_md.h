#pragma once

// The object by which add-ons find, add and change user fields.

#include "qxdesk/company/company_session.h"
#include "qxdesk/dictionary/dictionary_fields.h"
#include "qxdesk/session/host_object_base.h"
#include "qxframework/host/metadata.h"

namespace qx::desk {

/// The object 152, user fields. After a successful Add it is as new.
class UserFieldsMD final : public HostObjectBase<IUserFieldsMD> {
 public:
  explicit UserFieldsMD(SessionPtr session) : session_(std::move(session)) {}

  HRESULT raw_GetByKey(BSTR table, long index, VARIANT_BOOL* out) override;
  HRESULT raw_PutTableName(BSTR name) override;
  HRESULT raw_GetName(BSTR* out) override;
  HRESULT raw_PutName(BSTR name) override;
  HRESULT raw_GetDescription(BSTR* out) override;
  HRESULT raw_PutDescription(BSTR text) override;
  HRESULT raw_GetType(long* out) override;
  HRESULT raw_PutType(long type) override;
  HRESULT raw_GetSubType(long* out) override;
  HRESULT raw_PutSubType(long type) override;
  HRESULT raw_GetSize(long* out) override;
  HRESULT raw_PutSize(long size) override;
  HRESULT raw_GetEditSize(long* out) override;
  HRESULT raw_PutEditSize(long size) override;
  HRESULT raw_PutMandatory(long mandatory) override;
  HRESULT raw_GetDefaultValue(BSTR* out) override;
  HRESULT raw_PutDefaultValue(BSTR value) override;
  HRESULT raw_GetLinkedTable(BSTR* out) override;
  HRESULT raw_PutLinkedTable(BSTR table) override;
  HRESULT raw_GetValidValues(IValidValuesMD** out) override;
  HRESULT raw_Add(long* out) override;
  HRESULT raw_Update(long* out) override;

  CompanySession& session() { return *session_; }
  std::vector<ValidValue>& validValues() { return field_.validValues; }

 private:
  DictionaryFields dictionary() { return DictionaryFields(session_->database()); }

  SessionPtr session_;
  UserField field_;
  bool loaded_ = false;
};

}  // namespace qx::desk

#pragma once

// The object by which add-ons find, add and remove keys of tables.

#include "qxdesk/company/company_session.h"
#include "qxdesk/dictionary/dictionary_keys.h"
#include "qxdesk/session/host_object_base.h"
#include "qxframework/host/metadata.h"

namespace qx::desk {

/// The object 193, keys. After a successful Add or Remove it is as new.
class UserKeysMD final : public HostObjectBase<IUserKeysMD> {
 public:
  explicit UserKeysMD(SessionPtr session) : session_(std::move(session)) {}

  HRESULT raw_GetByKey(BSTR table, long index, VARIANT_BOOL* out) override;
  HRESULT raw_GetKeyName(BSTR* out) override;
  HRESULT raw_PutKeyName(BSTR name) override;
  HRESULT raw_PutTableName(BSTR name) override;
  HRESULT raw_PutUnique(long unique) override;
  HRESULT raw_GetElements(IUserKeysMD_Elements** out) override;
  HRESULT raw_Add(long* out) override;
  HRESULT raw_Remove(long* out) override;

  CompanySession& session() { return *session_; }
  std::vector<std::string>& columns() { return key_.columns; }

 private:
  DictionaryKeys dictionary() { return DictionaryKeys(session_->database()); }

  SessionPtr session_;
  UserKey key_;
  bool loaded_ = false;
};

}  // namespace qx::desk

#pragma once

// The object by which add-ons find, add and remove user tables.

#include "qxdesk/company/company_session.h"
#include "qxdesk/dictionary/dictionary_tables.h"
#include "qxdesk/session/host_object_base.h"
#include "qxframework/host/metadata.h"

namespace qx::desk {

/// The object 153, user tables. After a successful Add or Remove it is as new.
class UserTablesMD final : public HostObjectBase<IUserTablesMD> {
 public:
  explicit UserTablesMD(SessionPtr session) : session_(std::move(session)) {}

  HRESULT raw_GetByKey(BSTR name, VARIANT_BOOL* out) override;
  HRESULT raw_GetTableName(BSTR* out) override;
  HRESULT raw_PutTableName(BSTR name) override;
  HRESULT raw_GetTableDescription(BSTR* out) override;
  HRESULT raw_PutTableDescription(BSTR text) override;
  HRESULT raw_GetTableType(long* out) override;
  HRESULT raw_PutTableType(long type) override;
  HRESULT raw_Add(long* out) override;
  HRESULT raw_Remove(long* out) override;

 private:
  DictionaryTables dictionary() {
    return DictionaryTables(session_->database(), session_->serverType());
  }

  SessionPtr session_;
  UserTable table_;
  bool loaded_ = false;
};

}  // namespace qx::desk

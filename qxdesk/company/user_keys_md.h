#pragma once

#include "qxdesk/company/company_session.h"
#include "qxdesk/company/object_base.h"
#include "qxdesk/dictionary/dictionary.h"
#include "qxframework/host/metadata.h"

namespace qx::desk {

/// The object 193. After a successful Add or Remove it is as new.
class UserKeysMD final : public HostObject<IUserKeysMD> {
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
  Dictionary dictionary() { return {session_->database(), session_->serverType()}; }

  SessionPtr session_;
  UserKey key_;
  bool loaded_ = false;
};

}  // namespace qx::desk

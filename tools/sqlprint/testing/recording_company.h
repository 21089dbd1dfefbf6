#pragma once

// A company of one server type that records the statements in the order of running. Every query
// returns one row, whose only value is the highest code of a user table.

#include "qxframework/host/company.h"
#include "testing/host_stubs.h"

#include <string>
#include <vector>

namespace qx::test {

struct Recording {
  std::vector<std::u16string> statements = {};
  std::u16string highestCode = {};
};

class RecordingField final : public StubField {
 public:
  explicit RecordingField(const Recording& recording) : recording_(recording) {}
  HRESULT raw_GetValue(VARIANT* out) override {
    return CComVariant(std::u16string_view(recording_.highestCode)).Detach(out);
  }

 private:
  const Recording& recording_;
};

class RecordingFields final : public StubFields {
 public:
  explicit RecordingFields(const Recording& recording) : recording_(recording) {}
  HRESULT raw_Count(long* out) override { return *out = 0, S_OK; }
  HRESULT raw_Item(const VARIANT&, IField** out) override {
    return giveObject<IField>(makeObject<RecordingField>(recording_).p, out);
  }

 private:
  const Recording& recording_;
};

class RecordingRecordset final : public StubRecordset {
 public:
  explicit RecordingRecordset(Recording& recording) : recording_(recording) {}
  HRESULT raw_DoQuery(BSTR sql) override {
    recording_.statements.emplace_back(viewOfBstr(sql));
    return S_OK;
  }
  HRESULT raw_GetRecordCount(long* out) override { return *out = 1, S_OK; }
  HRESULT raw_GetEoF(VARIANT_BOOL* out) override { return *out = VARIANT_FALSE, S_OK; }
  HRESULT raw_GetFields(IFields** out) override {
    return giveObject<IFields>(makeObject<RecordingFields>(recording_).p, out);
  }

 private:
  Recording& recording_;
};

/// The caller keeps the recording alive as long as the company.
class RecordingCompany final : public StubCompany {
 public:
  RecordingCompany(Recording& recording, long serverType)
      : recording_(recording), serverType_(serverType) {}
  HRESULT raw_GetDbServerType(long* out) override { return *out = serverType_, S_OK; }
  HRESULT raw_GetBusinessObject(long type, IDispatch** out) override {
    if (type != kRecordset) return E_INVALIDARG;
    return giveObject<IDispatch>(makeObject<RecordingRecordset>(recording_).p, out);
  }

 private:
  Recording& recording_;
  long serverType_;
};

}  // namespace qx::test

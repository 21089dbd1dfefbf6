#pragma once

// A fake host whose company the framework has used before: it has the framework's version table.

#include "testing/fake_host.h"

namespace qx::test {

class FrameworkHost : public FakeHost {
 public:
  static constexpr char16_t kVersionTable[] = u"QXEXTDBVERSION";

  FrameworkHost() {
    company->tables = {{kVersionTable, u"", 0}};
    company->fields = {{.table = kVersionTable, .name = u"ExtID"},
                       {.table = kVersionTable, .name = u"Version", .size = 15}};
    company->otherwise = {{}, {{CComVariant(u"")}}};
    setVersion(u"9.20.00.01", u"Installed");
  }

  /// Replaces the row of the version table.
  void setVersion(const OLECHAR* version, const OLECHAR* status) {
    company->answer(kSelectVersion, {{CComVariant(version), CComVariant(status)}});
    company->answer(kSelectFix, {{CComVariant(u"00")}});
  }
  /// Removes the row and keeps the table.
  void removeVersion() {
    company->answer(kSelectVersion, {});
    company->answer(kSelectFix, {});
  }
  void removeVersionTable() {
    company->tables.clear();
    company->fields.clear();
    failures["SQL select"] = E_FAIL;
  }
  void setSizeOfVersionField(long size) { company->fields.at(1).size = size; }
  void removeVersionField() { company->fields.pop_back(); }

 private:
  static constexpr char16_t kSelectVersion[] =
      u"select U_Version, U_Status from [@QXEXTDBVERSION] where U_ExtID = '' order by Code desc";
  static constexpr char16_t kSelectFix[] =
      u"select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from "
      u"[@QXEXTDBVERSION] where U_ExtID = '' order by Code desc";
};

}  // namespace qx::test

#pragma once

// The fixture of CQXDbDef's tests: fakes of the host, a recorded log, a clock that only sleeps
// move, and definitions that are written beside the expectations.

#include "qxframework/dbdef/db_def.h"
#include "qxframework/foundation/version.h"
#include "qxframework/os/clock.h"
#include "qxframework/resources/resource_loader.h"
#include "testing/definition_file.h"
#include "testing/fake_application.h"
#include "testing/raised_by.h"
#include "testing/recording_logger.h"
#include "testing/scripted_company.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::test {

/// Returns a definition of one user table "T" with `content`.
inline std::string userTable(std::string_view content) {
  return "<database><usertables><usertable TableName=\"T\">" + std::string(content) +
         "</usertable></usertables></database>";
}

inline std::string userField(std::string_view field) {
  return userTable("<userfields>" + std::string(field) + "</userfields>");
}

/// Server types: 2 has bare names, 9 double quotes, the others brackets. 4 is none of the host's.
inline constexpr long kServerTypes[] = {1, 2, 3, 4, 9};

class DbDefTest : public ::testing::Test {
 protected:
  /// Makes the object at the first call. Set server type and language before that.
  CQXDbDef& def() {
    if (!def_) def_.emplace(application, company, loader, u"QX", ln_English, module);
    return *def_;
  }
  long create(std::string_view definition, bool noUpgradeStamp = true) {
    file.write(definition);
    return createResource(DefinitionFile::kResource, noUpgradeStamp);
  }
  long createResource(unsigned resource, bool noUpgradeStamp = true) {
    return def().Create(resource, noUpgradeStamp, version);
  }

  /// Returns the log of a function as "<level> <text>", without the trace of its calls.
  std::vector<std::string> log(std::u16string_view function) const {
    std::vector<std::string> lines;
    for (const LogRecord& record : logger.records) {
      const std::u16string_view text = record.message;
      if (record.function != function || text.starts_with(u"Entering function") ||
          text.starts_with(u"Leaving function")) {
        continue;
      }
      lines.push_back(std::to_string(record.level) + " " + toUtf8(text));
    }
    return lines;
  }
  /// Returns all errors and warnings, in order.
  std::vector<std::string> complaints() const {
    std::vector<std::string> lines;
    for (const LogRecord& record : logger.records)
      if (record.level <= 2 && !record.message.starts_with(u"SQL: "))
        lines.push_back(std::to_string(record.level) + " " + toUtf8(record.message));
    return lines;
  }
  /// Returns the statements, except those of the version table.
  std::vector<std::string> statements() const {
    std::vector<std::string> found;
    for (const std::string& each : company->statements())
      if (each.find("@QXEXTDBV") == std::string::npos) found.push_back(each);
    return found;
  }
  /// Returns the status words that were stamped, in order.
  std::vector<std::string> stamps() const {
    std::vector<std::string> found;
    for (const std::string& each : company->statements()) {
      if (!each.starts_with("insert into") || each.find("@QXEXTDBV") == std::string::npos) continue;
      for (const char* status : {"Upgrading", "Upgrade failed", "Installed"})
        if (each.find(std::string("'") + status + "'") != std::string::npos)
          found.push_back(status);
    }
    return found;
  }

  HostCalls calls;
  CComPtr<ScriptedCompany> company = makeScriptedCompany(calls);
  CComPtr<FakeApplication> application = makeObject<FakeApplication>(calls);
  RecordingLogger logger;
  CQXResourceLoader loader;
  HINSTANCE module = nullptr;
  CQXVersion version{u"0.00.00.00.00"};
  ManualClock clock;
  DefinitionFile file;

 private:
  ScopedClock scopedClock_{clock};
  std::optional<CQXDbDef> def_;
};

}  // namespace qx::test

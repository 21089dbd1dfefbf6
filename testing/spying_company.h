#pragma once

// Stands between the framework and a company: notes every statement that is run, and refuses one of
// them as the company would if its database failed.

#include "qxframework/automation/com_object.h"
#include "qxframework/host/company.h"

#include <string>
#include <vector>

namespace qx::test {

struct StatementLog {
  std::vector<std::string> texts;  ///< UTF-8
  std::size_t refuse = 0;          ///< the number of the statement, from 1; 0 refuses none
};

inline constexpr char kRefusal[] = "-2000: the database refused";

/// `log` must outlive the company.
CComPtr<ICompany> spyOn(const CComPtr<ICompany>& company, StatementLog* log);

}  // namespace qx::test

#pragma once

// A company between the framework and a real one. It notes every statement, and it can refuse one
// of them as the company does if its database fails.

#include "qxframework/automation/com_object.h"
#include "qxframework/host/company.h"

#include <functional>
#include <string>
#include <vector>

namespace qx::test {

struct StatementLog {
  std::vector<std::string> texts;     ///< UTF-8
  std::size_t refuse = 0;             ///< the number of the statement, from 1; 0 refuses none
  std::function<void()> onStatement;  ///< called ahead of each statement, if set
};

/// The last error after a refused statement, as code and text.
inline constexpr char kRefusal[] = "-2000: the database refused";

/// Returns a company that forwards to `company`. `log` must outlive it.
CComPtr<ICompany> spyOn(const CComPtr<ICompany>& company, StatementLog* log);

}  // namespace qx::test

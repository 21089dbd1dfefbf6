#pragma once

#include "qxframework/foundation/currency.h"
#include "qxframework/host/company.h"

namespace qx::test {

/// Amounts know nothing of a host any more.
inline void forgetTheHostOfAmounts() {
  CQXCurrency::m_RoundViaRX = false;
  CQXCurrency::m_bstrLoc.Empty();
  CQXCurrency::m_bstrCurr.Empty();
  CQXCurrency::m_ptrCompService.Release();
  CQXCurrency::m_ptrDecimalData.Release();
  CQXCurrency::m_ptrRoundedData.Release();
}

}  // namespace qx::test

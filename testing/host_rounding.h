#pragma once

#include "qxframework/foundation/currency.h"
#include "qxframework/host/company.h"

namespace qx::test {

/// Ends the rounding by the host: amounts round by themselves again and hold nothing of a company.
inline void resetHostRounding() {
  CQXCurrency::m_RoundViaRX = false;
  CQXCurrency::m_bstrLoc.Empty();
  CQXCurrency::m_bstrCurr.Empty();
  CQXCurrency::m_ptrCompService.Release();
  CQXCurrency::m_ptrDecimalData.Release();
  CQXCurrency::m_ptrRoundedData.Release();
}

}  // namespace qx::test

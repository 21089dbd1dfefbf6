#pragma once

#include "qxframework/cache/load_parameter.h"

namespace qx {

struct LoadParameterAccess {
  static COleDateTime timeStamp(const Persistence::TyLoadParameter& param) {
    return param.m_dtTimeStamp;
  }
  /// Sets the comparison that no operation sets.
  static void setComparison(Persistence::TyLoadParameter_WithPrefetchKeys& param, int operation) {
    param.m_nPrefetchComparison = operation;
  }
};

}  // namespace qx

#pragma once

#include "qxframework/automation/export.h"

namespace Persistence {

/// Base of an add-on's records. It has no data, so copying does nothing.
class QX_API CQXValueContainer {
 public:
  CQXValueContainer(const CQXValueContainer&) {}
  CQXValueContainer& operator=(const CQXValueContainer&) { return *this; }
  virtual ~CQXValueContainer();

 protected:
  CQXValueContainer() = default;
};

}  // namespace Persistence

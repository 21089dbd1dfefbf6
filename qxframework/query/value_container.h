#pragma once

#include "qxframework/automation/export.h"

namespace Persistence {

/// Base of the records of an add-on. It holds nothing, so copying copies nothing.
class QX_API CQXValueContainer {
 public:
  CQXValueContainer(const CQXValueContainer&) {}
  CQXValueContainer& operator=(const CQXValueContainer&) { return *this; }
  virtual ~CQXValueContainer();

 protected:
  CQXValueContainer() = default;
};

}  // namespace Persistence

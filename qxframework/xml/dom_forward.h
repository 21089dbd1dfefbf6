#pragma once

// Declares the node of a document for headers that only name it. The declaration carries the
// export, so that an instantiation of a template over the node is exported from the library as
// well.

#include "qxframework/automation/export.h"

class QX_API IXMLDOMNode;

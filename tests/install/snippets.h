#pragma once

// The names that the snippets of the documents use without declaring them, see snippets_test.sh.

#include "qxdesk/screens/user/user.h"
#include "qxframework/qxframework.h"

#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace snippets {

using namespace Persistence;

extern CComPtr<IApplication> app;
extern CComPtr<ICompany> company;
extern CQXResourceLoader loader;
long Prepare();
template <class T>
void use(const T& value);

/// What a handler of the guide's first program may keep.
struct Members : CQXIDispatch {
  CQXAddOn* m_AddOn;
  CComPtr<IApplication> m_App;
  CComPtr<ICompany> m_Company;
};

}  // namespace snippets

#include "qxframework/business/business_object_browser.h"

#include "qxframework/logging/function_log.h"

#include <utility>

namespace Persistence {

CQXBusinessObjectBrowser::CQXBusinessObjectBrowser(CComPtr<ICompany> company)
    : CQXBusinessObject(std::move(company)) {
  CReturnValue<void> scope(u"CQXBusinessObjectBrowser::CQXBusinessObjectBrowser", 0);
}

CQXBusinessObjectBrowser::~CQXBusinessObjectBrowser() noexcept(false) {
  m_pCol.reset();  // members would go in the other order
}

void CQXBusinessObjectBrowser::setPCol(IQXObjCollectionForBrowser* collection) {
  if (collection != m_pCol.get()) m_pCol.reset(collection);
}

void CQXBusinessObjectBrowser::setCntr(CQXValueContainer* container) {
  if (container != m_pCntr.get()) m_pCntr.reset(container);
}

long CQXBusinessObjectBrowser::First() {
  return Take(&IQXObjCollectionForBrowser::First, u"CQXBusinessObjectBrowser::First");
}

long CQXBusinessObjectBrowser::Previous() {
  return Take(&IQXObjCollectionForBrowser::Previous, u"CQXBusinessObjectBrowser::Previous");
}

long CQXBusinessObjectBrowser::Next() {
  return Take(&IQXObjCollectionForBrowser::Next, u"CQXBusinessObjectBrowser::Next");
}

long CQXBusinessObjectBrowser::Last() {
  return Take(&IQXObjCollectionForBrowser::Last, u"CQXBusinessObjectBrowser::Last");
}

long CQXBusinessObjectBrowser::Take(Step step, const OLECHAR* scope) {
  CReturnValue<long> hr(scope, 0, 0);
  if (m_pCol == nullptr || m_pCntr == nullptr) {
    hr = E_POINTER;
  } else {
    hr = (*m_pCol.*step)(*m_pCntr);
  }
  return hr;
}

bool CQXBusinessObjectBrowser::EoF() const { return m_pCol != nullptr && m_pCol->Eof(); }

bool CQXBusinessObjectBrowser::BoF() const { return m_pCol != nullptr && m_pCol->Bof(); }

}  // namespace Persistence

#pragma once

// A long job: it takes in sample orders, a few with each turn of the message loop, so that the
// client stays usable meanwhile. A progress form shows that it goes on.

#include "order.h"
#include "qxframework/stock/init_progress.h"

#include <memory>

class SampleOrders : public std::enable_shared_from_this<SampleOrders> {
 public:
  /// `text` is what the progress form shows.
  SampleOrders(const CComPtr<IApplication>& application, const CComPtr<ICompany>& company,
               const CQXAddOn* addOn, const CComBSTR& text)
      : m_Company(company), m_Text(text), m_Progress(application, company, addOn) {}

  /// Opens the progress form and begins with the next turn of the message loop. The job stops when
  /// its owner deletes it.
  void Start();
  bool IsRunning() const { return m_Running; }

 private:
  void Post();
  void TakeInSome();

  CComPtr<ICompany> m_Company;
  CComBSTR m_Text;
  CQXInitProgress m_Progress;
  int m_Count = 0;
  bool m_Running = false;
};

#pragma once

// The form of all orders: a table of them and the fields of a new one. OK adds the new order;
// the button beside the customer lets the user choose one of the company's partners.

#include "order.h"

class OrderForm : public CQXAddOnForm {
  DECLARE_XML_FORM_EX(u"ORDERS", 200, u"ORDER", {u"ORD_TITLE", 230, u""}, {u"ORD_MX", 201, u""},
                      {u"ORD_CL_NO", 211, u""}, {u"ORD_CL_CUSTOMER", 212, u""},
                      {u"ORD_CL_TOTAL", 214, u""}, {u"ORD_CL_TERMS", 215, u""},
                      {u"ORD_NO", 221, u""}, {u"ORD_CUSTOMER", 222, u""}, {u"ORD_TOTAL", 224, u""},
                      {u"ORD_TERMS", 225, u""}, {u"ORD_CHOOSE", 226, u""},
                      {u"ORD_INVOICE", 227, u""}, {u"ORD_CASH", 228, u""}, {u"ORD_ST_NO", 211, u""},
                      {u"ORD_ST_CUSTOMER", 212, u""}, {u"ORD_ST_TOTAL", 214, u""},
                      {u"ORD_ST_TERMS", 215, u""}, {u"ORD_OK", 1, u""}, {u"ORD_CANCEL", 2, u""})

 public:
  explicit OrderForm(const CQXAddOn* addOn) : CQXAddOnForm(addOn, -1) {}

  long OnInitForm() override;
  long OnItemEvent(CComPtr<IItemEvent> event, short* bubble) override;
  /// Called by the choose list with the partner; empty if the user chose none.
  long put_Key(const OLECHAR* key) override;

 private:
  void FillMatrix();
  bool IsComplete();
  bool MayReplace();
  void StoreOrder();
  void ChooseCustomer();
  CComPtr<IUserDataSource> Source(const OLECHAR* uid);
  CComBSTR Text(unsigned id);
};

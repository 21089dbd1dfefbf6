#include "order_form.h"

#include "qxframework/stock/choose_list.h"

namespace {

constexpr long kMatrix = 201;
constexpr long kNumber = 221;
constexpr long kCustomer = 222;
constexpr long kTerms = 225;
constexpr char16_t kOkButton[] = u"1";
constexpr char16_t kChooseButton[] = u"226";
constexpr unsigned kNumberTitle = 211;
constexpr unsigned kNameTitle = 212;
constexpr unsigned kNumberMissing = 231;
constexpr unsigned kCustomerMissing = 232;
constexpr unsigned kPartners = 233;
constexpr unsigned kIsThere = 237;
constexpr unsigned kYes = 238;
constexpr unsigned kNo = 239;

}  // namespace

long OrderForm::OnInitForm() {
  GetFormItemSpecific<IComboBox>(kTerms)->Select(CComVariant(u"I"), 1);  // by key
  FillMatrix();
  return S_OK;
}

// The client copies the data sources into each row that is added.
void OrderForm::FillMatrix() {
  const auto matrix = GetFormItemSpecific<IMatrix>(kMatrix);
  matrix->Clear();
  Orders orders(m_ptrCompany);
  orders.Open();
  Order order;
  for (long row = orders.First(order); row == 0; row = orders.Next(order)) {
    Source(u"ROW_NO")->PutValue(order.number);
    Source(u"ROW_CUST")->PutValue(order.customer);
    Source(u"ROW_TOTAL")->PutValue(order.total.ToString());
    Source(u"ROW_TERMS")->PutValue(order.terms);
    matrix->AddRow(1, -1);
  }
}

long OrderForm::OnItemEvent(CComPtr<IItemEvent> event, short* bubble) {
  if (event->GetEventType() != qx::kItemPressed) return S_OK;
  const bool before = event->GetBeforeAction() == VARIANT_TRUE;
  const CComBSTR item = event->GetItemUID();
  // In OK mode nothing was entered, and the client closes the form.
  if (item.View() == kOkButton && m_ptrForm->GetMode() != 1) {
    if (before && !(IsComplete() && MayReplace())) *bubble = VARIANT_FALSE;
    if (before && *bubble != VARIANT_FALSE) StoreOrder();
  } else if (item.View() == kChooseButton && !before) {
    ChooseCustomer();
  }
  return S_OK;
}

// Tells the user what is missing and moves the focus there.
bool OrderForm::IsComplete() {
  const bool hasNumber = !Source(u"NEW_NO")->GetValue().IsEmpty();
  if (hasNumber && !Source(u"NEW_CUST")->GetValue().IsEmpty()) return true;
  CQXUtil::SetStatusBarErrorMessage(m_ptrApp, Text(hasNumber ? kCustomerMissing : kNumberMissing));
  SetItemFocus(hasNumber ? kCustomer : kNumber);
  return false;
}

// Asks the user if there is an order with this number already.
bool OrderForm::MayReplace() {
  const CComBSTR number = Source(u"NEW_NO")->GetValue();
  if (!isThere(m_ptrCompany, number)) return true;
  const CComBSTR question(qx::format(Text(kIsThere).m_str, number));
  if (m_ptrApp->MessageBox(question, 2, Text(kYes), Text(kNo), u"") == 1) return true;
  SetItemFocus(kNumber);
  return false;
}

void OrderForm::StoreOrder() {
  Order order;
  order.number = Source(u"NEW_NO")->GetValue();
  order.customer = Source(u"NEW_CUST")->GetValue();
  order.day = CQXDateTime(dv_Today);
  order.total = CQXCurrency(Source(u"NEW_TOTAL")->GetValue());
  order.terms = Source(u"NEW_TERMS")->GetValue();
  if (isThere(m_ptrCompany, order.number)) {
    change(m_ptrCompany, order);
  } else {
    takeIn(m_ptrCompany, order);
  }
  for (const OLECHAR* uid : {u"NEW_NO", u"NEW_CUST", u"NEW_TOTAL"}) Source(uid)->PutValue(u"");
  FillMatrix();
}

void OrderForm::ChooseCustomer() {
  CSimpleMap<CComBSTR, CComBSTR> columns;
  columns.Add(u"PartnerNo", Text(kNumberTitle));
  columns.Add(u"PartnerName", Text(kNameTitle));
  CComBSTR sql;
  Persistence::CQXChooseListHelper::GetSQL(m_ptrCompany, columns, u"HVPARTN", false, u"", sql);
  CQXChooseList::GetKey(Text(kPartners), Source(u"NEW_CUST")->GetValue(), sql, false, false, this,
                        m_ptrApp, m_ptrCompany, true, false, nullptr);
}

long OrderForm::put_Key(const OLECHAR* key) {
  if (!qx::viewOf(key).empty()) Source(u"NEW_CUST")->PutValue(key);
  return CQXAddOnForm::put_Key(key);
}

CComPtr<IUserDataSource> OrderForm::Source(const OLECHAR* uid) {
  return m_ptrForm->GetDataSources()->GetUserDataSources()->Item(CComVariant(uid));
}

CComBSTR OrderForm::Text(unsigned id) {
  CQXBSTR text(m_ptrApp->GetLanguage());
  CQXResourceLoader().LoadStringW(text, id, m_ptrApp->GetLanguage());
  return text;
}

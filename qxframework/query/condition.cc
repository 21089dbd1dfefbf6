#include "qxframework/query/condition.h"

#include "qxframework/automation/com_error.h"

#include <cstdio>

namespace Persistence {
namespace {

// Deletes a condition with its last list, unless Clear released it.
struct Owner {
  bool owns = true;
  void operator()(CCondition* condition) const {
    if (owns) delete condition;
  }
};

// Runs `work` and lets no exception out. The destructor and Remove promise that to callers that
// clean up while another failure is on its way. Destroying a condition cannot fail at present, but
// the promise does not rely on it.
template <class Work>
void guarded(Work work) noexcept {
  try {
    work();
  } catch (...) {
    std::printf("error in ~conditions()\n");
  }
}

}  // namespace

bool operator==(const CCondition& a, const CCondition& b) {
  return a.m_ComparedAlias.View() == b.m_ComparedAlias.View() &&
         a.m_CompareFields == b.m_CompareFields && a.m_Operation == b.m_Operation &&
         a.m_Relationship == b.m_Relationship && a.m_CondVal.View() == b.m_CondVal.View() &&
         a.m_Alias.View() == b.m_Alias.View() && a.m_BracketOpenNum == b.m_BracketOpenNum &&
         a.m_BracketCloseNum == b.m_BracketCloseNum;
}

CCondition::~CCondition() = default;

CConditions::~CConditions() {
  guarded([this] { Clear(true); });
}

qx_ptr<CConditions> CConditions::CreateNewInstance() {
  return qx_ptr<CConditions>(new CConditions, true);
}

void CConditions::Remove(qx_ptr<CConditions> conditions) {
  guarded([&conditions] { conditions = 0; });
}

qx_ptr<CConditions> CConditions::Clone() const {
  qx_ptr<CConditions> clone = CreateNewInstance();
  clone->m_Conditions.reserve(m_Conditions.size());
  for (const auto& condition : m_Conditions) clone->Add(new CCondition(*condition));
  return clone;
}

// A bare `new`: make_shared cannot reach the private constructor, and Clear(false) must be able to
// give the condition away.
CCondition* CConditions::Add() {
  auto* const condition = new CCondition;
  Add(condition);
  return condition;
}

void CConditions::Add(CCondition* condition) {
  if (condition == nullptr) qx::raiseError(E_POINTER);
  m_Conditions.push_back(std::shared_ptr<CCondition>(condition, Owner()));
}

void CConditions::Clear(bool destroy) {
  if (!destroy)
    for (const auto& condition : m_Conditions) std::get_deleter<Owner>(condition)->owns = false;
  m_Conditions.clear();
}

CCondition* CConditions::Item(long index) const {
  return m_Conditions.at(static_cast<std::size_t>(index)).get();
}

bool operator==(const CConditions& a, const CConditions& b) {
  if (a.GetCount() != b.GetCount()) return false;
  for (long i = 0; i < a.GetCount(); ++i)
    if (*a.Item(i) != *b.Item(i)) return false;
  return true;
}

}  // namespace Persistence

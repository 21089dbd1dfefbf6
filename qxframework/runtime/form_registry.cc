#include "qxframework/runtime/form_registry.h"

#include <vector>

namespace qx {
namespace {

// As a rule the one registry of the process's one sink. Never destroyed, since sinks are not.
std::vector<FormRegistry*>& registries() {
  static auto* const all = new std::vector<FormRegistry*>;
  return *all;
}

}  // namespace

FormRegistry::FormRegistry(CriticalSection& lock, FormMap& forms) : lock_(lock), forms_(forms) {
  registries().push_back(this);
}

FormRegistry::~FormRegistry() { std::erase(registries(), this); }

void FormRegistry::forgetEverywhere(const CQXAddOnForm* form) {
  for (FormRegistry* const registry : registries()) {
    registry->remove(form);
    registry->running_.forget(form);
  }
}

void FormRegistry::add(const CComBSTR& uid, CQXAddOnForm* form) {
  const CriticalSectionLock lock(lock_);
  forms_.emplace(uid, form);
}

std::optional<CQXAddOnForm*> FormRegistry::find(const CComBSTR& uid) const {
  const CriticalSectionLock lock(lock_);
  const auto entry = forms_.find(uid);
  if (entry == forms_.end()) return std::nullopt;
  return entry->second;
}

void FormRegistry::leaveOpen() {
  const CriticalSectionLock lock(lock_);
  leftOpen_.swap(forms_);
}

// By the object and not by its UID: the host may have given the UID to another form meanwhile.
void FormRegistry::remove(const CQXAddOnForm* form) {
  const CriticalSectionLock lock(lock_);
  for (FormMap* forms : {&forms_, &leftOpen_}) {
    std::erase_if(*forms, [form](const auto& entry) { return entry.second == form; });
  }
}

}  // namespace qx

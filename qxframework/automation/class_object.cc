#include "qxframework/automation/class_object.h"

#include "qxframework/automation/com_object.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/guid.h"
#include "qxframework/automation/registry.h"
#include "qxframework/automation/text.h"

#include <dlfcn.h>

#include <algorithm>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <utility>
#include <vector>

namespace qx {
namespace {

using FactoryPtr = CComPtr<IClassFactory>;
using GetClassObject = HRESULT (*)(REFCLSID clsid, REFIID iid, void** object);

/// The factories of this process. Few classes are ever in use and most instances are of one or two
/// of them, so a walk over a short array under a shared lock is the quickest look-up. Factories
/// are called, taken and released outside the lock only: they may come back here.
class FactoryTable {
 public:
  /// Never destroyed: scopes of static objects still make instances when the process ends.
  static FactoryTable& instance() {
    static auto* table = new FactoryTable;
    return *table;
  }

  /// With a reference; null if there is none.
  FactoryPtr find(REFCLSID clsid) const {
    const std::shared_lock lock(mutex_);
    for (auto entry = registered_.rbegin(); entry != registered_.rend(); ++entry)
      if (entry->clsid == clsid) return entry->factory;
    for (const Entry& entry : loaded_)
      if (entry.clsid == clsid) return entry.factory;
    return nullptr;
  }

  DWORD registerFactory(REFCLSID clsid, FactoryPtr factory) {
    const std::unique_lock lock(mutex_);
    registered_.push_back({clsid, std::move(factory), ++lastCookie_});
    return lastCookie_;
  }

  bool revoke(DWORD cookie) {
    FactoryPtr released;
    const std::unique_lock lock(mutex_);
    const auto entry = std::find_if(registered_.begin(), registered_.end(),
                                    [&](const Entry& each) { return each.cookie == cookie; });
    if (entry == registered_.end()) return false;
    released = std::move(entry->factory);
    registered_.erase(entry);
    return true;
  }

  void keepLoaded(REFCLSID clsid, const FactoryPtr& factory) {
    const std::unique_lock lock(mutex_);
    for (const Entry& entry : loaded_)
      if (entry.clsid == clsid) return;
    loaded_.push_back({clsid, factory, 0});
  }

  void forgetLoaded() {
    std::vector<Entry> released;
    const std::unique_lock lock(mutex_);
    loaded_.swap(released);
  }

 private:
  struct Entry {
    CLSID clsid;
    FactoryPtr factory;
    DWORD cookie;
  };

  mutable std::shared_mutex mutex_;
  std::vector<Entry> registered_;  // the latest answers first
  std::vector<Entry> loaded_;
  DWORD lastCookie_ = 0;
};

HRESULT loadFailed(REFCLSID clsid, std::string_view reason) {
  developerTrace(u"Class " + guidText(clsid) + u" does not load: " + toUtf16(reason) + u"\n");
  return CO_E_DLLNOTFOUND;
}

std::string lastLoaderError() {
  const char* reason = dlerror();
  return reason == nullptr ? "unknown reason" : reason;
}

/// The factory that the library named in the registry gives. The library stays loaded: its code
/// stands behind every object it has made.
HRESULT loadFactory(REFCLSID clsid, FactoryPtr& factory) {
  const std::u16string key = u"CLSID\\" + guidText(clsid) + u"\\InprocServer32";
  const auto path = Registry::current().readString(HKEY_CLASSES_ROOT, key, u"");
  if (!path) return REGDB_E_CLASSNOTREG;
  void* library = dlopen(toUtf8(*path).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return loadFailed(clsid, lastLoaderError());
  const auto getClassObject = reinterpret_cast<GetClassObject>(dlsym(library, "DllGetClassObject"));
  if (getClassObject == nullptr) return loadFailed(clsid, lastLoaderError());
  const HRESULT result =
      getClassObject(clsid, IClassFactory::kIid, reinterpret_cast<void**>(&factory.p));
  if (result < 0) return result;
  return factory.p == nullptr ? E_UNEXPECTED : S_OK;
}

HRESULT factoryOf(REFCLSID clsid, FactoryPtr& factory) {
  FactoryTable& table = FactoryTable::instance();
  factory = table.find(clsid);
  if (factory.p != nullptr) return S_OK;
  const HRESULT result = loadFactory(clsid, factory);
  if (result >= 0) table.keepLoaded(clsid, factory);
  return result;
}

int& initializeCount() {
  thread_local int count = 0;
  return count;
}

}  // namespace

void resetActivation() {
  FactoryTable::instance().forgetLoaded();
  Registry::reload();
}

}  // namespace qx

HRESULT CoInitialize(void*) { return qx::initializeCount()++ == 0 ? S_OK : S_FALSE; }

void CoUninitialize() {
  if (qx::initializeCount() > 0) --qx::initializeCount();
}

// Every class runs in the caller's process, whichever context is asked for.
HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  return qx::guarded([&] {
    qx::FactoryPtr factory;
    const HRESULT result = qx::factoryOf(clsid, factory);
    return result < 0 ? result : factory.p->CreateInstance(outer, iid, object);
  });
}

HRESULT CLSIDFromProgID(const OLECHAR* progId, CLSID* out) {
  if (progId == nullptr || out == nullptr) return E_POINTER;
  *out = CLSID{};
  return qx::guarded([&] {
    const std::u16string key = std::u16string(progId) + u"\\CLSID";
    const auto text = qx::Registry::current().readString(HKEY_CLASSES_ROOT, key, u"");
    const auto clsid = text ? qx::guidFromText(*text) : std::nullopt;
    if (!clsid) return CO_E_CLASSSTRING;
    *out = *clsid;
    return S_OK;
  });
}

HRESULT CoRegisterClassObject(REFCLSID clsid, IUnknown* factory, DWORD, DWORD, DWORD* cookie) {
  if (factory == nullptr || cookie == nullptr) return E_POINTER;
  *cookie = 0;
  return qx::guarded([&] {
    const CComQIPtr<IClassFactory> asked(factory);
    if (asked.p == nullptr) return E_NOINTERFACE;
    *cookie = qx::FactoryTable::instance().registerFactory(clsid, asked);
    return S_OK;
  });
}

HRESULT CoRevokeClassObject(DWORD cookie) {
  return qx::FactoryTable::instance().revoke(cookie) ? S_OK : E_INVALIDARG;
}

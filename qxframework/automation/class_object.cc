#include "qxframework/automation/class_object.h"

#include "qxframework/automation/com_object.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/guid.h"
#include "qxframework/automation/registry.h"
#include "qxframework/automation/text.h"

#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <forward_list>
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
/// of them, so a walk over a short list is the quickest look-up. A loaded factory is kept for ever,
/// as its library is, so it is found without a lock or a reference; nearly every function of the
/// framework makes a log object this way. Those that were registered come first and may go again:
/// they are taken and released outside the lock only, since they may come back here.
class FactoryTable {
 public:
  /// Never destroyed: scopes of static objects still make instances when the process ends.
  static FactoryTable& instance() {
    static auto* table = new FactoryTable;
    return *table;
  }

  /// A registered one, with a reference; null if there is none.
  FactoryPtr findRegistered(REFCLSID clsid) const {
    if (registeredCount_.load(std::memory_order_acquire) == 0) return nullptr;
    const std::shared_lock lock(mutex_);
    for (auto entry = registered_.rbegin(); entry != registered_.rend(); ++entry)
      if (entry->clsid == clsid) return entry->factory;
    return nullptr;
  }

  /// A loaded one, which stays; null if there is none.
  IClassFactory* findLoaded(REFCLSID clsid) const {
    for (const Loaded* entry = loaded_.load(std::memory_order_acquire); entry != nullptr;
         entry = entry->next)
      if (entry->clsid == clsid) return entry->factory.p;
    return nullptr;
  }

  DWORD registerFactory(REFCLSID clsid, FactoryPtr factory) {
    const std::unique_lock lock(mutex_);
    registered_.push_back({clsid, std::move(factory), ++lastCookie_});
    ++registeredCount_;
    return lastCookie_;
  }

  bool revoke(DWORD cookie) {
    FactoryPtr released;
    const std::unique_lock lock(mutex_);
    const auto entry = std::find_if(registered_.begin(), registered_.end(),
                                    [&](const Registered& each) { return each.cookie == cookie; });
    if (entry == registered_.end()) return false;
    released = std::move(entry->factory);
    registered_.erase(entry);
    --registeredCount_;
    return true;
  }

  /// The one that is kept: two threads may load a class at once.
  IClassFactory* keepLoaded(REFCLSID clsid, const FactoryPtr& factory) {
    const std::unique_lock lock(mutex_);
    if (IClassFactory* const kept = findLoaded(clsid)) return kept;
    const Loaded& entry = kept_.emplace_front(Loaded{clsid, factory, loaded_.load()});
    loaded_.store(&entry, std::memory_order_release);
    return factory.p;
  }

  /// They are still kept, but not found any more.
  void forgetLoaded() { loaded_.store(nullptr, std::memory_order_release); }

 private:
  struct Registered {
    CLSID clsid;
    FactoryPtr factory;
    DWORD cookie;
  };
  struct Loaded {
    CLSID clsid;
    FactoryPtr factory;
    const Loaded* next;
  };

  mutable std::shared_mutex mutex_;
  std::vector<Registered> registered_;  // the latest answers first
  std::atomic<std::size_t> registeredCount_ = 0;
  DWORD lastCookie_ = 0;
  std::forward_list<Loaded> kept_;
  std::atomic<const Loaded*> loaded_ = nullptr;
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

/// Makes an instance by a factory that is loaded if need be.
HRESULT createLoaded(REFCLSID clsid, IUnknown* outer, REFIID iid, void** object) {
  FactoryTable& table = FactoryTable::instance();
  IClassFactory* factory = table.findLoaded(clsid);
  if (factory == nullptr) {
    FactoryPtr fresh;
    const HRESULT result = loadFactory(clsid, fresh);
    if (result < 0) return result;
    factory = table.keepLoaded(clsid, fresh);
  }
  return factory->CreateInstance(outer, iid, object);
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
    const qx::FactoryPtr factory = qx::FactoryTable::instance().findRegistered(clsid);
    if (factory.p != nullptr) return factory.p->CreateInstance(outer, iid, object);
    return qx::createLoaded(clsid, outer, iid, object);
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

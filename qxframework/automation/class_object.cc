#include "qxframework/automation/class_object.h"

#include "qxframework/automation/com_object.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/guid.h"
#include "qxframework/automation/registry.h"
#include "qxframework/automation/text.h"
#include "qxframework/automation/trusted_file.h"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <forward_list>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace qx {
namespace {

using FactoryPtr = CComPtr<IClassFactory>;
using GetClassObject = HRESULT (*)(REFCLSID clsid, REFIID iid, void** object);

// The compiler's own comparison looks at each of the eleven parts of an id.
bool isSame(REFCLSID a, REFCLSID b) {
  static_assert(std::has_unique_object_representations_v<CLSID>);
  return std::memcmp(&a, &b, sizeof(CLSID)) == 0;
}

// The factories of this process. A process uses few classes, and most instances are of one or two
// of them, so a walk over a short list is the quickest look-up. A loaded factory is kept for ever,
// as its library is, so it is found without a lock or a reference: nearly every function of the
// framework makes a log object this way. Registered factories take precedence and can be revoked.
// Their code may call back into this table, so they are called and released only outside the lock.
class FactoryTable {
 public:
  // Never destroyed: the scopes of static objects still make instances when the process ends.
  static FactoryTable& instance() {
    static auto* table = new FactoryTable;
    return *table;
  }

  // Returns false if no factory is registered for the class, the usual case; it costs no lock.
  bool mayBeRegistered(REFCLSID clsid) const {
    return countOf(clsid).load(std::memory_order_acquire) != 0;
  }

  // Returns a registered factory, with a reference; null if there is none.
  FactoryPtr findRegistered(REFCLSID clsid) const {
    const std::shared_lock lock(mutex_);
    for (auto entry = registered_.rbegin(); entry != registered_.rend(); ++entry)
      if (isSame(entry->clsid, clsid)) return entry->factory;
    return nullptr;
  }

  // Returns a loaded factory, which is kept for ever; null if there is none.
  IClassFactory* findLoaded(REFCLSID clsid) const {
    for (const Loaded* entry = loaded_.load(std::memory_order_acquire); entry != nullptr;
         entry = entry->next)
      if (isSame(entry->clsid, clsid)) return entry->factory.p;
    return nullptr;
  }

  DWORD registerFactory(REFCLSID clsid, FactoryPtr factory) {
    const std::unique_lock lock(mutex_);
    registered_.push_back({clsid, std::move(factory), ++lastCookie_});
    ++countOf(clsid);
    return lastCookie_;
  }

  bool revoke(DWORD cookie) {
    FactoryPtr released;  // declared before the lock, so that it is released after it
    const std::unique_lock lock(mutex_);
    const auto entry = std::find_if(registered_.begin(), registered_.end(),
                                    [&](const Registered& each) { return each.cookie == cookie; });
    if (entry == registered_.end()) return false;
    released = std::move(entry->factory);
    --countOf(entry->clsid);
    registered_.erase(entry);
    return true;
  }

  // Keeps a loaded factory and returns the kept one, which is another thread's if two threads have
  // loaded the class at once.
  IClassFactory* keepLoaded(REFCLSID clsid, const FactoryPtr& factory) {
    const std::unique_lock lock(mutex_);
    if (IClassFactory* const kept = findLoaded(clsid)) return kept;
    const Loaded& entry = kept_.emplace_front(Loaded{clsid, factory, loaded_.load()});
    // Published last: readers without the lock must find a complete entry.
    loaded_.store(&entry, std::memory_order_release);
    return factory.p;
  }

  // The entries stay in kept_: other threads may still walk them or use their factories.
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

  using Count = std::atomic<std::size_t>;

  // The classes are spread over the counts by all bits of their ids. Classes that share a count
  // only take the lock without need.
  const Count& countOf(REFCLSID clsid) const {
    std::uint64_t halves[2];
    std::memcpy(halves, &clsid, sizeof halves);
    constexpr std::uint64_t kGolden = 0x9E3779B97F4A7C15;
    return registeredCounts_[((halves[0] ^ halves[1]) * kGolden) >> (64 - kCountBits)];
  }
  Count& countOf(REFCLSID clsid) { return const_cast<Count&>(std::as_const(*this).countOf(clsid)); }

  static constexpr int kCountBits = 6;

  mutable std::shared_mutex mutex_;
  std::vector<Registered> registered_;  // searched from the back: the latest takes precedence
  std::array<Count, std::size_t{1} << kCountBits> registeredCounts_{};
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

// Stores the factory of the library that the registry names for the class. The library is never
// closed, because its objects need its code for as long as they live.
HRESULT loadFactory(REFCLSID clsid, FactoryPtr& factory) {
  const std::u16string key = u"CLSID\\" + guidText(clsid) + u"\\InprocServer32";
  const auto path = Registry::current().readString(HKEY_CLASSES_ROOT, key, u"");
  if (!path) return REGDB_E_CLASSNOTREG;
  if (const std::string reason = distrust(toUtf8(*path)); !reason.empty()) {
    return loadFailed(clsid, toUtf8(*path) + ": " + reason);
  }
  // RTLD_NOW reports a missing symbol here and not as a crash in a later call. RTLD_LOCAL keeps the
  // entries of several libraries, which all have the same name, apart.
  void* library = dlopen(toUtf8(*path).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return loadFailed(clsid, lastLoaderError());
  const auto getClassObject = reinterpret_cast<GetClassObject>(dlsym(library, "DllGetClassObject"));
  if (getClassObject == nullptr) return loadFailed(clsid, lastLoaderError());
  const HRESULT result =
      getClassObject(clsid, IClassFactory::kIid, reinterpret_cast<void**>(&factory.p));
  if (result < 0) return result;
  return factory.p == nullptr ? E_UNEXPECTED : S_OK;
}

// Loads and keeps the factory of a class. A failure is not remembered: a library that is installed
// later is found by the next call.
HRESULT provideFactory(REFCLSID clsid, IClassFactory*& factory) {
  FactoryPtr fresh;
  const HRESULT result = loadFactory(clsid, fresh);
  if (result >= 0) factory = FactoryTable::instance().keepLoaded(clsid, fresh);
  return result;
}

// Makes an instance with the factory that is registered for the class, or else with the one that
// its library has.
[[gnu::noinline]] HRESULT createSeldom(FactoryTable& table, REFCLSID clsid, IUnknown* outer,
                                       REFIID iid, void** object) {
  const FactoryPtr registered = table.findRegistered(clsid);
  if (registered.p != nullptr) return registered.p->CreateInstance(outer, iid, object);
  IClassFactory* factory = table.findLoaded(clsid);
  if (factory == nullptr) {
    const HRESULT result = provideFactory(clsid, factory);
    if (result < 0) return result;
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

// The context is ignored: every class runs in the caller's process.
HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  return qx::guarded([&] {
    qx::FactoryTable& table = qx::FactoryTable::instance();
    // Every scope makes an instance of a loaded class, so this case stands apart.
    if (!table.mayBeRegistered(clsid)) {
      IClassFactory* const factory = table.findLoaded(clsid);
      if (factory != nullptr) return factory->CreateInstance(outer, iid, object);
    }
    return qx::createSeldom(table, clsid, outer, iid, object);
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

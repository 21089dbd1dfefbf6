#pragma once

// Activation of classes by id. A class id is looked up first among the factories that this process
// has registered, then in the registry under HKEY_CLASSES_ROOT\CLSID\{id}\InprocServer32, whose
// default value names a shared object with the entry DllGetClassObject. A factory once found is
// kept, so that an instance costs a look-up and the factory's own work.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/types.h"

class IClassFactory : public IUnknown {
 public:
  static constexpr GUID kIid{0x00000001, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  virtual HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
  virtual HRESULT LockServer(int lock) = 0;

 protected:
  ~IClassFactory() = default;
};

inline constexpr DWORD CLSCTX_INPROC_SERVER = 1;
inline constexpr DWORD CLSCTX_LOCAL_SERVER = 4;
inline constexpr DWORD CLSCTX_SERVER = 21;
inline constexpr DWORD CLSCTX_ALL = 23;

/// Counted by thread; nothing needs it to be called first.
QX_API HRESULT CoInitialize(void* reserved);
QX_API void CoUninitialize();

/// REGDB_E_CLASSNOTREG when no entry names the class, CO_E_DLLNOTFOUND when the library named there
/// does not load (why is told to the developer trace), else what the factory says.
QX_API HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid,
                                void** object);
/// The class id under HKEY_CLASSES_ROOT\<progId>\CLSID; CO_E_CLASSSTRING when there is none.
QX_API HRESULT CLSIDFromProgID(const OLECHAR* progId, CLSID* out);

/// Makes `factory` answer for the class in this process, ahead of the registry and of factories
/// registered earlier, until it is revoked. E_NOINTERFACE for what is no IClassFactory.
QX_API HRESULT CoRegisterClassObject(REFCLSID clsid, IUnknown* factory, DWORD context, DWORD flags,
                                     DWORD* cookie);
/// E_INVALIDARG for a cookie that is not, or no longer, given out.
QX_API HRESULT CoRevokeClassObject(DWORD cookie);

namespace qx {

template <class T>
HRESULT createInstance(REFCLSID clsid, DWORD context, T** out) {
  return CoCreateInstance(clsid, nullptr, context, T::kIid, reinterpret_cast<void**>(out));
}

/// Forgets the factories found through the registry and reads the registry anew. Libraries stay
/// loaded and registered factories stay.
QX_API void resetActivation();

}  // namespace qx

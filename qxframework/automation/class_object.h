#pragma once

// Activation of classes by id. A class id is looked up first among the factories that this process
// has registered, then in the registry under HKEY_CLASSES_ROOT\CLSID\{id}\InprocServer32, whose
// default value names a shared object with the entry DllGetClassObject. A factory that was found in
// a library is kept, so that a further instance costs only a look-up and the factory's own work.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/types.h"

/// Makes the instances of one class.
class IClassFactory : public IUnknown {
 public:
  static constexpr GUID kIid{0x00000001, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  /// Makes an object and stores its interface `iid` in `*object`. Returns CLASS_E_NOAGGREGATION if
  /// `outer` is not null and the class cannot be a part of another object.
  virtual HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
  virtual HRESULT LockServer(int lock) = 0;

 protected:
  ~IClassFactory() = default;
};

inline constexpr DWORD CLSCTX_INPROC_SERVER = 1;
inline constexpr DWORD CLSCTX_LOCAL_SERVER = 4;
inline constexpr DWORD CLSCTX_SERVER = 21;
inline constexpr DWORD CLSCTX_ALL = 23;

/// Counts the calls of this thread. Returns S_OK for the first one and S_FALSE for others. No
/// function of this library requires a call.
QX_API HRESULT CoInitialize(void* reserved);
/// Undoes one CoInitialize of this thread; does nothing if there is none left.
QX_API void CoUninitialize();

/// Makes an object of a class and stores its interface `iid` in `*object`. Returns
/// REGDB_E_CLASSNOTREG if no entry names the class, CO_E_DLLNOTFOUND if the named library does not
/// load (the developer trace reports the reason), else the factory's result. The caller's process
/// runs the class for every `context`.
QX_API HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid,
                                void** object);
/// Reads the class id in HKEY_CLASSES_ROOT\<progId>\CLSID. Returns CO_E_CLASSSTRING and a zero id
/// if the key is missing or its value is not an id in braces.
QX_API HRESULT CLSIDFromProgID(const OLECHAR* progId, CLSID* out);

/// Registers `factory` for the class in this process until it is revoked. It takes precedence over
/// the registry and over factories that were registered earlier. Returns E_NOINTERFACE if the
/// object is not an IClassFactory.
QX_API HRESULT CoRegisterClassObject(REFCLSID clsid, IUnknown* factory, DWORD context, DWORD flags,
                                     DWORD* cookie);
/// Ends a registration. Returns E_INVALIDARG if the cookie is unknown or was revoked before.
QX_API HRESULT CoRevokeClassObject(DWORD cookie);

namespace qx {

/// Makes an object with CoCreateInstance and stores its interface `T` in `*out`.
template <class T>
HRESULT createInstance(REFCLSID clsid, DWORD context, T** out) {
  return CoCreateInstance(clsid, nullptr, context, T::kIid, reinterpret_cast<void**>(out));
}

/// Forgets the factories that were found through the registry and reads the registry again.
/// Libraries stay loaded and registered factories stay registered.
QX_API void resetActivation();

}  // namespace qx

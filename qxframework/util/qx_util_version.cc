// Versions of modules and of the host's libraries.

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/guid.h"
#include "qxframework/automation/text.h"
#include "qxframework/automation/type_info.h"
#include "qxframework/automation/variant.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/host/ids.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/os/version_info.h"
#include "qxframework/util/qx_util.h"

#include <algorithm>
#include <filesystem>

namespace {

// The reported lengths count the terminator.
constexpr UINT kLongestFileVersion = 16;
constexpr UINT kLongestFix = 2;

// Returns "9.20.00.01.7"; nothing if the block has no file version or a longer one.
std::optional<std::u16string> fileVersionText(const std::optional<qx::VersionBlock>& block) {
  if (!block) return std::nullopt;
  const auto version = block->query(u"FileVersion");
  // A longer version would not fit into the tables that store it.
  if (!version || version->length > kLongestFileVersion) return std::nullopt;
  const auto fix = block->query(u"CustomerFix");
  const bool hasFix = fix && fix->length > 1 && fix->length <= kLongestFix;
  return version->text + u"." + (hasFix ? fix->text : u"00");
}

// Readies this thread for components; version functions may be called before anything else.
class ComScope {
 public:
  ComScope() { CoInitialize(nullptr); }
  ~ComScope() { CoUninitialize(); }
  ComScope(const ComScope&) = delete;
  ComScope& operator=(const ComScope&) = delete;
};

// Reads the version of the type library that has the type information. A host may report success
// and still return null, so each object is checked.
HRESULT typeLibraryVersion(ITypeInfo* info, std::u16string& version) {
  if (info == nullptr) return E_POINTER;
  CComPtr<ITypeLib> library;
  UINT index = 0;
  HRESULT hr = info->GetContainingTypeLib(&library, &index);
  if (hr < 0) return hr;
  TLIBATTR* attributes = nullptr;
  if (library == nullptr) return E_POINTER;
  hr = library->GetLibAttr(&attributes);
  if (hr < 0) return hr;
  if (attributes == nullptr) return E_POINTER;
  version = qx::format(u"%d.%d", attributes->wMajorVerNum, attributes->wMinorVerNum);
  library->ReleaseTLibAttr(attributes);
  return hr;
}

struct LibraryTexts {
  const OLECHAR* noInstance;
  const OLECHAR* noTypeInfo;
};

HRESULT libraryVersion(REFCLSID clsid, CComPtr<ITypeInfo>& info) {
  CComPtr<IDispatch> object;
  const HRESULT hr = qx::createInstance(clsid, CLSCTX_ALL, &object.p);
  if (hr < 0) return hr;
  return object->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info);
}

template <class Scope>
void readLibraryVersion(Scope& hr, REFCLSID clsid, const LibraryTexts& texts, CComBSTR& version) {
  CComPtr<IDispatch> object;
  hr = qx::createInstance(clsid, CLSCTX_ALL, &object.p);
  if (hr < 0) {
    hr.LogError(texts.noInstance);
    return;
  }
  CComPtr<ITypeInfo> info;
  hr = object->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info);
  if (hr < 0) {
    hr.LogError(texts.noTypeInfo);
    return;
  }
  std::u16string text;
  hr = typeLibraryVersion(info, text);
  if (hr >= 0) version = CComBSTR(text);
}

// Returns the path without its quotes; an empty text for quotes with nothing in them.
std::u16string_view unquoted(std::u16string_view path) {
  if (!path.starts_with(u'"')) return path;
  return path.size() < 3 ? std::u16string_view() : path.substr(1, path.size() - 2);
}

// A loaded module has the block in memory, and this one is of the code that runs: the file may have
// been replaced since.
std::optional<qx::VersionBlock> versionBlockOf(std::u16string_view path) {
  const HINSTANCE module = qx::moduleAt(path);
  return module == nullptr ? qx::VersionBlock::ofFile(qx::toUtf8(path))
                           : qx::VersionBlock::ofModule(module);
}

}  // namespace

long CQXUtil::GetFileVersion(long appId, OLECHAR* buffer, long size) {
  CReturnValue<long> hr(u"CQXUtil::GetFileVersion", 0, appId, false);
  hr = GetFileVersionForModule(appId, buffer, size, GetModuleHandleW(u"QXFramework.dll"));
  return hr;
}

long CQXUtil::GetFileVersionForModule(long appId, OLECHAR* buffer, long size, HINSTANCE module) {
  CReturnValue<long> hr(u"CQXUtil::GetFileVersionForModule", E_FAIL, appId, false);
  if (buffer == nullptr || size < 1) return hr;
  buffer[0] = 0;
  OLECHAR name[MAX_PATH];
  const DWORD length = GetModuleFileNameW(module, name, MAX_PATH);
  // A path that fills the buffer has been cut.
  if (length == 0 || length >= MAX_PATH) {
    hr.LogError(u"Failed to get module name");
    return hr;
  }
  hr.LogDbg2(u"Checking version info for module %s ", name);
  const auto version = fileVersionText(qx::VersionBlock::ofModule(module));
  if (version && version->size() < static_cast<std::size_t>(size)) {
    buffer[version->copy(buffer, version->size())] = 0;
    hr = S_OK;
    hr.LogDbg2(u"version info for module %s is %s", name, buffer);
  } else {
    hr.LogError(u"Failed to get version info for module %s", name);
  }
  return hr;
}

CString CQXUtil::GetVersionInfoFromResource(const CString& path) {
  const std::u16string_view file = unquoted(path.View());
  if (file.empty()) return CString();
  const auto block = versionBlockOf(file);
  if (!block) return CString();
  struct Entry {
    const OLECHAR* key;
    const OLECHAR* tag;
  };
  constexpr Entry kEntries[] = {
      {u"CustomerFix", u";CustomerFix="},
      {u"Support Package", u";Support Package="},
      {u"Patch Level", u";Patch Level="},
      {u"InternalName", u";InternalName="},
      {u"ProductVersion", u";ProductVersion="},
      {u"Internal Build Number", u";Internal Build Number="},
      {u"EF", u";EF="},
      {u"PrivateBuild", u";PrivateBuild="},
      {u"SpecialBuild", u";SpecialBuild="},
  };
  CString line;
  if (const auto version = block->query(u"FileVersion"); version && !version->text.empty()) {
    line.Format(u"Version='%s'", version->text);
  }
  for (const Entry& entry : kEntries) {
    const auto value = block->query(entry.key);
    if (!value || value->length == 0) continue;
    line += entry.tag;
    line += value->text;
  }
  return line;
}

long CQXUtil::GetHVXVersion(long appId, CComBSTR& version) {
  CReturnValue<long> hr(u"CQXUtil::GetHVXVersion", 0, appId, false);
  const ComScope com;
  readLibraryVersion(hr, CLSID_HalvexGuiApi,
                     {u"Failed to create instance of UI API", u"Failed to get type info of UI API"},
                     version);
  return hr;
}

long CQXUtil::GetRXAPIVersion(long appId, CComBSTR& version) {
  CReturnValue<long> hr(u"CQXUtil::GetRXAPIVersion", 0, appId, false);
  version.Empty();  // unlike the version of the UI library, which keeps its former value
  const ComScope com;
  CLSID clsid{};
  hr = CLSIDFromProgID(kCompanyProgId, &clsid);
  if (hr < 0) {
    hr.LogError(u"Failed to create instance of RX API");
    return hr;
  }
  readLibraryVersion(hr, clsid,
                     {u"Failed to create instance of RX API", u"Failed to get type info of RX API"},
                     version);
  return hr;
}

CString CQXUtil::GetCOMObjectVersion(GUID clsid) {
  const ComScope com;
  CComPtr<ITypeInfo> info;
  std::u16string version;
  if (libraryVersion(clsid, info) < 0 || typeLibraryVersion(info, version) < 0) return CString();
  return CString(version);
}

CString CQXUtil::GetCOMObjectPath(GUID clsid) {
  const std::u16string key = qx::format(u"CLSID\\%s\\", qx::guidText(clsid));
  CString path;
  // A class may have both; a library in the process is preferred.
  if (getRegistryValue(HKEY_CLASSES_ROOT, key.c_str(), u"", path, u"InprocServer32")) return path;
  if (getRegistryValue(HKEY_CLASSES_ROOT, key.c_str(), u"", path, u"LocalServer32")) return path;
  return CString();
}

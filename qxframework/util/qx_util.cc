#include "qxframework/util/qx_util.h"

#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/foundation/languages.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/host/controls.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/os/message_loop.h"
#include "qxframework/resources/xml_text.h"
#include "qxframework/util/program_name.h"
#include "qxframework/xml/dom.h"

#include <algorithm>

const OLECHAR* CQXUtil::ISOLangIDFromHVXLanguage(HvLanguages language) {
  return qx::isoLanguageCode(language);
}

unsigned short CQXUtil::LangIDFromHVXLanguage(HvLanguages language) {
  return qx::windowsLanguageId(language);
}

CComBSTR CQXUtil::GetMenuUID(CQXBSTR prefix, long id) {
  return CComBSTR(qx::format(u"%s%d", prefix.View(), id));
}

std::u16string_view qx::programName(std::u16string_view path) {
  const std::u16string_view name = path.substr(path.find_last_of(u"\\/") + 1);
  return name.substr(0, name.rfind(u'.'));
}

CComBSTR CQXUtil::GetFileName() { return CComBSTR(qx::programName(qx::modulePath(nullptr))); }

CComBSTR CQXUtil::GetWindowModuleName(HWND window) {
  if (window == nullptr) return CComBSTR();
  const auto path = qx::processExecutable(qx::windowProcessId(window));
  return path ? CComBSTR(qx::toUtf16(path->native())) : CComBSTR();
}

void CQXUtil::ConvertStrToSqlFormat(CComBSTR& text) {
  CString doubled(text);
  doubled.Replace(u"'", u"''");
  text = CComBSTR(doubled.View());
}

CComBSTR CQXUtil::ReplaceXMLEntityChars(CComBSTR text) {
  return CComBSTR(qx::escapeXml(text.View()));
}

// At depth 2 nothing is removed, and the depth is raised by every sibling that is no comment, not
// by every level. So in a call that begins at 0 the third such sibling keeps its comments. This is
// the contract.
long CQXUtil::RemoveXMLCommentNodes(long appId, CComPtr<IXMLDOMNode> node, long depth) {
  CReturnValue<long> hr(u"CQXUtil::RemoveXMLCommentNodes", 0, appId, false);
  if (depth == 2) return hr;
  CComPtr<IXMLDOMNodeList> children;
  const auto readChildren = [&] {
    children.Release();
    hr = node->raw_childNodes(&children);
    if (hr < 0) hr.LogError(u"Failed to get child nodes.\n");
    return hr >= 0 && children != nullptr;
  };
  if (!readChildren()) return hr;
  for (long i = 0; i < children->length();) {
    const CComPtr<IXMLDOMNode> child = children->item(i);
    if (child->nodeType() != NODE_COMMENT) {
      RemoveXMLCommentNodes(appId, child, depth++);
      ++i;
      continue;
    }
    CComPtr<IXMLDOMNode> removed;
    hr = node->raw_removeChild(child, &removed);
    if (hr < 0) {
      hr.LogError(u"Failed to remove comment node.\n");
      return hr;
    }
    // The removal changes the children, so they are read again; `i` is now the next one's position.
    if (!readChildren()) return hr;
  }
  hr = S_OK;
  return hr;
}

void CQXUtil::ValidValuesRemoveAll(CComPtr<IValidValues> validValues) {
  CReturnValue<void> log(u"CQXUtil::ValidValuesRemoveAll", -1, false);
  constexpr long kByIndex = 2;  // the host's number
  // As many times as there were values: a value that cannot be removed does not cause a loop.
  for (long left = validValues->Count(); left > 0; --left) {
    try {
      validValues->Remove(CComVariant(0L), kByIndex);
    } catch (const _com_error& error) {
      log.LogError(u"Exception: %d - %s\n", error.Error(), error.ErrorMessage());
    }
  }
}

bool CQXUtil::getRegistryValue(HKEY root, const OLECHAR* key, const OLECHAR* valueName,
                               CString& out, const OLECHAR* keyTail) {
  // The buffer of 4096 bytes is part of the contract: a longer text is no result.
  constexpr std::size_t kLongest = 4096 / sizeof(OLECHAR) - 1;
  const std::u16string path = std::u16string(qx::viewOf(key)) + std::u16string(qx::viewOf(keyTail));
  const auto value = qx::Registry::current().readString(root, path, qx::viewOf(valueName));
  if (!value || value->size() > kLongest) return false;
  out = CString(*value);
  return true;
}

bool CQXUtil::getRegistryLongValue(HKEY root, const OLECHAR* key, const OLECHAR* valueName,
                                   long& out, const OLECHAR* keyTail) {
  const std::u16string path = std::u16string(qx::viewOf(key)) + std::u16string(qx::viewOf(keyTail));
  const auto value = qx::Registry::current().readDword(root, path, qx::viewOf(valueName));
  if (!value) return false;
  out = qx::resultCode(*value);
  return true;
}

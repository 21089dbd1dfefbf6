#pragma once

// The declaration of a form class. It comes first in the class and has the form's type, the number
// of its XML resource, its extension, and the rows of its symbol table. A row is a symbol, a number
// and a fallback text:
//
//   class OrderForm : public CQXAddOnForm {
//     DECLARE_XML_FORM_EX(u"ORDER", 1200, u"SALES",
//                         {u"ORD_TITLE", 1201, u"Order"},
//                         {u"ORD_ET_DATE", 1202, u""})
//    public:
//     ...
//   };
//
// It defines the four declaring operations of the class and the number of its open forms. These are
// macros because a class template cannot add the counter and the overrides to a class that must
// derive from a form directly.

#include "qxframework/resources/xml_map.h"

#include <initializer_list>

/// Declares a form of an extension.
#define DECLARE_XML_FORM_EX(type, resource, extension, ...)          \
 public:                                                             \
  void InitXMLMap() override {                                       \
    const std::initializer_list<XMLMAP> rows{__VA_ARGS__};           \
    m_vecXMLMap.insert(m_vecXMLMap.end(), rows.begin(), rows.end()); \
    m_vecXMLMap.emplace_back();                                      \
  }                                                                  \
  void InitFormType() override {                                     \
    m_bstrFormType = type;                                           \
    m_lResourceId = resource;                                        \
    m_strExtId = extension;                                          \
  }                                                                  \
  long IncrementInstance() override { return ++s_lInstances; }       \
  long DecrementInstance() override { return --s_lInstances; }       \
                                                                     \
 private:                                                            \
  static inline long s_lInstances = 0;

/// Declares a form without an extension. CQXAddOn::GetSelectedForm finds it only by an empty
/// extension id.
#define DECLARE_XML_FORM(type, resource, ...) DECLARE_XML_FORM_EX(type, resource, u"", __VA_ARGS__)

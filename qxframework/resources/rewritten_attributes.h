#pragma once

// The attributes in which the resource loader replaces symbols.

#include <string_view>

namespace qx {

/// The most characters of a symbol that becomes a UID; the client refuses longer UIDs.
inline constexpr int kUidLength = 10;

/// An attribute whose symbols are replaced.
struct RewrittenAttribute {
  std::u16string_view opener;  ///< the name with what precedes the value
  bool identifier;             ///< the symbol becomes a number; otherwise it becomes a text
};

/// In the order of the passes, each of which reads the result of the one before. An opener is found
/// as a plain text, so it also matches an attribute whose name ends in it, such as myuid.
inline constexpr RewrittenAttribute kRewrittenAttributes[] = {
    {u"uid=\"", true},          {u"alias=\"", true},          {u"linkto=\"", true},
    {u"UniqueID=\"", true},     {u"FatherUID=\"", true},      {u"caption=\"", false},
    {u"description=\"", false}, {u"title=\"", false},         {u"value=\"", false},
    {u"String=\"", false},      {u"default_button=\"", true},
};

}  // namespace qx

#pragma once

// The menu bar of the host and a few of its own forms, so that an add-on finds something to attach
// to.

#include "qxdesk/screens/model/form_model.h"
#include "qxdesk/screens/model/menu_model.h"
#include "qxframework/host/enums.h"

#include <memory>
#include <string>
#include <string_view>

namespace qx::screens {

/// The popup under which add-ons put their entries.
inline constexpr char16_t kAddOnsMenu[] = u"43523";

/// Entries of the host that act on the selected form, or end the host.
inline constexpr char16_t kQuitMenu[] = u"101";
inline constexpr char16_t kFindMenu[] = u"1281";
inline constexpr char16_t kAddMenu[] = u"1282";
inline constexpr char16_t kDeleteMenu[] = u"1283";
inline constexpr char16_t kNextMenu[] = u"1288";
inline constexpr char16_t kPreviousMenu[] = u"1289";
inline constexpr char16_t kFirstMenu[] = u"1290";
inline constexpr char16_t kLastMenu[] = u"1291";

/// Fills an empty menu bar with the host's own entries.
void addSystemMenus(MenuModel& menus, HvLanguages language);
/// Gives these entries their texts in another language.
void translateSystemMenus(MenuModel& menus, HvLanguages language);
/// Returns the type of the form that an entry opens, or an empty text.
std::u16string_view systemFormOfMenu(std::u16string_view menuUid);

/// Returns a new form of the host, visible and not opened yet: "169" the main menu, "3101" a sales
/// order, "1001" a customer. Returns null for any other type.
std::shared_ptr<FormModel> makeSystemForm(std::u16string_view typeEx, std::u16string uid,
                                          HvLanguages language);

}  // namespace qx::screens

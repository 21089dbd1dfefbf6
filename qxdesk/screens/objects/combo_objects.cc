#include "qxdesk/screens/objects/combo_objects.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/objects/host_object.h"

#include <utility>

namespace qx::screens {
namespace {

// An entry as it was when it was asked for: entries have no identity that could be followed.
class ValidValueObject final : public HostObject<IValidValue> {
 public:
  ValidValueObject(std::shared_ptr<Client> client, ValidValue value)
      : HostObject(std::move(client)), value_(std::move(value)) {}

  HRESULT raw_GetValue(BSTR* out) override {
    return giveString(out, [&] { return value_.value; });
  }
  HRESULT raw_GetDescription(BSTR* out) override {
    return giveString(out, [&] { return value_.description; });
  }

 private:
  ValidValue value_;
};

// Returns the position that `value` names by key or by index. Throws kInvalidFieldValue if there
// is none.
std::size_t positionOf(const ComboModel& combo, const VARIANT& value, long mode) {
  if (mode == kByIndex) {
    const EntryName name = entryNameOf(value);
    const auto count = static_cast<long>(combo.values().size());
    if (!name.byIndex || name.index < 0 || name.index >= count) raiseError(kInvalidFieldValue);
    return static_cast<std::size_t>(name.index);
  }
  if (mode != kByKey) raiseError(E_INVALIDARG);
  // A key may come as a number. The locale is fixed, so that its text is the same everywhere.
  CComVariant key;
  raiseIfFailed(VariantChangeTypeEx(&key, &value, 1033, 0, VT_BSTR));
  const auto position = combo.find(viewOfBstr(key.bstrVal));
  if (!position) raiseError(kInvalidFieldValue);
  return *position;
}

class ValidValuesObject final : public LinkedObject<IValidValues, ItemLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_Count(long* out) override {
    return give(out, [&] { return item()->combo->values().size(); });
  }
  HRESULT raw_Item(const VARIANT& index, IValidValue** out) override {
    return giveNew(out, [&] {
      const auto box = item();
      const ComboModel& combo = *box->combo;
      const long mode = index.vt == VT_BSTR ? kByKey : kByIndex;
      return makeObject<ValidValueObject>(clientPtr(),
                                          combo.values()[positionOf(combo, index, mode)]);
    });
  }
  HRESULT raw_Add(BSTR value, BSTR description) override {
    return run([&] { item()->combo->add(textOf(value), textOf(description)); });
  }
  HRESULT raw_Remove(const VARIANT& value, long mode) override {
    return run([&] {
      const auto box = item();
      box->combo->remove(positionOf(*box->combo, value, mode));
    });
  }
};

class ComboBoxObject final : public LinkedObject<IComboBox, ItemLink> {
 public:
  using LinkedObject::LinkedObject;

  // Returns null if nothing is selected.
  HRESULT raw_GetSelected(IValidValue** out) override {
    return giveNew(out, [&]() -> CComPtr<IValidValue> {
      const auto box = item();
      const auto selected = box->combo->selected();
      if (!selected) return nullptr;
      return makeObject<ValidValueObject>(clientPtr(), box->combo->values()[*selected]);
    });
  }
  HRESULT raw_GetValidValues(IValidValues** out) override {
    return giveNew(out, [&] {
      item();  // throws if the box is gone
      return makeObject<ValidValuesObject>(clientPtr(), link());
    });
  }
  HRESULT raw_Select(const VARIANT& value, long mode) override {
    return run([&] {
      const auto box = item();
      box->combo->select(positionOf(*box->combo, value, mode));
    });
  }
};

}  // namespace

CComPtr<IComboBox> makeComboBox(std::shared_ptr<Client> client, const ItemLink& link) {
  return makeObject<ComboBoxObject>(std::move(client), link);
}

}  // namespace qx::screens

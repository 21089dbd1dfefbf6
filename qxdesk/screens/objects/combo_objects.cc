#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/objects/control_objects.h"
#include "qxdesk/screens/objects/host_object.h"
#include "qxdesk/screens/objects/links.h"
#include "qxframework/host/controls.h"

#include <utility>

namespace qx::screens {
namespace {

/// An entry as it was when it was asked for.
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

/// The position that `value` names by key or by index; raises kInvalidFieldValue when there is
/// none.
std::size_t positionOf(const ComboModel& combo, const VARIANT& value, long mode) {
  if (mode == kByIndex) {
    const EntryName name = entryNameOf(value);
    const auto count = static_cast<long>(combo.values().size());
    if (!name.byIndex || name.index < 0 || name.index >= count) raiseError(kInvalidFieldValue);
    return static_cast<std::size_t>(name.index);
  }
  if (mode != kByKey) raiseError(E_INVALIDARG);
  CComVariant key;
  raiseIfFailed(VariantChangeTypeEx(&key, &value, 1033, 0, VT_BSTR));
  const auto position = combo.find(viewOfBstr(key.bstrVal));
  if (!position) raiseError(kInvalidFieldValue);
  return *position;
}

class ValidValuesObject final : public HostObject<IValidValues> {
 public:
  ValidValuesObject(std::shared_ptr<Client> client, const std::shared_ptr<FormModel>& form,
                    const std::shared_ptr<ItemModel>& item)
      : HostObject(std::move(client)), link_(form, item) {}

  HRESULT raw_Count(long* out) override {
    return give(out, [&] { return link_.item()->combo->values().size(); });
  }
  HRESULT raw_Item(const VARIANT& index, IValidValue** out) override {
    return giveNew(out, [&] {
      const auto item = link_.item();
      const ComboModel& combo = *item->combo;
      const long mode = index.vt == VT_BSTR ? kByKey : kByIndex;
      return CComPtr<IValidValue>(
          makeObject<ValidValueObject>(clientPtr(), combo.values()[positionOf(combo, index, mode)])
              .p);
    });
  }
  HRESULT raw_Add(BSTR value, BSTR description) override {
    return run([&] {
      link_.item()->combo->add(std::u16string(viewOfBstr(value)),
                               std::u16string(viewOfBstr(description)));
    });
  }
  HRESULT raw_Remove(const VARIANT& value, long mode) override {
    return run([&] {
      const auto item = link_.item();
      item->combo->remove(positionOf(*item->combo, value, mode));
    });
  }

 private:
  ItemLink link_;
};

class ComboBoxObject final : public HostObject<IComboBox> {
 public:
  ComboBoxObject(std::shared_ptr<Client> client, const std::shared_ptr<FormModel>& form,
                 const std::shared_ptr<ItemModel>& item)
      : HostObject(std::move(client)), link_(form, item) {}

  HRESULT raw_GetSelected(IValidValue** out) override {
    return giveNew(out, [&]() -> CComPtr<IValidValue> {
      const auto item = link_.item();
      const auto selected = item->combo->selected();
      if (!selected) return nullptr;
      return CComPtr<IValidValue>(
          makeObject<ValidValueObject>(clientPtr(), item->combo->values()[*selected]).p);
    });
  }
  HRESULT raw_GetValidValues(IValidValues** out) override {
    return giveNew(out, [&] {
      const auto item = link_.item();
      return CComPtr<IValidValues>(
          makeObject<ValidValuesObject>(clientPtr(), link_.form(), item).p);
    });
  }
  HRESULT raw_Select(const VARIANT& value, long mode) override {
    return run([&] {
      const auto item = link_.item();
      item->combo->select(positionOf(*item->combo, value, mode));
    });
  }

 private:
  ItemLink link_;
};

}  // namespace

CComPtr<IDispatch> makeComboBox(std::shared_ptr<Client> client,
                                const std::shared_ptr<FormModel>& form,
                                const std::shared_ptr<ItemModel>& item) {
  return CComPtr<IDispatch>(makeObject<ComboBoxObject>(std::move(client), form, item).p);
}

}  // namespace qx::screens

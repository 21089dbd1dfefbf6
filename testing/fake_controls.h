#pragma once

// The items of a form and their controls. Clicks are recorded in the host's list of calls.

#include "testing/host_calls.h"
#include "testing/host_stubs.h"

#include <map>
#include <string>

namespace qx::test {

/// An item that records its clicks as "NAME.Click(mode)".
class FakeItem final : public StubItem {
 public:
  FakeItem(HostCalls& calls, std::string name, long type, CComPtr<IDispatch> control)
      : calls_(calls), name_(std::move(name)), type_(type), control_(std::move(control)) {}
  HRESULT raw_GetType(long* out) override { return *out = type_, S_OK; }
  HRESULT raw_GetSpecific(IDispatch** out) override { return giveObject(control_.p, out); }
  HRESULT raw_Click(long mode) override {
    return calls_.record(name_ + ".Click", std::to_string(mode));
  }

 private:
  HostCalls& calls_;
  std::string name_;
  long type_;
  CComPtr<IDispatch> control_;
};

class FakeItems final : public StubItems {
 public:
  explicit FakeItems(HostCalls& calls) : calls_(calls) {}
  void add(std::u16string uid, long type, CComPtr<IDispatch> control = nullptr) {
    const std::string name = "item " + toUtf8(uid);
    items_[uid] = makeObject<FakeItem>(calls_, name, type, std::move(control));
  }
  HRESULT raw_Item(const VARIANT& uid, IItem** out) override {
    const auto item =
        items_.find(uid.vt == VT_BSTR ? std::u16string(viewOfBstr(uid.bstrVal)) : u"");
    if (item == items_.end()) return resultCode(-7001);
    return giveObject<IItem>(item->second.p, out);
  }

 private:
  HostCalls& calls_;
  std::map<std::u16string, CComPtr<FakeItem>> items_;
};

class FakeValidValue final : public StubValidValue {
 public:
  HRESULT raw_GetValue(BSTR* out) override { return giveText(u"KEY", out); }
  HRESULT raw_GetDescription(BSTR* out) override { return giveText(u"Shown", out); }
};

/// Without a selected value, its raw_GetSelected returns `refusal` and no object.
class FakeComboBox final : public StubComboBox {
 public:
  explicit FakeComboBox(bool selected, HRESULT refusal = S_OK)
      : selected_(selected), refusal_(refusal) {}
  HRESULT raw_GetSelected(IValidValue** out) override {
    if (refusal_ < 0 || !selected_) return refusal_;
    return giveObject<IValidValue>(makeObject<FakeValidValue>().p, out);
  }

 private:
  bool selected_;
  HRESULT refusal_;
};

/// A matrix with one column, whose cells record their clicks.
class FakeMatrix final : public StubMatrix {
 public:
  FakeMatrix(HostCalls& calls, std::u16string column, long type)
      : calls_(calls), column_(std::move(column)), type_(type) {}
  HRESULT raw_GetColumns(IColumns** out) override {
    return giveObject<IColumns>(makeObject<Columns>(calls_, column_, type_).p, out);
  }

 private:
  class Cell final : public StubCell {
   public:
    Cell(HostCalls& calls, long row) : calls_(calls), row_(row) {}
    HRESULT raw_Click(long mode, long modifiers) override {
      return calls_.record("cell " + std::to_string(row_) + ".Click",
                           std::to_string(mode) + ", " + std::to_string(modifiers));
    }

   private:
    HostCalls& calls_;
    long row_;
  };

  class Cells final : public StubCells {
   public:
    explicit Cells(HostCalls& calls) : calls_(calls) {}
    HRESULT raw_Item(const VARIANT& row, ICell** out) override {
      return giveObject<ICell>(makeObject<Cell>(calls_, row.lVal).p, out);
    }

   private:
    HostCalls& calls_;
  };

  class Column final : public StubColumn {
   public:
    Column(HostCalls& calls, long type) : calls_(calls), type_(type) {}
    HRESULT raw_GetType(long* out) override { return *out = type_, S_OK; }
    HRESULT raw_GetCells(ICells** out) override {
      return giveObject<ICells>(makeObject<Cells>(calls_).p, out);
    }

   private:
    HostCalls& calls_;
    long type_;
  };

  class Columns final : public StubColumns {
   public:
    Columns(HostCalls& calls, std::u16string uid, long type)
        : calls_(calls), uid_(std::move(uid)), type_(type) {}
    HRESULT raw_Item(const VARIANT& index, IColumn** out) override {
      if (index.vt != VT_BSTR || viewOfBstr(index.bstrVal) != uid_) return resultCode(-7015);
      return giveObject<IColumn>(makeObject<Column>(calls_, type_).p, out);
    }

   private:
    HostCalls& calls_;
    std::u16string uid_;
    long type_;
  };

  HostCalls& calls_;
  std::u16string column_;
  long type_;
};

}  // namespace qx::test

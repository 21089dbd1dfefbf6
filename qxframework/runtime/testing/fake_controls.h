#pragma once

// Items of a form and their controls, for tests. Clicks go to the host's list of calls.

#include "qxframework/runtime/testing/fake_host.h"

#include <map>
#include <optional>
#include <string>

namespace qx::test {

class FakeItem final : public StubItem {
 public:
  FakeItem(FakeHost& host, std::string name, long type, CComPtr<IDispatch> control)
      : host_(host), name_(std::move(name)), type_(type), control_(std::move(control)) {}
  HRESULT raw_GetType(long* out) override { return *out = type_, S_OK; }
  HRESULT raw_GetSpecific(IDispatch** out) override { return giveObject(control_.p, out); }
  HRESULT raw_Click(long mode) override {
    return host_.record(name_ + ".Click", std::to_string(mode));
  }

 private:
  FakeHost& host_;
  std::string name_;
  long type_;
  CComPtr<IDispatch> control_;
};

class FakeItems final : public StubItems {
 public:
  explicit FakeItems(FakeHost& host) : host_(host) {}
  void add(std::u16string uid, long type, CComPtr<IDispatch> control = nullptr) {
    const std::string name = "item " + toUtf8(uid);
    items_[uid] = makeObject<FakeItem>(host_, name, type, std::move(control));
  }
  HRESULT raw_Item(const VARIANT& uid, IItem** out) override {
    const auto item =
        items_.find(uid.vt == VT_BSTR ? std::u16string(viewOfBstr(uid.bstrVal)) : u"");
    if (item == items_.end()) return resultCode(-7001);
    return giveObject<IItem>(item->second.p, out);
  }

 private:
  FakeHost& host_;
  std::map<std::u16string, CComPtr<FakeItem>> items_;
};

class FakeValidValue final : public StubValidValue {
 public:
  HRESULT raw_GetValue(BSTR* out) override { return giveText(u"KEY", out); }
  HRESULT raw_GetDescription(BSTR* out) override { return giveText(u"Shown", out); }
};

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
  FakeMatrix(FakeHost& host, std::u16string column, long type)
      : host_(host), column_(std::move(column)), type_(type) {}
  HRESULT raw_GetColumns(IColumns** out) override {
    return giveObject<IColumns>(makeObject<Columns>(host_, column_, type_).p, out);
  }

 private:
  class Cell final : public StubCell {
   public:
    Cell(FakeHost& host, long row) : host_(host), row_(row) {}
    HRESULT raw_Click(long mode, long modifiers) override {
      return host_.record("cell " + std::to_string(row_) + ".Click",
                          std::to_string(mode) + ", " + std::to_string(modifiers));
    }

   private:
    FakeHost& host_;
    long row_;
  };

  class Cells final : public StubCells {
   public:
    explicit Cells(FakeHost& host) : host_(host) {}
    HRESULT raw_Item(const VARIANT& row, ICell** out) override {
      return giveObject<ICell>(makeObject<Cell>(host_, row.lVal).p, out);
    }

   private:
    FakeHost& host_;
  };

  class Column final : public StubColumn {
   public:
    Column(FakeHost& host, long type) : host_(host), type_(type) {}
    HRESULT raw_GetType(long* out) override { return *out = type_, S_OK; }
    HRESULT raw_GetCells(ICells** out) override {
      return giveObject<ICells>(makeObject<Cells>(host_).p, out);
    }

   private:
    FakeHost& host_;
    long type_;
  };

  class Columns final : public StubColumns {
   public:
    Columns(FakeHost& host, std::u16string uid, long type)
        : host_(host), uid_(std::move(uid)), type_(type) {}
    HRESULT raw_Item(const VARIANT& index, IColumn** out) override {
      if (index.vt != VT_BSTR || viewOfBstr(index.bstrVal) != uid_) return resultCode(-7015);
      return giveObject<IColumn>(makeObject<Column>(host_, type_).p, out);
    }

   private:
    FakeHost& host_;
    std::u16string uid_;
    long type_;
  };

  FakeHost& host_;
  std::u16string column_;
  long type_;
};

}  // namespace qx::test

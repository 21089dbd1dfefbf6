#include "qxdesk/company/company_service.h"

#include "qxdesk/company/decimal_text.h"
#include "qxdesk/company/display_format.h"
#include "qxframework/automation/text.h"

namespace qx::desk {

namespace {

/// The values of a data object that was made here. RoundDecimal asks for this interface and so
/// refuses objects from elsewhere.
class IDecimalValues : public IUnknown {
 public:
  static constexpr GUID kIid = hostId(0x0303);
  virtual double value() const = 0;
  virtual long context() const = 0;
  virtual std::u16string currency() const = 0;

 protected:
  ~IDecimalValues() = default;
};

class DecimalData final : public HostObjectBase<IDecimalData, IDecimalValues> {
 public:
  HRESULT raw_PutValue(double value) override {
    return run([&] { value_ = value; });
  }
  HRESULT raw_PutContext(RoundingContextEnum context) override {
    return run([&] { context_ = context; });
  }
  HRESULT raw_PutCurrency(BSTR currency) override {
    return run([&] { currency_ = viewOfBstr(currency); });
  }

  double value() const override { return value_; }
  long context() const override { return context_; }
  std::u16string currency() const override { return currency_; }

 private:
  double value_ = 0;
  long context_ = rc_Default;
  std::u16string currency_;
};

class RoundedData final : public HostObjectBase<IRoundedData> {
 public:
  explicit RoundedData(double value) : value_(value) {}
  HRESULT raw_GetValue(double* out) override {
    return give(out, [&] { return value_; });
  }

 private:
  double value_;
};

double rounded(const IDecimalValues& data, const CompanySettings& settings) {
  const int places = roundingPlaces(data.context(), data.currency(), settings);
  const std::optional<DecimalText> decimal = roundedDecimal(data.value(), places);
  if (!decimal) throw CompanyError(kInvalidValue, Text::NotAnAmount);
  return doubleOf(*decimal);
}

}  // namespace

HRESULT CompanyService::raw_GetDataInterface(long type, IDispatch** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  return companyCall(*session_, [&] {
    if (type != kDecimalData) {
      throw CompanyError(kNotFound, Text::UnknownDataInterface, std::to_string(type));
    }
    *out = static_cast<IDecimalData*>(makeObject<DecimalData>().Detach());
  });
}

HRESULT CompanyService::raw_RoundDecimal(IDecimalData* data, IRoundedData** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  const CComQIPtr<IDecimalValues> values(data);  // null for a null argument, too
  if (values.p == nullptr) return E_INVALIDARG;
  return companyCall(*session_, [&] {
    *out = makeObject<RoundedData>(rounded(*values, session_->settings())).Detach();
  });
}

}  // namespace qx::desk

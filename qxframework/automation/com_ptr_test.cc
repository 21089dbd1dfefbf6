#include "qxframework/automation/com_ptr.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/host_call.h"
#include "testing/raised_by.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

class INamed : public IUnknown {
 public:
  static constexpr GUID kIid{0xA0000001, 0, 0, {}};
  virtual HRESULT GetName(BSTR* out) = 0;

 protected:
  ~INamed() = default;
};

class ISized : public IDispatch {
 public:
  static constexpr GUID kIid{0xA0000002, 0, 0, {}};
  virtual HRESULT GetSize(long* out) = 0;

 protected:
  ~ISized() = default;
};

class IMissing : public IUnknown {
 public:
  static constexpr GUID kIid{0xA0000003, 0, 0, {}};

 protected:
  ~IMissing() = default;
};

/// Counts the living objects of its class.
class Thing final : public qx::ComObject<INamed, qx::NoDispatch<ISized>> {
 public:
  explicit Thing(int& alive) : alive_(alive) { ++alive_; }
  ~Thing() override { --alive_; }
  HRESULT GetName(BSTR* out) override { return qx::giveText(u"thing", out); }
  HRESULT GetSize(long*) override { return E_ACCESSDENIED; }

  ULONG references() {
    AddRef();
    return Release();
  }

 private:
  int& alive_;
};

TEST(ComPtr, DeletesTheObjectWithTheLastReference) {
  int alive = 0;
  {
    const CComPtr<Thing> first = qx::makeObject<Thing>(alive);
    EXPECT_EQ(first.p->references(), 1U);
    {
      const CComPtr<Thing> second(first);
      EXPECT_EQ(first.p->references(), 2U);
    }
    EXPECT_EQ(first.p->references(), 1U);
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(alive, 0);
}

TEST(ComPtr, MovingPassesTheReference) {
  int alive = 0;
  CComPtr<Thing> first = qx::makeObject<Thing>(alive);
  const CComPtr<Thing> second(std::move(first));
  EXPECT_EQ(second.p->references(), 1U);
  EXPECT_TRUE(!first);
}

TEST(ComPtr, AssignmentReleasesTheHeldObject) {
  int old = 0;
  int alive = 0;
  CComPtr<Thing> held = qx::makeObject<Thing>(old);
  held = qx::makeObject<Thing>(alive);
  EXPECT_EQ(old, 0);
  EXPECT_EQ(alive, 1);
  const CComPtr<Thing>& itself = held;
  held = itself;
  EXPECT_EQ(held.p->references(), 1U);
  held = nullptr;
  EXPECT_EQ(alive, 0);
}

TEST(ComPtr, AttachAndDetachMoveAReferenceWithoutCounting) {
  int alive = 0;
  CComPtr<Thing> first = qx::makeObject<Thing>(alive);
  Thing* raw = first.Detach();
  EXPECT_EQ(raw->references(), 1U);
  {
    CComPtr<Thing> second;
    second.Attach(raw);
    EXPECT_EQ(raw->references(), 1U);
  }
  EXPECT_EQ(alive, 0);
}

TEST(ComPtr, TheAddressForAnOutParameterReleasesTheHeldObject) {
  int alive = 0;
  CComPtr<Thing> held = qx::makeObject<Thing>(alive);
  Thing** out = &held;
  EXPECT_EQ(alive, 0);
  EXPECT_EQ(*out, nullptr);
}

TEST(ComPtr, CopyToAddsAReference) {
  int alive = 0;
  const CComPtr<Thing> held = qx::makeObject<Thing>(alive);
  CComPtr<Thing> other;
  EXPECT_EQ(held.CopyTo(&other), S_OK);
  EXPECT_EQ(held.p->references(), 2U);
  EXPECT_EQ(held.CopyTo(nullptr), E_POINTER);
}

TEST(ComPtr, ACallThroughNullThrowsAPointerError) {
  const CComPtr<INamed> none;
  CComBSTR name;
  EXPECT_EQ(qx::test::raisedBy([&] { none->GetName(&name); }), E_POINTER);
}

TEST(ComPtr, AsksForAnotherInterface) {
  int alive = 0;
  const CComPtr<Thing> thing = qx::makeObject<Thing>(alive);
  CComPtr<ISized> sized;
  EXPECT_EQ(thing.QueryInterface(&sized), S_OK);
  EXPECT_EQ(thing.p->references(), 2U);
  CComPtr<IMissing> missing;
  EXPECT_EQ(thing.QueryInterface(&missing), E_NOINTERFACE);
  EXPECT_TRUE(!missing);
  EXPECT_EQ(CComPtr<INamed>().QueryInterface(&sized), E_POINTER);
}

TEST(ComQIPtr, CastsOnConstructionAndAssignment) {
  int alive = 0;
  const CComPtr<INamed> named(qx::makeObject<Thing>(alive).p);
  CComQIPtr<ISized> sized(named);
  EXPECT_FALSE(!sized);
  sized = nullptr;
  sized = static_cast<IUnknown*>(named.p);
  EXPECT_FALSE(!sized);
  sized = nullptr;
  sized = named;
  EXPECT_FALSE(!sized);
  sized = CComPtr<INamed>();
  EXPECT_TRUE(!sized);
}

TEST(ComQIPtr, IsNullForAnObjectWithoutTheInterfaceAndForNull) {
  int alive = 0;
  const CComPtr<INamed> named(qx::makeObject<Thing>(alive).p);
  EXPECT_TRUE(!CComQIPtr<IMissing>(named));
  EXPECT_TRUE(!CComQIPtr<IMissing>(static_cast<IUnknown*>(nullptr)));
  EXPECT_EQ(named.p->AddRef(), 2U);
  named.p->Release();
}

TEST(ComQIPtr, AFailedCastReleasesTheHeldObject) {
  int alive = 0;
  int other = 0;
  CComQIPtr<ISized> sized(CComPtr<Thing>(qx::makeObject<Thing>(alive)));
  EXPECT_EQ(alive, 1);
  const CComPtr<IClassFactory> noSize =
      qx::makeFactory([&other] { return qx::makeObject<Thing>(other); });
  sized = static_cast<IUnknown*>(noSize.p);
  EXPECT_TRUE(!sized);
  EXPECT_EQ(alive, 0);
}

TEST(ComObject, HasItsInterfacesTheirBasesAndOneIdentity) {
  int alive = 0;
  const CComPtr<Thing> thing = qx::makeObject<Thing>(alive);
  INamed* named = thing.p;
  CComPtr<IUnknown> unknown;
  CComPtr<IDispatch> dispatch;
  CComPtr<IUnknown> again;
  EXPECT_EQ(named->QueryInterface(IUnknown::kIid, reinterpret_cast<void**>(&unknown)), S_OK);
  EXPECT_EQ(named->QueryInterface(IDispatch::kIid, reinterpret_cast<void**>(&dispatch)), S_OK);
  EXPECT_EQ(dispatch.p->QueryInterface(IUnknown::kIid, reinterpret_cast<void**>(&again)), S_OK);
  EXPECT_EQ(unknown.p, again.p) << "an object has one identity";
  EXPECT_EQ(named->QueryInterface(IUnknown::kIid, nullptr), E_POINTER);
}

TEST(Guarded, TurnsExceptionsIntoResultCodes) {
  EXPECT_EQ(qx::guarded([] { return S_FALSE; }), S_FALSE);
  EXPECT_EQ(qx::guarded([] {}), S_OK);
  EXPECT_EQ(qx::guarded([]() -> HRESULT { qx::raiseError(E_ABORT); }), E_ABORT);
  EXPECT_EQ(qx::guarded([]() -> HRESULT { throw std::bad_alloc(); }), E_OUTOFMEMORY);
  EXPECT_EQ(qx::guarded([]() -> HRESULT { throw std::runtime_error("x"); }), E_FAIL);
  EXPECT_EQ(qx::guarded([]() -> HRESULT { throw 1; }), E_FAIL);
}

TEST(HostCall, ReturnsTheOutValueAndThrowsAFailure) {
  int alive = 0;
  const CComPtr<Thing> thing = qx::makeObject<Thing>(alive);
  EXPECT_EQ(qx::getText(static_cast<INamed*>(thing.p), &INamed::GetName).View(), u"thing");
  auto* const sized = static_cast<ISized*>(thing.p);
  EXPECT_EQ(qx::test::raisedBy([&] { qx::getValue<long>(sized, &ISized::GetSize); }),
            E_ACCESSDENIED);
}

TEST(ComError, KeepsTheSignExtendedCodeAndHasASentenceForIt) {
  const _com_error error(0x80004005);
  EXPECT_EQ(error.Error(), E_FAIL);
  EXPECT_LT(error.Error(), 0);
  EXPECT_EQ(qx::viewOf(error.ErrorMessage()), u"Unspecified error.");
  EXPECT_EQ(qx::viewOf(_com_error(qx::resultCode(0x80040500)).ErrorMessage()), u"Unknown error.");
}

}  // namespace

#include "kestrine/component.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string_view>
#include <thread>
#include <utility>

#include "kestrine/type_info.h"

namespace {

// Counts its references; it lives on the stack of a test.
class Counted final : public IErrorInfo {
 public:
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return ++references; }
  ULONG Release() override { return --references; }
  HRESULT GetGUID(GUID*) override { return E_NOTIMPL; }
  HRESULT GetSource(BSTR*) override { return E_NOTIMPL; }
  HRESULT GetDescription(BSTR*) override { return E_NOTIMPL; }
  HRESULT GetHelpFile(BSTR*) override { return E_NOTIMPL; }
  HRESULT GetHelpContext(DWORD*) override { return E_NOTIMPL; }

  ULONG references = 1;
};

VARIANT variant_of(VARTYPE type) {
  VARIANT variant;
  VariantInit(&variant);
  variant.vt = type;
  return variant;
}

// Where the member stands in its interface, counted from 0: the ABI writes a pointer to a virtual member as one
// more than its slot's offset.
template <typename Member>
std::size_t slot_of(Member member) {
  std::size_t raw = 0;
  std::memcpy(&raw, &member, sizeof raw);
  return (raw - 1) / sizeof(void*);
}

TEST(ComponentTest, MembersStandInTheSlotsOfTheirOriginals) {
  EXPECT_EQ(slot_of(&IDispatch::Invoke), 6U);
  EXPECT_EQ(slot_of(&IErrorInfo::GetHelpContext), 7U);
  EXPECT_EQ(slot_of(&IConnectionPoint::EnumConnections), 7U);
  EXPECT_EQ(slot_of(&IEnumConnections::Clone), 6U);
  EXPECT_EQ(slot_of(&ITypeInfo::ReleaseVarDesc), 21U);
  EXPECT_EQ(slot_of(&ITypeLib::ReleaseTLibAttr), 12U);
  EXPECT_EQ(slot_of(&IRecordInfo::RecordDestroy), 18U);
}

TEST(ComponentTest, TextsKnowTheirLengthAndMayHoldZeros) {
  const char16_t text[] = u"ab\0cd";
  BSTR copy = SysAllocStringLen(text, 5);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(SysStringLen(copy), 5U);
  EXPECT_EQ(std::u16string_view(copy, 6), std::u16string_view(text, 6));
  ULONG bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(copy) - 4, 4);
  EXPECT_EQ(bytes, 10U);
  SysFreeString(copy);

  BSTR blank = SysAllocStringLen(nullptr, 3);
  EXPECT_EQ(std::u16string_view(blank, 4), std::u16string_view(u"\0\0\0", 4));
  SysFreeString(blank);
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysAllocStringLen(nullptr, std::numeric_limits<UINT>::max()), nullptr);
}

TEST(ComponentTest, ClearingGivesUpWhatAVariantOwns) {
  Counted object;
  VARIANT variant = variant_of(VT_UNKNOWN);
  object.AddRef();
  variant.punkVal = &object;
  EXPECT_EQ(VariantClear(&variant), S_OK);
  EXPECT_EQ(variant.vt, VT_EMPTY);
  EXPECT_EQ(object.references, 1U);

  BSTR text = SysAllocString(u"mine");
  variant = variant_of(VT_BSTR | VT_BYREF);
  variant.pbstrVal = &text;
  EXPECT_EQ(VariantClear(&variant), S_OK);
  EXPECT_EQ(SysStringLen(text), 4U) << "what a reference points at is somebody else's";
  SysFreeString(text);

  variant = variant_of(VT_ARRAY | VT_UI1);
  EXPECT_EQ(VariantClear(&variant), S_OK) << "a type set before its array exists";
  variant = variant_of(0x1FFF);
  EXPECT_EQ(VariantClear(&variant), DISP_E_BADVARTYPE);
  EXPECT_EQ(VariantClear(nullptr), E_INVALIDARG);
}

TEST(ComponentTest, CopyingMakesValuesOfTheirOwn) {
  VARIANT from = variant_of(VT_BSTR);
  from.bstrVal = SysAllocStringLen(u"a\0b", 3);
  VARIANT to = variant_of(VT_R8);
  ASSERT_EQ(VariantCopy(&to, &from), S_OK);
  EXPECT_NE(to.bstrVal, from.bstrVal);
  EXPECT_EQ(SysStringLen(to.bstrVal), 3U);
  EXPECT_EQ(VariantCopy(&to, &to), S_OK);
  EXPECT_EQ(SysStringLen(to.bstrVal), 3U);

  Counted object;
  VARIANT shared = variant_of(VT_UNKNOWN);
  shared.punkVal = &object;
  ASSERT_EQ(VariantCopy(&to, &shared), S_OK);
  EXPECT_EQ(object.references, 2U);

  VARIANT array = variant_of(VT_ARRAY | VT_VARIANT);
  array.parray = SafeArrayCreateVector(VT_VARIANT, 0, 1);
  ASSERT_EQ(VariantCopy(static_cast<VARIANT*>(array.parray->pvData), &from), S_OK);
  ASSERT_EQ(VariantCopy(&array, static_cast<VARIANT*>(array.parray->pvData)), S_OK) << "out of what it replaces";
  EXPECT_EQ(array.vt, VT_BSTR);
  for (VARIANT* variant : {&from, &to, &array}) EXPECT_EQ(VariantClear(variant), S_OK);
  EXPECT_EQ(object.references, 1U);
}

TEST(ComponentTest, ALockedArrayIsNeitherDestroyedNorCleared) {
  VARIANT variant = variant_of(VT_ARRAY | VT_UI1);
  variant.parray = SafeArrayCreateVector(VT_UI1, 0, 4);
  void* data = nullptr;
  ASSERT_EQ(SafeArrayAccessData(variant.parray, &data), S_OK);
  std::memcpy(data, "abcd", 4);
  EXPECT_EQ(SafeArrayDestroy(variant.parray), DISP_E_ARRAYISLOCKED);
  EXPECT_EQ(VariantClear(&variant), DISP_E_ARRAYISLOCKED);
  EXPECT_EQ(variant.vt, VT_ARRAY | VT_UI1);
  SAFEARRAY* copy = nullptr;
  ASSERT_EQ(SafeArrayCopy(variant.parray, &copy), S_OK);
  EXPECT_EQ(std::memcmp(copy->pvData, "abcd", 4), 0);
  EXPECT_EQ(SafeArrayDestroy(copy), S_OK) << "the lock is not copied";
  EXPECT_EQ(SafeArrayUnaccessData(variant.parray), S_OK);
  EXPECT_EQ(SafeArrayUnlock(variant.parray), E_UNEXPECTED);
  EXPECT_EQ(VariantClear(&variant), S_OK);
}

TEST(ComponentTest, ArraysKnowTheirShape) {
  SAFEARRAYBOUND bounds[] = {{2, 0}, {3, -5}};
  SAFEARRAY* array = SafeArrayCreate(VT_R8, 2, bounds);
  ASSERT_NE(array, nullptr);
  EXPECT_EQ(array->rgsabound[0].cElements, 3U) << "in memory the rightmost dimension comes first";
  using Get = HRESULT (*)(SAFEARRAY*, UINT, LONG*);
  const auto bound = [&array](Get get, UINT dimension) {
    LONG value = -99;
    const HRESULT result = get(array, dimension, &value);
    return std::pair(result, value);
  };
  EXPECT_EQ(bound(SafeArrayGetUBound, 1), std::pair(S_OK, LONG{1}));
  EXPECT_EQ(bound(SafeArrayGetLBound, 2), std::pair(S_OK, LONG{-5}));
  EXPECT_EQ(bound(SafeArrayGetUBound, 2), std::pair(S_OK, LONG{-3}));
  EXPECT_EQ(bound(SafeArrayGetLBound, 0).first, DISP_E_BADINDEX);
  EXPECT_EQ(bound(SafeArrayGetUBound, 3).first, DISP_E_BADINDEX);
  VARTYPE type = VT_EMPTY;
  EXPECT_EQ(SafeArrayGetVartype(array, &type), S_OK);
  EXPECT_EQ(type, VT_R8);
  EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST(ComponentTest, AbsurdArraysAreRefused) {
  constexpr ULONG kMost = std::numeric_limits<ULONG>::max();
  SAFEARRAYBOUND cube[] = {{kMost, 0}, {kMost, 0}, {kMost, 0}};
  SAFEARRAY* const refused[] = {SafeArrayCreateVector(VT_UI1, 0, 0x80000000),
                                SafeArrayCreateVector(VT_EMPTY, 0, 1),
                                SafeArrayCreateVector(VT_R8, 0, 0x10000000),
                                SafeArrayCreate(VT_VARIANT, 3, cube),
                                SafeArrayCreate(VT_I4, 0, cube),
                                SafeArrayCreate(VT_I4, kMost, cube)};
  for (const SAFEARRAY* array : refused) EXPECT_EQ(array, nullptr);
}

TEST(ComponentTest, ArraysOwnTheirElementsAndCopiesTheirs) {
  Counted object;
  SAFEARRAY* objects = SafeArrayCreateVector(VT_UNKNOWN, 1, 2);
  static_cast<IUnknown**>(objects->pvData)[1] = &object;
  object.AddRef();
  SAFEARRAY* texts = SafeArrayCreateVector(VT_BSTR, 0, 2);
  static_cast<BSTR*>(texts->pvData)[0] = SysAllocString(u"text");
  SAFEARRAY* variants = SafeArrayCreateVector(VT_VARIANT, 0, 2);
  static_cast<VARIANT*>(variants->pvData)[1] = variant_of(VT_BSTR);
  static_cast<VARIANT*>(variants->pvData)[1].bstrVal = SysAllocString(u"in a variant");
  for (SAFEARRAY* array : {objects, texts, variants}) {
    SAFEARRAY* copy = nullptr;
    ASSERT_EQ(SafeArrayCopy(array, &copy), S_OK);
    EXPECT_EQ(object.references, array == objects ? 3U : 1U);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
    EXPECT_TRUE(array != texts || SysStringLen(static_cast<BSTR*>(copy->pvData)[0]) == 4U);
    EXPECT_TRUE(array != variants || SysStringLen(static_cast<VARIANT*>(copy->pvData)[1].bstrVal) == 12U);
    EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
  }
  EXPECT_EQ(object.references, 1U);
}

TEST(ComponentTest, ErrorInformationBelongsToItsThreadAndIsHandedOutOnce) {
  Counted first;
  Counted second;
  IErrorInfo* out = nullptr;
  EXPECT_EQ(SetErrorInfo(0, &first), S_OK);
  EXPECT_EQ(SetErrorInfo(0, &second), S_OK);
  EXPECT_EQ(first.references, 1U);
  std::thread([&] {
    IErrorInfo* none = nullptr;
    EXPECT_EQ(GetErrorInfo(0, &none), S_FALSE);
    SetErrorInfo(0, &first);
  }).join();
  EXPECT_EQ(first.references, 1U) << "an ending thread lets go of its slot";
  EXPECT_EQ(GetErrorInfo(0, &out), S_OK);
  EXPECT_EQ(out, &second);
  EXPECT_EQ(second.references, 2U);
  second.Release();
  EXPECT_EQ(GetErrorInfo(0, &out), S_FALSE);
  SetErrorInfo(0, &first);
  EXPECT_EQ(SetErrorInfo(0, nullptr), S_OK);
  EXPECT_EQ(first.references, 1U);
}

}  // namespace

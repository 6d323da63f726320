// The component model's types, under their well-known names and in the binary layout of their 64-bit originals.
//
// Reference counting, memory and ownership follow the model's usual rules: out parameters are the caller's to
// release, in parameters stay the caller's, texts are counted UTF-16 strings (BSTR), and a count may come down to
// zero inside any Release(). Integers have stated widths; nothing here depends on the width of `long`. On a system
// that brings these types itself, its own headers stand in for this one.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kestrine/export.h"

// --- Plain types

using BYTE = std::uint8_t;
using CHAR = char;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using WORD = std::uint16_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using FLOAT = float;
using DOUBLE = double;
using BOOL = std::int32_t;
using HRESULT = std::int32_t;
using SCODE = std::int32_t;
using LCID = std::uint32_t;
using DISPID = std::int32_t;
using MEMBERID = DISPID;
using DATE = double;
using VARTYPE = std::uint16_t;
using VARIANT_BOOL = std::int16_t;
using OLECHAR = char16_t;
using LPOLESTR = OLECHAR*;
using LPCOLESTR = const OLECHAR*;
// Points at the first character; the length in bytes lies in the four bytes before it, a zero behind the last one.
using BSTR = OLECHAR*;

inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;
// For VariantChangeType: a boolean becomes "True" or "False" where it would become "-1" or "0".
inline constexpr USHORT VARIANT_ALPHABOOL = 0x02;
inline constexpr LCID LOCALE_USER_DEFAULT = 0x0400;

// --- Status codes. A negative one is a failure.

constexpr bool SUCCEEDED(HRESULT status) {
  return status >= 0;
}
constexpr bool FAILED(HRESULT status) {
  return status < 0;
}

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFF);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = static_cast<HRESULT>(0x80040111);
inline constexpr HRESULT CONNECT_E_NOCONNECTION = static_cast<HRESULT>(0x80040200);
inline constexpr HRESULT CONNECT_E_ADVISELIMIT = static_cast<HRESULT>(0x80040201);
inline constexpr HRESULT CONNECT_E_CANNOTCONNECT = static_cast<HRESULT>(0x80040202);
inline constexpr HRESULT DISP_E_UNKNOWNINTERFACE = static_cast<HRESULT>(0x80020001);
inline constexpr HRESULT DISP_E_MEMBERNOTFOUND = static_cast<HRESULT>(0x80020003);
inline constexpr HRESULT DISP_E_PARAMNOTFOUND = static_cast<HRESULT>(0x80020004);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005);
inline constexpr HRESULT DISP_E_UNKNOWNNAME = static_cast<HRESULT>(0x80020006);
inline constexpr HRESULT DISP_E_NONAMEDARGS = static_cast<HRESULT>(0x80020007);
inline constexpr HRESULT DISP_E_BADVARTYPE = static_cast<HRESULT>(0x80020008);
inline constexpr HRESULT DISP_E_EXCEPTION = static_cast<HRESULT>(0x80020009);
inline constexpr HRESULT DISP_E_OVERFLOW = static_cast<HRESULT>(0x8002000A);
inline constexpr HRESULT DISP_E_BADINDEX = static_cast<HRESULT>(0x8002000B);
inline constexpr HRESULT DISP_E_UNKNOWNLCID = static_cast<HRESULT>(0x8002000C);
inline constexpr HRESULT DISP_E_ARRAYISLOCKED = static_cast<HRESULT>(0x8002000D);
inline constexpr HRESULT DISP_E_BADPARAMCOUNT = static_cast<HRESULT>(0x8002000E);
inline constexpr HRESULT DISP_E_PARAMNOTOPTIONAL = static_cast<HRESULT>(0x8002000F);
inline constexpr HRESULT DISP_E_BADCALLEE = static_cast<HRESULT>(0x80020010);
// Every call of an object answers so that does not come from the thread that made it (host.h).
inline constexpr HRESULT RPC_E_WRONG_THREAD = static_cast<HRESULT>(0x8001010E);

// --- Identifiers

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];

  friend constexpr bool operator==(const GUID&, const GUID&) = default;
};
using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

inline constexpr GUID GUID_NULL{};
inline constexpr IID IID_NULL{};

// --- Values

struct IUnknown;
struct IDispatch;
struct IRecordInfo;
struct ITypeInfo;
struct VARIANT;

struct SAFEARRAYBOUND {
  ULONG cElements;
  LONG lLbound;
};

// The descriptor of an array. The bounds of more than one dimension follow the first, the rightmost dimension
// first. Made by SafeArrayCreate only: the element type lies in front of the descriptor.
struct SAFEARRAY {
  USHORT cDims;
  USHORT fFeatures;
  ULONG cbElements;
  ULONG cLocks;
  void* pvData;
  SAFEARRAYBOUND rgsabound[1];
};

inline constexpr USHORT FADF_HAVEVARTYPE = 0x0080;
inline constexpr USHORT FADF_BSTR = 0x0100;
inline constexpr USHORT FADF_UNKNOWN = 0x0200;
inline constexpr USHORT FADF_DISPATCH = 0x0400;
inline constexpr USHORT FADF_VARIANT = 0x0800;

inline constexpr VARTYPE VT_EMPTY = 0;
inline constexpr VARTYPE VT_NULL = 1;
inline constexpr VARTYPE VT_I2 = 2;
inline constexpr VARTYPE VT_I4 = 3;
inline constexpr VARTYPE VT_R4 = 4;
inline constexpr VARTYPE VT_R8 = 5;
inline constexpr VARTYPE VT_CY = 6;
inline constexpr VARTYPE VT_DATE = 7;
inline constexpr VARTYPE VT_BSTR = 8;
inline constexpr VARTYPE VT_DISPATCH = 9;
inline constexpr VARTYPE VT_ERROR = 10;
inline constexpr VARTYPE VT_BOOL = 11;
inline constexpr VARTYPE VT_VARIANT = 12;
inline constexpr VARTYPE VT_UNKNOWN = 13;
inline constexpr VARTYPE VT_I1 = 16;
inline constexpr VARTYPE VT_UI1 = 17;
inline constexpr VARTYPE VT_UI2 = 18;
inline constexpr VARTYPE VT_UI4 = 19;
inline constexpr VARTYPE VT_I8 = 20;
inline constexpr VARTYPE VT_UI8 = 21;
inline constexpr VARTYPE VT_INT = 22;
inline constexpr VARTYPE VT_UINT = 23;
inline constexpr VARTYPE VT_VOID = 24;
inline constexpr VARTYPE VT_HRESULT = 25;
inline constexpr VARTYPE VT_RECORD = 36;
inline constexpr VARTYPE VT_ARRAY = 0x2000;
inline constexpr VARTYPE VT_BYREF = 0x4000;
inline constexpr VARTYPE VT_TYPEMASK = 0x0FFF;

struct CY {
  LONGLONG int64;
};

// A record and its description, which makes, copies and destroys it.
struct RecordValue {
  void* pvRecord;
  IRecordInfo* pRecInfo;
};

// A value and its type; `vt` says which member of the union holds it. With VT_ARRAY it is `parray`, with VT_BYREF
// the pointer member of the type; what a VT_BYREF value points at belongs to somebody else.
struct VARIANT {
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  union {
    LONGLONG llVal;
    LONG lVal;
    BYTE bVal;
    SHORT iVal;
    FLOAT fltVal;
    DOUBLE dblVal;
    VARIANT_BOOL boolVal;
    SCODE scode;
    CY cyVal;
    DATE date;
    BSTR bstrVal;
    IUnknown* punkVal;
    IDispatch* pdispVal;
    SAFEARRAY* parray;
    CHAR cVal;
    USHORT uiVal;
    ULONG ulVal;
    ULONGLONG ullVal;
    INT intVal;
    UINT uintVal;
    BYTE* pbVal;
    SHORT* piVal;
    LONG* plVal;
    LONGLONG* pllVal;
    FLOAT* pfltVal;
    DOUBLE* pdblVal;
    VARIANT_BOOL* pboolVal;
    SCODE* pscode;
    CY* pcyVal;
    DATE* pdate;
    BSTR* pbstrVal;
    IUnknown** ppunkVal;
    IDispatch** ppdispVal;
    SAFEARRAY** pparray;
    VARIANT* pvarVal;
    void* byref;
    CHAR* pcVal;
    USHORT* puiVal;
    ULONG* pulVal;
    ULONGLONG* pullVal;
    INT* pintVal;
    UINT* puintVal;
    RecordValue record;
  };
};
using VARIANTARG = VARIANT;

// The arguments of a call by name, the last one first; named ones stand at the front, in the order of their names.
struct DISPPARAMS {
  VARIANTARG* rgvarg;
  DISPID* rgdispidNamedArgs;
  UINT cArgs;
  UINT cNamedArgs;
};

// What a call by name failed with. The texts are the receiver's to free.
struct EXCEPINFO {
  WORD wCode;
  WORD wReserved;
  BSTR bstrSource;
  BSTR bstrDescription;
  BSTR bstrHelpFile;
  DWORD dwHelpContext;
  void* pvReserved;
  HRESULT (*pfnDeferredFillIn)(EXCEPINFO*);
  SCODE scode;
};

struct CONNECTDATA {
  IUnknown* pUnk;
  DWORD dwCookie;
};

inline constexpr WORD DISPATCH_METHOD = 0x1;
inline constexpr WORD DISPATCH_PROPERTYGET = 0x2;
inline constexpr WORD DISPATCH_PROPERTYPUT = 0x4;
inline constexpr WORD DISPATCH_PROPERTYPUTREF = 0x8;

inline constexpr DISPID DISPID_VALUE = 0;
inline constexpr DISPID DISPID_UNKNOWN = -1;
inline constexpr DISPID DISPID_PROPERTYPUT = -3;

// For IProvideClassInfo2::GetGUID: the identifier of the object's default event interface.
inline constexpr DWORD GUIDKIND_DEFAULT_SOURCE_DISP_IID = 1;

static_assert(sizeof(void*) == 8, "the layouts below are those of 64-bit programs");
static_assert(sizeof(GUID) == 16 && alignof(GUID) == 4);
static_assert(sizeof(VARIANT) == 24 && offsetof(VARIANT, llVal) == 8);
static_assert(sizeof(SAFEARRAYBOUND) == 8 && sizeof(SAFEARRAY) == 32);
static_assert(offsetof(SAFEARRAY, cLocks) == 8 && offsetof(SAFEARRAY, pvData) == 16);
static_assert(offsetof(SAFEARRAY, rgsabound) == 24);
static_assert(sizeof(DISPPARAMS) == 24 && offsetof(DISPPARAMS, cArgs) == 16);
static_assert(sizeof(EXCEPINFO) == 64 && offsetof(EXCEPINFO, bstrSource) == 8 && offsetof(EXCEPINFO, scode) == 56);
static_assert(sizeof(CONNECTDATA) == 16 && offsetof(CONNECTDATA, dwCookie) == 8);

// --- Interfaces. The order of the members is the order of their slots; an interface never changes. There is no
// destructor among the slots: an object goes with its last reference.

inline constexpr IID IID_IUnknown{0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct IUnknown {
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;
};

inline constexpr IID IID_IClassFactory{0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct IClassFactory : IUnknown {
  virtual HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
  virtual HRESULT LockServer(BOOL lock) = 0;

 protected:
  ~IClassFactory() = default;
};

inline constexpr IID IID_IDispatch{0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct IDispatch : IUnknown {
  virtual HRESULT GetTypeInfoCount(UINT* count) = 0;
  virtual HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) = 0;
  virtual HRESULT GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) = 0;
  virtual HRESULT Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* arguments,
                         VARIANT* result, EXCEPINFO* exception, UINT* bad_argument) = 0;

 protected:
  ~IDispatch() = default;
};

inline constexpr IID IID_IErrorInfo{0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
struct IErrorInfo : IUnknown {
  virtual HRESULT GetGUID(GUID* interface_id) = 0;
  virtual HRESULT GetSource(BSTR* source) = 0;
  virtual HRESULT GetDescription(BSTR* description) = 0;
  virtual HRESULT GetHelpFile(BSTR* file) = 0;
  virtual HRESULT GetHelpContext(DWORD* context) = 0;

 protected:
  ~IErrorInfo() = default;
};

inline constexpr IID IID_ISupportErrorInfo{
    0xDF0B3D60, 0x548F, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
struct ISupportErrorInfo : IUnknown {
  // S_OK when the members of that interface leave error information behind, else S_FALSE.
  virtual HRESULT InterfaceSupportsErrorInfo(REFIID iid) = 0;

 protected:
  ~ISupportErrorInfo() = default;
};

struct IConnectionPoint;
struct IConnectionPointContainer;

inline constexpr IID IID_IEnumConnections{0xB196B287, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
struct IEnumConnections : IUnknown {
  virtual HRESULT Next(ULONG count, CONNECTDATA* connections, ULONG* fetched) = 0;
  virtual HRESULT Skip(ULONG count) = 0;
  virtual HRESULT Reset() = 0;
  virtual HRESULT Clone(IEnumConnections** copy) = 0;

 protected:
  ~IEnumConnections() = default;
};

inline constexpr IID IID_IConnectionPoint{0xB196B286, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
struct IConnectionPoint : IUnknown {
  virtual HRESULT GetConnectionInterface(IID* iid) = 0;
  virtual HRESULT GetConnectionPointContainer(IConnectionPointContainer** container) = 0;
  virtual HRESULT Advise(IUnknown* sink, DWORD* cookie) = 0;
  virtual HRESULT Unadvise(DWORD cookie) = 0;
  virtual HRESULT EnumConnections(IEnumConnections** connections) = 0;

 protected:
  ~IConnectionPoint() = default;
};

inline constexpr IID IID_IEnumConnectionPoints{
    0xB196B285, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
struct IEnumConnectionPoints : IUnknown {
  virtual HRESULT Next(ULONG count, IConnectionPoint** points, ULONG* fetched) = 0;
  virtual HRESULT Skip(ULONG count) = 0;
  virtual HRESULT Reset() = 0;
  virtual HRESULT Clone(IEnumConnectionPoints** copy) = 0;

 protected:
  ~IEnumConnectionPoints() = default;
};

inline constexpr IID IID_IConnectionPointContainer{
    0xB196B284, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
struct IConnectionPointContainer : IUnknown {
  virtual HRESULT EnumConnectionPoints(IEnumConnectionPoints** points) = 0;
  virtual HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** point) = 0;

 protected:
  ~IConnectionPointContainer() = default;
};

inline constexpr IID IID_IProvideClassInfo{
    0xB196B283, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
struct IProvideClassInfo : IUnknown {
  virtual HRESULT GetClassInfo(ITypeInfo** info) = 0;

 protected:
  ~IProvideClassInfo() = default;
};

inline constexpr IID IID_IProvideClassInfo2{
    0xA6BC3AC0, 0xDBAA, 0x11CE, {0x9D, 0xE3, 0x00, 0xAA, 0x00, 0x4B, 0xB8, 0x51}};
struct IProvideClassInfo2 : IProvideClassInfo {
  virtual HRESULT GetGUID(DWORD kind, GUID* id) = 0;

 protected:
  ~IProvideClassInfo2() = default;
};

// --- Texts. A null BSTR is an empty text everywhere.

KESTRINE_HOST_API BSTR SysAllocString(const OLECHAR* text);  // null for null
// `length` characters, zeros among them included; all zeros when `text` is null. Null when there is no memory.
KESTRINE_HOST_API BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
KESTRINE_HOST_API void SysFreeString(BSTR text);
KESTRINE_HOST_API UINT SysStringLen(BSTR text);

// --- Variants

KESTRINE_HOST_API void VariantInit(VARIANT* variant);
// Gives up what the variant owns and leaves it empty. A locked array stays: DISP_E_ARRAYISLOCKED.
KESTRINE_HOST_API HRESULT VariantClear(VARIANT* variant);
// Clears `to` and makes it a copy of its own; only a VT_BYREF value keeps pointing where `from` points.
KESTRINE_HOST_API HRESULT VariantCopy(VARIANT* to, const VARIANT* from);
// As VariantCopy, but a VT_BYREF value is replaced by a copy of what it points at.
KESTRINE_HOST_API HRESULT VariantCopyInd(VARIANT* to, const VARIANT* from);
// Converts between numbers, booleans and texts, and asks an object for the other of its two forms; `to` may be `from`,
// which may refer to the value. Numbers are rounded to the nearest integer, halves to the even one. Texts are the
// same in every locale: a decimal point, no grouping. Dates, currency and arrays are not converted.
KESTRINE_HOST_API HRESULT VariantChangeType(VARIANT* to, const VARIANT* from, USHORT flags, VARTYPE type);
KESTRINE_HOST_API HRESULT VariantChangeTypeEx(VARIANT* to, const VARIANT* from, LCID locale, USHORT flags,
                                              VARTYPE type);

// --- Arrays. Dimensions are counted from 1, the leftmost first.

// Zeroed elements. Null for an element type that arrays cannot hold, for no dimension, for 2 GiB and more, and
// when there is no memory.
KESTRINE_HOST_API SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds);
KESTRINE_HOST_API SAFEARRAY* SafeArrayCreateVector(VARTYPE type, LONG lower_bound, ULONG elements);
// Frees what the elements own, then the array. DISP_E_ARRAYISLOCKED while it is locked.
KESTRINE_HOST_API HRESULT SafeArrayDestroy(SAFEARRAY* array);
KESTRINE_HOST_API HRESULT SafeArrayLock(SAFEARRAY* array);
KESTRINE_HOST_API HRESULT SafeArrayUnlock(SAFEARRAY* array);
KESTRINE_HOST_API HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data);  // locks
KESTRINE_HOST_API HRESULT SafeArrayUnaccessData(SAFEARRAY* array);             // unlocks
KESTRINE_HOST_API UINT SafeArrayGetDim(SAFEARRAY* array);
KESTRINE_HOST_API UINT SafeArrayGetElemsize(SAFEARRAY* array);
KESTRINE_HOST_API HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dimension, LONG* bound);
KESTRINE_HOST_API HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dimension, LONG* bound);
KESTRINE_HOST_API HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type);
KESTRINE_HOST_API HRESULT SafeArrayCopy(SAFEARRAY* array, SAFEARRAY** copy);

// --- Error information, one slot a thread

// Takes a reference and lets go of what the slot held. Null empties the slot. `reserved` must be 0.
KESTRINE_HOST_API HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info);
// Hands the slot's reference to the caller and empties the slot. S_FALSE and null when it is empty.
KESTRINE_HOST_API HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info);

// Descriptions of types that callers can ask for: type information, the type library and record information, under
// their well-known names and in the binary layout of their 64-bit originals.
//
// A description that is handed out (TYPEATTR, FUNCDESC, VARDESC, TLIBATTR) goes back to the object that it came
// from, by the Release member of its kind. On a system that brings these types itself, its own headers stand in for
// this one.
#pragma once

#include "kestrine/component.h"
#include "kestrine/interface_id.h"

using HREFTYPE = DWORD;

inline constexpr MEMBERID MEMBERID_NIL = DISPID_UNKNOWN;

inline constexpr HRESULT TYPE_E_FIELDNOTFOUND = static_cast<HRESULT>(0x80028017);
inline constexpr HRESULT TYPE_E_WRONGTYPEKIND = static_cast<HRESULT>(0x8002802A);
inline constexpr HRESULT TYPE_E_ELEMENTNOTFOUND = static_cast<HRESULT>(0x8002802B);
inline constexpr HRESULT TYPE_E_BADMODULEKIND = static_cast<HRESULT>(0x800288BD);
inline constexpr HRESULT TYPE_E_CANTLOADLIBRARY = static_cast<HRESULT>(0x80029C4A);

// Types that stand in descriptions only, never in a variant.
inline constexpr VARTYPE VT_PTR = 26;
inline constexpr VARTYPE VT_SAFEARRAY = 27;
inline constexpr VARTYPE VT_CARRAY = 28;
inline constexpr VARTYPE VT_USERDEFINED = 29;
inline constexpr VARTYPE VT_LPSTR = 30;
inline constexpr VARTYPE VT_LPWSTR = 31;

// --- Kinds and flags

enum TYPEKIND : std::int32_t {
  TKIND_ENUM,
  TKIND_RECORD,
  TKIND_MODULE,
  TKIND_INTERFACE,
  TKIND_DISPATCH,
  TKIND_COCLASS,
  TKIND_ALIAS,
  TKIND_UNION,
  TKIND_MAX,
};

enum FUNCKIND : std::int32_t { FUNC_VIRTUAL, FUNC_PUREVIRTUAL, FUNC_NONVIRTUAL, FUNC_STATIC, FUNC_DISPATCH };

enum INVOKEKIND : std::int32_t {
  INVOKE_FUNC = 1,
  INVOKE_PROPERTYGET = 2,
  INVOKE_PROPERTYPUT = 4,
  INVOKE_PROPERTYPUTREF = 8,
};

enum CALLCONV : std::int32_t {
  CC_FASTCALL,
  CC_CDECL,
  CC_PASCAL,
  CC_MACPASCAL,
  CC_STDCALL,
  CC_FPFASTCALL,
  CC_SYSCALL,
  CC_MPWCDECL,
  CC_MPWPASCAL,
  CC_MAX,
};

enum VARKIND : std::int32_t { VAR_PERINSTANCE, VAR_STATIC, VAR_CONST, VAR_DISPATCH };

enum SYSKIND : std::int32_t { SYS_WIN16, SYS_WIN32, SYS_MAC, SYS_WIN64 };

inline constexpr WORD TYPEFLAG_FAPPOBJECT = 0x0001;
inline constexpr WORD TYPEFLAG_FCANCREATE = 0x0002;
inline constexpr WORD TYPEFLAG_FHIDDEN = 0x0010;
inline constexpr WORD TYPEFLAG_FCONTROL = 0x0020;
inline constexpr WORD TYPEFLAG_FDUAL = 0x0040;
inline constexpr WORD TYPEFLAG_FNONEXTENSIBLE = 0x0080;
inline constexpr WORD TYPEFLAG_FOLEAUTOMATION = 0x0100;
inline constexpr WORD TYPEFLAG_FRESTRICTED = 0x0200;
inline constexpr WORD TYPEFLAG_FAGGREGATABLE = 0x0400;
inline constexpr WORD TYPEFLAG_FDISPATCHABLE = 0x1000;

inline constexpr INT IMPLTYPEFLAG_FDEFAULT = 0x1;
inline constexpr INT IMPLTYPEFLAG_FSOURCE = 0x2;
inline constexpr INT IMPLTYPEFLAG_FRESTRICTED = 0x4;
inline constexpr INT IMPLTYPEFLAG_FDEFAULTVTABLE = 0x8;

inline constexpr USHORT PARAMFLAG_NONE = 0x00;
inline constexpr USHORT PARAMFLAG_FIN = 0x01;
inline constexpr USHORT PARAMFLAG_FOUT = 0x02;
inline constexpr USHORT PARAMFLAG_FLCID = 0x04;
inline constexpr USHORT PARAMFLAG_FRETVAL = 0x08;
inline constexpr USHORT PARAMFLAG_FOPT = 0x10;
inline constexpr USHORT PARAMFLAG_FHASDEFAULT = 0x20;

inline constexpr WORD FUNCFLAG_FRESTRICTED = 0x01;
inline constexpr WORD FUNCFLAG_FSOURCE = 0x02;
inline constexpr WORD FUNCFLAG_FHIDDEN = 0x40;

inline constexpr WORD VARFLAG_FREADONLY = 0x01;
inline constexpr WORD VARFLAG_FHIDDEN = 0x40;

inline constexpr WORD LIBFLAG_FRESTRICTED = 0x1;
inline constexpr WORD LIBFLAG_FCONTROL = 0x2;
inline constexpr WORD LIBFLAG_FHIDDEN = 0x4;
inline constexpr WORD LIBFLAG_FHASDISKIMAGE = 0x8;

// --- Descriptions

struct ARRAYDESC;

// `vt` says what holds the rest: VT_PTR and VT_SAFEARRAY the type pointed at, VT_CARRAY the array, VT_USERDEFINED a
// reference for ITypeInfo::GetRefTypeInfo.
struct TYPEDESC {
  union {
    TYPEDESC* lptdesc;
    ARRAYDESC* lpadesc;
    HREFTYPE hreftype;
  };
  VARTYPE vt;
};

struct ARRAYDESC {
  TYPEDESC tdescElem;
  USHORT cDims;
  SAFEARRAYBOUND rgbounds[1];
};

struct IDLDESC {
  std::uintptr_t dwReserved;
  USHORT wIDLFlags;
};

struct PARAMDESCEX {
  ULONG cBytes;
  VARIANTARG varDefaultValue;
};

struct PARAMDESC {
  PARAMDESCEX* pparamdescex;
  USHORT wParamFlags;
};

struct ELEMDESC {
  TYPEDESC tdesc;
  union {
    IDLDESC idldesc;
    PARAMDESC paramdesc;
  };
};

struct TYPEATTR {
  GUID guid;
  LCID lcid;
  DWORD dwReserved;
  MEMBERID memidConstructor;
  MEMBERID memidDestructor;
  LPOLESTR lpstrSchema;
  ULONG cbSizeInstance;
  TYPEKIND typekind;
  WORD cFuncs;
  WORD cVars;
  WORD cImplTypes;
  WORD cbSizeVft;
  WORD cbAlignment;
  WORD wTypeFlags;
  WORD wMajorVerNum;
  WORD wMinorVerNum;
  TYPEDESC tdescAlias;
  IDLDESC idldescType;
};

struct FUNCDESC {
  MEMBERID memid;
  SCODE* lprgscode;
  ELEMDESC* lprgelemdescParam;
  FUNCKIND funckind;
  INVOKEKIND invkind;
  CALLCONV callconv;
  SHORT cParams;
  SHORT cParamsOpt;
  SHORT oVft;
  SHORT cScodes;
  ELEMDESC elemdescFunc;
  WORD wFuncFlags;
};

struct VARDESC {
  MEMBERID memid;
  LPOLESTR lpstrSchema;
  union {
    ULONG oInst;          // of a field: bytes from the start of the record
    VARIANT* lpvarValue;  // of a constant
  };
  ELEMDESC elemdescVar;
  WORD wVarFlags;
  VARKIND varkind;
};

struct TLIBATTR {
  GUID guid;
  LCID lcid;
  SYSKIND syskind;
  WORD wMajorVerNum;
  WORD wMinorVerNum;
  WORD wLibFlags;
};

static_assert(sizeof(TYPEDESC) == 16 && offsetof(TYPEDESC, vt) == 8);
static_assert(sizeof(ARRAYDESC) == 32 && offsetof(ARRAYDESC, rgbounds) == 20);
static_assert(sizeof(IDLDESC) == 16 && sizeof(PARAMDESC) == 16 && sizeof(PARAMDESCEX) == 32);
static_assert(sizeof(ELEMDESC) == 32 && offsetof(ELEMDESC, paramdesc) == 16);
static_assert(sizeof(TYPEATTR) == 96 && offsetof(TYPEATTR, typekind) == 44 && offsetof(TYPEATTR, tdescAlias) == 64);
static_assert(sizeof(FUNCDESC) == 88 && offsetof(FUNCDESC, cParams) == 36 && offsetof(FUNCDESC, elemdescFunc) == 48);
static_assert(sizeof(VARDESC) == 64 && offsetof(VARDESC, elemdescVar) == 24 && offsetof(VARDESC, varkind) == 60);
static_assert(sizeof(TLIBATTR) == 32 && offsetof(TLIBATTR, wMajorVerNum) == 24);

// --- Interfaces

struct ITypeComp;  // binding for compilers, which nobody here offers
struct ITypeLib;

inline constexpr IID IID_ITypeInfo{0x00020401, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct ITypeInfo : IUnknown {
  virtual HRESULT GetTypeAttr(TYPEATTR** attributes) = 0;
  virtual HRESULT GetTypeComp(ITypeComp** compiler) = 0;
  virtual HRESULT GetFuncDesc(UINT index, FUNCDESC** function) = 0;
  virtual HRESULT GetVarDesc(UINT index, VARDESC** variable) = 0;
  // The member's name and, behind it, those of its parameters.
  virtual HRESULT GetNames(MEMBERID member, BSTR* names, UINT count, UINT* fetched) = 0;
  virtual HRESULT GetRefTypeOfImplType(UINT index, HREFTYPE* reference) = 0;
  virtual HRESULT GetImplTypeFlags(UINT index, INT* flags) = 0;
  virtual HRESULT GetIDsOfNames(LPOLESTR* names, UINT count, MEMBERID* ids) = 0;
  virtual HRESULT Invoke(void* instance, MEMBERID member, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                         EXCEPINFO* exception, UINT* bad_argument) = 0;
  virtual HRESULT GetDocumentation(MEMBERID member, BSTR* name, BSTR* text, DWORD* context, BSTR* file) = 0;
  virtual HRESULT GetDllEntry(MEMBERID member, INVOKEKIND kind, BSTR* library, BSTR* name, WORD* ordinal) = 0;
  virtual HRESULT GetRefTypeInfo(HREFTYPE reference, ITypeInfo** info) = 0;
  virtual HRESULT AddressOfMember(MEMBERID member, INVOKEKIND kind, void** address) = 0;
  virtual HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
  virtual HRESULT GetMops(MEMBERID member, BSTR* marshalling) = 0;
  virtual HRESULT GetContainingTypeLib(ITypeLib** library, UINT* index) = 0;
  virtual void ReleaseTypeAttr(TYPEATTR* attributes) = 0;
  virtual void ReleaseFuncDesc(FUNCDESC* function) = 0;
  virtual void ReleaseVarDesc(VARDESC* variable) = 0;

 protected:
  ~ITypeInfo() = default;
};

inline constexpr IID IID_ITypeLib{0x00020402, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct ITypeLib : IUnknown {
  virtual UINT GetTypeInfoCount() = 0;
  virtual HRESULT GetTypeInfo(UINT index, ITypeInfo** info) = 0;
  virtual HRESULT GetTypeInfoType(UINT index, TYPEKIND* kind) = 0;
  virtual HRESULT GetTypeInfoOfGuid(REFGUID id, ITypeInfo** info) = 0;
  virtual HRESULT GetLibAttr(TLIBATTR** attributes) = 0;
  virtual HRESULT GetTypeComp(ITypeComp** compiler) = 0;
  // Index -1 is the library itself.
  virtual HRESULT GetDocumentation(INT index, BSTR* name, BSTR* text, DWORD* context, BSTR* file) = 0;
  virtual HRESULT IsName(LPOLESTR name, ULONG hash, BOOL* found) = 0;
  virtual HRESULT FindName(LPOLESTR name, ULONG hash, ITypeInfo** infos, MEMBERID* ids, USHORT* count) = 0;
  virtual void ReleaseTLibAttr(TLIBATTR* attributes) = 0;

 protected:
  ~ITypeLib() = default;
};

// What a record consists of. The memory of a record belongs to whoever has it; `field` is a field's name.
inline constexpr IID IID_IRecordInfo{0x0000002F, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct IRecordInfo : IUnknown {
  virtual HRESULT RecordInit(void* fresh) = 0;
  virtual HRESULT RecordClear(void* record) = 0;
  virtual HRESULT RecordCopy(void* from, void* to) = 0;
  virtual HRESULT GetGuid(GUID* id) = 0;
  virtual HRESULT GetName(BSTR* name) = 0;
  virtual HRESULT GetSize(ULONG* bytes) = 0;
  virtual HRESULT GetTypeInfo(ITypeInfo** info) = 0;
  virtual HRESULT GetField(void* record, LPCOLESTR field, VARIANT* value) = 0;
  // The value refers into the record, of an array to its first element. `elements` receives where an array begins,
  // null for all else.
  virtual HRESULT GetFieldNoCopy(void* record, LPCOLESTR field, VARIANT* value, void** elements) = 0;
  virtual HRESULT PutField(ULONG flags, void* record, LPCOLESTR field, VARIANT* value) = 0;
  virtual HRESULT PutFieldNoCopy(ULONG flags, void* record, LPCOLESTR field, VARIANT* value) = 0;
  // Without a place for names: how many there are.
  virtual HRESULT GetFieldNames(ULONG* count, BSTR* names) = 0;
  virtual BOOL IsMatchingType(IRecordInfo* other) = 0;
  virtual void* RecordCreate() = 0;
  virtual HRESULT RecordCreateCopy(void* from, void** copy) = 0;
  virtual HRESULT RecordDestroy(void* record) = 0;

 protected:
  ~IRecordInfo() = default;
};

// How a record that this describes is made and taken apart. TYPE_E_WRONGTYPEKIND when it describes something else.
KESTRINE_HOST_API HRESULT GetRecordInfoFromTypeInfo(ITypeInfo* info, IRecordInfo** record);

namespace kestrine {

template <>
struct InterfaceId<ITypeInfo> : detail::IdentifiedBy<IID_ITypeInfo> {};
template <>
struct InterfaceId<ITypeLib> : detail::IdentifiedBy<IID_ITypeLib> {};
template <>
struct InterfaceId<IRecordInfo> : detail::IdentifiedBy<IID_IRecordInfo> {};

}  // namespace kestrine

// Between GetRecordInfoFromTypeInfo and the descriptions that a library of ours hands out.
#pragma once

#include "kestrine/type_info.h"

namespace kestrine::component_types {

inline constexpr IID IID_IRecordSource{0x3E6C1F52, 0x8D07, 0x4A6B, {0x9B, 0x41, 0x27, 0xD0, 0x5E, 0x8A, 0xC3, 0x19}};

// What the type information of a record offers beside its own interface.
struct IRecordSource : IUnknown {
  virtual HRESULT GetRecordInfo(IRecordInfo** record) = 0;

 protected:
  ~IRecordSource() = default;
};

}  // namespace kestrine::component_types

namespace kestrine {

template <>
struct InterfaceId<component_types::IRecordSource> : detail::IdentifiedBy<component_types::IID_IRecordSource> {};

}  // namespace kestrine

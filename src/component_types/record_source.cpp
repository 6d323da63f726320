#include "component_types/record_source.h"

#include "kestrine/pointer.h"

HRESULT GetRecordInfoFromTypeInfo(ITypeInfo* info, IRecordInfo** record) {
  if (info == nullptr || record == nullptr) return E_INVALIDARG;
  *record = nullptr;
  const auto source = kestrine::Pointer<ITypeInfo>(info).query<kestrine::component_types::IRecordSource>();
  return source ? source->GetRecordInfo(record) : TYPE_E_WRONGTYPEKIND;
}

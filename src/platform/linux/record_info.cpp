#include "kestrine/pointer.h"
#include "platform/record_source.h"

HRESULT GetRecordInfoFromTypeInfo(ITypeInfo* info, IRecordInfo** record) {
  if (info == nullptr || record == nullptr) return E_INVALIDARG;
  *record = nullptr;
  const auto source = kestrine::Pointer<ITypeInfo>(info).query<kestrine::platform::IRecordSource>();
  return source ? source->GetRecordInfo(record) : TYPE_E_WRONGTYPEKIND;
}

#include "scripting/record_info.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "component_types/error_info.h"
#include "dispatch/variant_value.h"
#include "kestrine/pointer.h"
#include "scripting/type_info.h"

namespace kestrine::scripting {
namespace {

// Texts, which are arrays of 16-bit units, travel as texts. A record that elements follow has the first of them, as a
// record of its own.
bool is_array(const Value& field) {
  return field.count != 0 && field.type != ValueType::kRecord;
}

// Of all its elements, where there are several.
std::size_t size_of(const Value& field) {
  return dispatch::forms_of(field.type).size * std::max<std::size_t>(field.count, 1);
}

// Up to the first zero; a text that fills its field has none.
HRESULT read_text(const Value& field, const char* from, VARIANT& value) {
  std::array<char16_t, 128> units;
  std::memcpy(units.data(), from, size_of(field));
  value.bstrVal = dispatch::copy_text(units.data(), field.count);
  value.vt = VT_BSTR;
  return value.bstrVal != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT read_array(const Value& field, const char* from, VARIANT& value) {
  SAFEARRAY* const array = SafeArrayCreateVector(dispatch::forms_of(field.type).field, 0, field.count);
  if (array == nullptr) return E_OUTOFMEMORY;
  std::memcpy(array->pvData, from, size_of(field));
  value.parray = array;
  value.vt = static_cast<VARTYPE>(VT_ARRAY | dispatch::forms_of(field.type).field);
  return S_OK;
}

HRESULT read_record(const Value& field, void* from, VARIANT& value) {
  Pointer<IRecordInfo> info;
  if (const HRESULT result = make_record_info(*field.named, info.put()); FAILED(result)) return result;
  void* copy = nullptr;
  if (const HRESULT result = info->RecordCreateCopy(from, &copy); FAILED(result)) return result;
  value.record = {copy, info.detach()};
  value.vt = VT_RECORD;
  return S_OK;
}

// What is shorter than its field is filled up with zeros.
HRESULT write_elements(const Value& field, char* to, const void* from, std::size_t bytes) {
  const std::size_t room = size_of(field);
  if (bytes > room) return DISP_E_OVERFLOW;
  if (bytes != 0) std::memcpy(to, from, bytes);
  std::memset(to + bytes, 0, room - bytes);
  return S_OK;
}

HRESULT write_text(const Value& field, char* to, const VARIANT& value) {
  VARIANT text{};
  if (const HRESULT result = VariantChangeType(&text, &value, 0, VT_BSTR); FAILED(result)) return result;
  const HRESULT result = write_elements(field, to, text.bstrVal, SysStringLen(text.bstrVal) * sizeof(OLECHAR));
  VariantClear(&text);
  return result;
}

HRESULT write_array(const Value& field, char* to, const VARIANT& value) {
  if (value.vt != (VT_ARRAY | dispatch::forms_of(field.type).field) || SafeArrayGetDim(value.parray) != 1)
    return DISP_E_TYPEMISMATCH;
  const std::size_t bytes = std::size_t{value.parray->rgsabound[0].cElements} * value.parray->cbElements;
  return write_elements(field, to, value.parray->pvData, bytes);
}

HRESULT write_record(const Value& field, void* to, const VARIANT& value) {
  if (value.vt != VT_RECORD || value.record.pvRecord == nullptr) return DISP_E_TYPEMISMATCH;
  Pointer<IRecordInfo> info;
  if (const HRESULT result = make_record_info(*field.named, info.put()); FAILED(result)) return result;
  if (info->IsMatchingType(value.record.pRecInfo) == 0) return DISP_E_TYPEMISMATCH;
  return info->RecordCopy(value.record.pvRecord, to);
}

// One record type.
class RecordInfo final : public IRecordInfo {
 public:
  explicit RecordInfo(const TypeRow& row) : row_(&row) {}

  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = iid == IID_IUnknown || iid == IID_IRecordInfo ? this : nullptr;
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return ++type_references; }
  ULONG Release() override { return --type_references; }

  HRESULT RecordInit(void* fresh) override { return RecordClear(fresh); }
  HRESULT RecordClear(void* record) override {
    if (record == nullptr) return E_POINTER;
    std::memset(record, 0, row_->size);
    return S_OK;
  }
  HRESULT RecordCopy(void* from, void* to) override {
    if (from == nullptr || to == nullptr) return E_POINTER;
    std::memmove(to, from, row_->size);
    return S_OK;
  }
  void* RecordCreate() override { return std::calloc(1, row_->size); }
  HRESULT RecordCreateCopy(void* from, void** copy) override {
    if (from == nullptr || copy == nullptr) return E_POINTER;
    *copy = RecordCreate();
    return *copy != nullptr ? RecordCopy(from, *copy) : E_OUTOFMEMORY;
  }
  HRESULT RecordDestroy(void* record) override {
    std::free(record);
    return S_OK;
  }

  HRESULT GetGuid(GUID* id) override {
    if (id == nullptr) return E_POINTER;
    *id = GUID_NULL;  // a record goes by its name
    return S_OK;
  }
  HRESULT GetName(BSTR* name) override { return name == nullptr ? E_POINTER : hand_out(row_->name, name); }
  HRESULT GetSize(ULONG* bytes) override {
    if (bytes == nullptr) return E_POINTER;
    *bytes = row_->size;
    return S_OK;
  }
  HRESULT GetTypeInfo(ITypeInfo** info) override { return get_type_info(*row_, info); }
  BOOL IsMatchingType(IRecordInfo* other) override { return other == this ? 1 : 0; }

  HRESULT GetField(void* record, LPCOLESTR field, VARIANT* value) override;
  HRESULT GetFieldNoCopy(void* record, LPCOLESTR field, VARIANT* value, void** elements) override;
  HRESULT PutField(ULONG flags, void* record, LPCOLESTR field, VARIANT* value) override;
  HRESULT PutFieldNoCopy(ULONG flags, void* record, LPCOLESTR field, VARIANT* value) override {
    return PutField(flags, record, field, value);  // the fields have no room for anything but the values themselves
  }
  HRESULT GetFieldNames(ULONG* count, BSTR* names) override;

 private:
  const Value* find(std::u16string_view name) const {
    const auto found = std::find_if(row_->fields.begin(), row_->fields.end(),
                                    [name](const Value& field) { return same_name(field.name, name); });
    return found == row_->fields.end() ? nullptr : &*found;
  }

  const TypeRow* row_;
};

HRESULT RecordInfo::GetField(void* record, LPCOLESTR name, VARIANT* value) {
  if (record == nullptr || name == nullptr || value == nullptr) return E_POINTER;
  VariantInit(value);
  const Value* const field = find(name);
  if (field == nullptr) return TYPE_E_FIELDNOTFOUND;
  char* const at = static_cast<char*>(record) + field->offset;
  if (field->type == ValueType::kText) return read_text(*field, at, *value);
  if (is_array(*field)) return read_array(*field, at, *value);
  if (field->type == ValueType::kRecord) return read_record(*field, at, *value);
  value->vt = dispatch::forms_of(field->type).field;
  std::memcpy(&value->llVal, at, size_of(*field));
  return S_OK;
}

HRESULT RecordInfo::GetFieldNoCopy(void* record, LPCOLESTR name, VARIANT* value, void** elements) {
  if (record == nullptr || name == nullptr || value == nullptr || elements == nullptr) return E_POINTER;
  VariantInit(value);
  *elements = nullptr;
  const Value* const field = find(name);
  if (field == nullptr) return TYPE_E_FIELDNOTFOUND;
  void* const at = static_cast<char*>(record) + field->offset;
  value->vt = static_cast<VARTYPE>(VT_BYREF | dispatch::forms_of(field->type).field);
  if (is_array(*field)) *elements = at;
  if (field->type != ValueType::kRecord) {
    value->byref = at;
    return S_OK;
  }
  Pointer<IRecordInfo> info;
  if (const HRESULT result = make_record_info(*field->named, info.put()); FAILED(result)) return result;
  value->record = {at, info.get()};  // a reference owns nothing: whoever has the record has its information
  return S_OK;
}

HRESULT RecordInfo::PutField(ULONG, void* record, LPCOLESTR name, VARIANT* value) {
  if (record == nullptr || name == nullptr || value == nullptr) return E_POINTER;
  const Value* const field = find(name);
  if (field == nullptr) return TYPE_E_FIELDNOTFOUND;
  char* const at = static_cast<char*>(record) + field->offset;
  if (field->type == ValueType::kText) return write_text(*field, at, *value);
  if (is_array(*field)) return write_array(*field, at, *value);
  if (field->type == ValueType::kRecord) return write_record(*field, at, *value);
  VARIANT number{};
  if (const HRESULT result = VariantChangeType(&number, value, 0, dispatch::forms_of(field->type).field);
      FAILED(result))
    return result;
  std::memcpy(at, &number.llVal, size_of(*field));
  return S_OK;
}

HRESULT RecordInfo::GetFieldNames(ULONG* count, BSTR* names) {
  if (count == nullptr) return E_POINTER;
  const auto all = static_cast<ULONG>(row_->fields.size());
  *count = names == nullptr ? all : std::min(*count, all);
  for (ULONG i = 0; names != nullptr && i < *count; ++i) {
    const HRESULT result = hand_out(row_->fields[i].name, &names[i]);
    if (SUCCEEDED(result)) continue;
    while (i != 0) SysFreeString(names[--i]);
    return result;
  }
  return S_OK;
}

}  // namespace

HRESULT make_record_info(const TypeRow& row, IRecordInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  if (row.kind != TypeKind::kRecord) return TYPE_E_WRONGTYPEKIND;
  return component_types::guarded([&] {
    // At the places of their rows; those of other types are never handed out.
    static const auto rows = protocol::types();
    static auto* const all = new std::vector<RecordInfo>(rows.begin(), rows.end());
    *info = &(*all)[static_cast<std::size_t>(&row - rows.data())];
    (*info)->AddRef();
    return S_OK;
  });
}

}  // namespace kestrine::scripting

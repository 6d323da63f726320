#include "python/src/records.h"

#include <vector>

#include "kestrine/pointer.h"
#include "kestrine/text.h"
#include "python/src/failure.h"
#include "python/src/members.h"
#include "python/src/values.h"

namespace py = pybind11;

namespace kestrine::python {
namespace {

std::vector<Text> field_names(IRecordInfo& info) {
  ULONG count = 0;
  require(info.GetFieldNames(&count, nullptr));
  std::vector<BSTR> texts(count);
  require(info.GetFieldNames(&count, texts.data()));
  std::vector<Text> names(count);
  for (ULONG i = 0; i < count; ++i) *names[i].put() = texts[i];
  return names;
}

void fill(IRecordInfo& info, void* record, const py::handle& value);

// A nested record is filled where it lies, after a copy of it has told its type.
void put_field(IRecordInfo& info, void* record, const Text& name, const py::handle& value) {
  const py::object field = value.attr(name.utf8().c_str());
  Value now;
  require(info.GetField(record, name, &now));
  if (now.vt == VT_RECORD) {
    fill(*now.record.pRecInfo, now.record.pvRecord, field);
    require(info.PutField(DISPATCH_PROPERTYPUT, record, name, &now));
    return;
  }
  Value given;
  Parameter target;
  target.name = name.utf8();
  target.type = now.vt;
  to_variant(field, target, given);
  // A flag in a record is a number: 1, not VARIANT_TRUE.
  if (given.vt == VT_BOOL && now.vt == VT_I4) {
    given.lVal = given.boolVal != 0 ? 1 : 0;
    given.vt = VT_I4;
  }
  require(info.PutField(DISPATCH_PROPERTYPUT, record, name, &given));
}

void fill(IRecordInfo& info, void* record, const py::handle& value) {
  for (const Text& name : field_names(info)) put_field(info, record, name, value);
}

}  // namespace

py::object from_record(const RecordValue& record, const py::object& convert) {
  const auto [type, fields] = py::cast<std::pair<py::object, py::dict>>(convert);
  py::dict values;
  for (const Text& name : field_names(*record.pRecInfo)) {
    const py::str key(name.utf8());
    if (!fields.contains(key)) continue;  // the elements of a continuous record
    Value value;
    require(record.pRecInfo->GetField(record.pvRecord, name, &value));
    values[key] = to_python(value, fields[key]);
  }
  return type(**values);
}

void to_record(const py::handle& value, ITypeInfo& type, const std::string& name, VARIANT& variant) {
  if (name != Py_TYPE(value.ptr())->tp_name) throw py::type_error("a " + name + " of kestrine.records is needed");
  Pointer<IRecordInfo> info;
  require(GetRecordInfoFromTypeInfo(&type, info.put()));
  void* record = info->RecordCreate();
  if (record == nullptr) throw std::bad_alloc();
  variant.vt = VT_RECORD;  // clearing it destroys the record
  variant.record = {record, info.get()};
  info.detach();
  fill(*variant.record.pRecInfo, record, value);
}

}  // namespace kestrine::python

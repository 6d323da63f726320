#include "python/src/values.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <vector>

#include "kestrine/pointer.h"
#include "kestrine/text.h"
#include "python/src/com_object.h"
#include "python/src/failure.h"

namespace py = pybind11;

namespace kestrine::python {
namespace {

constexpr std::size_t kMostBytes = std::numeric_limits<std::int32_t>::max();

// What the interpreter has made, or its exception.
py::object checked(PyObject* made) {
  if (made == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::object>(made);
}

BSTR to_text(const py::handle& value) {
  const py::bytes utf16 = checked(PyUnicode_AsEncodedString(value.ptr(), "utf-16-le", "surrogatepass"));
  const std::string_view bytes = utf16;
  if (bytes.size() > kMostBytes) raise_com_error(DISP_E_OVERFLOW);
  BSTR text = SysAllocStringLen(nullptr, static_cast<UINT>(bytes.size() / sizeof(OLECHAR)));
  if (text == nullptr) throw std::bad_alloc();
  std::memcpy(text, bytes.data(), bytes.size());
  return text;
}

py::object from_text(BSTR text) {
  int little_endian = -1;
  return checked(PyUnicode_DecodeUTF16(reinterpret_cast<const char*>(text),
                                       static_cast<Py_ssize_t>(SysStringLen(text) * sizeof(OLECHAR)), "replace",
                                       &little_endian));
}

void put_integer(const py::handle& value, VARIANT& variant) {
  const py::object number = checked(PyNumber_Index(value.ptr()));
  variant.llVal = PyLong_AsLongLong(number.ptr());
  if (PyErr_Occurred() != nullptr) {
    PyErr_Clear();
    raise_com_error(DISP_E_OVERFLOW);
  }
  variant.vt = VT_I8;
  using Limits = std::numeric_limits<LONG>;
  if (variant.llVal < Limits::min() || variant.llVal > Limits::max()) return;
  variant.lVal = static_cast<LONG>(variant.llVal);
  variant.vt = VT_I4;
}

void put_bytes(const py::handle& value, VARIANT& variant) {
  Py_buffer view;
  if (PyObject_GetBuffer(value.ptr(), &view, PyBUF_CONTIG_RO) != 0) throw py::error_already_set();
  const auto size = static_cast<std::size_t>(view.len);
  SAFEARRAY* array = size > kMostBytes ? nullptr : SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(size));
  if (array != nullptr && size != 0) std::memcpy(array->pvData, view.buf, size);
  PyBuffer_Release(&view);
  if (array == nullptr) throw std::bad_alloc();
  variant.parray = array;
  variant.vt = VT_ARRAY | VT_UI1;
}

py::object from_array(SAFEARRAY* array) {
  VARTYPE type = VT_EMPTY;
  LONG low = 0, high = -1;
  void* data = nullptr;
  if (array == nullptr) return py::bytes();
  require(SafeArrayGetVartype(array, &type));
  if (type != VT_UI1 || SafeArrayGetDim(array) != 1) raise_com_error(DISP_E_BADVARTYPE);
  require(SafeArrayGetLBound(array, 1, &low));
  require(SafeArrayGetUBound(array, 1, &high));
  require(SafeArrayAccessData(array, &data));
  PyObject* made = PyBytes_FromStringAndSize(static_cast<const char*>(data), high - low + 1);
  SafeArrayUnaccessData(array);
  return checked(made);
}

py::object from_number(long long number, const py::object& convert) {
  py::int_ value(number);
  if (convert.is_none()) return value;
  if (PyType_Check(convert.ptr()) != 0) return convert(value);
  PyObject* known = PyDict_GetItemWithError(convert.ptr(), value.ptr());
  return known != nullptr ? py::reinterpret_borrow<py::object>(known) : std::move(value);
}

// --- Records, as objects of the classes in kestrine.records

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

// A nested record is filled where it lies: a copy of it shows its type and where that is.
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

// `convert` is a pair: the class, and by the names of fields what becomes of their values.
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

// Makes a record of type `name`; `value` has an attribute for each of its fields, else TypeError.
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

}  // namespace

void to_variant(const py::handle& value, const Parameter& target, VARIANT& variant) {
  if (value.is_none()) return;
  PyObject* object = value.ptr();
  if (PyBool_Check(object) != 0) {
    variant.vt = VT_BOOL;
    variant.boolVal = object == Py_True ? VARIANT_TRUE : VARIANT_FALSE;
  } else if (PyLong_Check(object) != 0 || (PyIndex_Check(object) != 0 && target.type != VT_VARIANT)) {
    put_integer(value, variant);
  } else if (PyFloat_Check(object) != 0) {
    variant.vt = VT_R8;
    variant.dblVal = PyFloat_AS_DOUBLE(object);
  } else if (PyUnicode_Check(object) != 0) {
    variant.bstrVal = to_text(value);
    variant.vt = VT_BSTR;
  } else if (target.type == VT_RECORD) {
    to_record(value, *target.record, target.type_name, variant);
  } else if (target.type == VT_VARIANT && PyObject_CheckBuffer(object) != 0) {
    put_bytes(value, variant);
  } else if (PyNumber_Check(object) != 0) {  // such as the floats of numpy
    variant.dblVal = PyFloat_AsDouble(object);
    if (PyErr_Occurred() != nullptr) throw py::error_already_set();
    variant.vt = VT_R8;
  } else {
    throw py::type_error(target.name + ": a value of type " + Py_TYPE(object)->tp_name + " cannot be passed");
  }
}

py::object to_python(const VARIANT& variant, const py::object& convert) {
  switch (variant.vt) {
    case VT_EMPTY:
    case VT_NULL:
      return py::none();
    case VT_I2:
      return from_number(variant.iVal, convert);
    case VT_I4:
    case VT_INT:
    case VT_ERROR:
      return from_number(variant.lVal, convert);
    case VT_UI1:
      return from_number(variant.bVal, convert);
    case VT_UI2:
      return from_number(variant.uiVal, convert);
    case VT_UI4:
    case VT_UINT:
      return from_number(variant.ulVal, convert);
    case VT_I8:
      return from_number(variant.llVal, convert);
    case VT_R4:
      return py::float_(static_cast<double>(variant.fltVal));
    case VT_R8:
      return py::float_(variant.dblVal);
    case VT_BOOL:
      return py::bool_(variant.boolVal != 0);
    case VT_BSTR:
      return from_text(variant.bstrVal);
    case VT_DISPATCH:
      return variant.pdispVal == nullptr ? py::none()
                                         : py::cast(std::make_unique<ComObject>(Pointer<IDispatch>(variant.pdispVal)));
    case VT_ARRAY | VT_UI1:
      return from_array(variant.parray);
    case VT_RECORD:
      return from_record(variant.record, convert);
    default:
      raise_com_error(DISP_E_BADVARTYPE);
  }
}

}  // namespace kestrine::python

#include "python/src/values.h"

#include <cmath>
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

// Of a value that the parameter, or the field of a record, cannot hold without a loss.
[[noreturn]] void refuse(PyObject* type, const Parameter& target, const char* needed, const py::handle& value) {
  PyErr_Clear();
  PyErr_Format(type, "%s: %s is needed, not %R", target.name.c_str(), needed, value.ptr());
  throw py::error_already_set();
}

// True and False; numpy has a pair of its own.
bool is_flag(const py::handle& value) {
  return PyBool_Check(value.ptr()) != 0 || std::string_view(Py_TYPE(value.ptr())->tp_name).starts_with("numpy.bool");
}

// A flag is no number here: to the callee it would be -1, and it is given for one by mistake.
void put_integer(const py::handle& value, const Parameter& target, VARIANT& variant) {
  PyObject* number = nullptr;
  if (PyFloat_Check(value.ptr()) != 0) {
    const double given = PyFloat_AS_DOUBLE(value.ptr());
    if (std::trunc(given) == given) number = PyLong_FromDouble(given);
  } else if (PyIndex_Check(value.ptr()) != 0 && !is_flag(value)) {
    number = PyNumber_Index(value.ptr());
  }
  if (number == nullptr) refuse(PyExc_TypeError, target, "a whole number", value);
  const long long whole = PyLong_AsLongLong(checked(number).ptr());
  using Limits = std::numeric_limits<LONG>;
  if (PyErr_Occurred() != nullptr || whole < Limits::min() || whole > Limits::max()) {
    refuse(PyExc_OverflowError, target, "a whole number of 32 bits", value);
  }
  variant.lVal = static_cast<LONG>(whole);
  variant.vt = VT_I4;
}

void put_number(const py::handle& value, const Parameter& target, VARIANT& variant) {
  if (PyNumber_Check(value.ptr()) == 0 || is_flag(value)) refuse(PyExc_TypeError, target, "a number", value);
  variant.dblVal = PyFloat_AsDouble(value.ptr());
  if (PyErr_Occurred() != nullptr) {
    const bool too_large = PyErr_ExceptionMatches(PyExc_OverflowError) != 0;
    refuse(too_large ? PyExc_OverflowError : PyExc_TypeError, target, "a number", value);
  }
  if (!std::isfinite(variant.dblVal)) refuse(PyExc_ValueError, target, "a finite number", value);
  variant.vt = VT_R8;
}

void put_flag(const py::handle& value, const Parameter& target, VARIANT& variant) {
  const bool whole = PyLong_Check(value.ptr()) != 0 && (value.equal(py::int_(0)) || value.equal(py::int_(1)));
  if (!is_flag(value) && !whole) refuse(PyExc_TypeError, target, "True or False", value);
  variant.boolVal = PyObject_IsTrue(value.ptr()) == 1 ? VARIANT_TRUE : VARIANT_FALSE;
  variant.vt = VT_BOOL;
}

void put_text(const py::handle& value, const Parameter& target, VARIANT& variant) {
  if (PyUnicode_Check(value.ptr()) == 0) refuse(PyExc_TypeError, target, "a text", value);
  variant.bstrVal = to_text(value);
  variant.vt = VT_BSTR;
}

void put_bytes(const py::handle& value, const Parameter& target, VARIANT& variant) {
  if (PyObject_CheckBuffer(value.ptr()) == 0) refuse(PyExc_TypeError, target, "an object with bytes", value);
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

void fill(IRecordInfo& info, void* record, const Parameter& target, const py::handle& value);

// A nested record is filled where it lies: a copy of it shows its type and where that is.
void put_field(IRecordInfo& info, void* record, const Text& name, const Parameter& target, const py::handle& value) {
  Value now, given;
  require(info.GetField(record, name, &now));
  Parameter field;
  field.name = target.name + "." + name.utf8();
  field.type = now.vt;
  if (now.vt == VT_RECORD) {
    fill(*now.record.pRecInfo, now.record.pvRecord, field, value);
    require(info.PutField(DISPATCH_PROPERTYPUT, record, name, &now));
    return;
  }
  if (now.vt == VT_I4 && is_flag(value)) {  // in a record a flag is a number: 1, not VARIANT_TRUE
    given.lVal = PyObject_IsTrue(value.ptr());
    given.vt = VT_I4;
  } else {
    to_variant(value, field, given);
  }
  require(info.PutField(DISPATCH_PROPERTYPUT, record, name, &given));
}

// `value` is of the class in kestrine.records that is named like the record.
void fill(IRecordInfo& info, void* record, const Parameter& target, const py::handle& value) {
  Text type;
  require(info.GetName(type.put()));
  if (type.utf8() != Py_TYPE(value.ptr())->tp_name) {
    refuse(PyExc_TypeError, target, ("a " + type.utf8() + " of kestrine.records").c_str(), value);
  }
  for (const Text& name : field_names(info)) {
    put_field(info, record, name, target, value.attr(name.utf8().c_str()));
  }
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

void put_record(const py::handle& value, const Parameter& target, VARIANT& variant) {
  Pointer<IRecordInfo> info;
  require(GetRecordInfoFromTypeInfo(target.record.get(), info.put()));
  void* record = info->RecordCreate();
  if (record == nullptr) throw std::bad_alloc();
  variant.vt = VT_RECORD;  // clearing it destroys the record
  variant.record = {record, info.get()};
  info.detach();
  fill(*variant.record.pRecInfo, record, target, value);
}

}  // namespace

void to_variant(const py::handle& value, const Parameter& target, VARIANT& variant) {
  switch (target.type) {
    case VT_R8:
      return put_number(value, target, variant);
    case VT_BOOL:
      return put_flag(value, target, variant);
    case VT_BSTR:
      return put_text(value, target, variant);
    case VT_RECORD:
      return put_record(value, target, variant);
    case VT_VARIANT:
      return put_bytes(value, target, variant);
    default:
      return put_integer(value, target, variant);
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

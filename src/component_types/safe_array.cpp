#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>

#include "component_types/variant_types.h"

using namespace kestrine::component_types;

namespace {

constexpr UINT kMostDimensions = 64;
constexpr std::uint64_t kMostBytes = 0x7FFFFFFF;

// In front of the descriptor, as in the original: room that keeps it aligned, and in the last four bytes the type.
constexpr std::size_t kPrefix = 16;
constexpr std::size_t kTypeBack = 4;

USHORT features_of(VARTYPE type) {
  switch (type) {
    case VT_BSTR:
      return FADF_HAVEVARTYPE | FADF_BSTR;
    case VT_UNKNOWN:
      return FADF_HAVEVARTYPE | FADF_UNKNOWN;
    case VT_DISPATCH:
      return FADF_HAVEVARTYPE | FADF_DISPATCH;
    case VT_VARIANT:
      return FADF_HAVEVARTYPE | FADF_VARIANT;
    default:
      return FADF_HAVEVARTYPE;
  }
}

char* prefix_of(const SAFEARRAY* array) {
  return reinterpret_cast<char*>(const_cast<SAFEARRAY*>(array)) - kPrefix;
}

VARTYPE type_of(const SAFEARRAY* array) {
  std::uint32_t type = 0;
  std::memcpy(&type, prefix_of(array) + kPrefix - kTypeBack, sizeof type);
  return static_cast<VARTYPE>(type);
}

// The bounds as they lie in memory, the rightmost dimension first. They run on past the declared single one.
SAFEARRAYBOUND* bounds_of(const SAFEARRAY* array) {
  char* descriptor = prefix_of(array) + kPrefix;
  return reinterpret_cast<SAFEARRAYBOUND*>(descriptor + offsetof(SAFEARRAY, rgsabound));
}

std::uint64_t count_of(const SAFEARRAY* array) {
  std::uint64_t count = 1;
  for (UINT i = 0; i < array->cDims; ++i) count *= bounds_of(array)[i].cElements;
  return count;
}

bool fits(const SAFEARRAYBOUND* bounds, UINT dimensions, ULONG size) {
  std::uint64_t bytes = size;
  for (UINT i = 0; i < dimensions; ++i) {
    bytes *= bounds[i].cElements;
    if (bytes > kMostBytes) return false;
  }
  return true;
}

// Zeroed elements; `bounds` has the rightmost dimension first.
SAFEARRAY* create(VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds) {
  const ULONG size = value_size(type);
  if (size == 0 || !fits(bounds, dimensions, size)) return nullptr;
  const std::size_t descriptor = offsetof(SAFEARRAY, rgsabound) + dimensions * sizeof(SAFEARRAYBOUND);
  char* block = static_cast<char*>(std::calloc(1, kPrefix + descriptor));
  if (block == nullptr) return nullptr;
  const std::uint32_t stored_type = type;
  std::memcpy(block + kPrefix - kTypeBack, &stored_type, sizeof stored_type);
  auto* array = reinterpret_cast<SAFEARRAY*>(block + kPrefix);
  array->cDims = static_cast<USHORT>(dimensions);
  array->fFeatures = features_of(type);
  array->cbElements = size;
  std::copy_n(bounds, dimensions, bounds_of(array));
  array->pvData = std::calloc(std::max<std::size_t>(count_of(array), 1), size);
  if (array->pvData == nullptr) {
    std::free(block);
    return nullptr;
  }
  return array;
}

// Calls `action` with every element that owns something, as a variant that may be changed.
template <typename Action>
void for_each_owner(const SAFEARRAY* array, Action action) {
  const VARTYPE type = type_of(array);
  if (features_of(type) == FADF_HAVEVARTYPE) return;
  auto* place = static_cast<char*>(array->pvData);
  for (std::uint64_t left = count_of(array); left > 0; --left, place += array->cbElements) {
    if (type == VT_VARIANT) {
      action(*reinterpret_cast<VARIANT*>(place));
      continue;
    }
    VARIANT element{};
    element.vt = type;
    std::memcpy(&element.llVal, place, sizeof element.llVal);
    action(element);
    std::memcpy(place, &element.llVal, sizeof element.llVal);
  }
}

// False when there is no memory; what has been copied until then belongs to the copy.
bool copy_elements(const SAFEARRAY* array, SAFEARRAY* copy) {
  std::memcpy(copy->pvData, array->pvData, count_of(array) * array->cbElements);
  bool complete = true;
  for_each_owner(copy, [&](VARIANT& element) {
    if (is_variant_type(element.vt) && SUCCEEDED(make_own(element))) return;
    VariantInit(&element);
    complete = false;
  });
  return complete;
}

HRESULT get_bound(const SAFEARRAY* array, UINT dimension, LONG* bound, bool upper) {
  if (array == nullptr || bound == nullptr) return E_INVALIDARG;
  if (dimension == 0 || dimension > array->cDims) return DISP_E_BADINDEX;
  const auto [elements, lowest] = bounds_of(array)[array->cDims - dimension];
  *bound = upper ? static_cast<LONG>(std::int64_t{lowest} + elements - 1) : lowest;
  return S_OK;
}

}  // namespace

SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds) {
  if (bounds == nullptr || dimensions == 0 || dimensions > kMostDimensions) return nullptr;
  SAFEARRAYBOUND reversed[kMostDimensions];
  std::reverse_copy(bounds, bounds + dimensions, reversed);
  return create(type, dimensions, reversed);
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE type, LONG lower_bound, ULONG elements) {
  const SAFEARRAYBOUND bound{elements, lower_bound};
  return create(type, 1, &bound);
}

HRESULT SafeArrayDestroy(SAFEARRAY* array) {
  if (array == nullptr) return S_OK;
  if (array->cLocks != 0) return DISP_E_ARRAYISLOCKED;
  for_each_owner(array, [](VARIANT& element) { VariantClear(&element); });
  std::free(array->pvData);
  std::free(prefix_of(array));
  return S_OK;
}

HRESULT SafeArrayLock(SAFEARRAY* array) {
  if (array == nullptr) return E_INVALIDARG;
  if (array->cLocks == std::numeric_limits<ULONG>::max()) return E_UNEXPECTED;
  ++array->cLocks;
  return S_OK;
}

HRESULT SafeArrayUnlock(SAFEARRAY* array) {
  if (array == nullptr) return E_INVALIDARG;
  if (array->cLocks == 0) return E_UNEXPECTED;
  --array->cLocks;
  return S_OK;
}

HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) {
  if (array == nullptr || data == nullptr) return E_INVALIDARG;
  const HRESULT result = SafeArrayLock(array);
  *data = SUCCEEDED(result) ? array->pvData : nullptr;
  return result;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* array) {
  return SafeArrayUnlock(array);
}

UINT SafeArrayGetDim(SAFEARRAY* array) {
  return array != nullptr ? array->cDims : 0;
}

UINT SafeArrayGetElemsize(SAFEARRAY* array) {
  return array != nullptr ? array->cbElements : 0;
}

HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dimension, LONG* bound) {
  return get_bound(array, dimension, bound, false);
}

HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dimension, LONG* bound) {
  return get_bound(array, dimension, bound, true);
}

HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type) {
  if (array == nullptr || type == nullptr) return E_INVALIDARG;
  *type = type_of(array);
  return S_OK;
}

HRESULT SafeArrayCopy(SAFEARRAY* array, SAFEARRAY** copy) {
  if (copy == nullptr) return E_INVALIDARG;
  *copy = nullptr;
  if (array == nullptr) return S_OK;
  SAFEARRAY* fresh = create(type_of(array), array->cDims, bounds_of(array));
  if (fresh == nullptr) return E_OUTOFMEMORY;
  if (!copy_elements(array, fresh)) {
    SafeArrayDestroy(fresh);
    // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): freed above, by way of the descriptor that lies inside the block
    return E_OUTOFMEMORY;
  }
  *copy = fresh;
  return S_OK;
}

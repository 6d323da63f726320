#include "scripting/type_description.h"

#include <memory>
#include <vector>

#include "dispatch/variant_value.h"

namespace kestrine::scripting {
namespace {

// What a description points at lies in the same object.
struct Function : FUNCDESC {
  std::vector<ELEMDESC> parameters;
  std::vector<TYPEDESC> targets;
};

struct Variable : VARDESC {
  VARIANT value;
  ARRAYDESC array;
};

// `unnamed` is the type of a value that has no type of its own.
TYPEDESC plain_type(const Value& row, VARTYPE unnamed) {
  TYPEDESC type{};
  type.vt = row.named == nullptr ? unnamed : VT_USERDEFINED;
  if (row.named != nullptr) type.hreftype = static_cast<HREFTYPE>(row.named - protocol::types().data());
  return type;
}

TYPEDESC parameter_type(const Value& row) {
  return plain_type(row, dispatch::forms_of(row.type).argument);
}

// Outputs are pointers to their type, and so are variants that are read only.
ELEMDESC parameter(const Value& row, Function& function) {
  ELEMDESC element{};
  element.tdesc = parameter_type(row);
  if (row.out || row.type == ValueType::kBytes) {
    function.targets.push_back(element.tdesc);
    element.tdesc = {};
    element.tdesc.vt = VT_PTR;
    element.tdesc.lptdesc = &function.targets.back();
  }
  element.paramdesc.wParamFlags = row.out ? PARAMFLAG_FOUT : PARAMFLAG_FIN;
  return element;
}

INVOKEKIND invoke_kind(MemberKind kind) {
  if (kind == MemberKind::kMethod) return INVOKE_FUNC;
  return kind == MemberKind::kGet ? INVOKE_PROPERTYGET : INVOKE_PROPERTYPUT;
}

SHORT slot_offset(TypeKind kind, std::size_t member) {
  if (kind == TypeKind::kEvents) return 0;
  const std::size_t before = kind == TypeKind::kDual ? kDispatchSlots : kUnknownSlots;
  return static_cast<SHORT>((before + member) * sizeof(void*));
}

}  // namespace

FUNCDESC* describe_function(const TypeRow& type, Form form, std::size_t index) {
  const MemberRow& member = type.members[index];
  auto made = std::make_unique<Function>();
  made->memid = member.dispid;
  made->funckind = form == Form::kByNumber ? FUNC_DISPATCH : FUNC_PUREVIRTUAL;
  made->invkind = invoke_kind(member.kind);
  made->callconv = CC_STDCALL;
  made->oVft = slot_offset(type.kind, index);
  const bool gives_value = form == Form::kByNumber && member.kind == MemberKind::kGet;
  made->elemdescFunc.tdesc.vt = form == Form::kByNumber ? VT_VOID : VT_HRESULT;
  if (gives_value) {
    made->elemdescFunc.tdesc = parameter_type(member.values.front());
    return made.release();
  }
  made->targets.reserve(member.values.size());  // parameters point into it
  for (const Value& row : member.values) made->parameters.push_back(parameter(row, *made));
  if (member.kind == MemberKind::kGet) made->parameters.front().paramdesc.wParamFlags |= PARAMFLAG_FRETVAL;
  made->cParams = static_cast<SHORT>(made->parameters.size());
  made->lprgelemdescParam = made->parameters.data();
  return made.release();
}

VARDESC* describe_value(const protocol::EnumValue& row, MEMBERID id) {
  auto* const made = new Variable{};
  made->memid = id;
  made->varkind = VAR_CONST;
  made->value.vt = VT_I4;
  made->value.lVal = row.value;
  made->lpvarValue = &made->value;
  made->elemdescVar.tdesc.vt = VT_I4;
  return made;
}

VARDESC* describe_field(const Value& row, MEMBERID id) {
  auto* const made = new Variable{};
  made->memid = id;
  made->varkind = VAR_PERINSTANCE;
  made->oInst = row.offset;
  TYPEDESC& type = made->elemdescVar.tdesc;
  type = plain_type(row, dispatch::forms_of(row.type).field);
  if (row.count != 0) {
    made->array.tdescElem = type;
    made->array.cDims = 1;
    made->array.rgbounds[0].cElements = row.count;
    type = {};
    type.vt = VT_CARRAY;
    type.lpadesc = &made->array;
  }
  return made;
}

void release(FUNCDESC* function) {
  delete static_cast<Function*>(function);
}

void release(VARDESC* variable) {
  delete static_cast<Variable*>(variable);
}

}  // namespace kestrine::scripting

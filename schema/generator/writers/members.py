"""How members of interfaces and their parameters are declared in C++."""

from ..model.interfaces import Member, Parameter

_IN = {"long": "std::int32_t", "double": "double", "bool": "VARIANT_BOOL", "text": "BSTR", "variant": "VARIANT",
       "bytes": "VARIANT*", "unknown": "IUnknown*"}


def cpp_type(kind: str) -> str:
    """The C++ type of a value; enumerations and records go by their own names."""
    return _IN.get(kind, kind)


def declaration(parameter: Parameter) -> str:
    return f"{cpp_type(parameter.type)}{'*' if parameter.out else ''} {parameter.name}"


def signature(member: Member) -> tuple[str, list[str]]:
    return f"HRESULT {member.slot_name}(", [declaration(parameter) for parameter in member.parameters]

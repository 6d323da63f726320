"""src/connection/packet_accessors.h"""

from ..model.interfaces import Parameter, Reader
from ..model.schema import Schema
from .members import signature
from .text import header, wrapped

_LOADS = {"long": "wire::load_i32({at})", "double": "wire::load_f64({at})",
          "bool": "static_cast<VARIANT_BOOL>(wire::load_u16({at}))"}


def write(schema: Schema) -> str:
    readers = [member for member in schema.connect_members if isinstance(member, Reader)]
    names = [f"k{reader.name}" for reader in readers]
    body = f"""{wrapped("enum class PacketAccessor { ", names, " };")}

// The members of `Interface` that pick values out of a packet. Straight code and no walk along rows: applications call
// them for every element of a stream.
template <class Interface>
class PacketAccessors : public Interface {{
 public:
{chr(10).join(_reader(reader) for reader in readers)}
 protected:
  ~PacketAccessors() = default;

  // Finds the record or the element that the reader reads, whole; the index is for readers of elements.
  virtual HRESULT locate(PacketAccessor reader, VARIANT* data, std::int32_t index, const std::uint8_t*& at) = 0;
}};"""
    return header("Values out of packets, one by one.", ['"kestrine/interfaces.h"', '"kestrine/wire.h"'], body,
                  "kestrine::connection")


def _reader(reader: Reader) -> str:
    start, declared = signature(reader)
    index = "index" if any(parameter.name == "index" for parameter in reader.parameters) else "0"
    outputs = [parameter for parameter in reader.parameters if parameter.out]
    missing = wrapped("    if (", [f"{output.name} == nullptr" for output in outputs], ") return E_POINTER;", 8)
    loads = "".join(f"    *{output.name} = {_load(output)};\n" for output in outputs)
    return (f"{wrapped(f'  {start}', declared, ') override {')}\n"
            f"{missing.replace(',', ' ||')}\n"
            f"    const std::uint8_t* at = nullptr;\n"
            f"    if (const HRESULT result = this->locate(PacketAccessor::k{reader.name}, {reader.parameters[0].name}, "
            f"{index}, at); FAILED(result)) {{\n      return result;\n    }}\n{loads}    return S_OK;\n  }}\n")


def _load(output: Parameter) -> str:
    at = f"at + {output.offset}"
    enumeration = f"static_cast<{output.type}>(wire::load_i32({{at}}))"
    return _LOADS.get(output.type, enumeration).format(at=at)

"""src/objects/class_names.h, src/platform/library_version.h and src/connection/setting_rows.h"""

from ..model.schema import Schema
from .text import flag, header, literal


def write_classes(schema: Schema) -> str:
    rows = "".join(f"    {{{literal(each.name, 'u')}, {literal(each.program, 'u')}, "
                   f"{literal(each.program + '.1', 'u')}, CLSID_{each.name}, {flag(each.for_scripts)}}},\n"
                   for each in schema.library.classes)
    body = f"""struct ClassName {{
  const char16_t* name;
  const char16_t* program;  // the program identifier, without and with its version
  const char16_t* versioned_program;
  const CLSID& clsid;
  bool for_scripts;  // can be called by name
}};

inline constexpr ClassName kClassNames[] = {{
{rows}}};

consteval const ClassName& class_named(std::u16string_view name) {{
  for (const ClassName& each : kClassNames) {{
    if (each.name == name) return each;
  }}
  throw "no such class";
}}"""
    return header("The names of the classes.", ["<string_view>", "", '"kestrine/interfaces.h"'], body,
                  "kestrine::objects")


def write_version(schema: Schema) -> str:
    library = schema.library
    text = ", ".join(map(str, library.version))
    major, minor = library.type_library_version
    body = f"""inline constexpr std::u16string_view kFileVersion = {literal(text, "u")};

inline constexpr std::uint16_t kTypeLibraryMajor = {major};
inline constexpr std::uint16_t kTypeLibraryMinor = {minor};
inline constexpr std::u16string_view kTypeLibraryVersion = u"{major}.{minor}";"""
    return header("The version of the library's file and of its type library.", ["<cstdint>", "<string_view>"], body,
                  "kestrine::platform")


def write_settings(schema: Schema) -> str:
    rows = "".join(f"inline constexpr Setting k{each.key}{{{literal(each.key, 'u')}, {each.default}}};\n"
                   for each in schema.settings)
    body = f"""struct Setting {{
  std::u16string_view key;
  std::int32_t default_value;
}};

{rows}"""
    return header("The settings of a connection, in section Settings.", ["<cstdint>", "<string_view>"], body,
                  "kestrine::connection::settings")

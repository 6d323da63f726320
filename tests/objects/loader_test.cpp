// Classes found by name and identifier, registered or not.
#include <dlfcn.h>

#include <array>

#include "registry_fixture.h"

namespace kestrine::test {
namespace {

const std::pair<std::u16string, CLSID> kKnown[] = {
    {u"Kestrine.LTConnect", CLSID_LTConnect},           {u"Kestrine.LTCommandSync", CLSID_LTCommandSync},
    {u"Kestrine.LTCommandAsync", CLSID_LTCommandAsync}, {u"Kestrine.LTConnect2", CLSID_LTConnect2},
    {u"Kestrine.LTCommandSync2", CLSID_LTCommandSync2}, {u"Kestrine.LTCommandAsync2", CLSID_LTCommandAsync2}};

HRESULT create_object(const CLSID& clsid, const IID& iid = IID_IUnknown, DWORD context = CLSCTX_INPROC_SERVER) {
  Pointer<IUnknown> object;
  const HRESULT status = CoCreateInstance(clsid, nullptr, context, iid, object.put_void());
  EXPECT_EQ(static_cast<bool>(object), SUCCEEDED(status));
  return status;
}

std::string class_of(const std::string& id, const std::string& library) {
  return "[Other.Thing\\CLSID]\n@=" + id + "\n[CLSID\\" + id + "\\InprocServer32]\n@=" + library + "\n";
}

constexpr const char* kOther = "{01234567-89ab-CDEF-0123-456789abcdef}";
constexpr CLSID kOtherId{0x01234567, 0x89AB, 0xCDEF, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};

class LoaderTest : public RegistryTest {
 protected:
  static void find_all() {
    for (const auto& [program, known] : kKnown) {
      std::u16string shouted = program;
      for (char16_t& c : shouted) c = c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c;
      for (const std::u16string& name : {program, program + u".1", shouted}) {
        for (const auto find : {CLSIDFromProgID, CLSIDFromString}) {
          CLSID clsid{};
          EXPECT_EQ(find(name.c_str(), &clsid), S_OK) << to_utf8(name);
          EXPECT_EQ(clsid, known);
        }
      }
      LPOLESTR name = nullptr;
      ASSERT_EQ(ProgIDFromCLSID(known, &name), S_OK);
      EXPECT_EQ(name, program + u".1");
      CoTaskMemFree(name);
      EXPECT_EQ(create_object(known), S_OK);
    }
  }
};

TEST_F(LoaderTest, FindsTheClassesOfTheLibraryBesideItRegisteredOrNot) {
  find_all();
  EXPECT_FALSE(std::filesystem::exists(directory / "user")) << "asking registers nothing";
  ASSERT_EQ(host::register_library({}), S_OK);
  find_all();
}

TEST_F(LoaderTest, CreatesByNameInOneCall) {
  EXPECT_TRUE(create<ILTConnect2>(u"kestrine.ltconnect2"));
  try {
    create<ILTConnect2>(u"Kestrine.LTConnect3");
    FAIL() << "there is no such class";
  } catch (const Error& error) {
    EXPECT_EQ(error.code(), CO_E_CLASSSTRING);
    EXPECT_STREQ(error.what(), "no class of the name Kestrine.LTConnect3 is registered");
  }
}

TEST_F(LoaderTest, LooksAtTheUsersClassesFirstThenAtThoseOfTheSystem) {
  for (const char* place : {"second", "first", "user"}) {
    const std::string library = std::string("/") + place + "/lib.so";
    put(class_of(kOther, library), place);
    EXPECT_EQ(create_object(kOtherId), CO_E_DLLNOTFOUND);
    EXPECT_NE(reason().find(library), std::string::npos);
  }
  put("[Kestrine.LTConnect\\CLSID]\n@=" + std::string(kOther));
  CLSID clsid{};
  EXPECT_EQ(CLSIDFromProgID(u"Kestrine.LTConnect", &clsid), S_OK);
  EXPECT_EQ(clsid, kOtherId) << "the user's own choice goes before the library that stands beside";
}

TEST_F(LoaderTest, TellsWhyAClassCannotBeHad) {
  Dl_info host_library{};
  ASSERT_NE(::dladdr(reinterpret_cast<const void*>(&CoCreateInstance), &host_library), 0);
  const std::string no_library = file().string();
  const std::pair<std::string, HRESULT> cases[] = {
      {"", REGDB_E_CLASSNOTREG},
      {class_of(kOther, (directory / "gone.so").string()), CO_E_DLLNOTFOUND},
      {class_of(kOther, no_library), CO_E_ERRORINDLL},
      {class_of(kOther, host_library.dli_fname), CO_E_ERRORINDLL},
  };
  for (const auto& [registered, status] : cases) {
    put(registered);
    EXPECT_EQ(create_object(kOtherId), status) << registered;
    EXPECT_NE(reason(), "");
  }
  EXPECT_EQ(create_object(CLSID_LTConnect, IID_IUnknown, 0x4), REGDB_E_CLASSNOTREG) << "not in another process";
  EXPECT_EQ(host::register_library("/gone.so"), CO_E_DLLNOTFOUND);
  EXPECT_EQ(create_object(CLSID_LTConnect, IID_ILTCommandSync), E_NOINTERFACE) << "what the class itself says";
  LPOLESTR name = nullptr;
  EXPECT_EQ(ProgIDFromCLSID(kOtherId, &name), REGDB_E_CLASSNOTREG);
}

TEST_F(LoaderTest, ReadsAndWritesIdentifiers) {
  CLSID clsid{};
  EXPECT_EQ(CLSIDFromString(to_utf16(kOther).c_str(), &clsid), S_OK);
  EXPECT_EQ(clsid, kOtherId);
  std::array<OLECHAR, 39> text{};
  EXPECT_EQ(StringFromGUID2(kOtherId, text.data(), 39), 39);
  EXPECT_EQ(text.data(), std::u16string(u"{01234567-89AB-CDEF-0123-456789ABCDEF}"));
  EXPECT_EQ(StringFromGUID2(kOtherId, text.data(), 38), 0);
  LPOLESTR made = nullptr;
  ASSERT_EQ(StringFromCLSID(kOtherId, &made), S_OK);
  EXPECT_EQ(made, std::u16string(text.data()));
  CoTaskMemFree(made);
  for (const OLECHAR* wrong : {u"", u"Nobody.Nothing", u"01234567-89AB-CDEF-0123-456789ABCDEF",
                               u"{01234567-89AB-CDEF-0123-456789ABCDEG}", u"{01234567-89AB-CDEF-01234-56789ABCDEF}"}) {
    EXPECT_EQ(CLSIDFromString(wrong, &clsid), CO_E_CLASSSTRING);
    EXPECT_EQ(clsid, GUID_NULL);
  }
}

}  // namespace
}  // namespace kestrine::test

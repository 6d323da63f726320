// What the library registers of itself, and how safely.
#include <sys/wait.h>
#include <unistd.h>

#include "platform/registry.h"
#include "registry_fixture.h"

namespace kestrine::test {
namespace {

using platform::edit_registry;
using platform::RegistryEdit;
using Kind = RegistryEdit::Kind;

constexpr const char* kLibId = "{F9A54975-EB6A-41C9-A900-4B276BC6D37F}";
constexpr const char* kForeign =
    "; kept by hand\n\n[Other.Thing]\n@=Other\n; a note\nSize = 5\n\n[CLSID]\nowner=nobody\n\n[AppID]\nx=1\n";

class RegistrationTest : public RegistryTest {
 protected:
  static HRESULT enter() { return host::register_library({}); }
  static HRESULT take_out() { return host::unregister_library({}); }
};

HRESULT set(const std::u16string& key, const std::u16string& name, const std::u16string& value) {
  return edit_registry({{Kind::kSetValue, key, name, value}}).status;
}

TEST_F(RegistrationTest, EntersTheKeysOfSixClassesTheApplicationAndTheTypeLibraryAndNothingElse) {
  ASSERT_EQ(enter(), S_OK);
  auto found = values();
  const std::string module = found["CLSID\\{BEB42795-3C2D-4BC4-8EE8-F45A6095DB21}\\InprocServer32|"];
  EXPECT_TRUE(module.starts_with('/') && module.ends_with("/libkestrine.so.3")) << module;
  const std::string application = found["AppID\\Kestrine.DLL|AppID"];
  std::map<std::string, std::string> expected = {
      {"AppID\\Kestrine.DLL|AppID", application},
      {"AppID\\" + application + "|", "Kestrine"},
      {std::string("TypeLib\\") + kLibId + "\\8.3|", "KESTRINELib"},
      {std::string("TypeLib\\") + kLibId + "\\8.3\\0\\linux64|", module},
      {std::string("TypeLib\\") + kLibId + "\\8.3\\FLAGS|", "0"},
  };
  const std::pair<std::string, std::string> classes[] = {
      {"LTConnect", "{BEB42795-3C2D-4BC4-8EE8-F45A6095DB21}"},
      {"LTCommandSync", "{1A9A44B6-FE98-442E-BD35-EDC6E146D1A4}"},
      {"LTCommandAsync", "{92413654-8B5D-4DBD-951C-569B0BE42F45}"},
      {"LTConnect2", "{25BE4145-0CED-4079-81B5-5FDCD638894A}"},
      {"LTCommandSync2", "{8A55B7F0-295D-48C6-B842-7A56A8590A45}"},
      {"LTCommandAsync2", "{9E5A7805-03DA-46A5-A6EA-906C2A2A74CF}"},
  };
  for (const auto& [name, id] : classes) {
    const std::string plain = "Kestrine." + name, versioned = plain + ".1", clsid = "CLSID\\" + id;
    expected[versioned + "|"] = name + " Class";
    expected[versioned + "\\CLSID|"] = id;
    expected[plain + "|"] = name + " Class";
    expected[plain + "\\CLSID|"] = id;
    expected[plain + "\\CurVer|"] = versioned;
    expected[clsid + "|"] = name + " Class";
    expected[clsid + "|AppID"] = application;
    expected[clsid + "\\ProgID|"] = versioned;
    expected[clsid + "\\VersionIndependentProgID|"] = plain;
    expected[clsid + "\\InprocServer32|"] = module;
    expected[clsid + "\\InprocServer32|ThreadingModel"] = "Apartment";
    expected[clsid + "\\TypeLib|"] = kLibId;
    if (name.ends_with('2')) expected[clsid + "\\Programmable|"] = "";
  }
  EXPECT_EQ(found, expected);
}

TEST_F(RegistrationTest, KeepsWhatOthersEnteredAndRewritesItsClassKeysAsAWhole) {
  put(kForeign);
  ASSERT_EQ(set(u"other.THING", u"SIZE", u"6"), S_OK);
  const std::string foreign = text();
  EXPECT_NE(foreign.find("; a note\nSIZE=6\n"), foreign.npos) << "set where it stood";
  ASSERT_EQ(enter(), S_OK);
  const std::string entered = text();
  EXPECT_TRUE(entered.starts_with(foreign)) << entered;
  ASSERT_EQ(set(u"clsid\\{beb42795-3c2d-4bc4-8ee8-f45a6095db21}\\Old", u"", u"1"), S_OK);
  ASSERT_EQ(set(u"CLSID\\{BEB42795-3C2D-4BC4-8EE8-F45A6095DB21}", u"Old", u"1"), S_OK);
  ASSERT_NE(text(), entered);
  ASSERT_EQ(enter(), S_OK);
  EXPECT_EQ(text(), entered);
  ASSERT_EQ(take_out(), S_OK);
  EXPECT_EQ(text(), foreign);
}

TEST_F(RegistrationTest, LeavesNothingBehindAndWritesTheFirstPlaceOfTheSystem) {
  EXPECT_EQ(take_out(), S_OK);
  EXPECT_FALSE(std::filesystem::exists(directory / "user")) << "there was nothing to take out";
  host::set_registration_scope(host::RegistrationScope::kSystem);
  ASSERT_EQ(enter(), S_OK);
  EXPECT_TRUE(std::filesystem::exists(file("first")));
  EXPECT_FALSE(std::filesystem::exists(file("second")) || std::filesystem::exists(file()));
  ASSERT_EQ(take_out(), S_OK);
  EXPECT_TRUE(std::filesystem::is_empty(file("first").parent_path()));
}

TEST_F(RegistrationTest, LosesNothingWhenTwoProcessesWriteAtOnce) {
  const pid_t child = ::fork();
  for (int i = 0; i < 50; ++i) set(child == 0 ? u"Child" : u"Parent", to_utf16(std::to_string(i)), u"1");
  if (child == 0) ::_exit(0);
  ::waitpid(child, nullptr, 0);
  EXPECT_EQ(values().size(), 100u);
}

TEST_F(RegistrationTest, LeavesADamagedFileAloneAndSaysWhereItIsDamaged) {
  const std::pair<std::string, const char*> cases[] = {
      {"[A]\n@=1\ngarbage\n", "line 3"},
      {"@=1\n", "line 1"},
      {"[A\n", "line 1"},
      {"[]\n", "line 1"},
      {"[A]\n=1\n", "line 2"},
      {std::string("[A]\n\0=\n", 7), "line 2"},
      {"[\xFF]\n", "line 1"},
  };
  for (const auto& [damaged, where] : cases) {
    put(damaged);
    EXPECT_EQ(enter(), REGDB_E_READREGDB) << damaged;
    EXPECT_NE(reason().find(where + std::string(" of ") + file().string()), std::string::npos) << log.back();
    EXPECT_EQ(take_out(), REGDB_E_READREGDB);
    CLSID clsid;
    EXPECT_EQ(CLSIDFromProgID(u"Kestrine.LTConnect", &clsid), REGDB_E_READREGDB);
    EXPECT_EQ(text(), damaged);
  }
}

TEST_F(RegistrationTest, RefusesTextsThatWouldNotReadBack) {
  put(kForeign);
  const RegistryEdit cases[] = {
      {Kind::kSetValue, u"Key", u"", u"two\nlines"},
      {Kind::kSetValue, u"Key", u"", u"blank "},
      {Kind::kSetValue, u"Key", u"a=b", u""},
      {Kind::kSetValue, u"Key", u";a", u""},
      {Kind::kAddKey, u"", u"", u""},
      {Kind::kSetValue, u"K\r", u"", u""},
  };
  for (const RegistryEdit& edit : cases) {
    EXPECT_EQ(edit_registry({{Kind::kSetValue, u"Good", u"", u"1"}, edit}).status, REGDB_E_INVALIDVALUE);
    EXPECT_EQ(text(), kForeign) << "all edits or none";
  }
  EXPECT_EQ(set(u"\u00C4]=[;", u"\u20AC", u"[=]; \U0001F600"), S_OK);
  EXPECT_EQ(values()["\xC3\x84]=[;|\xE2\x82\xAC"], "[=]; \xF0\x9F\x98\x80");
}

TEST_F(RegistrationTest, TellsWhyAPlaceCannotBeWritten) {
  const std::filesystem::path closed = directory / "closed";
  std::filesystem::create_directory(closed);
  std::filesystem::permissions(directory, std::filesystem::perms(0755));
  std::filesystem::permissions(closed, std::filesystem::perms(0555));
  ::setenv("XDG_DATA_HOME", closed.c_str(), 1);
  const uid_t user = ::geteuid();
  constexpr uid_t kNobody = 65534;
  if (user == 0) {
    ASSERT_EQ(::seteuid(kNobody), 0) << "permissions do not bind the administrator";
  }
  EXPECT_EQ(enter(), E_ACCESSDENIED);
  ASSERT_EQ(::seteuid(user), 0);
  EXPECT_NE(reason().find("cannot write " + closed.string()), std::string::npos);
}

}  // namespace
}  // namespace kestrine::test

#include <algorithm>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "cli/verbs/verbs.h"
#include "kestrine/error.h"
#include "kestrine/host.h"
#include "kestrine/loader.h"

namespace kestrine::cli {
namespace {

constexpr const char* kRegisterFooter =
    "\nThe classes are registered with the full path of their library. Programs find them among the user's classes\n"
    "first, then among those of the system.\n\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.";

constexpr const char* kClassesFooter =
    "\nPrograms and scripts find a class by its name, with the version or without, among the user's classes first,\n"
    "then among those of the system. Where none is registered, they get those of the library that is installed with\n"
    "this tool.";

struct RegistrationOptions {
  bool system = false;  // for all users
  std::string library;  // the tool's own when empty
};

Outcome list_classes() {
  std::vector<host::RegisteredClass> classes;
  check(host::registered_classes(classes));
  if (classes.empty()) std::cout << "no classes are registered\n";
  std::size_t widest = 0;
  for (const auto& each : classes) widest = std::max(widest, each.name.size());
  std::string file;
  for (const auto& each : classes) {
    if (each.registered_in != file) std::cout << (file = each.registered_in) << ":\n";
    std::error_code ignored;
    std::cout << "  " << std::left << std::setw(static_cast<int>(widest)) << each.name << "  " << each.clsid << "  "
              << each.library << (std::filesystem::exists(each.library, ignored) ? "" : " (missing)") << '\n';
  }
  return Outcome::kComplete;
}

// Prints what is registered afterwards.
void add_change(CLI::App& application, Command& chosen, const char* name, const char* purpose,
                HRESULT (*change)(const std::string& library)) {
  const auto options = std::make_shared<RegistrationOptions>();
  auto* command = application.add_subcommand(name, purpose);
  command->footer(kRegisterFooter);
  command->add_flag("--system", options->system, "For all users of this computer");
  command->add_option("--library", options->library, "Another library than the one installed with this tool")
      ->type_name("FILE")
      ->check(CLI::ExistingFile);
  command->final_callback([&chosen, options, change] {
    chosen = [options, change] {
      host::set_registration_scope(options->system ? host::RegistrationScope::kSystem : host::RegistrationScope::kUser);
      const std::string& library = options->library;
      // With its folder: a bare name would be looked for among the system's libraries.
      check(change(library.empty() ? "" : std::filesystem::absolute(library).string()));
      return list_classes();
    };
  });
}

}  // namespace

void add_registration(CLI::App& application, Command& chosen) {
  add_change(application, chosen, "register", "Make the classes known to programs and scripts, by name.",
             host::register_library);
  add_change(application, chosen, "unregister", "Take out the classes that were registered.", host::unregister_library);
  auto* list = application.add_subcommand("classes", "List the classes that are registered.");
  list->footer(kClassesFooter);
  list->final_callback([&chosen] { chosen = list_classes; });
}

}  // namespace kestrine::cli

#include "cli/verbs/registration.h"

#include <algorithm>
#include <filesystem>
#include <iomanip>
#include <ostream>
#include <vector>

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

using Action = RegistrationOptions::Action;

CLI::App* add_command(CLI::App& application, RegistrationOptions& options, Action action, const char* name,
                      const char* purpose) {
  auto* command = application.add_subcommand(name, purpose);
  command->callback([&options, action] { options.action = action; });
  return command;
}

void add_place(CLI::App& command, RegistrationOptions& options) {
  command.footer(kRegisterFooter);
  command.add_flag("--system", options.system, "For all users of this computer");
  command.add_option("--library", options.library, "Another library than the one installed with this tool")
      ->type_name("FILE")
      ->check(CLI::ExistingFile);
}

void list_classes(std::ostream& out) {
  std::vector<host::RegisteredClass> classes;
  check(host::registered_classes(classes));
  if (classes.empty()) out << "no classes are registered\n";
  std::size_t widest = 0;
  for (const auto& each : classes) widest = std::max(widest, each.name.size());
  std::string file;
  for (const auto& each : classes) {
    if (each.registered_in != file) out << (file = each.registered_in) << ":\n";
    std::error_code ignored;
    out << "  " << std::left << std::setw(static_cast<int>(widest)) << each.name << "  " << each.clsid << "  "
        << each.library << (std::filesystem::exists(each.library, ignored) ? "" : " (missing)") << '\n';
  }
}

}  // namespace

void add_registration_commands(CLI::App& application, RegistrationOptions& options) {
  add_place(*add_command(application, options, Action::kRegister, "register",
                         "Make the classes known to programs and scripts, by name."),
            options);
  add_place(*add_command(application, options, Action::kUnregister, "unregister",
                         "Take out the classes that were registered."),
            options);
  add_command(application, options, Action::kList, "classes", "List the classes that are registered.")
      ->footer(kClassesFooter);
}

void run(const RegistrationOptions& options, std::ostream& out) {
  host::set_registration_scope(options.system ? host::RegistrationScope::kSystem : host::RegistrationScope::kUser);
  // With its folder: a bare name would be looked for among the system's libraries.
  const std::string library = options.library.empty() ? "" : std::filesystem::absolute(options.library).string();
  if (options.action == Action::kRegister) check(host::register_library(library));
  if (options.action == Action::kUnregister) check(host::unregister_library(library));
  list_classes(out);
}

}  // namespace kestrine::cli

// The command lines of `kestrine register`, `kestrine unregister` and `kestrine classes`.
#pragma once

#include <CLI/CLI.hpp>
#include <iosfwd>
#include <string>

namespace kestrine::cli {

struct RegistrationOptions {
  enum class Action { kNone, kRegister, kUnregister, kList };

  Action action = Action::kNone;  // of the subcommand that was given
  bool system = false;            // for all users
  std::string library;            // the tool's own when empty
};

// Adds the subcommands; parsing fills the options, which must outlive the application.
void add_registration_commands(CLI::App& application, RegistrationOptions& options);

// Does the action, and prints what is registered then. A failure comes as kestrine::Error.
void run(const RegistrationOptions& options, std::ostream& out);

}  // namespace kestrine::cli

// What the tool can be asked to do. Each verb adds its subcommand to the application; parsing chooses one.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "cli/verbs/run.h"

namespace kestrine::cli {

// Does what was asked for, and throws Failure or kestrine::Error when it cannot.
using Command = std::function<Outcome()>;

// `kestrine measure`: a series of stationary points, each measured by a call that waits for its result.
void add_measure(CLI::App& application, Command& chosen);
// `kestrine stream`: a continuous measurement; fails also when it ran to its end and points are missing.
void add_stream(CLI::App& application, Command& chosen);
// `kestrine register`, `kestrine unregister` and `kestrine classes`: which classes programs find by name.
void add_registration(CLI::App& application, Command& chosen);

}  // namespace kestrine::cli

// How the tool's help looks.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>

namespace kestrine::cli {

std::shared_ptr<CLI::FormatterBase> help_formatter();

}  // namespace kestrine::cli

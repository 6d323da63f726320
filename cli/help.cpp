#include "cli/help.h"

namespace kestrine::cli {
namespace {

constexpr std::size_t kColumn = 28;

// An option's line says what it takes and its default; ranges and what excludes what are told to who gets it wrong.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() { column_width(kColumn); }

  std::string make_option_opts(const CLI::Option* option) const override {
    if (option->get_type_size() == 0) return {};
    const std::string type = option->get_type_name();  // and what it is checked for, after a colon
    return " " + type.substr(0, type.find(':'));
  }

  std::string make_option_desc(const CLI::Option* option) const override {
    const std::string value = option->get_type_size() == 0 ? "" : option->get_default_str();
    return option->get_description() + (value.empty() ? "" : " (default: " + value + ")");
  }
};

}  // namespace

std::shared_ptr<CLI::FormatterBase> help_formatter() {
  return std::make_shared<HelpFormatter>();
}

}  // namespace kestrine::cli

#include "cli/outputs.h"

#include <ostream>
#include <utility>

#include "cli/chart.h"
#include "cli/failure.h"
#include "cli/point_files.h"

namespace kestrine::cli {

Outputs::Outputs(const CommonOptions& options) {
  add(options.csv_file, write_csv);
  add(options.json_file, write_json_lines);
  add(options.svg_file, [](std::ostream& out, const Measurement& measurement) { out << draw_chart(measurement); });
}

void Outputs::write(std::ostream& told, const Measurement& measurement) const {
  for (const auto& each : files_) {
    each.file.write([&](std::ostream& out) { each.writer(out, measurement); });
    told << "wrote " << each.file.name() << std::endl;
  }
}

void Outputs::add(const std::string& name, Writer writer) {
  if (name.empty()) return;
  OutputFile file(name);
  for (const auto& other : files_) {
    if (other.file.target() == file.target()) throw Failure("two outputs have the same file, " + name);
  }
  files_.push_back({std::move(file), std::move(writer)});
}

}  // namespace kestrine::cli

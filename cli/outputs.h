// The files that were asked for.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "cli/common_options.h"
#include "cli/measurement.h"
#include "cli/output_file.h"

namespace kestrine::cli {

class Outputs {
 public:
  // Proves that they can be written, before anything is measured. Throws Failure otherwise.
  explicit Outputs(const CommonOptions& options);

  void write(std::ostream& told, const Measurement& measurement) const;

 private:
  using Writer = std::function<void(std::ostream&, const Measurement&)>;

  struct Output {
    OutputFile file;
    Writer writer;
  };

  void add(const std::string& name, Writer writer);

  std::vector<Output> files_;
};

}  // namespace kestrine::cli

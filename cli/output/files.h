// Files that appear whole or not at all, and those that a user asked for.
#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "cli/common/options.h"
#include "cli/points/measurement.h"

namespace kestrine::cli {

class OutputFile {
 public:
  // Throws Failure at once when the file could not be written later; leaves nothing behind in finding that out.
  explicit OutputFile(const std::string& name);

  // Writes beside the target and takes its place when all of it has reached the file. Throws Failure otherwise,
  // and whatever was there before stays as it was.
  void write(const std::function<void(std::ostream&)>& content) const;

  const std::string& name() const { return name_; }
  // With symbolic links followed.
  const std::filesystem::path& target() const { return target_; }

 private:
  std::string name_;  // as it was given
  std::filesystem::path target_;
};

// The files of the options --csv, --json and --svg.
class OutputFiles {
 public:
  // Proves that they can be written, before anything is measured. Throws Failure otherwise.
  explicit OutputFiles(const CommonOptions& options);

  // Says on `out` which have been written.
  void write(std::ostream& out, const Measurement& measurement) const;

 private:
  using Writer = void (*)(std::ostream&, const Measurement&);

  struct Output {
    OutputFile file;
    Writer writer;
  };

  void add(const std::string& name, Writer writer);

  std::vector<Output> outputs_;
};

}  // namespace kestrine::cli

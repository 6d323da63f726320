// The files that a user asked for: rows of points that are written as they come, and a picture at the end.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <span>
#include <string>
#include <vector>

#include "cli/common/options.h"
#include "cli/output/point_files.h"
#include "cli/points/measurement.h"

namespace kestrine::cli {

// Under its own name from its first line on. "-" is standard output, a pipe or a device is written to as it is, and a
// regular file is replaced, but not before there is something to replace it with.
class OutputFile {
 public:
  // Throws Failure when it could not be written; that leaves no trace, whether it is found out or not. Waits for the
  // reader of a pipe, and throws Stopped when the user will not.
  explicit OutputFile(const std::string& name);
  OutputFile(OutputFile&& other) noexcept;
  OutputFile& operator=(OutputFile&&) = delete;
  ~OutputFile();

  // Whole lines. The system has them when it returns, so that they outlive this process, whatever ends it. Throws
  // Failure otherwise, and the file ends with the last line that there was room for.
  void write(const std::string& lines);
  // Throws Failure when the system reports only now that something was not written.
  void close();

  const std::string& name() const { return name_; }
  bool is_standard_output() const;
  bool is_same(const OutputFile& other) const;

 private:
  void open(bool pipe = false);

  std::string name_;  // as it was given
  int descriptor_ = -1;
  bool regular_ = true;  // or not there yet
};

// The files of the options --csv, --json and --svg.
class OutputFiles {
 public:
  // Throws as OutputFile does, before anything is measured.
  explicit OutputFiles(const CommonOptions& options);

  // Whether standard output is taken, so that people must be told elsewhere.
  bool have_standard_output() const;
  // With the attitudes of as many points, or none. Throws Failure when a file could not be written, the first time:
  // the others get all points all the same.
  void write(const Measurement& measurement, std::span<const Point> points, std::span<const Attitude> attitudes);
  // Draws, and says on `out` which files have been written. Throws Failure when one could not be.
  void finish(std::ostream& out, const Measurement& measurement);

 private:
  struct Output {
    OutputFile file;
    RowWriter rows;  // none for a picture
    bool broken = false;
  };

  void add(const std::string& name, RowWriter rows);
  void attempt(Output& output, const auto& action, std::string& failure);

  std::vector<Output> outputs_;
  std::size_t count_ = 0;  // of the points so far
};

}  // namespace kestrine::cli

#include "cli/output/files.h"

#include <cerrno>
#include <fstream>
#include <random>
#include <system_error>

#include "cli/common/failure.h"
#include "cli/drawing/chart.h"
#include "cli/output/point_files.h"

namespace kestrine::cli {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const std::string& name, const std::string& reason) {
  throw Failure("cannot write " + name + ": " + reason);
}

[[noreturn]] void refuse(const std::string& name, int error) {
  refuse(name, error == 0 ? "the system gives no reason" : std::generic_category().message(error));
}

// A file beside the target, for as long as it is needed.
class Draft {
 public:
  Draft(const fs::path& target, const std::string& name) : name_(name) {
    std::string hidden = ".";
    hidden += target.filename().string() + "." + std::to_string(std::random_device{}()) + ".part";
    path_ = target.parent_path() / hidden;
    errno = 0;
    stream_.open(path_, std::ios::binary | std::ios::trunc);
    if (!stream_) refuse(name_, errno);
  }
  Draft(const Draft&) = delete;
  Draft& operator=(const Draft&) = delete;
  ~Draft() {
    stream_.close();
    std::error_code ignored;
    if (!path_.empty()) fs::remove(path_, ignored);
  }

  std::ostream& stream() { return stream_; }

  void become(const fs::path& target) {
    errno = 0;
    stream_.close();
    if (!stream_) refuse(name_, errno);
    std::error_code error;
    const auto before = fs::status(target, error);
    if (fs::exists(before)) fs::permissions(path_, before.permissions(), error);
    fs::rename(path_, target, error);
    if (error) refuse(name_, error.value());
    path_.clear();
  }

 private:
  std::string name_;
  fs::path path_;
  std::ofstream stream_;
};

}  // namespace

OutputFile::OutputFile(const std::string& name) : name_(name) {
  std::error_code error;
  // Renaming onto a symbolic link would replace the link instead of the file it stands for.
  target_ = fs::weakly_canonical(fs::absolute(name, error), error);
  if (error) refuse(name, error.value());
  const auto status = fs::status(target_, error);
  if (fs::is_directory(status)) refuse(name, "it is a directory");
  if (fs::exists(status)) {
    // A device or a pipe must not be replaced by a file, nor a file that its owner has protected.
    if (!fs::is_regular_file(status)) refuse(name, "it is not a regular file");
    errno = 0;
    if (!std::ofstream(target_, std::ios::app)) refuse(name, errno);
  }
  Draft(target_, name_);
}

void OutputFile::write(const std::function<void(std::ostream&)>& content) const {
  Draft draft(target_, name_);
  errno = 0;
  content(draft.stream());
  draft.stream().flush();
  if (!draft.stream()) refuse(name_, errno);
  draft.become(target_);
}

OutputFiles::OutputFiles(const CommonOptions& options) {
  add(options.csv_file, write_csv);
  add(options.json_file, write_json_lines);
  add(options.svg_file, [](std::ostream& out, const Measurement& measurement) { out << draw_chart(measurement); });
}

void OutputFiles::add(const std::string& name, Writer writer) {
  if (name.empty()) return;
  const OutputFile file(name);
  for (const auto& other : outputs_) {
    if (other.file.target() == file.target()) throw Failure("two outputs have the same file, " + name);
  }
  outputs_.push_back({file, writer});
}

void OutputFiles::write(std::ostream& out, const Measurement& measurement) const {
  for (const auto& each : outputs_) {
    each.file.write([&](std::ostream& into) { each.writer(into, measurement); });
    out << "wrote " << each.file.name() << std::endl;
  }
}

}  // namespace kestrine::cli

#include "cli/output/files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string_view>
#include <system_error>
#include <utility>

#include "cli/common/failure.h"
#include "cli/common/terminal.h"
#include "cli/drawing/chart.h"

namespace kestrine::cli {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kNewFile = 0666;
constexpr int kSlice = 50;                  // milliseconds between two looks at whether the user wants to stop
constexpr std::size_t kAlwaysTaken = 4096;  // that much does not block a pipe that has room

[[noreturn]] void refuse(const std::string& name, const std::string& reason) {
  throw Failure("cannot write " + (name == "-" ? "to standard output" : name) + ": " + reason);
}

[[noreturn]] void refuse(const std::string& name, int error) {
  refuse(name, std::generic_category().message(error));
}

// A name that stands for a descriptor that is open already: to open it anew could truncate what is behind it.
std::optional<int> named_descriptor(std::string_view name) {
  if (name == "-" || name == "/dev/stdout") return STDOUT_FILENO;
  if (name == "/dev/stderr") return STDERR_FILENO;
  for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
    if (!name.starts_with(folder)) continue;
    int number = -1;
    const auto digits = name.substr(folder.size());
    if (std::from_chars(digits.data(), digits.data() + digits.size(), number).ec == std::errc()) return number;
  }
  return std::nullopt;
}

// Finds out without leaving a trace. For the one who runs this process, who need not be the one who started it.
void check_writable(const std::string& name, bool exists) {
  const fs::path folder = fs::path(name).parent_path();
  const std::string place = exists ? name : folder.empty() ? "." : folder.string();
  if (faccessat(AT_FDCWD, place.c_str(), exists ? W_OK : W_OK | X_OK, AT_EACCESS) != 0) refuse(name, errno);
}

}  // namespace

OutputFile::OutputFile(const std::string& name) : name_(name) {
  if (const auto number = named_descriptor(name)) {
    regular_ = false;
    descriptor_ = fcntl(*number, F_DUPFD_CLOEXEC, 0);
    if (descriptor_ < 0) refuse(name_, errno);
    return;
  }
  struct stat found {};
  const bool exists = stat(name.c_str(), &found) == 0;
  if (!exists && errno != ENOENT) refuse(name, errno);
  if (exists && S_ISDIR(found.st_mode)) refuse(name, "it is a directory");
  regular_ = !exists || S_ISREG(found.st_mode);
  regular_ ? check_writable(name, exists) : open(S_ISFIFO(found.st_mode));
}

OutputFile::OutputFile(OutputFile&& other) noexcept
    : name_(std::move(other.name_)), descriptor_(std::exchange(other.descriptor_, -1)), regular_(other.regular_) {}

OutputFile::~OutputFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

// A pipe that nobody reads cannot be opened without waiting; so it is tried until there is a reader.
void OutputFile::open(bool pipe) {
  const int how = regular_ ? O_CREAT | O_TRUNC : O_NONBLOCK;
  while ((descriptor_ = ::open(name_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | how, kNewFile)) < 0) {
    if (!(pipe && errno == ENXIO) && errno != EINTR) refuse(name_, errno);
    if (terminal::stop_asked()) throw Stopped();
    poll(nullptr, 0, kSlice);
  }
  if (!regular_) fcntl(descriptor_, F_SETFL, O_WRONLY);
}

void OutputFile::write(const std::string& lines) {
  if (descriptor_ < 0) open();
  std::string_view rest = lines;
  while (!rest.empty()) {
    // A regular file takes all at once. A pipe has a reader who may leave it full for ever, and the user wants to be
    // heeded meanwhile.
    pollfd room{descriptor_, POLLOUT, 0};
    if (!regular_ && poll(&room, 1, kSlice) <= 0) {
      if (terminal::stop_asked()) refuse(name_, "its reader takes no more");
      continue;
    }
    const ssize_t written =
        ::write(descriptor_, rest.data(), regular_ ? rest.size() : std::min(rest.size(), kAlwaysTaken));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) {
      const int error = errno;
      const std::string_view done(lines.data(), lines.size() - rest.size());
      // Of a line for which there was no room, nothing is left.
      const auto torn = static_cast<off_t>(done.size() - (done.rfind('\n') + 1));
      if (regular_ && torn > 0) {
        const off_t end = lseek(descriptor_, 0, SEEK_CUR);
        if (ftruncate(descriptor_, end - torn) != 0) refuse(name_, errno);
      }
      refuse(name_, error);
    }
    rest.remove_prefix(static_cast<std::size_t>(written));
  }
}

void OutputFile::close() {
  const int descriptor = std::exchange(descriptor_, -1);
  if (::close(descriptor) != 0 && errno != EINTR) refuse(name_, errno);
}

bool OutputFile::is_standard_output() const {
  return named_descriptor(name_) == STDOUT_FILENO;
}

bool OutputFile::is_same(const OutputFile& other) const {
  const auto number = named_descriptor(name_), other_number = named_descriptor(other.name_);
  if (number || other_number) return number == other_number;
  std::error_code error;
  return fs::weakly_canonical(fs::absolute(name_, error), error) ==
             fs::weakly_canonical(fs::absolute(other.name_, error), error) ||
         fs::equivalent(name_, other.name_, error);
}

OutputFiles::OutputFiles(const CommonOptions& options) {
  add(options.csv_file, csv_rows);
  add(options.json_file, json_rows);
  add(options.svg_file, nullptr);
}

void OutputFiles::add(const std::string& name, RowWriter rows) {
  if (name.empty()) return;
  OutputFile file(name);
  for (const auto& other : outputs_) {
    if (file.is_same(other.file)) throw Failure("two outputs have the same file, " + name);
  }
  outputs_.push_back({std::move(file), rows});
}

bool OutputFiles::have_standard_output() const {
  return std::any_of(outputs_.begin(), outputs_.end(), [](const auto& each) { return each.file.is_standard_output(); });
}

// The first failure of an output is kept, and nothing more is written to it.
void OutputFiles::attempt(Output& output, const auto& action, std::string& failure) {
  if (output.broken) return;
  try {
    action();
  } catch (const Failure& reason) {
    output.broken = true;
    if (failure.empty()) failure = reason.what();
  }
}

void OutputFiles::write(const Measurement& measurement, std::span<const Point> points,
                        std::span<const Attitude> attitudes) {
  std::string failure;
  for (auto& each : outputs_) {
    if (each.rows == nullptr) continue;
    attempt(
        each, [&] { each.file.write(each.rows(measurement, count_, points, attitudes)); }, failure);
  }
  count_ += points.size();
  if (!failure.empty()) throw Failure(failure);
}

void OutputFiles::finish(std::ostream& out, const Measurement& measurement) {
  std::string failure;
  for (auto& each : outputs_) {
    const auto finish = [&] {
      if (each.rows == nullptr) each.file.write(draw_chart(measurement));
      each.file.close();
      if (!each.file.is_standard_output()) out << "wrote " << each.file.name() << std::endl;
    };
    attempt(each, finish, failure);
  }
  if (!failure.empty()) throw Failure(failure);
}

}  // namespace kestrine::cli

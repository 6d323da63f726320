// A file that appears whole or not at all.
#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <string>

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

}  // namespace kestrine::cli

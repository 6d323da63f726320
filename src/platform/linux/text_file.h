// Small text files that several processes read and write.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/descriptor.h"

namespace kestrine::platform {

inline std::string_view trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// The value of an environment variable that holds an absolute path; empty otherwise.
std::filesystem::path path_from_environment(const char* name);

struct TextFile {
  std::string text;
  mode_t mode = 0;  // 0 when there is no file yet
};

// None, with errno set, when there is a file that cannot be read: it must not be taken for an empty one.
std::optional<TextFile> read_text_file(const std::filesystem::path& file);

// Puts the text in the file's place, with the file's mode, so that a reader sees the old or the new one; only under
// the lock of the file's directory. With `synced`, also a power failure leaves one of the two. False, with errno set,
// when that cannot be done.
bool replace_text_file(const std::filesystem::path& file, const TextFile& content, bool synced);

// Keeps other writers of a directory's files away, also other threads of this process; goes with the object.
class DirectoryLock {
 public:
  // Waits for the lock. errno is set when it cannot be had.
  explicit DirectoryLock(const std::filesystem::path& directory);

  bool held() const { return held_; }

 private:
  Descriptor directory_;
  bool held_ = false;
};

}  // namespace kestrine::platform

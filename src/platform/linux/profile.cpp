#include "platform/profile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <system_error>

#include "platform/linux/descriptor.h"
#include "platform/linux/profile_text.h"
#include "platform/linux/utf8.h"

namespace kestrine::platform {
namespace {

using std::filesystem::path;

// The value of an environment variable that holds an absolute path; empty otherwise.
path path_from_environment(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr || value[0] != '/') return {};
  return value;
}

path profile_directory() {
  if (const char* directory = std::getenv("KESTRINE_PROFILE_DIR"); directory != nullptr && *directory != '\0') {
    return directory;
  }
  if (const path config = path_from_environment("XDG_CONFIG_HOME"); !config.empty()) return config / "kestrine";
  if (const path home = path_from_environment("HOME"); !home.empty()) return home / ".config" / "kestrine";
  return {};
}

// Empty when there is no place for the file.
path profile_path(std::u16string_view file) {
  const std::string name = to_utf8(file);
  if (name.empty() || name.find('/') != std::string::npos) return name;
  const path directory = profile_directory();
  return directory.empty() ? path() : directory / name;
}

struct Content {
  std::string text;
  mode_t mode = 0;  // 0 when there is no file yet
};

// None when there is a file that cannot be read: it must not be taken for an empty one.
std::optional<Content> read_file(const path& file) {
  // Without waiting: the name may be that of a pipe.
  const Descriptor in(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!in.valid()) return errno == ENOENT ? std::optional<Content>(Content{}) : std::nullopt;
  struct stat status {};
  if (::fstat(in.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  Content content{{}, status.st_mode & 07777};
  char block[4096];
  for (;;) {
    const ssize_t count = ::read(in.get(), block, sizeof block);
    if (count == 0) return content;
    if (count > 0) {
      content.text.append(block, static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return std::nullopt;
    }
  }
}

bool write_all(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(fd, text.data(), text.size());
    if (count < 0 && errno != EINTR) return false;
    text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
  return true;
}

// By way of a second file, which only the holder of the directory's lock touches; one left behind by a crash is
// written over. Not synced: after a power failure the settings may be the old ones, and a line of trace in the
// receive path is not worth a wait for the disk.
bool replace_file(const path& file, const Content& content) {
  const path fresh = path(file).replace_filename(".").concat(file.filename().string()).concat(".new");
  const Descriptor out(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644));
  if (!out.valid()) return false;
  const bool written = write_all(out.get(), content.text) &&
                       (content.mode == 0 || ::fchmod(out.get(), content.mode) == 0) &&
                       ::rename(fresh.c_str(), file.c_str()) == 0;
  if (!written) ::unlink(fresh.c_str());
  return written;
}

// Waits for the directory's lock, also against other threads of this process; it goes with the descriptor.
bool lock(const Descriptor& directory) {
  int result;
  do {
    result = ::flock(directory.get(), LOCK_EX);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

// Where the file lies, with links followed: the file behind a link is to be replaced, not the link. Empty when there
// is no such place.
path target_of(std::u16string_view file) {
  const path named = profile_path(file);
  if (!named.has_filename()) return {};
  std::error_code failed;
  path target = std::filesystem::weakly_canonical(std::filesystem::current_path(failed) / named, failed);
  return failed ? path() : target;
}

std::int32_t leading_integer(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  std::int64_t number = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') break;
    number = std::min(number * 10 + (c - '0'), negative ? kMost + 1 : kMost);
  }
  return static_cast<std::int32_t>(negative ? -number : number);
}

}  // namespace

std::int32_t profile_int(std::u16string_view section, std::u16string_view key, std::int32_t default_value,
                         std::u16string_view file) {
  const auto content = read_file(profile_path(file));
  if (!content) return default_value;
  const auto value = find_profile_value(content->text, to_utf8(section), to_utf8(key));
  return value ? leading_integer(*value) : default_value;
}

bool write_profile_string(std::u16string_view section, std::u16string_view key, std::u16string_view value,
                          std::u16string_view file) {
  // Such texts would come back as other lines than they went in.
  if (section.find_first_of(u"]\r\n") != section.npos || key.find_first_of(u"[=\r\n") != key.npos ||
      value.find_first_of(u"\r\n") != value.npos) {
    return false;
  }
  const path target = target_of(file);
  if (target.empty()) return false;
  std::error_code ignored;  // what matters is whether the directory can be opened
  std::filesystem::create_directories(target.parent_path(), ignored);
  const Descriptor directory(::open(target.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory.valid() || !lock(directory)) return false;
  auto content = read_file(target);
  if (!content) return false;
  content->text = set_profile_value(content->text, to_utf8(section), to_utf8(key), to_utf8(value));
  return replace_file(target, *content);
}

}  // namespace kestrine::platform

#include "platform/linux/text_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace kestrine::platform {
namespace {

using std::filesystem::path;

bool write_all(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(fd, text.data(), text.size());
    if (count < 0 && errno != EINTR) return false;
    text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
  return true;
}

bool sync_directory(const path& directory) {
  const Descriptor opened(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return opened.valid() && ::fsync(opened.get()) == 0;
}

}  // namespace

path path_from_environment(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr || value[0] != '/') return {};
  return value;
}

std::optional<TextFile> read_text_file(const path& file) {
  // Without waiting: the name may be that of a pipe.
  const Descriptor in(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!in.valid()) return errno == ENOENT ? std::optional<TextFile>(TextFile{}) : std::nullopt;
  struct stat status {};
  if (::fstat(in.get(), &status) != 0) return std::nullopt;
  if (!S_ISREG(status.st_mode)) {
    errno = EINVAL;
    return std::nullopt;
  }
  TextFile content{{}, status.st_mode & 07777};
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

// By way of a second file, which only the holder of the directory's lock touches; one left behind by a crash is
// written over.
bool replace_text_file(const path& file, const TextFile& content, bool synced) {
  const path fresh = path(file).replace_filename(".").concat(file.filename().string()).concat(".new");
  const Descriptor out(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644));
  if (!out.valid()) return false;
  const bool written = write_all(out.get(), content.text) &&
                       (content.mode == 0 || ::fchmod(out.get(), content.mode) == 0) &&
                       (!synced || ::fsync(out.get()) == 0) && ::rename(fresh.c_str(), file.c_str()) == 0;
  if (!written) {
    const int reason = errno;
    ::unlink(fresh.c_str());
    errno = reason;
    return false;
  }
  return !synced || sync_directory(file.parent_path());
}

DirectoryLock::DirectoryLock(const path& directory) {
  const int opened = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (opened < 0) return;
  directory_.adopt(opened);
  int result;
  do {
    result = ::flock(opened, LOCK_EX);
  } while (result != 0 && errno == EINTR);
  held_ = result == 0;
}

}  // namespace kestrine::platform

#include "platform/registry.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <utility>

#include "kestrine/host.h"
#include "kestrine/loader.h"
#include "kestrine/text.h"
#include "platform/linux/text_file.h"

namespace kestrine::platform {
namespace {

using host::RegistrationScope;
using std::filesystem::path;

constexpr const char* kFile = "kestrine/classes.reg";

std::atomic<RegistrationScope> scope_of_edits = RegistrationScope::kUser;
thread_local RegistryText* captured = nullptr;

// Empty when the user has no place for files.
path user_file() {
  if (const path data = path_from_environment("XDG_DATA_HOME"); !data.empty()) return data / kFile;
  const path home = path_from_environment("HOME");
  return home.empty() ? path() : home / ".local/share" / kFile;
}

std::vector<path> system_files() {
  const char* const set = std::getenv("XDG_DATA_DIRS");
  std::string_view directories = set != nullptr && *set != '\0' ? set : "/usr/local/share:/usr/share";
  std::vector<path> files;
  while (!directories.empty()) {
    const std::size_t end = std::min(directories.find(':'), directories.size());
    if (directories.starts_with('/')) files.push_back(path(directories.substr(0, end)) / kFile);
    directories.remove_prefix(std::min(end + 1, directories.size()));
  }
  return files;
}

// Empty when there is no such place.
path file_to_edit() {
  if (scope_of_edits == RegistrationScope::kUser) return user_file();
  const auto files = system_files();
  return files.empty() ? path() : files.front();
}

// The file behind a link is to be replaced, not the link.
path without_links(const path& file) {
  std::error_code failed;
  path target = std::filesystem::weakly_canonical(file, failed);
  return failed ? file : target;
}

std::string reason_of(int error) {
  return std::generic_category().message(error);
}

RegistryResult cannot_write(const path& file) {
  const int error = errno;
  const bool denied = error == EACCES || error == EPERM || error == EROFS;
  return {denied ? E_ACCESSDENIED : REGDB_E_WRITEREGDB, "cannot write " + file.string() + ": " + reason_of(error)};
}

RegistryResult apply(const std::vector<RegistryEdit>& edits, RegistryText& text) {
  for (const RegistryEdit& edit : edits) {
    if (text.apply(edit)) continue;
    return {REGDB_E_INVALIDVALUE, "cannot register what has line breaks, or blanks at its ends: " + to_utf8(edit.key)};
  }
  return {};
}

RegistryResult read(const path& file, TextFile& content, RegistryText& text) {
  auto found = read_text_file(file);
  if (!found && errno == ENOTDIR) found.emplace();
  if (!found) return {REGDB_E_READREGDB, "cannot read " + file.string() + ": " + reason_of(errno)};
  std::size_t bad_line = 0;
  auto parsed = RegistryText::parse(found->text, bad_line);
  if (!parsed) {
    return {REGDB_E_READREGDB, "line " + std::to_string(bad_line) + " of " + file.string() + " makes no sense"};
  }
  content = *std::move(found);
  text = *std::move(parsed);
  return {};
}

RegistryResult edit_file(const path& file, const std::vector<RegistryEdit>& edits) {
  const DirectoryLock lock(file.parent_path());
  if (!lock.held()) return cannot_write(file);
  TextFile content;
  RegistryText text;
  RegistryResult result = read(file, content, text);
  if (SUCCEEDED(result.status)) result = apply(edits, text);
  if (FAILED(result.status)) return result;
  content.text = text.text();
  const bool written =
      text.empty() ? ::unlink(file.c_str()) == 0 || errno == ENOENT : replace_text_file(file, content, true);
  return written ? RegistryResult{} : cannot_write(file);
}

}  // namespace

std::vector<path> registry_files() {
  std::vector<path> files = system_files();
  if (const path file = user_file(); !file.empty()) files.insert(files.begin(), file);
  return files;
}

RegistryResult read_registry(const path& file, RegistryText& text) {
  TextFile content;
  return read(file, content, text);
}

RegistryResult edit_registry(const std::vector<RegistryEdit>& edits) {
  if (captured != nullptr) return apply(edits, *captured);
  const path file = without_links(file_to_edit());
  if (file.empty()) return {REGDB_E_WRITEREGDB, "there is no directory for registered classes: HOME is not set"};
  std::error_code failed;
  if (!std::filesystem::exists(file.parent_path(), failed)) {
    // Where nothing was registered, taking out leaves no trace either.
    RegistryText text;
    RegistryResult result = apply(edits, text);
    if (FAILED(result.status) || text.empty()) return result;
    std::filesystem::create_directories(file.parent_path(), failed);
    if (failed) {
      errno = failed.value();
      return cannot_write(file);
    }
  }
  return edit_file(file, edits);
}

RegistryCapture::RegistryCapture(RegistryText& into) {
  captured = &into;
}

RegistryCapture::~RegistryCapture() {
  captured = nullptr;
}

}  // namespace kestrine::platform

namespace kestrine::host {

void set_registration_scope(RegistrationScope scope) {
  platform::scope_of_edits = scope;
}

}  // namespace kestrine::host

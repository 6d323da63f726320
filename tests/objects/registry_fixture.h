// Registered classes of a test's own, apart from those of whoever runs it.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "environment.h"
#include "kestrine/kestrine.h"

namespace kestrine::test {

class RegistryTest : public testing::Test {
 protected:
  RegistryTest() {
    ::setenv("XDG_DATA_HOME", (directory / "user").c_str(), 1);
    ::setenv("XDG_DATA_DIRS", ((directory / "first").string() + ":" + (directory / "second").string()).c_str(), 1);
    host::set_log_hook([this](const std::string& line) { log.push_back(line); });
  }
  ~RegistryTest() override {
    host::set_log_hook({});
    host::set_registration_scope(host::RegistrationScope::kUser);
  }

  std::filesystem::path file(const char* place = "user") const { return directory / place / "kestrine/classes.reg"; }

  void put(const std::string& text, const char* place = "user") const {
    std::filesystem::create_directories(file(place).parent_path());
    std::ofstream(file(place), std::ios::binary) << text;
  }

  std::string text(const char* place = "user") const { return text_of(file(place)); }

  // The values of a file: "key|name" and the text; for a key without values "key|".
  std::map<std::string, std::string> values(const char* place = "user") const {
    std::map<std::string, std::string> found;
    std::istringstream lines(text(place));
    std::string key;
    bool empty = false;
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with('[')) {
        if (empty) found[key + "|"];
        key = line.substr(1, line.size() - 2);
        empty = true;
      } else if (const auto equals = line.find('='); equals != line.npos) {
        const std::string name = line.substr(0, equals);
        const bool fresh = found.emplace(key + "|" + (name == "@" ? "" : name), line.substr(equals + 1)).second;
        EXPECT_TRUE(fresh) << "twice: " << key << " " << name;
        empty = false;
      }
    }
    if (empty) found[key + "|"];
    return found;
  }

  // The reason that the latest failure left behind; in the log as well.
  std::string reason() const {
    const std::string what = take_error(E_FAIL).what();
    EXPECT_TRUE(!log.empty() && log.back() == what) << what;
    return what;
  }

  Environment environment;
  const std::filesystem::path& directory = environment.directory();
  std::vector<std::string> log;
};

}  // namespace kestrine::test

// What the walks over all operations stand in, and what they expect of each.
#pragma once

#include <initializer_list>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "client_test.h"
#include "typed_call.h"

namespace kestrine::test {

std::string number(std::int32_t value);
std::string join(std::initializer_list<std::string_view> pieces);

Bytes expected_request(const protocol::MemberRow& row, const TypedCall& call);
std::vector<std::string> expected_outputs(const SyncOperation& row, const TypedCall& call, const Bytes& reply);

class Operations : public ClientTest {
 protected:
  static std::vector<SyncOperation> chosen(bool (*is_meant)(const protocol::MemberRow&));
  static bool sends(const protocol::MemberRow& row) { return row.command != nullptr; }
  static bool waits(const protocol::MemberRow& row) { return row.wait != nullptr; }

  // The call on a connection that lets it pass, whatever the calls before have left behind.
  TypedCall call(const SyncOperation& row, std::int32_t measure_time = 1500);
  Bytes reply(const SyncOperation& row, std::int32_t status);
  // What the application was told of failures.
  Lines exceptions();
  void expect_failure(const SyncOperation& row, HRESULT result, std::int32_t status, const std::string& text);

  std::mt19937 random{20};
};

}  // namespace kestrine::test

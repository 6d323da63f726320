// What the walks over all operations stand in, and what they expect of each.
#pragma once

#include <initializer_list>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "client_test.h"
#include "operation_rows.h"
#include "protocol/catalogue.h"

namespace kestrine::test {

// The record of the packet that brings the outputs.
const protocol::TypeRow& result_record(const OperationRow& row);
std::string command_text(const OperationRow& row);
std::string number(std::int32_t value);
std::string join(std::initializer_list<std::string_view> pieces);

Bytes expected_request(const OperationRow& row, const TypedCall& call);
std::vector<std::string> expected_outputs(const OperationRow& row, const TypedCall& call, const Bytes& reply);

class Operations : public ClientTest {
 protected:
  // The call on a connection that lets it pass, whatever the calls before have left behind.
  TypedCall call(const OperationRow& row, std::int32_t measure_time = 1500);
  Bytes reply(const OperationRow& row, std::int32_t status);
  // What the application was told of failures.
  Lines exceptions();
  void expect_failure(const OperationRow& row, HRESULT result, std::int32_t status, const std::string& text);

  std::mt19937 random{20};
};

}  // namespace kestrine::test

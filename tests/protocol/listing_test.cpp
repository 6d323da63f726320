// The whole catalogue as text, in catalogue.txt: what the library promises, for people to read and to check against
// what the server does. All else in the tests takes the catalogue for granted.
//
// One line a command: "code name text", the request "size(parameters)", the record of the answer with its fields, and
// everything that sends the command or is fired by its answer. A value is "name:type@offset", with the quantity behind
// the type; the offset is that in the packet. "(request)" and "(event)" stand for the parameters of the request and
// the arguments of the asynchronous event. What belongs to no command follows.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "kestrine/interfaces.h"
#include "kestrine/loader.h"
#include "kestrine/text.h"
#include "protocol/catalogue.h"

namespace kestrine::protocol {
namespace {

template <class... Parts>
std::string join(const Parts&... parts) {
  std::ostringstream out;
  (out << ... << parts);
  return out.str();
}

std::string quoted(const char16_t* text) {
  std::string line = to_utf8(text);
  for (std::size_t at = 0; (at = line.find('\n', at)) != std::string::npos;) line.replace(at, 1, "\\n");
  return join('"', line, '"');
}

std::string type_of(const Value& value) {
  constexpr const char* kTypes[] = {"long", "flag", "double", "text", "bytes", "record", "object"};
  constexpr const char* kQuantities[] = {"",          "length",     "length2",     "angle",    "angle2",  "position",
                                         "deviation", "covariance", "temperature", "pressure", "percent", "count",
                                         "h",         "min",        "s",           "ms",       "us"};
  std::string type = value.named ? value.named->name : kTypes[static_cast<int>(value.type)];
  if (value.count != 0) type += value.type == ValueType::kText ? std::to_string(value.count) : "[]";
  const std::string quantity = kQuantities[static_cast<int>(value.quantity)];
  return quantity.empty() ? type : join(type, "/", quantity);
}

std::string list(std::span<const Value> values) {
  std::string line;
  for (const Value& value : values) {
    line += join(line.empty() ? "" : " ", value.out ? "out " : "", value.name, ":", type_of(value));
    if (value.offset != kInNoPacket) line += join("@", value.offset);
  }
  return join("(", line, ")");
}

bool are_same(std::span<const Value> left, std::span<const Value> right) {
  return !left.empty() && std::ranges::equal(left, right, [](Value one, const Value& other) {
    one.out = other.out;
    return list({&one, 1}) == list({&other, 1});
  });
}

std::string departures(const MemberRow& row) {
  constexpr const char* kModes[] = {"", " continuous-point", " continuous-probe", " stationary-point",
                                    " stationary-probe"};
  constexpr const char* kSources[] = {"", " of-measurement", " of-tiltra"};
  constexpr const char* kMirrors[] = {"", " sets-mode", " sets-time"};
  constexpr const char* kSpeeds[] = {"", " given", " left", " right", " up", " down", " stop"};
  std::string line = row.wait ? join(" ", to_utf8(row.wait->key)) : "";
  if (row.adds_measure_time) line += "+MeasureTime";
  if (row.sends_only) line += " sends-only";
  line += join(kModes[static_cast<int>(row.mode_check)], kSources[static_cast<int>(row.source)]);
  if (row.waits_for_result) line += " waits-for-result";
  if (row.outputs_when_good) line += " when-good";
  if (row.result_type != -1) line += join(" type-", row.result_type);
  return line + kMirrors[static_cast<int>(row.mirror)] + kSpeeds[static_cast<int>(row.speed)];
}

std::string line_of(const char* side, const MemberRow& row, const CommandRow* command = nullptr) {
  constexpr const char* kKinds[] = {"", "get_", "put_"};
  std::string values = list(row.values);
  const MemberRow* const event = command ? command->async_event : nullptr;
  if (command && are_same(row.values, command->parameters)) values = "(request)";
  if (event && event != &row && are_same(row.values, event->values)) {
    values = row.values.front().out ? "(out event)" : "(event)";
  }
  return join(side, " ", row.dispid, " ", kKinds[static_cast<int>(row.kind)], row.name, values, departures(row));
}

class Listing {
 public:
  Listing() {
    for (const CommandRow& row : commands()) add_command(row);
    for (const PacketRow& row : packets()) add("packet ", row.type, " ", row.name, " ", row.record->name);
    for (const MemberRow& row : sync_methods()) add_other("sync", row);
    for (const MemberRow& row : async_methods()) add_other("async", row);
    for (const MemberRow& row : find_type("ILTConnect")->members) add_other("connect", row);
    for (const MemberRow& row : sync_events()) add_other("sync event", row);
    for (const MemberRow& row : async_events()) add_other("async event", row);
    for (const TypeRow& row : types()) add_type(row);
    for (const WaitRow& row : wait_classes()) {
      add("wait ", to_utf8(row.key), " ", row.ordinary, row.increased ? join(" increased ", row.increased) : "");
    }
    add_texts("status", status_texts());
    add_texts("string", string_table());
    lines.emplace_back("warnings");
    for (const WarningRow& row : warnings()) lines.back() += join(" ", row.status, ":", row.text_row);
    lines.emplace_back("constants");
    for (const ConstantRow& row : constants()) {
      lines.back() += join(" ", row.constant, "=", std::setprecision(15), row.value);
    }
  }

  std::vector<std::string> lines;

 private:
  template <class... Parts>
  void add(const Parts&... parts) {
    lines.push_back(join(parts...));
  }

  std::string member(const char* side, const MemberRow& row, const CommandRow& command) {
    shown_.insert(&row);
    return join("; ", line_of(side, row, &command));
  }

  void add_command(const CommandRow& row) {
    std::string line = join(row.code, " ", row.name, " ", quoted(row.text));
    if (row.request_size != 0) line += join(" ", row.request_size, list(row.parameters));
    if (row.answer != nullptr) {
      line += join(row.series ? " -> each " : " -> ", row.answer->name);
      const auto has_it = [&](const CommandRow& other) { return other.answer == row.answer; };
      if (std::ranges::count_if(commands(), has_it) == 1) {
        shown_.insert(row.answer);
        line += join(" ", row.answer->size, list(row.answer->fields));
      }
    }
    if (row.async_event != nullptr) line += member("async event", *row.async_event, row);
    if (row.async_event2 != nullptr) line += member("and", *row.async_event2, row);
    if (row.sync_event != nullptr) line += member("sync event", *row.sync_event, row);
    if (!row.status_tested) line += " untested";
    if (row.status_tested_twice) line += " tested-twice";
    for (const MemberRow& each : sync_methods()) {
      if (each.command == &row) line += member("sync", each, row);
    }
    for (const MemberRow& each : async_methods()) {
      if (each.command == &row) line += member("async", each, row);
    }
    lines.push_back(line);
  }

  void add_other(const char* side, const MemberRow& row) {
    if (!shown_.contains(&row)) lines.push_back(line_of(side, row));
  }

  void add_type(const TypeRow& row) {
    constexpr const char* kKinds[] = {"enum", "record", "interface", "dual", "events", "class"};
    if (shown_.contains(&row)) return;
    std::string line = join(kKinds[static_cast<int>(row.kind)], " ", row.name);
    for (const EnumValue& each : row.values) {
      const CommandRow* command = find_command(each.value);  // commands have lines of their own
      if (command == nullptr || std::string_view(command->name) != each.name)
        line += join(" ", each.name, "=", each.value);
    }
    if (row.size != 0) line += join(" ", row.size, list(row.fields));
    if (row.id != nullptr) {
      OLECHAR id[39];
      StringFromGUID2(*row.id, id, 39);
      line += join(" ", to_utf8(id).substr(1, 36));
    }
    if (row.implements != nullptr) line += join(" implements ", row.implements->name);
    if (row.fires != nullptr) line += join(" fires ", row.fires->name);
    lines.push_back(line);
  }

  void add_texts(const char* what, std::span<const TextRow> rows) {
    std::int32_t ten = -1;
    for (const TextRow& row : rows) {
      if (std::exchange(ten, row.number / 10) != row.number / 10) lines.emplace_back(what);
      lines.back() += join(" ", row.number, " ", quoted(row.text));
    }
  }

  std::set<const void*> shown_;
};

TEST(Listing, IsTheOneThatPeopleHaveRead) {
  const Listing listing;
  if (std::getenv("KESTRINE_WRITE_LISTING") != nullptr) {
    std::ofstream file(CATALOGUE_TXT);
    for (const std::string& line : listing.lines) file << line << '\n';
    ASSERT_TRUE(file.flush());
    return;
  }
  std::ifstream file(CATALOGUE_TXT);
  ASSERT_TRUE(file) << CATALOGUE_TXT;
  std::vector<std::string> read;
  for (std::string line; std::getline(file, line);) read.push_back(line);
  const auto [ours, theirs] = std::ranges::mismatch(listing.lines, read);
  EXPECT_TRUE(ours == listing.lines.end() && theirs == read.end())
      << "the catalogue: " << (ours == listing.lines.end() ? "(ends)" : *ours)
      << "\ncatalogue.txt: " << (theirs == read.end() ? "(ends)" : *theirs)
      << "\nIf the change is meant, run this test with "
      << "KESTRINE_WRITE_LISTING=1 in the environment, and read the difference as a change of contracts.";
}

}  // namespace
}  // namespace kestrine::protocol

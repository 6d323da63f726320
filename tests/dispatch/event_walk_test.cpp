// Every event of both interfaces, fired from its packet with random fields.
#include <set>
#include <sstream>
#include <string_view>

#include "client_test.h"
#include "event_walk_rows.h"
#include "protocol/catalogue.h"
#include "random_packet.h"

namespace kestrine::test {
namespace {

constexpr std::int32_t kBadStatus = 5;

const protocol::TypeRow& record_of(const EventWalkRow& row) {
  return row.type == VL_DT_Command ? *protocol::find_command(row.command)->answer
                                   : *protocol::find_packet(row.type)->record;
}

std::size_t field_index(const EventWalkRow& row, std::string_view name) {
  const auto fields = protocol::leaves_of(record_of(row));
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const std::string_view path = fields[i].path;
    if (path == name || (path.ends_with(name) && path[path.size() - name.size() - 1] == '.')) return i;
  }
  ADD_FAILURE() << row.name << ": no field " << name;
  return 0;
}

// The fields that the row's text names, in its order.
std::vector<protocol::Leaf> fields_of(const EventWalkRow& row) {
  const auto all = protocol::leaves_of(record_of(row));
  std::vector<protocol::Leaf> chosen;
  std::istringstream words(row.fields);
  for (std::string word; words >> word;) {
    const std::size_t dots = word.find("..");
    std::size_t first = 0;
    std::size_t last = all.size() - 1;
    if (dots == std::string::npos) {
      first = last = field_index(row, word);
    } else if (dots == 0) {
      first = field_index(row, "packetInfo.status") + 1;
    } else {
      first = field_index(row, word.substr(0, dots));
      last = field_index(row, word.substr(dots + 2));
    }
    for (std::size_t i = first; i <= last; ++i) chosen.push_back(all[i]);
  }
  return chosen;
}

char letter(protocol::ValueType type) {
  switch (type) {
    case protocol::ValueType::kInt32:
      return 'l';
    case protocol::ValueType::kDouble:
      return 'd';
    case protocol::ValueType::kFlag:
      return 'b';
    case protocol::ValueType::kText:
      return 't';
    default:
      return '?';
  }
}

bool share_a_packet(const EventWalkRow& left, const EventWalkRow& right) {
  return left.type == right.type && left.command == right.command && left.mode == right.mode;
}

// The events of each packet.
std::vector<std::span<const EventWalkRow>> packets_of_walk() {
  std::vector<std::span<const EventWalkRow>> groups;
  for (auto rows = event_walk_rows(); !rows.empty();) {
    std::size_t count = 1;
    while (count < rows.size() && share_a_packet(rows[0], rows[count])) ++count;
    groups.push_back(rows.first(count));
    rows = rows.subspan(count);
  }
  return groups;
}

class EventWalk : public ClientTest {
 protected:
  struct Heard {
    Lines lines;
    std::vector<DISPID> ids;

    bool operator==(const Heard&) const = default;
  };

  void listen_to_ids() {
    const auto note = [this](DISPID id) {
      ids_.push_back(id);
      return S_OK;
    };
    if (sync_listener) sync_listener->handler = note;
    if (async_listener) async_listener->handler = note;
  }

  Bytes packet_of(const EventWalkRow& row, std::int32_t status) {
    Bytes bytes = random_packet(record_of(row), row.type, random);
    const bool names_command = row.type == VL_DT_Command || row.type == VL_DT_Error;
    if (names_command) put_i32(bytes, 8, row.command);
    if (row.type != VL_DT_SystemStatusChange) put_i32(bytes, names_command ? 12 : 8, status);
    if (row.type == VL_DT_StationaryProbeMeasResult) put_i32(bytes, 12, row.mode);
    return bytes;
  }

  Heard fire(const EventWalkRow& row, const Bytes& bytes) {
    connection->measurement().set_mode(row.mode);
    deliver(bytes);
    return all_heard();
  }
  Heard all_heard() { return {heard(), std::exchange(ids_, {})}; }

  // What a packet brings about: the synchronous interface hears its event first.
  Heard expected(std::span<const EventWalkRow> rows, const Bytes& bytes, std::int32_t status, Objects objects) {
    Heard all;
    const auto hear = [&](const char* who, std::int32_t id, const EventWalkRow& row) {
      std::string line = std::string(who).append(" ").append(row.name);
      for (const protocol::Leaf& field : fields_of(row)) line.append(" ").append(tell_field(field, bytes));
      all.lines.push_back(line);
      all.ids.push_back(id);
    };
    const auto report = [&](const EventWalkRow& row) {
      if ((objects & kAsync) == 0) return;
      all.lines.push_back(
          std::string("async ErrorEvent ").append(tell(row.command)).append(" ").append(tell(kBadStatus)));
      all.ids.push_back(1);
    };
    const auto is_good = [&](Tested tested) { return tested == Tested::kNever || status == VL_RS_AllOK; };
    for (const EventWalkRow& row : rows) {
      if ((objects & kSync) == 0 || row.sync_id == 0) continue;
      if (row.tested == Tested::kAsyncOnly || is_good(row.tested)) {
        hear("sync", row.sync_id, row);
      } else {
        report(row);
      }
    }
    for (const EventWalkRow& row : rows) {
      if ((objects & kAsync) == 0) break;
      if (is_good(row.tested)) {
        hear("async", row.async_id, row);
      } else if (row.tested == Tested::kEachTime || &row == &rows.front()) {
        report(row);
      }
    }
    return all;
  }

  std::mt19937 random{21};

 private:
  std::vector<DISPID> ids_;
};

TEST_F(EventWalk, MissesNoEventButTheOneThatNoPacketFires) {
  std::set<std::int32_t> async_ids = {90};  // ExceptionEvent
  std::set<std::int32_t> sync_ids = {21};
  for (const EventWalkRow& row : event_walk_rows()) {
    async_ids.insert(row.async_id);
    if (row.sync_id != 0) sync_ids.insert(row.sync_id);
  }
  EXPECT_EQ(async_ids.size(), 96u);
  EXPECT_EQ(*async_ids.rbegin(), 96);
  EXPECT_EQ(sync_ids.size(), 24u);
  EXPECT_EQ(*sync_ids.rbegin(), 24);
}

TEST_F(EventWalk, FindsFieldsOfTheArgumentsTypes) {
  for (const EventWalkRow& row : event_walk_rows()) {
    std::string types;
    for (const protocol::Leaf& field : fields_of(row)) types += letter(field.type);
    EXPECT_EQ(types, row.types) << row.name;
  }
}

TEST_F(EventWalk, HearsOfAFailureOnBothInterfaces) {
  make(kBoth);
  listen_to_ids();
  EXPECT_EQ(commands->ReleaseMotors(), E_FAIL);  // there is no connection to send on
  const std::string event = "ExceptionEvent 40002 'Invoking command \"Release Motors\" [8] failed!'";
  EXPECT_EQ(all_heard(), (Heard{{"sync " + event, "async " + event}, {21, 90}}));
}

class EventWalkOf : public EventWalk, public testing::WithParamInterface<int> {};

TEST_P(EventWalkOf, FiresEveryEventWithThePacketsFields) {
  const auto objects = static_cast<Objects>(GetParam());
  make(objects);
  listen_to_ids();
  for (int round = 0; round < 3; ++round) {
    for (const auto rows : packets_of_walk()) {
      for (const std::int32_t status : {VL_RS_AllOK + 0, kBadStatus}) {
        const Bytes bytes = packet_of(rows.front(), status);
        const Heard wanted = expected(rows, bytes, status, objects);
        const Heard all = fire(rows.front(), bytes);
        EXPECT_EQ(all.lines, wanted.lines);
        EXPECT_EQ(all.ids, wanted.ids) << rows.front().name;
      }
    }
  }
}

TEST_P(EventWalkOf, FiresNothingUnderAnotherNotificationMethod) {
  make(static_cast<Objects>(GetParam()));
  for (const KR_NotifyMethod method :
       {KR_NM_None, KR_NM_WM_CopyData, KR_NM_WM_Notify, static_cast<KR_NotifyMethod>(7)}) {
    connection->SelectNotificationMethod(method, 0, 0);
    for (const auto rows : packets_of_walk()) {
      for (const std::int32_t status : {VL_RS_AllOK + 0, kBadStatus}) {
        EXPECT_EQ(fire(rows.front(), packet_of(rows.front(), status)).lines, Lines{});
      }
    }
  }
}

// The synchronous object alone, the asynchronous one, and both.
INSTANTIATE_TEST_SUITE_P(Objects, EventWalkOf, testing::Values(1, 2, 3));

}  // namespace
}  // namespace kestrine::test

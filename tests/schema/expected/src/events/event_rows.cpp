// The events as rows, and which of them an answer fires.
#include "events/event_rows.h"

#include <algorithm>
#include <iterator>

namespace kestrine::events {

namespace {

constexpr Argument kAsync_Completed[] = {
    {"command", "VL_Command", ArgType::kLong, 8, 0},
};

constexpr Argument kAsync_SpeedData[] = {
    {"speed", "double", ArgType::kDouble, 16, 0},
    {"fast", "bool", ArgType::kBool, 24, 0},
};

constexpr Argument kAsync_NamesData[] = {
    {"name", "text", ArgType::kText, 20, 32},
    {"total", "long", ArgType::kLong, 16, 0},
};

constexpr Argument kAsync_OldNamesData[] = {
    {"name", "text", ArgType::kText, 20, 32},
    {"total", "long", ArgType::kLong, 16, 0},
};

constexpr Argument kAsync_Failure[] = {
    {"number", "long", ArgType::kLong, kFromNoPacket, 0},
};

constexpr EventRow kAsyncEvents[] = {
    {1, "Completed", kAsync_Completed},
    {2, "SpeedData", kAsync_SpeedData},
    {3, "NamesData", kAsync_NamesData},
    {4, "OldNamesData", kAsync_OldNamesData},
    {5, "Failure", kAsync_Failure},
};

constexpr Argument kSync_NamesData[] = {
    {"name", "text", ArgType::kText, 20, 32},
    {"namesTotal", "long", ArgType::kLong, 16, 0},
};

constexpr EventRow kSyncEvents[] = {
    {1, "NamesData", kSync_NamesData},
};

constexpr AnswerRow kAnswers[] = {
    {1, true, nullptr, nullptr, nullptr, true, false},
    {2, false, &kAsyncEvents[1], nullptr, nullptr, true, false},
    {4, false, &kAsyncEvents[2], &kAsyncEvents[3], &kSyncEvents[0], true, true},
};

}  // namespace

std::span<const EventRow> async_events() { return kAsyncEvents; }

std::span<const EventRow> sync_events() { return kSyncEvents; }

const AnswerRow* find_answer(std::int32_t command) {
  const auto* found = std::ranges::lower_bound(kAnswers, command, {}, &AnswerRow::command);
  return found != std::end(kAnswers) && found->command == command ? found : nullptr;
}

}  // namespace kestrine::events

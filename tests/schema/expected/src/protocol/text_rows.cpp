// The texts of statuses and of the string table.
#include "protocol/text_rows.h"

namespace kestrine::protocol {

namespace {

constexpr TextRow kStatusTexts[] = {
    {0, u"All OK"},
    {5, u"Busy \"now\""},
};

constexpr TextRow kStringTable[] = {
    {514, u"One\n"},
    {515, u"Two"},
};

}  // namespace

std::span<const TextRow> status_texts() { return kStatusTexts; }

std::span<const TextRow> string_table() { return kStringTable; }

}  // namespace kestrine::protocol

// What the tool prints for people: the tracker, a table, a summary.
#pragma once

#include <iosfwd>
#include <string>

#include "cli/points/completeness.h"
#include "cli/points/measurement.h"

namespace kestrine::cli {

void print_tracker(std::ostream& out, const Tracker& tracker, const LengthUnit& unit);

// The table of a stationary series: its head, a row as each point comes in, and mean and spread at the end.
void print_table_head(std::ostream& out, const LengthUnit& unit);
void print_table_row(std::ostream& out, const LengthUnit& unit, const std::string& name, const Point& point);
void print_table_foot(std::ostream& out, const Measurement& measurement);

void print_stream_summary(std::ostream& out, const Measurement& measurement);
void print_centre(std::ostream& out, const Measurement& measurement);
// How much came, and whether anything that should have come did not.
void print_completeness(std::ostream& out, const Measurement& measurement, const Completeness& completeness);

}  // namespace kestrine::cli

// The look of the charts: one set of classes, in colours for light surroundings and for dark ones.
#pragma once

#include <string_view>

namespace kestrine::cli {

inline constexpr std::string_view kChartStyle = R"(text { font-family: system-ui, "DejaVu Sans", sans-serif; }
.title { font-size: 20px; font-weight: 600; fill: #111827; }
.subtitle { font-size: 13px; fill: #6b7280; }
.heading { font-size: 13px; font-weight: 600; fill: #111827; }
.tick { font-size: 11px; fill: #6b7280; }
.axis-name { font-size: 12px; fill: #374151; }
.key { font-size: 12px; fill: #6b7280; }
.value { font-size: 12px; fill: #111827; }
.mark-name { font-size: 10px; fill: #6b7280; }
.right { text-anchor: end; }
.middle { text-anchor: middle; }
.paper { fill: #ffffff; }
.field { fill: #f9fafb; }
.frame { fill: none; stroke: #9ca3af; stroke-width: 1; }
.grid { stroke: #e5e7eb; stroke-width: 1; }
.zero { stroke: #9ca3af; stroke-width: 1; }
.rule { stroke: #e5e7eb; stroke-width: 1; }
.line { fill: none; stroke-width: 1.6; stroke-linejoin: round; stroke-linecap: round; }
.line.thin { stroke-width: 1; stroke-opacity: 0.75; }
.fit { fill: none; stroke: #6b7280; stroke-width: 1.2; stroke-dasharray: 6 5; }
.mean { stroke: #374151; stroke-width: 1.5; }
.start { fill: none; stroke: #db2777; stroke-width: 2; }
.line.first { stroke: #2563eb; }
.line.second { stroke: #d97706; }
.line.third { stroke: #059669; }
.dot.first { fill: #2563eb; }
.dot.second { fill: #d97706; }
.dot.third { fill: #059669; }
@media (prefers-color-scheme: dark) {
.title, .heading, .value { fill: #f3f4f6; }
.subtitle, .tick, .key, .mark-name { fill: #9ca3af; }
.axis-name { fill: #d1d5db; }
.paper { fill: #111827; }
.field { fill: #172033; }
.frame, .zero { stroke: #6b7280; }
.grid, .rule { stroke: #2b3648; }
.fit { stroke: #9ca3af; }
.mean { stroke: #d1d5db; }
.start { stroke: #f472b6; }
.line.first { stroke: #60a5fa; }
.line.second { stroke: #fbbf24; }
.line.third { stroke: #34d399; }
.dot.first { fill: #60a5fa; }
.dot.second { fill: #fbbf24; }
.dot.third { fill: #34d399; }
}
)";

}  // namespace kestrine::cli

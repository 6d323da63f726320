// The column of figures beside the top view, and the legend below it.
#pragma once

#include "cli/drawing/figure.h"
#include "cli/drawing/svg.h"

namespace kestrine::cli {

void draw_facts(Svg& svg, const Box& box, const Figure& figure);

}  // namespace kestrine::cli

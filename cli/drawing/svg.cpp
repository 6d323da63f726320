#include "cli/drawing/svg.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "cli/common/format.h"

namespace kestrine::cli {
namespace {

std::string number(double value) {
  return shortest(std::round(value * 100) / 100 + 0.0);
}

// Control characters have no place in XML at all, not even escaped.
std::string escaped(std::string_view text) {
  constexpr std::pair<char, const char*> kEntities[] = {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}};
  std::string result;
  for (const char c : text) {
    const auto* entity =
        std::find_if(std::begin(kEntities), std::end(kEntities), [c](auto& e) { return e.first == c; });
    if (entity != std::end(kEntities)) {
      result += entity->second;
    } else {
      result += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
  }
  return result;
}

std::string attribute(std::string_view name, std::string_view value) {
  return std::string(" ").append(name) + "=\"" + escaped(value) + "\"";
}

std::string attribute(std::string_view name, double value) {
  return attribute(name, number(value));
}

std::string box_attributes(const Box& box) {
  return attribute("x", box.x) + attribute("y", box.y) + attribute("width", box.width) +
         attribute("height", box.height);
}

}  // namespace

Svg::Svg(double width, double height, std::string_view title, std::string_view style) {
  const std::string size = number(width) + " " + number(height);
  body_ = "<svg xmlns=\"http://www.w3.org/2000/svg\" role=\"img\"" + attribute("viewBox", "0 0 " + size) +
          attribute("width", width) + attribute("height", height) + ">\n";
  body_ += "<title>" + escaped(title) + "</title>\n<style>\n" + escaped(style) + "</style>\n";
}

void Svg::line(Spot from, Spot to, std::string_view css) {
  body_ += "<line" + attribute("x1", from.x) + attribute("y1", from.y) + attribute("x2", to.x) + attribute("y2", to.y) +
           attribute("class", css) + "/>\n";
}

void Svg::polyline(const std::vector<Spot>& spots, std::string_view css) {
  if (spots.empty()) return;
  body_ += "<polyline" + attribute("class", css) + " points=\"";
  for (const auto& spot : spots) body_ += number(spot.x) + "," + number(spot.y) + " ";
  body_.back() = '"';
  body_ += "/>\n";
}

void Svg::circle(Spot centre, double radius, std::string_view css) {
  body_ += "<circle" + attribute("cx", centre.x) + attribute("cy", centre.y) + attribute("r", radius) +
           attribute("class", css) + "/>\n";
}

void Svg::rectangle(const Box& box, std::string_view css) {
  body_ += "<rect" + box_attributes(box) + attribute("class", css) + "/>\n";
}

void Svg::cross(Spot centre, double reach, std::string_view css) {
  line({centre.x - reach, centre.y}, {centre.x + reach, centre.y}, css);
  line({centre.x, centre.y - reach}, {centre.x, centre.y + reach}, css);
}

void Svg::dots(const std::vector<Spot>& spots, double size, std::string_view css) {
  if (spots.empty()) return;
  const std::string side = number(size);
  const std::string square = "h" + side + "v" + side + "h-" + side + "z";
  body_ += "<path" + attribute("class", css) + " d=\"";
  for (const auto& spot : spots) {
    body_.append("M").append(number(spot.x - size / 2)).append(" ").append(number(spot.y - size / 2)).append(square);
  }
  body_ += "\"/>\n";
}

void Svg::text(Spot at, std::string_view css, std::string_view words) {
  body_ += "<text" + attribute("x", at.x) + attribute("y", at.y) + attribute("class", css) + ">" + escaped(words) +
           "</text>\n";
}

void Svg::text_upwards(Spot at, std::string_view css, std::string_view words) {
  body_ += "<text" + attribute("transform", "translate(" + number(at.x) + " " + number(at.y) + ") rotate(-90)") +
           attribute("class", css) + ">" + escaped(words) + "</text>\n";
}

void Svg::begin_clip(const Box& box) {
  const std::string name = "clip" + std::to_string(++clips_);
  body_ += "<clipPath" + attribute("id", name) + "><rect" + box_attributes(box) + "/></clipPath>\n";
  body_ += "<g" + attribute("clip-path", "url(#" + name + ")") + ">\n";
}

void Svg::end_clip() {
  body_ += "</g>\n";
}

std::string Svg::finish() {
  body_ += "</svg>\n";
  return std::move(body_);
}

}  // namespace kestrine::cli

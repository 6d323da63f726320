// The few drawing elements that the charts are made of. Everything is escaped; numbers have two decimals at most.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestrine::cli {

struct Spot {
  double x = 0;
  double y = 0;
};

struct Box {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
};

class Svg {
 public:
  // The style is CSS; elements name its classes.
  Svg(double width, double height, std::string_view title, std::string_view style);

  void line(Spot from, Spot to, std::string_view css);
  void polyline(const std::vector<Spot>& spots, std::string_view css);
  void circle(Spot centre, double radius, std::string_view css);
  void rectangle(const Box& box, std::string_view css);
  void cross(Spot centre, double reach, std::string_view css);
  // One path for many small squares: a fraction of the size of as many elements.
  void dots(const std::vector<Spot>& spots, double size, std::string_view css);
  void text(Spot at, std::string_view css, std::string_view words);
  void text_upwards(Spot at, std::string_view css, std::string_view words);
  // What is drawn between these two shows inside the box only.
  void begin_clip(const Box& box);
  void end_clip();

  std::string finish();

 private:
  std::string body_;
  int clips_ = 0;
};

}  // namespace kestrine::cli

#include "plot.h"

#include <algorithm>
#include <cmath>

#include "text.h"

namespace simcam {
namespace {

constexpr double kWidth = 400;
constexpr double kPlotHeight = 185;
constexpr double kLeft = 54;
constexpr double kRight = 12;
constexpr double kBottom = 42;
constexpr double kLegendRow = 17;
// Of texts of 12 units: about right for digits and small letters.
constexpr double kLetterWidth = 6.4;

std::string Pixel(double value) {
  return Fixed(value, 1);
}

std::string Label(double x, double y, const std::string& anchor, const std::string& style,
                  const std::string& text) {
  return "<text x=\"" + Pixel(x) + "\" y=\"" + Pixel(y) + "\" text-anchor=\"" + anchor +
         "\" class=\"" + style + "\">" + EscapeHtml(text) + "</text>\n";
}

std::string LineBetween(double x0, double y0, double x1, double y1, const std::string& style) {
  return "<line x1=\"" + Pixel(x0) + "\" y1=\"" + Pixel(y0) + "\" x2=\"" + Pixel(x1) + "\" y2=\"" +
         Pixel(y1) + "\" " + style + "/>\n";
}

std::string Dashes(Plot::Line line) {
  switch (line) {
    case Plot::Line::kDashed: return " stroke-dasharray=\"6 4\"";
    case Plot::Line::kDotted: return " stroke-dasharray=\"1.5 4\" stroke-linecap=\"round\"";
    case Plot::Line::kSolid: break;
  }
  return "";
}

}  // namespace

std::vector<double> Ticks(double low, double high, int count) {
  const double rough = (high - low) / count;
  const double power = std::pow(10.0, std::floor(std::log10(rough)));
  double step = power * 10;
  for (double factor : {1.0, 2.0, 5.0}) {
    if (power * factor < rough) continue;
    step = power * factor;
    break;
  }
  std::vector<double> ticks;
  for (double index = std::ceil(low / step - 1e-9); index * step <= high + step * 1e-9; ++index)
    ticks.push_back(index * step);
  return ticks;
}

Plot::Plot(std::string title, std::string xLabel, std::string yLabel)
    : title_(std::move(title)), xLabel_(std::move(xLabel)), yLabel_(std::move(yLabel)) {}

void Plot::Range::Add(double value) {
  if (!std::isfinite(value)) return;
  low = std::min(low, value);
  high = std::max(high, value);
}

void Plot::Range::Pad() {
  if (low > high) low = high = 0;
  // Values that differ by rounding alone are one value: ticks between them couldn't be told apart.
  const bool isWide = high - low > 1e-9 * std::max(std::abs(high), std::abs(low));
  const double margin = isWide ? 0.04 * (high - low) : 1;
  low -= margin;
  high += margin;
}

void Plot::IncludeX(double x) {
  xRange_.Add(x);
}
void Plot::IncludeY(double y) {
  yRange_.Add(y);
}

void Plot::Add(Series series) {
  for (const auto& [x, y] : series.points) {
    xRange_.Add(x);
    yRange_.Add(y);
  }
  series_.push_back(std::move(series));
}

void Plot::AddLine(const std::string& name, const std::string& color, Points points, Line line) {
  Add({name, color, std::move(points), false, line, Marker::kDisc});
}

void Plot::AddDots(const std::string& name, const std::string& color, Points points,
                   Marker marker) {
  Add({name, color, std::move(points), true, Line::kSolid, marker});
}

void Plot::MarkX(double x, const std::string& color, const std::string& name, Line line) {
  xRange_.Add(x);
  marks_.push_back({x, color, name, line});
}

void Plot::AddBand(double low, double high, const std::string& name) {
  hasBand_ = true;
  bandLow_ = low;
  bandHigh_ = high;
  bandName_ = name;
  yRange_.Add(low);
  yRange_.Add(high);
}

double Plot::ToX(double x) const {
  return kLeft + (x - xRange_.low) / (xRange_.high - xRange_.low) * (kWidth - kLeft - kRight);
}

double Plot::ToY(double y) const {
  return top_ + kPlotHeight - (y - yRange_.low) / (yRange_.high - yRange_.low) * kPlotHeight;
}

std::string Plot::Grid() const {
  std::string svg;
  const double bottom = top_ + kPlotHeight;
  for (double tick : Ticks(xRange_.low, xRange_.high, 7)) {
    svg += LineBetween(ToX(tick), top_, ToX(tick), bottom, "class=\"grid\"");
    svg += Label(ToX(tick), bottom + 16, "middle", "tick", Short(tick));
  }
  for (double tick : Ticks(yRange_.low, yRange_.high, 6)) {
    const bool isZero = std::abs(tick) < 1e-12;
    svg += LineBetween(kLeft, ToY(tick), kWidth - kRight, ToY(tick),
                       isZero ? "class=\"zero\"" : "class=\"grid\"");
    svg += Label(kLeft - 6, ToY(tick) + 4, "end", "tick", Short(tick));
  }
  svg += Label((kLeft + kWidth - kRight) / 2, bottom + 35, "middle", "axis", xLabel_);
  const double middle = top_ + kPlotHeight / 2;
  svg += "<g transform=\"rotate(-90 13 " + Pixel(middle) + ")\">" +
         Label(13, middle, "middle", "axis", yLabel_) + "</g>\n";
  return svg;
}

// The attributes that all markers of a series share.
std::string Plot::MarkerStyle(const Series& series) {
  switch (series.marker) {
    case Marker::kRing:
      return "fill=\"none\" stroke-opacity=\"0.75\" stroke=\"" + series.color + "\"";
    case Marker::kCross: return "stroke-width=\"1.3\" stroke=\"" + series.color + "\"";
    case Marker::kDisc: break;
  }
  return "fill=\"" + series.color + "\"";
}

std::string Plot::MarkerAt(double x, double y, Marker marker) {
  if (marker == Marker::kCross)
    return "<path d=\"M" + Pixel(x - 2.6) + "," + Pixel(y - 2.6) +
           " l5.2,5.2 m0,-5.2 l-5.2,5.2\"/>\n";
  return "<circle cx=\"" + Pixel(x) + "\" cy=\"" + Pixel(y) + "\" r=\"2.7\"/>\n";
}

std::string Plot::Markers(const Series& series, const std::string& markers) {
  return "<g " + MarkerStyle(series) + ">\n" + markers + "</g>\n";
}

std::string Plot::Legend(double& bottom) const {
  constexpr double kKeyWidth = 24;
  constexpr double kGap = 14;
  std::string svg;
  double x = kLeft;
  double y = bottom;
  // Begins an entry, in a row of its own when this one is full; its key comes at (x, y).
  const auto place = [&](const std::string& name) {
    const double width = kKeyWidth + kLetterWidth * static_cast<double>(name.size());
    const bool isFirst = y == bottom;
    if (isFirst || x + width > kWidth - kRight) {
      x = kLeft;
      y += kLegendRow;
    }
    svg += Label(x + kKeyWidth, y, "start", "tick", name);
    const double start = x;
    x += width + kGap;
    return start;
  };
  for (const Series& series : series_) {
    if (series.name.empty()) continue;
    const double at = place(series.name);
    svg += series.isDots ? Markers(series, MarkerAt(at + 10, y - 4, series.marker))
                         : LineBetween(at, y - 4, at + 19, y - 4,
                                       "stroke=\"" + series.color + "\" stroke-width=\"2\"" +
                                           Dashes(series.line));
  }
  if (hasBand_ && !bandName_.empty()) {
    const double at = place(bandName_);
    svg += "<rect class=\"band\" x=\"" + Pixel(at) + "\" y=\"" + Pixel(y - 10) +
           "\" width=\"19\" height=\"11\"/>\n";
  }
  bottom = y;
  return svg;
}

std::string Plot::Marks() const {
  std::string svg;
  double y = top_;
  for (const Mark& mark : marks_) {
    const double x = ToX(mark.x);
    // The word stands on the side that has room.
    const bool isRight =
        x < kWidth - kRight - 8 - kLetterWidth * static_cast<double>(mark.name.size());
    y += 14;
    svg += LineBetween(x, top_, x, top_ + kPlotHeight,
                       "stroke=\"" + mark.color + "\" stroke-width=\"1.5\"" + Dashes(mark.line));
    svg += "<g fill=\"" + mark.color + "\">" +
           Label(isRight ? x + 4 : x - 4, y, isRight ? "start" : "end", "mark", mark.name) +
           "</g>\n";
  }
  return svg;
}

std::string Plot::Drawn(const Series& series) const {
  std::string svg;
  if (series.isDots) {
    for (const auto& [x, y] : series.points) svg += MarkerAt(ToX(x), ToY(y), series.marker);
    return Markers(series, svg);
  }
  svg = "<polyline fill=\"none\" stroke=\"" + series.color + "\" stroke-width=\"2\"" +
        Dashes(series.line) + " points=\"";
  for (const auto& [x, y] : series.points) svg += Pixel(ToX(x)) + "," + Pixel(ToY(y)) + " ";
  return svg + "\"/>\n";
}

std::string Plot::Svg() const {
  constexpr double kTitleLine = 18;
  Plot plot = *this;
  plot.xRange_.Pad();
  plot.yRange_.Pad();
  double bottom = kTitleLine + 4;
  const std::string legend = Legend(bottom);
  plot.top_ = bottom + 10;
  std::string svg = "<svg viewBox=\"0 0 " + Short(kWidth) + " " +
                    Short(plot.top_ + kPlotHeight + kBottom) + "\" role=\"img\" aria-label=\"" +
                    EscapeHtml(title_) + "\">\n" + Label(8, kTitleLine, "start", "title", title_) +
                    legend;
  if (hasBand_) {
    svg += "<rect class=\"band\" x=\"" + Pixel(kLeft) + "\" y=\"" + Pixel(plot.ToY(bandHigh_)) +
           "\" width=\"" + Pixel(kWidth - kLeft - kRight) + "\" height=\"" +
           Pixel(plot.ToY(bandLow_) - plot.ToY(bandHigh_)) + "\"/>\n";
  }
  svg += plot.Grid();
  for (const Series& series : series_) svg += plot.Drawn(series);
  return svg + plot.Marks() + "</svg>\n";
}

}  // namespace simcam

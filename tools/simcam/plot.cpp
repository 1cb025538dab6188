#include "plot.h"

#include <algorithm>
#include <cmath>

#include "text.h"

namespace simcam {
namespace {

constexpr double kWidth = 640;
constexpr double kHeight = 330;
constexpr double kLeft = 62;
constexpr double kRight = 16;
constexpr double kTop = 58;
constexpr double kBottom = 46;

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

void Plot::AddLine(const std::string& name, const std::string& color, Points points,
                   bool isDashed) {
  Add({name, color, std::move(points), false, isDashed, 1});
}

void Plot::AddDots(const std::string& name, const std::string& color, Points points,
                   double opacity) {
  Add({name, color, std::move(points), true, false, opacity});
}

void Plot::MarkX(double x, const std::string& color, const std::string& name) {
  xRange_.Add(x);
  marks_.push_back({x, color, name});
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
  return kHeight - kBottom -
         (y - yRange_.low) / (yRange_.high - yRange_.low) * (kHeight - kTop - kBottom);
}

std::string Plot::Grid() const {
  std::string svg;
  for (double tick : Ticks(xRange_.low, xRange_.high, 8)) {
    svg += LineBetween(ToX(tick), kTop, ToX(tick), kHeight - kBottom, "class=\"grid\"");
    svg += Label(ToX(tick), kHeight - kBottom + 16, "middle", "tick", Short(tick));
  }
  for (double tick : Ticks(yRange_.low, yRange_.high, 6)) {
    const bool isZero = std::abs(tick) < 1e-12;
    svg += LineBetween(kLeft, ToY(tick), kWidth - kRight, ToY(tick),
                       isZero ? "class=\"zero\"" : "class=\"grid\"");
    svg += Label(kLeft - 7, ToY(tick) + 4, "end", "tick", Short(tick));
  }
  svg += Label((kLeft + kWidth - kRight) / 2, kHeight - 10, "middle", "axis", xLabel_);
  const double middle = (kTop + kHeight - kBottom) / 2;
  svg += "<g transform=\"rotate(-90 14 " + Pixel(middle) + ")\">" +
         Label(14, middle, "middle", "axis", yLabel_) + "</g>\n";
  return svg;
}

std::string Plot::Legend() const {
  std::string svg;
  double x = kLeft;
  const auto entry = [&](const std::string& key, const std::string& name) {
    svg += key + Label(x + 24, 43, "start", "tick", name);
    x += 44 + 6.3 * static_cast<double>(name.size());
  };
  for (const Series& series : series_) {
    if (series.name.empty()) continue;
    const std::string stroke = "stroke=\"" + series.color + "\" stroke-width=\"2\"" +
                               (series.isDashed ? " stroke-dasharray=\"5 4\"" : "");
    entry(series.isDots ? "<circle cx=\"" + Pixel(x + 10) + "\" cy=\"39\" r=\"3.5\" fill=\"" +
                              series.color + "\"/>\n"
                        : LineBetween(x, 39, x + 19, 39, stroke),
          series.name);
  }
  if (hasBand_ && !bandName_.empty())
    entry("<rect class=\"band\" x=\"" + Pixel(x) + "\" y=\"33\" width=\"19\" height=\"11\"/>\n",
          bandName_);
  return svg;
}

std::string Plot::Svg() const {
  Plot plot = *this;
  plot.xRange_.Pad();
  plot.yRange_.Pad();
  std::string svg = "<svg viewBox=\"0 0 " + Short(kWidth) + " " + Short(kHeight) +
                    "\" role=\"img\" aria-label=\"" + EscapeHtml(title_) + "\">\n";
  svg += Label(kLeft, 20, "start", "title", title_);
  if (hasBand_) {
    svg += "<rect class=\"band\" x=\"" + Pixel(kLeft) + "\" y=\"" + Pixel(plot.ToY(bandHigh_)) +
           "\" width=\"" + Pixel(kWidth - kLeft - kRight) + "\" height=\"" +
           Pixel(plot.ToY(bandLow_) - plot.ToY(bandHigh_)) + "\"/>\n";
  }
  svg += plot.Grid();
  for (const Mark& mark : marks_) {
    svg += LineBetween(plot.ToX(mark.x), kTop, plot.ToX(mark.x), kHeight - kBottom,
                       "stroke=\"" + mark.color + "\" stroke-width=\"1.5\"");
    svg += "<g fill=\"" + mark.color + "\">" +
           Label(plot.ToX(mark.x) + 4, kTop + 12 + 14 * static_cast<double>(&mark - marks_.data()),
                 "start", "mark", mark.name) +
           "</g>\n";
  }
  for (const Series& series : series_) {
    if (series.isDots) {
      svg += "<g fill=\"" + series.color + "\" fill-opacity=\"" + Short(series.opacity) + "\">\n";
      for (const auto& [x, y] : series.points)
        svg += "<circle cx=\"" + Pixel(plot.ToX(x)) + "\" cy=\"" + Pixel(plot.ToY(y)) +
               "\" r=\"3\"/>\n";
      svg += "</g>\n";
      continue;
    }
    svg += "<polyline fill=\"none\" stroke=\"" + series.color + "\" stroke-width=\"2\"" +
           (series.isDashed ? " stroke-dasharray=\"5 4\"" : "") + " points=\"";
    for (const auto& [x, y] : series.points)
      svg += Pixel(plot.ToX(x)) + "," + Pixel(plot.ToY(y)) + " ";
    svg += "\"/>\n";
  }
  return svg + plot.Legend() + "</svg>\n";
}

}  // namespace simcam

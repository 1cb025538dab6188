// Line and point plots as SVG.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace simcam {

class Plot {
 public:
  using Points = std::vector<std::pair<double, double>>;

  Plot(std::string title, std::string xLabel, std::string yLabel);

  // Makes the plot show this value whatever the data.
  void IncludeY(double y);
  void IncludeX(double x);
  // Series are told apart without their colours: by the line's style and the marker's shape.
  enum class Line { kSolid, kDashed, kDotted };
  enum class Marker { kDisc, kRing, kCross };
  void AddLine(const std::string& name, const std::string& color, Points points,
               Line line = Line::kSolid);
  void AddDots(const std::string& name, const std::string& color, Points points,
               Marker marker = Marker::kDisc);
  // A thin vertical line with a word at its top.
  void MarkX(double x, const std::string& color, const std::string& name, Line line = Line::kSolid);
  // The range |y| <= half as a pale band.
  void AddBand(double low, double high, const std::string& name);

  std::string Svg() const;

 private:
  struct Series {
    std::string name;
    std::string color;
    Points points;
    bool isDots;
    Line line;
    Marker marker;
  };
  struct Mark {
    double x;
    std::string color;
    std::string name;
    Line line;
  };
  struct Range {
    double low = 1e300;
    double high = -1e300;
    void Add(double value);
    void Pad();
  };

  void Add(Series series);
  static std::string MarkerStyle(const Series& series);
  static std::string MarkerAt(double x, double y, Marker marker);
  static std::string Markers(const Series& series, const std::string& markers);
  std::string Grid() const;
  std::string Marks() const;
  std::string Drawn(const Series& series) const;
  // Draws the entries, and sets `bottom` to where the last row of them ends.
  std::string Legend(double& bottom) const;
  double ToX(double x) const;
  double ToY(double y) const;

  std::string title_;
  std::string xLabel_;
  std::string yLabel_;
  std::vector<Series> series_;
  std::vector<Mark> marks_;
  Range xRange_;
  Range yRange_;
  double top_ = 0;  // of the plot itself, below title and legend
  bool hasBand_ = false;
  double bandLow_ = 0;
  double bandHigh_ = 0;
  std::string bandName_;
};

// Round numbers that divide low .. high into about `count` parts.
std::vector<double> Ticks(double low, double high, int count);

}  // namespace simcam

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
  void AddLine(const std::string& name, const std::string& color, Points points,
               bool isDashed = false);
  void AddDots(const std::string& name, const std::string& color, Points points,
               double opacity = 1);
  // A thin vertical line with a word at its top.
  void MarkX(double x, const std::string& color, const std::string& name);
  // The range |y| <= half as a pale band.
  void AddBand(double low, double high, const std::string& name);

  std::string Svg() const;

 private:
  struct Series {
    std::string name;
    std::string color;
    Points points;
    bool isDots;
    bool isDashed;
    double opacity;
  };
  struct Mark {
    double x;
    std::string color;
    std::string name;
  };
  struct Range {
    double low = 1e300;
    double high = -1e300;
    void Add(double value);
    void Pad();
  };

  void Add(Series series);
  std::string Grid() const;
  std::string Legend() const;
  double ToX(double x) const;
  double ToY(double y) const;

  std::string title_;
  std::string xLabel_;
  std::string yLabel_;
  std::vector<Series> series_;
  std::vector<Mark> marks_;
  Range xRange_;
  Range yRange_;
  bool hasBand_ = false;
  double bandLow_ = 0;
  double bandHigh_ = 0;
  std::string bandName_;
};

// Round numbers that divide low .. high into about `count` parts.
std::vector<double> Ticks(double low, double high, int count);

}  // namespace simcam

// The options that commands share.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "camera.h"
#include "common/exit_status.h"
#include "report.h"
#include "sensor.h"

namespace pdcam {

// Exit status.
inline constexpr int kDone = tool::kDone;
inline constexpr int kCheckFailed = tool::kFound;
inline constexpr int kBadInput = tool::kBadFile;
inline constexpr int kNoDevice = tool::kNoDevice;

// A command whose help shows the default of each option.
CLI::App* AddCommand(CLI::App& app, const char* name, const char* content);

// Accepts a number from `low` to `high`, and nothing that is no number.
CLI::Validator Between(double low, double high);

// To standard output. Bytes of a path that are no UTF-8 are replaced.
void PrintJson(const nlohmann::ordered_json& json);

struct GridSize {
  uint32_t columns = 0;
  uint32_t rows = 0;
};

// Values of options as they stand on the command line: "3x3", and left, top, right and bottom.
// Throw CLI::ValidationError.
GridSize ParseGrid(const char* option, const std::string& text);
PDLibWindow ParseRoi(const std::vector<double>& roi);

struct CameraOptions {
  std::string sensor = "s16";
  bool isSensorNamed = false;
  std::string scene = "mixed";
  std::string noise = "little";
  std::optional<double> noiseVariance;  // none: what `noise` says
  std::optional<double> readNoise;
  std::optional<double> splitNoise;
  std::string windows;  // "": a grid that suits the sensor
  bool isOverlapped = true;
  std::vector<double> roi = {0.35, 0.35, 0.65, 0.65};
  std::string library;
  std::string dataFolder;
  std::string tuning;     // path of a tuning file; "": what the description says
  std::string mode;       // its branch of modes; "": that of the sensor
  bool isLinked = false;  // the live link to the loaded file is up
  simcam::CameraSettings settings;

  void AddTo(CLI::App& command);
  // The settings with all options worked in. Throws CLI::ValidationError.
  simcam::CameraSettings Settings() const;
  // The description, with the values of the tuning file if there is one. Throws InputError.
  simcam::SensorDescription Sensor(const std::string& nameOrPath) const;
  // Settings that depend on the sensor: the branch of the tuning file, and, unless windows were
  // asked for, those that a sensor with vertical views measures well.
  void Fit(simcam::SensorDescription& description, simcam::CameraSettings& cameraSettings) const;
  // Null without a tuning file. Throws InputError.
  std::shared_ptr<simcam::TuningBranch> Branch(const simcam::SensorDescription& description) const;
  // The file that --tuning names. Throws InputError.
  const std::shared_ptr<simcam::TuningFile>& File() const;

 private:
  mutable std::shared_ptr<simcam::TuningFile> file_;  // loaded when it is first asked for
};

void AddLibraryTo(CLI::App& command, std::string& library);

struct OutputOptions {
  bool isJson = false;
  std::string csv;
  std::string report;

  void AddTo(CLI::App& command);
  // Write the files that were asked for. Of several cameras, those of camera 1 are called
  // "focus-1.csv" where the first one's is "focus.csv". Throw tool::FileError.
  void SaveCsv(const std::string& content, size_t camera = 0) const;
  void SaveReport(const std::string& page, size_t camera = 0) const;
  // How the program was run.
  simcam::RunRecord Record() const;

 private:
  const CLI::App* command_ = nullptr;
};

// Tells on standard error of windows in which the library can't measure what the user expects.
void WarnOfWindows(const simcam::SensorDescription& sensor, const simcam::CameraSettings& settings);

// A data folder, the library in it and its log level, in the order they must come and go.
class Device {
 public:
  explicit Device(const CameraOptions& options);
  // "" is the library beside the program, and a folder that is removed again.
  Device(const std::string& library, const std::string& dataFolder, uint32_t logLevel);
  const simcam::PdLibrary& Library() const { return library_; }
  const simcam::DataFolder& Folder() const { return folder_; }

 private:
  simcam::DataFolder folder_;
  simcam::PdLibrary library_;
};

// A line on standard error that is rewritten as work goes on; nothing unless that is a terminal.
class Progress {
 public:
  Progress();
  ~Progress();
  void Show(const std::string& text);

 private:
  bool isOn_;
};

// The commands; each adds its options and, when it is the one asked for, runs and sets `status`.
void AddFocusCommand(CLI::App& app, int& status);
void AddSweepCommand(CLI::App& app, int& status);
void AddSensorsCommand(CLI::App& app, int& status);
void AddLearnCommand(CLI::App& app, int& status);
void AddMatchCommand(CLI::App& app, int& status);
void AddAdaptiveCommand(CLI::App& app, int& status);

}  // namespace pdcam

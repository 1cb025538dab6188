#include "options.h"

#include <unistd.h>

#include <charconv>
#include <cstdio>

#include "common/files.h"
#include "errors.h"
#include "host/orvo_host.h"
#include "orvo/log.h"
#include "run_record.h"
#include "scene.h"
#include "text.h"
#include "window_limits.h"

namespace pdcam {
namespace {

struct NoisePreset {
  const char* name;
  simcam::NoiseSettings noise;
};

constexpr int kNoiseBits = 10;
constexpr NoisePreset kNoisePresets[] = {
    {"none", {0, 0}}, {"little", {0.05, 1.5}}, {"much", {1.5, 12}}};

std::string SceneHelp() {
  std::string text = "What is before the camera: the path of a PNG or JPEG file, or";
  for (const simcam::SceneName& scene : simcam::SceneNames())
    text += "\n  " + scene.name + ": " + scene.content;
  return text;
}

// "focus.html" of camera 1 is "focus-1.html".
std::string PathOf(const std::string& path, size_t camera) {
  if (camera == 0) return path;
  const size_t dot = path.find_last_of("./");
  const size_t at = dot == std::string::npos || path[dot] == '/' ? path.size() : dot;
  return path.substr(0, at) + "-" + std::to_string(camera) + path.substr(at);
}

}  // namespace

void PrintJson(const nlohmann::ordered_json& json) {
  constexpr auto kReplace = nlohmann::ordered_json::error_handler_t::replace;
  std::printf("%s\n", json.dump(2, ' ', false, kReplace).c_str());
}

CLI::App* AddCommand(CLI::App& app, const char* name, const char* content) {
  CLI::App* command = app.add_subcommand(name, content);
  command->option_defaults()->always_capture_default();
  return command;
}

CLI::Validator Between(double low, double high) {
  const std::string range = simcam::Short(low) + " to " + simcam::Short(high);
  return CLI::Validator(
      [=](const std::string& text) {
        double value = 0;
        const char* begin = text.data() + (text.rfind('+', 0) == 0 ? 1 : 0);
        const char* end = text.data() + text.size();
        const auto read = std::from_chars(begin, end, value);
        const bool isFitting =
            read.ec == std::errc() && read.ptr == end && value >= low && value <= high;
        return isFitting ? std::string() : "expected a number from " + range + ", found " + text;
      },
      range);
}

GridSize ParseGrid(const char* option, const std::string& text) {
  GridSize grid;
  const char* end = text.data() + text.size();
  const auto first = std::from_chars(text.data(), end, grid.columns);
  const bool isSplit = first.ec == std::errc() && first.ptr != end && *first.ptr == 'x';
  const auto second =
      isSplit ? std::from_chars(first.ptr + 1, end, grid.rows) : std::from_chars_result{end, {}};
  const bool isPair = isSplit && second.ec == std::errc() && second.ptr == end;
  // One entry of the results is the sum window's.
  if (!isPair || grid.columns == 0 || grid.rows == 0 || grid.columns >= kMaxWindows ||
      grid.rows >= kMaxWindows || grid.columns * grid.rows >= kMaxWindows)
    throw CLI::ValidationError(option, "expected columns x rows such as 3x3, 199 at most");
  return grid;
}

PDLibWindow ParseRoi(const std::vector<double>& roi) {
  if (roi[0] >= roi[2] || roi[1] >= roi[3])
    throw CLI::ValidationError("--roi", "expected left below right and top below bottom");
  return {static_cast<float>(roi[0]), static_cast<float>(roi[1]), static_cast<float>(roi[2]),
          static_cast<float>(roi[3])};
}

void AddLibraryTo(CLI::App& command, std::string& library) {
  command.add_option("--library", library, "The PD library")
      ->default_str("../lib from this program");
}

void CameraOptions::AddTo(CLI::App& command) {
  command.add_option("--sensor", sensor,
                     "Name of a description (see 'pdcam sensors') or path of a JSON file");
  command.add_option("--scene", scene, SceneHelp());
  command.add_option("--seed", settings.seed, "Arranges scene and noise anew");
  command.add_option("--noise", noise, "none, little (0.05, 1.5) or much (1.5, 12)")
      ->check(CLI::IsMember({"none", "little", "much"}));
  command
      .add_option(
          "--noise-variance", noiseVariance,
          "Noise of the light, codes^2 per code of a 10-bit sensor; fewer bits have as much "
          "of it in their larger codes")
      ->default_str("as --noise says")
      ->check(Between(0.0, 1000.0));
  command.add_option("--read-noise", readNoise, "Noise of the readout, codes of a 10-bit sensor")
      ->default_str("as --noise says")
      ->check(Between(0.0, 1000.0));
  command
      .add_option("--split-noise", splitNoise,
                  "Share of the light's noise that the two samples of a dual-PD site have in "
                  "common with opposite signs, 0 to 1")
      ->default_str("as the description says")
      ->check(Between(0.0, 1.0));
  command.add_option("--shading", settings.shading, "Light lost in the darkest corner, 0 to 0.9")
      ->check(Between(0.0, 0.9));
  command
      .add_option("--blur-per-px", settings.optics.blurPerPx,
                  "Blur per pixel of phase difference, pixels")
      ->check(Between(0.0, 2.0));
  command.add_option("--windows", windows, "Grid of result windows, columns x rows")
      ->default_str("3x3, or 1x3 for vertical views");
  command
      .add_flag("--overlap,!--no-overlap", isOverlapped,
                "Let windows overlap by half, as they do unless the tuning says otherwise")
      ->default_str("as the tuning says");
  command.add_option("--roi", roi, "Left, top, right and bottom of the ROI, 0 to 1")
      ->expected(4)
      ->check(Between(0.0, 1.0));
  command.add_option("--fps", settings.frameRate, "Frames a second")->check(Between(1.0, 1000.0));
  command.add_option("--gain", settings.sensorGain, "Sensor gain that the library is told")
      ->check(Between(1.0, 1000.0));
  command
      .add_option("--calls", settings.callsPerFrame,
                  "Calls a frame; the first comes when the ROI is complete")
      ->check(CLI::Range(1, 64));
  command
      .add_option("--log-level", settings.logLevel,
                  "Lines of the library on standard error: 1 info, 2 verbose")
      ->check(CLI::Range(0, 3));
  CLI::Option* tuningOption =
      command.add_option("--tuning", tuning, "Tuning file (see 'tessarine compile')")
          ->default_str("the description's own");
  command
      .add_option("--mode", mode, "Branch of modes in it, such as 'Default|Sensor.3|Usecase.Video'")
      ->default_str("the sensor's own, or Default where the file has none")
      ->needs(tuningOption);
  AddLibraryTo(command, library);
  command.add_option("--data-dir", dataFolder, "Folder that takes the files of the library")
      ->default_str("a temporary one");
}

simcam::CameraSettings CameraOptions::Settings() const {
  simcam::CameraSettings result = settings;
  result.scene = scene;
  for (const NoisePreset& preset : kNoisePresets)
    if (noise == preset.name) result.noise = preset.noise;
  result.noise.variancePerCode = noiseVariance.value_or(result.noise.variancePerCode);
  result.noise.readNoise = readNoise.value_or(result.noise.readNoise);
  if (splitNoise) result.noise.split = splitNoise;
  result.noiseBits = kNoiseBits;
  const GridSize grid = ParseGrid("--windows", windows.empty() ? "3x3" : windows);
  result.columns = grid.columns;
  result.rows = grid.rows;
  result.roi = ParseRoi(roi);
  return result;
}

simcam::SensorDescription CameraOptions::Sensor(const std::string& nameOrPath) const {
  simcam::SensorDescription description = simcam::LoadSensor(nameOrPath);
  if (const auto branch = Branch(description)) description.tuning = branch->Choices();
  if (!isOverlapped) description.tuning.gridOverlap = false;
  return description;
}

std::shared_ptr<simcam::TuningBranch> CameraOptions::Branch(
    const simcam::SensorDescription& description) const {
  if (tuning.empty()) return nullptr;
  const std::string own = "Default|Sensor." + std::to_string(description.tuningMode);
  const bool hasOwn = description.tuningMode != 0 && File()->HasMode(own);
  return std::make_shared<simcam::TuningBranch>(File(),
                                                !mode.empty() ? mode : (hasOwn ? own : "Default"));
}

const std::shared_ptr<simcam::TuningFile>& CameraOptions::File() const {
  if (file_ == nullptr) file_ = std::make_shared<simcam::TuningFile>(tuning, isLinked);
  return file_;
}

void CameraOptions::Fit(simcam::SensorDescription& description,
                        simcam::CameraSettings& cameraSettings) const {
  cameraSettings.tuning = Branch(description);
  if (!windows.empty() || !description.HasVerticalViews()) return;
  // The library's vertical mode clears a cell at the start of a frame only where its row's number
  // is not below its column's: elsewhere what the lens showed before stays in. One column is always
  // fresh.
  cameraSettings.columns = 1;
  description.tuning.gridOverlap = false;
}

void WarnOfWindows(const simcam::SensorDescription& sensor,
                   const simcam::CameraSettings& settings) {
  for (const std::string& reason :
       {WhyTooSmall(sensor, settings), WhySumsAreOthers(sensor, settings)})
    if (!reason.empty())
      std::fprintf(stderr, "pdcam: warning: sensor '%s': %s\n", sensor.name.c_str(),
                   reason.c_str());
}

void OutputOptions::AddTo(CLI::App& command) {
  command_ = &command;
  command.add_flag("--json", isJson, "The result as JSON on standard output");
  command.add_option("--csv", csv, "File for the result as lines of values")->default_str("none");
  command.add_option("--report", report, "File for an HTML report with plots")->default_str("none");
}

void OutputOptions::SaveCsv(const std::string& content, size_t camera) const {
  if (!csv.empty()) tool::SaveFile(PathOf(csv, camera), content);
}

simcam::RunRecord OutputOptions::Record() const {
  return RecordOf(*command_);
}

void OutputOptions::SaveReport(const std::string& page, size_t camera) const {
  if (!report.empty()) tool::SaveFile(PathOf(report, camera), page);
}

Device::Device(const CameraOptions& options)
    : Device(options.library, options.dataFolder, options.settings.logLevel) {}

Device::Device(const std::string& library, const std::string& dataFolder, uint32_t logLevel)
    : folder_(dataFolder), library_(library.empty() ? simcam::PdLibrary::DefaultPath() : library) {
  if (logLevel == 0) return;
  g_logInfo |= 1u << Orvo::Log::kGroupStatsAF;
  Orvo::Host::SetConsoleLevel(Orvo::Log::kLevelVerbose);
}

Progress::Progress() : isOn_(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
  Show("");
}

void Progress::Show(const std::string& text) {
  if (isOn_) std::fprintf(stderr, "\r\033[K%s", text.c_str());
}

}  // namespace pdcam

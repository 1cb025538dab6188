#include "options.h"

#include <unistd.h>

#include <cstdio>

#include "errors.h"
#include "host/orvo_host.h"
#include "orvo/log.h"
#include "scene.h"

namespace pdcam {
namespace {

struct NoisePreset {
  const char* name;
  simcam::NoiseSettings noise;
};

constexpr NoisePreset kNoisePresets[] = {
    {"none", {0, 0}}, {"little", {0.05, 1.5}}, {"much", {1.5, 12}}};

std::string SceneHelp() {
  std::string text = "What is before the camera: the path of a PNG or JPEG file, or";
  for (const simcam::SceneName& scene : simcam::SceneNames())
    text += "\n  " + scene.name + ": " + scene.content;
  return text;
}

// "3x3" into columns and rows.
void ParseWindows(const std::string& text, simcam::CameraSettings& settings) {
  unsigned columns = 0;
  unsigned rows = 0;
  char rest = 0;
  const bool isPair = std::sscanf(text.c_str(), "%3ux%3u%c", &columns, &rows, &rest) == 2;
  // One entry of the results is the sum window's.
  if (!isPair || columns == 0 || rows == 0 || columns * rows + 1 > kMaxWindows)
    throw CLI::ValidationError("--windows", "expected columns x rows such as 3x3, 199 at most");
  settings.columns = columns;
  settings.rows = rows;
}

}  // namespace

void CameraOptions::AddTo(CLI::App& command) {
  command.add_option("--sensor", sensor,
                     "Name of a description (see 'pdcam sensors') or path of a JSON file");
  command.add_option("--scene", scene, SceneHelp());
  command.add_option("--seed", settings.seed, "Arranges scene and noise anew");
  command.add_option("--noise", noise, "none, little (0.05, 1.5) or much (1.5, 12)")
      ->check(CLI::IsMember({"none", "little", "much"}));
  command.add_option("--noise-variance", noiseVariance, "Noise of the light, codes^2 per code")
      ->check(CLI::Range(0.0, 1000.0));
  command.add_option("--read-noise", readNoise, "Noise of the readout, codes")
      ->check(CLI::Range(0.0, 1000.0));
  command.add_option("--shading", settings.shading, "Light lost in the darkest corner, 0 to 0.9")
      ->check(CLI::Range(0.0, 0.9));
  command
      .add_option("--blur-per-px", settings.optics.blurPerPx,
                  "Blur per pixel of phase difference, pixels")
      ->check(CLI::Range(0.0, 2.0));
  command.add_option("--windows", windows, "Grid of result windows, columns x rows");
  command.add_flag("--overlap,!--no-overlap", isOverlapped, "Let windows overlap by half");
  command.add_option("--roi", roi, "Left, top, right and bottom of the ROI, 0 to 1")
      ->expected(4)
      ->check(CLI::Range(0.0, 1.0));
  command.add_option("--fps", settings.frameRate, "Frames a second")
      ->check(CLI::Range(1.0, 1000.0));
  command.add_option("--gain", settings.sensorGain, "Sensor gain that the library is told")
      ->check(CLI::Range(1.0, 1000.0));
  command
      .add_option("--calls", settings.callsPerFrame,
                  "Calls a frame; the first comes when the ROI is complete")
      ->check(CLI::Range(1, 64));
  command
      .add_option("--log-level", settings.logLevel,
                  "Lines of the library on standard error: 1 info, 2 verbose")
      ->check(CLI::Range(0, 3));
  command.add_option("--library", library, "The PD library; else ../lib from this program");
  command.add_option("--data-dir", dataFolder,
                     "Folder that takes the files of the library; else one that is removed again");
}

simcam::CameraSettings CameraOptions::Settings() const {
  simcam::CameraSettings result = settings;
  result.scene = scene;
  for (const NoisePreset& preset : kNoisePresets)
    if (noise == preset.name) result.noise = preset.noise;
  if (noiseVariance >= 0) result.noise.variancePerCode = noiseVariance;
  if (readNoise >= 0) result.noise.readNoise = readNoise;
  ParseWindows(windows, result);
  if (roi[0] >= roi[2] || roi[1] >= roi[3])
    throw CLI::ValidationError("--roi", "expected left below right and top below bottom");
  result.roi = {static_cast<float>(roi[0]), static_cast<float>(roi[1]), static_cast<float>(roi[2]),
                static_cast<float>(roi[3])};
  return result;
}

simcam::SensorDescription CameraOptions::Sensor(const std::string& nameOrPath) const {
  simcam::SensorDescription description = simcam::LoadSensor(nameOrPath);
  if (!isOverlapped) description.tuning.gridOverlap = false;
  return description;
}

void OutputOptions::AddTo(CLI::App& command) {
  command.add_flag("--json", isJson, "The result as JSON on standard output");
  command.add_option("--csv", csv, "File for the result as lines of values");
  command.add_option("--report", report, "File for an HTML report with plots");
}

Device::Device(const CameraOptions& options)
    : folder_(options.dataFolder),
      library_(options.library.empty() ? simcam::PdLibrary::DefaultPath() : options.library) {
  if (options.settings.logLevel == 0) return;
  g_logInfo |= 1u << Orvo::Log::kGroupStatsAF;
  Orvo::Host::SetConsoleLevel(Orvo::Log::kLevelVerbose);
}

Progress::Progress(bool isWanted) : isOn_(isWanted && isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
  Show("");
}

void Progress::Show(const std::string& text) {
  if (isOn_) std::fprintf(stderr, "\r\033[K%s", text.c_str());
}

}  // namespace pdcam

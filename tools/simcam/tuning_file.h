// Tuning files as a camera stack uses them: through the library's manager.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/pdlib_common.h"
#include "sensor.h"
#include "tuningmode.h"

class TuningSetManager;

namespace simcam {

// What the stack does (controls) and what it finds (triggers), with their numbers on the live link.
struct StackValues {
  int64_t frame = 0;      // control 1: of the session, from 0
  int lensCode = 0;       // control 2: actuator codes
  double frameRate = 0;   // control 3: Hz
  double gain = 1;        // trigger 1: of the sensor
  double exposureMs = 0;  // trigger 2
};

// A loaded file, for as long as a camera uses it.
class TuningFile {
 public:
  // With the live link up, or without. Throws InputError with what the manager says.
  TuningFile(const std::string& path, bool isLinked);
  ~TuningFile();
  TuningFile(const TuningFile&) = delete;
  TuningFile& operator=(const TuningFile&) = delete;

  const std::string& Path() const { return path_; }
  // A branch by names or numbers, such as "Default|Sensor.3".
  bool HasMode(const std::string& branch) const { return !Steps(branch).empty(); }
  // All that it has, some way down the tree.
  std::vector<std::string> Branches() const;
  // Its steps; none if the file doesn't have it.
  std::vector<TuningMode> Steps(const std::string& branch) const;
  TuningSetManager& Manager() const { return *manager_; }
  bool IsLinked() const { return LinkPort() != 0; }
  // Where tools reach the live link; 0: nowhere.
  uint16_t LinkPort() const;
  // How many values were changed in it so far.
  uint32_t Changes() const;
  // Stores what a camera stack tells tuning tools of itself, as controls and triggers.
  void Store(const StackValues& values) const;

 private:
  std::string path_;
  std::unique_ptr<TuningSetManager> manager_;
};

// What a file holds for a branch of its modes.
class TuningBranch {
 public:
  // Throws InputError for a branch that the file doesn't have, or that has no PD tuning.
  TuningBranch(std::shared_ptr<TuningFile> file, const std::string& branch);

  const TuningFile& File() const { return *file_; }
  const std::string& Name() const { return name_; }
  // The values in force, as far as a sensor description has them.
  TuningChoices Choices() const;
  // Changes in the loaded file what the tools' options choose: overlap, windows around the ROI, and
  // whether the library learns.
  void Override(const TuningChoices& choices) const;
  // Lets the plug-in look its record up; the branch must outlive the session.
  void LendTo(PDLibCreateParams& params) const;

 private:
  const afpdlibelements::tessarinePDLibType* Record() const;

  std::shared_ptr<TuningFile> file_;
  std::string name_;
  std::vector<TuningMode> modes_;
};

}  // namespace simcam

// The camera with a tuning file, as a camera stack hands it over.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "pdcam_process.h"

namespace {

using nlohmann::json;
using test::Outcome;

class PdcamTuning : public test::PdcamProcess {
 protected:
  // The tunings that come with the tool.
  static json Source() {
    return json::parse(ReadFile(TESSARINE_TUNING), nullptr, true, /*ignore_comments=*/true);
  }
  std::string Compile(const json& source, const std::string& name = "tuning.bin") const {
    Write("tuning.json", source.dump());
    const Outcome outcome = test::RunProgram(
        TESSARINE_PROGRAM, "compile " + Path("tuning.json") + " -o " + Path(name), Path("errors"));
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    return Path(name);
  }
  json Focus(const std::string& options) const {
    return RunJson("focus --json --frames 3 --no-peripheral --roi 0.42 0.42 0.58 0.58 " + options);
  }
};

TEST_F(PdcamTuning, OfASensorDoesWhatItsDescriptionDoes) {
  const std::string file = Compile(Source());
  for (const char* sensor : {"s16", "s16-flip --no-overlap", "dual-vertical"}) {
    const std::string options = "--sensor " + std::string(sensor);
    json tuned = Focus(options + " --tuning " + file);
    EXPECT_TRUE(tuned.contains("tuning"));
    tuned.erase("tuning");
    EXPECT_EQ(tuned, Focus(options)) << sensor;
  }
}

TEST_F(PdcamTuning, IsThatOfTheModeAskedFor) {
  json source = Source();
  const auto video = [](const char* group, const char* field, double value) {
    return json{
        {"mode", "Usecase.Video"},
        {"modules",
         {{"tessarinePDLib", {{"from", "Default"}, {"values", {{group, {{field, value}}}}}}}}}};
  };
  source["modes"][0]["modes"].push_back(video("correlation", "defocusConfidenceThreshold", 1023));
  const std::string file = Compile(source);
  // Nothing is certain enough there, so that the stack goes on searching.
  const json tuned = Focus("--tuning " + file + " --mode 'Default|usecase.video'");
  EXPECT_EQ(tuned["frames"][0]["action"], "search");
  EXPECT_EQ(Focus("--tuning " + file)["frames"][0]["action"], "move");
}

TEST_F(PdcamTuning, MayHaveAnyFileName) {
  const std::string file = Path("\xFF.bin");
  std::filesystem::rename(Compile(Source()), file);
  EXPECT_EQ(Focus("--tuning " + file)["tuning"]["file"], Path("\uFFFD.bin"));
}

TEST_F(PdcamTuning, TellsWhatAFileLacks) {
  json source = Source();
  const std::string file = Compile(source);
  json plain = source;
  json& values = plain["modes"][0]["modules"]["tessarinePDLib"]["values"];
  values["extensionParam"].erase(values["extensionParam"].size() - 1);
  const std::string grid = " --windows 4x2 --frames 1 --no-peripheral";
  source["modes"][0].erase("modules");
  source["modes"][0]["modes"] = json::array({{{"mode", "Sensor.1"}}});
  Write("noise.bin", "no tuning");
  const std::string empty = Compile(source, "empty.bin");
  ExpectOutcomes({
      {"focus --mode Default", 2, "--tuning"},
      {"focus --tuning /nosuch/file", 3, "/nosuch/file: there is no such file"},
      {"focus --tuning " + file + " --mode 'Default|Senser.3'", 3,
       "did you mean 'Default|Sensor.3'?"},
      {"focus --tuning " + Compile(plain, "plain.bin") + grid, 0,
       "the tuning leaves OverlapSumByColumns off"},
      {"focus --tuning " + Path("noise.bin"), 3, "noise.bin: "},
      {"focus --tuning " + file + " --mode 'Default|Sensor.99'", 3,
       "has no mode 'Default|Sensor.99'"},
      {"focus --tuning " + file + " --mode Nonsense.4", 3, "has no mode 'Nonsense.4'"},
      {"focus --tuning " + file + " --mode '0.0|1.nonsense'", 3, "has no mode"},
      {"focus --tuning " + empty, 3, "no PD tuning for 'Default|Sensor.1'"},
  });
  EXPECT_EQ(Run("focus --tuning " + file + grid).errors, "");
}

}  // namespace

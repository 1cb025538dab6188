// pdcam sensors: the descriptions that come with the program.
#include <cstdio>

#include "common/nearest_name.h"
#include "json_output.h"
#include "options.h"
#include "sensor_fields.h"

namespace pdcam {
namespace {

void List(bool isJson) {
  simcam::OrderedJson list = simcam::OrderedJson::array();
  if (!isJson)
    std::printf("%-16s %-6s %9s %5s  %s\n", "name", "kind", "step, px", "pairs", "about");
  for (const simcam::EmbeddedSensor& embedded : simcam::EmbeddedSensors()) {
    const simcam::SensorDescription sensor = simcam::LoadSensor(embedded.name);
    const char* kind = sensor.IsDual() ? "dual" : "sparse";
    const size_t pairs = sensor.IsDual() ? 1 : sensor.native.pixels.size() / 2;
    if (isJson)
      list.push_back({{"name", sensor.name},
                      {"about", sensor.about},
                      {"kind", kind},
                      {"sample_step_px", sensor.SampleStepPx()},
                      {"pairs_per_block", pairs}});
    else
      std::printf("%-16s %-6s %9d %5zu  %s\n", sensor.name.c_str(), kind, sensor.SampleStepPx(),
                  pairs, sensor.about.c_str());
  }
  if (isJson) PrintJson(list);
}

// The file as it is, to be copied and changed.
void Print(const std::string& name) {
  simcam::LoadSensor(name);
  for (const simcam::EmbeddedSensor& embedded : simcam::EmbeddedSensors())
    if (name == embedded.name) std::fputs(embedded.json, stdout);
}

}  // namespace

void AddSensorsCommand(CLI::App& app, int& status) {
  struct SensorsOptions {
    std::string name;
    bool isJson = false;
    bool isSchema = false;
    bool isFields = false;
  };
  const auto options = std::make_shared<SensorsOptions>();
  CLI::App* command = app.add_subcommand("sensors", "Lists the sensor descriptions, prints one");
  command->add_option("name", options->name, "Prints this one as a JSON file to copy")
      ->check([](const std::string& name) {
        for (const simcam::EmbeddedSensor& embedded : simcam::EmbeddedSensors())
          if (name == embedded.name) return std::string();
        return "no description is called '" + name + "'" +
               tool::DidYouMean(name, simcam::SensorNames());
      });
  command->add_flag("--json", options->isJson, "The list as JSON");
  command->add_flag("--schema", options->isSchema, "The JSON schema of the descriptions")
      ->excludes("name");
  command
      ->add_flag("--fields", options->isFields,
                 "The tables of docs/sensor-descriptions.md: every field of a description")
      ->excludes("name")
      ->excludes("--schema");
  command->footer(
      "Examples:\n"
      "  pdcam sensors s16 > mine.json; pdcam sweep --sensor ./mine.json\n"
      "  pdcam sensors --schema > sensor-description.schema.json");
  command->callback([options, &status] {
    if (options->isSchema)
      std::fputs(simcam::SensorSchema().c_str(), stdout);
    else if (options->isFields)
      std::fputs(simcam::SensorFieldTables().c_str(), stdout);
    else if (options->name.empty())
      List(options->isJson);
    else
      Print(options->name);
    status = kDone;
  });
}

}  // namespace pdcam

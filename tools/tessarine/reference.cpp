#include "reference.h"

#include "meanings.h"
#include "schema.h"

namespace tessarine {
namespace {

std::string Link(const RecordSchema& record) {
  std::string anchor;
  for (char c : record.name) anchor += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return "[" + record.name + "](#" + anchor + ")";
}

std::string TypeCell(const FieldSchema& field) {
  std::string type = TypeText(field);
  if (field.record != nullptr) type = Link(*field.record) + type.substr(field.record->name.size());
  if (field.kind == FieldKind::kEnum)
    type = "Enum " + type + ", 0 to " + std::to_string(field.lastValue);
  return type;
}

std::string Row(const RecordSchema& record, const FieldSchema& field) {
  const Meaning* meaning = FindMeaning(record.name, field.name);
  const Meaning none{"", "", "", ""};
  const Meaning& row = meaning != nullptr ? *meaning : none;
  std::string text = "| `" + field.name + "` | " + TypeCell(field);
  for (const char* cell : {row.unit, row.meaning, row.readers}) {
    text += " | ";
    text += cell;
  }
  return text + " |\n";
}

}  // namespace

std::string Reference() {
  std::string text =
      "# Tuning reference\n\n"
      "Written by `tessarine reference` from the description of the fields; don't edit it here.\n\n"
      "The flows that use a field are named by their sensors: *sparse* and *vertical* for PD\n"
      "pixels, *dense* and *diagonal* for dual-PD sensors, *hardware* and *dense hardware* with "
      "the\n"
      "PD hardware block, *lcr* for lines of left, centre and right pixels, *fusion* for two "
      "axes,\n"
      "*adaptive* for the learning of the conversion coefficient. This version has *sparse*, "
      "*dense*\n"
      "(and its vertical mode), *fusion* and *adaptive*; a field that only the others use has no\n"
      "effect yet.\n"
      "\n"
      "Settings without a field of their own are entries of `extensionParam`: of these, *sparse* "
      "reads\n"
      "verticalBinningControl, EnableOptimizedSparseParsing, EnableSparsePDAFIIRFilter,\n"
      "minimumMeanSADLevel, xCFA_factor, OverlapSumByColumns (1: overlapping windows sum their "
      "own\n"
      "places in any grid) and, for LCR, skipLCRInMonitorAndSmallPD, skipLCRPDThreshold and\n"
      "LCRParsingMode; *dense* reads SADRepeatPatternPrevent, PdOffsetRatios and "
      "VerticalLayoutExt;\n"
      "the choice of the flow and *fusion* read HVSelection.\n";
  for (const ModuleSchema& module : KnownModules()) {
    text += "\n# Module " + module.name + ", version " + ToText(module.version) + "\n";
    for (const RecordSchema* record : RecordsOf(module)) {
      text += "\n## " + record->name + "\n\n| field | type | unit | meaning | used by |\n";
      text += "|---|---|---|---|---|\n";
      for (const FieldSchema& field : record->fields) text += Row(*record, field);
    }
  }
  return text;
}

}  // namespace tessarine

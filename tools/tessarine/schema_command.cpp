// tessarine schema, reference: what sources may say.
#include <cstdio>

#include "commands.h"
#include "reference.h"
#include "source.h"

namespace tessarine {

void AddSchemaCommands(CLI::App& app, int& status) {
  CLI::App* schema = app.add_subcommand("schema", "Prints the JSON Schema of sources");
  schema->footer(
      "Editors check and complete a source that names it as \"$schema\".\n\n"
      "Example:\n"
      "  tessarine schema > tuning.schema.json");
  schema->callback([&status] {
    std::fputs(SourceSchema().c_str(), stdout);
    status = kDone;
  });
  CLI::App* reference =
      app.add_subcommand("reference", "Prints the reference of all fields as Markdown");
  reference->footer("Example:\n  tessarine reference > docs/tuning-reference.md");
  reference->callback([&status] {
    std::fputs(Reference().c_str(), stdout);
    status = kDone;
  });
}

}  // namespace tessarine

// tessarine link find, info, modes, modules, active, controls, triggers, custom.
#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "json_values.h"
#include "link_commands.h"
#include "link_tree.h"
#include "modes.h"
#include "source_text.h"
#include "source_values.h"

namespace tessarine {
namespace {

std::string Hex(uint64_t number) {
  char text[32];
  std::snprintf(text, sizeof(text), "0x%016" PRIx64, number);
  return text;
}

void AddFind(CLI::App& link, const SharedLinkOptions& options, int& status) {
  CLI::App* command =
      link.add_subcommand("find", "Lists the ports on which devices of the host answer");
  command->footer(
      "Tries the ports 23129 to 23193, which devices take, or the one that --port tells. A device\n"
      "that serves another tool doesn't answer.\n\n"
      "Example:\n"
      "  tessarine link find --host 192.168.1.20");
  command->callback([options, &status] {
    LinkAddress address = options->address;
    address.timeout = std::min(address.timeout, 1.0);
    const uint16_t first = address.port.value_or(kFirstLinkPort);
    const uint16_t last = address.port.value_or(kLastLinkPort);
    OrderedJson list = OrderedJson::array();
    for (uint32_t port = first; port <= last; ++port) {
      address.port = static_cast<uint16_t>(port);
      try {
        LinkClient client(address);
        const OrderedJson tag = TextToJson(client.Info().tag);
        list.push_back({{"port", port}, {"tag", tag}});
        if (!options->isJson) std::printf("%u: %s\n", port, PrintLine(tag).c_str());
      } catch (const LinkError&) {
        continue;
      }
    }
    if (options->isJson) PrintJson({{"ports", list}});
    if (list.empty()) throw LinkError("no device answers on " + address.host);
    status = kDone;
  });
}

void AddInfo(CLI::App& link, const SharedLinkOptions& options, int& status) {
  CLI::App* command = link.add_subcommand("info", "Tells which camera answers");
  command->footer("Example:\n  tessarine link info --json");
  command->callback([options, &status] {
    LinkDevice device = options->Device();
    const LinkInfo info = device.Client().Info();
    const OrderedJson tag = TextToJson(info.tag);
    if (options->isJson)
      PrintJson(
          {{"device", device.Client().Place()}, {"tag", tag}, {"instance", Hex(info.instance)}});
    else
      std::printf("device %s\ntag %s\ninstance %s\n", device.Client().Place().c_str(),
                  PrintLine(tag).c_str(), Hex(info.instance).c_str());
    status = kDone;
  });
}

void AddModes(CLI::App& link, const SharedLinkOptions& options, int& status) {
  const auto branch = std::make_shared<std::string>("Default");
  const auto isFlat = std::make_shared<bool>(false);
  CLI::App* command = link.add_subcommand("modes", "Lists the tree of modes, or what is below one");
  AddLinkBranch(*command, *branch);
  command->add_flag("--flat", *isFlat, "Only the modes right below, without theirs");
  command->footer(
      "Examples:\n"
      "  tessarine link modes\n"
      "  tessarine link modes 'Default|Sensor.3' --flat");
  command->callback([options, branch, isFlat, &status] {
    LinkDevice device = options->Device();
    const DeviceTree tree = ReadTree(device, *branch, *isFlat);
    OrderedJson list = OrderedJson::array();
    for (const DeviceTree::Node& node : tree.nodes) {
      list.push_back(node.path);
      if (!options->isJson)
        std::printf("%*s%s\n", static_cast<int>(2 * node.depth), "", node.name.c_str());
    }
    if (options->isJson) PrintJson({{"complete", tree.isComplete}, {"modes", list}});
    if (!tree.isComplete)
      std::fprintf(stderr, "tessarine: the list ends here: a mode seems to link to one above it\n");
    status = kDone;
  });
}

void AddModules(CLI::App& link, const SharedLinkOptions& options, int& status) {
  const auto branch = std::make_shared<std::string>("Default");
  CLI::App* command = link.add_subcommand(
      "modules", "Lists the modules in force on a branch, and where their values come from");
  AddLinkBranch(*command, *branch);
  command->footer("Example:\n  tessarine link modules 'Default|Usecase.Video'");
  command->callback([options, branch, &status] {
    LinkDevice device = options->Device();
    OrderedJson list = OrderedJson::array();
    for (const LinkEntry& entry : device.Modules(*branch)) {
      list.push_back({{"name", entry.name}, {"from", entry.value.value_or("")}});
      if (!options->isJson)
        std::printf("%s from %s\n", entry.name.c_str(), entry.value.value_or("").c_str());
    }
    if (options->isJson) PrintJson({{"branch", *branch}, {"modules", list}});
    status = kDone;
  });
}

// A subcommand without arguments that lists lines; `none` is what it means that there are none.
void AddList(CLI::App& link, const SharedLinkOptions& options, int& status, const char* name,
             const char* description, std::vector<std::string> (LinkDevice::*ask)(),
             const char* none) {
  CLI::App* command = link.add_subcommand(name, description);
  command->footer("Example:\n  tessarine link " + std::string(name));
  command->callback([options, &status, name, ask, none] {
    LinkDevice device = options->Device();
    const std::vector<std::string> lines = (device.*ask)();
    if (options->isJson) PrintJson({{name, lines}});
    for (const std::string& line : lines)
      if (!options->isJson) std::printf("%s\n", line.c_str());
    if (lines.empty()) std::fprintf(stderr, "tessarine: %s\n", none);
    status = kDone;
  });
}

// The bytes that a text of digits means; none if it is no such text.
Bytes BytesOf(const std::string& digits) {
  SourceNode node;
  node.kind = SourceNode::Kind::kText;
  node.text = digits;
  return ReadHex(node).value_or(Bytes());
}

void AddCustom(CLI::App& link, const SharedLinkOptions& options, int& status) {
  const auto digits = std::make_shared<std::string>();
  CLI::App* command =
      link.add_subcommand("custom", "Sends bytes to the camera stack's own handler");
  command->add_option("hex", *digits, "The bytes as hexadecimal digits")
      ->required()
      ->check([](const std::string& text) {
        const size_t size = BytesOf(text).size();
        const bool isFitting = size > 0 && size <= kLinkLongestFrame - kLinkLongHeader;
        return isFitting ? "" : "expected hexadecimal digits of 1 to 65525 bytes";
      });
  command->footer(
      "Without a handler the result is 0 and no bytes come back. This request is never "
      "repeated.\n\n"
      "Example:\n"
      "  tessarine link custom 0a0b0c");
  command->callback([options, digits, &status] {
    const LinkDevice::CustomReply reply = options->Device().Custom(BytesOf(*digits));
    const std::string bytes = ToHex(reply.bytes);
    if (options->isJson)
      PrintJson({{"result", reply.result}, {"hex", bytes}});
    else
      std::printf("result %u\n%s%s", reply.result, bytes.c_str(), bytes.empty() ? "" : "\n");
    status = kDone;
  });
}

}  // namespace

void AddLinkQueries(CLI::App& link, const SharedLinkOptions& options, int& status) {
  AddFind(link, options, status);
  AddInfo(link, options, status);
  AddModes(link, options, status);
  AddModules(link, options, status);
  AddList(link, options, status, "active", "Lists the branches in use", &LinkDevice::ActiveModes,
          "no branch is in use; the root and the modes of sensors are never listed");
  AddList(link, options, status, "controls", "Lists the camera stack's control values",
          &LinkDevice::Controls, "the camera stack has stored no control values");
  AddList(link, options, status, "triggers", "Lists the camera stack's trigger values",
          &LinkDevice::Triggers, "the camera stack has stored no trigger values");
  AddCustom(link, options, status);
}

}  // namespace tessarine

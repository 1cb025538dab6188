// What a device can be asked over the live link.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "link_client.h"
#include "link_texts.h"

namespace tessarine {

// A change of a field; its name may have an index.
struct LinkAssignment {
  LinkPlace place;
  std::string value;
};

// What became of it: nothing if the device didn't take it, else the value as it stands now.
struct LinkOutcome {
  LinkAssignment asked;
  std::optional<std::string> value;

  bool IsTaken() const { return value && IsSameValue(asked.value, *value); }
};

// Branches and paths are those of the protocol. All of these throw LinkError.
class LinkDevice {
 public:
  using Texts = std::vector<std::optional<std::string>>;  // nothing: the device has none
  struct CustomReply {
    uint16_t result = 0;
    Bytes bytes;
  };

  explicit LinkDevice(LinkAddress address) : client_(std::move(address)) {}

  LinkClient& Client() { return client_; }
  std::vector<std::string> ActiveModes();
  std::vector<std::string> Controls();
  std::vector<std::string> Triggers();
  std::vector<std::string> ChildModes(const std::string& branch);
  std::vector<LinkEntry> Modules(const std::string& branch);
  // The fields of a record, or the one entry of a field or an array: that has no name.
  std::vector<LinkEntry> Entries(const std::string& branch, const std::string& path);
  // The mode that a module's values come from; nothing if the device doesn't tell.
  std::optional<std::string> OriginOf(const std::string& branch, const std::string& module);
  // A value of any kind, texts as well.
  std::optional<std::string> Value(const std::string& branch, const LinkPlace& place);
  // Numbers and arrays of them. What didn't fit a reply is asked for once more.
  Texts Numbers(const std::string& branch, const std::string& path,
                std::span<const std::string> names);
  // The elements of an array of numbers, in pieces if they don't fit a reply.
  Texts Elements(const std::string& branch, const LinkPlace& place, uint32_t count);
  std::vector<LinkOutcome> Set(const std::string& branch,
                               const std::vector<LinkAssignment>& assignments);
  CustomReply Custom(const Bytes& bytes);

 private:
  std::vector<LinkEntry> AskEntries(const std::string& branch, const std::string& path);
  std::string AskBranch(LinkCommand command, const std::string& branch, const std::string& rest);

  LinkClient client_;
};

}  // namespace tessarine

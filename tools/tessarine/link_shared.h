// Arrays of records that several modes of a device share.
#pragma once

#include <string>
#include <vector>

#include "link_device.h"

namespace tessarine {

// Equal arrays of records are one in a device's memory: who changes an element of one mode's
// changes that of the others. The device doesn't tell which are shared, so this looks at the fields
// of the other modes when it is made and once more behind the change.
class SharedFields {
 public:
  // `module` may have a path of fields behind it. Without an element of such an array among the
  // assignments nothing is asked.
  SharedFields(LinkDevice& device, const std::string& branch, const std::string& module,
               const std::vector<LinkAssignment>& assignments);

  struct Changed {
    std::string branch;
    std::string field;  // "tessarinePDLib.extensionParam[0].data"
  };
  // What is another value now, in modes that hold a module of their own.
  std::vector<Changed> FindChanged();

 private:
  struct Seen {
    std::string branch;
    LinkPlace place;
    std::optional<std::string> value;
  };

  LinkDevice& device_;
  std::vector<Seen> seen_;
};

}  // namespace tessarine
